#include "U_ZString.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string_view>

#include "Contend.h"
#include "QLTest.h"
#include "U_String.h"
#include "Up_ZString.h"

namespace {

using namespace zvkcore::string::literals;

Err SetDictionary(std::string_view text)
{
    // The text form, padded to whole units; a blank is a remark.
    std::vector<unsigned short> block((text.size() + 1) / 2, 0x2020);
    text.copy(reinterpret_cast<char*>(block.data()), text.size());
    return U_ZStringSetCurrentDictionary(block.data(), block.size() * 2);
}

std::string Shown(const char* key)
{
    return qltest::Text(U_ZStringToUTF16String(key));
}

class ZString : public qltest::Library {
  protected:
    void TearDown() override
    {
        U_SetApplicationTextEncoding(U_ENCODING_UTF8);
        Library::TearDown();
    }
};

TEST(ZStringUnborn, DefaultsSpeak)
{
    EXPECT_EQ(Shown("$$$/a=caf\xC3\xA9"), "caf\xC3\xA9");
    EXPECT_EQ(U_ZStringToEnglishMBString("$$$/a=b"), "b");
    EXPECT_EQ(Shown(nullptr), "");
    EXPECT_EQ(SetDictionary("\"/a=b\""), 0);
    EXPECT_EQ(U_ZStringSetEnglish(), 0);
    EXPECT_FALSE(U_ZLocaleAlive());
}

TEST_F(ZString, TheDictionaryOverridesAndEnglishStays)
{
    EXPECT_FALSE(U_ZLocaleAlive());
    EXPECT_EQ(Shown("$$$/a=one"), "one");
    ASSERT_EQ(SetDictionary("\"$$$/a=eins\"\n\"$$$/b=zwei\""), 0);
    EXPECT_TRUE(U_ZLocaleAlive());
    EXPECT_EQ(Shown("$$$/a=one"), "eins");
    EXPECT_EQ(Shown("$$$/b"), "zwei");
    EXPECT_EQ(Shown("$$$/c=three"), "three");
    EXPECT_EQ(qltest::Text(U_ZStringToEnglishUTF16String("$$$/a=one")), "one");

    ASSERT_EQ(SetDictionary("\"$$$/b=deux\""), 0);  // over what was read before
    EXPECT_EQ(Shown("$$$/a=one"), "eins");
    EXPECT_EQ(Shown("$$$/b=two"), "deux");

    EXPECT_EQ(U_ZStringSetEnglish(), 0);
    EXPECT_EQ(Shown("$$$/a=one"), "one");
    EXPECT_EQ(SetDictionary("\"$$$/a=uno\""), 0);
    EXPECT_EQ(Shown("$$$/a=one"), "one");  // read, but English is for good
}

TEST_F(ZString, ABadDictionaryChangesNothing)
{
    EXPECT_EQ(SetDictionary("ZString Binary Format\2\1"), U_Err_DAMAGED);
    unsigned short unit = 0;
    EXPECT_EQ(U_ZStringSetCurrentDictionary(&unit, 0x80000000ul), U_Err_DAMAGED);
    EXPECT_EQ(U_ZStringSetCurrentDictionaryCompressed(nullptr, 0), 1);
    EXPECT_FALSE(U_ZLocaleAlive());
    EXPECT_TRUE(Reports().empty());
    EXPECT_EQ(SetDictionary(""), 0);  // nothing to read
    EXPECT_TRUE(U_ZLocaleAlive());
}

TEST_F(ZString, TranslatorsMarkers)
{
    const std::pair<const char*, const char*> rows[] = {
        {"/a=Cmd{{*MSWindows*}}Ctrl{{*COMMENT*}}keys", "Cmd"},
        {"/a=Text{{*COMMENT*}}no verb{{*MSWindows*}}x", "Text"},
        {"/a=(c) {{*CopyYear*}}, {{*CopyYear*}}", "(c) 2024, 2024"},
        {"/a={{*MSWindows*}}Ctrl", ""},
        {"/a={{*other*}}", "{{*other*}}"},
    };
    for (const auto& [literal, shown] : rows) EXPECT_EQ(Shown(literal), shown) << literal;
    const U_UTF16String text = u"a|b|c"_u16;
    EXPECT_EQ(Up_GetHalf(text, u"|"_u16, 2), u"a|b"_u16);
    EXPECT_EQ(Up_GetHalf(text, u"-"_u16, 0), text);
}

TEST_F(ZString, EnglishOnADoubleByteSystemHasNoIncrement)
{
    ASSERT_EQ(SetDictionary("\"/b=x\""), 0);  // the answer is asked anew
    U_ZLocaleDeath();
    U_ZLocaleBirth();
    U_SetApplicationTextEncoding(U_ENCODING_MAC_CHINESE_SIMPLIFIED);
    EXPECT_EQ(Shown("$$$/a=^I"), "\u0394");  // nobody has chosen: English shows
    U_SetApplicationTextEncoding(U_ENCODING_UTF8);
    EXPECT_TRUE(U_DoubleByteSafeMode());  // the answer is kept
    U_SetApplicationTextEncoding(U_ENCODING_MAC_JAPANESE);
    ASSERT_EQ(SetDictionary("\"/b=x\""), 0);
    EXPECT_EQ(Shown("$$$/a=^I"), "\u2206");
    U_ZStringSetEnglish();
    EXPECT_EQ(Shown("$$$/a=^I"), "\u0394");
}

TEST(ZStringKinds, AreToldByThreeDollarSigns)
{
    EXPECT_TRUE(U_IsZstr(std::string("$$$")) && U_IsZstr("$$$/a=b"_utf8));
    EXPECT_FALSE(U_IsZstr(std::string("$$/a")) || U_IsZstr(""_utf8));
}

TEST_F(ZString, ReportsSpeakTheLanguage)
{
    ASSERT_EQ(SetDictionary("\"$$$/QL/UOverride/LStr/0002= Fehler\"\n\"$$$/x=Kein Platz.\""), 0);
    U_ReportError(0, U_Sev_PROBLEM, U_ZStringToUTF16String("$$$/x=No room."));
    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_NE(Reports()[0].text.find(" Fehler: Kein Platz."), std::string::npos) << Reports()[0].text;
}

// Readers see one dictionary or the other, whole, and never anything else.
TEST_F(ZString, LookupsRaceWithReplacement)
{
    constexpr int kRounds = 200;
    ASSERT_EQ(SetDictionary("\"/a=0\"\n\"/b=0\""), 0);
    std::atomic<int> wrong{0};
    zvktest::Contend(4, [&](int thread) {
        for (int round = 0; round < kRounds; ++round) {
            if (thread == 0) {
                const std::string number = std::to_string(round);
                SetDictionary("\"/a=" + number + "\"\n\"/b=" + number + "\"");
                continue;
            }
            const std::string text = U_ZStringToMBString("/a=default");
            const bool english = U_ZStringToEnglishMBString("/b=d") == "d";
            if (text.empty() || text == "default" || !english) ++wrong;
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(Shown("/a"), std::to_string(kRounds - 1));
}

}  // namespace
