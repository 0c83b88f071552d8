/// Texts with numbered places, and numbers as text.
///
///     ReplaceInString(u"Unable to allocate @0 MB (@1)."_u16, NumberToString(1.5, 1, 3, 0, 31), name);
///
/// No process locale is asked: digits, point and comma are the plain ones, and reach the number locale that
/// the host has set (NumberLocale.h) only where a function says so. Any thread may call.
#ifndef ZVKCORE_STRING_FORMAT_H
#define ZVKCORE_STRING_FORMAT_H

#include <cstdint>

#include "zvkcore/string/UTFString.h"

namespace zvkcore::string {

/// Replaces each "@0" to "@8" in `text` by the text of that number, wherever and however often it stands.
/// What was put in is not looked at again, so a text that holds an at sign is safe; "@9" is no place.
UTF16String ReplaceInString(UTF16View text, UTF16View s0, UTF16View s1 = {}, UTF16View s2 = {},
                            UTF16View s3 = {}, UTF16View s4 = {}, UTF16View s5 = {}, UTF16View s6 = {},
                            UTF16View s7 = {}, UTF16View s8 = {});

/// Flags of `NumberToString`, joined by OR.
enum : unsigned int {
    kNumberPlainForm = 0x01,  ///< do not rewrite the text for the number locale
    kNumberTrimZeros = 0x04   ///< drop trailing zeros of the decimals, and a point that is then last
};

/// Prints a number with at least `integerDigits` digits before the point, zeros in front, and `decimals`
/// behind.
///
/// value     any; an infinity or a NaN gives "inf", "-inf" or "nan"
/// decimals  at most 340 are printed
/// maxWidth  a longer text gives way to the form with an exponent, with as many decimals as fit
UTF16String NumberToString(double value, unsigned long integerDigits, unsigned long decimals,
                           unsigned int flags, int maxWidth);

/// Prints a count of bytes for people: whole bytes below 1024, then KB, MB, GB, TB and so on, each 1024 of
/// the former, with `decimals` decimals: "512 bytes", "1.50 GB". `localized` uses the number locale.
UTF8String NumberToMemoryString(std::uint64_t bytes, unsigned int decimals, bool localized);

}  // namespace zvkcore::string

#endif
