// Comparison and case of multibyte text, by its 16-bit units.
#include <unicode/uchar.h>

#include <cstring>

#include "U_String.h"
#include "U_TrySection.h"
#include "Up_Encodings.h"

namespace {

// The first bytes decide between two capitals, two small letters or two digits. Most names of a list differ
// there, and so are ordered without a conversion.
bool SameSimpleClass(char a, char b)
{
    const auto both = [=](char first, char last) {
        return a >= first && a <= last && b >= first && b <= last;
    };
    return both('A', 'Z') || both('a', 'z') || both('0', '9');
}

unsigned short MapUnit(unsigned short unit, UChar32 (*map)(UChar32))
{
    const UChar32 mapped = map(unit);
    return mapped <= 0xFFFF ? static_cast<unsigned short>(mapped) : unit;
}

size_t EncodedSize(unsigned short unit, unsigned int encoding)
{
    std::string bytes;
    Up_TryEncode(U_UTF16String(1, unit), encoding, true, bytes);
    return bytes.size();
}

// The bytes go over the input, which keeps its terminator: they must be as many as before. Where the whole
// does not come out so, each unit that would change its size keeps its case.
std::string MapCase(const U_UTF16String& units, size_t size, UChar32 (*map)(UChar32))
{
    const unsigned int encoding = U_GetPlatformSpecificCurrentTextEncodingForSerialization();
    U_UTF16String mapped = units;
    for (unsigned short& unit : mapped) unit = MapUnit(unit, map);
    std::string bytes;
    if (Up_TryEncode(mapped, encoding, true, bytes) && bytes.size() == size) return bytes;

    for (size_t at = 0; at < units.size(); ++at) {
        const bool changed = mapped[at] != units[at];
        if (changed && EncodedSize(mapped[at], encoding) != EncodedSize(units[at], encoding))
            mapped[at] = units[at];
    }
    Up_TryEncode(mapped, encoding, true, bytes);
    return bytes;
}

Err ChangeCase(char* text, UChar32 (*map)(UChar32))
{
    return U_TrySection([&] {
        const size_t size = std::strlen(text);
        const std::string bytes = MapCase(U_MBToUTF16String(text), size, map);
        if (bytes.size() == size) std::memcpy(text, bytes.data(), size);
    });
}

}  // namespace

int U_strcmp(const char* a, const char* b)
{
    if (!*a) return *b ? -1 : 0;
    if (!*b) return 1;
    // Wanted: a difference here, -1, 0 or 1 below. Only the sign means something.
    if (*a != *b && SameSimpleClass(*a, *b)) return *a - *b;
    const int order = U_MBToUTF16String(a).compare(U_MBToUTF16String(b));
    return (order > 0) - (order < 0);
}

int U_stricmp(const char* a, const char* b)
{
    char left[1024];
    char right[sizeof left];
    U_CopyString(a, sizeof left, left);
    U_CopyString(b, sizeof right, right);
    U_StringToLower(left);
    U_StringToLower(right);
    return U_strcmp(left, right);
}

Err U_StringToLower(char* text)
{
    return ChangeCase(text, u_tolower);
}

Err U_StringToUpper(char* text)
{
    return ChangeCase(text, u_toupper);
}
