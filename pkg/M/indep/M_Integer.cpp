// The integer helpers under their public names, and the ways from doubles to 32 bits.

#include "Mp_Integer.h"

#include <cmath>

#include "M_Ratio.h"
#include "Mp_Ratio.h"

int M_AddWouldOverflow(int32_t a, int32_t b)
{
    return Mp_AddOverflows(a, b);
}

int M_MulWouldOverflow(int32_t a, int32_t b)
{
    return Mp_MulOverflows(a, b);
}

int M_UMulWouldOverflow(uint32_t a, uint32_t b)
{
    return Mp_UMulOverflows(a, b);
}

uint32_t M_UnsignedGCD(uint32_t a, uint32_t b, uint32_t* out)
{
    *out = Mp_GCD(a, b);
    return 0;
}

uint32_t Mp_LongMul(int32_t a, int32_t b, M_Int64* out)
{
    const int64_t product = int64_t{a} * b;
    out->hi = static_cast<int32_t>(product >> 32);
    out->lo = static_cast<uint32_t>(product);
    return 0;
}

int32_t Mp_WrapToInt32(double whole)
{
    constexpr double kTwoTo32 = 4294967296.0;
    constexpr double kTwoTo63 = 9223372036854775808.0;
    if (!std::isfinite(whole)) return 0;
    if (whole < -kTwoTo63 || whole >= kTwoTo63) whole = std::fmod(whole, kTwoTo32);
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<int64_t>(whole)));
}

// Wanted: x + 0.5 and x - 0.5 are formed in doubles, so the largest double below 0.5 rounds to 1 and its
// negative to -1. Stored values were rounded this way; floor(x + 0.5) done exactly would differ.
double Mp_RoundToWhole(double x)
{
    if (x > 0) return std::floor(x + 0.5);
    const double up = x + 0.5;
    return up == std::floor(up) ? up : std::trunc(x - 0.5);
}

int32_t M_RoundDouble(double x)
{
    return Mp_WrapToInt32(Mp_RoundToWhole(x));
}

int32_t M_RoundDoubleSafe(double x)
{
    if (x > 2147483646.5) return INT32_MAX;
    if (x < -2147483647.5) return INT32_MIN;
    return M_RoundDouble(x);
}

int32_t M_RoundToNearestMult(int32_t v, int32_t m)
{
    if (m == 0) return v;
    // -1 divides everything, and -2^31 mod -1 would trap.
    const auto remainder = [m](int32_t value) { return m == -1 ? 0 : value % m; };
    const int32_t half = m / 2;
    if (v >= 0) {
        const int32_t sum = Mp_Add(half, v);
        return Mp_Add(sum, Mp_Negate(remainder(sum)));
    }
    const int32_t sum = Mp_Add(half, Mp_Negate(v));
    return Mp_Add(remainder(sum), Mp_Negate(sum));
}

double M_fmod(double x, double y)
{
    return std::fmod(x, y);
}
