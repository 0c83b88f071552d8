/// Formatting for the log: what `vsnprintf` does, at the speed of the directives that log lines are made of.
#ifndef ALOGP_FORMAT_H
#define ALOGP_FORMAT_H

#include <cstdarg>
#include <cstddef>

/// Writes a formatted text, cut to `size - 1` bytes and terminated; `size` is not 0. The text is that of
/// `vsnprintf`, but that a plain number with decimals always has a point, whatever the process's locale says.
///
/// returns  the bytes written, terminator not counted
size_t ALOGp_Format(char* out, size_t size, const char* format, va_list arguments)
    __attribute__((format(printf, 3, 0)));

#endif
