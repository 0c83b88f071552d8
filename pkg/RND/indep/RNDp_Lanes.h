/// Drawing many values at once. A generator's step waits for the one before it; several lanes, each taking
/// every n-th value of the same stream, keep the machine busy and give the same values in the same order.
#ifndef RNDP_LANES_H
#define RNDP_LANES_H

#include <cstdint>

#include "RND.h"
#include "RNDp_Generator.h"

/// Calls put(i, draw) for each draw, i from 0, and leaves the state behind the last one.
template <class Put>
inline void RNDp_DrawEach(RND_LongState& state, int32_t count, Put put)
{
    constexpr int kLanes = 8;
    constexpr RNDp_Jump kJump(kLanes);
    const uint32_t mask = state.mask;
    const uint32_t shift = state.shift & 31;  // a state out of a damaged project must not shift further
    uint32_t x = state.seed;
    int32_t i = 0;
    if (count >= kLanes) {
        uint32_t lane[kLanes];
        for (uint32_t& value : lane) value = x = RNDp_Next(x);
        for (;;) {
            for (int k = 0; k < kLanes; ++k) put(i + k, (lane[k] & mask) >> shift);
            x = lane[kLanes - 1];
            i += kLanes;
            if (count - i < kLanes) break;
            for (uint32_t& value : lane) value = kJump(value);
        }
    }
    for (; i < count; ++i) {
        x = RNDp_Next(x);
        put(i, (x & mask) >> shift);
    }
    state.seed = x;
}

/// The remainder by one divisor, for every 32-bit value, by two multiplications.
/// source  D. Lemire, O. Kaser, N. Kurz, "Faster remainder by direct computation" (2019)
class RNDp_Remainder {
  public:
    explicit RNDp_Remainder(uint32_t divisor) : m_reciprocal(UINT64_MAX / divisor + 1), m_divisor(divisor) {}

    uint32_t operator()(uint32_t value) const
    {
        __extension__ using Wide = unsigned __int128;
        const uint64_t fraction = m_reciprocal * value;
        return static_cast<uint32_t>((static_cast<Wide>(fraction) * m_divisor) >> 64);
    }

  private:
    uint64_t m_reciprocal;  // 2^64 / divisor, rounded up; 0 for divisor 1, whose remainders are 0
    uint32_t m_divisor;
};

#endif
