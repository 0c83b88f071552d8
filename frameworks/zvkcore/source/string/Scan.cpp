// Numbers read with the C++ library's conversion, which asks no locale. No state.
#include "zvkcore/string/Scan.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>

namespace zvkcore::string {
namespace {

constexpr bool IsBlank(unsigned short unit)
{
    return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

constexpr bool IsDigit(unsigned short unit)
{
    return unit >= '0' && unit <= '9';
}

// The number at the front of a text as plain bytes. It is looked for by hand, since the standard's
// conversions know words and other bases too, and refuse a plus sign.
class Number {
  public:
    Number(UTF16View text, unsigned int flags)
    {
        std::size_t at = 0;
        if ((flags & kScanSkipBlanks) != 0) at = SkipWhile(text, at, IsBlank);
        std::size_t start = at;
        if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
        if (at != start && text[start] == '+') start = at;
        const std::size_t integer = at;
        at = SkipWhile(text, at, IsDigit);
        std::size_t digits = at - integer;
        if (at < text.size() && text[at] == '.') {
            const std::size_t decimals = SkipWhile(text, at + 1, IsDigit) - (at + 1);
            digits += decimals;
            at += 1 + decimals;
        }
        if (digits == 0) return;
        const std::size_t exponent = EndOfExponent(text, at);
        m_hasExponent = exponent != at;
        if (exponent != text.size() && (flags & kScanIgnoreTail) == 0) return;
        m_digits.assign(text.begin() + static_cast<std::ptrdiff_t>(start),
                        text.begin() + static_cast<std::ptrdiff_t>(exponent));
    }

    bool Found() const { return !m_digits.empty(); }
    bool HasExponent() const { return m_hasExponent; }

    double Real() const
    {
        double value = 0;
        const auto read = std::from_chars(m_digits.data(), m_digits.data() + m_digits.size(), value);
        if (read.ec == std::errc::result_out_of_range && IsHuge()) value = std::numeric_limits<double>::max();
        return read.ec == std::errc::result_out_of_range && IsNegative() ? -value : value;
    }

    long long Integer() const
    {
        long long value = 0;
        const auto read = std::from_chars(m_digits.data(), m_digits.data() + m_digits.size(), value);
        if (read.ec != std::errc::result_out_of_range) return value;
        return IsNegative() ? std::numeric_limits<long long>::min() : std::numeric_limits<long long>::max();
    }

  private:
    template <class Predicate>
    static std::size_t SkipWhile(UTF16View text, std::size_t at, Predicate wanted)
    {
        while (at < text.size() && wanted(text[at])) ++at;
        return at;
    }

    // An "e" without digits behind it belongs to what follows the number.
    static std::size_t EndOfExponent(UTF16View text, std::size_t at)
    {
        if (at == text.size() || (text[at] != 'e' && text[at] != 'E')) return at;
        std::size_t digits = at + 1;
        if (digits < text.size() && (text[digits] == '-' || text[digits] == '+')) ++digits;
        const std::size_t end = SkipWhile(text, digits, IsDigit);
        return end == digits ? at : end;
    }

    bool IsNegative() const { return m_digits.front() == '-'; }

    // Of a number that no double holds: whether it is too large rather than too small. Where the exponent
    // itself is out of range, its sign decides; elsewhere the place of the first digit that counts.
    bool IsHuge() const
    {
        const std::size_t e = std::min(m_digits.find_first_of("eE"), m_digits.size());
        const std::size_t first = m_digits.find_first_of("123456789");
        if (first >= e) return false;
        const std::size_t point = std::min(m_digits.find('.'), e);
        long long exponent = 0;
        if (e + 1 < m_digits.size()) {
            const char* from = m_digits.data() + e + 1;
            const bool negative = *from == '-';
            const auto read =
                std::from_chars(from + (*from == '+'), m_digits.data() + m_digits.size(), exponent);
            if (read.ec == std::errc::result_out_of_range) return !negative;
        }
        return static_cast<long long>(point) - static_cast<long long>(first) > -exponent;
    }

    std::string m_digits;
    bool m_hasExponent = false;
};

}  // namespace

long long SaturateToInteger(double value) noexcept
{
    constexpr double kEnd = 9223372036854775808.0;  // 2 to the 63rd
    if (std::isnan(value)) return 0;
    if (value >= kEnd) return std::numeric_limits<long long>::max();
    if (value < -kEnd) return std::numeric_limits<long long>::min();
    return static_cast<long long>(value);
}

bool StringToNumber(UTF16View text, double& out, unsigned int flags)
{
    const Number number{text, flags};
    out = number.Found() ? number.Real() : 0;
    return number.Found();
}

bool StringToNumber(UTF16View text, long long& out, unsigned int flags)
{
    const Number number{text, flags};
    out = !number.Found() ? 0 : number.HasExponent() ? SaturateToInteger(number.Real()) : number.Integer();
    return number.Found();
}

}  // namespace zvkcore::string
