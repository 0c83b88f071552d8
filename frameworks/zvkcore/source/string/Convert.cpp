// Conversion runs through a buffer on the stack: a short text is converted and copied once into a string of its
// exact size, a long one is appended piece by piece, and nothing is zeroed first.
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

// Reads a multibyte sequence that may be cut or ill-formed. On failure `at` moves behind the ill-formed piece.
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

inline unsigned short* PutUnits(std::uint32_t code, unsigned short* out)
{
    if (code < 0x10000) {
        *out++ = static_cast<unsigned short>(code);
    } else {
        *out++ = static_cast<unsigned short>(0xD7C0 + (code >> 10));
        *out++ = static_cast<unsigned short>(0xDC00 + (code & 0x3FF));
    }
    return out;
}

constexpr unsigned char Trail(std::uint32_t code, int shift)
{
    return static_cast<unsigned char>(0x80 | (code >> shift & 0x3F));
}

constexpr std::ptrdiff_t kBlock = kAsciiBlock;
constexpr std::uint64_t kHighBits = 0x8080808080808080;

// Whether the next eight bytes are ASCII, so that it pays to leave the loop over single characters.
inline bool IsLongRun(const unsigned char* at, const unsigned char* end)
{
    std::uint64_t word;
    if (end - at < 8) return false;
    std::memcpy(&word, at, sizeof word);
    return (word & kHighBits) == 0;
}

inline bool IsLongRun(const unsigned short* at, const unsigned short* end)
{
    std::uint64_t words[2];
    if (end - at < 8) return false;
    std::memcpy(words, at, sizeof words);
    return ((words[0] | words[1]) & 0xFF80FF80FF80FF80) == 0;
}

enum class OnIllFormed { kReplace, kStop };

// Both directions convert a slice [at, stop) of a text that ends at `end`: a sequence that begins in the slice is
// read to its own end. The caller has room for the whole slice. Two loops take turns: one over blocks of ASCII,
// and one over characters that stays with short runs of ASCII. The result is where the reading ended, or null
// (with kStop) at ill-formed text.
template <OnIllFormed kWhat>
const unsigned char* ConvertSlice(const unsigned char* at, const unsigned char* stop,
                                  const unsigned char* end, unsigned short*& target)
{
    unsigned short* out = target;
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
            at += kBlock / 2;
            out += kBlock / 2;
        }
        while (at < stop) {
            const std::uint32_t lead = *at;
            if (lead < 0x80) {
                if (IsLongRun(at, stop)) break;
                *out++ = *at++;
                while (at < stop && *at < 0x80) *out++ = *at++;
                continue;
            }
            // Whole sequences of two and three bytes, as most scripts have.
            if (end - at >= 3) {
                const std::uint32_t second = at[1] ^ 0x80u;
                const std::uint32_t third = at[2] ^ 0x80u;
                const std::uint32_t three = (lead & 0x0F) << 12 | second << 6 | third;
                if ((lead & 0xF0) == 0xE0 && (second | third) < 0x40 && three >= 0x800 &&
                    !IsSurrogate(three)) {
                    *out++ = static_cast<unsigned short>(three);
                    at += 3;
                    continue;
                }
                if (lead >= 0xC2 && lead < 0xE0 && second < 0x40) {
                    *out++ = static_cast<unsigned short>((lead & 0x1F) << 6 | second);
                    at += 2;
                    continue;
                }
            }
            std::uint32_t code = 0;
            if (!ReadSequence(at, end, code)) {
                if (kWhat == OnIllFormed::kStop) return nullptr;
                code = kReplacement;
            }
            out = PutUnits(code, out);
        }
    }
    target = out;
    return at;
}

template <OnIllFormed kWhat>
const unsigned short* ConvertSlice(const unsigned short* at, const unsigned short* stop,
                                   const unsigned short* end, unsigned char*& target)
{
    unsigned char* out = target;
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
            at += kBlock / 2;
            out += kBlock / 2;
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
                out[0] = static_cast<unsigned char>(0xC0 | code >> 6);
                out[1] = Trail(code, 0);
                out += 2;
                continue;
            }
            if (IsSurrogate(code)) {
                if (IsLeadSurrogate(code) && at != end && IsTrailSurrogate(*at)) {
                    code = (code << 10) + *at++ - ((0xD800u << 10) + 0xDC00 - 0x10000);
                    out[0] = static_cast<unsigned char>(0xF0 | code >> 18);
                    out[1] = Trail(code, 12);
                    out[2] = Trail(code, 6);
                    out[3] = Trail(code, 0);
                    out += 4;
                    continue;
                }
                if (kWhat == OnIllFormed::kStop) return nullptr;
                code = kReplacement;
            }
            out[0] = static_cast<unsigned char>(0xE0 | code >> 12);
            out[1] = Trail(code, 6);
            out[2] = Trail(code, 0);
            out += 3;
        }
    }
    target = out;
    return at;
}

// What `slice` characters of input may give at most, in either direction, and what a block writes beyond.
constexpr std::size_t RoomFor(std::size_t slice)
{
    return slice * 3 + 16;
}

// A text of one slice gets a string of its exact size. The capacity of a longer one is enough but for text outside
// ASCII on its way to UTF-8, which may grow. `fine` is false, and the result empty, where the reading stopped.
template <class Out, OnIllFormed kWhat, class View>
Out Convert(View text, bool& fine)
{
    constexpr std::size_t kSlice = 1024;
    typename Out::value_type room[RoomFor(kSlice)];
    const auto* at = text.data();
    const auto* const end = at + text.size();
    fine = true;
    Out result;
    for (;;) {
        auto* out = room;
        at = ConvertSlice<kWhat>(at, at + std::min<std::ptrdiff_t>(end - at, kSlice), end, out);
        const auto count = static_cast<std::size_t>(out - room);
        if (at == nullptr) {
            fine = false;
            return {};
        }
        if (at == end && result.empty()) return Out(room, count);
        if (result.empty()) result.reserve(text.size());
        result.append(room, count);
        if (at == end) return result;
    }
}

}  // namespace

UTF16String UTF8to16(UTF8View text)
{
    bool fine = true;
    return Convert<UTF16String, OnIllFormed::kReplace>(text, fine);
}

bool TryUTF8to16(UTF8View text, UTF16String& out)
{
    bool fine = true;
    out = Convert<UTF16String, OnIllFormed::kStop>(text, fine);
    return fine;
}

UTF8String UTF16to8(UTF16View text)
{
    bool fine = true;
    return Convert<UTF8String, OnIllFormed::kReplace>(text, fine);
}

bool TryUTF16to8(UTF16View text, UTF8String& out)
{
    bool fine = true;
    out = Convert<UTF8String, OnIllFormed::kStop>(text, fine);
    return fine;
}

UTF16String AsciiToUTF16(const char* text, std::size_t count)
{
    UTF16String result(count, 0);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text);
    const auto widen = [](unsigned char byte) -> unsigned short { return byte < 0x80 ? byte : kReplacement; };
    for (std::size_t at = 0; at < count;) {
        const std::size_t stop = std::min(at + kAsciiBlock, count);
        if (stop - at < kAsciiBlock || WidenAsciiBlock(bytes + at, result.data() + at) != 0) {
            std::transform(bytes + at, bytes + stop, result.data() + at, widen);
        }
        at = stop;
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
