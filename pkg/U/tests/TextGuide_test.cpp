// The examples of docs/guides/text.md.
#include <cstring>

#include "TextSamples.h"
#include "U_SubString.h"
#include "zvkcore/string/NumberLocale.h"

namespace {

using zvkcore::string::literals::operator""_u16;

TEST(TextGuide, Conversions)
{
    U_UTF16String title = U_MBToUTF16String("Layer 7");
    U_UTF8String bytes = U_UTF16To8String(title);
    U_UTF16String again = U_UTF8To16String(bytes);
    std::string label = U_UTF16ToMBString(title);
    std::string exact = U_UTF16ToMBString(title, true);
    U_UTF16String old = U_ConvertEncodedStringToUnicode(1, 932, "\x83\x41");
    EXPECT_EQ(again, title);
    EXPECT_EQ(label, exact);
    EXPECT_EQ(old, u"\u30A2"_u16);
}

TEST(TextGuide, CutsAndSearches)
{
    char label[8];
    U_CopyString("\u3042\u3044\u3046", sizeof label, label);
    EXPECT_STREQ(label, "\u3042\u3044");
    EXPECT_STREQ(U_strrchr("clip.2.mov", '.'), ".mov");
}

TEST(TextGuide, Templates)
{
    char line[128];
    U_SubString(line, sizeof line, "frame ^L1 of '^2' took ^F3@1.3@ s", 42, "Layer 7", 1.25);
    U_UTF16String german = U_SubString16(u"'^2': Bild ^L1"_u16, 42, U_MBToUTF16String("Layer 7"));
    EXPECT_STREQ(line, "frame 42 of 'Layer 7' took 1.250 s");
    EXPECT_EQ(german, u"'Layer 7': Bild 42"_u16);
}

TEST(TextGuide, Numbers)
{
    zvkcore::string::SetNumberLocale("de_DE");
    char number[256];
    U_FormatNum(1234567.5, U_FORMAT_SEPARATORS, 1, 2, number);
    EXPECT_STREQ(number, "1.234.567,50");
    double value;
    U_ScanNum("1234,5", 0, &value);
    EXPECT_EQ(value, 1234.5);
    U_FormatNum(1234567.5, U_FORMAT_NO_INTL, 1, 2, number);
    EXPECT_STREQ(number, "1234567.50");
    U_LongFormatBytes(1536ULL << 20, number);
    EXPECT_STREQ(number, "1,5 GB");
    zvkcore::string::SetNumberLocale(nullptr);
}

}  // namespace
