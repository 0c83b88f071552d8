/// Conversions between UTF-8, UTF-16 and ASCII, and the UTF-8 byte order mark.
///
/// No input is refused by the plain forms: every ill-formed piece (the longest prefix of a valid sequence, or
/// one byte, as the Unicode standard recommends) becomes one U+FFFD. The strict forms give nothing instead. A
/// conversion allocates its result and nothing else; it throws `std::bad_alloc` only. Any thread may call.
#ifndef ZVKCORE_STRING_CONVERT_H
#define ZVKCORE_STRING_CONVERT_H

#include <string_view>

#include "zvkcore/config/Export.h"
#include "zvkcore/string/UTFString.h"

namespace zvkcore::string {

/// UTF-8 to UTF-16. A byte order mark is a character like any other and comes through.
ZVKCORE_EXPORT UTF16String UTF8to16(UTF8View text);
inline UTF16String UTF8to16(std::string_view text)
{
    return UTF8to16(Units(text));
}

/// The same for valid text: the result is empty, and `valid` false, if `text` is not valid UTF-8.
ZVKCORE_EXPORT UTF16String UTF8to16(UTF8View text, bool& valid);

/// The same into `out`; false, and `out` empty, if `text` is not valid UTF-8.
ZVKCORE_EXPORT bool TryUTF8to16(UTF8View text, UTF16String& out);

/// UTF-16 to UTF-8; a lone surrogate is ill-formed.
ZVKCORE_EXPORT UTF8String UTF16to8(UTF16View text);

/// The same for valid text: the result is empty, and `valid` false, if `text` is not valid UTF-16.
ZVKCORE_EXPORT UTF8String UTF16to8(UTF16View text, bool& valid);

/// The same into `out`; false, and `out` empty, if `text` is not valid UTF-16.
ZVKCORE_EXPORT bool TryUTF16to8(UTF16View text, UTF8String& out);

/// Widens ASCII text of `count` bytes; a byte above 127 has no meaning there and becomes U+FFFD.
ZVKCORE_EXPORT UTF16String AsciiToUTF16(const char* text, std::size_t count);

/// The same for a terminated text; null gives an empty string.
ZVKCORE_EXPORT UTF16String AsciiToUTF16(const char* text);

/// Replaces every ill-formed piece by U+FFFD, in place, and tells whether there was one.
ZVKCORE_EXPORT bool SanitizeUTF8CharacterString(UTF8String& text);

/// The three bytes EF BB BF.
ZVKCORE_EXPORT UTF8String GetUTF8BOM_String();

ZVKCORE_EXPORT bool StringBeginsWithUTF8BOM(UTF8View text) noexcept;
inline bool StringBeginsWithUTF8BOM(std::string_view text) noexcept
{
    return StringBeginsWithUTF8BOM(Units(text));
}

/// Removes one leading byte order mark, in place, and tells whether there was one.
ZVKCORE_EXPORT bool RemoveUTF8BOM_IfPresent(UTF8String& text);

}  // namespace zvkcore::string

#endif
