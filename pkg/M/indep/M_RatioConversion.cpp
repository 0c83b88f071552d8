// Ratios over another denominator, through doubles. No state.

#include "M.h"
#include "M_Ratio.h"
#include "Mp_Err.h"
#include "Mp_Ratio.h"

namespace {

constexpr uint32_t kRatioLocation = 18;
constexpr uint32_t kIntegerLocation = 19;

// The order of these operations decides the last bit, and with it which way a half falls.
double Rescale(int32_t num, uint32_t den, uint32_t new_den)
{
    return static_cast<double>(new_den) / static_cast<double>(den) * static_cast<double>(num);
}

bool FitsInt32(double value)
{
    return !(value > 2147483647.0 || value < -2147483648.0);
}

// Reports an overflow that the caller has no byte for.
uint32_t AnswerOverflow(uint32_t location, uint8_t* overflow)
{
    if (overflow == nullptr) return Mp_ReportErr(location, M_Err_OVERFLOW, Mp_Text_CONVERTING);
    *overflow = 1;
    return 0;
}

}  // namespace

uint32_t M_ConvRatio(const M_Ratio* in, uint32_t denominator, M_Ratio* out, uint8_t* exact, uint8_t* overflow)
{
    const M_Ratio ratio = *in;
    if (overflow != nullptr) *overflow = 0;
    if (ratio.den == 0 || denominator == 0) {
        *out = {0, 0};
        return Mp_ReportErr(kRatioLocation, M_Err_ZERO_DENOMINATOR, Mp_Text_CONVERTING);
    }
    if (exact != nullptr) *exact = 1;
    if (ratio.den == denominator) {
        *out = ratio;
        return 0;
    }
    const double value = Rescale(ratio.num, ratio.den, denominator);
    if (!FitsInt32(value)) {
        if (exact != nullptr) *exact = 0;
        *out = {0, 0};
        return AnswerOverflow(kRatioLocation, overflow);
    }
    *out = {M_RoundDouble(value), denominator};
    if (exact != nullptr) {
        *exact = static_cast<double>(ratio.num) * static_cast<double>(denominator) ==
                 static_cast<double>(ratio.den) * static_cast<double>(out->num);
    }
    return 0;
}

uint32_t M_ShortConvRatio(int32_t numerator, uint32_t denominator, uint32_t new_denominator, int32_t* out,
                          uint8_t* overflow)
{
    *out = 0;
    if (overflow != nullptr) *overflow = 0;
    if (denominator == 0 || new_denominator == 0) {
        return Mp_ReportErr(kIntegerLocation, M_Err_ZERO_DENOMINATOR, Mp_Text_CONVERTING);
    }
    if (denominator == new_denominator) {
        *out = numerator;
        return 0;
    }
    const double value = Rescale(numerator, denominator, new_denominator);
    if (!FitsInt32(value)) return AnswerOverflow(kIntegerLocation, overflow);
    *out = M_RoundDouble(value);
    return 0;
}
