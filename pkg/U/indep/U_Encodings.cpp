// The encodings by number, on ICU's converters. A converter has state and is dear to open, so each thread keeps
// those that it used. ICU never shows outside this file.
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <memory>

#include "Up_Encodings.h"
#include "zvkcore/string/Convert.h"

namespace {

using zvkcore::string::ReadAs;

struct Encoding {
    unsigned int number;
    const char* converter;
    size_t bytesAUnit;  // room for output, for each 16-bit unit
    bool turned;        // see TurnControls
};
// UTF-8 needs no converter and has no row. A single-byte encoding gets two bytes a unit as well: callers rely on
// the room, not on the need.
constexpr Encoding kEncodings[] = {
    {U_ENCODING_MAC_ROMAN, "macintosh", 2, false},
    {U_ENCODING_MAC_JAPANESE, "windows-932", 2, true},
    {U_ENCODING_MAC_CHINESE_TRADITIONAL, "windows-950", 2, false},
    {U_ENCODING_MAC_KOREAN, "windows-949", 2, false},
    {U_ENCODING_MAC_CYRILLIC, "x-mac-cyrillic", 2, false},
    {U_ENCODING_MAC_CHINESE_SIMPLIFIED, "windows-936", 2, false},
    {U_ENCODING_WINDOWS_JAPANESE, "windows-932", 2, true},
    {U_ENCODING_WINDOWS_CHINESE_SIMPLIFIED, "windows-936", 2, false},
    {U_ENCODING_WINDOWS_KOREAN, "windows-949", 2, false},
    {U_ENCODING_WINDOWS_LATIN1, "windows-1252", 2, false},
    {U_ENCODING_WINDOWS_CYRILLIC, "windows-1251", 2, false},
    {U_ENCODING_GB18030, "gb18030", 4, false},
};
constexpr bool Smaller(const Encoding& a, const Encoding& b)
{
    return a.number < b.number;
}
static_assert(std::is_sorted(std::begin(kEncodings), std::end(kEncodings), Smaller));

const Encoding* FindEncoding(unsigned int number)
{
    const auto* row = std::lower_bound(std::begin(kEncodings), std::end(kEncodings),
                                       Encoding{number, "", 0, false}, Smaller);
    return row != std::end(kEncodings) && row->number == number ? row : nullptr;
}

struct CloseConverter {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

// What happens at a character that the encoding lacks, or a lone surrogate. ICU's own callbacks for the same would
// drop characters that are merely invisible.
void U_CALLCONV Stop(const void*, UConverterFromUnicodeArgs*, const UChar*, int32_t, UChar32,
                     UConverterCallbackReason, UErrorCode*)
{
    // The error stands.
}
void U_CALLCONV WriteQuestionMark(const void*, UConverterFromUnicodeArgs* arguments, const UChar*, int32_t,
                                  UChar32, UConverterCallbackReason reason, UErrorCode* error)
{
    if (reason > UCNV_IRREGULAR) return;  // the converter is being reset or closed
    *error = U_ZERO_ERROR;
    ucnv_cbFromUWriteBytes(arguments, "?", 1, 0, error);
}

// The calling thread's converter of a table row, as it was opened but for its callbacks; null if ICU has none.
UConverter* ConverterOf(const Encoding& encoding)
{
    thread_local std::array<Converter, std::size(kEncodings)> t_converters;
    Converter& entry = t_converters[static_cast<size_t>(&encoding - kEncodings)];
    if (!entry) {
        UErrorCode error = U_ZERO_ERROR;
        entry.reset(ucnv_open(encoding.converter, &error));
        ucnv_setToUCallBack(entry.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
        if (U_FAILURE(error)) entry.reset();
    }
    return entry.get();
}

// The converter of code page 932 turns three control characters round: 1A, 1C and 7F stand for one another.
// Everywhere else control characters are themselves, and here they are made so.
constexpr unsigned short kTurned[] = {0x1A, 0x1C, 0x7F};

void TurnControls(unsigned short* text, size_t size, bool forEncoding)
{
    for (unsigned short* unit = text; unit != text + size; ++unit) {
        const auto* found = std::find(std::begin(kTurned), std::end(kTurned), *unit);
        if (found == std::end(kTurned)) continue;
        const auto at = static_cast<size_t>(found - kTurned);
        *unit = kTurned[(at + (forEncoding ? 1 : 2)) % std::size(kTurned)];
    }
}

bool HasTurnedControl(std::string_view text)
{
    return std::any_of(std::begin(kTurned), std::end(kTurned),
                       [=](unsigned short unit) { return text.find(static_cast<char>(unit)) != text.npos; });
}

// Converts into the caller's units; no byte of these encodings becomes more than one. ASCII in front, which is most
// of most texts, is itself in each of them. Gives the count of units, -1 for bytes that are not valid.
ptrdiff_t Decode(std::string_view text, const Encoding& encoding, UConverter* converter,
                 unsigned short* units)
{
    size_t ascii = 0;
    for (; ascii < text.size() && static_cast<unsigned char>(text[ascii]) < 0x80; ++ascii) {
        units[ascii] = static_cast<unsigned char>(text[ascii]);
    }
    const std::string_view rest = text.substr(ascii);
    if (rest.empty()) return static_cast<ptrdiff_t>(ascii);

    UErrorCode error = U_ZERO_ERROR;
    UChar* const start = ReadAs<UChar>(units + ascii);
    UChar* target = start;
    const char* source = rest.data();
    ucnv_toUnicode(converter, &target, start + rest.size(), &source, source + rest.size(), nullptr, true,
                   &error);
    if (U_FAILURE(error)) {
        ucnv_resetToUnicode(converter);  // a conversion that comes to its end does so itself
        return -1;
    }
    const auto count = static_cast<size_t>(target - start);
    if (encoding.turned && HasTurnedControl(rest)) TurnControls(units + ascii, count, false);
    return static_cast<ptrdiff_t>(ascii + count);
}

bool Decode(std::string_view text, const Encoding& encoding, U_UTF16String& out)
{
    UConverter* const converter = ConverterOf(encoding);
    if (!converter) return false;
    unsigned short local[512];  // so that a text of common length is allocated once, at its exact size
    if (text.size() <= std::size(local)) {
        const ptrdiff_t count = Decode(text, encoding, converter, local);
        if (count >= 0) out.assign(local, static_cast<size_t>(count));
        return count >= 0;
    }
    out.resize(text.size());
    const ptrdiff_t count = Decode(text, encoding, converter, out.data());
    if (count >= 0) out.resize(static_cast<size_t>(count));
    return count >= 0;
}

bool Encode(const U_UTF16String& text, const Encoding& encoding, bool strict, std::string& out)
{
    UConverter* const converter = ConverterOf(encoding);
    if (!converter) return false;
    U_UTF16String turned;
    if (encoding.turned) {
        turned = text;
        TurnControls(turned.data(), turned.size(), true);
    }
    const U_UTF16String& units = encoding.turned ? turned : text;

    out.resize(text.size() * encoding.bytesAUnit);
    UErrorCode error = U_ZERO_ERROR;
    ucnv_resetFromUnicode(converter);
    ucnv_setFromUCallBack(converter, strict ? Stop : WriteQuestionMark, nullptr, nullptr, nullptr, &error);
    const UChar* source = ReadAs<const UChar>(units.data());
    char* target = out.data();
    ucnv_fromUnicode(converter, &target, target + out.size(), &source, source + units.size(), nullptr, true,
                     &error);
    if (U_FAILURE(error)) return false;
    out.resize(static_cast<size_t>(target - out.data()));
    return true;
}

constexpr bool IsLead(unsigned short unit)
{
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsTrail(unsigned short unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

U_UTF16String WithoutLoneSurrogates(U_UTF16String text)
{
    for (size_t at = 0; at < text.size(); ++at) {
        if (IsLead(text[at]) && at + 1 < text.size() && IsTrail(text[at + 1])) {
            ++at;
        } else if (IsLead(text[at]) || IsTrail(text[at])) {
            text[at] = '?';
        }
    }
    return text;
}

bool EncodeUTF8(const U_UTF16String& text, bool strict, std::string& out)
{
    U_UTF8String bytes;
    if (!zvkcore::string::TryUTF16to8(text, bytes)) {
        if (strict) return false;
        zvkcore::string::TryUTF16to8(WithoutLoneSurrogates(text), bytes);
    }
    out = zvkcore::string::View(bytes);
    return true;
}

}  // namespace

bool Up_TryDecode(std::string_view text, unsigned int number, U_UTF16String& out)
{
    if (number == U_ENCODING_UTF8) return zvkcore::string::TryUTF8to16(zvkcore::string::Units(text), out);
    const Encoding* const encoding = FindEncoding(number);
    const bool done = encoding && Decode(text, *encoding, out);
    if (!done) out.clear();
    return done;
}

bool Up_TryEncode(const U_UTF16String& text, unsigned int number, bool strict, std::string& out)
{
    bool done = false;
    if (number == U_ENCODING_UTF8) {
        done = EncodeUTF8(text, strict, out);
    } else if (const Encoding* const encoding = FindEncoding(number)) {
        done = Encode(text, *encoding, strict, out);
    }
    if (!done) out.clear();
    return done;
}
