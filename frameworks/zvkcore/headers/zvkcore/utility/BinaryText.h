/// Bytes as text, and back: the base 64 encoding of RFC 4648, section 4, padded, in one line.
///
///     const auto text = EncodeBinaryDataToUTF8String(View(bytes));
///     UTF8String back;
///     if (!DecodeBinaryDataFromUTF8String(text, back)) ...    // no such text
///
/// The text has letters, digits, "+", "/" and at its end "=", and so no comma, blank or quote. Four
/// characters stand for three bytes. Both directions take a time in proportion to the size, and any thread
/// may call.
#ifndef ZVKCORE_UTILITY_BINARYTEXT_H
#define ZVKCORE_UTILITY_BINARYTEXT_H

#include "zvkcore/config/Export.h"
#include "zvkcore/string/UTFString.h"

namespace zvkcore::utility {

/// The text of any bytes; no bytes give an empty text.
ZVKCORE_EXPORT string::UTF8String EncodeBinaryDataToUTF8String(string::UTF8View bytes);

/// The bytes of a text into `bytes`, which may be what `text` views.
///
/// returns  false, and `bytes` empty, for a text that the encoding does not give: another character, a length
///          that is no multiple of four, padding elsewhere than at the end, or bits behind the last byte
ZVKCORE_EXPORT bool DecodeBinaryDataFromUTF8String(string::UTF8View text, string::UTF8String& bytes);

}  // namespace zvkcore::utility

#endif
