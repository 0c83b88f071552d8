// The road of a report: from its front doors, through the decision what becomes of it, to log, callbacks,
// last error and dialog.
#include "U_Err.h"

#include <cstdio>
#include <exception>
#include <utility>

#include "ALOG.h"
#include "ALOGp.h"
#include "U.h"
#include "U_ErrState.h"
#include "U_TrySection.h"
#include "Up_Err.h"
#include "Up_ErrState.h"
#include "Up_ErrText.h"
#include "Up_Globals.h"
#include "Up_Interact.h"
#include "Up_Posted.h"
#include "Up_StackCrawl.h"
#include "zvkcore/debug/StackTrace.h"
#include "zvkcore/debug/Trailmark.h"
#include "zvkcore/string/Convert.h"

namespace {

/// A report on its way, with the texts that several steps need.
struct Report {
    unsigned int location;
    U_Severity severity;
    bool isGrouped;
    U_UTF16String locationText;
    U_UTF16String text;  // with its prefix
    U_UTF8String utf8;   // the same
    const char* Utf8() const { return reinterpret_cast<const char*>(utf8.c_str()); }
};

struct Permissions {
    bool mayLog;
    bool mayDisplay;
};

Permissions AskErrorState(U_Severity severity)
{
    if (severity == U_Sev_FATAL) return {true, true};
    const uint32_t flags = Up_GetPerThreadErrorFlags();
    return {(flags & Up_ErrorState_NoLog) == 0, (flags & Up_ErrorState_NoDisplay) == 0};
}

// 1 while the thread is inside a report: what is reported meanwhile vanishes, so that no report ever leads
// to itself.
thread_local constinit int s_reporting_guard = 0;

/// Sets the guard; gives its former value back at the end, or 0 when an exception ends the report.
class ReportingGuard {
  public:
    ReportingGuard() : m_former(std::exchange(s_reporting_guard, 1)), m_exceptions(std::uncaught_exceptions())
    {
    }
    ~ReportingGuard() { s_reporting_guard = std::uncaught_exceptions() > m_exceptions ? 0 : m_former; }
    ReportingGuard(const ReportingGuard&) = delete;
    ReportingGuard& operator=(const ReportingGuard&) = delete;
    bool IsNested() const { return m_former != 0; }

  private:
    int m_former;
    int m_exceptions;
};

// --- Log -------------------------------------------------------------------------------------------------

/// The word of the log line; null for a severity that has none.
const char* LogWord(U_Severity severity)
{
    switch (severity) {
        case U_Sev_WARNING:
            return "U_Sev_WARNING";
        case U_Sev_PROBLEM:
            return "U_Sev_PROBLEM";
        case U_Sev_FATAL:
            return "U_Sev_FATAL";
        default:
            return nullptr;
    }
}

// The whole crawl is one log line, whose room bounds the number of frames that are named.
void LogStackCrawl()
{
    if (!ALOGp_HasLogFile()) return;
    try {
        U_TrySection([] {
            char crawl[ALOG_kLineSize];
            Up_StackCrawl(crawl, sizeof crawl);
            ALOG_Log(0, "ReportError", "StackCrawl", crawl);
        });
    } catch (...) {
        // A report goes on without its crawl.
    }
}

void LogReport(const Report& report, uint32_t mask)
{
    const char* word = LogWord(report.severity);
    const bool isWanted = Up_InteractShows(mask, report.severity) || Up_InteractLogs(mask, report.severity);
    if (!word || !isWanted) return;
    const U_UTF8String location = zvkcore::string::UTF16to8(report.locationText);
    ALOG_sprintf(0, "U", word, "%s\t%s", report.Utf8(), reinterpret_cast<const char*>(location.c_str()));
    if (report.severity != U_Sev_WARNING) LogStackCrawl();
}

/// Calls the logging callbacks in order, and throws the last one's answer when it is not 0. A callback may
/// report (into nothing) and change the table while it runs.
void CallLoggingCallbacks(const Report& report)
{
    U_GlobalsRecord* record = Up_Globals();
    if (!record) return;
    int answer = 0;
    {
        const zvkcore::threads::RecursiveMutex::ScopedLock lock(*record->mutex, nullptr,
                                                                Up_kLockTimeoutMilliseconds);
        for (int slot = 0; slot < Up_kLoggingSlots; ++slot) {
            const U_LoggingFunc func = record->loggingFuncs[slot];
            if (func)
                answer = func(record->loggingRefCons[slot], report.location, report.severity, report.Utf8());
        }
    }
    if (answer != 0) throw answer;
}

// --- User ------------------------------------------------------------------------------------------------

void RecordReport(const Report& report)
{
    Up_SetThreadLastReport(report.severity, report.location);
    U_GlobalsRecord* record = Up_Globals();
    if (record && report.severity != U_Sev_CONTINUED) record->howManyErrors.fetch_add(1);
}

bool MayReachUser(const Report& report)
{
    if (!Up_InteractShows(Up_GetInteract(), report.severity)) return false;
    // Leaks found after a fatal error follow from it.
    return report.severity != U_Sev_LEAK || !U_IsDeadWithFatalError();
}

void LeaveTrail(const Report& report)
{
    using namespace zvkcore::debug;
    const auto level = report.severity == U_Sev_WARNING ? trailmark::kCheckpointLevel_Warning
                       : report.severity == U_Sev_PROBLEM || report.severity == U_Sev_FATAL
                           ? trailmark::kCheckpointLevel_Error
                           : trailmark::kCheckpointLevel_Debug;
    zvkcore::utility::Dictionary trail;
    trail.Set(trailmark::kCheckpointLevel, zvkcore::string::Units(level));
    trail.Set(trailmark::kCheckpointCategory, zvkcore::string::Units("QLErrorDialog"));
    trail.Set(trailmark::kCheckpointName, zvkcore::string::Units("Up_DlgShowC16"));
    trail.Set(trailmark::kDebugSourceLocation, zvkcore::string::UTF16to8(report.locationText));
    trail.Set(trailmark::kDebugMessage, report.utf8);
    trailmark::LeaveTrail(std::move(trail), CaptureCallstack(GetDefaultCallstackDepth(), 0));
}

bool MayShowNow(const Report& report)
{
    const U_GlobalsRecord* record = Up_Globals();
    return U_IsOnUIThread() && (!record || record->postErrorsDepth.load() == 0) && !report.isGrouped &&
           (Up_GetPerThreadErrorFlags() & Up_ErrorState_Aggregate) == 0;
}

void ShowOrPost(const Report& report)
{
    if (MayShowNow(report)) {
        Up_ReportErrorUTF16(report.locationText, report.severity, report.text, 0.0f, true, true);
    } else {
        // A post that fails has nowhere else to go.
        Up_PostError(report.locationText, report.severity, report.text, true);
    }
}

/// The front doors for errors that have a number: nothing for 0, else the text with the number's words.
Err ReportNumbered(unsigned int location, U_Severity severity, int error, const char* text,
                   char* (*appendWords)(int))
{
    return U_TrySection([&]() -> Err {
        Up_SetThreadLastError(error);
        if (error == 0) return U_Err_NONE;
        Up_CopyToThreadLoggingBuffer(text);
        appendWords(error);
        Up_ReportError(location, severity);
        // 0 by now, as the report has cleared it. Wanted: callers take a reported error for dealt with.
        return Up_GetThreadLastError();
    });
}

}  // namespace

void Up_Report16(unsigned int location, U_Severity severity, const U_UTF16String& text, bool is_grouped)
{
    Up_SetThreadLastError(0);
    const Permissions permissions = AskErrorState(severity);
    const ReportingGuard guard;
    if (guard.IsNested()) return;

    if (severity == U_Sev_FATAL) Up_SetDeadWithFatalError();
    Report report{location, severity, is_grouped, Up_LocationText(location), {}, {}};
    report.text = Up_ReportErrorFormatter16(severity, text);
    report.utf8 = zvkcore::string::UTF16to8(report.text);

    if (permissions.mayLog) {
        const uint32_t mask = Up_GetInteract();
        LogReport(report, mask);
        if (Up_InteractLogs(mask, severity)) CallLoggingCallbacks(report);
    }
    if (!permissions.mayDisplay) return;
    RecordReport(report);
    if (!MayReachUser(report)) return;
    LeaveTrail(report);
    ShowOrPost(report);
}

// --- Front doors -----------------------------------------------------------------------------------------

void U_ReportError(unsigned int location, U_Severity severity, const U_UTF16String& text)
{
    Up_CopyToThreadLoggingBuffer(text);
    Up_Report16(location, severity, text, U_IsGroupedErrorMessage(text, nullptr));
}

Err Up_ReportError(unsigned int location, U_Severity severity)
{
    return U_TrySection([&] {
        const U_UTF16String text = Up_GetGlobal_UBUF16();
        Up_Report16(location, severity, text, U_IsGroupedErrorMessage(text, nullptr));
    });
}

Err Up_ReportErrString(unsigned int location, U_Severity severity, const char* text)
{
    Up_SetThreadLastError(0);
    Up_CopyToThreadLoggingBuffer(text);
    return Up_ReportError(location, severity);
}

Err Up_ReportSyserrString(unsigned int location, U_Severity severity, int syserr, const char* text)
{
    return ReportNumbered(location, severity, syserr, text, Up_SysEnglishError);
}

Err Up_ReportTolmErrString(unsigned int location, U_Severity severity, int error, const char* text)
{
    return ReportNumbered(location, severity, error, text, Up_TolmEnglishError);
}

U_UTF16String U_ReportFormatError(U_Severity severity, const U_UTF16String& text)
{
    return Up_ReportErrorFormatter16(severity, text);
}

U_UTF16String U_GetLastError(U_Severity* severity, unsigned int* location, int* error)
{
    if (severity) *severity = Up_GetThreadLastSeverity();
    if (location) *location = Up_GetThreadLastLocation();
    if (error) *error = Up_GetThreadLastError();
    return Up_GetGlobal_UBUF16();
}
