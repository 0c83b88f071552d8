#include "U_Any.h"

#include <cmath>
#include <limits>
#include <locale>
#include <thread>

#include "QLTest.h"
#include "U_AnyTree.h"
#include "Up_Any.h"
#include "zvkcore/serialization/JSON.h"

using qltest::Text;
using qltest::Text16;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using enum U_Any::TypeEnum;

U_Any Enum(int value, bool mixed = false)
{
    return U_Any(boost::any(value), Type_ENUM, mixed);
}

struct Row {
    const char* name;
    U_Any value;
    U_Any::TypeEnum type;
    const char* text;
    long long integer;
    double real;
    bool isNumeric;
    const char* json = nullptr;  // null: the text
};
class Conversions : public testing::TestWithParam<Row> {};

TEST_P(Conversions, EveryWay)
{
    const auto& [name, value, type, text, integer, real, isNumeric, json] = GetParam();
    EXPECT_EQ(value.GetType(), type);
    EXPECT_EQ(Text(value.GetAs_Str()), text);
    EXPECT_EQ(value.GetAs_MBStr(), text);
    EXPECT_EQ(Text(value.GetAs_JSON()), json ? json : text);
    EXPECT_EQ(value.GetAs_int(), integer);
    EXPECT_EQ(value.GetAs_Enum(), static_cast<int32_t>(integer));
    EXPECT_EQ(value.GetAs_bool(), integer != 0);
    EXPECT_EQ(value.GetAs_double(), real);
    EXPECT_EQ(value.IsNumeric(), isNumeric);
}

constexpr long long kMost = std::numeric_limits<long long>::max();

INSTANTIATE_TEST_SUITE_P(
    Values, Conversions,
    testing::Values(
        Row{"Null", {}, Type_NULL, "", 0, 0, false, "null"},
        Row{"Unset", U_Any(Type_UNSET), Type_NULL, "", 0, 0, false, "null"},
        Row{"True", true, Type_BOOL, "true", 1, 1, false}, Row{"Integer", -5, Type_INT, "-5", -5, -5, true},
        Row{"UnsignedAboveTheRange", 18446744073709551615ul, Type_INT, "-1", -1, -1, true},
        Row{"WholeDouble", 1.0, Type_DOUBLE, "1.0", 1, 1, true},
        Row{"Fraction", -1.5, Type_DOUBLE, "-1.5", -1, -1.5, true},
        Row{"NineDecimals", 0.1234567891234, Type_DOUBLE, "0.123456789", 0, 0.1234567891234, true},
        Row{"RoundsToWhole", 2.0000000001, Type_DOUBLE, "2", 2, 2.0000000001, true},
        Row{"MinusZero", -0.0, Type_DOUBLE, "-0.0", 0, 0, true},
        Row{"Huge", 1e25, Type_DOUBLE, "1.000000000e+25", kMost, 1e25, true},
        Row{"Infinity", -kInfinity, Type_DOUBLE, "-inf", -kMost - 1, -kInfinity, true},
        Row{"Float", U_Any(boost::any(0.5f)), Type_DOUBLE, "0.5", 0, 0.5, true},
        Row{"Enumeration", Enum(7), Type_ENUM, "7", 7, 7, true},
        Row{"String", Text16("Ebene \"ä\""), Type_STRING, "Ebene \"ä\"", 0, 0, false, R"("Ebene \"ä\"")"},
        Row{"NumericString", Text16("-12.75"), Type_STRING, "-12.75", -12, -12.75, true, R"("-12.75")"},
        Row{"Multibyte", "3,5", Type_MBSTRING, "3,5", 3, 3, true, R"("3,5")"},
        Row{"MultibyteIsNoMagic", "mixed-foo", Type_MBSTRING, "mixed-foo", 0, 0, false, R"("mixed-foo")"},
        Row{"NoBytes", static_cast<const char*>(nullptr), Type_MBSTRING, "", 0, 0, false, R"("")"},
        Row{"NoUTF8", static_cast<const unsigned char*>(nullptr), Type_STRING, "", 0, 0, false, R"("")"},
        Row{"Tree", U_Any(Type_TREE), Type_TREE, "<tree>", 0, 0, false, ""},
        Row{"HeldTree", U_Any(boost::any(U_AnyTreeWrapper())), Type_TREE, "<tree>", 0, 0, false, ""},
        Row{"Unknown", U_Any(boost::any(std::vector<int>())), Type_NULL, "", 0, 0, false, "null"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Any, TextsAsNumbersInEveryLocale)
{
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };
    const std::locale former = std::locale::global(std::locale(std::locale(), new Comma));
    const struct {
        const char* text;
        long long integer;
        double real;
    } rows[] = {{"TRUE", 1, 0},
                {"true", 1, 0},
                {" \t12x", 12, 12},
                {"+7.9", 7, 7.9},
                {"1.", 1, 1},
                {"1.5,2", 1, 1.5},
                {"1e3", 1000, 1000},
                {"2e", 2, 2},
                {"99999999999999999999", kMost, 1e20},
                {"-99999999999999999999", -kMost - 1, -1e20},
                {"1e999", kMost, std::numeric_limits<double>::max()},
                {"-1e99999999999999999999", -kMost - 1, -std::numeric_limits<double>::max()}};
    for (const auto& row : rows) {
        EXPECT_EQ(U_Any(Text16(row.text)).GetAs_int(), row.integer) << row.text;
        EXPECT_EQ(U_Any(row.text).GetAs_double(), row.real) << row.text;
    }
    for (const char* zero : {"FALSE", "False", "", "-", "0x10", "inf", "--1", ".", "e5", "1e-999",
                             "-1e-99999999999999999999", "0e99999999999999999999"}) {
        EXPECT_EQ(U_Any(zero).GetAs_int(), 0) << zero;
        EXPECT_EQ(U_Any(Text16(zero)).GetAs_double(), 0) << zero;
    }
    EXPECT_EQ(U_Any(1.5).GetAs_JSON(), Text16("1.5"));
    std::locale::global(former);
    EXPECT_EQ(U_Any(kNaN).GetAs_int(), 0);
}

TEST(Any, MixedValuesHaveATypeAndNoNumber)
{
    const struct {
        U_Any value;
        U_Any::TypeEnum type;
        const char* word;
    } rows[] = {{{0.5, true}, Type_DOUBLE, "mixed-double"},
                {{true, true}, Type_BOOL, "mixed-bool"},
                {{7LL, true}, Type_INT, "mixed-int"},
                {Enum(7, true), Type_ENUM, "mixed-int"},
                {{Text16("mixed-int")}, Type_INT, "mixed-int"},
                {{Text16("mixed-string")}, Type_STRING, "mixed-string"},
                {{U_UTF8String(2, 'x'), true}, Type_STRING, "mixed-string"}};
    for (const auto& row : rows) {
        EXPECT_TRUE(row.value.IsMixed()) << row.word;
        EXPECT_EQ(row.value.GetType(), row.type) << row.word;
        EXPECT_EQ(Text(row.value.GetAs_Str()), row.word);
        EXPECT_EQ(Text(row.value.GetAs_JSON()), '"' + std::string(row.word) + '"');
        EXPECT_THROW(row.value.GetAs_int(), boost::bad_any_cast) << row.word;
        EXPECT_THROW(row.value.GetAs_double(), boost::bad_any_cast) << row.word;
    }
    for (const char* word : {"mixed-", "mixed-foo", "mixed-int "}) {
        EXPECT_THROW(U_Any{Text16(word)}, boost::bad_any_cast) << word;
    }
}

TEST(Any, RecoveringMixedValuesIsAMatterOfTheThread)
{
    const U_Any mixed{7LL, true};
    g_recover_magic_mixedB = true;
    EXPECT_EQ(mixed.GetAs_int(), 7);
    std::thread([&] { EXPECT_THROW(mixed.GetAs_int(), boost::bad_any_cast); }).join();
    for (const bool former : {true, false}) {
        g_recover_magic_mixedB = former;
        EXPECT_THROW(U_AnyTreeWrapper().SetFrom_JSON_HackRecoverMagicMixed(Text16(R"({"a":mixed-up})")),
                     boost::bad_any_cast);
        EXPECT_EQ(g_recover_magic_mixedB, former) << "a load gives back what it found";
    }
}

TEST(Any, AnythingHeldIsFoundOrRefused)
{
    const boost::any integers[] = {short{-3}, static_cast<unsigned short>(3), 3u, 3L,
                                   3ULL,      static_cast<signed char>(3)};
    for (const boost::any& integer : integers) {
        EXPECT_EQ(U_Any(integer).GetType(), Type_INT);
        EXPECT_EQ(std::abs(U_Any(integer).GetAs_int()), 3);
    }
    for (int type = Type_BOOL; type <= Type_MBSTRING; ++type) {
        const U_Any misfit(boost::any(std::vector<int>()), static_cast<U_Any::TypeEnum>(type));
        EXPECT_THROW(misfit.GetAs_Str(), boost::bad_any_cast) << type;
        EXPECT_THROW(misfit.GetAs_double(), boost::bad_any_cast) << type;
        EXPECT_NO_THROW(U_Any(static_cast<U_Any::TypeEnum>(type)).GetAs_double()) << type;
    }
    U_Any value = 5;
    EXPECT_TRUE(value == U_Any(Text16("5")) && value != U_Any(5.0) && U_Any(5.0, true) == U_Any(6.0, true));
    value.reset();
    EXPECT_TRUE(!value.has_value() && boost::any_cast<std::nullptr_t>(&value.GetBoostAny()));
}

TEST(Any, PlainStringsAreQuotedAsTheFrameworkQuotesThem)
{
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        const U_UTF16String text{'a', static_cast<unsigned short>(unit), 'b'};
        const U_UTF16String token = EnquoteString(text);
        const U_UTF16String long_way =
            zvkcore::serialization::GetJSONString(boost::any(zvkcore::string::UTF16to8(text)), false);
        ASSERT_EQ(token, long_way) << unit;
        const auto parsed = zvkcore::serialization::JSONParse(token);
        ASSERT_TRUE(parsed) << unit;
        U_Any value;
        value.SetFrom_JSON(token);
        ASSERT_EQ(value.GetAs_Str8(), boost::any_cast<U_UTF8String>(*parsed)) << unit;
    }
    EXPECT_EQ(Text(zvkcore::serialization::GetJSONString(
                  boost::any(zvkcore::string::UTF16to8(Text16("ä\U0001F600"))), true)),
              "\"\\u00E4\\uD83D\\uDE00\"");
    for (const char* text :
         {"", "\"", "a", "\"a", "a\"", "\"\\q\"", "\"\\u12\"", "\"\\ud800\"", "1", "\"a\" \"b\"", "\"\n\""}) {
        U_Any value;
        EXPECT_THROW(value.SetFrom_JSON(Text16(text)), boost::bad_any_cast) << text;
    }
}

}  // namespace
