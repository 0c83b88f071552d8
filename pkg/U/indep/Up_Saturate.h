// Arithmetic on byte counts that neither wraps nor overflows: it is that of mathematics, held to 64 bits.
#ifndef UP_SATURATE_H
#define UP_SATURATE_H

#include <cstdint>
#include <limits>

__extension__ typedef unsigned __int128 Up_Wide;

constexpr std::uint64_t Up_Saturate(Up_Wide value)
{
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    return value > kMost ? kMost : static_cast<std::uint64_t>(value);
}

constexpr std::uint64_t Up_Sum(std::uint64_t a, std::uint64_t b)
{
    return Up_Saturate(Up_Wide{a} + b);
}

/// a - b, or 0 where that is negative.
constexpr std::uint64_t Up_Excess(Up_Wide a, Up_Wide b)
{
    return a > b ? Up_Saturate(a - b) : 0;
}

/// Truncates; what 64 bits cannot hold is the largest value, and a NaN or less than 0 is 0.
constexpr std::uint64_t Up_FromDouble(double value)
{
    if (!(value > 0)) return 0;
    return value >= 0x1p64 ? std::numeric_limits<std::uint64_t>::max() : static_cast<std::uint64_t>(value);
}

static_assert(Up_Sum(UINT64_MAX, 1) == UINT64_MAX && Up_Excess(1, 2) == 0);
static_assert(Up_Excess(Up_Wide{UINT64_MAX} + UINT64_MAX, UINT64_MAX) == UINT64_MAX);
static_assert(Up_FromDouble(0x1p64) == UINT64_MAX && Up_FromDouble(-1) == 0 && Up_FromDouble(2.9) == 2);

#endif
