#include "M_Ratio.h"
#include "PlainRatio.h"
#include "QLTest.h"

namespace {

constexpr uint32_t kSeed = 1001;
__extension__ using Wide = __int128;

using RatioOrder = qltest::Library;

int Sign(Wide value)
{
    return value < 0 ? -1 : value > 0;
}

TEST_F(RatioOrder, ComparisonGivesTheNumeratorOfTheDifference)
{
    plain::Ratios source(kSeed);
    for (int i = 0; i < 300000; ++i) {
        const M_Ratio a = source.Next(), b = source.Next();
        int32_t order = 0;
        ASSERT_EQ(M_CompareRatio(&a, &b, &order), 0u);
        const plain::Result difference = plain::Sum(a, b, true, false);
        if (difference.status == 0) {
            ASSERT_EQ(order, difference.ratio.num) << a << ' ' << b;
        } else if (a.den < 0x80000000 && b.den < 0x80000000) {
            ASSERT_EQ(order, Sign(Wide{a.num} * b.den - Wide{b.num} * a.den)) << a << ' ' << b;
        } else {
            const double left = static_cast<double>(a.num) * b.den,
                         right = static_cast<double>(b.num) * a.den;
            ASSERT_EQ(order, left < right ? -1 : left > right) << a << ' ' << b;
        }
    }
    constexpr std::tuple<M_Ratio, M_Ratio, int32_t> kRows[] = {
        {{7, 1}, {2, 1}, 5},
        // Denominators with their top bit: compared in doubles, where these are equal.
        {{INT32_MAX, 0xFFFFFFFF}, {INT32_MAX - 1, 0xFFFFFFFD}, 0}};
    for (const auto& [a, b, expected] : kRows) {
        int32_t order = 0;
        M_CompareRatio(&a, &b, &order);
        EXPECT_EQ(order, expected) << a << ' ' << b;
    }
}

TEST_F(RatioOrder, AnEqualPairYieldsTheFirst)
{
    const M_Ratio half = {1, 2}, quarters = {2, 4}, one = {1, 1}, bad = {1, 0};
    M_Ratio out;
    for (const auto& [choose, chosen] : {std::pair(&M_MinRatio, half), std::pair(&M_MaxRatio, one)}) {
        for (const auto& [a, b, expected] :
             {std::tuple(half, quarters, half), std::tuple(quarters, half, quarters),
              std::tuple(one, half, chosen), std::tuple(half, one, chosen)}) {
            EXPECT_EQ(choose(&a, &b, &out), 0u);
            EXPECT_EQ(out, expected) << a << ' ' << b;
        }
        EXPECT_EQ(choose(&half, &bad, &out), 0x1106u);
        EXPECT_EQ(out, (M_Ratio{0, 0}));
    }
}

TEST_F(RatioOrder, ClipsToARange)
{
    const M_Ratio low = {1, 1}, high = {3, 1}, two = {2, 1}, bad = {1, 0}, most = {INT32_MAX, 1};
    const M_Ratio rows[][2] = {
        {{0, 1}, {1, 1}}, {{2, 2}, {1, 1}}, {{5, 2}, {5, 2}}, {{6, 2}, {3, 1}}, {{9, 1}, {3, 1}}};
    M_Ratio out;
    for (const auto& [x, clipped] : rows) {
        EXPECT_EQ(M_ClipRatio(&x, &low, &high, &out), 0u);
        EXPECT_EQ(out, clipped) << x;
        EXPECT_EQ(M_ClipRatioToSpan(&x, &low, &two, &out), 0u);
        EXPECT_EQ(out, clipped) << x;
    }
    out = {42, 42};
    EXPECT_EQ(M_ClipRatio(&low, &high, &low, &out), 3u);
    EXPECT_EQ(M_ClipRatio(&low, &bad, &high, &out), 0x1106u);
    EXPECT_EQ(out, (M_Ratio{42, 42}));
    EXPECT_EQ(M_ClipRatio(&bad, &low, &high, &out), 0x1106u);
    EXPECT_EQ(out, (M_Ratio{0, 0}));
    EXPECT_EQ(M_ClipRatioToSpan(&high, &low, &most, &out), 0x1102u);  // the sum is exact or nothing
    ASSERT_EQ(Reports().size(), 4u);
    EXPECT_EQ(Reports()[0],
              (qltest::Report{0x110018, U_Sev_PROBLEM,
                              "QLTest error: invalid rational range — a bad parameter was passed."}));
    EXPECT_EQ(Reports()[1].text, "QLTest error: zero denominator comparing ratios.");
    EXPECT_EQ(Reports()[3].text, "QLTest error: overflow in ratio span.");
}

TEST_F(RatioOrder, ClipsASpanAndEndsItWithTheOther)
{
    struct Row {
        const char* name;
        M_Ratio start, duration, out_start, out_duration;
    };
    const M_Ratio b_start = {10, 1}, b_duration = {10, 1};
    for (const Row& row : {Row{"wholly inside ends at b's end", {12, 1}, {2, 1}, {12, 1}, {8, 1}},
                           Row{"across the start", {5, 1}, {8, 1}, {10, 1}, {10, 1}},
                           Row{"across the end", {15, 1}, {20, 1}, {15, 1}, {5, 1}},
                           Row{"before", {1, 1}, {2, 1}, {10, 1}, {0, 1}},
                           Row{"touching the start", {8, 1}, {2, 1}, {10, 1}, {0, 1}},
                           Row{"behind", {30, 1}, {2, 1}, {20, 1}, {0, 1}}}) {
        M_Ratio start, duration;
        EXPECT_EQ(M_ClipSpanToSpan(&row.start, &row.duration, &b_start, &b_duration, &start, &duration), 0u);
        EXPECT_EQ(start, row.out_start) << row.name;
        EXPECT_EQ(duration, row.out_duration) << row.name;
    }
    const M_Ratio most = {INT32_MAX, 1};
    M_Ratio start, duration;
    EXPECT_EQ(M_ClipSpanToSpan(&most, &most, &b_start, &b_duration, &start, &duration), 0x1102u);
    EXPECT_EQ(start, (M_Ratio{0, 0}));
    EXPECT_EQ(duration, (M_Ratio{0, 0}));
    EXPECT_EQ(Reports().back().text, "QLTest error: overflow in ratio addition.");
}

}  // namespace
