// The step that makes plain ASCII cheap: sixteen or eight characters at once.
//
// The block functions read a whole block, write a whole block, and give a word with a bit for each character that
// is not ASCII, the first one lowest; what they wrote from there on means nothing. The half forms do half a block
// that is known to be ASCII.
#ifndef ZVKCORE_SOURCE_STRING_ASCIIRUN_H
#define ZVKCORE_SOURCE_STRING_ASCIIRUN_H

#include <cstddef>

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

inline void WidenAsciiHalf(const unsigned char* from, unsigned short* to) noexcept
{
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
}

inline unsigned int NarrowAsciiBlock(const unsigned short* from, unsigned char* to) noexcept
{
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 8));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(low, high));
    const __m128i last = _mm_set1_epi16(0x7F);
    const __m128i zero = _mm_setzero_si128();
    // What is left of a unit when 7F is taken away, without going below zero, tells whether it was larger.
    const __m128i ascii = _mm_packs_epi16(_mm_cmpeq_epi16(_mm_subs_epu16(low, last), zero),
                                          _mm_cmpeq_epi16(_mm_subs_epu16(high, last), zero));
    return static_cast<unsigned int>(_mm_movemask_epi8(ascii)) ^ 0xFFFFu;
}

inline void NarrowAsciiHalf(const unsigned short* from, unsigned char* to) noexcept
{
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(units, units));
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

inline void WidenAsciiHalf(const unsigned char* from, unsigned short* to) noexcept
{
    CopyAscii(from, to, kAsciiBlock / 2);
}

inline unsigned int NarrowAsciiBlock(const unsigned short* from, unsigned char* to) noexcept
{
    return CopyAscii(from, to, kAsciiBlock);
}

inline void NarrowAsciiHalf(const unsigned short* from, unsigned char* to) noexcept
{
    CopyAscii(from, to, kAsciiBlock / 2);
}

#endif

}  // namespace zvkcore::string

#endif
