// Frame rates: the duration of a frame, how many frames a time holds, the highest rate.
//
// State: the highest frame rate, one atomic word for the life of the process.

#include <atomic>
#include <cmath>

#include "T_Time.h"
#include "Tp_Rate.h"
#include "Tp_Time.h"

namespace {

constexpr int32_t kHighestFPS = 999;

std::atomic<int32_t> g_maxFPS{kHighestFPS};

struct KnownRate {
    int32_t rate;
    M_Ratio duration;
};

constexpr KnownRate kKnownRates[] = {
    {Tp_Rate_29_97, {100, 2997}},    {Tp_Rate_59_94, {100, 5994}},    {Tp_Rate_23_976, {1000, 23976}},
    {Tp_Rate_11_988, {1000, 11988}}, {Tp_Rate_14_985, {1000, 14985}},
};

M_Ratio DurationOf(int32_t rate)
{
    for (const KnownRate& known : kKnownRates) {
        if (Tp_IsNearRate(rate, known.rate)) return known.duration;
    }
    const double fps = rate * (1.0 / 65536);
    if (fps != std::floor(fps)) return {1000, static_cast<uint32_t>(M_RoundDouble(fps * 1000))};
    return {65536, static_cast<uint32_t>(rate)};
}

}  // namespace

Err T_FrameRate2Duration(int32_t rate, T_Time* out)
{
    const M_Ratio duration = DurationOf(rate);
    M_Ratio lowest;
    const uint32_t err = M_ReduceRatio(&duration, &lowest, nullptr);
    *out = Tp_Time(lowest);
    return static_cast<Err>(err);
}

Err Tp_CountUnits(const T_Time& amount, const T_Time& unit, Tp_Quotient* out)
{
    const M_Ratio dividend = Tp_Ratio(Tp_Magnitude(amount));
    const M_Ratio divisor = Tp_Ratio(Tp_Magnitude(unit));
    M_Ratio reciprocal;
    M_Ratio quotient;
    uint32_t err = M_RecipRatio(&divisor, &reciprocal, nullptr);
    if (err == 0) err = M_MulRatio(&dividend, &reciprocal, &quotient, M_ApproximateSilently);
    *out = err == 0 ? Tp_Quotient{static_cast<uint32_t>(quotient.num), quotient.den} : Tp_Quotient{0, 1};
    return static_cast<Err>(err);
}

Err T_CountFrames(const T_Time* duration, const T_Time* frame_duration, bool round_up, int32_t* out)
{
    Tp_Quotient frames;
    const Err err = Tp_CountUnits(*duration, *frame_duration, &frames);
    *out = static_cast<int32_t>(round_up ? frames.RoundedUp() : frames.RoundedDown());
    return err;
}

Err T_CountFramesFloat(const T_Time* duration, const T_Time* frame_duration, bool round_up, double* out)
{
    Tp_Quotient frames;
    const Err err = Tp_CountUnits(*duration, *frame_duration, &frames);
    *out = static_cast<double>(round_up ? frames.RoundedUp() : frames.RoundedDown());
    return err;
}

void T_SetMaxFPS(int32_t fps)
{
    g_maxFPS.store(fps < 1 ? 1 : fps > kHighestFPS ? kHighestFPS : fps);
}

int32_t T_GetMaxFPS(void)
{
    return g_maxFPS.load();
}
