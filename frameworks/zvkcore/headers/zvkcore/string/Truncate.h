/// Cuts that never leave half a character behind.
///
/// A character here is a code point: a surrogate pair or a UTF-8 sequence is kept or dropped whole. Text that
/// is ill-formed anyway is cut where the limit falls. Any thread may call.
#ifndef ZVKCORE_STRING_TRUNCATE_H
#define ZVKCORE_STRING_TRUNCATE_H

#include <cstddef>

#include "zvkcore/string/UTFString.h"

namespace zvkcore::string {

/// Cuts `text` to at most `count` 16-bit units. With `ellipsis` a cut text ends in U+2026, which counts.
void TruncateStringToNumChars(UTF16String& text, std::size_t count, bool ellipsis);

/// Cuts `text` to at most `count` bytes.
void TruncateStringToNumBytes(UTF8String& text, std::size_t count);

}  // namespace zvkcore::string

#endif
