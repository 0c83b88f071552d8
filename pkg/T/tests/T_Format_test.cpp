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

// Counts labels up as a clock would, skips what a minute skips, and holds every frame of the day against it.
TEST_P(DropFrame, LabelsEveryFrameOfTheDayAndFindsItAgain)
{
    const Day day = GetParam();
    const T_TimeFormatInfo info = {1, 0, 30, 0, 0, {0, 1}};
    T_TimeComponents expected = {0, 0, 0, 0, -1, 0};
    const int32_t frames = (24 * 3600 * day.base) - 24 * 54 * day.skipped;
    for (int32_t frame = 0; frame < frames; ++frame) {
        const int32_t clock = (expected.hours * 60 + expected.minutes) * 60 + expected.seconds;
        const int32_t label = clock * day.base + expected.frames;
        ASSERT_EQ(Tp_FramesToLabels(frame, day.base), label);
        ASSERT_EQ(Tp_LabelsToFrames(label, day.base), frame);
        if (expected.seconds % 59 == 0) {  // through the front doors around every minute
            const T_Time time = {frame * day.frame.value, day.frame.scale};
            T_TimeComponents parts = {};
            T_Time back;
            T_TimeToComponents(&time, &info, kNoOffset, day.rate, &parts);
            ASSERT_EQ(std::tuple(parts.hours, parts.minutes, parts.seconds, parts.frames),
                      std::tuple(expected.hours, expected.minutes, expected.seconds, expected.frames))
                << frame;
            ASSERT_EQ(T_ComponentsToTime(&parts, &info, kNoOffset, day.rate, &back), 0);
            ASSERT_TRUE(back == time) << frame;
        }

        if (++expected.frames < day.base) continue;
        expected.frames = 0;
        if (++expected.seconds < 60) continue;
        expected.seconds = 0;
        if (++expected.minutes == 60) {
            expected.minutes = 0;
            ++expected.hours;
        }
        if (expected.minutes % 10 != 0) expected.frames = day.skipped;
    }
    EXPECT_EQ(expected.hours, 24);
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

constexpr T_TimeFormatInfo kTimecode = {1, 0, 30, 0, 0, {0, 1}};
constexpr T_TimeFormatInfo kNonDrop = {1, 1, 30, 0, 0, {0, 1}};
constexpr T_TimeFormatInfo kFrames = {0, 0, 30, 0, 0, {0, 1}};
constexpr T_TimeFormatInfo kFeet = {0, 0, 30, 16, 0, {0, 1}};
constexpr T_TimeFormatInfo kFromOne = {0, 0, 30, 0, 1, {2, 24}};
constexpr T_TimeFormatInfo kOffset = {1, 0, 30, 0, 0, {-3, 48}};

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
        uint8_t non_drop;
        const char* out;  // timecode, drop, non-drop NTSC, frame duration
    };
    for (const Case& row :
         {Case{k2997, 0, "110 100/2997"}, Case{k2997, 1, "101 100/2997"}, Case{k2997 + 4, 0, "110 100/2997"},
          Case{k2997 + 5, 0, "100 1/30"}, Case{k5994, 0, "110 50/2997"}, Case{k5994, 1, "101 50/2997"},
          Case{1571291, 0, "101 125/2997"}, Case{785646, 0, "101 250/2997"}, Case{982057, 0, "100 1/15"},
          Case{k24, 0, "100 1/24"}, Case{0, 0, "100 1/25"}, Case{-k24, 0, "100 1/1"},
          Case{INT32_MAX, 0, "100 1/1"}, Case{999 << 16, 0, "100 1/999"}, Case{2000 << 16, 0, "100 1/999"}}) {
        const T_TimeFormatInfo info = {1, row.non_drop, 25, 0, 0, {0, 1}};
        uint8_t timecode = 9, drop = 9, ntsc = 9;
        T_Time duration;
        T_ExamineTimeInfo(&info, row.rate, &timecode, &drop, &ntsc, &duration);
        EXPECT_EQ(
            std::to_string(timecode) + std::to_string(drop) + std::to_string(ntsc) + ' ' + Words(duration),
            row.out)
            << row.rate;
    }
    const T_TimeFormatInfo plain = {0, 0, 25, 0, 0, {0, 1}};
    uint8_t timecode = 9, drop = 9, ntsc = 9;
    T_ExamineTimeInfo(&plain, k2997, &timecode, &drop, &ntsc, nullptr);
    EXPECT_EQ(timecode + drop + ntsc, 0);
    for (const auto& [timebase, base] :
         {std::pair(0, 1), std::pair(-7, 1), std::pair(1, 1), std::pair(2000, 999)}) {
        const T_TimeFormatInfo info = {1, 0, timebase, 0, 0, {0, 1}};
        EXPECT_EQ(T_GetTimeFormatInfoFrameMax(&info, 0), base);
    }
    EXPECT_TRUE(T_HonorOffsetForType(kPosition) && !T_HonorOffsetForType(kDuration) &&
                !T_HonorOffsetForType(kNoOffset));
}

TEST_F(Formats, PutsTimesTogetherAndKeepsItsDifferences)
{
    const T_TimeComponents second = {0, 0, 0, 1, -1, 0}, minus_second = {1, 0, 0, 1, -1, 0},
                           feet = {0, -1, -1, -1, 2, 1};
    const T_TimeFormatInfo offset = {1, 0, 30, 0, 0, {6, 24}};
    T_Time out;
    EXPECT_EQ(T_ComponentsToTime(&second, &kOffset, kPosition, k24, &out), 0);
    EXPECT_EQ(Words(out), "25/24");  // the offset of 1.5 frames counts as 1 here, as 2 on the way there
    T_ComponentsToTime(&minus_second, &offset, kPosition, k24, &out);
    EXPECT_EQ(Words(out), "-18/24");  // off the magnitude: -30/24 would be the way back
    T_ComponentsToTime(&minus_second, &offset, kDuration, k24, &out);
    EXPECT_EQ(Words(out), "-24/24");
    T_ComponentsToTime(&feet, &kFeet, kPosition, k24, &out);
    EXPECT_EQ(Words(out), "33/24");
    const T_TimeComponents five = {0, 0, 0, 0, 0, 5};
    T_ComponentsToTime(&five, &kFromOne, kPosition, k24, &out);
    EXPECT_EQ(Words(out), "2/24");
    T_ComponentsToTime(&five, &kFromOne, kNoOffset, k24, &out);
    EXPECT_EQ(Words(out), "4/24");
    T_ComponentsToTime(&five, &kFromOne, kDuration, k24, &out);
    EXPECT_EQ(Words(out), "5/24");
}

TEST_F(Formats, LeavesUnusedComponentsAlone)
{
    const T_Time time = {-33, 24};
    T_TimeComponents parts = {7, -1, -1, -1, -1, -1};
    T_TimeToComponents(&time, &kFrames, kPosition, k24, &parts);
    EXPECT_EQ(std::tuple(parts.negative, parts.hours, parts.feet, parts.frames), std::tuple(7, -1, -1, -33));
    parts = {7, -1, -1, -1, -1, -1};
    T_TimeToComponents(&time, &kTimecode, kPosition, k24, &parts);
    EXPECT_EQ(std::tuple(parts.negative, parts.hours, parts.feet, parts.frames), std::tuple(1, 0, -1, 9));
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
    const T_Time most = {INT32_MIN, 1}, one = {1, 1};
    const T_TimeFormatInfo bad_offset = {1, 0, 30, 0, 0, T_BadTime};
    T_TimeComponents parts = {};
    T_Time out;
    EXPECT_EQ(thrown([&] { TextOf(most, kTimecode, kPosition, k24, true); }), 0x1102);
    EXPECT_EQ(thrown([&] { TextOf(T_BadTime, kTimecode, kPosition, k24, true); }), 0x1106);
    EXPECT_EQ(thrown([&] { TextOf(one, bad_offset, kDuration, k24, true); }), 0x1106);
    EXPECT_EQ(thrown([&] { T_ComponentsToTime(&parts, &bad_offset, kDuration, k24, &out); }), 0x1106);
    parts.hours = INT32_MAX;
    parts.frames = INT32_MIN;
    T_ComponentsToTime(&parts, &kTimecode, kPosition, k2997, &out);  // wraps, without a trap
    const T_TimeFormatInfo backward_feet = {0, 0, 30, -1, 0, {0, 1}};
    const T_Time least = {INT32_MIN, 65535};
    T_TimeToComponents(&least, &backward_feet, kPosition, 65535 << 8, &parts);
    const T_TimeFormatInfo no_rate = {0, 0, 30, 0, 0, {0, 1}};
    EXPECT_EQ(thrown([&] { TextOf(one, no_rate, kPosition, 1, true); }), 0);  // a frame of 1000/0: none fits
    EXPECT_EQ(TextOf(one, no_rate, kPosition, 1, true), "00000");
}

}  // namespace
