#include "T_Format.h"

#include <cstring>

#include "QLTest.h"
#include "TimeText.h"
#include "Tp_Format.h"

namespace {

constexpr int32_t k2997 = 1964114;
constexpr int32_t k5994 = 3928228;
constexpr int32_t k24 = 24 << 16;
constexpr int32_t k120 = 120 << 16;
constexpr auto kPosition = T_TimeFormatType_Position;
constexpr auto kDuration = T_TimeFormatType_Duration;
constexpr auto kNoOffset = T_TimeFormatType_PositionNoOffset;

constexpr T_TimeFormatInfo kTimecode = {1, 0, 30, 0, 0, {0, 1}};
constexpr T_TimeFormatInfo kNonDrop = {1, 1, 30, 0, 0, {0, 1}};
constexpr T_TimeFormatInfo kFrames = {0, 0, 30, 0, 0, {0, 1}};
constexpr T_TimeFormatInfo kFeet = {0, 0, 30, 16, 0, {0, 1}};
constexpr T_TimeFormatInfo kFromOne = {0, 0, 30, 0, 1, {2, 24}};
constexpr T_TimeFormatInfo kOffset = {1, 0, 30, 0, 0, {-3, 48}};

using Formats = qltest::Library;

std::string TextOf(const T_Time& time, const T_TimeFormatInfo& info, T_TimeFormatType type, int32_t rate,
                   bool wide)
{
    char text[T_kFormattedTimeSize];
    const int length = T_GeneralFormatTime(&time, &info, type, rate, wide, text);
    EXPECT_EQ(static_cast<size_t>(length), std::strlen(text));
    return text;
}

// --- Drop-frame labels over a whole day --------------------------------------------------------------------

struct Day {
    int32_t rate, base, skipped;
    T_Time frame;
};

class DropFrame : public Formats, public testing::WithParamInterface<Day> {};

// Counts labels up, skips what a minute skips, and holds every frame of the day against it.
TEST_P(DropFrame, LabelsEveryFrameOfTheDayAndFindsItAgain)
{
    const auto& [rate, base, skipped, duration] = GetParam();
    const int32_t minute = 60 * base;
    int32_t label = 0;
    for (int32_t frame = 0; label < 24 * 60 * minute; ++frame) {
        ASSERT_EQ(Tp_FramesToLabels(frame, base), label);
        ASSERT_EQ(Tp_LabelsToFrames(label, base), frame);
        const int32_t second = label / base;
        if (second % 60 % 59 == 0) {  // through the front doors around every minute
            const T_Time time = {frame * duration.value, duration.scale};
            T_TimeComponents parts = {};
            T_Time back;
            T_TimeToComponents(&time, &kTimecode, kNoOffset, rate, &parts);
            ASSERT_EQ(std::tuple(parts.hours, parts.minutes, parts.seconds, parts.frames),
                      std::tuple(second / 3600, second / 60 % 60, second % 60, label % base))
                << frame;
            ASSERT_EQ(T_ComponentsToTime(&parts, &kTimecode, kNoOffset, rate, &back), 0);
            ASSERT_TRUE(back == time) << frame;
        }
        ++label;
        if (label % minute == 0 && label / minute % 10 != 0) label += skipped;
    }
}
INSTANTIATE_TEST_SUITE_P(Rates, DropFrame,
                         testing::Values(Day{k2997, 30, 2, {100, 2997}}, Day{k5994, 60, 4, {50, 2997}}),
                         [](const auto& day) { return "Base" + std::to_string(day.param.base); });

// --- Text --------------------------------------------------------------------------------------------------

struct Row {
    const char* name;
    T_Time time;
    T_TimeFormatInfo info;
    T_TimeFormatType type;
    int32_t rate;
    bool wide;
    const char* text;
};

class FormatText : public Formats, public testing::WithParamInterface<Row> {};

TEST_P(FormatText, Shows)
{
    const Row& row = GetParam();
    EXPECT_EQ(TextOf(row.time, row.info, row.type, row.rate, row.wide), row.text);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, FormatText,
    testing::Values(
        Row{"MinuteSkipsTwo", {180000, 2997}, kTimecode, kDuration, k2997, false, "0;01;00;02"},
        Row{"WideHours", {180000, 2997}, kTimecode, kDuration, k2997, true, "00;01;00;02"},
        Row{"TenthMinuteKeepsAll", {1798200, 2997}, kTimecode, kDuration, k2997, true, "00;10;00;00"},
        Row{"NonDropKeepsAll", {180000, 2997}, kNonDrop, kDuration, k2997, true, "00:01:00:00"},
        Row{"FourAt5994", {180000, 2997}, kTimecode, kDuration, k5994, true, "00;01;00;04"},
        Row{"RateZeroNeverDrops", {60, 1}, kTimecode, kDuration, 0, true, "00:01:00:00"},
        Row{"HoursWrap", {25 * 3600, 1}, kTimecode, kPosition, k24, false, "1:00:00:00"},
        Row{"NegativeDropFrame", {-180000, 2997}, kTimecode, kPosition, k2997, false, "-0;01;00;02"},
        Row{"DurationsRoundUp", {21, 240}, kTimecode, kDuration, k24, true, "00:00:00:03"},
        Row{"PositionsRoundDown", {21, 240}, kTimecode, kPosition, k24, true, "00:00:00:02"},
        Row{"NegativePositionsRoundUp", {-21, 240}, kTimecode, kPosition, k24, true, "-00:00:00:03"},
        Row{"SignOfAPartOfAFrame", {-1, 240}, kTimecode, kNoOffset, k24, true, "-00:00:00:01"},
        Row{"NegativeOffsetRoundsUp", {3, 24}, kOffset, kPosition, k24, true, "00:00:00:01"},
        Row{"OffsetTurnsTheSign", {1, 24}, kOffset, kPosition, k24, true, "-00:00:00:01"},
        Row{"NoOffsetForDurations", {3, 24}, kOffset, kDuration, k24, true, "00:00:00:03"},
        Row{"FeetAndFrames", {33, 24}, kFeet, kPosition, k24, true, "0002+01"},
        Row{"NegativeFeet", {-33, 24}, kFeet, kPosition, k24, true, "-002+-1"},
        Row{"PlainFrames", {5, 24}, kFrames, kPosition, k24, true, "00005"},
        Row{"NegativeFrames", {-5, 24}, kFrames, kPosition, k24, true, "-0005"},
        Row{"FromOneWithOffset", {5, 24}, kFromOne, kPosition, k24, true, "00008"},
        Row{"FromOneWithoutOffset", {5, 24}, kFromOne, kNoOffset, k24, true, "00006"},
        Row{"DurationsCountFromZero", {5, 24}, kFromOne, kDuration, k24, true, "00005"},
        Row{"ThreeDigitsAt120", {7, 120}, kTimecode, kPosition, k120, false, "0:00:00:007"},
        Row{"SixDigitsAt120", {7, 120}, kFrames, kPosition, k120, false, "000007"},
        Row{"RateZeroIsTimecode", {7, 30}, kFrames, kPosition, 0, true, "00:00:00:07"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(Formats, ExaminesRates)
{
    struct Case {
        int32_t rate;
        uint8_t use_timecode, non_drop;
        const char* out;  // timecode, drop, non-drop NTSC, frame duration
    };
    for (const Case& row :
         {Case{k2997, 1, 0, "110 100/2997"}, Case{k2997, 1, 1, "101 100/2997"},
          Case{k2997, 0, 0, "000 100/2997"}, Case{k2997 + 4, 1, 0, "110 100/2997"},
          Case{k2997 + 5, 1, 0, "100 1/30"}, Case{k5994, 1, 0, "110 50/2997"},
          Case{k5994, 1, 1, "101 50/2997"}, Case{1571291, 1, 0, "101 125/2997"},
          Case{785646, 1, 0, "101 250/2997"}, Case{982057, 1, 0, "100 1/15"}, Case{k24, 1, 0, "100 1/24"},
          Case{0, 1, 0, "100 1/25"}, Case{-k24, 1, 0, "100 1/1"}, Case{INT32_MAX, 1, 0, "100 1/1"},
          Case{999 << 16, 1, 0, "100 1/999"}, Case{2000 << 16, 1, 0, "100 1/999"}}) {
        const T_TimeFormatInfo info = {row.use_timecode, row.non_drop, 25, 0, 0, {0, 1}};
        uint8_t timecode = 9, drop = 9, ntsc = 9;
        T_Time duration;
        T_ExamineTimeInfo(&info, row.rate, &timecode, &drop, &ntsc, &duration);
        const std::string flags = std::to_string(timecode) + std::to_string(drop) + std::to_string(ntsc);
        EXPECT_EQ(flags + ' ' + Words(duration), row.out) << row.rate;
        T_ExamineTimeInfo(&info, row.rate, &timecode, &drop, &ntsc, nullptr);
    }
    for (const auto& [timebase, base] : {std::pair(0, 1), {-7, 1}, {1, 1}, {2000, 999}}) {
        const T_TimeFormatInfo info = {1, 0, timebase, 0, 0, {0, 1}};
        EXPECT_EQ(T_GetTimeFormatInfoFrameMax(&info, 0), base);
    }
}

TEST_F(Formats, PutsTimesTogetherAndKeepsItsDifferences)
{
    const T_TimeFormatInfo six = {1, 0, 30, 0, 0, {6, 24}};
    const T_TimeComponents second = {0, 0, 0, 1, -1, 0}, minus_second = {1, 0, 0, 1, -1, 0},
                           feet = {0, -1, -1, -1, 2, 1}, five = {0, 0, 0, 0, 0, 5};
    struct Case {
        const T_TimeComponents& parts;
        const T_TimeFormatInfo& info;
        T_TimeFormatType type;
        const char* out;
    };
    for (const Case& row :
         {Case{second, kOffset, kPosition, "25/24"},     // 1.5 frames count as 1: 2 there
          Case{minus_second, six, kPosition, "-18/24"},  // off the magnitude, not -30/24
          Case{minus_second, six, kDuration, "-24/24"}, Case{feet, kFeet, kPosition, "33/24"},
          Case{five, kFromOne, kPosition, "2/24"}, Case{five, kFromOne, kNoOffset, "4/24"},
          Case{five, kFromOne, kDuration, "5/24"}}) {
        T_Time out;
        EXPECT_EQ(T_ComponentsToTime(&row.parts, &row.info, row.type, k24, &out), 0);
        EXPECT_EQ(Words(out), row.out);
    }
}

TEST_F(Formats, LeavesUnusedComponentsAlone)
{
    const T_Time time = {-33, 24};
    for (const auto& [info, negative, hours, frames] :
         {std::tuple(kFrames, 7, -1, -33), std::tuple(kTimecode, 1, 0, 9)}) {
        T_TimeComponents parts = {7, -1, -1, -1, -1, -1};
        T_TimeToComponents(&time, &info, kPosition, k24, &parts);
        EXPECT_EQ(std::tuple(parts.negative, parts.hours, parts.feet, parts.frames),
                  std::tuple(negative, hours, -1, frames));
    }
}

TEST_F(Formats, FailuresOfTheRatioLayerAreThrown)
{
    const auto thrown = [](auto body) {
        try {
            body();
        } catch (int err) {
            return err;
        }
        return 0;
    };
    const T_Time most = {INT32_MIN, 1}, one = {1, 1}, least = {INT32_MIN, 65535};
    const T_TimeFormatInfo bad_offset = {1, 0, 30, 0, 0, T_BadTime}, backward = {0, 0, 30, -1, 0, {0, 1}};
    T_TimeComponents parts = {0, INT32_MAX, 0, 0, 0, INT32_MIN};
    T_Time out;
    EXPECT_EQ(thrown([&] { TextOf(most, kTimecode, kPosition, k24, true); }), 0x1102);
    EXPECT_EQ(thrown([&] { TextOf(T_BadTime, kTimecode, kPosition, k24, true); }), 0x1106);
    EXPECT_EQ(thrown([&] { TextOf(one, bad_offset, kDuration, k24, true); }), 0x1106);
    EXPECT_EQ(thrown([&] { T_ComponentsToTime(&parts, &bad_offset, kDuration, k24, &out); }), 0x1106);
    // What wraps does so without a trap.
    T_ComponentsToTime(&parts, &kTimecode, kPosition, k2997, &out);
    T_TimeToComponents(&least, &backward, kPosition, 65535 << 8, &parts);
    EXPECT_EQ(TextOf(one, kFrames, kPosition, 1, true), "00000");  // a frame of 1000/0: none fits
}

}  // namespace
