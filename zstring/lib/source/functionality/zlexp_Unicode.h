// From the bytes of a literal to 16-bit text.
#ifndef ZLEXP_UNICODE_H
#define ZLEXP_UNICODE_H

#include <string_view>

#include "zlex.h"

namespace zlex_private {

struct UnicodeUtil {
    /// Converts by the selector, which is not 0. What is not valid becomes U+FFFD.
    static zvkcore::string::UTF16String StringToUnicode(std::string_view text,
                                                        const zlex::EncodingInfo& encoding);

    /// Widens each byte with its sign, so that bytes from 0x80 up give units from 0xFF80 up. Wanted: that is
    /// what texts without an encoding have always been.
    static zvkcore::string::UTF16String Widen(std::string_view text);
};

}  // namespace zlex_private

#endif
