// The step that makes plain ASCII cheap: sixteen or eight characters at once.
//
// The functions read a whole block, or half a one, write as much, and give a word with a bit for each
// character that is not ASCII, the first one lowest; what they wrote from there on means nothing.
#ifndef ZVKCORE_SOURCE_STRING_ASCIIRUN_H
#define ZVKCORE_SOURCE_STRING_ASCIIRUN_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zvkcore::string {

inline constexpr std::size_t kAsciiBlock = 16;

#if defined(__SSE2__)

inline unsigned int WidenAsciiBlock(const unsigned char* from, unsigned short* to) noexcept
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i zero = _mm_setzero_si128();
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_unpacklo_epi8(bytes, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 8), _mm_unpackhi_epi8(bytes, zero));
    return static_cast<unsigned int>(_mm_movemask_epi8(bytes));
}

inline unsigned int WidenAsciiHalf(const unsigned char* from, unsigned short* to) noexcept
{
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    return static_cast<unsigned int>(_mm_movemask_epi8(bytes));
}

// What is left of a unit when 7F is taken away, without going below zero, tells whether it is larger.
inline __m128i AsciiUnits(__m128i units) noexcept
{
    return _mm_cmpeq_epi16(_mm_subs_epu16(units, _mm_set1_epi16(0x7F)), _mm_setzero_si128());
}

inline unsigned int NarrowAsciiBlock(const unsigned short* from, unsigned char* to) noexcept
{
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 8));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(low, high));
    const __m128i ascii = _mm_packs_epi16(AsciiUnits(low), AsciiUnits(high));
    return static_cast<unsigned int>(_mm_movemask_epi8(ascii)) ^ 0xFFFFu;
}

inline unsigned int NarrowAsciiHalf(const unsigned short* from, unsigned char* to) noexcept
{
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(units, units));
    const __m128i ascii = AsciiUnits(units);
    return static_cast<unsigned int>(_mm_movemask_epi8(_mm_packs_epi16(ascii, ascii)) & 0xFF) ^ 0xFFu;
}

#else

template <class From, class To>
inline unsigned int CopyAscii(const From* from, To* to, std::size_t count) noexcept
{
    unsigned int others = 0;
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = static_cast<To>(from[i]);
        others |= static_cast<unsigned int>(from[i] >= 0x80) << i;
    }
    return others;
}

inline unsigned int WidenAsciiBlock(const unsigned char* from, unsigned short* to) noexcept
{
    return CopyAscii(from, to, kAsciiBlock);
}

inline unsigned int WidenAsciiHalf(const unsigned char* from, unsigned short* to) noexcept
{
    return CopyAscii(from, to, kAsciiBlock / 2);
}

inline unsigned int NarrowAsciiBlock(const unsigned short* from, unsigned char* to) noexcept
{
    return CopyAscii(from, to, kAsciiBlock);
}

inline unsigned int NarrowAsciiHalf(const unsigned short* from, unsigned char* to) noexcept
{
    return CopyAscii(from, to, kAsciiBlock / 2);
}

#endif

// What is not ASCII among eight characters, as bits of a word whose order means nothing; 0 for none.
inline std::uint64_t OthersAmongEight(const unsigned char* at) noexcept
{
    std::uint64_t word;
    std::memcpy(&word, at, sizeof word);
    return word & 0x8080808080808080;
}

inline std::uint64_t OthersAmongEight(const unsigned short* at) noexcept
{
    std::uint64_t first;
    std::uint64_t second;
    std::memcpy(&first, at, sizeof first);
    std::memcpy(&second, at + 4, sizeof second);
    return (first | second) & 0xFF80FF80FF80FF80;
}

inline constexpr std::size_t kAsciiStride = 32;

// Whether something among 32 characters is not ASCII.
template <class Unit>
inline bool AnyOtherInStride(const Unit* at) noexcept
{
#if defined(__SSE2__)
    constexpr std::size_t kVectors = kAsciiStride * sizeof(Unit) / sizeof(__m128i);
    const auto* const vectors = reinterpret_cast<const __m128i*>(at);
    __m128i all = _mm_loadu_si128(vectors);
    for (std::size_t i = 1; i < kVectors; ++i) all = _mm_or_si128(all, _mm_loadu_si128(vectors + i));
    const __m128i others = sizeof(Unit) == 1 ? _mm_set1_epi8('\x80') : _mm_set1_epi16('\x80');
    const __m128i ascii = _mm_cmpeq_epi8(_mm_and_si128(all, others), _mm_setzero_si128());
    return _mm_movemask_epi8(ascii) != 0xFFFF;
#else
    std::uint64_t others = 0;
    for (std::size_t i = 0; i < kAsciiStride; i += 8) others |= OthersAmongEight(at + i);
    return others != 0;
#endif
}

// Whether a whole text is ASCII. One that is not is left early; the last eight may be looked at twice.
template <class Unit>
inline bool IsAscii(const Unit* text, std::size_t size) noexcept
{
    if (size < 8) {
        unsigned int others = 0;
        for (std::size_t i = 0; i < size; ++i) others |= text[i];
        return others < 0x80;
    }
    std::size_t at = 0;
    for (; size - at >= kAsciiStride; at += kAsciiStride) {
        if (AnyOtherInStride(text + at)) return false;
    }
    const std::size_t last = size - 8;
    for (; at < last; at += 8) {
        if (OthersAmongEight(text + at) != 0) return false;
    }
    return OthersAmongEight(text + last) == 0;
}

}  // namespace zvkcore::string

#endif
