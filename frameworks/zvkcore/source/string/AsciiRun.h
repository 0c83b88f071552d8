// The step that makes plain ASCII cheap: sixteen or eight characters at once.
//
// Each function reads a whole block, writes a whole block, and gives the count of its leading characters that
// are ASCII; what it wrote behind those means nothing.
#ifndef ZVKCORE_SOURCE_STRING_ASCIIRUN_H
#define ZVKCORE_SOURCE_STRING_ASCIIRUN_H

#include <bit>
#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zvkcore::string {

inline constexpr std::size_t kWidenBlock = 16;   // bytes read, units written
inline constexpr std::size_t kNarrowBlock = 16;  // units read, bytes written

#if defined(__SSE2__)

inline std::size_t WidenAsciiRun(const unsigned char* from, unsigned short* to) noexcept
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i zero = _mm_setzero_si128();
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_unpacklo_epi8(bytes, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 8), _mm_unpackhi_epi8(bytes, zero));
    const auto others = static_cast<unsigned int>(_mm_movemask_epi8(bytes));
    return static_cast<std::size_t>(std::countr_zero(others | 0x10000u));
}

inline std::size_t NarrowAsciiRun(const unsigned short* from, unsigned char* to) noexcept
{
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 8));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(low, high));
    const __m128i beyond = _mm_set1_epi16(static_cast<short>(0xFF80));
    const __m128i zero = _mm_setzero_si128();
    const __m128i ascii = _mm_packs_epi16(_mm_cmpeq_epi16(_mm_and_si128(low, beyond), zero),
                                          _mm_cmpeq_epi16(_mm_and_si128(high, beyond), zero));
    const auto others = ~static_cast<unsigned int>(_mm_movemask_epi8(ascii));
    return static_cast<std::size_t>(std::countr_zero(others | 0x10000u));
}

#else

inline std::size_t WidenAsciiRun(const unsigned char* from, unsigned short* to) noexcept
{
    std::size_t i = 0;
    for (; i < kWidenBlock && from[i] < 0x80; ++i) to[i] = from[i];
    return i;
}

inline std::size_t NarrowAsciiRun(const unsigned short* from, unsigned char* to) noexcept
{
    std::size_t i = 0;
    for (; i < kNarrowBlock && from[i] < 0x80; ++i) to[i] = static_cast<unsigned char>(from[i]);
    return i;
}

#endif

}  // namespace zvkcore::string

#endif
