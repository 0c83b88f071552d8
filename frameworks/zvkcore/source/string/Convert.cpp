// Conversion runs through a buffer on the stack: a short text is converted and copied once into a string of its
// exact size, a long one is appended piece by piece, and nothing is zeroed first.
//
// Ill-formed UTF-8 is divided as the Unicode standard recommends (chapter 3, "maximal subparts"): the longest
// prefix of a well-formed sequence counts as one piece, any other byte as one. No state.
#include "zvkcore/string/Convert.h"

#include <cstdint>
#include <cstring>

#include "AsciiRun.h"

namespace zvkcore::string {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;
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

// The common case in front of ReadSequence: a whole sequence of three bytes, as most scripts have.
inline bool ReadThree(const unsigned char*& at, const unsigned char* end, std::uint32_t& code)
{
    if (end - at < 3) return false;
    const std::uint32_t second = at[1] ^ 0x80u;
    const std::uint32_t third = at[2] ^ 0x80u;
    code = (at[0] & 0x0Fu) << 12 | second << 6 | third;
    if ((at[0] & 0xF0u) != 0xE0 || (second | third) > 0x3F || code < 0x800 || IsSurrogate(code)) return false;
    at += 3;
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

inline unsigned char* PutBytes(std::uint32_t code, unsigned char* out)
{
    if (code < 0x800) {
        *out++ = static_cast<unsigned char>(0xC0 | code >> 6);
    } else {
        if (code < 0x10000) {
            *out++ = static_cast<unsigned char>(0xE0 | code >> 12);
        } else {
            *out++ = static_cast<unsigned char>(0xF0 | code >> 18);
            *out++ = static_cast<unsigned char>(0x80 | (code >> 12 & 0x3F));
        }
        *out++ = static_cast<unsigned char>(0x80 | (code >> 6 & 0x3F));
    }
    *out++ = static_cast<unsigned char>(0x80 | (code & 0x3F));
    return out;
}

enum class OnIllFormed { kReplace, kStop };

// What a piece of work has read and written so far. `end` and `full` stay; `full` leaves room for one more block
// behind it.
template <class From, class To>
struct Progress {
    const From* at;
    const From* end;
    To* out;
    To* full;
};

// Both work until the input ends, the output is full, or (with kStop) the input is ill-formed; then the result is
// false.
template <OnIllFormed kWhat>
bool Widen(Progress<unsigned char, unsigned short>& p)
{
    const unsigned char* at = p.at;
    unsigned short* out = p.out;
    bool fine = true;
    while (at != p.end && out < p.full) {
        if (p.end - at >= static_cast<std::ptrdiff_t>(kWidenBlock)) {
            const std::size_t run = WidenAsciiRun(at, out);
            at += run;
            out += run;
            if (run == kWidenBlock) continue;
        } else if (*at < 0x80) {
            *out++ = *at++;
            continue;
        }
        do {
            std::uint32_t code = 0;
            if (!ReadThree(at, p.end, code) && !ReadSequence(at, p.end, code)) {
                if (kWhat == OnIllFormed::kStop) {
                    fine = false;
                    break;
                }
                code = kReplacement;
            }
            out = PutUnits(code, out);
        } while (at != p.end && *at >= 0x80 && out < p.full);
        if (!fine) break;
    }
    p.at = at;
    p.out = out;
    return fine;
}

template <OnIllFormed kWhat>
bool Narrow(Progress<unsigned short, unsigned char>& p)
{
    const unsigned short* at = p.at;
    unsigned char* out = p.out;
    bool fine = true;
    while (at != p.end && out < p.full) {
        if (p.end - at >= static_cast<std::ptrdiff_t>(kNarrowBlock)) {
            const std::size_t run = NarrowAsciiRun(at, out);
            at += run;
            out += run;
            if (run == kNarrowBlock) continue;
        } else if (*at < 0x80) {
            *out++ = static_cast<unsigned char>(*at++);
            continue;
        }
        do {
            std::uint32_t code = *at++;
            if (IsSurrogate(code)) {
                if (IsLeadSurrogate(code) && at != p.end && IsTrailSurrogate(*at)) {
                    code = (code << 10) + *at++ - ((0xD800u << 10) + 0xDC00 - 0x10000);
                } else if (kWhat == OnIllFormed::kStop) {
                    fine = false;
                    break;
                } else {
                    code = kReplacement;
                }
            }
            out = PutBytes(code, out);
        } while (at != p.end && *at >= 0x80 && out < p.full);
        if (!fine) break;
    }
    p.at = at;
    p.out = out;
    return fine;
}

// Runs `convert` over the whole text. A unit gives at most three bytes, a byte at most one unit, so the capacity
// asked for first is enough but for text outside ASCII on its way to UTF-8, which may grow.
template <class From, class To, class Out, class View>
bool Convert(bool (*convert)(Progress<From, To>&), View text, Out& result)
{
    constexpr std::size_t kRoom = 1024;
    constexpr std::size_t kBlock = kWidenBlock > kNarrowBlock ? kWidenBlock : kNarrowBlock;
    To room[kRoom + kBlock];
    Progress<From, To> progress{text.data(), text.data() + text.size(), room, room + kRoom};
    result.clear();
    bool fine = convert(progress);
    if (progress.at != progress.end) result.reserve(text.size());
    for (;;) {
        if (!fine) {
            result.clear();
            return false;
        }
        result.append(room, static_cast<std::size_t>(progress.out - room));
        if (progress.at == progress.end) return true;
        progress.out = room;
        fine = convert(progress);
    }
}

}  // namespace

UTF16String UTF8to16(UTF8View text)
{
    UTF16String result;
    Convert(Widen<OnIllFormed::kReplace>, text, result);
    return result;
}

bool TryUTF8to16(UTF8View text, UTF16String& out)
{
    UTF16String result;
    const bool fine = Convert(Widen<OnIllFormed::kStop>, text, result);
    out = std::move(result);
    return fine;
}

UTF8String UTF16to8(UTF16View text)
{
    UTF8String result;
    Convert(Narrow<OnIllFormed::kReplace>, text, result);
    return result;
}

bool TryUTF16to8(UTF16View text, UTF8String& out)
{
    UTF8String result;
    const bool fine = Convert(Narrow<OnIllFormed::kStop>, text, result);
    out = std::move(result);
    return fine;
}

UTF16String AsciiToUTF16(const char* text, std::size_t count)
{
    UTF16String result(count, 0);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text);
    std::size_t at = 0;
    while (at < count) {
        if (count - at >= kWidenBlock) at += WidenAsciiRun(bytes + at, result.data() + at);
        if (at == count) break;
        result[at] = bytes[at] < 0x80 ? bytes[at] : static_cast<unsigned short>(kReplacement);
        ++at;
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
