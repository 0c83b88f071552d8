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

using Ratios = qltest::Library;

// --- Against the steps written down ------------------------------------------------------------------------

TEST_F(Ratios, SumsAndProductsFollowTheStepsBitForBit)
{
    plain::Ratios source(kSeed);
    int approximated = 0;
    for (int i = 0; i < kRounds; ++i) {
        const M_Ratio a = source.Next(), b = source.Next();
        const bool approximate = i % 2 == 0;
        const auto check = [&](const char* what, auto operation, const plain::Result& expected) {
            M_Ratio out = {7, 7};
            uint8_t status = approximate ? 2 : 0;
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
        ASSERT_EQ(std::gcd(Mp_Magnitude(out.num), out.den), 1u) << value;
    }
    struct Row {
        double value;
        M_Ratio ratio;
        int overflow;
    };
    // The last two are ties, which the shortened products decide: full ones would choose the other neighbour.
    for (const Row& row :
         {Row{NAN, {1 << 30, 1}, 0}, Row{-NAN, {1 << 30, 1}, 0}, Row{INFINITY, {1 << 30, 1}, 0},
          Row{-INFINITY, {-(1 << 30), 1}, 0}, Row{0x1p31, {0, 0}, 1}, Row{-0x1p31, {0, 0}, 1},
          Row{1e300, {0, 0}, 1}, Row{0x1p31 - 1, {1 << 30, 1}, 0}, Row{-0x1p30, {-(1 << 30), 1}, 0},
          Row{0x1.000002p-31, {1, 1 << 30}, 0}, Row{0x1p-31, {0, 1}, 0}, Row{5e-324, {0, 1}, 0},
          Row{0.0, {0, 1}, 0}, Row{-29.97, {-15712911, 1 << 19}, 0}, Row{0.1, {13421773, 1 << 27}, 0},
          Row{0x1.c9b352p-23, {155, 727244098}, 0}, Row{0x1.54e5aep-13, {112448, 691764431}, 0}}) {
        M_Ratio out;
        uint8_t overflow = 9;
        EXPECT_EQ(M_FpLong2Ratio(&out, &overflow, row.value), 0u);
        EXPECT_EQ(out, row.ratio) << row.value;
        EXPECT_EQ(overflow, row.overflow) << row.value;
    }
    EXPECT_TRUE(Reports().empty());
}

// --- The rules that must not be mended ---------------------------------------------------------------------

struct Case {
    const char* name;
    decltype(&M_AddRatio) operation;
    M_Ratio a, b;
    int before;  // the byte, or one of the two below
    uint32_t code;
    int after;
    M_Ratio out;
    const char* report;  // behind "QLTest error: "; null for none
};
constexpr int kNull = -1, kSilently = -2;

class RatioStatus : public Ratios, public testing::WithParamInterface<Case> {};

TEST_P(RatioStatus, DecidesWhatHappens)
{
    const Case& row = GetParam();
    M_Ratio first = row.a, second = row.b, apart = {7, 7};
    for (M_Ratio* out : {&apart, &first, &second}) {  // the output may be an operand
        Forget();
        first = row.a, second = row.b;
        auto status = static_cast<uint8_t>(row.before);
        uint8_t* argument = row.before == kNull       ? nullptr
                            : row.before == kSilently ? M_ApproximateSilently
                                                      : &status;
        EXPECT_EQ(row.operation(&first, &second, out, argument), row.code);
        EXPECT_EQ(*out, row.out);
        EXPECT_EQ(status, row.before >= 0 ? row.after : static_cast<uint8_t>(row.before));
        ASSERT_EQ(Reports().size(), row.report == nullptr ? 0u : 1u);
        if (row.report == nullptr) continue;
        const bool is_sum = row.operation == M_AddRatio || row.operation == M_SubRatio;
        EXPECT_EQ(Reports()[0], (qltest::Report{is_sum ? 0x110010u : 0x110011u, U_Sev_PROBLEM,
                                                std::string("QLTest error: ") + row.report}));
    }
}

constexpr M_Ratio kHalf = {2, 4}, kThird = {1, 3}, kNear = {kMax - 1, 5}, kMost = {kMax, 1}, kNone = {0, 0},
                  kEndless = {kMin, kTop}, kFine = {5, kTop}, kNothing = {5, 0}, kOne = {1, 1};
constexpr const char* kZeroSum = "zero denominator in ratio addition.";
constexpr const char* kZero = "zero denominator in ratio multiply.";
constexpr const char* kAddition = "overflow in ratio addition.";
constexpr const char* kSubtraction = "overflow in ratio subtraction.";
constexpr const char* kProduct = "overflow in ratio multiply.";
constexpr const char* kQuotient = "overflow in ratio divide.";

INSTANTIATE_TEST_SUITE_P(
    Rows, RatioStatus,
    testing::Values(
        Case{"LeastCommonDenominator", M_AddRatio, kThird, {1, 6}, kNull, 0, 0, {3, 6}, nullptr},
        Case{"ZeroOperand", M_SubRatio, {2, 8}, {0, 5}, kNull, 0, 0, {2, 8}, nullptr},
        Case{"LeastHasNoNegative", M_SubRatio, {0, 1}, {kMin, 1}, 0, 0, 0, {kMin, 1}, nullptr},
        Case{"OverflowTold", M_AddRatio, kThird, kNear, 0, 0, 1, kNone, nullptr},
        Case{"Approximated", M_AddRatio, kThird, kNear, 0xFF, 0, 2, {429496736, 1}, nullptr},
        Case{"Silently", M_AddRatio, kThird, kNear, kSilently, 0, 0, {429496736, 1}, nullptr},
        Case{"Addition", M_AddRatio, kThird, kNear, kNull, 0x1102, 0, kNone, kAddition},
        Case{"Subtraction", M_SubRatio, kThird, kNear, kNull, 0x1102, 0, kNone, kSubtraction},
        Case{"Product", M_MulRatio, kMost, kMost, kNull, 0x1102, 0, kNone, kProduct},
        Case{"OutOfRangeEvenSo", M_AddRatio, kMost, kMost, kSilently, 0x1102, 0, kNone, kAddition},
        Case{"OutOfRangeTold", M_AddRatio, kMost, kMost, 2, 0, 1, kNone, nullptr},
        Case{"ZeroIsReported", M_AddRatio, kHalf, kNothing, 2, 0x1106, 0, kNone, kZeroSum},
        Case{"ZeroTimes", M_MulRatio, kNothing, kHalf, kSilently, 0x1106, 0, kNone, kZero},
        // A divisor of 2^31 divides nothing and counts as a reduction: tried again for ever.
        Case{"Endless", M_AddRatio, kEndless, kHalf, 0, 0, 1, kNone, nullptr},
        Case{"EndlessAllowed", M_AddRatio, kEndless, kHalf, 2, 0, 1, kNone, nullptr},
        Case{"EndlessSilently", M_SubRatio, kHalf, kEndless, kSilently, 0x1102, 0, kNone, kSubtraction},
        Case{"Quotient", M_DivRatio, kOne, {1, 2}, kNull, 0, 0, {2, 1}, nullptr},
        Case{"NotArithmetic", M_DivRatio, kOne, {-4, 2}, kNull, 0, 0, {-1, 0x7FFFFFFE}, nullptr},
        Case{"ZeroDivisor", M_DivRatio, kHalf, {0, 3}, kNull, 0x1106, 0, kNone, kZero},
        Case{"NothingAsDivisor", M_DivRatio, kOne, {3, 0}, kNull, 0, 0, {0, 3}, nullptr},
        // Not the value 2 of the other operations: the value 1 allows the halving.
        Case{"HalvingRefused", M_DivRatio, kOne, kFine, 2, 0, 3, kNone, nullptr},
        Case{"Halved", M_DivRatio, kOne, kFine, 1, 0, 2, {1 << 29, 1}, nullptr},
        Case{"HalvedSilently", M_DivRatio, kOne, kFine, kSilently, 0, 0, {1 << 29, 1}, nullptr},
        Case{"HalvingReported", M_DivRatio, kOne, kFine, kNull, 0x1102, 0, kNone, kQuotient}),
    [](const auto& row) { return std::string(row.param.name); });

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

// --- Conversion and integers -------------------------------------------------------------------------------

TEST_F(Ratios, ConvertsThroughDoublesInTheirOrder)
{
    struct Row {
        M_Ratio in;
        uint32_t den, code;
        M_Ratio out;
        int exact;
    };
    for (const Row& row :
         {Row{{1, 2}, 4, 0, {2, 4}, 1}, Row{{1, 2}, 5, 0, {3, 5}, 0}, Row{{-1, 2}, 5, 0, {-2, 5}, 0},
          Row{{7, 9}, 9, 0, {7, 9}, 1}, Row{{51, 6}, 29, 0, {246, 29}, 0},  // 246.5 but for the order
          Row{{kMin, 2}, 2, 0, {kMin, 2}, 1}, Row{{kMin, 1}, 1, 0, {kMin, 1}, 1},
          Row{{kMax, 2}, 1, 0, {1 << 30, 1}, 0}, Row{{kMax, 1}, 2, 0x1102, {0, 0}, 0},
          Row{{kMax, 1}, 0, 0x1106, {0, 0}, 9}, Row{{1, 0}, 3, 0x1106, {0, 0}, 9}}) {
        for (const bool has_byte : {false, true}) {
            M_Ratio out;
            int32_t num = 5;
            uint8_t exact = 9, overflow = 9;
            uint8_t* const byte = has_byte ? &overflow : nullptr;
            const uint32_t code = has_byte && row.code == 0x1102 ? 0 : row.code;
            Forget();
            EXPECT_EQ(M_ConvRatio(&row.in, row.den, &out, &exact, byte), code) << row.in;
            EXPECT_EQ(M_ShortConvRatio(row.in.num, row.in.den, row.den, &num, byte), code) << row.in;
            EXPECT_EQ(out, row.out) << row.in;
            EXPECT_EQ(num, row.out.num) << row.in;
            EXPECT_EQ(exact, row.exact) << row.in;
            EXPECT_EQ(overflow, has_byte ? row.code == 0x1102 : 9) << row.in;
            ASSERT_EQ(Reports().size(), code == 0 ? 0u : 2u) << row.in;
        }
    }
    EXPECT_EQ(Reports()[0].location, 0x110012u);
    EXPECT_EQ(Reports()[1],
              (qltest::Report{0x110013, U_Sev_PROBLEM,
                              "QLTest error: zero denominator converting ratio denominators."}));
}

TEST(Integers, OverflowTestsAreConservativeByLeadingZeros)
{
    EXPECT_EQ(M_UMulWouldOverflow(0x8000, 0x8000), 0);
    EXPECT_EQ(M_MulWouldOverflow(0x8000, 0x8000), 1);  // fits, and is refused
    EXPECT_EQ(M_MulWouldOverflow(0, kMin), 1);
    plain::Ratios source(kSeed + 2);
    for (int i = 0; i < kRounds; ++i) {
        const uint32_t a = source.Word(), b = source.Word();
        const auto sa = static_cast<int32_t>(a), sb = static_cast<int32_t>(b);
        const int zeros = std::countl_zero(Mp_Magnitude(sa)) + std::countl_zero(Mp_Magnitude(sb));
        ASSERT_EQ(M_UMulWouldOverflow(a, b), std::countl_zero(a) + std::countl_zero(b) < 32) << a << ' ' << b;
        ASSERT_EQ(M_MulWouldOverflow(sa, sb), zeros <= 32) << sa << ' ' << sb;
        ASSERT_EQ(M_AddWouldOverflow(sa, sb), int64_t{sa} + sb != Mp_Add(sa, sb)) << sa << ' ' << sb;
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
    constexpr double kBelowHalf = 0.49999999999999994;  // its sum with 0.5 rounds to 1
    using Row = std::pair<double, int32_t>;
    for (const auto& [x, rounded] :
         {Row{0.5, 1}, Row{-0.5, 0}, Row{1.5, 2}, Row{-1.5, -1}, Row{2.4, 2}, Row{-2.6, -3}, Row{-0.3, 0},
          Row{kBelowHalf, 1}, Row{-kBelowHalf, -1}, Row{0x1p32 + 5, 5}, Row{-0x1p32 - 5, -5},
          Row{2147483647.4, kMax}, Row{-2147483648.4, kMin}, Row{0x1p70, 0}, Row{INFINITY, 0}, Row{NAN, 0}}) {
        EXPECT_EQ(M_RoundDouble(x), rounded) << x;
    }
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
