/// Reporting: the one road that every failure takes to the log, to the host and to the user.
///
///     U_ReportError(0x00120003, U_Sev_WARNING, U_AsciiToUTF16String("the footage is missing"));
///
/// A report has a location (a module number in the high 16 bits, a number inside the module in the low 16, 0
/// for none), a severity and a text. What becomes of it:
///
///   severity            prefix of the text         log line  stack crawl  counted
///   U_Sev_NONE          none                       no        no           yes
///   U_Sev_PLAIN         "Name: "                   no        no           yes
///   U_Sev_WARNING       "Name warning: "           yes       no           yes
///   U_Sev_PROBLEM       "Name error: "             yes       yes          yes
///   U_Sev_FATAL         "Name can't continue: "    yes       yes          yes, and the library is dead
///   U_Sev_CONTINUED     two blanks                 no        no           no
///   U_Sev_DEBUG         "Name debug info: "        no        no           yes
///   U_Sev_LEAK          "Name warning: "           no        no           yes
///
/// In this order: the log line, the logging callbacks, the last error of the thread, the count, and then the
/// dialog: shown at once on the UI thread, posted on every other (`U_DisplayPostedErrors` shows what is
/// posted). A leak is not shown after a fatal report. A thread can silence its reports or gather them for a
/// while (U_ErrState.h); a fatal report ignores that. A report made while the same thread is inside one
/// vanishes.
///
/// Any thread may report, between `U_Birth` and `U_Death`. Texts are copied.
#ifndef U_ERR_H
#define U_ERR_H

#include "U_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

// --- Logging callbacks -----------------------------------------------------------------------------------

/// Hears of every report that a thread's state does not silence.
///
/// when     on the reporting thread, one report at a time, before the last error is recorded and before any
///          dialog
/// must     return 0. Of several callbacks the last one's result counts; any other value ends the report
///          there and becomes its error. May report (that report vanishes), add and remove callbacks
/// default  there is none
typedef int (*U_LoggingFunc)(void* refcon, unsigned int location, U_Severity severity, const char* utf8_text);

/// Adds a callback; there is room for ten, called in the order of their places.
///
/// returns  0; 3 for a null function, or when all places are taken; 0x1701 unborn; 2 damaged (all reported)
U_EXPORT Err U_AddLoggingCallback(U_LoggingFunc func, void* refcon);

/// Removes the callback that was added with this function and this `refcon`; an unknown pair is ignored.
///
/// returns  as above; 0 for an unknown pair
U_EXPORT Err U_RemoveLoggingCallback(U_LoggingFunc func, void* refcon);

// --- Counts ----------------------------------------------------------------------------------------------

/// How many errors have been reported since the birth, on all threads: every report that may be displayed and
/// is not U_Sev_CONTINUED. A null `out` receives nothing.
///
/// returns  0; 0x1701 unborn; 2 damaged (both reported)
U_EXPORT Err U_GetHowManyErrors(int* out);

/// Makes the UI thread post instead of showing dialogs, until the matching decrement. They nest, on any
/// thread.
U_EXPORT void U_IncrementPostErrors(void);
U_EXPORT void U_DecrementPostErrors(void);

// --- Checks ----------------------------------------------------------------------------------------------

/// Reports, as U_Sev_PROBLEM, that a check inside the program failed. It never aborts.
///
/// file     where the check stands; null to leave it out
/// message  what is wrong; null for the line number
U_EXPORT void U_ReportFailedVerification(unsigned int location, int line, const char* file,
                                         const char* message);

#ifdef __cplusplus
}

#include "zvkui/sketchbot/Supplier.h"
#include "zvkui/ui/NodeManager.h"

// --- Reports ---------------------------------------------------------------------------------------------

/// Reports a text.
///
/// throws   an `int` when a logging callback says so; what a dialog presenter throws
U_EXPORT void U_ReportError(unsigned int location, U_Severity severity, const U_UTF16String& text);

/// The text as log and dialog would show it, with the prefix of its severity; nothing is reported.
U_EXPORT U_UTF16String U_ReportFormatError(U_Severity severity, const U_UTF16String& text);

/// The calling thread's last report. The text is that of its latest report of any kind, at most 2047 bytes of
/// it; severity and location are those of the latest that was allowed to reach the user.
///
/// severity, location, error  each may be null; 0 when there was no report. `error` is what a report under
///                            way carries of the operating system or of the library
U_EXPORT U_UTF16String U_GetLastError(U_Severity* severity, unsigned int* location, int* error);

// --- Dialogs ---------------------------------------------------------------------------------------------

/// What the message box needs to stand over the host's window: the supplier of its drawing and that window.
/// The window is held until the next call or `U_Death`; the supplier is not owned. Without both, an alert is
/// shown.
///
/// threads  the UI thread
U_EXPORT void U_SetSketchbotValuesForUErrors(zvkui::sketchbot::SupplierInterface* supplier,
                                             zvkui::ui::UI_NodePtr window);

#endif
#endif
