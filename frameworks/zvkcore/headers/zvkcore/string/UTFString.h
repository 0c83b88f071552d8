/// The text types of the library: strings of 16-bit units and of UTF-8 bytes.
///
///     using namespace zvkcore::string::literals;
///     UTF16String title = u"Frame "_u16 + other;
///     std::u16string_view seen = View(title);            // no copy; lives as long as `title` does
///     UTF8String bytes{Units(std::string_view{"abc"})};
///
/// Both are `std::basic_string` with a traits type of this project and the recycling allocator. A unit is
/// `unsigned short` or `unsigned char`: the standard promises no `std::char_traits` for those, and nothing
/// here leans on one. Units are in the machine's byte order; nothing checks that a string is valid UTF-16 or
/// UTF-8.
///
/// Functions that only read take a `UTF16View` or `UTF8View`, to which a string converts without a copy.
#ifndef ZVKCORE_STRING_UTFSTRING_H
#define ZVKCORE_STRING_UTFSTRING_H

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ios>
#include <string>
#include <string_view>
#include <type_traits>

#include "zvkcore/allocator/RecyclingAllocator.h"

namespace zvkcore::string {

/// What `std::basic_string` needs to know of a unit. Units compare by value, so 16-bit text sorts by unit.
template <class Unit>
struct UnitTraits {
    static_assert(std::is_unsigned_v<Unit> && sizeof(Unit) <= 2);

    using char_type = Unit;
    using int_type = std::uint_least32_t;
    using off_type = std::streamoff;
    using pos_type = std::streampos;
    using state_type = std::mbstate_t;
    using comparison_category = std::strong_ordering;

    static constexpr void assign(Unit& to, const Unit& from) noexcept { to = from; }
    static constexpr bool eq(Unit a, Unit b) noexcept { return a == b; }
    static constexpr bool lt(Unit a, Unit b) noexcept { return a < b; }

    static constexpr Unit* assign(Unit* to, std::size_t count, Unit unit)
    {
        std::fill_n(to, count, unit);
        return to;
    }

    static constexpr std::size_t length(const Unit* text)
    {
        std::size_t count = 0;
        while (text[count] != 0) ++count;
        return count;
    }

    static constexpr int compare(const Unit* a, const Unit* b, std::size_t count)
    {
        std::size_t at = 0;
        if (!std::is_constant_evaluated()) {
            if constexpr (sizeof(Unit) == 1) return count == 0 ? 0 : std::memcmp(a, b, count);
            while (at + kInWord <= count && Word(a + at) == Word(b + at)) at += kInWord;
        }
        for (; at < count; ++at) {
            if (a[at] != b[at]) return a[at] < b[at] ? -1 : 1;
        }
        return 0;
    }

    static constexpr const Unit* find(const Unit* text, std::size_t count, const Unit& wanted)
    {
        std::size_t at = 0;
        if (!std::is_constant_evaluated()) {
            if constexpr (sizeof(Unit) == 1) {
                return count == 0 ? nullptr : static_cast<const Unit*>(std::memchr(text, wanted, count));
            }
            while (at + kInWord <= count && !HasZeroUnit(Word(text + at) ^ (kEveryUnit * wanted)))
                at += kInWord;
        }
        for (; at < count; ++at) {
            if (text[at] == wanted) return text + at;
        }
        return nullptr;
    }

    static constexpr Unit* copy(Unit* to, const Unit* from, std::size_t count)
    {
        if (std::is_constant_evaluated()) {
            std::copy_n(from, count, to);
        } else if (count != 0) {
            std::memcpy(to, from, count * sizeof(Unit));
        }
        return to;
    }

    static constexpr Unit* move(Unit* to, const Unit* from, std::size_t count)
    {
        if (std::is_constant_evaluated()) {
            if (std::less<const Unit*>{}(to, from)) {
                std::copy_n(from, count, to);
            } else {
                std::copy_backward(from, from + count, to + count);
            }
        } else if (count != 0) {
            std::memmove(to, from, count * sizeof(Unit));
        }
        return to;
    }

    static constexpr Unit to_char_type(int_type value) noexcept { return static_cast<Unit>(value); }
    static constexpr int_type to_int_type(Unit unit) noexcept { return unit; }
    static constexpr bool eq_int_type(int_type a, int_type b) noexcept { return a == b; }
    static constexpr int_type eof() noexcept { return ~int_type{0}; }
    static constexpr int_type not_eof(int_type value) noexcept { return value == eof() ? 0 : value; }

  private:
    // Eight bytes at a time, whatever their order: the unit that differs is then looked for one by one.
    static constexpr std::size_t kInWord = 8 / sizeof(Unit);
    static constexpr std::uint64_t kEveryUnit = 0x0001000100010001;  // used for 16-bit units only

    static std::uint64_t Word(const Unit* text) noexcept
    {
        std::uint64_t word;
        std::memcpy(&word, text, sizeof word);
        return word;
    }

    static constexpr bool HasZeroUnit(std::uint64_t word) noexcept
    {
        return ((word - kEveryUnit) & ~word & (kEveryUnit << 15)) != 0;
    }
};

using UTF16String = std::basic_string<unsigned short, UnitTraits<unsigned short>,
                                      allocator::RecyclingAllocator<unsigned short>>;
using UTF8String =
    std::basic_string<unsigned char, UnitTraits<unsigned char>, allocator::RecyclingAllocator<unsigned char>>;
using UTF16View = std::basic_string_view<unsigned short, UnitTraits<unsigned short>>;
using UTF8View = std::basic_string_view<unsigned char, UnitTraits<unsigned char>>;

/// Keeps the compiler from assuming that `char16_t` and `unsigned short` never name the same memory.
template <class To, class From>
To* ReadAs(From* text) noexcept
{
    static_assert(sizeof(To) == sizeof(From));
    if constexpr (sizeof(To) > 1) asm volatile("" : : "rm"(text) : "memory");
    return reinterpret_cast<To*>(text);
}

/// The same text seen as standard characters, and back. Nothing is copied: the result lives as long as its
/// source.
inline std::u16string_view View(UTF16View text) noexcept
{
    return {ReadAs<const char16_t>(text.data()), text.size()};
}
inline std::string_view View(UTF8View text) noexcept
{
    return {ReadAs<const char>(text.data()), text.size()};
}
inline UTF16View Units(std::u16string_view text) noexcept
{
    return {ReadAs<const unsigned short>(text.data()), text.size()};
}
inline UTF8View Units(std::string_view text) noexcept
{
    return {ReadAs<const unsigned char>(text.data()), text.size()};
}

inline namespace literals {

/// A string of 16-bit units: u"Frame"_u16.
inline UTF16String operator""_u16(const char16_t* text, std::size_t count)
{
    return UTF16String{Units(std::u16string_view{text, count})};
}

/// A string of UTF-8 bytes: "Frame"_utf8.
inline UTF8String operator""_utf8(const char* text, std::size_t count)
{
    return UTF8String{Units(std::string_view{text, count})};
}

}  // namespace literals
}  // namespace zvkcore::string

#endif
