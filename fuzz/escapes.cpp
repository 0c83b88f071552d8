// Any 16-bit units through both passes. No escape stands for more units than it is written with, so a text
// never grows, and one without escape characters comes out as it went in.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "zlexp_Escapes.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using zlex_private::DictionaryEntry;
    zlex_private::UTF16String text(size / 2, 0);
    if (!text.empty()) std::memcpy(text.data(), data, text.size() * 2);
    const auto converted = DictionaryEntry::ConvertEscapeSequences(text.data(), text.size());
    if (converted.size() > text.size()) std::abort();
    const bool isPlain =
        text.find(u'\\') == text.npos && text.find(u'^') == text.npos && text.find(u'#') == text.npos;
    if (isPlain && converted != text) std::abort();
    DictionaryEntry::ConvertHatAndBackslash(text, zlex_private::kPSHatEscapeTable);
    return 0;
}
