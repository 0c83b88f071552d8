// Sixteen neighbouring channels to bytes at once, for the two forms whose rule compilers make poor vectors
// of. Same results as the rule, value by value.
#ifndef SMSP_PIXELVECTORS_H
#define SMSP_PIXELVECTORS_H

#if defined(__SSE2__)

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

namespace tessaly {

constexpr std::size_t kVector = 16;

inline __m128i FourToInts(const float* from)
{
    const __m128 full = _mm_set1_ps(255.0f);
    const __m128 scaled = _mm_add_ps(_mm_mul_ps(_mm_loadu_ps(from), full), _mm_set1_ps(0.5f));
    // The maximum with zero second is zero for what is no number.
    return _mm_cvttps_epi32(_mm_min_ps(_mm_max_ps(scaled, _mm_setzero_ps()), full));
}

inline void VectorToBytes(const float* from, std::uint8_t* to)
{
    const __m128i low = _mm_packs_epi32(FourToInts(from), FourToInts(from + 4));
    const __m128i high = _mm_packs_epi32(FourToInts(from + 8), FourToInts(from + 12));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(low, high));
}

// (v * 255 + 16384) >> 15 is (v * 510 + 32768) >> 16: the upper half of v * 510, and 1 if its lower half is
// 32768 or more.
inline __m128i EightToShorts(const std::uint16_t* from)
{
    const __m128i factor = _mm_set1_epi16(510);
    const __m128i values = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i over = _mm_subs_epu16(values, _mm_set1_epi16(INT16_MIN));  // what is above 32768
    const __m128i cut = _mm_sub_epi16(values, over);
    return _mm_add_epi16(_mm_mulhi_epu16(cut, factor), _mm_srli_epi16(_mm_mullo_epi16(cut, factor), 15));
}

inline void VectorToBytes(const std::uint16_t* from, std::uint8_t* to)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to),
                     _mm_packus_epi16(EightToShorts(from), EightToShorts(from + 8)));
}

}  // namespace tessaly

#define SMSP_HAS_VECTORS 1
#else
#define SMSP_HAS_VECTORS 0
#endif

#endif
