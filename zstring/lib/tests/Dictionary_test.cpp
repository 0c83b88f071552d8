#include <gtest/gtest.h>

#include <string>

#include "Block.h"
#include "zlex.h"
#include "zvkcore/string/Convert.h"

namespace {

using namespace zvkcore::string::literals;
using zlextest::Block;
using zvkcore::string::UTF16String;

constexpr zlex::EncodingInfo kUTF8{zlex::kEncodingUTF8};

bool Read(zlex::Dictionary& dictionary, const std::string& bytes)
{
    return dictionary.Read(bytes.data(), static_cast<int>(bytes.size()), false);
}

UTF16String Look(const zlex::Dictionary& dictionary, const char* key)
{
    return dictionary.Lookup(key, &kUTF8).Take();
}

std::string InUTF16(const UTF16String& text, bool swapped)
{
    std::string bytes;
    for (unsigned short unit : text) {
        const unsigned short order = swapped ? __builtin_bswap16(unit) : unit;
        bytes.append(reinterpret_cast<const char*>(&order), sizeof order);
    }
    return bytes;
}

TEST(Lookup, SplitsTheLiteral)
{
    const std::pair<const char*, UTF16String> rows[] = {
        {"$$$/QL/U/ByteSizeFormat/Bytes=bytes", u"bytes"_u16},
        {"$$$/a=", u""_u16},
        {"$$$/a", u""_u16},
        {"plain=text=more", u"text=more"_u16},
        {"$/a=x", u""_u16},
        {"$$/a=x", u""_u16},
        {"=x", u"x"_u16},
        {"$", u""_u16},
        {"", u""_u16},
        {"$$$/a=\xC3\xA9^C#{endl}\\", u"\u00E9\u00A9\r\\"_u16},
        {"$$$/a=a\xFF\xC3", u"a\uFFFD\uFFFD"_u16},
    };
    const zlex::Dictionary empty;
    for (const auto& [literal, text] : rows) EXPECT_EQ(Look(empty, literal), text) << literal;
    EXPECT_EQ(Look(empty, nullptr), u""_u16);
}

TEST(Lookup, EncodesTheDefaultAsItIsTold)
{
    const zlex::Dictionary empty;
    const char* const key = "$$$/a=\xC3\xA9";
    const zlex::EncodingInfo none{0}, system{2};
    EXPECT_EQ(empty.Lookup(key, nullptr).Take(), (UTF16String{0xFFC3, 0xFFA9}));
    EXPECT_EQ(empty.Lookup(key, &none).Take(), (UTF16String{0xFFC3, 0xFFA9}));
    EXPECT_EQ(empty.Lookup(key, &system).Take(), u"\u00E9"_u16);
    const auto former =
        zlex::SetSystemTextConverter([](const char*, size_t length) { return UTF16String(length, 'x'); });
    EXPECT_EQ(empty.Lookup(key, &system).Take(), u"xx"_u16);
    zlex::SetSystemTextConverter(former);
}

TEST(Lookup, AsksTheMainDictionaryBeforeTheDefault)
{
    zlex::Dictionary own;
    ASSERT_TRUE(Read(own, "\"/a=own\""));
    {
        zlex::Dictionary main;
        ASSERT_TRUE(Read(main, "\"/a=main\"\n\"/b=main\""));
        main.MakeMain();
        EXPECT_EQ(Look(own, "/a=default"), u"own"_u16);
        EXPECT_EQ(Look(own, "/b=default"), u"main"_u16);
        EXPECT_EQ(Look(main, "/c=default"), u"default"_u16);
    }
    EXPECT_EQ(Look(own, "/b=default"), u"default"_u16);
}

TEST(Stored, ByVersion)
{
    struct Row {
        const char* name;
        char major, minor;
        bool swapped, good;
    };
    const Row rows[] = {{"Current", 2, 1, false, true},    {"Swapped", 2, 1, true, true},
                        {"Later minor", 2, 9, true, true}, {"Minor 0 has no flag", 2, 0, false, true},
                        {"Older", 1, 5, false, false},     {"Oldest", 1, 0, false, false},
                        {"Newer", 3, 0, false, false},     {"Negative", 2, -1, false, false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Block block = Block::Of("/a", u"A ^C #{amp}"_u16);  // final form: nothing is converted any more
        block.major = row.major;
        block.minor = row.minor;
        block.swapped = row.swapped;
        zlex::Dictionary dictionary;
        EXPECT_EQ(Read(dictionary, block.Bytes()), row.good);
        EXPECT_EQ(dictionary.IsLoaded(), row.good);
        EXPECT_EQ(Look(dictionary, "$$$/a=default"), row.good ? u"A ^C #{amp}"_u16 : u"default"_u16);
    }
}

TEST(Stored, TruncatedAnywhereItFailsAndKeepsTheEarlierTexts)
{
    zlex::Dictionary dictionary;
    ASSERT_TRUE(Read(dictionary, Block::Of("/a", u"old"_u16).Bytes()));
    Block fresh = Block::Of("/a", u"new"_u16);
    fresh.accelerators.emplace_back(0, u"n"_u16);
    const std::string block = fresh.Bytes();
    constexpr size_t kMagic = 21;
    for (size_t length = kMagic; length < block.size(); ++length) {
        const std::unique_ptr<char[]> exact(new char[length]);
        block.copy(exact.get(), length);
        ASSERT_FALSE(dictionary.Read(exact.get(), static_cast<int>(length), false)) << length;
        ASSERT_FALSE(dictionary.IsLoaded());
        ASSERT_EQ(Look(dictionary, "/a=x"), u"old"_u16);
    }
    EXPECT_TRUE(Read(dictionary, block));
    EXPECT_TRUE(dictionary.IsLoaded());
    EXPECT_EQ(Look(dictionary, "/a=x"), u"new"_u16);

    std::string longName = block;
    longName.replace(25, 4, "\xFF\xFF\xFF\xFF");
    EXPECT_FALSE(Read(dictionary, longName));
}

TEST(Text, IsReadInEachEncoding)
{
    const UTF16String text =
        u"A remark\r\n\r\n  \"$$$/a=\\\"Bild\\\" \u2014 #{copy}\" remark \"/x=y\"\r\"/b=^C\"\n/c=no "
        u"quotes\n\"/d=\n\"open\n"
        u"\"\u00E9\u0141=narrowed\"\n\"/a2=eins\"\n\"/a2=zwei\""_u16;
    const std::string utf8(zvkcore::string::View(zvkcore::string::UTF16to8(text)));
    const UTF16String marked = u"\uFEFF"_u16 + text;
    const std::string forms[] = {utf8, "\xEF\xBB\xBF" + utf8, InUTF16(marked, false), InUTF16(marked, true),
                                 InUTF16(marked, true) + "x"};  // half a unit
    for (const std::string& form : forms) {
        zlex::Dictionary dictionary;
        ASSERT_TRUE(Read(dictionary, form));
        EXPECT_TRUE(dictionary.IsLoaded());
        EXPECT_EQ(Look(dictionary, "$$$/a=x"), u"\"Bild\" \u2014 \u00A9"_u16);
        EXPECT_EQ(Look(dictionary, "/b=x"), u"\u00A9"_u16);
        EXPECT_EQ(Look(dictionary, "/a2=x"), u"zwei"_u16);
        EXPECT_EQ(Look(dictionary, "\xE9\x41=x"), u"narrowed"_u16);
        for (const char* none : {"/c=x", "/d=x", "/x=x"}) EXPECT_EQ(Look(dictionary, none), u"x"_u16) << none;
    }
}

TEST(Text, AMalformedKeyRefusesTheWholeBlock)
{
    zlex::Dictionary dictionary;
    ASSERT_TRUE(Read(dictionary, "\"/a=old\""));
    for (const char* bad : {"\"/a=new\"\n\"$/b=x\"", "\"/a=new\"\n\"$$/b=x\"", "\"/a=new\"\n\"/b\""}) {
        EXPECT_FALSE(Read(dictionary, bad));
        EXPECT_FALSE(dictionary.IsLoaded());
        EXPECT_EQ(Look(dictionary, "/a=x"), u"old"_u16);
    }
    // Too short to be anything.
    EXPECT_TRUE(Read(dictionary, ""));
    EXPECT_TRUE(Read(dictionary, "x"));
    EXPECT_TRUE(dictionary.Read(nullptr, 10, false));
    EXPECT_FALSE(dictionary.IsLoaded());
}

TEST(Text, AndStoredFormsOverrideEachOtherAsTheyCome)
{
    zlex::Dictionary dictionary;
    ASSERT_TRUE(Read(dictionary, "\"/a=1\"\n\"/b=1\"\n\"/c=1\""));
    ASSERT_TRUE(Read(dictionary, Block{{{"/b", u"2"_u16}, {"/d", u"2"_u16}}, {}}.Bytes()));
    ASSERT_TRUE(Read(dictionary, "\"/c=3\"\n\"/d=3\""));
    EXPECT_EQ(Look(dictionary, "/a"), u"1"_u16);
    EXPECT_EQ(Look(dictionary, "/b"), u"2"_u16);
    EXPECT_EQ(Look(dictionary, "/c"), u"3"_u16);
    EXPECT_EQ(Look(dictionary, "/d"), u"3"_u16);

    // The arrays hold no text above 65535 bytes; such a block is refused whole.
    EXPECT_FALSE(Read(dictionary, "\"/a=4\"\n\"/b=" + std::string(32768, 'x') + "\""));
    EXPECT_EQ(Look(dictionary, "/a"), u"1"_u16);
}

TEST(ZString, CopiesIntoBuffers)
{
    const zlex::Dictionary empty;
    const zlex::ZString text = empty.Lookup("$$$/a=a\xF0\x9F\x8E\xAC", &kUTF8);
    ASSERT_EQ(text.GetUnicodeSize(), 4u);
    unsigned short buffer[5] = {9, 9, 9, 9, 9};
    text.GetUnicode(buffer, 4, true);
    EXPECT_EQ(UTF16String(buffer), u"a\U0001F3AC"_u16);
    EXPECT_EQ(buffer[4], 9);
    try {
        text.GetUnicode(buffer, 3, true);
        FAIL();
    } catch (const zlex::CVErrException& error) {
        EXPECT_EQ(error.Value(), 1112884806);
    }
    text.GetUnicode(buffer, 3, false);
    EXPECT_EQ(UTF16String(buffer), u"a"_u16);  // never half of a pair
    text.GetUnicode(nullptr, 0, false);
    EXPECT_EQ(zlex::ZString().GetUnicodeSize(), 1u);
}

}  // namespace
