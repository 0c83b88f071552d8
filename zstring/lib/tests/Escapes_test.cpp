#include <gtest/gtest.h>

#include "zlex.h"
#include "zlexp_Escapes.h"
#include "zvkcore/string/Convert.h"

namespace {

using namespace zvkcore::string::literals;
using zlex_private::DictionaryEntry;
using zvkcore::string::UTF16String;

UTF16String Convert(const UTF16String& text)
{
    return DictionaryEntry::ConvertEscapeSequences(text.data(), text.size());
}

struct Row {
    const char* name;
    UTF16String text;
    UTF16String result;
};

class Escapes : public testing::TestWithParam<Row> {};

TEST_P(Escapes, Convert)
{
    EXPECT_EQ(Convert(GetParam().text), GetParam().result);
}

const auto kRowName = [](const auto& row) { return std::string(row.param.name); };

INSTANTIATE_TEST_SUITE_P(
    FirstPass, Escapes,
    testing::Values(
        Row{"Backslash", uR"(\"\n\r\t\b)"_u16, u"\"\n\r\t\b"_u16},
        Row{"Caret", u"^Q^[^]^{^}^C^R^T^D^B^#^!^I^S^n^r"_u16,
            u"\"\u201C\u201D\u2018\u2019\u00A9\u00AE\u2122\u00B0\u2022\u2318\u00AC\u2206\u2211\n\r"_u16},
        Row{"DoubledGivesOne", uR"(\\^^)"_u16, uR"(\^)"_u16},
        Row{"DoubledCaretKeepsAPlace", u"^^1 {^^2}"_u16, u"^1 {^2}"_u16},
        Row{"UnknownStays", uR"(\q^q)"_u16, uR"(\q^q)"_u16},
        Row{"UnknownTakesTheOtherEscape", uR"(\^n^\n)"_u16, uR"(\^n^\n)"_u16},
        Row{"SmallEIsNoEscape", u"caf^e"_u16, u"caf^e"_u16}, Row{"AtTheEnd", uR"(a\)"_u16, uR"(a\)"_u16},
        Row{"CaretAtTheEnd", u"a^"_u16, u"a^"_u16},
        Row{"FirstPassMakesNoEntity", u"^Q#{^Q}"_u16, u"\"#{\"}"_u16}),
    kRowName);

INSTANTIATE_TEST_SUITE_P(
    SecondPass, Escapes,
    testing::Values(
        Row{"Names", u"#{ldquo}a#{nbsp}b#{rdquo}#{euro}#{Yuml}#{thetasym}"_u16,
            u"\u201Ca\u00A0b\u201D\u20AC\u0178#{thetasym}"_u16},
        Row{"OwnNames", u"#{endl}#{tab}#{cr}#{lf}#{copyyear}#{copy}"_u16, u"\r\t\r\n2024\u00A9"_u16},
        Row{"Comment", u"a#{comment}b"_u16, u"a"_u16},
        Row{"CodeUnits", u"#{U+00A9}#{u00A9}#{00a9}#{U+D83C}#{A}."_u16,
            UTF16String(u"\u00A9\u00A9\u00A9"_u16) + UTF16String{0xD83C, 0x000A, '.'}},
        Row{"NoEntities", u"#{} #{U+} #{u} #{12345} #{notin} #{zz} #{lt #lt} #{LT}"_u16,
            u"#{} #{U+} #{u} #{12345} #{notin} #{zz} #{lt #lt} #{LT}"_u16},
        Row{"ShortestName", u"#{lt}"_u16, u"<"_u16}, Row{"FourUnitsAtTheEnd", u"a#{9}"_u16, u"a#{9}"_u16},
        Row{"CutShort", u"#{amp"_u16, u"#{amp"_u16}, Row{"InsideALiteral", u"#{x#{amp}}"_u16, u"#{x&}"_u16}),
    kRowName);

INSTANTIATE_TEST_SUITE_P(
    Platforms, Escapes,
    testing::Values(Row{"OursLast", u"x#{mswindows}win#{macos}mac"_u16, u"mac"_u16},
                    Row{"OursFirst", u"#{macos}mac#{mswindows}win"_u16, u"mac"_u16},
                    Row{"OnlyOthers", u"both#{ios}phone#{android}#{amp}#{endl}#{copyyear}"_u16, u"both"_u16},
                    Row{"SkippedCommentEndsNothing", u"#{ios}a#{comment}b#{macos}mac"_u16, u"mac"_u16},
                    Row{"LaterOwnSectionStartsAnew", u"#{macos}one#{macos}two#{ios}x#{macos}y"_u16,
                        u"two"_u16}),
    kRowName);

TEST(Escapes, EveryEntityIsOneUnitAndNoPrefixHidesAnother)
{
    // The ends of the table and the pairs in which one name begins with another.
    EXPECT_EQ(Convert(u"#{iexcl}#{yuml}#{sup1}#{sup2}#{sup3}#{frac14}#{frac12}#{frac34}"_u16),
              u"\u00A1\u00FF\u00B9\u00B2\u00B3\u00BC\u00BD\u00BE"_u16);
    EXPECT_EQ(Convert(u"#{dagger}#{Dagger}#{permil}#{lsaquo}#{rsaquo}#{zwnj}#{zwj}#{lrm}#{rlm}"_u16),
              u"\u2020\u2021\u2030\u2039\u203A\u200C\u200D\u200E\u200F"_u16);
    EXPECT_EQ(Convert(u"#{ETH}#{eth}#{THORN}#{thorn}#{OElig}#{oelig}#{circ}#{tilde}"_u16),
              u"\u00D0\u00F0\u00DE\u00FE\u0152\u0153\u02C6\u02DC"_u16);
}

TEST(HatTableDeathTest, IsChosenAtTheFirstEscapeAndStays)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process that has converted nothing yet
    EXPECT_EXIT(
        {
            zlex::EnablePSHatEscapes = true;
            const bool first = Convert(u"^e^C"_u16) == u"\u00E9\u00A9"_u16;
            zlex::EnablePSHatEscapes = false;
            const bool second = Convert(u"^e"_u16) == u"\u00E9"_u16;
            std::exit(first && second ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
