#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "TextSamples.h"
#include "U_SubString.h"
#include "zvkcore/string/NumberLocale.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string Format(double value, unsigned int flags, int left, int right)
{
    char out[256];
    EXPECT_EQ(U_FormatNum(value, flags, left, right, out), 0);
    return out;
}

double Scan(const char* text, unsigned int flags)
{
    double value = 7;
    EXPECT_EQ(U_ScanNum(text, flags, &value), 0);
    return value;
}

struct Row {
    const char* name;
    double value;
    unsigned int flags;
    int left;
    int right;
    const char* expected;
};
const Row kRows[] = {
    {"Padded", 7.5, 0, 3, 2, "007.50"},
    {"ThreeDigitsStandAlone", 123, U_FORMAT_SEPARATORS, 1, 1, "123.0"},
    {"PaddingIsSeparated", 12, U_FORMAT_SEPARATORS, 7, 0, "0,000,012"},
    {"BlanksAreSeparated", 12, U_FORMAT_SEPARATORS | U_FORMAT_PAD_SPACE, 6, 0, "   , 12"},
    {"TrimmedKeepsTheSign", -0.001, U_FORMAT_TRIM_ZEROS, 1, 2, "-0"},
    {"TrimmedKeepsIntegers", 100, U_FORMAT_TRIM_ZEROS, 1, 0, "100"},
    {"NegativeZero", -0.0, 0, 1, 2, "0.00"},
    {"NegativeWithPlus", -1, U_FORMAT_PLUS_SIGN, 1, 0, "-1"},
    {"TwentyTwoCharacters", 1e21, 0, 1, 0, "1000000000000000000000"},
    {"TwentyThreeCharacters", 1e22, U_FORMAT_SEPARATORS | U_FORMAT_TRIM_ZEROS, 9, 0, "1.000000e+22"},
    {"Largest", -std::numeric_limits<double>::max(), 0, 1, 2, "-1.797693e+308"},
    {"OversizedLeft", 7.5, 0, 1000000000, 2, "0000000000000000000000000000000"},
    {"SeparatorsCutTheNumber", 1234567890123456789.0, U_FORMAT_SEPARATORS, 24, 0,
     "000,001,234,567,890,123,456,768"},
    {"SignCutsTheNumber", -7.5, 0, 29, 2, "-00000000000000000000000000007."},
    {"SmallestLeft", 7.5, 0, std::numeric_limits<int>::min(), 0, "8"},
    {"Infinity", -kInfinity, U_FORMAT_SEPARATORS, 5, 2, "-00,inf"},
    {"NotANumber", std::nan(""), 0, 1, 2, "nan"},
};

class Numbers : public testing::TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(Rows, Numbers, testing::ValuesIn(kRows), kRowName);

TEST_P(Numbers, AreWritten)
{
    const Row& row = GetParam();
    EXPECT_EQ(Format(row.value, row.flags, row.left, row.right), row.expected);
    EXPECT_EQ(Format(row.value, row.flags | U_FORMAT_NO_INTL, row.left, row.right), row.expected);
}

TEST(NumberText, AgreesWithPrintf)
{
    std::mt19937_64 random{20261121};
    for (int round = 0; round < 20000; ++round) {
        const double value =
            std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 120) - 100);
        const int right = static_cast<int>(random() % 8);
        char printed[512];
        std::snprintf(printed, sizeof printed, "%1.*f", right, value);
        if (std::strlen(printed) >= 23) std::snprintf(printed, sizeof printed, "%e", value);
        ASSERT_EQ(Format(value, U_FORMAT_NO_INTL, 1, right), printed) << value;
    }
}

TEST(NumberText, FollowsTheNumberLocale)
{
    ASSERT_TRUE(zvkcore::string::SetNumberLocale("de_DE"));
    EXPECT_EQ(Format(-1234567.5, U_FORMAT_SEPARATORS | U_FORMAT_NO_INTL, 1, 2), "-1,234,567.50");
    EXPECT_EQ(U_SubString16(U_AsciiToUTF16String("^F1 ^F2@n@"), 2.5, 2.5), U_AsciiToUTF16String("2,5 2.50"));
    EXPECT_EQ(Scan("1.234,5 m", 0), 1);
    EXPECT_EQ(Scan("1234.5", U_FORMAT_NO_INTL), 1234.5);
    std::string longText(1000, '1');
    EXPECT_EQ(U_InternationalizeNum(longText.data()), 0);
    EXPECT_EQ(std::strlen(longText.c_str()), 255u);
    zvkcore::string::SetNumberLocale(nullptr);
}

TEST(NumberText, IgnoresTheLocaleOfTheProcess)
{
    if (!HaveLegacyLocales()) GTEST_SKIP() << "the build has no locale with a decimal comma";
    Up_CharLocale comma{};
    WithBuildLocales([&] { comma = Up_MakeCharLocale("de_DE.UTF-8"); });
    const locale_t former = uselocale(comma);
    EXPECT_STREQ(localeconv()->decimal_point, ",");
    EXPECT_EQ(Scan("2.5", 0), 2.5);
    EXPECT_EQ(Format(2.5, 0, 1, 2), "2.50");
    uselocale(former);
    freelocale(comma);
}

TEST(NumberText, ScansWhatAtofScans)
{
    const std::string digits(40, '1');
    const std::tuple<const char*, double> rows[] = {
        {"", 0},      {"frame", 0},       {" \t-12.5e1x", -125}, {"+3", 3},   {".5", 0.5}, {"0x10", 16},
        {"1,234", 1}, {"inf", kInfinity}, {"1e999", kInfinity},  {"\xFF", 0},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(Scan(text, 0), expected) << text;
        EXPECT_EQ(Scan(text, U_FORMAT_NO_INTL), expected) << text;
    }
    EXPECT_EQ(Scan(digits.c_str(), U_FORMAT_NO_INTL), std::stod(digits));
    EXPECT_EQ(Scan(digits.c_str(), 0), std::stod(digits.substr(0, 31)));
}

TEST(NumberText, CountsBytes)
{
    constexpr unsigned long long kMega = 1ULL << 20;
    constexpr unsigned long long kGiga = 1ULL << 30;
    const std::tuple<unsigned long long, const char*> rows[] = {
        {0, "0 KB"},
        {1023, "1023 bytes"},
        {1024, "1 KB"},
        {kMega - 1, "1023 KB"},
        {kMega, "1.0 MB"},
        {100 * kMega - 1, "100.0 MB"},
        {100 * kMega, "100 MB"},
        {kGiga - 1, "1023 MB"},
        {kGiga, "1.0 GB"},
        {kGiga * 5 / 4, "1.2 GB"},
        {~0ULL, "17179869183 GB"},
    };
    for (const auto& [bytes, expected] : rows) {
        char out[256];
        EXPECT_EQ(U_LongFormatBytes(bytes, out), 0);
        EXPECT_STREQ(out, expected) << bytes;
        EXPECT_EQ(U_LongFormatBytes(bytes), U_MBToUTF16String(expected)) << bytes;
    }
}

}  // namespace
