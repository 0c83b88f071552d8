#include "zlexp_FastArray.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

#include "Block.h"
#include "FailingAllocator.h"
#include "zvkcore/string/Convert.h"

namespace {

using namespace zvkcore::string::literals;
using zlex_private::ByteRun;
using zlex_private::FastArray;
using zlextest::Block;
using zvkcore::string::UTF16String;

constexpr uint32_t kNotFound = FastArray::kNotFound;

/// A dictionary that is handled by strings, and counts on blocks being copied.
struct Texts {
    FastArray array;

    int Read(const std::string& part, bool swapped = false)
    {
        const std::unique_ptr<char[]> exact(new char[part.size()]);  // so that a look past the end is seen
        part.copy(exact.get(), part.size());
        return array.Read(exact.get(), exact.get() + part.size(), false, 0,
                          swapped ? zlex::kEndianSwapped : zlex::kEndianNative);
    }
    uint32_t Id(const std::string& key) const
    {
        return array.FindId(reinterpret_cast<const unsigned char*>(key.data()), key.size());
    }
    uint32_t Add(const std::string& key, const UTF16String& value, const UTF16String& accelerator = {})
    {
        return array.Add(reinterpret_cast<const unsigned char*>(key.data()), key.size(), value.data(),
                         value.size() * 2, accelerator.data(), accelerator.size() * 2);
    }
    UTF16String Value(uint32_t id) const { return Text(array.GetValue(id)); }
    UTF16String Of(const std::string& key) const { return Value(Id(key)); }
    UTF16String Accelerator(uint32_t id) const { return Text(array.GetAccelerator(id)); }

    static UTF16String Text(ByteRun run)
    {
        const auto* units = reinterpret_cast<const unsigned short*>(run.data);
        return UTF16String(units, units + run.length / 2);
    }
};

UTF16String Text16(const std::string& text)
{
    return zvkcore::string::UTF8to16(text);
}

TEST(Hash, IsThatOfTheStoredForm)
{
    // Lengths around which the step changes: below 10 every byte takes part, at 10 every second one.
    const std::pair<std::string, uint32_t> rows[] = {
        {"", 0}, {"a", 97}, {"abcd", 622}, {"abcde", 606}, {"a.b.c.d.e.", 606}, {std::string(9, '\xFF'), 926},
    };
    for (const auto& [key, hash] : rows) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(key.data());
        EXPECT_EQ(zlex_private::HashFunc(bytes, key.size()), hash) << key;
    }
}

TEST(Read, FindsWhatTheBlockHolds)
{
    for (bool swapped : {false, true}) {
        Texts texts;
        Block block{{{"/a", u"eins"_u16}, {"/A", u"zwei"_u16}, {"/b", u""_u16}},
                    {{2, u"B"_u16}, {0, u"A"_u16}}};
        block.swapped = swapped;
        ASSERT_EQ(texts.Read(block.Part(), swapped), 0);
        EXPECT_EQ(texts.Of("/a"), u"eins"_u16);
        EXPECT_EQ(texts.Of("/A"), u"zwei"_u16);
        EXPECT_EQ(texts.Id("/b"), 2u);
        EXPECT_EQ(texts.Id("/c"), kNotFound);
        EXPECT_EQ(texts.Id(""), kNotFound);
        EXPECT_EQ(texts.Accelerator(0), u"A"_u16);
        EXPECT_EQ(texts.Accelerator(1), u""_u16);
        EXPECT_EQ(texts.Accelerator(2), u"B"_u16);

        unsigned char key[2];
        unsigned short length = 9;
        EXPECT_EQ(texts.array.GetData(1, key, 2, &length), 1);
        EXPECT_EQ(std::string(key, key + length), "/A");
        EXPECT_EQ(texts.array.GetData(1, key, 1, &length), 0);
        EXPECT_EQ(length, 0);
        EXPECT_EQ(texts.array.GetData(3, key, 2, &length), 0);
        EXPECT_EQ(texts.Value(3), u""_u16);
    }
}

TEST(Read, KeysAreOptional)
{
    Texts texts;
    Block block{{{"/a", u"eins"_u16}, {"/b", u"zwei"_u16}}, {}};
    block.hasKeys = 'N';
    ASSERT_EQ(texts.Read(block.Part()), 0);
    EXPECT_EQ(texts.Id("/a"), kNotFound);
    EXPECT_EQ(texts.Value(1), u"zwei"_u16);
    block.hasKeys = '?';  // anything but N means keys
    block.entries[0].first = "/c";
    ASSERT_EQ(texts.Read(block.Part()), 0);
    EXPECT_EQ(texts.Id("/c"), 2u);
}

TEST(Read, LaterPartsOverrideKeyByKey)
{
    Texts texts;
    ASSERT_EQ(texts.Read(Block{{{"/a", u"1"_u16}, {"/b", u"2"_u16}}, {}}.Part()), 0);
    ASSERT_EQ(texts.Read(Block{{{"/b", u"zwei"_u16}, {"/c", u"3"_u16}}, {}}.Part()), 0);
    EXPECT_EQ(texts.Id("/b"), 1u);  // its old id, with the new text
    EXPECT_EQ(texts.Of("/b"), u"zwei"_u16);
    EXPECT_EQ(texts.Id("/c"), 3u);
    EXPECT_EQ(texts.Value(2), u""_u16);  // the entry that went into /b
    EXPECT_EQ(texts.array.ActiveTotal(), 3u);

    // A block that only overrides leaves no part, but its texts.
    ASSERT_EQ(texts.Read(Block{{{"/a", u"eins"_u16}, {"/c", u""_u16}}, {}}.Part()), 0);
    EXPECT_EQ(texts.array.PartCount(), 2u);
    EXPECT_EQ(texts.array.IdTotal(), 4u);
    EXPECT_EQ(texts.Of("/a"), u"eins"_u16);
    EXPECT_EQ(texts.Of("/c"), u""_u16);

    Block inactive = Block::Of("/d", u"4"_u16);
    inactive.activeCount = 0;
    ASSERT_EQ(texts.Read(inactive.Part()), 0);
    EXPECT_EQ(texts.Id("/d"), kNotFound);
    EXPECT_EQ(texts.array.IdTotal(), 4u);
}

TEST(Read, TheFirstIdMustGoOnWhereTheDictionaryEnds)
{
    Texts texts;
    Block block = Block::Of("/a", u"1"_u16);
    block.firstId = 7;  // an empty dictionary takes any
    ASSERT_EQ(texts.Read(block.Part()), 0);
    EXPECT_EQ(texts.Id("/a"), 0u);
    block.entries[0].first = "/b";
    EXPECT_EQ(texts.Read(block.Part()), -1);
    block.firstId = 1;
    EXPECT_EQ(texts.Read(block.Part()), 0);
    EXPECT_EQ(texts.Id("/b"), 1u);
    EXPECT_EQ(texts.array.PartCount(), 2u);  // the refused one left nothing
}

TEST(Read, RefusesWhatPointsOutside)
{
    struct Row {
        const char* name;
        std::string from, to;
    };
    const auto word = [](uint32_t value) { return std::string(reinterpret_cast<char*>(&value), 4); };
    // Entries "kk" at 0 and "mmm" at 2 of the key pool; texts of 2 and 4 bytes.
    const std::string part = Block{{{"kk", u"x"_u16}, {"mmm", u"yz"_u16}}, {{1, u"a"_u16}}}.Part();
    const std::string lengths("\2\0\3\0", 4), valueLengths("\2\0\4\0", 4);
    const Row rows[] = {
        {"ActiveAboveEntries", "Y" + word(2) + word(2), "Y" + word(2) + word(3)},
        {"EntriesNear2To32", "Y" + word(2) + word(2), "Y" + word(0xFFFFFFFE) + word(2)},
        {"KeyOffset", word(0) + word(2) + lengths, word(0) + word(3) + lengths},
        {"KeyOffsetThatWraps", word(0) + word(2) + lengths, word(0) + word(0xFFFFFFFF) + lengths},
        {"KeyLength", lengths, std::string("\2\0\4\0", 4)},
        {"ValueOffset", word(0) + word(2) + valueLengths, word(0) + word(4) + valueLengths},
        {"ValueAtHalfAUnit", word(0) + word(2) + valueLengths, word(1) + word(2) + valueLengths},
        {"ValueOfHalfAUnit", valueLengths, std::string("\1\0\4\0", 4)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        std::string bad = part;
        ASSERT_NE(bad.find(row.from), bad.npos);
        bad.replace(bad.find(row.from), row.from.size(), row.to);
        EXPECT_EQ(Texts().Read(bad), -1);
    }
    EXPECT_EQ(Texts().Read(Block{{{"kk", u"x"_u16}}, {{1, u"a"_u16}}}.Part()), -1) << "of no entry";
    // Whatever four bytes become as large as they can be: never a look outside.
    for (size_t at = 0; at + 4 <= part.size(); ++at) {
        Texts().Read(std::string(part).replace(at, 4, "\xFE\xFF\xFF\xFF"));
    }
}

TEST(Read, AnIdInAWrongBucketIsNeverFound)
{
    const Block block = Block::Of("/a", u"1"_u16);
    std::string part = block.Part();
    const uint16_t right = zlex_private::HashFunc(reinterpret_cast<const unsigned char*>("/a"), 2);
    const size_t at = part.rfind(std::string(reinterpret_cast<const char*>(&right), 2) + '\1');
    ASSERT_NE(at, part.npos);
    part[at] ^= 1;
    Texts texts;
    EXPECT_EQ(texts.Read(part), 0);
    EXPECT_EQ(texts.Id("/a"), kNotFound);
    part.replace(at, 2, "\xFD\x03");  // 1021
    EXPECT_EQ(texts.Read(part), -1);
}

TEST(Read, SurvivesEveryFailedAllocation)
{
    const std::string first = Block{{{"/a", u"1"_u16}, {"/b", u"2"_u16}}, {}}.Part();
    const std::string second = Block{{{"/b", u"zwei"_u16}, {"/c", u"3"_u16}}, {{0, u"x"_u16}}}.Part();
    bool allOrNothing = true;
    qltest::EveryAllocationFails([&] {
        Texts texts;
        if (texts.Read(first) != 0) return false;
        try {
            texts.Read(second);
        } catch (const std::bad_alloc&) {
            allOrNothing &= texts.array.GetValue(1).length == 2 && texts.array.IdTotal() == 2;
            throw;
        }
        return true;
    });
    EXPECT_TRUE(allOrNothing);
}

TEST(Add, FillsPartsOfAHundred)
{
    Texts texts;
    for (uint32_t number = 0; number < 250; ++number) {
        const std::string key = "/key" + std::to_string(number);
        ASSERT_EQ(texts.Id(key), kNotFound);
        ASSERT_EQ(texts.Add(key, Text16(key)), number);
        ASSERT_EQ(texts.Of(key), Text16(key));
        ASSERT_EQ(texts.array.PartCount(), number / 100 + 1);
    }
}

TEST(Add, GoesOnBehindABlockThatWasReadMeanwhile)
{
    Texts texts;
    texts.Add("/a", u"1"_u16, u"A"_u16);
    ASSERT_EQ(texts.Read(Block{{{"/b", u"2"_u16}, {"/a", u"eins"_u16}}, {}}.Part()), 0);
    EXPECT_EQ(texts.Add("/c", u"3"_u16), 3u);
    EXPECT_EQ(texts.Add("/a", u"uno"_u16, u"U"_u16), 0u);
    EXPECT_EQ(texts.Add("/b", u""_u16, u"B"_u16), 1u);
    EXPECT_EQ(texts.Of("/a"), u"uno"_u16);
    EXPECT_EQ(texts.Accelerator(0), u"U"_u16);
    EXPECT_EQ(texts.Accelerator(1), u"B"_u16);
    EXPECT_EQ(texts.Of("/b"), u""_u16);
    EXPECT_EQ(texts.Of("/c"), u"3"_u16);
    EXPECT_TRUE(texts.array.updateAccels(nullptr, 0, 0));
    EXPECT_EQ(texts.Accelerator(0), u""_u16);
    EXPECT_FALSE(texts.array.updateVals(nullptr, 0, 4));

    const UTF16String longest(32767, 'x');
    EXPECT_EQ(texts.Add("/long", longest), 4u);
    EXPECT_EQ(texts.Of("/long"), longest);
    EXPECT_EQ(texts.Add("/long", longest + u"x"_u16), kNotFound);
    EXPECT_EQ(texts.Add(std::string(65536, 'k'), u"x"_u16), kNotFound);
    EXPECT_EQ(texts.Of("/long"), longest);
}

// Against a plain map, with keys that meet in few buckets, through reads and additions in any order.
TEST(Merge, AgreesWithAMap)
{
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    Texts texts;
    std::map<std::string, UTF16String> expected;
    const auto key = [&] { return "/shared/prefix/" + std::to_string(random() % 600) + "/shared/suffix"; };
    for (int round = 0; round < 60; ++round) {
        std::map<std::string, UTF16String> fresh;
        for (unsigned count = random() % 40; count != 0; --count) {
            fresh[key()] = Text16(std::to_string(random()));
        }
        if (round % 3 == 0) {
            for (const auto& [k, text] : fresh) texts.Add(k, text);
        } else {
            Block block{{fresh.begin(), fresh.end()}, {}};
            block.swapped = round % 2 == 0;
            ASSERT_EQ(texts.Read(block.Part(), block.swapped), 0);
        }
        for (const auto& [k, text] : fresh) expected[k] = text;
        for (int probe = 0; probe < 50; ++probe) {
            const std::string wanted = key();
            const auto row = expected.find(wanted);
            ASSERT_EQ(texts.Id(wanted) == kNotFound, row == expected.end());
            if (row != expected.end()) {
                ASSERT_EQ(texts.Of(wanted), row->second);
            }
        }
    }
    for (const auto& [k, text] : expected) EXPECT_EQ(texts.Of(k), text);
    EXPECT_EQ(texts.array.ActiveTotal(), expected.size());
}

}  // namespace
