// Small helpers on text that need no encoding.
#include <iterator>

#include "U_String.h"

const char* const U_SpecialCharacters[] = {
    "\u00B0", "\u00AB", "\u00BB", "\u25BE",  // signs
    "\u002D", "\uFE58", "\u2013", "\u2212",
    "\uFE63", "\uFF0D", "\u2014", "\u2015",  // what is typed for a minus
};
static_assert(std::size(U_SpecialCharacters) == U_SpecialChar_COUNT);

Err U_HexChar2Nibble(int c, unsigned char* nibble, unsigned char* isHex)
{
    int value = -1;
    if (c >= '0' && c <= '9') value = c - '0';
    if (c >= 'A' && c <= 'F') value = c - 'A' + 10;
    if (c >= 'a' && c <= 'f') value = c - 'a' + 10;
    if (nibble) *nibble = static_cast<unsigned char>(value < 0 ? 0 : value);
    if (isHex) *isHex = value >= 0;
    return U_Err_NONE;
}

void U_SplitUTF16String(const U_UTF16String& text, const U_UTF16String& separator,
                        std::vector<U_UTF16String>& pieces)
{
    U_SplitStringT(text, separator, pieces);
}

U_UTF8String U_UTF8BytesToString(unsigned int code)
{
    U_UTF8String text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto byte = static_cast<unsigned char>(code >> shift);
        if (!byte) break;
        text.push_back(byte);
    }
    return text;
}

bool U_NumericStringIndicatesRelative(const U_UTF8String& text)
{
    return !text.empty() && text.front() == '+';
}

U_UTF8String U_SetNumericStringToIndicateRelative(const U_UTF8String& text, bool relative)
{
    U_UTF8String changed = text;
    if (relative && !U_NumericStringIndicatesRelative(text)) changed.insert(changed.begin(), '+');
    if (!relative && U_NumericStringIndicatesRelative(text)) changed.erase(0, 1);
    return changed;
}

U_UTF8String U_SetNumericStringToIndicateAbsolute(const U_UTF8String& text)
{
    return U_SetNumericStringToIndicateRelative(text, false);
}
