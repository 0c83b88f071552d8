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
/// filter by
/// (`level` is a plain word), no structure and no rotation.
///
/// threads  any, at once
/// encoding bytes are passed on as given; the library itself logs UTF-8
/// errors   none: every function returns 0
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

/// The most bytes that a line holds, module, level and blanks included, the newline not. What is longer is
/// cut.
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

#ifdef __cplusplus
}

#include "zvkcore/string/UTFString.h"

/// Makes a text for a caller that logs it itself: `prefix` and one blank (nothing for a null prefix), then
/// the formatted message, 2068 bytes in all at most.
ZVKCORE_EXPORT zvkcore::string::UTF8String ALOG_convertMesg(const char* prefix, const char* format, ...)
    ALOG_FORMAT(2, 3);

#endif
#endif
