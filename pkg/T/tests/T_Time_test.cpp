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
using Shown = std::pair<T_Time, const char*>;

// --- Arithmetic --------------------------------------------------------------------------------------------

TEST_F(Times, OperatorsNeverFailOnPrecision)
{
    const T_Time third = {1, 3}, sixth = {1, 6}, most = {kMax, 1};
    T_Time time = third;
    time += sixth;
    time -= third;
    time *= M_Ratio{2, 1};
    time *= T_Time{1, 2};
    // Negative divisors are right here.
    for (const auto& [result, words] :
         {Shown{third + sixth, "3/6"}, Shown{third - sixth, "1/6"}, Shown{third * M_Ratio{2, 5}, "2/15"},
          Shown{third * sixth, "1/18"}, Shown{third * -2, "-2/3"}, Shown{third / M_Ratio{-1, 2}, "-2/3"},
          Shown{third / sixth, "6/3"}, Shown{third / 2, "1/6"}, Shown{time, "2/12"},
          Shown{T_Time{kMax - 1, 5} + third, "429496736/1"}, Shown{most * 0, "0/1"}}) {
        EXPECT_EQ(Words(result), words);
    }
    EXPECT_TRUE(Reports().empty());
}

TEST_F(Times, FailureIsMarkedAndReportedOnce)
{
    const T_Time most = {kMax, 1}, least = {-kMax, 1}, half = {1, 2};
    const auto is_bad = [](const T_Time& time) { return Words(time) == kBad; };
    EXPECT_TRUE(is_bad(least - most) && is_bad(half / 0) && is_bad(T_BadTime + half) &&
                is_bad(half * T_BadTime));
    ASSERT_EQ(Reports().size(), 4u);
    EXPECT_EQ(Reports()[0].text, "QLTest error: overflow in ratio addition.");  // a subtraction
    EXPECT_EQ(Reports()[1].text, "QLTest error: zero denominator in ratio multiply.");

    const auto fails = [&](Err expected, auto operation, auto... operands) {
        T_Time out = half;
        EXPECT_EQ(operation(&operands..., &out), expected);
        EXPECT_TRUE(is_bad(out));
    };
    fails(0x1102, T_AddTime, most, most);
    fails(0x1106, T_MinTime, half, T_BadTime);
    fails(3, T_ClipTime, half, most, half);
    fails(0x1102, T_SpanClipTime, most, half, most);
    T_Time out;
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
        ASSERT_EQ(std::tuple(a<b, a <= b, a == b, a != b, a >= b, a> b),
                  std::tuple(order<0, order <= 0, order == 0, order != 0, order >= 0, order> 0))
            << Words(a) << ' ' << Words(b);
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
    EXPECT_EQ(
        Reports(),
        (std::vector<qltest::Report>{{0, U_Sev_PROBLEM, "QLTest error: Time argument is out of range."}}));
    // Never the value of the bad time.
    for (const auto& [seconds, value] :
         {std::pair(0.5, 12), std::pair(1e12, kMax), std::pair(-1e12, kMin + 1),
          std::pair(-0x1p31 / 24, kMin + 1), std::pair(double{NAN}, 0)}) {
        EXPECT_EQ(T_FpLong2TimeValue(24, seconds), value) << seconds;
    }
    using Ticks = std::pair<T_Time, int64_t>;
    for (const auto& [time, ticks] :
         {Ticks{{1, 1}, 254016000000}, Ticks{{-1001, 30000}, -8475667200}, Ticks{{1, 0xFFFFFFFF}, 59},
          Ticks{{kMax, 1}, INT64_MAX}, Ticks{T_BadTime, INT64_MIN}, Ticks{{0, 0}, 0}}) {
        EXPECT_EQ(T_TimeToTicks(time), ticks) << Words(time);
    }
    // Fractional values round halves away from zero.
    for (const auto& [time, words] :
         {Shown{T_TicksToTime(8475667200, 30000), "1001/30000"},
          Shown{T_TicksToTime(INT64_MIN, 30000), "-2147483648/30000"},
          Shown{T_FloatTime(T_Time{3, 2}).MultiplyWith({1, 2}).ToStandardTime(), "2/2"},
          Shown{T_FloatTime(-2.5, 7).ToStandardTime(), "-3/7"}, Shown{T_FloatTime().ToStandardTime(), "0/1"},
          Shown{T_FloatTime(0x1p32 + 3, 7).ToStandardTime(), "3/7"}}) {
        EXPECT_EQ(Words(time), words);
    }
}

// --- Frames ------------------------------------------------------------------------------------------------

TEST_F(Times, FrameRatesNearTheKnownOnesAreExact)
{
    using Rate = std::pair<int32_t, const char*>;
    for (const auto& [rate, duration] :
         {Rate{1964114, "100/2997"}, Rate{1964110, "100/2997"}, Rate{1964118, "100/2997"},
          Rate{3928228, "50/2997"}, Rate{1571291, "125/2997"}, Rate{1571280, "125/2997"},
          Rate{785646, "250/2997"}, Rate{982057, "200/2997"}, Rate{1966080, "1/30"},
          Rate{1000000, "1000/15259"}, Rate{65536, "1/1"}, Rate{32768, "2/1"}, Rate{0, "65536/0"},
          Rate{1, "1000/0"}, Rate{-65536, "1/65535"}, Rate{INT32_MIN, "1/32768"},
          Rate{INT32_MAX, "1/32768"}}) {
        T_Time out;
        EXPECT_EQ(T_FrameRate2Duration(rate, &out), 0);
        EXPECT_EQ(Words(out), duration) << rate;
    }
}

TEST_F(Times, CountsFramesByMagnitude)
{
    const T_Time frame = {100, 2997}, backward = {-100, 2997}, none = {0, 1};
    struct Row {
        T_Time duration;
        int32_t down, up;
    };
    int32_t count = 9;
    double whole = 9;
    for (const Row& row : {Row{{0, 1}, 0, 0}, Row{{100, 2997}, 1, 1}, Row{{101, 2997}, 1, 2},
                           Row{{99, 2997}, 0, 1}, Row{{-250, 2997}, 2, 3}, Row{{3600, 1}, 107892, 107892}}) {
        for (const T_Time* unit : {&frame, &backward}) {
            EXPECT_EQ(T_CountFrames(&row.duration, unit, false, &count), 0);
            EXPECT_EQ(count, row.down) << Words(row.duration);
            EXPECT_EQ(T_CountFramesFloat(&row.duration, unit, true, &whole), 0);
            EXPECT_EQ(whole, row.up) << Words(row.duration);
        }
    }
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
    for (const auto& [set, got] : {std::pair(0, 1), {-5, 1}, {120, 120}, {5000, 999}}) {
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
          // The scale is that of the subtraction.
          Row{"disjoint", {{0, 1}, {1, 2}}, {{5, 1}, {1, 3}}, "5/1 for 0/2", "0/1 for 16/3"},
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
    using Time = std::pair<T_Time, bool>;
    for (const auto& [time, inside] :
         {Time{{1, 1}, false}, Time{{2, 1}, true}, Time{{49, 10}, true}, Time{{5, 1}, false}}) {
        EXPECT_EQ(span.Contains(time), inside) << Words(time);
    }
    using Span = std::pair<T_TimeSpan, bool>;
    for (const auto& [other, inside] :
         {Span{span, true}, Span{{{3, 1}, {1, 1}}, true}, Span{{{1, 1}, {2, 1}}, false},
          Span{{{4, 1}, {2, 1}}, false}, Span{{{5, 1}, {0, 1}}, false}, Span{{{2, 1}, {0, 1}}, true},
          Span{{{4, 1}, {-3, 1}}, false}}) {
        EXPECT_EQ(span.Contains(other), inside) << Words(other);
    }
}

}  // namespace
