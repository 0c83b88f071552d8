// Plain ASCII becomes a string straight from its source. Other text runs through a buffer on the stack: a
// short one is copied once into a string of its exact size, a long one is appended piece by piece. Nothing is
// zeroed first.
//
// Ill-formed UTF-8 is divided as the Unicode standard recommends (chapter 3, "maximal subparts"): the longest
// prefix of a well-formed sequence counts as one piece, any other byte as one. No state.
#include "zvkcore/string/Convert.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

#include "AsciiRun.h"

namespace zvkcore::string {
namespace {

constexpr unsigned short kReplacement = 0xFFFD;
constexpr unsigned char kBOM[] = {0xEF, 0xBB, 0xBF};

constexpr bool IsSurrogate(std::uint32_t unit)
{
    return (unit & 0xFFFFF800u) == 0xD800;
}
constexpr bool IsLeadSurrogate(std::uint32_t unit)
{
    return (unit & 0xFFFFFC00u) == 0xD800;
}
constexpr bool IsTrailSurrogate(std::uint32_t unit)
{
    return (unit & 0xFFFFFC00u) == 0xDC00;
}

// Reads a multibyte sequence that may be cut or ill-formed. On failure `at` moves behind that piece.
bool ReadSequence(const unsigned char*& at, const unsigned char* end, std::uint32_t& code)
{
    const unsigned char lead = *at++;
    const int trails = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead > 0xF4) return false;
    // The second byte decides about overlong forms, surrogates and codes beyond U+10FFFF.
    unsigned char lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    unsigned char highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    code = lead & (0x3Fu >> trails);
    for (int i = 0; i < trails; ++i) {
        if (at == end || *at < lowest || *at > highest) return false;
        code = code << 6 | (*at++ & 0x3Fu);
        lowest = 0x80;
        highest = 0xBF;
    }
    return true;
}

[[gnu::always_inline]] inline unsigned short* PutUnits(std::uint32_t code, unsigned short* out)
{
    if (code < 0x10000) {
        *out++ = static_cast<unsigned short>(code);
    } else {
        *out++ = static_cast<unsigned short>(0xD7C0 + (code >> 10));
        *out++ = static_cast<unsigned short>(0xDC00 + (code & 0x3FF));
    }
    return out;
}

constexpr std::ptrdiff_t kBlock = kAsciiBlock;
constexpr std::ptrdiff_t kHalf = kAsciiBlock / 2;

// Bytes as one number, the first one lowest: compilers make a single access of it.
inline std::uint32_t ReadFour(const unsigned char* at)
{
    return at[0] | at[1] << 8 | at[2] << 16 | static_cast<std::uint32_t>(at[3]) << 24;
}

inline void WriteFour(std::uint32_t bytes, unsigned char* out)
{
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(out, &bytes, sizeof bytes);
    } else {
        for (int i = 0; i < 4; ++i) out[i] = static_cast<unsigned char>(bytes >> 8 * i);
    }
}

// Converts the sequence of several bytes at the front of these four and gives its length; 0 if ill-formed.
[[gnu::always_inline]] inline int WidenSequence(std::uint32_t four, unsigned short*& out)
{
    if ((four & 0xC0C0F0) == 0x8080E0) {
        const std::uint32_t code = (four & 0x0F) << 12 | (four >> 2 & 0xFC0) | (four >> 16 & 0x3F);
        if (code < 0x800 || IsSurrogate(code)) return 0;
        *out++ = static_cast<unsigned short>(code);
        return 3;
    }
    if ((four & 0xC0E0) == 0x80C0) {
        const std::uint32_t code = (four & 0x1F) << 6 | (four >> 8 & 0x3F);
        if (code < 0x80) return 0;
        *out++ = static_cast<unsigned short>(code);
        return 2;
    }
    if ((four & 0xC0C0C0F8) != 0x808080F0) return 0;
    const std::uint32_t code =
        (four & 0x07) << 18 | (four << 4 & 0x3F000) | (four >> 10 & 0xFC0) | (four >> 24 & 0x3F);
    if (code < 0x10000 || code > 0x10FFFF) return 0;
    out = PutUnits(code, out);
    return 4;
}

// Whether the next eight characters are ASCII, so that it pays to leave the loop over single characters.
template <class Unit>
inline bool IsLongRun(const Unit* at, const Unit* end)
{
    return end - at >= kHalf && OthersAmongEight(at) == 0;
}

// Where a conversion writes, and whether all that it has read was well-formed.
template <class Unit>
struct Target {
    Unit* out;
    bool valid;
};

// Both directions convert a slice [at, stop) of a text that ends at `end`: a sequence that begins in the
// slice is read to its own end. The caller has room for the whole slice. Two loops take turns: one over
// blocks of ASCII, and one over characters that stays with short runs of ASCII. The result is where the
// reading ended.
[[gnu::noinline]] const unsigned char* ConvertSlice(const unsigned char* at, const unsigned char* stop,
                                                    const unsigned char* end, Target<unsigned short>& target)
{
    unsigned short* out = target.out;
    while (at < stop) {
        unsigned int others = 0;
        while (others == 0 && stop - at >= kBlock) {
            others = WidenAsciiBlock(at, out);
            const std::ptrdiff_t run = others == 0 ? kBlock : std::countr_zero(others);
            at += run;
            out += run;
        }
        if (IsLongRun(at, stop)) {
            WidenAsciiHalf(at, out);
            at += kHalf;
            out += kHalf;
        }
        while (at < stop) {
            if (*at < 0x80) {
                // Most runs in other scripts are a blank or two: they fail at the cheap test.
                if (stop - at >= kHalf && (at[1] | at[2] | at[3]) < 0x80 && IsLongRun(at, stop)) break;
                do {
                    *out++ = *at++;
                } while (at < stop && *at < 0x80);
                continue;
            }
            if (end - at >= 4) {
                const std::uint32_t four = ReadFour(at);
                if (const int length = WidenSequence(four, out)) {
                    at += length;
                    continue;
                }
            }
            std::uint32_t code = 0;
            if (!ReadSequence(at, end, code)) {
                target.valid = false;
                code = kReplacement;
            }
            out = PutUnits(code, out);
        }
    }
    target.out = out;
    return at;
}

[[gnu::noinline]] const unsigned short* ConvertSlice(const unsigned short* at, const unsigned short* stop,
                                                     const unsigned short* end, Target<unsigned char>& target)
{
    unsigned char* out = target.out;
    while (at < stop) {
        unsigned int others = 0;
        while (others == 0 && stop - at >= kBlock) {
            others = NarrowAsciiBlock(at, out);
            const std::ptrdiff_t run = others == 0 ? kBlock : std::countr_zero(others);
            at += run;
            out += run;
        }
        if (IsLongRun(at, stop)) {
            NarrowAsciiHalf(at, out);
            at += kHalf;
            out += kHalf;
        }
        while (at < stop) {
            std::uint32_t code = *at;
            if (code < 0x80) {
                if (IsLongRun(at, stop)) break;
                *out++ = static_cast<unsigned char>(*at++);
                while (at < stop && *at < 0x80) *out++ = static_cast<unsigned char>(*at++);
                continue;
            }
            ++at;
            if (code < 0x800) {
                WriteFour(0x80C0 | code >> 6 | (code & 0x3F) << 8, out);
                out += 2;
                continue;
            }
            if (IsSurrogate(code)) {
                if (IsLeadSurrogate(code) && at != end && IsTrailSurrogate(*at)) {
                    code = (code << 10) + *at++ - ((0xD800u << 10) + 0xDC00 - 0x10000);
                    WriteFour(0x808080F0 | code >> 18 | (code >> 4 & 0x3F00) | (code << 10 & 0x3F0000) |
                                  (code & 0x3F) << 24,
                              out);
                    out += 4;
                    continue;
                }
                target.valid = false;
                code = kReplacement;
            }
            WriteFour(0x8080E0 | code >> 12 | (code << 2 & 0x3F00) | (code & 0x3F) << 16, out);
            out += 3;
        }
    }
    target.out = out;
    return at;
}

// What `slice` characters of input may give at most, in either direction, and what a block writes beyond.
constexpr std::size_t RoomFor(std::size_t slice)
{
    return slice * 3 + 16;
}

enum class OnIllFormed { kReplace, kGiveNothing };

// A text of one slice gets a string of its exact size. The capacity of a longer one is enough but for text
// outside ASCII on its way to UTF-8, which may grow.
template <class Out, class View>
[[gnu::noinline]] Out ConvertByRoom(View text, OnIllFormed what, bool& valid)
{
    constexpr std::ptrdiff_t kSlice = 1024;
    typename Out::value_type room[RoomFor(kSlice)];
    const auto* at = text.data();
    const auto* const end = at + text.size();
    Target<typename Out::value_type> target{room, true};
    Out result;
    for (;;) {
        at = ConvertSlice(at, at + std::min(end - at, kSlice), end, target);
        valid = target.valid;
        if (!valid && what == OnIllFormed::kGiveNothing) return {};
        const auto count = static_cast<std::size_t>(target.out - room);
        if (at == end && result.empty()) return Out(room, count);
        if (result.empty()) result.reserve(text.size());
        result.append(room, count);
        if (at == end) return result;
        target.out = room;
    }
}

template <class Out, class View>
[[gnu::always_inline]] inline Out Convert(View text, OnIllFormed what, bool& valid)
{
    valid = true;
    if (IsAscii(text.data(), text.size())) return Out(text.begin(), text.end());
    return ConvertByRoom<Out>(text, what, valid);
}

}  // namespace

UTF16String UTF8to16(UTF8View text)
{
    bool valid;
    return Convert<UTF16String>(text, OnIllFormed::kReplace, valid);
}

UTF16String UTF8to16(UTF8View text, bool& valid)
{
    return Convert<UTF16String>(text, OnIllFormed::kGiveNothing, valid);
}

bool TryUTF8to16(UTF8View text, UTF16String& out)
{
    bool valid;
    out = UTF8to16(text, valid);
    return valid;
}

UTF8String UTF16to8(UTF16View text)
{
    bool valid;
    return Convert<UTF8String>(text, OnIllFormed::kReplace, valid);
}

UTF8String UTF16to8(UTF16View text, bool& valid)
{
    return Convert<UTF8String>(text, OnIllFormed::kGiveNothing, valid);
}

bool TryUTF16to8(UTF16View text, UTF8String& out)
{
    bool valid;
    out = UTF16to8(text, valid);
    return valid;
}

UTF16String AsciiToUTF16(const char* text, std::size_t count)
{
    const UTF8View bytes = Units(std::string_view(text, count));
    UTF16String result(bytes.begin(), bytes.end());
    if (!IsAscii(bytes.data(), count)) {
        std::replace_if(
            result.begin(), result.end(), [](unsigned short unit) { return unit >= 0x80; }, kReplacement);
    }
    return result;
}

UTF16String AsciiToUTF16(const char* text)
{
    return text == nullptr ? UTF16String{} : AsciiToUTF16(text, std::strlen(text));
}

bool SanitizeUTF8CharacterString(UTF8String& text)
{
    UTF16String wide;
    if (TryUTF8to16(text, wide)) return false;
    text = UTF16to8(UTF8to16(text));
    return true;
}

UTF8String GetUTF8BOM_String()
{
    return UTF8String(kBOM, sizeof kBOM);
}

bool StringBeginsWithUTF8BOM(UTF8View text) noexcept
{
    return text.starts_with(UTF8View{kBOM, sizeof kBOM});
}

bool RemoveUTF8BOM_IfPresent(UTF8String& text)
{
    if (!StringBeginsWithUTF8BOM(text)) return false;
    text.erase(0, sizeof kBOM);
    return true;
}

}  // namespace zvkcore::string
