#include "U_String.h"

#include <cstring>

#include "FailingAllocator.h"
#include "QLTest.h"
#include "TextSamples.h"
#include "Up_Encodings.h"

namespace {

using qltest::Text;
using zvkcore::string::literals::operator""_u16;
using zvkcore::string::literals::operator""_utf8;

struct Row {
    const char* name;
    unsigned int encoding;
    unsigned int codePage;  // 0 where it has none
    std::string bytes;
    const char16_t* units;
};

// The control characters of code page 932 are turned round in some tables; the last bytes of 0x5C and 0x7E
// are ASCII; a byte B1 is half-width kana. Text in UTF-8 may need three bytes for each unit.
const Row kRows[] = {
    {"MacRoman", 0, 10000, "caf\x8E \xDB", u"caf\u00E9 \u20AC"},
    {"MacJapanese", 1, 10001, "A\x95\x5C\x5C\x7E\xB1", u"A\u8868\\~\uFF71"},
    {"MacTraditional", 2, 0, "\xA4\xA4\xA4\xE5", u"\u4E2D\u6587"},
    {"MacKorean", 3, 0, "a\xB0\xA1", u"a\uAC00"},
    {"MacCyrillic", 7, 10007, "\x80\xDF", u"\u0410\u044F"},
    {"MacSimplified", 25, 0, "\xD6\xD0z", u"\u4E2Dz"},
    {"Windows932", 1056, 932, "\x1A\x1C\x7F \x83\x41", u"\u001A\u001C\u007F \u30A2"},
    {"Windows936", 1057, 0, "\x80\xD6\xD0", u"\u20AC\u4E2D"},
    {"Windows949", 1058, 0, "\x81\x41", u"\uAC02"},
    {"Windows1252", 1280, 1252, "\x80\xE9", u"\u20AC\u00E9"},
    {"Windows1251", 1282, 1251, "\xC0\xFF", u"\u0410\u044F"},
    {"GB18030", 1586, 0, "\x81\x30\x81\x30\x95\x32\x82\x36", u"\u0080\U00020000"},
    {"UTF8", U_ENCODING_UTF8, 0, "\u3042\u3044\u3046\u00E9\U0001F600", u"\u3042\u3044\u3046\u00E9\U0001F600"},
};

class Conversion : public testing::TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(Encodings, Conversion, testing::ValuesIn(kRows), kRowName);

TEST_P(Conversion, GoesBothWays)
{
    const Row& row = GetParam();
    const ScEncoding encoding{row.encoding};
    const U_UTF16String units{zvkcore::string::Units(std::u16string_view(row.units))};
    EXPECT_EQ(U_GetPlatformSpecificCurrentTextEncodingForSerialization(), row.encoding);
    EXPECT_EQ(Text(U_MBToUTF16String(row.bytes)), Text(units));
    EXPECT_EQ(U_ConvertEncodedStringToUnicode(0, row.encoding, row.bytes.c_str()), units);
    EXPECT_EQ(U_UTF16ToMBString(units, true), row.bytes);
    EXPECT_EQ(U_UTF16ToMBString(units.c_str()), row.bytes);
    const U_UTF16String ofPage = U_ConvertEncodedStringToUnicode(1, row.codePage, row.bytes.c_str());
    EXPECT_EQ(Text(ofPage), row.codePage ? Text(units) : "");

    std::string ascii;
    for (int c = 1; c < 128; ++c) ascii.push_back(static_cast<char>(c));
    EXPECT_EQ(U_MBToUTF16String(ascii), U_AsciiToUTF16String(ascii.c_str()));
    EXPECT_EQ(U_UTF16ToMBString(U_AsciiToUTF16String(ascii.c_str()), true), ascii);
}

TEST(Conversions, OfWhatIsNotThereAreEmpty)
{
    EXPECT_TRUE(U_MBToUTF16String(static_cast<const char*>(nullptr)).empty());
    EXPECT_TRUE(U_AsciiToUTF16String(nullptr).empty());
    EXPECT_TRUE(U_UTF16ToMBString(static_cast<const unsigned short*>(nullptr)).empty());
    EXPECT_TRUE(Up_EncodedStringToUTF16String("", 0, false).empty());
    const ScEncoding unknown{12345};
    EXPECT_EQ(U_UTF16ToMBString(u"a"_u16), "");
    EXPECT_TRUE(U_MBToUTF16String("a").empty());
}

TEST(Conversions, AwayFrom16BitsReplaceOrGiveUp)
{
    struct Lacking {
        unsigned int encoding;
        U_UTF16String units;
        const char* bytes;
    };
    const U_UTF16String lone{'a', 0xD800, 'b', 0xDC00};
    const Lacking rows[] = {
        {U_ENCODING_WINDOWS_LATIN1, u"a\u3042b"_u16, "a?b"},
        {U_ENCODING_WINDOWS_LATIN1, u"\U0001F600"_u16, "?"},
        {U_ENCODING_WINDOWS_LATIN1, u"a\u200Db"_u16, "a?b"},  // invisible, and still not dropped
        {U_ENCODING_WINDOWS_JAPANESE, u"\u00E9\u3042"_u16, "?\x82\xA0"},
        {U_ENCODING_MAC_ROMAN, lone, "a?b?"},
        {U_ENCODING_UTF8, lone, "a?b?"},
    };
    for (const Lacking& row : rows) {
        const ScEncoding encoding{row.encoding};
        EXPECT_EQ(U_UTF16ToMBString(row.units), row.bytes);
        EXPECT_EQ(U_UTF16ToMBString(row.units, true), "") << row.bytes;
    }
    EXPECT_TRUE(U_UTF16To8String(lone).empty());
}

using Failures = qltest::Library;

TEST_F(Failures, TowardsSixteenBitsAreReportedAndThrownUnlessQuiet)
{
    const auto thrown = [](const auto& body) {
        try {
            body();
        } catch (int code) {
            return code;
        }
        return 0;
    };
    EXPECT_EQ(thrown([] { U_UTF8To16String("a\xFF"_utf8); }), 1);
    EXPECT_EQ(thrown([] { Up_EncodedStringToUTF16String("\x81", 1056, false); }), 1);
    EXPECT_EQ(thrown([] { Up_ReportAndThrowUnicodeConversionError(77); }), 77);
    ASSERT_EQ(Reports().size(), 3u);
    EXPECT_EQ(Reports()[0], (qltest::Report{0x17002E, U_Sev_PROBLEM,
                                            "QLTest error: could not convert Unicode characters."}));
    Forget();

    EXPECT_TRUE(U_MBToUTF16String("\xFF").empty());
    EXPECT_TRUE(U_ConvertEncodedStringToUnicode(0, 1056, "\x81").empty());
    EXPECT_EQ(U_ConvertEncodedStringToUnicode(0, 3, "\x81\x5B"), u"\u30FC"_u16);  // Japanese stands in
    EXPECT_TRUE(Reports().empty());
}

TEST(Conversions, OfMatchNamesMendThem)
{
    EXPECT_EQ(U_MatchNameToUTF16String("Glow"_utf8), u"Glow"_u16);
    EXPECT_EQ(U_MatchNameToUTF16String("Gl\xFFow"_utf8), u"Gl\uFFFDow"_u16);
}

TEST(Conversions, SurviveEveryFailedAllocation)
{
    const ScEncoding encoding{U_ENCODING_WINDOWS_JAPANESE};
    const std::string bytes = std::string(100, 'x') + "\x95\x5C";
    U_MBToUTF16String(bytes);  // opens this thread's converter
    qltest::EveryAllocationFails([&] { return U_UTF16ToMBString(U_MBToUTF16String(bytes)) == bytes; });
}

}  // namespace
