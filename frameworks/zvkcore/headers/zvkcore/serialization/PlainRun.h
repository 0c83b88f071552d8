// Text that stands for itself between JSON quotes, which is nearly all text that is ever written or read:
// such a text needs no tour through a parser.
#ifndef ZVKCORE_SERIALIZATION_PLAINRUN_H
#define ZVKCORE_SERIALIZATION_PLAINRUN_H

#include "zvkcore/string/UTFString.h"

namespace zvkcore::serialization {

/// Whether each unit is the same inside and outside of quotes: no quote, backslash, control character or
/// surrogate. (A pair of surrogates is left to the slow road with the lone ones, which come out of it as
/// U+FFFD.)
constexpr bool IsPlainRun(string::UTF16View text) noexcept
{
    bool plain = true;
    for (const unsigned unit : text) {
        plain &= unit >= 0x20 && unit != '"' && unit != '\\' && unit - 0xD800u > 0x7FF;
    }
    return plain;
}

}  // namespace zvkcore::serialization

#endif
