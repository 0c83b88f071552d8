// Times taken apart into hours, minutes, seconds and frames, or feet and frames, and put together again.
//
// A format and a rate are examined once into a Tp_Counting; everything else is counting frames. Counts wrap
// at 32 bits. No state but the highest frame rate, read once a call.

#include <algorithm>

#include "T_Format.h"
#include "Tp_Format.h"
#include "Tp_Rate.h"
#include "Tp_Time.h"

namespace {

// A row of the drop-frame rule: frames and labels of ten minutes and of the first minute in them, frames of
// each later minute, labels skipped at it.
struct DropRule {
    int32_t tenMinuteFrames;
    int32_t tenMinuteLabels;
    int32_t firstMinute;
    int32_t laterMinute;
    int32_t skipped;
};

constexpr DropRule kDrop30 = {17982, 18000, 1800, 1798, 2};
constexpr DropRule kDrop60 = {35964, 36000, 3600, 3596, 4};

constexpr bool IsConsistent(const DropRule& rule)
{
    return rule.laterMinute == rule.firstMinute - rule.skipped &&
           rule.tenMinuteLabels == 10 * rule.firstMinute &&
           rule.tenMinuteFrames == rule.tenMinuteLabels - 9 * rule.skipped;
}
static_assert(IsConsistent(kDrop30) && IsConsistent(kDrop60));

const DropRule& RuleOf(int32_t base)
{
    return base == 60 ? kDrop60 : kDrop30;
}

bool IsNtsc(int32_t rate)
{
    return Tp_IsNearRate(rate, Tp_Rate_29_97) || Tp_IsNearRate(rate, Tp_Rate_23_976) ||
           Tp_IsNearRate(rate, Tp_Rate_59_94) || Tp_IsNearRate(rate, Tp_Rate_11_988);
}

// Whole frames per second over 2997. A base outside the table, or a rate that is not near the row's own,
// counts in whole frames per second. 14.985 has no row: it is an exact duration only outside of formats.
struct NtscRow {
    int32_t base;
    int32_t rate;  // the rate that the row asks for; 0 for every NTSC rate
    T_Time duration;
    bool canDrop;
};

constexpr NtscRow kNtscRows[] = {
    {30, 0, {100, 2997}, true},
    {12, Tp_Rate_11_988, {250, 2997}, false},
    {60, 0, {50, 2997}, true},
    {24, Tp_Rate_23_976, {125, 2997}, false},
};

const NtscRow* FindNtscRow(int32_t base, int32_t rate)
{
    if (!IsNtsc(rate)) return nullptr;
    for (const NtscRow& row : kNtscRows) {
        if (row.base == base && (row.rate == 0 || Tp_IsNearRate(rate, row.rate))) return &row;
    }
    return nullptr;
}

Tp_Quotient CountOrThrow(const T_Time& amount, const T_Time& unit)
{
    Tp_Quotient quotient;
    const Err err = Tp_CountUnits(amount, unit, &quotient);
    if (err != U_Err_NONE) throw static_cast<int>(err);
    return quotient;
}

int32_t Absolute(int32_t value)
{
    return value < 0 ? Mp_Negate(value) : value;
}

// The offset in frames, with its sign. A negative one rounds up in magnitude only where times are shown.
int32_t OffsetFrames(const T_Time& offset, const T_Time& frame_duration, bool round_negative_up)
{
    if (offset.value == 0) return 0;
    const Tp_Quotient count = CountOrThrow(offset, frame_duration);
    const bool is_negative = offset.value < 0;
    const auto frames =
        static_cast<int32_t>(is_negative && round_negative_up ? count.RoundedUp() : count.RoundedDown());
    return is_negative ? Mp_Negate(frames) : frames;
}

bool CountsFromOne(const T_TimeFormatInfo& info, T_TimeFormatType type)
{
    const bool is_position = type == T_TimeFormatType_Position || type == T_TimeFormatType_PositionNoOffset;
    return is_position && info.startsAtOne == 1;
}

}  // namespace

int32_t T_GetTimeFormatInfoFrameMax(const T_TimeFormatInfo* info, int32_t rate)
{
    const int32_t base = rate != 0 ? Mp_Add(rate, 32768) >> 16 : info->timebase;
    return base < 2 ? 1 : std::min(base, T_GetMaxFPS());
}

bool T_HonorOffsetForType(T_TimeFormatType type)
{
    return type == T_TimeFormatType_Position;
}

Tp_Counting Tp_Examine(const T_TimeFormatInfo& info, int32_t rate)
{
    Tp_Counting counting;
    counting.base = T_GetTimeFormatInfoFrameMax(&info, rate);
    if (info.useTimecode == 0 && rate != 0) {
        const Err err = T_FrameRate2Duration(rate, &counting.frame_duration);
        if (err != U_Err_NONE) throw static_cast<int>(err);
        return counting;
    }
    counting.is_timecode = true;
    counting.frame_duration = {1, static_cast<uint32_t>(counting.base)};
    if (const NtscRow* row = FindNtscRow(counting.base, rate)) {
        counting.frame_duration = row->duration;
        counting.is_drop = row->canDrop && info.nonDrop == 0;
        counting.is_non_drop_ntsc = !counting.is_drop;
    }
    return counting;
}

void T_ExamineTimeInfo(const T_TimeFormatInfo* info, int32_t rate, uint8_t* is_timecode, uint8_t* is_drop,
                       uint8_t* is_non_drop_ntsc, T_Time* frame_duration)
{
    const Tp_Counting counting = Tp_Examine(*info, rate);
    *is_timecode = counting.is_timecode;
    *is_drop = counting.is_drop;
    *is_non_drop_ntsc = counting.is_non_drop_ntsc;
    if (frame_duration != nullptr) *frame_duration = counting.frame_duration;
}

// --- Drop-frame labels -------------------------------------------------------------------------------------

int32_t Tp_FramesToLabels(int32_t frames, int32_t base)
{
    const DropRule& rule = RuleOf(base);
    const int32_t tens = frames / rule.tenMinuteFrames;
    const int32_t inTen = frames % rule.tenMinuteFrames;
    const int32_t beyondFirst = std::max(inTen - rule.firstMinute, 0);
    const int32_t minutes = (inTen >= rule.firstMinute ? 1 : 0) + beyondFirst / rule.laterMinute;
    return Mp_Add(frames, (9 * tens + minutes) * rule.skipped);
}

int32_t Tp_LabelsToFrames(int32_t labels, int32_t base)
{
    const DropRule& rule = RuleOf(base);
    const int32_t tens = labels / rule.tenMinuteLabels;
    const int32_t minutes = labels % rule.tenMinuteLabels / rule.firstMinute;
    return Mp_Add(labels, -(9 * tens + minutes) * rule.skipped);
}

// --- Taking apart ------------------------------------------------------------------------------------------

namespace {

void TakeTimecodeApart(int32_t frames, bool negative, const Tp_Counting& counting, T_TimeComponents* out)
{
    if (counting.is_drop) frames = Tp_FramesToLabels(frames, counting.base);
    const int32_t seconds = frames / counting.base;
    out->negative = negative;
    out->frames = frames % counting.base;
    out->seconds = seconds % 60;
    out->minutes = seconds / 60 % 60;
    out->hours = seconds / 3600 % 24;
}

void TakeFramesApart(int32_t frames, int32_t frames_per_foot, T_TimeComponents* out)
{
    out->frames = frames;
    if (frames_per_foot == 0) return;
    // In 64 bits: -2^31 over -1 is no 32-bit value.
    out->feet = static_cast<int32_t>(int64_t{frames} / frames_per_foot);
    out->frames = static_cast<int32_t>(int64_t{frames} % frames_per_foot);
}

}  // namespace

void Tp_TakeApart(const T_Time& time, const T_TimeFormatInfo& info, const Tp_Counting& counting,
                  T_TimeFormatType type, T_TimeComponents* out)
{
    const int32_t offset = OffsetFrames(info.offset, counting.frame_duration, true);
    const Tp_Quotient count = CountOrThrow(time, counting.frame_duration);
    const bool rounds_down = type != T_TimeFormatType_Duration && time.value >= 0;
    const auto magnitude = static_cast<int32_t>(rounds_down ? count.RoundedDown() : count.RoundedUp());
    const int32_t frames = time.value < 0 ? Mp_Negate(magnitude) : magnitude;
    const bool takes_offset = T_HonorOffsetForType(type);

    int32_t shown = takes_offset ? Mp_Add(frames, offset) : frames;
    if (counting.is_timecode) {
        TakeTimecodeApart(Absolute(shown), takes_offset ? shown < 0 : time.value < 0, counting, out);
        return;
    }
    if (CountsFromOne(info, type)) shown = Mp_Add(shown, 1);
    TakeFramesApart(shown, info.framesPerFoot, out);
}

void T_TimeToComponents(const T_Time* time, const T_TimeFormatInfo* info, T_TimeFormatType type, int32_t rate,
                        T_TimeComponents* out)
{
    Tp_TakeApart(*time, *info, Tp_Examine(*info, rate), type, out);
}

// --- Putting together --------------------------------------------------------------------------------------

namespace {

// Wanted: the offset comes off the magnitude, before the sign.
int32_t FramesOfTimecode(const T_TimeComponents& components, const Tp_Counting& counting, int32_t offset)
{
    const int32_t minutes = Mp_Add(components.minutes, Mp_Multiply(components.hours, 60));
    const int32_t seconds = Mp_Add(components.seconds, Mp_Multiply(minutes, 60));
    int32_t frames = Mp_Add(components.frames, Mp_Multiply(seconds, counting.base));
    if (counting.is_drop) frames = Tp_LabelsToFrames(frames, counting.base);
    frames = Mp_Add(frames, Mp_Negate(offset));
    return components.negative != 0 ? Mp_Negate(frames) : frames;
}

}  // namespace

Err T_ComponentsToTime(const T_TimeComponents* components, const T_TimeFormatInfo* info,
                       T_TimeFormatType type, int32_t rate, T_Time* out)
{
    const Tp_Counting counting = Tp_Examine(*info, rate);
    // Wanted: rounded down in magnitude here, also where `T_TimeToComponents` rounds up.
    const int32_t whole_offset = OffsetFrames(info->offset, counting.frame_duration, false);
    const int32_t offset = T_HonorOffsetForType(type) ? whole_offset : 0;
    int32_t frames = 0;
    if (counting.is_timecode) {
        frames = FramesOfTimecode(*components, counting, offset);
    } else {
        frames = Mp_Add(components->frames, Mp_Multiply(info->framesPerFoot, components->feet));
        frames = Mp_Add(frames, Mp_Negate(offset));
        if (CountsFromOne(*info, type)) frames = Mp_Add(frames, -1);
    }
    const M_Ratio duration = Tp_Ratio(counting.frame_duration);
    const T_Time count = {frames, 1};
    return T_MulTime(&count, &duration, out);
}
