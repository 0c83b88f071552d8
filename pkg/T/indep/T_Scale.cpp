// Times on other scales: conversion, doubles, ticks, rounding to a quantum. No state.

#include <cmath>
#include <limits>

#include "M.h"
#include "T_Time.h"
#include "Tp_Time.h"
#include "U_Err.h"
#include "U_ErrState.h"
#include "Up_Err.h"

namespace {

// A double held inside 64 bits; 0 for what is no number.
int64_t ToInt64(double whole)
{
    constexpr double kTwoTo63 = 9223372036854775808.0;
    if (std::isnan(whole)) return 0;
    if (whole >= kTwoTo63) return std::numeric_limits<int64_t>::max();
    if (whole < -kTwoTo63) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(whole);
}

// Converts with every error held back, and lets go all but overflow, which the caller meets in doubles.
Err ConvertWithoutOverflowReport(const T_Time& time, uint32_t scale, T_Time* out)
{
    U_DeferredReportingState state;
    U_DeferredReportingStart(U_Sev_FATAL, &state);
    const Err err = T_ConvTime(&time, scale, out, nullptr);
    U_DeferredReportingEndAsync(err != U_Err_NONE && err != M_Err_OVERFLOW, true, nullptr, &state);
    return err;
}

// Rounds in doubles, halves up. A quantum of 0 leaves the time as it is.
Err RoundInDoubles(const T_Time& time, const T_Time& quantum, T_Time* out)
{
    const double x = static_cast<double>(time.value) / static_cast<double>(time.scale);
    const double q = std::fabs(static_cast<double>(quantum.value) / static_cast<double>(quantum.scale));
    double rounded = x;
    if (q != 0) {
        double remainder = M_fmod(x, q);
        if (remainder < 0) remainder += q;
        const double base = x - remainder;
        rounded = remainder >= q * 0.5 ? base + q : base;
    }
    M_Ratio ratio;
    uint8_t overflow = 0;
    M_FpLong2Ratio(&ratio, &overflow, rounded);
    *out = Tp_Time(ratio);
    if (overflow == 0) return U_Err_NONE;
    U_ReportFailedVerification(Tp_kModule | 1, __LINE__, nullptr, "ratio overflow.");
    return U_Err_BAD_PARAMETER;
}

}  // namespace

Err T_ConvTime(const T_Time* time, uint32_t scale, T_Time* out, uint8_t* exact)
{
    M_Ratio ratio = Tp_Ratio(*time);
    M_Ratio converted;
    uint8_t overflow = 0;
    uint32_t err = M_ConvRatio(&ratio, scale, &converted, exact, &overflow);
    if (err == 0 && overflow != 0) {
        M_ReduceRatio(&ratio, &ratio, nullptr);
        err = M_ConvRatio(&ratio, scale, &converted, exact, nullptr);
    }
    *out = Tp_Time(converted);
    return static_cast<Err>(err);
}

Err T_ShortConvTime(int32_t value, uint32_t scale, uint32_t new_scale, int32_t* out)
{
    uint8_t overflow = 0;
    uint32_t err = M_ShortConvRatio(value, scale, new_scale, out, &overflow);
    if (err == 0 && overflow != 0) {
        M_Ratio ratio = {value, scale};
        M_ReduceRatio(&ratio, &ratio, nullptr);
        err = M_ShortConvRatio(ratio.num, ratio.den, new_scale, out, nullptr);
    }
    return static_cast<Err>(err);
}

Err T_FpLong2Time(T_Time* out, double seconds)
{
    M_Ratio ratio;
    uint8_t overflow = 0;
    M_FpLong2Ratio(&ratio, &overflow, seconds);
    *out = Tp_Time(ratio);
    if (overflow == 0) return U_Err_NONE;
    Up_ReportErrString(0, U_Sev_PROBLEM, Tp_String(Tp_Text_OUT_OF_RANGE));
    return U_Err_BAD_PARAMETER;
}

int32_t T_FpLong2TimeValue(uint32_t scale, double seconds)
{
    const int32_t value = M_RoundDoubleSafe(static_cast<double>(scale) * seconds);
    // The value of T_BadTime is never the value of a computed time.
    return value == T_BadTime.value ? T_BadTime.value + 1 : value;
}

int64_t T_TimeToTicks(T_Time time)
{
    return ToInt64(std::floor(
        static_cast<double>(time.value) * T_kTicksPerSecond / static_cast<double>(time.scale) + 0.5));
}

T_Time T_TicksToTime(int64_t ticks, uint32_t scale)
{
    return {M_RoundDoubleSafe(static_cast<double>(ticks) * static_cast<double>(scale) / T_kTicksPerSecond),
            scale};
}

int32_t T_FloatTimeValueToTimeValue(double value)
{
    return Mp_WrapToInt32(std::round(value));
}

Err T_RoundToNearestTime(const T_Time* time, const T_Time* quantum, T_Time* out)
{
    const T_Time exact = *time;
    const T_Time step = *quantum;
    T_Time converted;
    const Err err = ConvertWithoutOverflowReport(exact, step.scale, &converted);
    if (err == M_Err_OVERFLOW) return RoundInDoubles(exact, step, out);
    *out = converted;
    if (err == U_Err_NONE) out->value = M_RoundToNearestMult(converted.value, step.value);
    return err;
}
