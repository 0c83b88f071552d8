/// Events and counts for a telemetry provider that the host registers, and the rule by which user data stays
/// at home: what stands between quotation marks in a message is removed before the message is sent.
///
/// Without a provider nearly every call does nothing. Who writes a message puts user data, such as a file
/// name, through `EncloseInQuotesForTelemetryRemoval`; who sends one puts it through `StripQuotedContents`.
///
///     auto text = U_AsciiToUTF16String("cannot open ") +
///     U::telemetry::EncloseInQuotesForTelemetryRemoval(path);
///     ...
///     send(U::telemetry::StripQuotedContents(text));  // cannot open ""
///
/// Threads: any, but for the registration. Text is UTF-16 or UTF-8 as the type says; plain `char*` is ASCII.
#ifndef U_TELEMETRY_H
#define U_TELEMETRY_H

#include <memory>

#include "U_Types.h"
#include "zvkcore/utility/Guid.h"

namespace zvkcore::config {
class UsageLoggerGroup;
}

namespace U::telemetry {

/// A named set of fields that is sent as one event.
using DataGroup = std::shared_ptr<zvkcore::config::UsageLoggerGroup>;

/// What a host implements to receive events. Called from any thread, without a lock held; each operation is
/// the free function of the same name below, with its arguments. The order of the operations is fixed.
class U_EXPORT U_TelemetryProvider {
  public:
    virtual ~U_TelemetryProvider();
    virtual bool IsLogging() = 0;
    virtual void LogEvent(const char* category, const char* name, const unsigned short* detail,
                          zvkcore::utility::Guid group) = 0;
    virtual void LogEventWithCount(const char* category, const char* name, const unsigned short* detail,
                                   zvkcore::utility::Guid group) = 0;
    virtual void IncrementEventCount(const char* category, const char* name, const unsigned short* detail,
                                     zvkcore::utility::Guid group) = 0;
    virtual void ClearEventCount(const char* category, const char* name, const unsigned short* detail,
                                 zvkcore::utility::Guid group) = 0;
    virtual void LogEventsWithCount() = 0;
    virtual DataGroup NewDataGroup(const char* owner, const char* category, const char* subcategory,
                                   zvkcore::utility::Guid guid, bool use_usage_logger) = 0;
    virtual void AddToGroup(const DataGroup& group, const char* key, const U_UTF8String& value,
                            bool use_usage_logger) = 0;
};

/// Makes `provider` the one that receives everything; null for none, which is the state at the start.
///
/// The provider stays the host's: it must live until another one is registered and calls that were under way
/// on other threads have returned. Meant to be called once, before other threads report.
U_EXPORT void RegisterTelemetryProvider(U_TelemetryProvider* provider);

/// Gives the provider's answer; false without one.
U_EXPORT bool IsLogging();

// --- Events -------------------------------------------------------------------------------------------
//
// An event is named by its category, its name, a detail (text that ends in a zero unit; may be null) and the
// group that it belongs to, all zero for none. Counts are kept by the provider. Without one nothing happens.

U_EXPORT void LogEvent(const char* category, const char* name, const unsigned short* detail,
                       zvkcore::utility::Guid group);
/// Sends the event with its count.
U_EXPORT void LogEventWithCount(const char* category, const char* name, const unsigned short* detail,
                                zvkcore::utility::Guid group);
U_EXPORT void IncrementEventCount(const char* category, const char* name, const unsigned short* detail,
                                  zvkcore::utility::Guid group);
U_EXPORT void ClearEventCount(const char* category, const char* name, const unsigned short* detail,
                              zvkcore::utility::Guid group);
/// Sends every event that has a count.
U_EXPORT void LogEventsWithCount();

// --- Data groups --------------------------------------------------------------------------------------

/// Opens a group of fields. Without a provider it is opened in the usage logger if `use_usage_logger` is set,
/// and is empty otherwise.
///
/// guid  id of the group, all zero for none
U_EXPORT DataGroup NewDataGroup(const char* owner, const char* category, const char* subcategory,
                                zvkcore::utility::Guid guid, bool use_usage_logger);

/// Adds a field. Without a provider it is added only if `use_usage_logger` is set and `group` is not empty.
U_EXPORT void AddToGroup(const DataGroup& group, const char* key, const U_UTF8String& value,
                         bool use_usage_logger);

/// The direct road to the usage logger, past any provider. Empty when there is no usage logger.
U_EXPORT DataGroup NewDataGroupImpl(const char* owner, const char* category, const char* subcategory,
                                    zvkcore::utility::Guid guid);
/// Does nothing for an empty `group`.
U_EXPORT void AddToGroupImpl(const DataGroup& group, const char* key, const U_UTF8String& value);

// --- User data in messages ----------------------------------------------------------------------------

/// Gives the text between a pair of double quotation marks, as the language in force writes them.
U_EXPORT U_UTF16String EncloseInQuotesForTelemetryRemoval(const U_UTF16String& text);

/// Gives the text without what stands between its quotation marks, for four kinds of marks in turn. From the
/// first left mark to the last right mark everything goes; the marks stay.
///
/// A lone mark is both the first left and the last right one, and comes out doubled: "don't" gives "don''t".
U_EXPORT U_UTF16String StripQuotedContents(const U_UTF16String& text);

}  // namespace U::telemetry

#endif
