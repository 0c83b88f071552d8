// Counts of bytes for people.
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>

#include "U_String.h"
#include "U_SubString.h"
#include "U_TrySection.h"
#include "U_ZString.h"

namespace {

constexpr unsigned long long kKilo = 1024;
constexpr unsigned long long kWholeFrom = 100;  // of a unit: from there on no decimals
constexpr size_t kTextSize = 256;

// `whole` units and `part` of 1024 of the next one. Single precision is wanted: what it rounds is part of the
// texts that users and scripts have seen.
std::string Amount(unsigned long long whole, unsigned long long part)
{
    if (whole >= kWholeFrom) return std::to_string(whole);
    const float amount = static_cast<float>(whole * kKilo + part) * (1.0F / kKilo);
    char text[16];
    const auto printed = std::to_chars(text, std::end(text), double{amount}, std::chars_format::fixed, 1);
    return {text, printed.ptr};
}

std::string Text(unsigned long long bytes)
{
    const unsigned long long kilos = bytes / kKilo;
    const unsigned long long megas = kilos / kKilo;
    const unsigned long long gigas = megas / kKilo;
    if (gigas)
        return Amount(gigas, megas % kKilo) + " " +
               U_ZStringToMBString("$$$/QL/U/ByteSizeFormat/GigaBytes=GB");
    if (megas)
        return Amount(megas, kilos % kKilo) + " " +
               U_ZStringToMBString("$$$/QL/U/ByteSizeFormat/MegaBytes=MB");
    // Wanted: nothing at all is "0 KB", though less than a kilobyte is counted in bytes.
    if (kilos || !bytes) {
        return std::to_string(kilos) + " " + U_ZStringToMBString("$$$/QL/U/ByteSizeFormat/KiloBytes=KB");
    }
    return std::to_string(bytes) + " " + U_ZStringToMBString("$$$/QL/U/ByteSizeFormat/Bytes=bytes");
}

}  // namespace

Err U_LongFormatBytes(unsigned long long bytes, char* out)
{
    return U_TrySection([=] {
        U_CopyString(Text(bytes).c_str(), kTextSize, out);
        return U_InternationalizeNum(out);
    });
}

U_UTF16String U_LongFormatBytes(unsigned long long bytes)
{
    char text[1024];
    if (const Err error = U_LongFormatBytes(bytes, text)) throw static_cast<int>(error);
    return U_MBToUTF16String(text);
}
