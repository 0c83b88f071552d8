/// Message templates with numbered placeholders, and numbers as text.
///
/// A template usually comes out of a dictionary, so a translator may move its placeholders about. Arguments
/// are taken in the order of the placeholders' numbers, wherever these stand:
///
///     char line[256];
///     U_SubString(line, sizeof line, "frame ^L1 of '^2' took ^F3@1.3@ s", 42, "Layer 7", 1.25);
///     U_UTF16String same = U_SubString16(u"'^2': frame ^L1"_u16, 42, name.c_str());
///
///   ^n      a terminated string: multibyte in the first form, 16-bit in the others
///   ^Ln     a 32-bit integer in plain digits          n: 1 to 9, each number once
///   ^Bn     a 64-bit integer in plain digits
///   ^Fn     a double through `U_FormatNum`
///   ^Fn@left.right flags@   a double with at least `left` integer digits and `right` decimals, by default
///           1 and 2; both are read only if the first character is a digit. Flags: n plain form, blank pads
///           with blanks, z trims zeros, s separates thousands, + and p show a positive sign as plus or blank
///
/// What a template cannot do: there is no placeholder 0 or 10 and no escape for the caret. Substitution stops
/// at the first number that the template lacks, and what is behind it stays literal text, as does a second
/// occurrence of a number. An argument's text is searched too: where it holds a placeholder that the template
/// also has further behind, that place is filled. A bare ^F trims zero decimals, an empty specification
/// (^F1@@) keeps them. A bad specification is reported as a warning and the rest of the text stands.
///
/// No function keeps state; any thread may call. The process's locale is never asked. All results are 0 but
/// for memory running out.
#ifndef U_SUBSTRING_H
#define U_SUBSTRING_H

#include "U_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Fills a multibyte template.
///
/// maxLength  size of `out`, to which the text is cut on a character boundary; 0 for the limit that always
///            holds, 1024 bytes with the terminator
/// ...        a `const char*`, 32-bit or 64-bit integer or double for each number, of exactly that type: what
///            is missing or of another type cannot be detected here. A null string is an empty one
U_EXPORT Err U_SubString(char* out, unsigned int maxLength, const char* format, ...);

// --- Numbers ----------------------------------------------------------------------------------------------

/// Flags of `U_FormatNum` and, the first one, of `U_ScanNum`, joined by OR.
enum {
    U_FORMAT_NO_INTL = 0x01,     ///< the plain form: point, comma, ASCII digits
    U_FORMAT_PAD_SPACE = 0x02,   ///< pad the integer part with blanks, not zeros
    U_FORMAT_TRIM_ZEROS = 0x04,  ///< drop trailing zeros of the decimals, and a trailing point
    U_FORMAT_SEPARATORS = 0x08,  ///< a separator every three integer digits, padding included
    U_FORMAT_PLUS_SIGN = 0x10,   ///< a plus sign in front of what is not negative
    U_FORMAT_SPACE_SIGN = 0x20   ///< a blank there; the plus sign wins
};

/// Writes a number as text.
///
/// left   smallest count of integer digits; below it, zeros or blanks go in front
/// right  count of decimals; a negative count means 6
/// out    room for 32 bytes with U_FORMAT_NO_INTL, for 256 without: the number locale's marks may take
///        several bytes each
///
/// The text has at most 31 bytes before the number locale rewrites it, however large `left` and `right` are.
/// A number that would take 23 or more characters is written with an exponent and six decimals
/// ("1.000000e+22"), without padding, separators or trimming. The sign is that of the value: -0.001 with two
/// decimals trimmed is "-0", and negative zero has none.
U_EXPORT Err U_FormatNum(double value, unsigned int flags, int left, int right, char* out);

/// Reads the number that a text begins with, as `atof` does in the locale "C"; 0 if there is none.
///
/// flags  without U_FORMAT_NO_INTL the text, cut to 31 bytes, is first brought from the number locale's form
///        to the plain one, whose separators are commas: reading ends at the first of them
U_EXPORT Err U_ScanNum(const char* text, unsigned int flags, double* value);

/// Rewrite a number from the plain form to that of the number locale (zvkcore/string/NumberLocale.h) and
/// back, in place, cut to 255 bytes.
///
/// text  room for 256 bytes
U_EXPORT Err U_InternationalizeNum(char* text);
U_EXPORT Err U_DeInternationalizeNum(char* text);

/// Writes a count of bytes for people in the largest unit that it fills, 1024 of one making the next: "1.5
/// GB", "100 GB", "12.3 MB", "7 KB", "512 bytes". Zero is "0 KB".
///
/// out  room for 256 bytes
U_EXPORT Err U_LongFormatBytes(unsigned long long bytes, char* out);

#ifdef __cplusplus
}

#include <bit>
#include <cstdint>
#include <type_traits>

/// One argument of a 16-bit template, as its type said it: the 16-bit forms know what they were given, so a
/// wrong or missing argument does no harm there.
struct U_SubStringArgument {
    enum class Kind { kText, kInteger, kReal };

    U_SubStringArgument(const unsigned short* text) : kind{Kind::kText}, bits{std::bit_cast<uint64_t>(text)}
    {
    }
    U_SubStringArgument(const U_UTF16String& text) : U_SubStringArgument{text.c_str()} {}
    template <class Number>
    requires std::is_arithmetic_v<Number> U_SubStringArgument(Number number)
    {
        if constexpr (std::is_floating_point_v<Number>) {
            kind = Kind::kReal;
            bits = std::bit_cast<uint64_t>(static_cast<double>(number));
        } else {
            kind = Kind::kInteger;
            bits = static_cast<uint64_t>(number);
        }
    }

    Kind kind;
    uint64_t bits;
};

/// The 16-bit form with its arguments in an array. Missing arguments end the substitution as a missing
/// placeholder does. Of another kind than the placeholder's, a number is converted, a text counts as 0, and
/// where a text is wanted a number gives none.
U_EXPORT Err U_SubStringFromArray(U_UTF16String& out, const U_UTF16String& format,
                                  const U_SubStringArgument* arguments, size_t count);

/// Fills a 16-bit template; `out` may be `format`. Arguments: terminated 16-bit strings or U_UTF16String,
/// integers, doubles.
template <class... Arguments>
Err U_SubString(U_UTF16String& out, const U_UTF16String& format, const Arguments&... arguments)
{
    if constexpr (sizeof...(Arguments) == 0) {
        return U_SubStringFromArray(out, format, nullptr, 0);
    } else {
        const U_SubStringArgument all[] = {U_SubStringArgument(arguments)...};
        return U_SubStringFromArray(out, format, all, sizeof...(Arguments));
    }
}

/// The same, returning the text. Throws the error code as an `int`.
template <class... Arguments>
U_UTF16String U_SubString16(const U_UTF16String& format, const Arguments&... arguments)
{
    U_UTF16String out;
    if (const Err error = U_SubString(out, format, arguments...)) throw static_cast<int>(error);
    return out;
}

U_EXPORT U_UTF16String U_LongFormatBytes(unsigned long long bytes);

#endif
#endif
