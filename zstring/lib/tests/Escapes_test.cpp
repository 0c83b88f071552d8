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

const Row kRows[] = {
    // the first pass
    {"Backslash", uR"(\"\n\r\t\b)"_u16, u"\"\n\r\t\b"_u16},
    {"Caret", u"^Q^[^]^{^}^C^R^T^D^B^#^!^I^S^n^r"_u16,
     u"\"\u201C\u201D\u2018\u2019\u00A9\u00AE\u2122\u00B0\u2022\u2318\u00AC\u2206\u2211\n\r"_u16},
    {"DoubledGivesOne", uR"(\\^^)"_u16, uR"(\^)"_u16},
    {"DoubledCaretKeepsAPlace", u"^^1 {^^2}"_u16, u"^1 {^2}"_u16},
    {"UnknownStays", uR"(\q^q)"_u16, uR"(\q^q)"_u16},
    {"UnknownTakesTheOtherEscape", uR"(\^n^\n)"_u16, uR"(\^n^\n)"_u16},
    {"SmallEIsNoEscape", u"caf^e"_u16, u"caf^e"_u16},
    {"AtTheEnd", uR"(a\)"_u16, uR"(a\)"_u16},
    {"CaretAtTheEnd", u"a^"_u16, u"a^"_u16},
    {"FirstPassMakesNoEntity", u"^Q#{^Q}"_u16, u"\"#{\"}"_u16},
    // entities: the ends of the table, and the names that begin as others do
    {"Names", u"#{ldquo}a#{nbsp}b#{rdquo}#{iexcl}#{euro}#{thetasym}"_u16,
     u"\u201Ca\u00A0b\u201D\u00A1\u20AC#{thetasym}"_u16},
    {"Numbers", u"#{sup1}#{sup2}#{sup3}#{frac14}#{frac12}#{frac34}"_u16,
     u"\u00B9\u00B2\u00B3\u00BC\u00BD\u00BE"_u16},
    {"Cases", u"#{dagger}#{Dagger}#{ETH}#{eth}#{THORN}#{thorn}#{OElig}#{oelig}#{yuml}#{Yuml}"_u16,
     u"\u2020\u2021\u00D0\u00F0\u00DE\u00FE\u0152\u0153\u00FF\u0178"_u16},
    {"OwnNames", u"#{endl}#{tab}#{cr}#{lf}#{copyyear}#{copy}"_u16, u"\r\t\r\n2024\u00A9"_u16},
    {"Comment", u"a#{comment}b"_u16, u"a"_u16},
    {"CodeUnits", u"#{U+00A9}#{u00A9}#{00a9}#{U+D83C}#{A}."_u16,
     UTF16String(u"\u00A9\u00A9\u00A9"_u16) + UTF16String{0xD83C, 0x000A, '.'}},
    {"NoEntities", u"#{} #{U+} #{u} #{12345} #{notin} #{zz} #{lt #lt} #{LT}"_u16,
     u"#{} #{U+} #{u} #{12345} #{notin} #{zz} #{lt #lt} #{LT}"_u16},
    {"ShortestName", u"#{lt}"_u16, u"<"_u16},
    {"FourUnitsAtTheEnd", u"a#{9}"_u16, u"a#{9}"_u16},
    {"CutShort", u"#{amp"_u16, u"#{amp"_u16},
    {"InsideALiteral", u"#{x#{amp}}"_u16, u"#{x&}"_u16},
    // sections of platforms
    {"OursLast", u"x#{mswindows}win#{macos}mac"_u16, u"mac"_u16},
    {"OursFirst", u"#{macos}mac#{mswindows}win"_u16, u"mac"_u16},
    {"OnlyOthers", u"both#{ios}phone#{android}#{amp}#{endl}#{copyyear}"_u16, u"both"_u16},
    {"SkippedCommentEndsNothing", u"#{ios}a#{comment}b#{macos}mac"_u16, u"mac"_u16},
    {"LaterOwnSectionStartsAnew", u"#{macos}one#{macos}two#{ios}x#{macos}y"_u16, u"two"_u16},
};

TEST(Escapes, ConvertInTwoPasses)
{
    for (const Row& row : kRows) EXPECT_EQ(Convert(row.text), row.result) << row.name;
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
