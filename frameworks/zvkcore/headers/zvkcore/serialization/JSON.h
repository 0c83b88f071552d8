/// JSON string tokens: from a text to its token and back. Trees have a reader and a writer of their own; this
/// is what they and others use for one string.
///
///     GetJSONString(boost::any(UTF8String("a\"b"_utf8)), false)      // "a\"b", with its quotes
///     JSONParse(u"\"a\\\"b\""_u16)                                   // a shared any that holds a"b
///
/// Escapes are those of RFC 8259. Any thread may call; memory running out throws `std::bad_alloc`.
#ifndef ZVKCORE_SERIALIZATION_JSON_H
#define ZVKCORE_SERIALIZATION_JSON_H

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>

#include "zvkcore/config/Export.h"
#include "zvkcore/string/UTFString.h"

namespace zvkcore::serialization {

/// Reads a JSON string token, with white space around it or without.
///
/// returns  a `string::UTF8String` in an any; null for any other text: no token, two tokens, a number, a raw
///          control character, an escape that is none or half of a surrogate pair. A lone surrogate in the
///          text itself is U+FFFD in the result
ZVKCORE_EXPORT boost::shared_ptr<boost::any> JSONParse(const string::UTF16String& text);

/// Writes a JSON string token: quotes, and escapes for the quote, the backslash and control characters.
///
/// value      a `string::UTF8String`; what is not valid UTF-8 in it becomes U+FFFD
/// asciiOnly  escape every character above U+007F too
/// throws     `boost::bad_any_cast` for an any that holds something else
ZVKCORE_EXPORT string::UTF16String GetJSONString(const boost::any& value, bool asciiOnly);

}  // namespace zvkcore::serialization

#endif
