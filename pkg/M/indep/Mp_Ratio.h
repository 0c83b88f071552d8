/// What the ratio functions share among themselves, and with the tests.
#ifndef MP_RATIO_H
#define MP_RATIO_H

#include <bit>

#include "M_Ratio.h"
#include "Mp_Integer.h"

/// The texts of the family that ratio reports name (rows of `M_G_zref`).
enum Mp_RatioText : int {
    Mp_Text_ADDITION = 11,
    Mp_Text_SUBTRACTION = 12,
    Mp_Text_MULTIPLY = 13,
    Mp_Text_CONVERTING = 14,
    Mp_Text_COMPARING = 15,
    Mp_Text_INVALID_RANGE = 16,
    Mp_Text_SPAN = 17,
    Mp_Text_DIVIDE = 29
};

/// a + b, or a - b. `text` names the operation in a report. Arguments and result are those of `M_AddRatio`.
uint32_t Mp_CalcRatio(const M_Ratio* a, const M_Ratio* b, bool subtract, int text, M_Ratio* out,
                      uint8_t* status);

/// The best ratio near a double, both terms at most 2^30, in lowest terms. 0/1 for magnitudes up to 2^-31,
/// 2^30/1 with the sign from 2^30 up; not-a-number gives 2^30/1.
void Mp_Double2RatioSmart(double value, M_Ratio* out);

/// Results in doubles from this magnitude on, a binary exponent of 32, are out of range.
constexpr double Mp_kOutOfRange = 0x1p31;

/// The full signed product in two words. Returns 0.
uint32_t Mp_LongMul(int32_t a, int32_t b, M_Int64* out);

/// Writes both terms in one store. Whoever reads the ratio as a whole right after it would otherwise wait for
/// two stores to reach the cache.
inline void Mp_Store(int32_t num, uint32_t den, M_Ratio* out)
{
    constexpr bool kNumIsLow = std::endian::native == std::endian::little;
    const uint64_t low = kNumIsLow ? static_cast<uint32_t>(num) : den;
    const uint64_t high = kNumIsLow ? den : static_cast<uint32_t>(num);
    *out = std::bit_cast<M_Ratio>(high << 32 | low);
}

/// The sum over the least common denominator of two that differ, unless it might not fit.
///
/// The rule is about the factors that bring both operands to that denominator. Where their products are
/// plainly below the bits at which the conservative tests begin to refuse, it need not be applied: the terms
/// of the plain cross products are divided instead, and the sum of two numerators below 2^30 cannot wrap.
bool Mp_SumByFactorsFits(M_Ratio a, M_Ratio b, uint32_t divisor, M_Ratio* out);

inline bool Mp_SumOfScalesFits(M_Ratio a, M_Ratio b, M_Ratio* out)
{
    const uint32_t divisor = Mp_GCDOfPositive(a.den, b.den);
    const uint64_t den = uint64_t{a.den} * b.den;
    const int64_t a_part = int64_t{a.num} * b.den;
    const int64_t b_part = int64_t{b.num} * a.den;
    const int64_t plain = int64_t{divisor} << 30;
    if (den >= 2 * static_cast<uint64_t>(plain) || a_part >= plain || a_part <= -plain || b_part >= plain ||
        b_part <= -plain) {
        return Mp_SumByFactorsFits(a, b, divisor, out);
    }
    Mp_Store(static_cast<int32_t>((a_part + b_part) / divisor), static_cast<uint32_t>(den / divisor), out);
    return true;
}

/// The sum of operands with denominators, unless it might not fit; then `out` is not written.
[[gnu::always_inline]] inline bool Mp_SumFits(M_Ratio a, M_Ratio b, bool subtract, M_Ratio* out)
{
    if (subtract) b.num = Mp_Negate(b.num);
    if (a.num == 0) {
        Mp_Store(b.num, b.den, out);
        return true;
    }
    if (b.num == 0) {
        Mp_Store(a.num, a.den, out);
        return true;
    }
    if (a.den != b.den) return Mp_SumOfScalesFits(a, b, out);
    if (Mp_AddOverflows(a.num, b.num)) return false;
    Mp_Store(a.num + b.num, a.den, out);
    return true;
}

#endif
