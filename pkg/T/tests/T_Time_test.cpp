#include "T_Time.h"

#include <cmath>
#include <random>

#include "QLTest.h"
#include "TimeText.h"
#include "U_ErrState.h"

namespace {

constexpr int32_t kMin = INT32_MIN;
constexpr int32_t kMax = INT32_MAX;
__extension__ using Wide = __int128;

using Times = qltest::Library;

// --- Arithmetic --------------------------------------------------------------------------------------------

TEST_F(Times, OperatorsNeverFailOnPrecision)
{
    const T_Time third = {1, 3}, sixth = {1, 6};
    EXPECT_EQ(Words(third + sixth), "3/6");
    EXPECT_EQ(Words(third - sixth), "1/6");
    EXPECT_EQ(Words(third * M_Ratio{2, 5}), "2/15");
    EXPECT_EQ(Words(third * sixth), "1/18");
    EXPECT_EQ(Words(third * -2), "-2/3");
    EXPECT_EQ(Words(third / M_Ratio{-1, 2}), "-2/3");  // negative divisors are right here
    EXPECT_EQ(Words(third / sixth), "6/3");
    EXPECT_EQ(Words(third / 2), "1/6");
    T_Time time = third;
    time += sixth;
    time -= third;
    time *= M_Ratio{2, 1};
    time *= T_Time{1, 2};
    EXPECT_EQ(Words(time), "2/12");
    EXPECT_EQ(Words(T_Time{kMax - 1, 5} + third), "429496736/1");
    EXPECT_EQ(Words(T_Time{kMax, 1} * 0), "0/1");
    EXPECT_TRUE(Reports().empty());
}

TEST_F(Times, FailureIsMarkedAndReportedOnce)
{
    const T_Time most = {kMax, 1}, least = {-kMax, 1}, half = {1, 2};
    EXPECT_EQ(Words(least - most), kBad);
    EXPECT_EQ(Reports().back().text, "QLTest error: overflow in ratio addition.");  // subtraction, too
    EXPECT_EQ(Words(half / 0), kBad);
    EXPECT_EQ(Reports().back().text, "QLTest error: zero denominator in ratio multiply.");
    EXPECT_EQ(Words(T_BadTime + half), kBad);
    EXPECT_EQ(Words(half * T_BadTime), kBad);
    EXPECT_EQ(Reports().size(), 4u);

    T_Time out = half;
    EXPECT_EQ(T_AddTime(&most, &most, &out), 0x1102);
    EXPECT_EQ(Words(out), kBad);
    EXPECT_EQ(T_MinTime(&half, &T_BadTime, &out), 0x1106);
    EXPECT_EQ(Words(out), kBad);
    out = half;
    EXPECT_EQ(T_ClipTime(&half, &most, &half, &out), 3);
    EXPECT_EQ(Words(out), kBad);
    EXPECT_EQ(T_SpanClipTime(&most, &half, &most, &out), 0x1102);
    EXPECT_EQ(Words(out), kBad);
    EXPECT_EQ(T_SpanClipTime(&most, &half, &half, &out), 0);
    EXPECT_EQ(Words(out), "2/2");
}

TEST_F(Times, OperatorsCompareLikeTheFunction)
{
    std::mt19937 engine(24);
    const auto word = [&engine] {
        constexpr uint32_t kEnds[] = {1, 2, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFF};
        return engine() % 3 == 0 ? kEnds[engine() % 6] : static_cast<uint32_t>(engine()) >> engine() % 32 | 1;
    };
    for (int i = 0; i < 200000; ++i) {
        const T_Time a = {static_cast<int32_t>(word()), word()}, b = {static_cast<int32_t>(word()), word()};
        int32_t order = 0;
        ASSERT_EQ(T_CompareTime(&a, &b, &order), 0);
        ASSERT_EQ(a < b, order < 0) << Words(a) << ' ' << Words(b);
        ASSERT_EQ(a <= b, order <= 0) << Words(a) << ' ' << Words(b);
        ASSERT_EQ(a == b, order == 0) << Words(a) << ' ' << Words(b);
        ASSERT_EQ(a != b, order != 0) << Words(a) << ' ' << Words(b);
        ASSERT_EQ(a >= b, order >= 0) << Words(a) << ' ' << Words(b);
        ASSERT_EQ(a > b, order > 0) << Words(a) << ' ' << Words(b);
    }
    EXPECT_TRUE(Reports().empty());
    // A time of scale 0 equals everything, and every comparison says so in a report.
    const T_Time one = {1, 1};
    EXPECT_TRUE(T_BadTime == one && one == T_BadTime && T_BadTime <= one);
    EXPECT_FALSE(T_BadTime < one || T_BadTime != one);
    EXPECT_EQ(Reports().size(), 5u);
}

TEST_F(Times, ConvertsScales)
{
    struct Row {
        T_Time in;
        uint32_t scale;
        const char* out;
        Err err;
    };
    for (const Row& row :
         {Row{{1, 2}, 5, "3/5", 0}, Row{{-1, 2}, 5, "-2/5", 0}, Row{{kMax, 3}, 3, "2147483647/3", 0},
          Row{{kMax, 1}, 2, "0/0", 0x1102}, Row{{kMin, 1}, 2, "0/0", 0x1102}, Row{{1, 0}, 2, "0/0", 0x1106},
          Row{{1, 1}, 0, "0/0", 0x1106}}) {
        T_Time out = {9, 9};
        EXPECT_EQ(T_ConvTime(&row.in, row.scale, &out, nullptr), row.err);
        EXPECT_EQ(Words(out), row.out);
        int32_t value = 9;
        EXPECT_EQ(T_ShortConvTime(row.in.value, row.in.scale, row.scale, &value), row.err);
        EXPECT_EQ(value, out.value);
    }
    EXPECT_EQ(Reports().size(), 8u);
    T_Time swapped = {0x01020304, 0x0A0B0C0D}, reduced;
    T_TimeSwap(&swapped);
    EXPECT_EQ(swapped.value, 0x04030201);
    EXPECT_EQ(swapped.scale, 0x0D0C0B0Au);
    const T_Time time = {-6, 4};
    EXPECT_EQ(T_ReduceTime(&time, &reduced, nullptr), 0);
    EXPECT_EQ(Words(reduced), "-3/2");
}

TEST_F(Times, DoublesAndTicks)
{
    T_Time out;
    EXPECT_EQ(T_FpLong2Time(&out, 0.75), 0);
    EXPECT_EQ(Words(out), "3/4");
    EXPECT_EQ(T_FpLong2Time(&out, 3e9), 3);
    EXPECT_EQ(Words(out), "0/0");
    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0],
              (qltest::Report{0, U_Sev_PROBLEM, "QLTest error: Time argument is out of range."}));

    EXPECT_EQ(T_FpLong2TimeValue(24, 0.5), 12);
    EXPECT_EQ(T_FpLong2TimeValue(24, -1e12), kMin + 1);  // never the bad time's value
    EXPECT_EQ(T_FpLong2TimeValue(24, 1e12), kMax);
    EXPECT_EQ(T_FpLong2TimeValue(1, -2147483648.0), kMin + 1);
    EXPECT_EQ(T_FpLong2TimeValue(24, NAN), 0);

    EXPECT_EQ(T_TimeToTicks({1, 1}), 254016000000);
    EXPECT_EQ(T_TimeToTicks({-1001, 30000}), -8475667200);
    EXPECT_EQ(T_TimeToTicks({1, 0xFFFFFFFF}), 59);
    EXPECT_EQ(T_TimeToTicks({kMax, 1}), INT64_MAX);
    EXPECT_EQ(T_TimeToTicks(T_BadTime), INT64_MIN);
    EXPECT_EQ(T_TimeToTicks({0, 0}), 0);
    EXPECT_EQ(Words(T_TicksToTime(8475667200, 30000)), "1001/30000");
    EXPECT_EQ(Words(T_TicksToTime(INT64_MIN, 30000)), "-2147483648/30000");

    T_FloatTime time(T_Time{3, 2});
    EXPECT_EQ(Words(time.MultiplyWith({1, 2}).ToStandardTime()), "2/2");  // 1.5 rounds away from zero
    EXPECT_EQ(Words(T_FloatTime(-2.5, 7).ToStandardTime()), "-3/7");
    EXPECT_EQ(Words(T_FloatTime().ToStandardTime()), "0/1");
    EXPECT_EQ(T_FloatTimeValueToTimeValue(0x1p32 + 3), 3);
}

// --- Frames ------------------------------------------------------------------------------------------------

TEST_F(Times, FrameRatesNearTheKnownOnesAreExact)
{
    constexpr std::pair<int32_t, const char*> kRows[] = {
        {1964114, "100/2997"}, {1964110, "100/2997"},   {1964118, "100/2997"}, {3928228, "50/2997"},
        {1571291, "125/2997"}, {1571280, "125/2997"},   {785646, "250/2997"},  {982057, "200/2997"},
        {1966080, "1/30"},     {1000000, "1000/15259"}, {65536, "1/1"},        {32768, "2/1"},
        {0, "65536/0"},        {1, "1000/0"},           {-65536, "1/65535"},   {INT32_MIN, "1/32768"},
        {INT32_MAX, "1/32768"}};
    for (const auto& [rate, duration] : kRows) {
        T_Time out;
        EXPECT_EQ(T_FrameRate2Duration(rate, &out), 0);
        EXPECT_EQ(Words(out), duration) << rate;
    }
}

TEST_F(Times, CountsFramesByMagnitude)
{
    const T_Time frame = {100, 2997}, backward = {-100, 2997};
    struct Row {
        T_Time duration;
        int32_t down, up;
    };
    for (const Row& row : {Row{{0, 1}, 0, 0}, Row{{100, 2997}, 1, 1}, Row{{101, 2997}, 1, 2},
                           Row{{99, 2997}, 0, 1}, Row{{-250, 2997}, 2, 3}, Row{{3600, 1}, 107892, 107892}}) {
        for (const T_Time* unit : {&frame, &backward}) {
            int32_t count = 9;
            double whole = 9;
            EXPECT_EQ(T_CountFrames(&row.duration, unit, false, &count), 0);
            EXPECT_EQ(count, row.down) << Words(row.duration);
            EXPECT_EQ(T_CountFramesFloat(&row.duration, unit, true, &whole), 0);
            EXPECT_EQ(whole, row.up) << Words(row.duration);
        }
    }
    int32_t count = 9;
    const T_Time none = {0, 1};
    EXPECT_EQ(T_CountFrames(&frame, &none, true, &count), 0x1106);
    EXPECT_EQ(T_CountFrames(&T_BadTime, &frame, true, &count), 0x1106);
    EXPECT_EQ(count, 0);
}

TEST_F(Times, RoundsToAQuantum)
{
    struct Row {
        T_Time time, quantum;
        const char* out;
        Err err;
    };
    for (const Row& row :
         {Row{{7, 10}, {4, 10}, "8/10", 0}, Row{{6, 10}, {4, 10}, "8/10", 0},
          Row{{-6, 10}, {4, 10}, "-8/10", 0}, Row{{1, 2}, {1, 3}, "2/3", 0}, Row{{5, 10}, {0, 10}, "5/10", 0},
          // In doubles, where the scale is too fine: halves go up.
          Row{{100000, 1}, {25000, 100000}, "100000/1", 0}, Row{{400001, 8}, {25000, 100000}, "200001/4", 0},
          Row{{-400001, 8}, {25000, 100000}, "-50000/1", 0}, Row{{100000, 1}, {0, 100000}, "100000/1", 0},
          Row{{kMax, 1}, {1600000000, 2}, "0/0", 3}, Row{{1, 0}, {1, 2}, "0/0", 0x1106},
          Row{{1, 2}, {1, 0}, "0/0", 0x1106}}) {
        T_Time out = {9, 9};
        EXPECT_EQ(T_RoundToNearestTime(&row.time, &row.quantum, &out), row.err) << Words(row.time);
        EXPECT_EQ(Words(out), row.out) << Words(row.time) << " by " << Words(row.quantum);
    }
    // Overflow alone stays unsaid. What else went wrong is posted; only the result out of range is a report.
    EXPECT_EQ(U_GetNumPostedErrors(), 2);
    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0].text, "QLTest error: internal verification failure, sorry! {ratio overflow.}");
}

TEST_F(Times, TheHighestFrameRateIsHeldInRange)
{
    for (const auto& [set, got] :
         {std::pair(0, 1), std::pair(-5, 1), std::pair(120, 120), std::pair(5000, 999)}) {
        T_SetMaxFPS(set);
        EXPECT_EQ(T_GetMaxFPS(), got);
    }
}

// --- Spans -------------------------------------------------------------------------------------------------

TEST_F(Times, SpansMeetAndJoin)
{
    struct Row {
        const char* name;
        T_TimeSpan a, b;
        const char *intersection, *joined;
    };
    for (const Row& row :
         {Row{"overlapping", {{0, 1}, {10, 1}}, {{5, 1}, {10, 1}}, "5/1 for 5/1", "0/1 for 15/1"},
          Row{"inside", {{0, 1}, {10, 1}}, {{2, 1}, {3, 1}}, "2/1 for 3/1", "0/1 for 10/1"},
          Row{"disjoint, scale of the subtraction",
              {{0, 1}, {1, 2}},
              {{5, 1}, {1, 3}},
              "5/1 for 0/2",
              "0/1 for 16/3"},
          Row{"backward", {{0, 1}, {-5, 1}}, {{0, 1}, {-7, 1}}, "0/1 for 0/1", "0/1 for 0/1"}}) {
        EXPECT_EQ(Words(T_IntersectSpans(row.a, row.b)), row.intersection) << row.name;
        EXPECT_EQ(Words(T_UnionSpans(row.a, row.b)), row.joined) << row.name;
    }
    const T_Time zero = {0, 1}, most = {kMax, 1}, least = {-kMax, 1};
    T_Time start = {7, 7}, duration = {8, 8};
    EXPECT_EQ(T_IntersectSpanTime(&most, &most, &zero, &most, &start, &duration), 0x1102);
    EXPECT_EQ(Words(start) + ' ' + Words(duration), "7/7 8/8");
    EXPECT_EQ(T_UnionSpanTime(&least, &zero, &zero, &most, &start, &duration), 0x1102);
    EXPECT_EQ(Words(start) + ' ' + Words(duration), "-2147483647/1 0/0");
    try {
        T_UnionSpans({least, zero}, {zero, most});
        ADD_FAILURE();
    } catch (int err) {
        EXPECT_EQ(err, 0x1102);
    }
}

TEST_F(Times, SpansTurnAroundAndContain)
{
    EXPECT_EQ(Words(T_NormalizeSpan({{5, 1}, {-2, 1}})), "3/1 for 2/1");
    EXPECT_EQ(Words(T_NormalizeSpan({{5, 1}, {2, 1}})), "5/1 for 2/1");
    EXPECT_EQ(Words(T_NormalizeSpan({{-kMax, 1}, {-kMax, 1}})), kBad + " for 2147483647/1");
    EXPECT_EQ(Words(T_TimeSpan()), "0/1 for 0/1");
    EXPECT_TRUE((T_TimeSpan{{1, 2}, {2, 1}} == T_TimeSpan{{2, 4}, {4, 2}}));
    EXPECT_FALSE((T_TimeSpan{{1, 2}, {2, 1}} == T_TimeSpan{{1, 2}, {1, 1}}));

    const T_TimeSpan span = {{2, 1}, {3, 1}};
    for (const auto& [time, inside] : {std::pair(T_Time{1, 1}, false), std::pair(T_Time{2, 1}, true),
                                       std::pair(T_Time{49, 10}, true), std::pair(T_Time{5, 1}, false)}) {
        EXPECT_EQ(span.Contains(time), inside) << Words(time);
    }
    for (const auto& [other, inside] :
         {std::pair(T_TimeSpan{{2, 1}, {3, 1}}, true), std::pair(T_TimeSpan{{3, 1}, {1, 1}}, true),
          std::pair(T_TimeSpan{{1, 1}, {2, 1}}, false), std::pair(T_TimeSpan{{4, 1}, {2, 1}}, false),
          std::pair(T_TimeSpan{{5, 1}, {0, 1}}, false), std::pair(T_TimeSpan{{2, 1}, {0, 1}}, true),
          std::pair(T_TimeSpan{{4, 1}, {-3, 1}}, false)}) {
        EXPECT_EQ(span.Contains(other), inside) << Words(other);
    }
}

}  // namespace
