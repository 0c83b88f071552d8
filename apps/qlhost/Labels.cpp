#include "Labels.h"

#include <U_TrySection.h>

#include <algorithm>

namespace qlhost {
namespace {

// The fractional rates are the family of 2997 hundredths, rounded to 16.16.
// Without a word about it, the rates that can count drop-frame do.
constexpr Rate kRates[] = {
    {"23.976", 1571291, true},   {"24", 24 << 16, true},      {"25", 25 << 16, true},
    {"29.97", 1964114, false},   {"29.97df", 1964114, false}, {"29.97ndf", 1964114, true},
    {"30", 30 << 16, true},      {"59.94", 3928228, false},   {"59.94df", 3928228, false},
    {"59.94ndf", 3928228, true},
};

T_TimeFormatInfo FormatOf(const Rate& rate)
{
    T_TimeFormatInfo info = {};
    info.useTimecode = 1;
    info.nonDrop = rate.nonDrop;
    return info;
}

}  // namespace

const Rate* FindRate(std::string_view name)
{
    const auto* found =
        std::find_if(std::begin(kRates), std::end(kRates), [&](const Rate& r) { return r.name == name; });
    return found == std::end(kRates) ? nullptr : found;
}

std::string RateNames()
{
    std::string names;
    for (const Rate& rate : kRates) names += (names.empty() ? "" : ", ") + std::string{rate.name};
    return names;
}

T_Time FrameDuration(const Rate& rate)
{
    const T_TimeFormatInfo info = FormatOf(rate);
    unsigned char isTimecode = 0, isDrop = 0, isNonDropNtsc = 0;
    T_Time duration = {};
    T_ExamineTimeInfo(&info, rate.fixed, &isTimecode, &isDrop, &isNonDropNtsc, &duration);
    return duration;
}

std::string Timecode(const Rate& rate, std::int64_t frame)
{
    const T_TimeFormatInfo info = FormatOf(rate);
    char text[64] = "";
    const Err err = U_TrySection([&] {
        const T_Time duration = FrameDuration(rate);
        if (frame > INT32_MAX / duration.value || frame < 0) throw int{U_Err_OUT_OF_RANGE};
        const T_Time time = {static_cast<std::int32_t>(frame * duration.value), duration.scale};
        T_GeneralFormatTime(&time, &info, T_TimeFormatType_Duration, rate.fixed, true, text);
    });
    return err ? "--:--:--:--" : text;
}

}  // namespace qlhost
