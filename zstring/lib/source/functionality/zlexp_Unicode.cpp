// Process-wide state: the converter of the system's encoding, an atomic pointer that outlives everybody.
#include "zlexp_Unicode.h"

#include "zvkcore/string/Convert.h"

namespace {

zvkcore::string::UTF16String FromUTF8(const char* text, size_t length)
{
    return zvkcore::string::UTF8to16(std::string_view(text, length));
}

std::atomic<zlex::SystemTextConverter> g_systemConverter{FromUTF8};

}  // namespace

namespace zlex {

SystemTextConverter SetSystemTextConverter(SystemTextConverter converter) noexcept
{
    return g_systemConverter.exchange(converter ? converter : FromUTF8);
}

}  // namespace zlex

namespace zlex_private {

zvkcore::string::UTF16String UnicodeUtil::StringToUnicode(std::string_view text,
                                                          const zlex::EncodingInfo& encoding)
{
    const auto convert = encoding.selector == zlex::kEncodingUTF8 ? FromUTF8 : g_systemConverter.load();
    return convert(text.data(), text.size());
}

zvkcore::string::UTF16String UnicodeUtil::Widen(std::string_view text)
{
    zvkcore::string::UTF16String wide(text.size(), 0);
    for (size_t at = 0; at < text.size(); ++at) {
        wide[at] = static_cast<unsigned short>(static_cast<signed char>(text[at]));
    }
    return wide;
}

}  // namespace zlex_private
