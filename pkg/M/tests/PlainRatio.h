/// Ratio arithmetic written down step by step, with leading zeros counted and every divisor taken, to compare
/// the faster code with.
#ifndef M_TESTS_PLAINRATIO_H
#define M_TESTS_PLAINRATIO_H

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <ostream>
#include <random>
#include <utility>

#include "M_Ratio.h"

namespace plain {

inline uint32_t Magnitude(int32_t v)
{
    return v < 0 ? 0u - static_cast<uint32_t>(v) : static_cast<uint32_t>(v);
}
inline bool UMul(uint32_t a, uint32_t b)
{
    return std::countl_zero(a) + std::countl_zero(b) < 32;
}
inline bool Mul(int32_t a, int32_t b)
{
    return std::countl_zero(Magnitude(a)) + std::countl_zero(Magnitude(b)) <= 32;
}
inline bool Add(int32_t a, int32_t b)
{
    const int64_t sum = int64_t{a} + b;
    return sum != static_cast<int32_t>(sum);
}
inline int32_t Negate(int32_t v)
{
    return static_cast<int32_t>(0u - static_cast<uint32_t>(v));
}

inline bool Divide(int32_t& num, uint32_t& den)
{
    const uint32_t g = den == 0 ? 1 : std::gcd(Magnitude(num), den);
    if (g != 1 && g < 0x80000000u) {
        num /= static_cast<int32_t>(g);
        den /= g;
    }
    return g != 1;
}

// The larger terms first: the expansion of x, or of 1/x below 1.
inline M_Ratio Best(double value)
{
    constexpr uint32_t kLimit = 0x40000000;
    if (std::isnan(value)) return {kLimit, 1};
    const int32_t s = value < 0 ? -1 : 1;
    const float x = std::fabs(static_cast<float>(value));
    uint32_t q = 0, r = 0, d = 0;
    const bool large = x >= 1;
    if (large) {
        if (x >= 0x1p31F || std::trunc(x) >= 0x1p30F) return {s * static_cast<int32_t>(kLimit), 1};
        q = static_cast<uint32_t>(x);
        d = 1u << 23;
        r = static_cast<uint32_t>((x - static_cast<float>(q)) * 0x1p23F);
        if (r == 0) return {s * static_cast<int32_t>(q), 1};
    } else {
        if (x <= 0x1p-31F) return {0, 1};
        int e = 0;
        std::frexp(x, &e);
        const int sh = 24 - e;
        d = static_cast<uint32_t>(std::ldexp(x, sh));
        int bits = std::min(sh, 31);
        q = (1u << bits) / d;
        r = (1u << bits) % d;
        for (bits = sh - bits; bits > 0;) {
            const int step = std::min(bits, 8);
            q = (q << step) + (r << step) / d;
            r = (r << step) % d;
            bits -= step;
        }
        if (q >> 31) return {0, 1};
        if (q >= kLimit) return {s, kLimit};
        if (r == 0) return {s, q};
    }
    uint32_t k0 = 1, p0 = 0, k = q, p = 1;
    for (;;) {
        const uint32_t a = d / r, r2 = d % r;
        d = r;
        r = r2;
        const uint32_t most = (kLimit - k0) / k;
        if (most > a) {
            const uint32_t k2 = k0 + a * k, p2 = p0 + a * p;
            k0 = k, p0 = p, k = k2, p = p2;
            if (r == 0) break;
            continue;
        }
        bool semi = 2 * most > a;
        if (2 * most == a) {
            const auto limbs = [](uint32_t u, uint32_t v) {
                const uint32_t uh = u >> 16, ul = u & 0xFFFF, vh = v >> 16, vl = v & 0xFFFF;
                const uint32_t low = ul * vl, mid = uh * vl + ul * vh + (low >> 16);
                const uint32_t high = uh * vh + ((uh * vl) >> 16) + ((ul * vh) >> 16) + (mid & 0xFFFF);
                return std::pair(high, low & 0xFFFF);
            };
            semi = limbs(d, large ? p0 : k0) > limbs(r, large ? p : k);
        }
        if (semi) k = k0 + most * k, p = p0 + most * p;
        break;
    }
    return large ? M_Ratio{s * static_cast<int32_t>(k), p} : M_Ratio{s * static_cast<int32_t>(p), k};
}

struct Result {
    M_Ratio ratio;
    uint8_t status;
};

inline Result Approximate(double d)
{
    int e = 0;
    if (std::frexp(d, &e) == 0 || e <= -32) return {{0, 1}, 2};
    if (e >= 32) return {{0, 0}, 1};
    M_Ratio out = Best(d);
    Divide(out.num, out.den);
    return {out, 2};
}

inline bool TrySum(M_Ratio a, M_Ratio b, bool subtract, M_Ratio& out)
{
    const int32_t n = subtract ? Negate(b.num) : b.num;
    if (a.num == 0) return out = {n, b.den}, true;
    if (b.num == 0) return out = a, true;
    if (a.den == b.den) return !Add(a.num, n) && (out = {a.num + n, a.den}, true);
    const uint32_t g = std::gcd(a.den, b.den), ma = b.den / g, mb = a.den / g;
    if (UMul(ma, a.den) || Mul(static_cast<int32_t>(ma), a.num) || Mul(static_cast<int32_t>(mb), n))
        return false;
    const int32_t left = static_cast<int32_t>(ma) * a.num, right = static_cast<int32_t>(mb) * n;
    return !Add(left, right) && (out = {left + right, ma * a.den}, true);
}

inline Result Sum(M_Ratio a, M_Ratio b, bool subtract, bool approximate)
{
    M_Ratio x = a, y = b, out = {};
    for (int round = 0; round < 4; ++round) {  // a fourth round means that they repeat for ever
        if (TrySum(x, y, subtract, out)) return {out, 0};
        const bool first = Divide(x.num, x.den), second = Divide(y.num, y.den);
        if (!first && !second && !approximate) break;
        if (!first && !second) {
            const double left = static_cast<double>(a.num) / a.den,
                         right = static_cast<double>(b.num) / b.den;
            return Approximate(subtract ? left - right : left + right);
        }
    }
    return {{0, 0}, 1};
}

inline Result Product(M_Ratio a, M_Ratio b, bool approximate)
{
    M_Ratio x = a, y = b;
    const auto fits = [&] { return !UMul(x.den, y.den) && !Mul(x.num, y.num); };
    if (fits()) return {{x.num * y.num, x.den * y.den}, 0};
    const bool any =
        Divide(x.num, x.den) + Divide(y.num, y.den) + Divide(y.num, x.den) + Divide(x.num, y.den) > 0;
    if (any && fits()) return {{x.num * y.num, x.den * y.den}, 0};
    if (!approximate) return {{0, 0}, 1};
    return Approximate((static_cast<double>(a.num) / a.den) * (static_cast<double>(b.num) / b.den));
}

// Ratios of every size: sizes in bits are drawn first, and the words at the ends come often.
class Ratios {
  public:
    explicit Ratios(uint32_t seed) : m_engine(seed) {}

    M_Ratio Next()
    {
        const auto num = static_cast<int32_t>(Word());
        const uint32_t den = Word();
        return {m_engine() % 2 != 0 ? num : Negate(num), den == 0 ? 1 : den};
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
