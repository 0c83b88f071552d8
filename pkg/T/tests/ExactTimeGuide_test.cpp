// The examples of docs/guides/exact-time.md, run.
#include "QLTest.h"
#include "T_Format.h"

namespace {

using ExactTimeGuide = qltest::Library;

TEST_F(ExactTimeGuide, FramesAndChains)
{
    T_Time frame;
    T_FrameRate2Duration(1964114, &frame);
    const T_Time hour = frame * 107892;
    EXPECT_TRUE(hour == (T_Time{3600, 1}));

    const M_Ratio a = {1, 3}, b = {2147483646, 5};
    uint8_t status = 2;
    M_Ratio sum;
    M_AddRatio(&a, &b, &sum, &status);
    EXPECT_EQ(status, 2);

    const T_Time start = {1, 24}, end = {0, 0};
    const T_Time middle = (start + end) / 2;
    EXPECT_EQ(middle.scale, 0u);
}

TEST_F(ExactTimeGuide, Timecode)
{
    T_TimeFormatInfo info = {};
    info.useTimecode = 1;
    char text[T_kFormattedTimeSize];
    const T_Time time = {1800 * 100, 2997};
    T_GeneralFormatTime(&time, &info, T_TimeFormatType_Position, 1964114, true, text);
    EXPECT_STREQ(text, "00;01;00;02");

    T_TimeComponents parts;
    T_TimeToComponents(&time, &info, T_TimeFormatType_Position, 1964114, &parts);
    T_Time back;
    T_ComponentsToTime(&parts, &info, T_TimeFormatType_Position, 1964114, &back);
    EXPECT_TRUE(back == time);
}

}  // namespace
