#include "U_String.h"

#include <cstring>

#include "QLTest.h"
#include "TextSamples.h"

namespace {

using zvkcore::string::literals::operator""_u16;
using zvkcore::string::literals::operator""_utf8;

class Cuts : public EachSample {};
INSTANTIATE_SAMPLES(Cuts);

// A target of exactly `size` bytes, so that a sanitizer sees a byte too many.
struct Target {
    explicit Target(size_t size, const char* text = "") : bytes(size, '#')
    {
        if (size) std::strncpy(bytes.data(), text, size);
    }
    std::string Text() const { return {bytes.data(), strnlen(bytes.data(), bytes.size())}; }
    std::vector<char> bytes;
};

TEST_P(Cuts, FallOnACharacterOfTheSource)
{
    const TextSample& sample = Sample();
    const std::string& text = sample.text;
    for (size_t size = 1; size <= text.size() + 2; ++size) {
        SCOPED_TRACE(size);
        const std::string expected = text.substr(0, sample.CutAt(size - 1));
        Target copied{size};
        EXPECT_EQ(U_CopyString(text.c_str(), size, copied.bytes.data()), 0);
        EXPECT_EQ(copied.Text(), expected);
        Target joined{size + 3, "abc"};
        EXPECT_EQ(U_ConcatString(text.c_str(), size + 3, joined.bytes.data()), 0);
        EXPECT_EQ(joined.Text(), "abc" + expected);
        std::string whole = text;
        EXPECT_EQ(U_TruncateString(static_cast<int>(size - 1), whole.data()), 0);
        EXPECT_EQ(whole.c_str(), expected);

        for (size_t length = 0; length <= text.size(); ++length) {  // of a source without a terminator
            const std::vector<char> source(text.data(), text.data() + length);
            EXPECT_EQ(U_CopyStringLen(source.data(), length, size, copied.bytes.data()), 0);
            EXPECT_EQ(copied.Text(), text.substr(0, sample.CutAt(std::min(length, size - 1)))) << length;
        }
    }
}

TEST_P(Cuts, KeepATextThatFitsWholeThoughItEndsInHalfACharacter)
{
    const std::string text = "a" + Sample().text.substr(Sample().starts[1], 1);
    Target target{3};
    U_CopyStringLen(text.c_str(), 100, 3, target.bytes.data());
    EXPECT_EQ(target.Text(), text);
    U_CopyString(text.c_str(), SIZE_MAX, target.bytes.data());
    EXPECT_EQ(target.Text(), text);
}

TEST(Copies, WithoutRoomWriteNothing)
{
    char target[] = "abc";
    U_CopyString("xyz", 0, target);
    U_CopyStringLen("xyz", 3, 0, target);
    U_ConcatString("xyz", 4, target);
    U_ConcatString("xyz", 2, target);
    EXPECT_STREQ(target, "abc");
    U_CopyString("xyz", 1, target);
    EXPECT_STREQ(target, "");
    U_TruncateString(-5, target);
    EXPECT_STREQ(target, "");
}

TEST(Copies, OfStringClassesKeepCharactersWhole)
{
    const U_UTF16String text = u"a\U0001F600b"_u16;
    std::vector<unsigned short> units(3, 7);
    EXPECT_EQ(U_CopyStringW(text.c_str(), 0, units.data()), 0);
    EXPECT_EQ(units[0], 7);
    EXPECT_EQ(U_CopyStringW(text.c_str(), 3, units.data()), 0);
    EXPECT_EQ(U_UTF16String(units.data()), u"a"_u16);
    units.resize(5);
    EXPECT_EQ(U_CopyStringW(text.c_str(), 5, units.data()), 0);
    EXPECT_EQ(U_UTF16String(units.data()), text);

    U_UTF16String cut = text;
    U_TruncateStringToNumChars(&cut, 3);
    EXPECT_EQ(cut, u"a\U0001F600"_u16);
    U_TruncateStringToByteSize(&cut, 5);
    EXPECT_EQ(cut, u"a"_u16);
    U_UTF8String bytes = "a\u00E9"_utf8;
    U_TruncateStringToByteSize(&bytes, 2);
    EXPECT_EQ(bytes, "a"_utf8);

    const ScEncoding latin{U_ENCODING_WINDOWS_LATIN1};  // UTF-8 is cut as UTF-8 all the same
    unsigned char out[] = "#";
    EXPECT_EQ(U_CopyToUTF8Buf(u"\u00E9"_u16, 0, out), 0);
    EXPECT_EQ(out[0], '#');
    EXPECT_EQ(U_CopyToUTF8Buf(u"\u00E9"_u16, sizeof out, out), 0);
    EXPECT_EQ(out[0], 0);
}

using PascalStrings = qltest::Library;

TEST_F(PascalStrings, ReportWhatDoesNotFit)
{
    const unsigned char abc[] = "\3abc";
    char text[5] = "zzzz";
    EXPECT_EQ(U_CopyPtoCString(abc, 3, text), 10);
    EXPECT_STREQ(text, "zzzz");
    EXPECT_EQ(U_CopyPtoCString(abc, 4, text), 0);
    EXPECT_STREQ(text, "abc");

    const std::string three(300, 'x');
    unsigned char pascal[400];
    EXPECT_EQ(U_CopyCtoPString(three.c_str(), 400, pascal), 10);
    EXPECT_EQ(pascal[0], 255);
    EXPECT_EQ(U_CopyCtoPString("ab\u00E9", 4, pascal), 10);
    EXPECT_EQ(std::string(pascal, pascal + 3), "\2ab");
    EXPECT_EQ(U_CopyCtoPString("abc", 4, pascal), 0);
    EXPECT_EQ(std::string(pascal, pascal + 4), "\3abc");
    EXPECT_EQ(U_CopyCtoPString("", 0, nullptr), 0);

    unsigned char copy[4];
    EXPECT_EQ(U_Pstrcpy(copy, abc), 0);
    EXPECT_EQ(std::memcmp(copy, abc, 4), 0);

    ASSERT_EQ(Reports().size(), 3u);
    EXPECT_EQ(Reports()[0],
              (qltest::Report{0, U_Sev_PROBLEM, "QLTest error: text too long for 3-byte buffer ('abc')."}));
    EXPECT_EQ(Reports()[2].text, "QLTest error: text too long for 4-byte pascal string buffer ('ab\u00E9').");
}

class Searches : public EachSample {};
INSTANTIATE_SAMPLES(Searches);

TEST_P(Searches, MatchWhereACharacterBegins)
{
    const TextSample& sample = Sample();
    const char* const text = sample.text.c_str();
    for (int c = 0; c < 256; ++c) {
        const char* first = nullptr;
        const char* last = nullptr;
        for (size_t at = 0; at <= sample.text.size(); ++at) {
            if (!sample.IsStart(at) || text[at] != static_cast<char>(c)) continue;
            last = text + at;
            if (!first) first = last;
        }
        const char find[] = {static_cast<char>(c), 0};
        EXPECT_EQ(U_strchr(text, c), first) << c;
        EXPECT_EQ(U_strrchr(text, c), last) << c;
        EXPECT_EQ(U_strstr(text, find), c ? first : text) << c;
        EXPECT_EQ(U_strrstr(text, find), last) << c;
    }
    const std::string doubled = sample.text + sample.text;
    EXPECT_EQ(U_strstr(doubled.c_str(), text), doubled.c_str());
    EXPECT_EQ(U_strrstr(doubled.c_str(), text), doubled.c_str() + sample.text.size());
    EXPECT_EQ(U_strstr(text, doubled.c_str()), nullptr);
}

TEST(Comparison, OrdersByUnits)
{
    struct Row {
        const char* a;
        const char* b;
        int exact;  // of U_strcmp
        int folded;
    };
    const Row rows[] = {
        {"", "", 0, 0},
        {"", "a", -1, -1},
        {"a", "", 1, 1},
        {"C", "A", 2, 1},
        {"9", "1", 8, 8},
        {"a", "B", 1, -1},
        {"ab", "abc", -1, -1},
        {"SAME", "same", -1, 0},
        {"\u00C9t\u00E9", "\u00E9t\u00C9", -1, 0},
        {"\uFF21", "\U0001F600", 1, 1},  // by unit U+FF21 stands behind a surrogate
    };
    for (const Row& row : rows) {
        EXPECT_EQ(U_strcmp(row.a, row.b), row.exact) << row.a << " " << row.b;
        const int folded = U_stricmp(row.a, row.b);
        EXPECT_EQ((folded > 0) - (folded < 0), (row.folded > 0) - (row.folded < 0)) << row.a << " " << row.b;
    }
    const std::string longName(1023, 'n');
    EXPECT_EQ(U_stricmp((longName + "a").c_str(), (longName + "b").c_str()), 0);
}

TEST(Case, ChangesInPlaceAndKeepsTheLength)
{
    struct Row {
        const char* name;
        unsigned int encoding;
        const char* text;
        const char* lower;
        const char* upper;
    };
    const Row rows[] = {
        {"TwoBytes", U_ENCODING_UTF8, "\u00C9t\u00E9 7", "\u00E9t\u00E9 7", "\u00C9T\u00C9 7"},
        {"KelvinIsLonger", U_ENCODING_UTF8, "1 \u212A X", "1 \u212A x", "1 \u212A X"},
        {"LowerIsLonger", U_ENCODING_UTF8, "\u023AA", "\u023Aa", "\u023AA"},
        {"MicroIsNotInLatin", U_ENCODING_WINDOWS_LATIN1, "\xB5m", "\xB5m", "\xB5M"},
        {"TrailBytesStay", U_ENCODING_WINDOWS_JAPANESE, "\x83\x41z", "\x83\x41z", "\x83\x41Z"},
        {"InvalidStays", U_ENCODING_UTF8, "Ab\xFF", "Ab\xFF", "Ab\xFF"},
    };
    for (const Row& row : rows) {
        const ScEncoding encoding{row.encoding};
        std::string text = row.text;
        EXPECT_EQ(U_StringToLower(text.data()), 0);
        EXPECT_EQ(text, row.lower) << row.name;
        text = row.text;
        EXPECT_EQ(U_StringToUpper(text.data()), 0);
        EXPECT_EQ(text, row.upper) << row.name;
    }
}

TEST(TextHelpers, HexadecimalDigits)
{
    const std::string digits = "0123456789abcdef0123456789ABCDEF";
    for (int c = -1; c <= 256; ++c) {
        const size_t at = c > 0 && c < 256 ? digits.find(static_cast<char>(c)) : digits.npos;
        unsigned char nibble = 99;
        unsigned char isHex = 99;
        EXPECT_EQ(U_HexChar2Nibble(c, &nibble, &isHex), 0);
        EXPECT_EQ(nibble, at == digits.npos ? 0 : at % 16) << c;
        EXPECT_EQ(isHex, at != digits.npos) << c;
    }
    EXPECT_EQ(U_HexChar2Nibble('a', nullptr, nullptr), 0);
}

TEST(TextHelpers, SplitKeepsEmptyPieces)
{
    using Texts = std::vector<U_UTF16String>;
    const std::tuple<U_UTF16String, U_UTF16String, Texts> rows[] = {
        {u"a, b, "_u16, u", "_u16, {u"a"_u16, u"b"_u16, u""_u16}},
        {u"aaa"_u16, u"aa"_u16, {u""_u16, u"a"_u16}},
        {u""_u16, u"x"_u16, {u""_u16}},
        {u"ab"_u16, u""_u16, {u"ab"_u16}},
    };
    for (const auto& [text, separator, expected] : rows) {
        Texts pieces{u"old"_u16};
        U_SplitUTF16String(text, separator, pieces);
        EXPECT_EQ(pieces, expected) << qltest::Text(text);
    }
}

TEST(TextHelpers, CodesAndRelativeNumbers)
{
    EXPECT_EQ(U_UTF8BytesToString(0x41424344), "ABCD"_utf8);
    EXPECT_EQ(U_UTF8BytesToString(0x41420043), "AB"_utf8);
    EXPECT_FALSE(U_NumericStringIndicatesRelative(""_utf8));
    EXPECT_EQ(U_SetNumericStringToIndicateRelative("5"_utf8, true), "+5"_utf8);
    EXPECT_EQ(U_SetNumericStringToIndicateRelative("+5"_utf8, true), "+5"_utf8);
    EXPECT_EQ(U_SetNumericStringToIndicateAbsolute("++5"_utf8), "+5"_utf8);
    EXPECT_EQ(U_SetNumericStringToIndicateAbsolute("5"_utf8), "5"_utf8);

    EXPECT_STREQ(U_SpecialCharacters[U_SpecialChar_DOWN_TRIANGLE], "\xE2\x96\xBE");
    EXPECT_STREQ(U_SpecialCharacters[U_SpecialChar_HYPHEN_MINUS], "-");
    EXPECT_STREQ(U_SpecialCharacters[U_SpecialChar_HORIZONTAL_BAR], "\xE2\x80\x95");
}

}  // namespace
