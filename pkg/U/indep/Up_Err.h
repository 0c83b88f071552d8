/// The road of a report, seen from inside the library: what the front doors of U_Err.h and the subsystems
/// share.
///
/// The list of posted errors, the record of what the UI thread showed last and the states of threads belong
/// to Up_Posted.h and Up_ErrState.h, with their guards and `U_ClearLastReportedError`; here they are only
/// born and ended.
#ifndef UP_ERR_H
#define UP_ERR_H

#include <cstddef>
#include <cstdint>

#include "U_Err.h"

// --- The thread's logging buffer and last error ----------------------------------------------------------

/// The size of a thread's logging buffer, terminator included: the bound on a text that `U_GetLastError`
/// gives.
constexpr size_t Up_kLoggingBufferSize = 2048;

/// The last report of a thread.
struct Up_LastErrorState {
    int32_t last_error;  // the system's or the library's error that the report under way carries
    U_Severity severity;
    uint32_t location;
};

/// The calling thread's buffer of 2048 bytes, always terminated: the text of its latest report. It begins
/// with the UTF-8 byte order mark and holds UTF-8 when the report came with 16-bit text, else it is text in
/// the application's encoding. Made at first use. When that fails it is one buffer that all threads share:
/// never null.
char* Up_GetThreadLoggingBuffer();

/// The same; with `do_not_create` null when the thread has no buffer yet.
char* Up_GetThreadLoggingBufferEx(bool do_not_create);

/// Put a text into the buffer, cut to it on a character boundary: one in the application's encoding (a null
/// text counts as empty, and the buffer's own text may be given), and a 16-bit one.
void Up_CopyToThreadLoggingBuffer(const char* text);
void Up_CopyToThreadLoggingBuffer(const U_UTF16String& text);

/// The buffer's text, by its encoding.
U_UTF16String Up_GetGlobal_UBUF16();

/// The fields of the thread's record; 0 without one.
int Up_GetThreadLastError();
U_Severity Up_GetThreadLastSeverity();
uint32_t Up_GetThreadLastLocation();

/// Stores the error, and returns it. When the record cannot be made nothing is stored.
int Up_SetThreadLastError(int error);

/// Stores severity and location. When the record cannot be made nothing is stored.
void Up_SetThreadLastReport(U_Severity severity, uint32_t location);

/// Free a thread's record and buffer, at its end.
void Up_CleanupThreadLastErrorState(Up_LastErrorState* state);
void Up_CleanupThreadLoggingBuffer(char* buffer);

// --- Reports ---------------------------------------------------------------------------------------------

/// Reports what stands in the thread's logging buffer.
///
/// returns  0; the `int` that a logging callback had thrown; the code of an exception on the way
Err Up_ReportError(unsigned int location, U_Severity severity);

/// Reports a multibyte text, cut to the buffer on a character boundary. A null text counts as an empty one.
Err Up_ReportErrString(unsigned int location, U_Severity severity, const char* text);

/// Report a text and, behind it, the words for an error of the operating system or of the library. Nothing is
/// reported for the error 0.
///
/// returns  the thread's last error, which a completed report has cleared: 0. Callers rely on it
Err Up_ReportSyserrString(unsigned int location, U_Severity severity, int syserr, const char* text);
Err Up_ReportTolmErrString(unsigned int location, U_Severity severity, int error, const char* text);

/// Decides what becomes of a report, and does it.
///
/// is_grouped  the text carries a group identifier, so it is posted wherever it comes from
/// throws      the `int` of a logging callback; what the dialog's presenter throws
void Up_Report16(unsigned int location, U_Severity severity, const U_UTF16String& text, bool is_grouped);

/// The text behind its prefix. A failure on the way keeps the prefix built so far.
U_UTF16String Up_ReportErrorFormatter16(U_Severity severity, const U_UTF16String& text);

/// "( module :: number )" in the user's language; empty for location 0.
U_UTF16String Up_LocationText(unsigned int location);

// --- Dialogs (UI thread) ---------------------------------------------------------------------------------

/// Shows one error: closes a running input capture, remembers the error as the one shown last, sends
/// telemetry and opens the dialog, or posts the error again while the node manager must not be interrupted.
///
/// dialog_size           600 for a folded list, 0 for a plain error
/// display_posted_first  shows what is posted before
void Up_ReportErrorUTF16(const U_UTF16String& location_text, U_Severity severity,
                         const U_UTF16String& message, float dialog_size, bool display_posted_first,
                         bool send_telemetry);

/// The dialog itself: a message box over the host's window, or an alert without one.
void Up_ReportErrorDialog(const U_UTF16String& location_text, U_Severity severity,
                          const U_UTF16String& message, float dialog_size);

// --- Birth and death -------------------------------------------------------------------------------------

/// Makes what posted errors and error states stand on. Returns 0, or 4 when memory ran out.
Err Up_BirthErrors();

/// Ends it. What is still posted is lost silently, so `U_Death` shows it before.
void Up_DeathErrors();

// --- Assertions ------------------------------------------------------------------------------------------

/// Reports a failed assertion as U_Sev_PROBLEM. Returns 0 whatever becomes of the report.
Err Up_AssertFailed(const char* expression, const char* file, int line);

/// Asks the assertion dialog, and breaks into a debugger when it says so. `*result` receives whether to
/// ignore this assertion from now on. Returns 0.
Err Up_AssertImpl(const char* message, const char* expression, const char* file, int line,
                  unsigned char* result);

/// Sends a failed assertion to `zvkcore::debug::DoSimpleAssert`, and breaks into a debugger when it says so
/// and one is attached.
void Up_SimpleAssert(const char* file, int line, const char* function, const char* expression,
                     const char* message);

#endif
