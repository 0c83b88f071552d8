/// A row of a matrix, or a point, as four doubles that are worked on at once.
///
/// The compiler's own vectors: one wide register where a function is built for such a processor, two narrow
/// ones elsewhere, with the same operations on every element either way. Functions here are inlined into
/// whatever calls them, so they are built for the processor that their caller is built for.
#ifndef MP_LANES_H
#define MP_LANES_H

#include <cstring>

// No vector is passed from one compiled function to another, so how that would be done does not matter.
#pragma GCC diagnostic ignored "-Wpsabi"

#define MP_INLINE [[gnu::always_inline]] inline

typedef double Mp_Lanes __attribute__((vector_size(32)));
typedef long long Mp_Mask __attribute__((vector_size(32)));

MP_INLINE Mp_Lanes Mp_Spread(double value)
{
    return Mp_Lanes{value, value, value, value};
}

/// The first `kCount` elements from memory of any alignment; 0 behind them.
template <int kCount = 4>
MP_INLINE Mp_Lanes Mp_Load(const void* from)
{
    Mp_Lanes lanes = {0, 0, 0, 0};
    std::memcpy(&lanes, from, kCount * sizeof(double));
    return lanes;
}

template <int kCount = 4>
MP_INLINE void Mp_Store(const Mp_Lanes& lanes, void* to)
{
    std::memcpy(to, &lanes, kCount * sizeof(double));
}

/// Element `kIndex` of what stands in memory, in all lanes.
template <int kIndex>
MP_INLINE Mp_Lanes Mp_LoadSpread(const void* from)
{
    double value;
    std::memcpy(&value, static_cast<const char*>(from) + kIndex * sizeof value, sizeof value);
    return Mp_Spread(value);
}

/// The product of a row vector in memory and the rows of a matrix of space, summed from left to right.
MP_INLINE Mp_Lanes Mp_TimesRows(const void* vector, const Mp_Lanes (&rows)[4])
{
    return Mp_LoadSpread<0>(vector) * rows[0] + Mp_LoadSpread<1>(vector) * rows[1] +
           Mp_LoadSpread<2>(vector) * rows[2] + Mp_LoadSpread<3>(vector) * rows[3];
}

#endif
