// Ratio arithmetic: sums, products, quotients, reciprocals.
//
// Every operation first tries 32 bits as they are, then with its operands reduced, then, if the caller
// allows, through doubles. The caller's status argument is read once, at the edge, and answered once, at the
// end. No state.

#include "M_Ratio.h"

#include <algorithm>
#include <cmath>

#include "M.h"
#include "Mp_Err.h"
#include "Mp_Integer.h"
#include "Mp_Ratio.h"

namespace {

constexpr uint32_t kSumLocation = 16;
constexpr uint32_t kProductLocation = 17;
constexpr M_Ratio kFailed = {0, 0};

bool IsByte(const uint8_t* status)
{
    return status != nullptr && status != M_ApproximateSilently;
}

// The short answer where the first try succeeded.
void AnswerExact(uint8_t* status)
{
    if (IsByte(status)) *status = M_Status_EXACT;
}

// The caller's last argument in its three forms: nothing, the pointer of all ones, or a real byte.
class StatusArgument {
  public:
    explicit StatusArgument(uint8_t* argument)
        : m_byte(IsByte(argument) ? argument : nullptr), m_mayApproximate(argument == M_ApproximateSilently)
    {
        if (m_byte == nullptr) return;
        m_mayApproximate = (*m_byte & M_Status_APPROXIMATED) != 0;
        *m_byte = M_Status_EXACT;
    }

    bool MayApproximate() const { return m_mayApproximate; }

    // Answers the caller. A byte is an answer; without one an overflow is reported.
    uint32_t Answer(uint8_t status, uint32_t location, int text, M_Ratio* out) const
    {
        if (status == M_Status_OVERFLOW) *out = kFailed;
        if (m_byte != nullptr) {
            *m_byte = status;
            return 0;
        }
        return status == M_Status_OVERFLOW ? Mp_ReportErr(location, M_Err_OVERFLOW, text) : 0;
    }

  private:
    uint8_t* m_byte;  // null for the other two forms
    bool m_mayApproximate;
};

uint32_t FailForZeroDenominator(uint32_t location, int text, M_Ratio* out)
{
    *out = kFailed;
    return Mp_ReportErr(location, M_Err_ZERO_DENOMINATOR, text);
}

// Turns a result in doubles back into a ratio, and gives its status.
uint8_t Approximate(double value, M_Ratio* out)
{
    if (std::fabs(value) >= Mp_kOutOfRange) return M_Status_OVERFLOW;
    Mp_Double2RatioSmart(value, out);
    return M_Status_APPROXIMATED;
}

double AsDouble(const M_Ratio& ratio)
{
    return static_cast<double>(ratio.num) / static_cast<double>(ratio.den);
}

enum class Reduction { kFits, kExhausted, kEndless };

// The sum of reduced operands, tried again while anything could be reduced.
//
// Operands of -2^31/2^31 have a common divisor of 2^31, which counts as a reduction and divides nothing: by
// that rule alone they are tried again for ever. A round that changed nothing ends it.
Reduction SumOfReduced(M_Ratio a, M_Ratio b, bool subtract, M_Ratio* out)
{
    for (;;) {
        const uint32_t a_den = a.den;
        const uint32_t b_den = b.den;
        const bool a_common = Mp_DivideByGCD(a.num, a.den);
        const bool b_common = Mp_DivideByGCD(b.num, b.den);
        if (!a_common && !b_common) return Reduction::kExhausted;
        if (a.den == a_den && b.den == b_den) return Reduction::kEndless;
        if (Mp_SumFits(a, b, subtract, out)) return Reduction::kFits;
    }
}

// The sum that did not fit at once, or has an operand without a denominator.
[[gnu::noinline]] uint32_t SumTheLongWay(M_Ratio a, M_Ratio b, bool subtract, int text, M_Ratio* out,
                                         uint8_t* status_argument)
{
    const StatusArgument argument(status_argument);
    if (a.den == 0 || b.den == 0) return FailForZeroDenominator(kSumLocation, text, out);
    const Reduction reduction = SumOfReduced(a, b, subtract, out);
    uint8_t status = reduction == Reduction::kFits ? M_Status_EXACT : M_Status_OVERFLOW;
    // An endless sum is an overflow for every caller: it never reached its approximation.
    if (reduction == Reduction::kExhausted && argument.MayApproximate()) {
        status = Approximate(subtract ? AsDouble(a) - AsDouble(b) : AsDouble(a) + AsDouble(b), out);
    }
    return argument.Answer(status, kSumLocation, text, out);
}

inline uint32_t Sum(const M_Ratio& a, const M_Ratio& b, bool subtract, int text, M_Ratio* out,
                    uint8_t* status)
{
    const M_Ratio left = a;
    const M_Ratio right = b;
    if (left.den == 0 || right.den == 0 || !Mp_SumFits(left, right, subtract, out)) {
        return SumTheLongWay(left, right, subtract, text, out, status);
    }
    AnswerExact(status);
    return 0;
}

inline bool ProductFits(const M_Ratio& a, const M_Ratio& b, M_Ratio* out)
{
    if (Mp_UMulOverflows(a.den, b.den) || Mp_MulOverflows(a.num, b.num)) return false;
    Mp_Store(a.num * b.num, a.den * b.den, out);
    return true;
}

// The product of operands that are reduced first each in itself, then across.
uint8_t ProductOfReduced(M_Ratio a, M_Ratio b, M_Ratio* out)
{
    const bool a_common = Mp_DivideByGCD(a.num, a.den);
    const bool b_common = Mp_DivideByGCD(b.num, b.den);
    const bool ba_common = Mp_DivideByGCD(b.num, a.den);
    const bool ab_common = Mp_DivideByGCD(a.num, b.den);
    const bool any_common = a_common || b_common || ba_common || ab_common;
    return any_common && ProductFits(a, b, out) ? M_Status_EXACT : M_Status_OVERFLOW;
}

// The same in one step where the outcome is plain. Reduced in all four ways the product is in lowest terms,
// so one common divisor of the 64-bit products stands for the four. What it cannot tell is how the
// conservative test sees factors whose product has all 31 or 32 bits, and divisors of 2^31 or more, which
// divide nothing.
uint8_t ProductInLowestTerms(const M_Ratio& a, const M_Ratio& b, M_Ratio* out)
{
    constexpr uint64_t kPlainNum = uint64_t{1} << 30;
    constexpr uint64_t kPlainDen = uint64_t{1} << 31;
    const uint64_t num = uint64_t{Mp_Magnitude(a.num)} * Mp_Magnitude(b.num);
    const uint64_t den = uint64_t{a.den} * b.den;
    if (num == 0 || a.den > INT32_MAX || b.den > INT32_MAX) return ProductOfReduced(a, b, out);

    // Terms that leave 31 and 32 bits cannot fit: the divisor has to be above what would leave them.
    const uint64_t divisor = Mp_GCDAbove<uint64_t>(num, den, std::max(num >> 31, den >> 32));
    if (divisor <= 1) return M_Status_OVERFLOW;
    const uint64_t lowest_num = num / divisor;
    const uint64_t lowest_den = den / divisor;
    if (lowest_num >= kPlainNum || lowest_den >= kPlainDen) return ProductOfReduced(a, b, out);
    const auto magnitude = static_cast<int32_t>(lowest_num);
    Mp_Store((a.num ^ b.num) < 0 ? -magnitude : magnitude, static_cast<uint32_t>(lowest_den), out);
    return M_Status_EXACT;
}

[[gnu::noinline]] uint32_t MultiplyTheLongWay(M_Ratio a, M_Ratio b, M_Ratio* out, uint8_t* status_argument)
{
    const StatusArgument argument(status_argument);
    if (a.den == 0 || b.den == 0) return FailForZeroDenominator(kProductLocation, Mp_Text_MULTIPLY, out);
    uint8_t status = ProductInLowestTerms(a, b, out);
    if (status == M_Status_OVERFLOW && argument.MayApproximate()) {
        status = Approximate(AsDouble(a) * AsDouble(b), out);
    }
    return argument.Answer(status, kProductLocation, Mp_Text_MULTIPLY, out);
}

}  // namespace

[[gnu::noinline]] bool Mp_SumByFactorsFits(M_Ratio a, M_Ratio b, uint32_t divisor, M_Ratio* out)
{
    const uint32_t a_factor = b.den / divisor;
    const uint32_t b_factor = a.den / divisor;
    if (Mp_UMulOverflows(a_factor, a.den)) return false;
    // Past this test both factors are below 2^31, so they are numerators too.
    if (Mp_MulOverflows(static_cast<int32_t>(a_factor), a.num)) return false;
    if (Mp_MulOverflows(static_cast<int32_t>(b_factor), b.num)) return false;
    const int32_t a_part = static_cast<int32_t>(a_factor) * a.num;
    const int32_t b_part = static_cast<int32_t>(b_factor) * b.num;
    if (Mp_AddOverflows(a_part, b_part)) return false;
    Mp_Store(a_part + b_part, a_factor * a.den, out);
    return true;
}

uint32_t Mp_CalcRatio(const M_Ratio* a, const M_Ratio* b, bool subtract, int text, M_Ratio* out,
                      uint8_t* status)
{
    return Sum(*a, *b, subtract, text, out, status);
}

uint32_t M_AddRatio(const M_Ratio* a, const M_Ratio* b, M_Ratio* out, uint8_t* status)
{
    return Sum(*a, *b, false, Mp_Text_ADDITION, out, status);
}

uint32_t M_SubRatio(const M_Ratio* a, const M_Ratio* b, M_Ratio* out, uint8_t* status)
{
    return Sum(*a, *b, true, Mp_Text_SUBTRACTION, out, status);
}

uint32_t M_MulRatio(const M_Ratio* a, const M_Ratio* b, M_Ratio* out, uint8_t* status)
{
    const M_Ratio left = *a;
    const M_Ratio right = *b;
    if (left.den == 0 || right.den == 0 || !ProductFits(left, right, out)) {
        return MultiplyTheLongWay(left, right, out, status);
    }
    AnswerExact(status);
    return 0;
}

// Two things here look wrong and are wanted. The status byte is asked for its value 1 (bit 0), not for the
// value 2 of the other operations. And the reciprocal's denominator is the divisor's numerator as a word: for
// a negative divisor that is 2^32 less its magnitude. Callers that divide by any ratio go through
// `M_RecipRatio`; what was stored with this form must come out as it did.
uint32_t M_DivRatio(const M_Ratio* a, const M_Ratio* b, M_Ratio* out, uint8_t* status)
{
    constexpr uint8_t kHalvingBit = 1;
    int32_t num = b->num;
    uint32_t den = b->den;
    const bool is_byte = IsByte(status);
    const bool must_halve = den > INT32_MAX;
    if (must_halve) {
        if (status == nullptr) {
            *out = kFailed;
            return Mp_ReportErr(kProductLocation, M_Err_OVERFLOW, Mp_Text_DIVIDE);
        }
        if (is_byte && (*status & kHalvingBit) == 0) {
            *out = kFailed;
            *status |= kHalvingBit;
            return 0;
        }
        num /= 2;
        den >>= 1;
    }
    const int32_t reciprocal = static_cast<int32_t>(den);
    const M_Ratio factor = {num < 0 ? -reciprocal : reciprocal, static_cast<uint32_t>(num)};
    const uint32_t err = M_MulRatio(a, &factor, out, status);
    if (must_halve && is_byte) *status |= M_Status_APPROXIMATED;
    return err;
}

uint32_t M_ReduceRatio(const M_Ratio* in, M_Ratio* out, uint8_t* reduced)
{
    M_Ratio ratio = *in;
    const bool had_common_divisor = Mp_DivideByGCD(ratio.num, ratio.den);
    if (reduced != nullptr) *reduced = had_common_divisor;
    *out = ratio;
    return 0;
}

// Wanted: 0/n gives n/0 and n/0 gives 0/n without a word. The next operation on n/0 reports it.
uint32_t M_RecipRatio(const M_Ratio* in, M_Ratio* out, uint8_t* exact)
{
    M_Ratio ratio = *in;
    uint8_t is_exact = 1;
    if (ratio.den > INT32_MAX && !Mp_DivideByGCD(ratio.num, ratio.den)) {
        ratio = {ratio.num >> 1, ratio.den >> 1};
        is_exact = 0;
    }
    if (exact != nullptr) *exact = is_exact;
    const int32_t magnitude = static_cast<int32_t>(ratio.den);
    *out = {ratio.num < 0 ? Mp_Negate(magnitude) : magnitude, Mp_Magnitude(ratio.num)};
    return 0;
}
