/// The integer steps of ratio arithmetic, inline: what `M_AddWouldOverflow` and its neighbours do for
/// callers.
///
/// The overflow tests look at leading zeros alone, before multiplying. They are conservative on purpose:
/// which operands count as overflow decides which results come out reduced or approximated, so a sharper test
/// would change results.
#ifndef MP_INTEGER_H
#define MP_INTEGER_H

#include <bit>
#include <cstdint>
#include <utility>

/// The magnitude; 2^31 for -2^31.
constexpr uint32_t Mp_Magnitude(int32_t value)
{
    return value < 0 ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
}

// Wrapping arithmetic: two's complement, whatever the operands.
constexpr int32_t Mp_Negate(int32_t value)
{
    return static_cast<int32_t>(0u - static_cast<uint32_t>(value));
}

constexpr int32_t Mp_Add(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

constexpr int32_t Mp_Multiply(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

constexpr bool Mp_AddOverflows(int32_t a, int32_t b)
{
    const int32_t sum = Mp_Add(a, b);
    return ((a ^ sum) & (b ^ sum)) < 0;
}

// The rules as they are stated: by leading zeros.
constexpr bool Mp_LeadingZerosRefuse(uint32_t a, uint32_t b)
{
    return std::countl_zero(a) + std::countl_zero(b) < 32;
}

constexpr bool Mp_LeadingZerosRefuse(int32_t a, int32_t b)
{
    return std::countl_zero(Mp_Magnitude(a)) + std::countl_zero(Mp_Magnitude(b)) <= 32;
}

/// `M_UMulWouldOverflow`. Leading zeros that sum to n put the product between 2^(62-n) and 2^(64-n), so only
/// a product of 32 bits with its top bit set needs them counted, which is slow on most processors.
constexpr bool Mp_UMulOverflows(uint32_t a, uint32_t b)
{
    const uint64_t product = uint64_t{a} * b;
    if (product < uint64_t{1} << 31) return false;
    return product >= uint64_t{1} << 32 || Mp_LeadingZerosRefuse(a, b);
}

/// `M_MulWouldOverflow`, likewise: the product decides below 2^30 and from 2^31 up. 0 times -2^31 counts as
/// overflow by the rule, so a product of 0 is left to it.
constexpr bool Mp_MulOverflows(int32_t a, int32_t b)
{
    const int64_t product = int64_t{a} * b;
    const uint64_t magnitude =
        product < 0 ? 0 - static_cast<uint64_t>(product) : static_cast<uint64_t>(product);
    if (magnitude - 1 < (uint64_t{1} << 30) - 1) return false;
    return magnitude >= uint64_t{1} << 31 || Mp_LeadingZerosRefuse(a, b);
}

/// Greatest common divisor of two values above 0, or 0 if it is `floor` or less.
///
/// Takes out twos, and divides where a plain binary algorithm would subtract again and again. Whatever is
/// left on the way is a bound on the divisor, so a caller that needs a large one is answered early.
template <class Word>
constexpr Word Mp_GCDAbove(Word a, Word b, Word floor)
{
    const int twos = std::countr_zero(a | b);
    a >>= std::countr_zero(a);
    b >>= std::countr_zero(b);
    if (a < b) std::swap(a, b);
    const Word least = floor >> twos;  // the odd part has to be larger
    while (b > least && b > 1) {
        a %= b;
        if (a == 0) return b << twos;
        b -= a;
        a >>= std::countr_zero(a);
        b >>= std::countr_zero(b);
        if (a < b) std::swap(a, b);
    }
    return b > least ? b << twos : 0;
}

constexpr uint32_t Mp_GCDOfPositive(uint32_t a, uint32_t b)
{
    return Mp_GCDAbove<uint32_t>(a, b, 0);
}

/// Greatest common divisor; 1 for b 0, whatever a is, so that a failed ratio is never divided; b for a 0.
constexpr uint32_t Mp_GCD(uint32_t a, uint32_t b)
{
    if (b == 0) return 1;
    return a == 0 ? b : Mp_GCDOfPositive(a, b);
}

/// Divides the terms of a fraction by their common divisor, and tells whether it differed from 1.
///
/// A divisor of 2^31 or more divides nothing and yet counts: such terms claim to be reducible for ever, and
/// callers that repeat have to notice.
constexpr bool Mp_DivideByGCD(int32_t& num, uint32_t& den)
{
    const uint32_t divisor = Mp_GCD(Mp_Magnitude(num), den);
    if (divisor == 1) return false;
    if (static_cast<int32_t>(divisor) > 0) {
        num /= static_cast<int32_t>(divisor);
        den /= divisor;
    }
    return true;
}

/// A whole number that may lie anywhere, modulo 2^32; 0 for what is no finite number.
int32_t Mp_WrapToInt32(double whole);

/// What `M_RoundDouble` rounds to, before 32 bits are asked for.
double Mp_RoundToWhole(double x);

#endif
