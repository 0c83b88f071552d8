#include "M_Ratio.h"

#include "M.h"
#include "Mp_Ratio.h"
#include "PlainRatio.h"
#include "QLTest.h"

namespace {

constexpr uint32_t kSeed = 20240229;
constexpr int kRounds = 300000;
constexpr int32_t kMin = INT32_MIN;
constexpr int32_t kMax = INT32_MAX;
constexpr uint32_t kTop = 0x80000000;

__extension__ using Wide = __int128;

using Ratios = qltest::Library;

// --- Against the steps written down, and against wide integers ---------------------------------------------

TEST_F(Ratios, SumsAndProductsFollowTheStepsBitForBit)
{
    plain::Ratios source(kSeed);
    int approximated = 0;
    for (int i = 0; i < kRounds; ++i) {
        const M_Ratio a = source.Next(), b = source.Next();
        const bool approximate = i % 2 == 0;
        const uint8_t before = approximate ? 2 : 0;
        const auto check = [&](const char* what, auto operation, const plain::Result& expected) {
            M_Ratio out = {7, 7};
            uint8_t status = before;
            ASSERT_EQ(operation(&a, &b, &out, &status), 0u);
            ASSERT_EQ(status, expected.status) << what << ' ' << a << ' ' << b << " seed " << kSeed;
            ASSERT_EQ(out, expected.ratio) << what << ' ' << a << ' ' << b << " seed " << kSeed;
            approximated += status == 2;
        };
        check("sum", M_AddRatio, plain::Sum(a, b, false, approximate));
        check("difference", M_SubRatio, plain::Sum(a, b, true, approximate));
        check("product", M_MulRatio, plain::Product(a, b, approximate));
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(approximated, kRounds / 10);
    EXPECT_TRUE(Reports().empty());
}

TEST_F(Ratios, ExactResultsAreExactAndApproximatedOnesNear)
{
    plain::Ratios source(kSeed + 1);
    for (int i = 0; i < kRounds; ++i) {
        M_Ratio a = source.Next(), b = source.Next();
        if (a.num == kMin || b.num == kMin) continue;  // their negatives wrap, as another test says
        const auto check = [&](const char* what, auto operation, Wide num, Wide den) {
            M_Ratio out;
            uint8_t status = 2;
            operation(&a, &b, &out, &status);
            if (status == 0) {
                ASSERT_TRUE(out.num * den == num * static_cast<Wide>(out.den))
                    << what << ' ' << a << ' ' << b;
            } else if (status == 2) {
                // Single precision, terms up to 2^30, and 2^30 where the value is above it.
                const double value = std::fmin(
                    std::fmax(static_cast<double>(num) / static_cast<double>(den), -0x1p30), 0x1p30);
                const double error = std::fabs(static_cast<double>(out.num) / out.den - value);
                ASSERT_LE(error, std::fabs(value) * 0x1p-22 + 0x1p-30) << what << ' ' << a << ' ' << b;
            } else {
                ASSERT_GE(std::fabs(static_cast<double>(num) / static_cast<double>(den)), 0x1p31)
                    << a << ' ' << b;
            }
        };
        const Wide an = a.num, ad = a.den, bn = b.num, bd = b.den;
        check("sum", M_AddRatio, an * bd + bn * ad, ad * bd);
        check("difference", M_SubRatio, an * bd - bn * ad, ad * bd);
        check("product", M_MulRatio, an * bn, ad * bd);
        if (HasFatalFailure()) return;
    }
}

TEST_F(Ratios, BestRatioFollowsTheExpansionOfEveryKindOfDouble)
{
    std::mt19937_64 engine(kSeed);
    for (int i = 0; i < kRounds; ++i) {
        const int exponent = static_cast<int>(engine() % 72) - 38;
        // Few bits in half of them: terms then meet the limit exactly, where the semiconvergents tie.
        const uint64_t bits = i % 2 == 0 ? engine() >> 11 : engine() >> (41 + engine() % 22);
        const double value =
            std::ldexp(static_cast<double>(bits | 1), exponent - 52) * (engine() % 2 != 0 ? 1 : -1);
        M_Ratio out;
        Mp_Double2RatioSmart(value, &out);
        ASSERT_EQ(out, plain::Best(value)) << value;
        ASSERT_EQ(std::gcd(plain::Magnitude(out.num), out.den), 1u) << value;
    }
    constexpr double kInf = INFINITY;
    constexpr std::tuple<double, int32_t, uint32_t> kRows[] = {
        {NAN, 1 << 30, 1},
        {-NAN, 1 << 30, 1},
        {0.0, 0, 1},
        {-0x1p30, -(1 << 30), 1},
        {kInf, 1 << 30, 1},
        {-kInf, -(1 << 30), 1},
        {1e300, 1 << 30, 1},
        {0x1p30 - 0.25, 1 << 30, 1},
        {0x1p-31, 0, 1},
        {5e-324, 0, 1},
        {0x1.000002p-31, 1, 1 << 30},
        {0.1, 13421773, 1 << 27},
        {1.0 / 3, 11184811, 1 << 25},
        // Ties, which the shortened products decide: full ones would choose the other neighbour.
        {0x1.c9b352p-23, 155, 727244098},
        {0x1.54e5aep-13, 112448, 691764431}};
    for (const auto& [value, num, den] : kRows) {
        M_Ratio out;
        Mp_Double2RatioSmart(value, &out);
        EXPECT_EQ(out, (M_Ratio{num, den})) << value;
        EXPECT_EQ(out, plain::Best(value)) << value;
    }
}

TEST_F(Ratios, ADoubleOutOfRangeIsFlaggedWithoutAReport)
{
    constexpr std::tuple<double, M_Ratio, int> kRows[] = {
        {0x1p31, {0, 0}, 1},  {-0x1p31, {0, 0}, 1}, {0x1p31 - 1, {1 << 30, 1}, 0},
        {0x1p-33, {0, 1}, 0}, {0.75, {3, 4}, 0},    {-29.97, {-15712911, 1 << 19}, 0}};
    for (const auto& [value, ratio, flag] : kRows) {
        M_Ratio out;
        uint8_t overflow = 9;
        EXPECT_EQ(M_FpLong2Ratio(&out, &overflow, value), 0u);
        EXPECT_EQ(out, ratio) << value;
        EXPECT_EQ(overflow, flag) << value;
    }
    M_Ratio out;
    uint8_t overflow = 9;
    M_FpLong2Ratio(&out, &overflow, INFINITY);
    EXPECT_EQ(out, (M_Ratio{1 << 30, 1}));
    EXPECT_EQ(overflow, 0);
    EXPECT_TRUE(Reports().empty());
}

// --- The rules that must not be mended ---------------------------------------------------------------------

TEST_F(Ratios, SumsKeepTheirDenominators)
{
    struct Row {
        M_Ratio a, b, sum, difference;
    };
    for (const Row& row : {Row{{1, 3}, {1, 6}, {3, 6}, {1, 6}}, Row{{0, 5}, {2, 7}, {2, 7}, {-2, 7}},
                           Row{{2, 8}, {0, 5}, {2, 8}, {2, 8}}, Row{{1, 4}, {1, 4}, {2, 4}, {0, 4}},
                           // -2^31 has no negative.
                           Row{{0, 1}, {kMin, 1}, {kMin, 1}, {kMin, 1}}}) {
        M_Ratio out = row.a;
        M_AddRatio(&out, &row.b, &out, nullptr);
        EXPECT_EQ(out, row.sum) << row.a << ' ' << row.b;
        out = row.b;
        M_SubRatio(&row.a, &out, &out, nullptr);
        EXPECT_EQ(out, row.difference) << row.a << ' ' << row.b;
    }
}

TEST_F(Ratios, TheStatusArgumentDecidesWhatOverflowDoes)
{
    const M_Ratio most = {kMax, 1}, third = {1, 3}, near = {kMax - 1, 5};
    M_Ratio out;
    uint8_t status = 0;
    EXPECT_EQ(M_AddRatio(&third, &near, &out, &status), 0u);
    EXPECT_EQ(out, (M_Ratio{0, 0}));
    EXPECT_EQ(status, 1);
    status = 0xFF;
    EXPECT_EQ(M_AddRatio(&third, &near, &out, &status), 0u);
    EXPECT_EQ(status, 2);
    EXPECT_EQ(M_AddRatio(&third, &near, &out, M_ApproximateSilently), 0u);
    EXPECT_EQ(out, (M_Ratio{429496736, 1}));
    EXPECT_TRUE(Reports().empty());

    EXPECT_EQ(M_AddRatio(&third, &near, &out, nullptr), 0x1102u);
    EXPECT_EQ(M_SubRatio(&third, &near, &out, nullptr), 0x1102u);
    EXPECT_EQ(M_MulRatio(&most, &most, &out, nullptr), 0x1102u);
    EXPECT_EQ(out, (M_Ratio{0, 0}));
    EXPECT_EQ(M_AddRatio(&most, &most, &out, M_ApproximateSilently),
              0x1102u);  // 2^32 - 2: out of range even so
    status = 2;
    EXPECT_EQ(M_AddRatio(&most, &most, &out, &status), 0u);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(Reports(), (std::vector<qltest::Report>{
                             {0x110010, U_Sev_PROBLEM, "QLTest error: overflow in ratio addition."},
                             {0x110010, U_Sev_PROBLEM, "QLTest error: overflow in ratio subtraction."},
                             {0x110011, U_Sev_PROBLEM, "QLTest error: overflow in ratio multiply."},
                             {0x110010, U_Sev_PROBLEM, "QLTest error: overflow in ratio addition."}}));
}

TEST_F(Ratios, AZeroDenominatorIsAlwaysReported)
{
    const M_Ratio good = {1, 2}, bad = {5, 0};
    M_Ratio out = good;
    uint8_t status = 2;
    int32_t order = 7;
    EXPECT_EQ(M_AddRatio(&good, &bad, &out, &status), 0x1106u);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(out, (M_Ratio{0, 0}));
    EXPECT_EQ(M_MulRatio(&bad, &good, &out, M_ApproximateSilently), 0x1106u);
    EXPECT_EQ(M_CompareRatio(&good, &bad, &order), 0x1106u);
    EXPECT_EQ(order, 0);
    const M_Ratio none = {0, 3};
    EXPECT_EQ(M_DivRatio(&good, &none, &out, nullptr), 0x1106u);
    ASSERT_EQ(Reports().size(), 4u);
    EXPECT_EQ(Reports()[2].text, "QLTest error: zero denominator comparing ratios.");
    EXPECT_EQ(Reports()[3].text, "QLTest error: zero denominator in ratio multiply.");
}

// A divisor of 2^31 divides nothing and counts as a reduction; sums of such terms would be tried for ever.
TEST_F(Ratios, TermsThatReduceForEverOverflow)
{
    const M_Ratio minus_one = {kMin, kTop}, half = {2, 4};
    M_Ratio out;
    for (const uint8_t before : {0, 2}) {
        uint8_t status = before;
        EXPECT_EQ(M_AddRatio(&minus_one, &half, &out, &status), 0u);
        EXPECT_EQ(status, 1);
        EXPECT_EQ(out, (M_Ratio{0, 0}));
    }
    EXPECT_EQ(M_SubRatio(&half, &minus_one, &out, M_ApproximateSilently), 0x1102u);
    uint8_t reduced = 9;
    M_ReduceRatio(&minus_one, &out, &reduced);
    EXPECT_EQ(out, minus_one);
    EXPECT_EQ(reduced, 1);
}

TEST_F(Ratios, ReducesAndTurnsOver)
{
    struct Row {
        M_Ratio in, reduced;
        int hadDivisor;
        M_Ratio reciprocal;
        int exact;
    };
    for (const Row& row :
         {Row{{6, 4}, {3, 2}, 1, {4, 6}, 1}, Row{{-6, 4}, {-3, 2}, 1, {-4, 6}, 1},
          Row{{0, 9}, {0, 1}, 1, {9, 0}, 1}, Row{{3, 0}, {3, 0}, 0, {0, 3}, 1},
          Row{{1, kTop}, {1, kTop}, 0, {1 << 30, 0}, 0}, Row{{-3, kTop}, {-3, kTop}, 0, {-(1 << 30), 2}, 0},
          Row{{6, kTop}, {3, 1 << 30}, 1, {1 << 30, 3}, 1}, Row{{kMin, 3}, {kMin, 3}, 0, {-3, kTop}, 1},
          Row{{kMin, kTop}, {kMin, kTop}, 1, {kMin, kTop}, 1}}) {
        M_Ratio out;
        uint8_t flag = 9;
        EXPECT_EQ(M_ReduceRatio(&row.in, &out, &flag), 0u);
        EXPECT_EQ(out, row.reduced) << row.in;
        EXPECT_EQ(flag, row.hadDivisor) << row.in;
        EXPECT_EQ(M_RecipRatio(&row.in, &out, &flag), 0u);
        EXPECT_EQ(out, row.reciprocal) << row.in;
        EXPECT_EQ(flag, row.exact) << row.in;
    }
    EXPECT_TRUE(Reports().empty());
}

TEST_F(Ratios, DivisionByANegativeRatioIsNotArithmetic)
{
    const M_Ratio one = {1, 1}, minus_two = {-4, 2}, half = {1, 2}, tiny = {5, kTop}, nothing = {3, 0};
    M_Ratio out;
    EXPECT_EQ(M_DivRatio(&one, &half, &out, nullptr), 0u);
    EXPECT_EQ(out, (M_Ratio{2, 1}));
    EXPECT_EQ(M_DivRatio(&one, &minus_two, &out, nullptr), 0u);
    EXPECT_EQ(out, (M_Ratio{-1, 0x7FFFFFFE}));  // not -1/2
    EXPECT_EQ(M_DivRatio(&one, &nothing, &out, nullptr), 0u);
    EXPECT_EQ(out, (M_Ratio{0, 3}));

    uint8_t status = 2;  // the allowance of the other operations does not count here
    EXPECT_EQ(M_DivRatio(&one, &tiny, &out, &status), 0u);
    EXPECT_EQ(status, 3);
    EXPECT_EQ(out, (M_Ratio{0, 0}));
    status = 1;
    EXPECT_EQ(M_DivRatio(&one, &tiny, &out, &status), 0u);
    EXPECT_EQ(status, 2);
    EXPECT_EQ(out, (M_Ratio{1 << 29, 1}));
    EXPECT_EQ(M_DivRatio(&one, &tiny, &out, M_ApproximateSilently), 0u);
    EXPECT_EQ(M_DivRatio(&one, &tiny, &out, nullptr), 0x1102u);
    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0],
              (qltest::Report{0x110011, U_Sev_PROBLEM, "QLTest error: overflow in ratio divide."}));
}

// --- Conversion and integers -------------------------------------------------------------------------------

TEST_F(Ratios, ConvertsThroughDoublesInTheirOrder)
{
    struct Row {
        M_Ratio in;
        uint32_t den;
        int32_t num;
        int exact;
    };
    for (const Row& row :
         {Row{{1, 2}, 4, 2, 1}, Row{{1, 2}, 5, 3, 0}, Row{{-1, 2}, 5, -2, 0}, Row{{7, 9}, 9, 7, 1},
          Row{{51, 6}, 29, 246, 0},  // 246.5 but for the order
          Row{{kMin, 2}, 2, kMin, 1}, Row{{kMin, 1}, 1, kMin, 1}, Row{{kMax, 2}, 1, 1 << 30, 0}}) {
        M_Ratio out;
        uint8_t exact = 9;
        EXPECT_EQ(M_ConvRatio(&row.in, row.den, &out, &exact, nullptr), 0u);
        EXPECT_EQ(out, (M_Ratio{row.num, row.den})) << row.in;
        EXPECT_EQ(exact, row.exact) << row.in;
        int32_t num = 0;
        EXPECT_EQ(M_ShortConvRatio(row.in.num, row.in.den, row.den, &num, nullptr), 0u);
        EXPECT_EQ(num, row.num) << row.in;
    }
    const M_Ratio large = {kMax, 1}, bad = {1, 0};
    M_Ratio out;
    int32_t num = 5;
    uint8_t exact = 9, overflow = 9;
    EXPECT_EQ(M_ConvRatio(&large, 2, &out, nullptr, &overflow), 0u);
    EXPECT_EQ(overflow, 1);
    EXPECT_EQ(M_ShortConvRatio(kMax, 1, 2, &num, &overflow), 0u);
    EXPECT_EQ(num, 0);
    EXPECT_TRUE(Reports().empty());
    EXPECT_EQ(M_ConvRatio(&large, 2, &out, nullptr, nullptr), 0x1102u);
    EXPECT_EQ(M_ConvRatio(&large, 0, &out, &exact, &overflow), 0x1106u);
    EXPECT_EQ(std::pair(exact, overflow), std::pair(uint8_t{9}, uint8_t{0}));
    EXPECT_EQ(M_ConvRatio(&bad, 3, &out, nullptr, nullptr), 0x1106u);
    EXPECT_EQ(out, (M_Ratio{0, 0}));
    EXPECT_EQ(M_ShortConvRatio(1, 0, 3, &num, nullptr), 0x1106u);
    ASSERT_EQ(Reports().size(), 4u);
    EXPECT_EQ(Reports()[0].location, 0x110012u);
    EXPECT_EQ(Reports()[3],
              (qltest::Report{0x110013, U_Sev_PROBLEM,
                              "QLTest error: zero denominator converting ratio denominators."}));
}

TEST(Integers, OverflowTestsAreConservativeByLeadingZeros)
{
    EXPECT_EQ(M_UMulWouldOverflow(0x8000, 0x8000), 0);
    EXPECT_EQ(M_MulWouldOverflow(0x8000, 0x8000), 1);  // fits, and is refused
    EXPECT_EQ(M_MulWouldOverflow(0, kMin), 1);
    EXPECT_EQ(M_UMulWouldOverflow(0x10000, 0xFFFF), 1);
    EXPECT_EQ(M_AddWouldOverflow(kMax, 1), 1);
    EXPECT_EQ(M_AddWouldOverflow(kMin, -1), 1);
    EXPECT_EQ(M_AddWouldOverflow(kMin, kMax), 0);
    plain::Ratios source(kSeed + 2);
    for (int i = 0; i < kRounds; ++i) {
        const uint32_t a = source.Word(), b = source.Word();
        const auto sa = static_cast<int32_t>(a), sb = static_cast<int32_t>(b);
        ASSERT_EQ(M_UMulWouldOverflow(a, b), plain::UMul(a, b)) << a << ' ' << b;
        ASSERT_EQ(M_MulWouldOverflow(sa, sb), plain::Mul(sa, sb)) << sa << ' ' << sb;
        ASSERT_EQ(M_AddWouldOverflow(sa, sb), plain::Add(sa, sb)) << sa << ' ' << sb;
        uint32_t divisor = 0;
        M_UnsignedGCD(a, b, &divisor);
        ASSERT_EQ(divisor, b == 0 ? 1 : std::gcd(a, b)) << a << ' ' << b;
        M_Int64 product;
        Mp_LongMul(sa, sb, &product);
        ASSERT_EQ(static_cast<int64_t>(product.hi) * (int64_t{1} << 32) + product.lo, int64_t{sa} * sb);
    }
}

TEST(Integers, RoundHalvesTowardsPositiveInfinityByTheSumWithAHalf)
{
    constexpr double kBelowHalf = 0.49999999999999994;
    constexpr std::pair<double, int32_t> kRows[] = {{0.5, 1},
                                                    {-0.5, 0},
                                                    {1.5, 2},
                                                    {-1.5, -1},
                                                    {2.4, 2},
                                                    {-2.6, -3},
                                                    {0.0, 0},
                                                    {-0.3, 0},
                                                    {kBelowHalf, 1},
                                                    {-kBelowHalf, -1},  // the sum with 0.5 rounds to 1
                                                    {2147483647.4, kMax},
                                                    {-2147483648.4, kMin},
                                                    {0x1p32 + 5, 5},
                                                    {-0x1p32 - 5, -5},
                                                    {0x1p70, 0},
                                                    {INFINITY, 0},
                                                    {NAN, 0}};
    for (const auto& [x, rounded] : kRows) EXPECT_EQ(M_RoundDouble(x), rounded) << x;
    EXPECT_EQ(M_RoundDoubleSafe(2147483646.5), kMax);
    EXPECT_EQ(M_RoundDoubleSafe(1e300), kMax);
    EXPECT_EQ(M_RoundDoubleSafe(-2147483647.6), kMin);
    EXPECT_EQ(M_RoundDoubleSafe(-2147483647.5), -2147483647);

    constexpr int32_t kMultiples[][3] = {{7, 4, 8}, {6, 4, 8},        {-6, 4, -8}, {5, 4, 4},  {-5, 4, -4},
                                         {9, 0, 9}, {kMin, -1, kMin}, {-7, 3, -6}, {10, -4, 8}};
    for (const auto& [v, m, rounded] : kMultiples)
        EXPECT_EQ(M_RoundToNearestMult(v, m), rounded) << v << ' ' << m;
    EXPECT_EQ(M_fmod(-5.5, 2), -1.5);
}

}  // namespace
