/// Ratio arithmetic written down step by step, to compare the faster code with. It stands on the integer
/// helpers (Mp_Integer.h), which are held against their definitions in a test of their own.
#ifndef M_TESTS_PLAINRATIO_H
#define M_TESTS_PLAINRATIO_H

#include <cmath>
#include <cstdint>
#include <numeric>
#include <ostream>
#include <random>
#include <utility>

#include "M_Ratio.h"
#include "Mp_Integer.h"

namespace plain {

// The words by which two products are compared.
inline std::pair<uint32_t, uint32_t> Limbs(uint32_t u, uint32_t v)
{
    const uint32_t uh = u >> 16, ul = u & 0xFFFF, vh = v >> 16, vl = v & 0xFFFF;
    const uint32_t low = ul * vl, mid = uh * vl + ul * vh + (low >> 16);
    return {uh * vh + ((uh * vl) >> 16) + ((ul * vh) >> 16) + (mid & 0xFFFF), low & 0xFFFF};
}

// The expansion of 1/x for x below 1. From 1 up x is a ratio inside the limit itself.
inline M_Ratio Best(double value)
{
    constexpr int32_t kLimit = 1 << 30;
    const int32_t sign = value < 0 ? -1 : 1;
    const float x = std::fabs(static_cast<float>(value));
    if (!(x < kLimit)) return {sign * kLimit, 1};
    if (x <= 0x1p-31F) return {0, 1};
    if (x >= 1) {
        uint32_t den = 1;
        while (x * den != std::trunc(x * den)) den *= 2;
        return {sign * static_cast<int32_t>(x * den), den};
    }
    int exponent = 0;
    std::frexp(x, &exponent);
    const uint64_t power = uint64_t{1} << (24 - exponent);
    auto d = static_cast<uint32_t>(std::ldexp(x, 24 - exponent)), r = static_cast<uint32_t>(power % d);
    if (power / d >= kLimit) return {sign, kLimit};
    uint32_t k0 = 1, p0 = 0, k = static_cast<uint32_t>(power / d), p = 1;
    for (bool ends = false; r != 0 && !ends;) {
        const uint32_t term = d / r;
        d = std::exchange(r, d % r);
        const uint32_t most = (kLimit - k0) / k;
        ends = most <= term;
        if (ends && (2 * most < term || (2 * most == term && Limbs(d, k0) <= Limbs(r, k)))) break;
        const uint32_t step = ends ? most : term;
        k0 = std::exchange(k, k0 + step * k);
        p0 = std::exchange(p, p0 + step * p);
    }
    return {sign * static_cast<int32_t>(p), k};
}

struct Result {
    M_Ratio ratio;
    uint8_t status;
};

inline Result Approximate(double d)
{
    return std::fabs(d) < 0x1p31 ? Result{Best(d), 2} : Result{{0, 0}, 1};
}

inline bool TrySum(M_Ratio a, M_Ratio b, bool subtract, M_Ratio& out)
{
    const int32_t n = subtract ? Mp_Negate(b.num) : b.num;
    if (a.num == 0) return out = {n, b.den}, true;
    if (b.num == 0) return out = a, true;
    if (a.den == b.den) return !Mp_AddOverflows(a.num, n) && (out = {a.num + n, a.den}, true);
    const uint32_t g = std::gcd(a.den, b.den);
    const auto ma = static_cast<int32_t>(b.den / g), mb = static_cast<int32_t>(a.den / g);
    if (Mp_UMulOverflows(b.den / g, a.den) || Mp_MulOverflows(ma, a.num) || Mp_MulOverflows(mb, n)) {
        return false;
    }
    const int32_t left = ma * a.num, right = mb * n;
    return !Mp_AddOverflows(left, right) && (out = {left + right, b.den / g * a.den}, true);
}

inline Result Sum(M_Ratio a, M_Ratio b, bool subtract, bool approximate)
{
    const double left = static_cast<double>(a.num) / a.den, right = static_cast<double>(b.num) / b.den;
    M_Ratio out = {};
    for (int round = 0; round < 4; ++round) {  // a fourth round means that they repeat for ever
        if (TrySum(a, b, subtract, out)) return {out, 0};
        const bool first = Mp_DivideByGCD(a.num, a.den), second = Mp_DivideByGCD(b.num, b.den);
        if (first || second) continue;
        return approximate ? Approximate(subtract ? left - right : left + right) : Result{{0, 0}, 1};
    }
    return {{0, 0}, 1};
}

inline Result Product(M_Ratio a, M_Ratio b, bool approximate)
{
    const double value = (static_cast<double>(a.num) / a.den) * (static_cast<double>(b.num) / b.den);
    const auto fits = [&] { return !Mp_UMulOverflows(a.den, b.den) && !Mp_MulOverflows(a.num, b.num); };
    const auto product = [&] { return Result{{a.num * b.num, a.den * b.den}, 0}; };
    if (fits()) return product();
    bool any = Mp_DivideByGCD(a.num, a.den);
    any |= Mp_DivideByGCD(b.num, b.den);
    any |= Mp_DivideByGCD(b.num, a.den);
    any |= Mp_DivideByGCD(a.num, b.den);
    if (any && fits()) return product();
    return approximate ? Approximate(value) : Result{{0, 0}, 1};
}

// Ratios of every size: sizes in bits are drawn first, and the words at the ends come often.
class Ratios {
  public:
    explicit Ratios(uint32_t seed) : m_engine(seed) {}

    M_Ratio Next()
    {
        const auto num = static_cast<int32_t>(Word());
        const uint32_t den = Word();
        return {m_engine() % 2 != 0 ? num : Mp_Negate(num), den == 0 ? 1 : den};
    }

    uint32_t Word()
    {
        constexpr uint32_t kEnds[] = {0,          1,          2,          0x7FFF,     0x8000,     0xFFFF,
                                      0x3FFFFFFF, 0x40000000, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xC0000000,
                                      0xFFFFFFFF, 2997,       24000,      30000,      48000};
        if (m_engine() % 4 == 0) return kEnds[m_engine() % std::size(kEnds)];
        return static_cast<uint32_t>(m_engine()) >> (m_engine() % 32);
    }

  private:
    std::mt19937 m_engine;
};

}  // namespace plain

inline bool operator==(const M_Ratio& a, const M_Ratio& b)
{
    return a.num == b.num && a.den == b.den;
}
inline std::ostream& operator<<(std::ostream& out, const M_Ratio& ratio)
{
    return out << ratio.num << '/' << ratio.den;
}

#endif
