/// Conversions by encoding number, under the public ones of U_String.h.
#ifndef UP_ENCODINGS_H
#define UP_ENCODINGS_H

#include <string>
#include <string_view>

#include "U_String.h"

/// Converts from an encoding, with its stand-ins; null gives an empty text.
///
/// quiet   a text that cannot be converted gives an empty result; else it is reported and thrown
/// throws  the `int` 1
U_UTF16String Up_EncodedStringToUTF16String(const char* text, unsigned int encoding, bool quiet);

/// Converts from exactly this encoding.
///
/// returns  false, and `out` empty, for text that is not valid in it and for a number without a converter
bool Up_TryDecode(std::string_view text, unsigned int encoding, U_UTF16String& out);

/// Converts to exactly this encoding. Not `strict`, a character that it lacks becomes a question mark.
///
/// returns  false, and `out` empty, when something could not be written, or the number has no converter
bool Up_TryEncode(const U_UTF16String& text, unsigned int encoding, bool strict, std::string& out);

/// Reports that a text could not be converted, and throws `code` as an `int`, or 1 for a `code` of 0.
[[noreturn]] void Up_ReportAndThrowUnicodeConversionError(int code);

#endif
