// A provider of telemetry that writes down each call with its arguments in order.
#ifndef TELEMETRY_RECORDER_H
#define TELEMETRY_RECORDER_H

#include <string>
#include <vector>

#include "QLTest.h"
#include "U_Telemetry.h"

namespace errorstest {

inline std::string Bytes(const U_UTF8String& text)
{
    return std::string(zvkcore::string::View(text));
}

// The provider of the process while it lives.
struct Provider final : U::telemetry::U_TelemetryProvider {
    using Guid = zvkcore::utility::Guid;
    using Name = const char*;
    using Detail = const unsigned short*;

    Provider() { U::telemetry::RegisterTelemetryProvider(this); }
    ~Provider() override { U::telemetry::RegisterTelemetryProvider(nullptr); }

    bool IsLogging() override { return true; }
    void LogEvent(Name c, Name n, Detail d, Guid g) override { Note("event", c, n, d, g); }
    void LogEventWithCount(Name c, Name n, Detail d, Guid g) override { Note("counted", c, n, d, g); }
    void IncrementEventCount(Name c, Name n, Detail d, Guid g) override { Note("increment", c, n, d, g); }
    void ClearEventCount(Name c, Name n, Detail d, Guid g) override { Note("clear", c, n, d, g); }
    void LogEventsWithCount() override { calls.push_back("all"); }
    U::telemetry::DataGroup NewDataGroup(Name o, Name c, Name s, Guid g, bool use) override
    {
        Note(use ? "group use" : "group", o, c, nullptr, g);
        calls.back().append(" ").append(s);
        return {};
    }
    void AddToGroup(const U::telemetry::DataGroup&, Name key, const U_UTF8String& value, bool) override
    {
        calls.push_back(std::string(key) + "=" + Bytes(value));
    }

    std::vector<std::string> calls;

  private:
    void Note(const char* call, Name first, Name second, Detail detail, const Guid& id)
    {
        calls.push_back(std::string(call) + " " + first + " " + second);
        if (detail) calls.back() += " " + qltest::Text(detail);
        if (!id.IsZero()) calls.back() += " id";
    }
};

}  // namespace errorstest

#endif
