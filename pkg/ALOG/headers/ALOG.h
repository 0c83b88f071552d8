/// The small log: one line a call, into the console log file.
///
///     ALOG_sprintf(0, "RENDER", "Frame", "%d of %s took %.3f ms", frame, layer, milliseconds);
///
/// writes "RENDER Frame 12 of Layer 7 took 12.500 ms" through the trace facility, under the trace name "ALOG"
/// at level 5. A line appears when the console log file exists and that trace is enabled. Whether the file
/// exists is asked once, at the process's first log call, so a host opens the file before it calls `U_Birth`;
/// a file that appears later stays empty. Enabling or disabling the trace takes effect at the next line.
///
/// Without a console log file a call costs two byte reads. This is a log for people: it has no levels to
/// filter by (`level` is a plain word), no structure and no rotation.
///
/// threads   any, at once
/// encoding  bytes are passed on as given; the library itself logs UTF-8
/// errors    none: every function returns 0. A line that cannot be written, for lack of memory say, is lost
#ifndef ALOG_H
#define ALOG_H

#include <stdarg.h>
#include <stddef.h>

#include "zvkcore/config/Export.h"

#ifdef __GNUC__
#define ALOG_FORMAT(text, first) __attribute__((format(printf, text, first)))
#else
#define ALOG_FORMAT(text, first)
#endif

/// The most bytes that a line holds, module, level and blanks included, the newline not. Longer ones are cut.
enum { ALOG_kLineSize = 2069 };

#ifdef __cplusplus
extern "C" {
#endif

/// Logs `text` as it stands; a percent sign in it means nothing.
///
/// unread  nothing reads it; pass 0
/// module  who speaks, such as "U"
/// level   a word for the kind of line, such as "Birth"
ZVKCORE_EXPORT int ALOG_Log(int unread, const char* module, const char* level, const char* text);

/// Logs a text formatted as `printf` does it.
ZVKCORE_EXPORT int ALOG_sprintf(int unread, const char* module, const char* level, const char* format, ...)
    ALOG_FORMAT(4, 5);

/// Logs a text formatted as `vprintf` does it.
ZVKCORE_EXPORT int ALOG_vsprintf(int unread, const char* module, const char* level, const char* format,
                                 va_list arguments) ALOG_FORMAT(4, 0);

// --- In place --------------------------------------------------------------------------------------------
// A process without a log file should not even pay for a call. Where the compiler can hand variable arguments
// on (GCC), the functions above look at this byte in their caller: their arguments are evaluated as ever, and
// the functions are exported as ever. Read only; 1 once it is known that there is no log file.
ZVKCORE_EXPORT extern unsigned char ALOG_g_isSilent;

#if defined(__GNUC__) && !defined(__clang__) && !defined(ALOG_NO_INLINE)
#define ALOG_IN_PLACE extern __inline__ __attribute__((__always_inline__, __gnu_inline__, __artificial__))

ZVKCORE_EXPORT extern int ALOG_LogCalled(int unread, const char* module, const char* level,
                                         const char* text) __asm__("ALOG_Log");
ZVKCORE_EXPORT extern int ALOG_sprintfCalled(int unread, const char* module, const char* level,
                                             const char* format, ...) __asm__("ALOG_sprintf");

ALOG_IN_PLACE int ALOG_Log(int unread, const char* module, const char* level, const char* text)
{
    if (__atomic_load_n(&ALOG_g_isSilent, __ATOMIC_RELAXED)) return 0;
    return ALOG_LogCalled(unread, module, level, text);
}

ALOG_IN_PLACE int ALOG_sprintf(int unread, const char* module, const char* level, const char* format, ...)
{
    if (__atomic_load_n(&ALOG_g_isSilent, __ATOMIC_RELAXED)) return 0;
    return ALOG_sprintfCalled(unread, module, level, format, __builtin_va_arg_pack());
}

#undef ALOG_IN_PLACE
#endif

#ifdef __cplusplus
}

#include "zvkcore/string/UTFString.h"

/// Makes a text for a caller that logs it itself: `prefix` and one blank (nothing for a null prefix), then
/// the formatted message, 2068 bytes in all at most.
ZVKCORE_EXPORT zvkcore::string::UTF8String ALOG_convertMesg(const char* prefix, const char* format, ...)
    ALOG_FORMAT(2, 3);

#endif
#endif
