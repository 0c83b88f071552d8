/// The locale in which numbers are shown to people.
///
/// The host sets it; until then, and after a null name, numbers keep the plain form: ASCII digits, a point as
/// decimal mark, a comma as separator. The process's own locale is never asked. Any thread may call.
#ifndef ZVKCORE_STRING_NUMBERLOCALE_H
#define ZVKCORE_STRING_NUMBERLOCALE_H

#include "zvkcore/config/Export.h"
#include "zvkcore/string/UTFString.h"

namespace zvkcore::string {

/// Chooses the number form of an ICU locale, "de_DE" or "fr". Null restores the plain form.
///
/// returns  false, with nothing changed, for a name that is no locale
ZVKCORE_EXPORT bool SetNumberLocale(const char* name);

/// Rewrites a plain decimal text in the form of the number locale, in place: digits, decimal mark, separator
/// and minus sign. Characters of any other kind stay.
ZVKCORE_EXPORT void InternationalizeNum(UTF16String& text);

/// The inverse, in place. Where the locale groups by a kind of blank, every kind of blank that is common
/// there (U+0020, U+00A0, U+2009, U+202F) is taken for it between digits.
ZVKCORE_EXPORT void DeInternationalizeNum(UTF16String& text);

}  // namespace zvkcore::string

#endif
