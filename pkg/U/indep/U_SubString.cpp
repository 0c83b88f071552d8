// Substitution: for each number from 1 on, the first place of its placeholder in the text so far is filled.
//
// The text so far holds what earlier arguments brought along, and is searched as a whole; the template itself
// is searched too, so that an argument with a caret in it counts as a placeholder only where the template has
// the same one. Both searches are what translators' templates are written against.
#include <cstdarg>
#include <cstring>

#include "U_String.h"
#include "U_TrySection.h"
#include "Up_CharClass.h"
#include "Up_SubString.h"

namespace {

using zvkcore::string::UTF16View;

enum class Kind { kText, kInt32, kInt64, kReal };

// In the order in which they are looked for: where a template has two forms of one number, only the first of
// these is filled.
struct KindRow {
    Kind kind;
    unsigned short letter;  // between the caret and the digit; 0 for none
};
constexpr KindRow kKinds[] = {{Kind::kText, 0}, {Kind::kInt32, 'L'}, {Kind::kReal, 'F'}, {Kind::kInt64, 'B'}};

// A placeholder as it stands in a text.
class Tag {
  public:
    Tag(unsigned short letter, int number)
    {
        if (letter) m_units[m_size++] = letter;
        m_units[m_size++] = static_cast<unsigned short>('0' + number);
    }
    UTF16View View() const { return {m_units, m_size}; }

  private:
    unsigned short m_units[3] = {'^'};
    size_t m_size = 1;
};

// The placeholders of a template, from one look at its carets. Most forms of most numbers are in none, and
// need not be searched for.
class TagsOf {
  public:
    explicit TagsOf(const U_UTF16String& format)
    {
        for (size_t at = format.find('^'); at != format.npos; at = format.find('^', at + 1)) {
            for (const KindRow& row : kKinds) {
                const size_t digit = at + (row.letter ? 2 : 1);
                if (digit >= format.size() || (row.letter && format[at + 1] != row.letter)) continue;
                const unsigned number = format[digit] - unsigned{'0'};
                if (number <= 9) m_numbers[static_cast<size_t>(row.kind)] |= 1u << number;
            }
        }
    }
    bool Has(Kind kind, int number) const { return m_numbers[static_cast<size_t>(kind)] >> number & 1; }

  private:
    unsigned m_numbers[std::size(kKinds)] = {};  // a bit for each
};

// The first place of `tag`, whose first unit is a caret, in `text`. Carets are rare, and looked for as bytes,
// which is what the C library does fastest; half of another unit may look like one.
size_t FindTag(UTF16View tag, UTF16View text)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data());
    const size_t end = text.size() * sizeof tag[0];
    for (size_t at = 0; at < end;) {
        const auto* const found = static_cast<const unsigned char*>(std::memchr(bytes + at, '^', end - at));
        if (!found) break;
        const size_t unit = static_cast<size_t>(found - bytes) / sizeof tag[0];
        if (text.substr(unit, tag.size()) == tag) return unit;
        at = (unit + 1) * sizeof tag[0];
    }
    return text.npos;
}

// Which placeholder of a number is to be filled, and where it stands in the present text.
struct Place {
    Kind kind;
    size_t position;
    size_t size;
};

bool FindPlace(int number, const TagsOf& tags, const U_UTF16String& format, const U_UTF16String& current,
               Place& place)
{
    for (const KindRow& row : kKinds) {
        if (!tags.Has(row.kind, number)) continue;
        const Tag tag{row.letter, number};
        if (Up_InBothStrings(tag.View(), format, current, &place.position)) {
            place.kind = row.kind;
            place.size = tag.View().size();
            return true;
        }
    }
    return false;
}

U_UTF16String TextOf(const void* text, bool multibyte)
{
    if (!text) return {};
    if (multibyte) return U_MBToUTF16String(static_cast<const char*>(text));
    return U_UTF16String{static_cast<const unsigned short*>(text)};
}

U_UTF16String TextOf(int64_t number)
{
    unsigned short digits[20];  // the smallest number has nineteen digits and a sign
    size_t at = std::size(digits);
    for (uint64_t rest = number < 0 ? 0 - static_cast<uint64_t>(number) : static_cast<uint64_t>(number);;) {
        digits[--at] = static_cast<unsigned short>('0' + rest % 10);
        if ((rest /= 10) == 0) break;
    }
    if (number < 0) digits[--at] = '-';
    return U_UTF16String(digits + at, std::size(digits) - at);
}

// The arguments of the variadic form. What its caller passed cannot be known.
class ListedArguments final : public Up_SubStringArguments {
  public:
    explicit ListedArguments(va_list& list) : m_list{list} {}
    bool AtEnd() const override { return false; }
    const void* NextText() override { return va_arg(m_list, const char*); }
    int32_t NextInt32() override { return va_arg(m_list, int); }
    int64_t NextInt64() override { return va_arg(m_list, long long); }
    double NextReal() override { return va_arg(m_list, double); }

  private:
    va_list& m_list;
};

// The arguments of the typed forms.
class TypedArguments final : public Up_SubStringArguments {
  public:
    TypedArguments(const U_SubStringArgument* arguments, size_t count)
        : m_next{arguments}, m_end{arguments + count}
    {
    }
    bool AtEnd() const override { return m_next == m_end; }

    const void* NextText() override
    {
        const U_SubStringArgument& argument = *m_next++;
        if (argument.kind != U_SubStringArgument::Kind::kText) return nullptr;
        return std::bit_cast<const unsigned short*>(argument.bits);
    }

    int32_t NextInt32() override { return static_cast<int32_t>(NextInt64()); }

    int64_t NextInt64() override
    {
        const U_SubStringArgument& argument = *m_next++;
        switch (argument.kind) {
            case U_SubStringArgument::Kind::kInteger:
                return static_cast<int64_t>(argument.bits);
            case U_SubStringArgument::Kind::kReal:
                return Truncated(std::bit_cast<double>(argument.bits));
            default:
                return 0;
        }
    }

    double NextReal() override
    {
        if (m_next->kind != U_SubStringArgument::Kind::kReal) return static_cast<double>(NextInt64());
        return std::bit_cast<double>((m_next++)->bits);
    }

  private:
    static int64_t Truncated(double value)
    {
        constexpr double kLimit = 9223372036854775808.0;  // 2 to the 63rd
        return value >= -kLimit && value < kLimit ? static_cast<int64_t>(value) : 0;
    }

    const U_SubStringArgument* m_next;
    const U_SubStringArgument* m_end;
};

constexpr size_t kWorkSize = 1024;  // of the multibyte form's text, terminator included

}  // namespace

bool Up_InBothStrings(UTF16View tag, const U_UTF16String& format, const U_UTF16String& current,
                      size_t* position)
{
    *position = FindTag(tag, format) == format.npos ? current.npos : FindTag(tag, current);
    return *position != current.npos;
}

Err Up_SubString(U_UTF16String& out, const U_UTF16String& format, Up_SubStringArguments& arguments,
                 bool multibyteStrings)
{
    const TagsOf tags{format};
    U_UTF16String current = format;
    Place place;
    for (int number = 1; number <= 9 && !arguments.AtEnd() && FindPlace(number, tags, format, current, place);
         ++number) {
        U_UTF16String text;
        switch (place.kind) {
            case Kind::kText:
                text = TextOf(arguments.NextText(), multibyteStrings);
                break;
            case Kind::kInt32:
                text = TextOf(arguments.NextInt32());
                break;
            case Kind::kInt64:
                text = TextOf(arguments.NextInt64());
                break;
            case Kind::kReal:
                text = Up_FormatSubStringFloat(arguments.NextReal(), current, place.position + place.size);
                break;
        }
        current.replace(place.position, place.size, text);
    }
    out = std::move(current);
    return U_Err_NONE;
}

Err U_SubString(char* out, unsigned int maxLength, const char* format, ...)
{
    va_list list;
    va_start(list, format);
    const Err error = U_TrySection([&]() -> Err {
        U_UTF16String filled;
        ListedArguments arguments{list};
        const Err failed = Up_SubString(filled, U_MBToUTF16String(format), arguments, true);
        if (failed) return failed;
        const std::string bytes = U_UTF16ToMBString(filled);
        size_t length = Up_CutLength(bytes.c_str(), kWorkSize - 1);
        if (maxLength && length >= maxLength) length = Up_CutLength(bytes.c_str(), maxLength - 1);
        std::memcpy(out, bytes.data(), length);
        out[length] = 0;
        return U_Err_NONE;
    });
    va_end(list);
    if (error) out[0] = 0;
    return error;
}

Err U_SubStringFromArray(U_UTF16String& out, const U_UTF16String& format,
                         const U_SubStringArgument* arguments, size_t count)
{
    return U_TrySection([&] {
        TypedArguments typed{arguments, count};
        return Up_SubString(out, format, typed, false);
    });
}
