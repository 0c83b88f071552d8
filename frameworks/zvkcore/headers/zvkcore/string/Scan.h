/// Numbers read from text, in the plain form: ASCII digits, a point, an exponent behind "e". No locale of the
/// process and no number locale is asked. Any thread may call.
#ifndef ZVKCORE_STRING_SCAN_H
#define ZVKCORE_STRING_SCAN_H

#include "zvkcore/string/UTFString.h"

namespace zvkcore::string {

/// Flags of `StringToNumber`, joined by OR.
enum : unsigned int {
    kScanSkipBlanks = 0x02,  ///< white space may stand in front
    kScanIgnoreTail = 0x04   ///< something else may stand behind the number
};

/// Reads a number. One that is too large becomes the largest finite one of its sign, and one that is too
/// small becomes zero: text never makes an infinity or a NaN.
///
/// returns  false, and `out` is 0, where no number begins or, without `kScanIgnoreTail`, where it does not
///          end the text
bool StringToNumber(UTF16View text, double& out, unsigned int flags);

/// The same for an integer. Decimals are cut off; with an exponent the number is read as a double.
bool StringToNumber(UTF16View text, long long& out, unsigned int flags);

/// A double as an integer: truncated toward zero, held at the ends of the range; a NaN gives 0.
long long SaturateToInteger(double value) noexcept;

}  // namespace zvkcore::string

#endif
