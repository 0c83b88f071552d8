/// What runs when the process is about to end, and what turns exceptions into codes: births and deaths of
/// both.
#ifndef UP_HANDLERS_H
#define UP_HANDLERS_H

#include "U.h"

/// Calls the handler that counts on this thread, and logs that it has returned, also when there was none.
void Up_InvokeUnhandledExceptionOrHardwareErrorHandler();

/// The action of the four signals: gives them back to the default disposition, runs the handler that
/// counts, and returns to the faulting instruction, or aborts for user signal 1.
///
/// The handler that counts may be the global one, whose mutex is then taken inside a signal handler. That is
/// accepted: a fault while that mutex is held on the same thread finds it recursive, and every wait has an
/// end.
void Up_ExceptionHandler(int signal);

/// Runs the handler that counts, then the terminate handler that stood before.
[[noreturn]] void Up_terminate_handler();

/// Install and remove the terminate handler. Installing twice keeps the handler that stood before the first.
void Up_InstallTerminateHandler();
void Up_RemoveTerminateHandler();

/// Install and remove the new handler, which reports that memory ran out when it runs on a main thread, and
/// throws std::bad_alloc on every thread. Installing twice keeps the handler that stood before the first;
/// removing one that is not installed does nothing. Installing returns 0.
Err Up_InstallReportingNewHandler();
void Up_RemoveReportingNewHandler();
void Up_ReportingThrowingNewHandler();

/// Make and destroy the table of exception translators. A birth starts with an empty one. Throw
/// std::bad_alloc, and std::system_error when the table's mutex cannot be had.
void Up_BirthTranslators();
void Up_DeathTranslators();

#endif
