/// What becomes of an assertion that failed, and whether a debugger is there to see it.
///
/// The library never aborts on its own assertions. It tells the handler, and where the handler says so and a
/// debugger is attached, the caller breaks into it.
///
/// threads  any, for everything in this header
#ifndef ZVKCORE_DEBUG_ASSERT_H
#define ZVKCORE_DEBUG_ASSERT_H

#include <functional>

#include "zvkcore/config/Export.h"

namespace zvkcore::debug {

/// Told of each assertion that failed; any text may be null.
///
/// must     return whether the caller should break into a debugger. It may be called on several threads at once
/// default  traces one line and returns false
using SimpleAssertHandler = std::function<bool(const char* file, int line, const char* function,
                                               const char* expression, const char* message)>;

/// Asked where a person should decide what to do about an assertion; any text may be null.
///
/// must     return whether the caller should break into a debugger, and set `*ignore` when the place is not to
///          be asked about again
/// default  goes the way of the simple assertion and leaves `*ignore`
using AssertDialogHandler = std::function<bool(bool* ignore, const char* message, const char* expression,
                                               const char* file, int line, const char* function)>;

/// Reports a failed assertion to the handler.
///
/// returns  true when the caller should break into an attached debugger; false when the handler throws
ZVKCORE_EXPORT bool DoSimpleAssert(const char* file, int line, const char* function, const char* expression,
                                   const char* message) noexcept;

/// Asks the dialog handler about a failed assertion.
///
/// ignore   not null; written by the handler only
/// returns  as `DoSimpleAssert`
ZVKCORE_EXPORT bool BreakAfterAssertDialog(bool* ignore, const char* message, const char* expression,
                                           const char* file, int line, const char* function) noexcept;

/// Each installs a handler, or the default for an empty one, and returns the former one (empty for the default).
ZVKCORE_EXPORT SimpleAssertHandler SetSimpleAssertHandler(SimpleAssertHandler handler);
ZVKCORE_EXPORT AssertDialogHandler SetAssertDialogHandler(AssertDialogHandler handler);

/// Tells whether a debugger traces this process now. Asks the operating system each time: some microseconds.
ZVKCORE_EXPORT bool IsDebuggerAttached() noexcept;

/// Stops in the attached debugger; without one the process dies, so ask `IsDebuggerAttached` first.
inline void BreakIntoDebugger() noexcept
{
#if defined(__i386__) || defined(__x86_64__)
    __asm__ volatile("int3");
#else
    __builtin_trap();
#endif
}

}  // namespace zvkcore::debug

#endif
