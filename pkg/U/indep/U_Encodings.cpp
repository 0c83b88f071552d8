// The encodings by number, on ICU's converters. A converter has state and is dear to open, so each thread
// keeps those that it used. Toward 16 bits, what a converter gives for one and two bytes is kept in rows that
// all threads share. ICU never shows outside this file.
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>

#include <algorithm>
#include <array>
#include <atomic>
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
// UTF-8 needs no converter and has no row. A single-byte encoding gets two bytes a unit as well: callers rely
// on the room, not on the need.
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

// What happens at a character that the encoding lacks, or a lone surrogate. ICU's own callbacks for the same
// would drop characters that are merely invisible.
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

// The calling thread's converter of a table row, as opened but for its callbacks; null if ICU has none.
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

// Converts into the caller's `room` units. Gives their count, -1 for bytes that are not valid.
ptrdiff_t DecodeByConverter(std::string_view text, UConverter* converter, unsigned short* units, size_t room)
{
    UErrorCode error = U_ZERO_ERROR;
    UChar* const start = ReadAs<UChar>(units);
    UChar* target = start;
    const char* source = text.data();
    ucnv_toUnicode(converter, &target, start + room, &source, source + text.size(), nullptr, true, &error);
    if (U_SUCCESS(error)) return target - start;
    ucnv_resetToUnicode(converter);  // a conversion that comes to its end does so itself
    return -1;
}

// The characters that begin with one byte, as the converter gives them: the byte alone, or with each second.
struct LeadRow {
    unsigned short single;
    unsigned short pairs[256];
};
constexpr unsigned short kNone = 0xFFFF;  // no character of any encoding

// Made at the first use of their byte, by whichever thread comes first, and kept to the end of the process.
std::atomic<const LeadRow*> g_leadRows[std::size(kEncodings)][128];

unsigned short DecodeOne(std::string_view character, UConverter* converter)
{
    unsigned short units[2];
    const ptrdiff_t count = DecodeByConverter(character, converter, units, std::size(units));
    return count == 1 ? units[0] : kNone;
}

const LeadRow& LeadRowOf(const Encoding& encoding, UConverter* converter, unsigned char lead)
{
    std::atomic<const LeadRow*>& entry = g_leadRows[&encoding - kEncodings][lead - 0x80];
    if (const LeadRow* known = entry.load(std::memory_order_acquire)) return *known;
    auto row = std::make_unique<LeadRow>();
    char character[] = {static_cast<char>(lead), 0};
    row->single = DecodeOne({character, 1}, converter);
    for (size_t second = 0; second < std::size(row->pairs); ++second) {
        character[1] = static_cast<char>(second);
        row->pairs[second] = row->single == kNone ? DecodeOne({character, 2}, converter) : kNone;
    }
    const LeadRow* made = row.get();
    const LeadRow* other = nullptr;
    if (!entry.compare_exchange_strong(other, made, std::memory_order_acq_rel)) return *other;
    return *row.release();
}

// Converts into the caller's units; no byte of these encodings becomes more than one. ASCII is itself in each
// of them. What the rows lack, which is the characters of four bytes and what is not valid, is the
// converter's.
ptrdiff_t Decode(std::string_view text, const Encoding& encoding, UConverter* converter,
                 unsigned short* units)
{
    const unsigned short* const start = units;
    const unsigned short* const end = units + text.size();
    for (size_t at = 0; at < text.size();) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (byte < 0x80) {
            *units++ = byte;
            ++at;
            continue;
        }
        const LeadRow& row = LeadRowOf(encoding, converter, byte);
        const bool isPair = row.single == kNone;
        const bool hasSecond = at + 1 < text.size();
        const unsigned short unit = !isPair     ? row.single
                                    : hasSecond ? row.pairs[static_cast<unsigned char>(text[at + 1])]
                                                : kNone;
        if (unit == kNone) {
            const ptrdiff_t rest =
                DecodeByConverter(text.substr(at), converter, units, static_cast<size_t>(end - units));
            return rest < 0 ? -1 : units - start + rest;
        }
        *units++ = unit;
        at += isPair ? 2 : 1;
    }
    return units - start;
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

// The converter of code page 932 turns three control characters round: 1A, 1C and 7F stand for one another.
// Everywhere else control characters are themselves, and here they are made so.
constexpr unsigned short kTurned[] = {0x1A, 0x1C, 0x7F};

U_UTF16String TurnControls(U_UTF16String text)
{
    for (unsigned short& unit : text) {
        const auto* found = std::find(std::begin(kTurned), std::end(kTurned), unit);
        if (found != std::end(kTurned)) unit = kTurned[(found - kTurned + 1) % std::size(kTurned)];
    }
    return text;
}

bool Encode(const U_UTF16String& text, const Encoding& encoding, bool strict, std::string& out)
{
    UConverter* const converter = ConverterOf(encoding);
    if (!converter) return false;
    const U_UTF16String turned = encoding.turned ? TurnControls(text) : U_UTF16String{};
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
