// Numbered places and number texts. The C++ library's number conversion is used because it asks no locale. No
// state but the number locale's (NumberLocale.cpp).
#include "zvkcore/string/Format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>

#include "zvkcore/string/Convert.h"
#include "zvkcore/string/NumberLocale.h"

namespace zvkcore::string {
namespace {

constexpr std::string_view kByteUnits[] = {"bytes", "KB", "MB", "GB", "TB", "PB", "EB"};
constexpr unsigned long kMostDecimals = 340;  // the smallest double needs no more to show its first digit

std::string Print(double value, std::chars_format format, int decimals)
{
    char room[1024];  // 309 digits, a point, a sign and kMostDecimals
    const auto end = std::to_chars(room, room + sizeof room, value, format, decimals).ptr;
    return {room, end};
}

void TrimZeros(std::string& text)
{
    if (text.find('.') == std::string::npos) return;
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
}

std::string PrintFixed(double value, std::size_t integerDigits, int decimals)
{
    std::string text = Print(value, std::chars_format::fixed, decimals);
    const std::size_t sign = text.front() == '-' ? 1 : 0;
    const std::size_t digits = std::min(text.find('.'), text.size()) - sign;
    if (digits < integerDigits) text.insert(sign, integerDigits - digits, '0');
    return text;
}

// The form with an exponent, with as many decimals as `width` leaves room for.
std::string PrintScientific(double value, std::size_t width, int decimals)
{
    std::string text = Print(value, std::chars_format::scientific, decimals);
    if (text.size() > width) {
        const int over =
            static_cast<int>(std::min<std::size_t>(text.size() - width, static_cast<std::size_t>(decimals)));
        text = Print(value, std::chars_format::scientific, decimals - over);
    }
    return text;
}

UTF16String Localized(const std::string& plain, bool localized)
{
    UTF16String text = AsciiToUTF16(plain.data(), plain.size());
    if (localized) InternationalizeNum(text);
    return text;
}

}  // namespace

UTF16String ReplaceInString(UTF16View text, UTF16View s0, UTF16View s1, UTF16View s2, UTF16View s3,
                            UTF16View s4, UTF16View s5, UTF16View s6, UTF16View s7, UTF16View s8)
{
    const std::array<UTF16View, 9> places{s0, s1, s2, s3, s4, s5, s6, s7, s8};
    UTF16String result;
    result.reserve(text.size() + s0.size());
    std::size_t copied = 0;
    for (std::size_t at = text.find('@'); at != UTF16View::npos; at = text.find('@', at + 1)) {
        if (at + 1 == text.size() || text[at + 1] < '0' || text[at + 1] > '8') continue;
        result.append(text.substr(copied, at - copied));
        result.append(places[text[at + 1] - static_cast<std::size_t>('0')]);
        copied = at + 2;
    }
    result.append(text.substr(copied));
    return result;
}

UTF16String NumberToString(double value, unsigned long integerDigits, unsigned long decimals,
                           unsigned int flags, int maxWidth)
{
    if (!std::isfinite(value)) return AsciiToUTF16(std::isnan(value) ? "nan" : value < 0 ? "-inf" : "inf");
    const auto width = static_cast<std::size_t>(std::max(maxWidth, 0));
    const auto behind = static_cast<int>(std::min(decimals, kMostDecimals));
    // Digits in front that could never fit are not made at all.
    std::string text = PrintFixed(value, std::min<std::size_t>(integerDigits, width), behind);
    if (text.size() > width) {
        text = PrintScientific(value, width, behind);
    } else if ((flags & kNumberTrimZeros) != 0) {
        TrimZeros(text);
    }
    return Localized(text, (flags & kNumberPlainForm) == 0);
}

UTF8String NumberToMemoryString(std::uint64_t bytes, unsigned int decimals, bool localized)
{
    std::size_t unit = 0;
    double amount = static_cast<double>(bytes);
    for (; amount >= 1024 && unit + 1 < std::size(kByteUnits); ++unit) amount /= 1024;
    const auto behind = static_cast<int>(std::min<unsigned long>(decimals, kMostDecimals));
    const std::string number =
        unit == 0 ? std::to_string(bytes) : Print(amount, std::chars_format::fixed, behind);
    UTF8String text = UTF16to8(Localized(number, localized));
    text.push_back(' ');
    text.append(Units(kByteUnits[unit]));
    return text;
}

}  // namespace zvkcore::string
