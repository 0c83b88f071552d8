#include "U_SubString.h"

#include "FailingAllocator.h"
#include "QLTest.h"
#include "TextSamples.h"

namespace {

using qltest::Text;
using qltest::Text16;
using zvkcore::string::literals::operator""_u16;

constexpr unsigned int kBadFormat = 0x17001B;

// One template with texts as arguments; the typed and the variadic form must agree.
struct TextRow {
    const char* name;
    const char* format;
    std::vector<const char*> arguments;
    const char* expected;
};
const TextRow kTextRows[] = {
    {"NoPlaceholder", "50^% of ^ and ^^", {"a"}, "50^% of ^ and ^^"},
    {"Reordered", "^2 of ^1", {"a", "b"}, "b of a"},
    {"StopsAtAGap", "^2 ^3", {"a", "b"}, "^2 ^3"},
    {"EachNumberOnce", "^1 ^1", {"a"}, "a ^1"},
    {"TwelveIsOneAndTwo", "^12", {"a"}, "a2"},
    {"NoPlaceholderZero", "^0 ^1", {"a"}, "^0 a"},
    {"Nine", "^9^8^7^6^5^4^3^2^1", {"1", "2", "3", "4", "5", "6", "7", "8", "9"}, "987654321"},
    {"CaretInFront", "^^1", {"a"}, "^a"},
    {"ForeignTagInArgument", "^1", {"^2", "b"}, "^2"},
    {"TagInArgumentInFront", "^1 ^2", {"^2", "b"}, "b ^2"},
    {"TagInArgumentBehind", "^2 ^1", {"^2", "b"}, "b ^2"},
    {"AtSignBehindText", "^1@3n@", {"a"}, "a@3n@"},
    {"Unicode", "\xC3\xA9 ^1", {"\xF0\x9F\x98\x80"}, "\xC3\xA9 \xF0\x9F\x98\x80"},
};

class Templates : public testing::TestWithParam<TextRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, Templates, testing::ValuesIn(kTextRows), kRowName);

TEST_P(Templates, FillWithTexts)
{
    const TextRow& row = GetParam();
    std::vector<const char*> a = row.arguments;
    a.resize(9, "surplus");
    char out[1024];
    EXPECT_EQ(U_SubString(out, sizeof out, row.format, a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8]),
              0);
    EXPECT_STREQ(out, row.expected);

    std::vector<U_UTF16String> texts;
    for (const char* text : row.arguments) texts.push_back(Text16(text));
    const std::vector<U_SubStringArgument> typed(texts.begin(), texts.end());
    U_UTF16String filled = Text16(row.format);
    EXPECT_EQ(U_SubStringFromArray(filled, filled, typed.data(), typed.size()), 0);
    EXPECT_EQ(Text(filled), row.expected);
}

TEST(SubString, TakesArgumentsByNumberAndKind)
{
    char out[200];
    U_SubString(out, 0, "^B3|^L1|^F2|^4", -7, 2.5, -9000000000000000000LL, "t");
    EXPECT_STREQ(out, "-9000000000000000000|-7|2.5|t");
    EXPECT_EQ(Text(U_SubString16(u"^B3|^L1|^F2|^4"_u16, -7, 2.5, INT64_MIN, u"t"_u16)),
              "-9223372036854775808|-7|2.5|t");
    // Of two forms of one number, the one that comes first in the order plain, L, F, B is filled.
    EXPECT_EQ(Text(U_SubString16(u"^F1 ^B1 ^L1"_u16, 5)), "^F1 ^B1 5");
    EXPECT_EQ(Text(U_SubString16(u"^B1 ^F1"_u16, 2.5)), "^B1 2.5");
    EXPECT_EQ(Text(U_SubString16(u"^L1 ^1"_u16, u"t"_u16.c_str())), "^L1 t");
    // The low 32 bits count.
    EXPECT_EQ(Text(U_SubString16(u"^L1"_u16, 0x1FFFFFFFFLL)), "-1");
}

TEST(SubString, TypedFormsSurviveWrongAndMissingArguments)
{
    EXPECT_EQ(Text(U_SubString16(u"^1 ^2 ^3"_u16, u"a"_u16)), "a ^2 ^3");
    EXPECT_EQ(Text(U_SubString16(u"^1"_u16)), "^1");
    EXPECT_EQ(Text(U_SubString16(u"[^1] ^L2 ^F3 ^B4 ^B5"_u16, 1, u"a"_u16, 3, 1e300, 2.9)), "[] 0 3 0 2");
    EXPECT_EQ(Text(U_SubString16(u"[^1]"_u16, static_cast<const unsigned short*>(nullptr))), "[]");
}

TEST(SubString, ReadsFloatSpecifications)
{
    const std::tuple<const char*, double, const char*> rows[] = {
        {"^F1", 2, "2"},
        {"^F1@@", 2, "2.00"},
        {"^F1@3.1@", 2, "002.0"},
        {"^F1@.4@", 2, "2.00"},
        {"^F1@1.3z@", 2.5, "2.5"},
        {"^F1@5.0 @", 12, "   12"},
        {"^F1@1.0s@", 1234567, "1,234,567"},
        {"^F1@+@", 1, "+1.00"},
        {"^F1@p@", 1, " 1.00"},
        {"^F1@+p@", 1, "+1.00"},
        {"^F1 @3@", 2, "2 @3@"},
        {"^F1@1.0@@1.0@", 2, "2@1.0@"},
        {"^F1@1..5@", 2, "2.00"},
        {"^F1@99999999999.99999999999@", 2, "2.000000e+00"},
    };
    for (const auto& [format, value, expected] : rows) {
        EXPECT_EQ(Text(U_SubString16(Text16(format), value)), expected) << format;
    }
}

using Complaints = qltest::Library;

TEST_F(Complaints, AreReportedAndTheTextStands)
{
    EXPECT_EQ(Text(U_SubString16(u"^F1@3.1 km ^2"_u16, 2.0, u"x"_u16)), "2.003.1 km x");
    EXPECT_EQ(Reports(), (std::vector<qltest::Report>{{kBadFormat, U_Sev_WARNING,
                                                       "QLTest warning: missing 2nd '@' in format string"}}));
    Forget();
    EXPECT_EQ(Text(U_SubString16(u"^F1@3.1q+4@"_u16, 2.0)), "+002.0");
    ASSERT_EQ(Reports().size(), 2u);
    EXPECT_EQ(Reports()[0],
              (qltest::Report{kBadFormat, U_Sev_WARNING, "QLTest warning: unknown format char 'q'"}));
    EXPECT_EQ(Reports()[1].text, "QLTest warning: unknown format char '4'");
    // A negative count of decimals is read, and its sign and digit are unknown flags all the same.
    EXPECT_EQ(Text(U_SubString16(u"^F1@1.-3@"_u16, 2.0)), "2.000000");
    EXPECT_EQ(Reports().size(), 4u);
}

TEST(SubString, CutsOnACharacter)
{
    std::string text;
    while (text.size() < 1500) text += "\xE3\x81\x82";
    char out[2000];
    U_SubString(out, 0, "a^1", text.c_str());
    EXPECT_EQ(out, "a" + text.substr(0, 1020));
    for (unsigned int limit = 1; limit < 10; ++limit) {
        U_SubString(out, limit, "^1", "\xE3\x81\x82\xE3\x81\x84");
        EXPECT_EQ(std::strlen(out), std::min((limit - 1) / 3 * 3, 6u)) << limit;
    }
}

TEST(SubString, SurvivesEveryFailedAllocation)
{
    const std::string longText(300, 'x');
    qltest::EveryAllocationFails([&] {
        char out[1024];
        return U_SubString(out, sizeof out, "^1 ^2 ^F3", longText.c_str(), longText.c_str(), 2.5) == 0;
    });
}

}  // namespace
