// Numbers as text and back. Everything up to the number locale works on a fixed buffer of plain ASCII, in
// which bytes are characters, and with <charconv>, which knows no locale: a decimal comma of the process
// changes nothing here.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

#include "U_String.h"
#include "U_SubString.h"
#include "U_TrySection.h"
#include "Up_CharClass.h"
#include "Up_CharLocale.h"
#include "zvkcore/string/NumberLocale.h"

namespace {

constexpr size_t kLongestPlain = 31;  // of every text before the number locale sees it
constexpr size_t kLongestLocal = 255;
constexpr size_t kLongestShortForm = 22;
constexpr int kDefaultDecimals = 6;
constexpr size_t kGroup = 3;

// Plain text that stops growing at its limit.
class PlainText {
  public:
    std::string_view View() const { return {m_text, m_size}; }

    void Append(std::string_view text)
    {
        const size_t kept = std::min(text.size(), kLongestPlain - m_size);
        std::memcpy(m_text + m_size, text.data(), kept);
        m_size += kept;
    }

    void Append(size_t count, char c)
    {
        count = std::min(count, kLongestPlain - m_size);
        std::memset(m_text + m_size, c, count);
        m_size += count;
    }

    void TrimZeros()
    {
        if (View().find('.') == View().npos) return;
        while (m_text[m_size - 1] == '0') --m_size;
        if (m_text[m_size - 1] == '.') --m_size;
    }

    void CopyTo(char* out) const
    {
        std::memcpy(out, m_text, m_size);
        out[m_size] = 0;
    }

  private:
    char m_text[kLongestPlain];
    size_t m_size = 0;
};

size_t IntegerSize(std::string_view number)
{
    return std::min(number.find('.'), number.size());
}

// The short form gets digits in front of it up to `left` characters.
PlainText Pad(std::string_view number, unsigned int flags, int left)
{
    const size_t wanted = left > 0 ? static_cast<size_t>(left) : 0;
    const size_t present = IntegerSize(number);
    PlainText padded;
    if (present < wanted) padded.Append(wanted - present, flags & U_FORMAT_PAD_SPACE ? ' ' : '0');
    padded.Append(number);
    return padded;
}

// Wanted: padding is grouped along with the digits, blanks too. The separator is the comma, which the number
// locale replaces.
PlainText Separate(std::string_view number)
{
    const size_t count = IntegerSize(number);
    size_t at = count % kGroup ? count % kGroup : std::min(count, kGroup);
    PlainText separated;
    separated.Append(number.substr(0, at));
    for (; at < count; at += kGroup) {
        separated.Append(",");
        separated.Append(number.substr(at, kGroup));
    }
    separated.Append(number.substr(count));
    return separated;
}

std::string_view SignOf(double value, unsigned int flags)
{
    if (value < 0) return "-";
    if (flags & U_FORMAT_PLUS_SIGN) return "+";
    return flags & U_FORMAT_SPACE_SIGN ? " " : "";
}

void WritePlain(double value, unsigned int flags, int left, int right, char* out)
{
    char scratch[512];  // the largest double has 309 integer digits
    const double size = std::fabs(value);
    // So many decimals are never a short form, and no more are printed to find that out.
    const int decimals = right < 0 ? kDefaultDecimals : std::min(right, static_cast<int>(kLongestShortForm));
    auto printed = std::to_chars(scratch, std::end(scratch), size, std::chars_format::fixed, decimals);
    const bool isShort = printed.ptr - scratch <= static_cast<ptrdiff_t>(kLongestShortForm);

    PlainText text;
    text.Append(SignOf(value, flags));
    if (isShort) {
        PlainText number = Pad({scratch, static_cast<size_t>(printed.ptr - scratch)}, flags, left);
        if (flags & U_FORMAT_SEPARATORS) number = Separate(number.View());
        text.Append(number.View());
        if (flags & U_FORMAT_TRIM_ZEROS) text.TrimZeros();
    } else {
        printed =
            std::to_chars(scratch, std::end(scratch), size, std::chars_format::scientific, kDefaultDecimals);
        text.Append({scratch, static_cast<size_t>(printed.ptr - scratch)});
    }
    text.CopyTo(out);
}

void Rewrite(char* text, void (*rewrite)(U_UTF16String&))
{
    U_UTF16String units = U_MBToUTF16String(text);
    rewrite(units);
    U_CopyString(U_UTF16ToMBString(units).c_str(), kLongestLocal + 1, text);
}

}  // namespace

Err U_FormatNum(double value, unsigned int flags, int left, int right, char* out)
{
    WritePlain(value, flags, left, right, out);
    return flags & U_FORMAT_NO_INTL ? U_Err_NONE : U_InternationalizeNum(out);
}

Err U_ScanNum(const char* text, unsigned int flags, double* value)
{
    char plain[256];  // 31 bytes of a locale's form, and room for what the conversion writes
    if (!(flags & U_FORMAT_NO_INTL)) {
        U_CopyString(text, kLongestPlain + 1, plain);
        if (const Err error = U_DeInternationalizeNum(plain)) return error;
        text = plain;
    }
    *value = Up_ScanPlainNumber(text);
    return U_Err_NONE;
}

Err U_InternationalizeNum(char* text)
{
    return U_TrySection([=] { Rewrite(text, zvkcore::string::InternationalizeNum); });
}

Err U_DeInternationalizeNum(char* text)
{
    return U_TrySection([=] { Rewrite(text, zvkcore::string::DeInternationalizeNum); });
}
