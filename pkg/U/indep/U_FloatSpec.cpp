// The specification behind a placeholder of a double: "@left.right flags@".
#include <algorithm>
#include <climits>
#include <cstdio>

#include "U_String.h"
#include "Up_Err.h"
#include "Up_SubString.h"

namespace {

constexpr unsigned int kBadFormat = 0x17001B;  // where complaints about a template come from
constexpr int kLeft = 1;
constexpr int kRight = 2;

struct NumberSpec {
    unsigned int flags = 0;
    int left = kLeft;
    int right = kRight;
};

constexpr bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Reads an integer as scanf's %d does: blanks, a sign, digits. Without a digit nothing is written. A number
// too large for an int is the nearest one.
bool ScanInt(const char*& at, int& value)
{
    const char* text = at;
    while (*text == ' ' || (*text >= '\t' && *text <= '\r')) ++text;
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') ++text;
    if (!IsDigit(*text)) return false;
    long long number = 0;
    for (; IsDigit(*text); ++text) {
        if (number <= INT_MAX) number = number * 10 + (*text - '0');
    }
    number = std::min<long long>(number, INT_MAX);
    value = static_cast<int>(negative ? -number : number);
    at = text;
    return true;
}

void ReportUnknownFlag(char letter)
{
    Up_SetThreadLastError(0);
    std::snprintf(Up_GetThreadLoggingBuffer(), Up_kLoggingBufferSize, "unknown format char '%c'", letter);
    Up_ReportError(kBadFormat, U_Sev_WARNING);
}

unsigned int ReadFlags(const char* text)
{
    struct Row {
        char letter;
        unsigned int bit;
    };
    static constexpr Row S_tableA[] = {
        {'n', U_FORMAT_NO_INTL},    {' ', U_FORMAT_PAD_SPACE}, {'z', U_FORMAT_TRIM_ZEROS},
        {'s', U_FORMAT_SEPARATORS}, {'+', U_FORMAT_PLUS_SIGN}, {'p', U_FORMAT_SPACE_SIGN},
    };
    unsigned int flags = 0;
    for (; *text; ++text) {
        unsigned int bit = 0;
        for (const Row& row : S_tableA) {
            if (row.letter == *text) bit = row.bit;
        }
        flags |= bit;
        if (!bit) ReportUnknownFlag(*text);
    }
    return flags;
}

NumberSpec ReadSpec(const char* text)
{
    NumberSpec spec;
    // Wanted: a pair that begins with its point is passed over and both defaults stand, though its digits
    // count as read. Templates in use rely on it.
    if (IsDigit(*text)) {
        const char* at = text;
        ScanInt(at, spec.left);
        if (*at == '.') ScanInt(++at, spec.right);
    }
    while (IsDigit(*text) || *text == '.') ++text;
    spec.flags = ReadFlags(text);
    return spec;
}

// Takes the specification at `place` out of `text`. Wanted: a bare placeholder trims zeros, and one with an
// empty specification does not.
NumberSpec TakeSpec(U_UTF16String& text, size_t place)
{
    if (place >= text.size() || text[place] != '@') {
        NumberSpec bare;
        bare.flags = U_FORMAT_TRIM_ZEROS;
        return bare;
    }
    const size_t end = text.find('@', place + 1);
    if (end == text.npos) {
        text.erase(place, 1);
        Up_ReportErrString(kBadFormat, U_Sev_WARNING, "missing 2nd '@' in format string");
        return {};
    }
    const U_UTF8String spec = U_UTF16To8String(text.substr(place + 1, end - place - 1));
    text.erase(place, end + 1 - place);
    return ReadSpec(zvkcore::string::View(spec).data());
}

}  // namespace

U_UTF16String Up_FormatSubStringFloat(double value, U_UTF16String& text, size_t place)
{
    const NumberSpec spec = TakeSpec(text, place);
    char number[512];
    U_FormatNum(value, spec.flags, spec.left, spec.right, number);
    return U_MBToUTF16String(number);
}
