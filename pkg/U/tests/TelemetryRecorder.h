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
    Provider() { U::telemetry::RegisterTelemetryProvider(this); }
    ~Provider() override { U::telemetry::RegisterTelemetryProvider(nullptr); }

    bool IsLogging() override { return true; }
    void LogEvent(const char* c, const char* n, const unsigned short* d, Guid g) override
    {
        calls.push_back(std::string("event ") + c + n + (d ? qltest::Text(d) : "-") +
                        (g.IsZero() ? "" : " id"));
    }
    void LogEventWithCount(const char* c, const char* n, const unsigned short*, Guid) override
    {
        calls.push_back(std::string("counted ") + c + n);
    }
    void IncrementEventCount(const char* c, const char* n, const unsigned short*, Guid) override
    {
        calls.push_back(std::string("increment ") + c + n);
    }
    void ClearEventCount(const char* c, const char* n, const unsigned short*, Guid) override
    {
        calls.push_back(std::string("clear ") + c + n);
    }
    void LogEventsWithCount() override { calls.push_back("all"); }
    U::telemetry::DataGroup NewDataGroup(const char* o, const char* c, const char* s, Guid, bool use) override
    {
        calls.push_back(std::string("group ") + o + "," + c + "," + s + (use ? ",use" : ""));
        return {};
    }
    void AddToGroup(const U::telemetry::DataGroup&, const char* key, const U_UTF8String& value, bool) override
    {
        calls.push_back(std::string(key) + "=" + Bytes(value));
    }

    std::vector<std::string> calls;
};

}  // namespace errorstest

#endif
