#include "zvkcore/string/UTFString.h"

#include <gtest/gtest.h>
#include <unicode/ustring.h>

#include <clocale>
#include <cmath>
#include <random>

#include "zvkcore/string/Convert.h"
#include "zvkcore/string/Format.h"
#include "zvkcore/string/NumberLocale.h"
#include "zvkcore/string/Truncate.h"

namespace zvkcore::string {
namespace {

std::string Bytes(const UTF8String& text)
{
    return std::string{View(text)};
}
std::string Bytes(const UTF16String& text)
{
    return Bytes(UTF16to8(text));
}

template <class Text>
void ExpectTraitsLikeALoop()
{
    using Unit = typename Text::value_type;
    for (std::size_t size = 0; size < 40; ++size) {
        const Text zeros(size, 0);
        EXPECT_EQ(zeros.find(Unit{1}), Text::npos);
        for (std::size_t at = 0; at < size; ++at) {
            for (const Unit mark : {Unit{1}, static_cast<Unit>(0x80), static_cast<Unit>(~Unit{0})}) {
                Text marked = zeros;
                marked[at] = mark;
                EXPECT_EQ(marked.find(mark), at);
                EXPECT_GT(marked, zeros);
                EXPECT_LT(zeros, marked);
                EXPECT_NE(zeros, marked);
                EXPECT_EQ(marked.compare(Text{marked}), 0);
            }
        }
    }
}

TEST(Traits, CompareAndFindLikeALoop)
{
    ExpectTraitsLikeALoop<UTF16String>();
    ExpectTraitsLikeALoop<UTF8String>();
    // The order is that of the units' values, not of their bytes in memory.
    EXPECT_LT(u"aaaa\u01FF"_u16, u"aaaa\u0200"_u16);
    UTF16String text = u"frame"_u16;
    text.insert(2, text);
    EXPECT_EQ(View(text), u"frframeame");
}

TEST(Conversion, KeepsEveryCodePoint)
{
    UTF8String bytes;
    UTF16String units;
    for (UChar32 code = 1; code <= 0x10FFFF; ++code) {
        if (U_IS_SURROGATE(code)) continue;
        UChar pair[2];
        char sequence[4];
        int32_t unitCount = 0;
        int32_t byteCount = 0;
        U16_APPEND_UNSAFE(pair, unitCount, code);
        U8_APPEND_UNSAFE(sequence, byteCount, code);
        units.append(Units(std::u16string_view{pair, static_cast<std::size_t>(unitCount)}));
        bytes.append(Units(std::string_view{sequence, static_cast<std::size_t>(byteCount)}));
    }
    UTF16String wide;
    UTF8String narrow;
    EXPECT_TRUE(TryUTF8to16(bytes, wide) && wide == units);
    EXPECT_TRUE(TryUTF16to8(units, narrow) && narrow == bytes);
    EXPECT_TRUE(UTF8to16(bytes) == units && UTF16to8(units) == bytes);
}

// Around the blocks of sixteen and the buffer of 1024, with a character of each width at each place.
TEST(Conversion, MeetsEveryBoundary)
{
    for (const std::string_view mark : {"", "\xC3\xA9", "\xE3\x83\xAC", "\xF0\x9F\x8E\xAC"}) {
        for (std::size_t before :
             {0u, 1u, 7u, 8u, 9u, 15u, 16u, 17u, 31u, 32u, 39u, 340u, 1007u, 1020u, 1023u, 1024u, 2047u}) {
            for (std::size_t behind : {0u, 1u, 13u, 15u, 16u, 33u, 1024u}) {
                const std::string text =
                    std::string(before, 'a') + std::string{mark} + std::string(behind, 'b');
                const UTF16String wide = UTF8to16(std::string_view{text});
                EXPECT_EQ(wide.size(), before + behind + (mark.empty() ? 0 : mark.size() == 4 ? 2 : 1));
                EXPECT_EQ(Bytes(wide), text);
            }
        }
    }
}

struct IllFormedRow {
    const char* name;
    std::string_view bytes;
    int pieces;
};
constexpr IllFormedRow kIllFormed[] = {
    {"loneTrail", "\x80", 1},         {"cutThree", "\xE3\x83", 1},
    {"cutFour", "\xF0\x9F\x8E", 1},   {"cutThenText", "\xE3\x83z", 1},
    {"overlongTwo", "\xC0\xAF", 2},   {"overlongThree", "\xE0\x80\xAF", 3},
    {"surrogate", "\xED\xA0\x80", 3}, {"beyondLast", "\xF4\x90\x80\x80", 4},
    {"neverBytes", "\xFE\xFF", 2},
};

TEST(Conversion, ReplacesOrRefusesIllFormedText)
{
    for (const auto& row : kIllFormed) {
        SCOPED_TRACE(row.name);
        for (const std::size_t before : {0u, 15u, 1022u}) {
            const std::string text = std::string(before, 'a') + std::string{row.bytes} + "end of the text";
            UTF16String wide = u"old"_u16;
            EXPECT_FALSE(TryUTF8to16(Units(std::string_view{text}), wide));
            EXPECT_TRUE(wide.empty());
            wide = UTF8to16(std::string_view{text});
            EXPECT_EQ(std::count(wide.begin(), wide.end(), 0xFFFD), row.pieces);
            EXPECT_TRUE(wide.ends_with(u"end of the text"_u16));
            UTF8String sanitised{Units(std::string_view{text})};
            EXPECT_TRUE(SanitizeUTF8CharacterString(sanitised));
            EXPECT_EQ(sanitised, UTF16to8(wide));
            EXPECT_FALSE(SanitizeUTF8CharacterString(sanitised));
        }
    }
    for (const std::u16string& lone : {std::u16string{u'a', 0xD83C}, std::u16string{0xD83C, u'a'},
                                       std::u16string{0xDC00, u'a'}, std::u16string{0xD83C, 0xD83C}}) {
        UTF8String narrow = "old"_utf8;
        EXPECT_FALSE(TryUTF16to8(Units(lone), narrow));
        EXPECT_TRUE(narrow.empty());
        EXPECT_NE(Bytes(UTF16to8(Units(lone))).find("\xEF\xBF\xBD"), std::string::npos);
    }
}

TEST(Conversion, AgreesWithICUOnRandomBytes)
{
    constexpr unsigned char kTelling[] = {0x20, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC1, 0xC2,
                                          0xDF, 0xE0, 0xE3, 0xED, 0xEF, 0xF0, 0xF1, 0xF4, 0xF5, 0xFF};
    const unsigned seed = 77;
    SCOPED_TRACE(seed);
    std::mt19937 random{seed};
    for (int i = 0; i < 20000; ++i) {
        UTF8String bytes(random() % 24, 0);
        for (auto& byte : bytes) byte = kTelling[random() % std::size(kTelling)];
        UChar expected[64];
        int32_t count = 0;
        UErrorCode status = U_ZERO_ERROR;
        u_strFromUTF8WithSub(expected, 64, &count, View(bytes).data(), static_cast<int32_t>(bytes.size()),
                             0xFFFD, nullptr, &status);
        ASSERT_EQ(View(UTF8to16(bytes)), (std::u16string_view{expected, static_cast<std::size_t>(count)}))
            << i;
    }
}

TEST(Conversion, AsciiAndByteOrderMark)
{
    const std::string text = std::string(40, 'a') + "\xE9" + std::string(20, 'b');
    const UTF16String wide = AsciiToUTF16(text.c_str());
    EXPECT_EQ(Bytes(wide), std::string(40, 'a') + "\xEF\xBF\xBD" + std::string(20, 'b'));
    EXPECT_TRUE(AsciiToUTF16(nullptr).empty());
    UTF8String marked = GetUTF8BOM_String() + "text"_utf8;
    EXPECT_TRUE(StringBeginsWithUTF8BOM(marked));
    EXPECT_FALSE(StringBeginsWithUTF8BOM(std::string_view{"\xEF\xBB"}));
    EXPECT_TRUE(RemoveUTF8BOM_IfPresent(marked));
    EXPECT_FALSE(RemoveUTF8BOM_IfPresent(marked));
    EXPECT_EQ(Bytes(marked), "text");
}

TEST(Truncation, NeverDividesACharacter)
{
    const std::string text = "a\xC3\xA9\xE3\x83\xAC\xF0\x9F\x8E\xAC";  // characters end at 1, 3, 6, 10
    constexpr std::size_t kKept[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 10};
    for (std::size_t limit = 0; limit < std::size(kKept); ++limit) {
        UTF8String bytes{Units(std::string_view{text})};
        TruncateStringToNumBytes(bytes, limit);
        EXPECT_EQ(bytes.size(), kKept[limit]) << limit;
    }
    UTF8String trails(8, 0x80);
    TruncateStringToNumBytes(trails, 5);
    EXPECT_EQ(trails.size(), 5u);

    struct Row {
        std::size_t limit;
        bool ellipsis;
        const char* kept;
    };
    constexpr Row kRows[] = {{0, false, ""},
                             {0, true, ""},
                             {1, false, "a"},
                             {2, false, "a"},
                             {2, true, "a\xE2\x80\xA6"},
                             {3, true, "a\xE2\x80\xA6"},
                             {3, false, "a\xF0\x9F\x8E\xAC"},
                             {4, true,
                              "a\xF0\x9F\x8E\xAC"
                              "b"}};
    for (const Row& row : kRows) {
        UTF16String units = u"a\U0001F3ACb"_u16;
        TruncateStringToNumChars(units, row.limit, row.ellipsis);
        EXPECT_EQ(Bytes(units), row.kept) << row.limit << row.ellipsis;
    }
}

TEST(Places, AreFilledOnceAndEverywhere)
{
    EXPECT_EQ(Bytes(ReplaceInString(u"@0 and @1, @0"_u16, u"@1"_u16, u"x"_u16)), "@1 and x, @1");
    EXPECT_EQ(Bytes(ReplaceInString(u"@@2@9@8@"_u16, {}, {}, u"two"_u16, {}, {}, {}, {}, {}, u"eight"_u16)),
              "@two@9eight@");
    EXPECT_EQ(Bytes(ReplaceInString({}, u"x"_u16)), "");
}

struct NumberRow {
    double value;
    unsigned long integerDigits, decimals;
    unsigned int flags;
    int width;
    const char* text;
};
constexpr NumberRow kNumbers[] = {
    {38.14697265625, 1, 3, 0, 31, "38.147"},
    {2.0, 1, 1, 0, 31, "2.0"},
    {2.0, 1, 9, 5, 31, "2"},
    {-0.1, 1, 9, 5, 31, "-0.1"},
    {1200, 1, 0, 5, 31, "1200"},
    {7.5, 3, 2, 0, 31, "007.50"},
    {-7.5, 3, 0, 0, 31, "-008"},
    {1e40, 1, 2, 0, 31, "1.00e+40"},
    {123456789, 1, 0, 0, 5, "1e+08"},
    {123456789, 1, 9, 0, 8, "1.23e+08"},
    {5, 4000000000ul, 0, 0, 4, "0005"},
    {-HUGE_VAL, 1, 2, 0, 31, "-inf"},
};

TEST(Numbers, AskNoProcessLocale)
{
    for (const char* locale : {"C", "de_DE.UTF-8"}) {
        std::setlocale(LC_ALL, locale);
        for (const auto& row : kNumbers) {
            EXPECT_EQ(Bytes(NumberToString(row.value, row.integerDigits, row.decimals, row.flags, row.width)),
                      row.text);
        }
        EXPECT_EQ(Bytes(NumberToMemoryString(0, 2, false)), "0 bytes");
        EXPECT_EQ(Bytes(NumberToMemoryString(1023, 2, false)), "1023 bytes");
        EXPECT_EQ(Bytes(NumberToMemoryString(1536, 2, false)), "1.50 KB");
        EXPECT_EQ(Bytes(NumberToMemoryString(1 << 30, 2, false)), "1.00 GB");
        EXPECT_EQ(Bytes(NumberToMemoryString(~std::uint64_t{0}, 0, false)), "16 EB");
    }
    std::setlocale(LC_ALL, "C");
}

TEST(Numbers, TakeTheFormOfTheLocaleThatTheHostSets)
{
    struct Row {
        const char* locale;
        const char* shown;
    };
    constexpr Row kRows[] = {
        {"de_DE", "-1.234.567,25"},
        {"fr", "-1\u202F234\u202F567,25"},
        {"sv_SE", "\u22121\u00A0234\u00A0567,25"},
        {"ar_EG", "\u061C-\u0661\u066C\u0662\u0663\u0664\u066C\u0665\u0666\u0667\u066B\u0662\u0665"}};
    const UTF16String plain = u"-1,234,567.25"_u16;
    for (const Row& row : kRows) {
        ASSERT_TRUE(SetNumberLocale(row.locale));
        UTF16String text = plain;
        InternationalizeNum(text);
        EXPECT_EQ(Bytes(text), row.shown) << row.locale;
        DeInternationalizeNum(text);
        EXPECT_EQ(Bytes(text), Bytes(plain)) << row.locale;
    }
    ASSERT_TRUE(SetNumberLocale("fr"));
    UTF16String typed = u"12 345,5 mm et 7"_u16;
    DeInternationalizeNum(typed);
    EXPECT_EQ(Bytes(typed), "12,345.5 mm et 7");
    EXPECT_EQ(Bytes(NumberToString(1.5, 1, 2, 0, 31)), "1,50");
    EXPECT_EQ(Bytes(NumberToString(1.5, 1, 2, kNumberPlainForm, 31)), "1.50");
    EXPECT_EQ(Bytes(NumberToMemoryString(1536, 1, true)), "1,5 KB");
    EXPECT_FALSE(SetNumberLocale("zz_no_such_place"));
    EXPECT_EQ(Bytes(NumberToString(1.5, 1, 1, 0, 31)), "1,5") << "a bad name changes nothing";
    EXPECT_TRUE(SetNumberLocale(nullptr));
    EXPECT_EQ(Bytes(NumberToString(1.5, 1, 1, 0, 31)), "1.5");
}

}  // namespace
}  // namespace zvkcore::string
