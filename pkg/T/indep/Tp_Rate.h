/// The frame rates that stand for exact durations, in 16.16 fixed point.
#ifndef TP_RATE_H
#define TP_RATE_H

#include <cstdint>

enum Tp_Rate : int32_t {
    Tp_Rate_11_988 = 785646,
    Tp_Rate_14_985 = 982057,
    Tp_Rate_23_976 = 1571291,
    Tp_Rate_29_97 = 1964114,
    Tp_Rate_59_94 = 3928228
};

/// True within 4 units, both ends included: what rounding to 16.16 and back can do.
constexpr bool Tp_IsNearRate(int32_t rate, int32_t known)
{
    const int64_t difference = int64_t{rate} - known;
    return difference >= -4 && difference <= 4;
}

#endif
