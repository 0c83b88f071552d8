// The best ratio near a double, by continued fractions in 32-bit integers.
//
// The double is taken to single precision, and that value x is a fraction of a 24-bit mantissa over (or
// times) a power of two. Where both terms of it are inside the limit, x itself is the answer, and the
// continued fraction of x ends there. So only small x are expanded, as 1/x = quotient + remainder / divisor:
// their larger term is the denominator. The result is then the last convergent inside the limit, or the
// semiconvergent at the limit when that is nearer. All of these are in lowest terms. No state.

#include <bit>
#include <cmath>
#include <limits>

#include "M_Ratio.h"
#include "Mp_Ratio.h"

namespace {

constexpr int kLimitBits = 30;
constexpr uint32_t kLimit = 1u << kLimitBits;

// x = mantissa / 2^shift, of a positive normal x; shift may be negative.
struct Dyadic {
    uint32_t mantissa;
    int shift;

    explicit Dyadic(float x)
    {
        constexpr int kFractionBits = std::numeric_limits<float>::digits - 1;
        constexpr int kBias = std::numeric_limits<float>::max_exponent - 1;
        static_assert(std::numeric_limits<float>::is_iec559 && kFractionBits == 23 && kBias == 127);
        const auto bits = std::bit_cast<uint32_t>(x);
        mantissa = (bits & ((1u << kFractionBits) - 1)) | 1u << kFractionBits;
        shift = kFractionBits + kBias - static_cast<int>(bits >> kFractionBits);
    }
};

// Terms of a convergent of 1/x: `large` becomes the denominator of the result.
struct Convergent {
    uint32_t large;
    uint32_t small;
};

// A product in 16-bit limbs, as far as two of them are compared.
//
// Wanted: the low half of the middle sum is added to the high word, which no full product does. It decides
// between two equally good neighbours, so a true product would change stored ratios.
struct LimbProduct {
    uint32_t high;
    uint32_t low;

    LimbProduct(uint32_t x, uint32_t y)
    {
        const uint32_t xh = x >> 16, xl = x & 0xFFFF;
        const uint32_t yh = y >> 16, yl = y & 0xFFFF;
        const uint32_t product = xl * yl;
        const uint32_t middle = xh * yl + xl * yh + (product >> 16);
        high = xh * yh + ((xh * yl) >> 16) + ((xl * yh) >> 16) + (middle & 0xFFFF);
        low = product & 0xFFFF;
    }

    bool Beats(const LimbProduct& other) const
    {
        return high > other.high || (high == other.high && low > other.low);
    }
};

// The last convergent of quotient + remainder / divisor inside the limit, or the nearer semiconvergent at it.
Convergent BestInsideLimit(uint32_t quotient, uint32_t divisor, uint32_t remainder)
{
    Convergent previous = {1, 0};
    Convergent current = {quotient, 1};
    while (remainder != 0) {
        const uint32_t term = divisor / remainder;
        const uint32_t rest = divisor % remainder;
        divisor = remainder;
        remainder = rest;

        const uint32_t room = kLimit - previous.large;
        if (room >= (uint64_t{term} + 1) * current.large) {
            const Convergent next = {previous.large + term * current.large,
                                     previous.small + term * current.small};
            previous = current;
            current = next;
            continue;
        }

        const uint32_t most = room / current.large;
        const Convergent semiconvergent = {previous.large + most * current.large,
                                           previous.small + most * current.small};
        if (2 * most != term) return 2 * most > term ? semiconvergent : current;
        const LimbProduct ours(divisor, previous.large);
        const LimbProduct theirs(remainder, current.large);
        return ours.Beats(theirs) ? semiconvergent : current;
    }
    return current;
}

// The best ratio near x, for x above 2^-31 and below 2^30.
M_Ratio BestRatio(float x)
{
    Dyadic exact(x);
    const int twos = std::countr_zero(exact.mantissa);
    const int lowest_shift = exact.shift - twos;
    if (lowest_shift <= 0) return {static_cast<int32_t>(exact.mantissa >> twos << -lowest_shift), 1};
    if (lowest_shift <= kLimitBits) {
        return {static_cast<int32_t>(exact.mantissa >> twos), 1u << lowest_shift};
    }
    const uint64_t power = uint64_t{1} << exact.shift;
    const uint64_t quotient = power / exact.mantissa;
    if (quotient >= kLimit) return {1, kLimit};
    const Convergent best = BestInsideLimit(static_cast<uint32_t>(quotient), exact.mantissa,
                                            static_cast<uint32_t>(power % exact.mantissa));
    return {static_cast<int32_t>(best.small), best.large};
}

}  // namespace

void Mp_Double2RatioSmart(double value, M_Ratio* out)
{
    const double magnitude = std::fabs(value);
    if (std::isnan(value)) {
        *out = {static_cast<int32_t>(kLimit), 1};
        return;
    }
    if (magnitude < kLimit) {  // what follows fits single precision
        const auto x = static_cast<float>(magnitude);
        *out = x <= 0x1p-31F ? M_Ratio{0, 1} : BestRatio(x);
    } else {
        *out = {static_cast<int32_t>(kLimit), 1};
    }
    if (value < 0) out->num = -out->num;
}

uint32_t M_FpLong2Ratio(M_Ratio* out, uint8_t* overflow, double value)
{
    *overflow = std::isfinite(value) && std::fabs(value) >= Mp_kOutOfRange;
    if (*overflow != 0) {
        *out = {0, 0};
    } else {
        Mp_Double2RatioSmart(value, out);
    }
    return 0;
}
