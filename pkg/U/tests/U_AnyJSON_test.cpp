#include <limits>
#include <random>

#include "QLTest.h"
#include "U_AnyTree.h"

using qltest::Text;
using qltest::Text16;

// Makes a tree of the input, writes it, and throws if a reader does not give it back: fuzz/json_round_trip.cpp.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Reader = void (U_AnyTreeWrapper::*)(const U_UTF16String&);
constexpr Reader kOrdinary = &U_AnyTreeWrapper::SetFrom_JSON;
constexpr Reader kHack = &U_AnyTreeWrapper::SetFrom_JSON_HackRecoverMagicMixed;
constexpr Reader kStrict = &U_AnyTreeWrapper::SetFrom_JSON_Strict;

std::string JSON(const U_AnyTreeWrapper& tree)
{
    return Text(tree.GetAs_JSON());
}

// Key, type, mark and text of every node in their order.
std::string Census(const U_AnyTreeWrapper& tree)
{
    std::string all;
    tree.for_each([&](int depth, const U_UTF16String& key, const U_Any& value, const U_AnyTreeWrapper&) {
        all += std::string(static_cast<std::size_t>(depth), '>') + Text(key) + ":" + value.GetTypeStr() +
               (value.IsMixed() ? "*" : "") + "=" + Text(value.GetAs_Str()) + " ";
        return true;
    });
    return all;
}

// What the text puts into a tree that holds "z" already: its text, or what was thrown.
std::string Read(Reader reader, const char* text)
{
    U_AnyTreeWrapper tree;
    tree.put("z", 0);
    try {
        (tree.*reader)(Text16(text));
        return JSON(tree);
    } catch (const boost::bad_any_cast&) {
        return "cast " + JSON(tree);
    } catch (const bad_uanytree_json& fault) {
        return "fault " + std::to_string(fault.position());
    }
}

// "same": as the ordinary reader.
struct ReadRow {
    const char* name;
    const char* text;
    const char* ordinary;
    const char* strict;
    const char* hack = "same";
};
class Readers : public testing::TestWithParam<ReadRow> {};

TEST_P(Readers, DifferJustHere)
{
    const ReadRow& row = GetParam();
    const auto or_same = [&](const char* text) { return std::string(text) == "same" ? row.ordinary : text; };
    EXPECT_EQ(Read(kOrdinary, row.text), row.ordinary);
    EXPECT_EQ(Read(kHack, row.text), or_same(row.hack));
    EXPECT_EQ(Read(kStrict, row.text), or_same(row.strict));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Readers,
    testing::Values(
        ReadRow{"Empty", "", R"({"z":0})", "fault 0"}, ReadRow{"EmptyMap", "{}", R"({"z":0})", "same"},
        ReadRow{"Blanks", " \t\r\n ", R"({"z":0})", "fault 5"},
        ReadRow{"BlanksBetween", " { \"a\" : [ 1 , 2.5 ] , \"b\" : \"x\" } ",
                R"({"z":0,"a":[1,2.5],"b":"x"})", "same"},
        ReadRow{"EmptyChildrenInFront", R"({"a":[],"b":{},"c":[[],{},1],"d":2})",
                R"({"z":0,"a":{},"b":{},"c":[{},{},1],"d":2})", "same"},
        ReadRow{"SeparatorsInStrings", R"({"a}:":"x,]}\"\\","b":["\u00e4\ud83d\ude00"]})",
                R"({"z":0,"a}:":"x,]}\"\\","b":["ä😀"]})", "same"},
        ReadRow{"SameKeyTwice", R"({"z":1,"a":2,"z":{"b":3}})", R"({"a":2,"z":{"b":3}})", "same"},
        ReadRow{"NumbersWithExponent", R"({"a":1e3,"b":1.5e3,"c":-2E+1})",
                R"({"z":0,"a":1000,"b":1500.0,"c":-20})", "same"},
        ReadRow{"FirstCharactersDecide", R"({"a":tomorrow,"b":nothing,"c":fine,"d":TRUE,"e":what})",
                R"({"z":0,"a":true,"b":null,"c":false,"d":1,"e":0})", "fault 5"},
        ReadRow{"NoNumbers", R"({"a":nan,"b":inf,"c":-inf,"d":1})", R"({"z":0,"a":null,"b":0,"c":0,"d":1})",
                "fault 5"},
        ReadRow{"BareMagicWords", R"({"a":1,"b":mixed-int,"c":mixed-string})", R"(cast {"z":0,"a":1})",
                "fault 11", R"({"z":0,"a":1,"b":0,"c":0})"},
        ReadRow{"BareNearlyMagic", R"({"b":mixed-up})", R"(cast {"z":0})", "fault 5"},
        ReadRow{"QuotedMagicWord", R"({"mixed-int":"mixed-double"})", R"({"z":0,"mixed-int":"mixed-double"})",
                "same"},
        ReadRow{"QuotedNearlyMagic", R"({"a":1,"b":"mixed-up"})", R"(cast {"z":0,"a":1})", R"(cast {"z":0})"},
        ReadRow{"MagicLikeKey", R"({"mixed-up":1})", R"(cast {"z":0})", "same"},
        ReadRow{"TopLevelArray", "[1,2]", R"({"z":0})", "fault 0"},
        ReadRow{"NoBracketAtAll", R"("a":1)", R"(cast {"z":0})", "fault 0"},
        ReadRow{"NoClosingBracket", R"({"a":[1,{"b":2)", R"({"z":0,"a":[1,{"b":2}]})", "fault 14"},
        ReadRow{"CommaBehindTheLast", R"({"a":[1,],"b":2,})", R"({"z":0,"a":[1],"b":2})", "fault 8"},
        ReadRow{"NothingBetweenCommas", R"({"a":[,1],"b":})", R"({"z":0,"a":[0,1],"b":0})", "fault 6"},
        ReadRow{"WrongBracket", R"({"a":[1},"b":2])", R"({"z":0,"a":[1],"b":2})", "fault 7"},
        ReadRow{"MapWithoutColons", R"({"a":{1,2},"b":3})", R"({"z":0,"a":{}})", "fault 6"},
        ReadRow{"MapWithoutKeys", R"({{"a":1},"b":2})", R"({"z":0,"":{"a":1},"b":2})", "fault 1"},
        ReadRow{"BareKey", "{a:1}", R"(cast {"z":0})", "fault 1"},
        ReadRow{"LoneQuote", R"({"a":"x})", R"(cast {"z":0})", "fault 8"},
        ReadRow{"LoneQuoteAsKey", R"({"a)", R"({"z":0})", "fault 3"},
        ReadRow{"BackslashAtTheEnd", R"({"a":"\)", R"(cast {"z":0})", "fault 7"},
        ReadRow{"TextBehind", "{} \u00e4 x", R"({"z":0})", "fault 3"},
        ReadRow{"FaultBehindLongCharacters", "{\"\u00e4\U0001F600\":x}", R"({"z":0,"ä😀":0})", "fault 7"}),
    [](const auto& row) { return std::string(row.param.name); });

template <class String>
std::string StrictFault(const String& text)
{
    try {
        U_AnyTreeWrapper().SetFrom_JSON_Strict(text);
        return "none";
    } catch (const bad_uanytree_json& fault) {
        return fault.what();
    }
}

TEST(AnyJSON, AnyUnitCanStandInATextAndCountsInPositions)
{
    const auto Text8 = [](const char* text) { return zvkcore::string::UTF16to8(Text16(text)); };
    EXPECT_EQ(StrictFault(Text8("{\"ä\U0001F600\":x}")), "not a JSON object: syntax error at 10");
    U_AnyTreeWrapper tree;
    tree.SetFrom_JSON(Text8(R"({"ä":1})"));
    tree.SetFrom_JSON_Strict(Text8(R"({"ö":2})"));
    EXPECT_EQ(JSON(tree), R"({"ä":1,"ö":2})");
    U_UTF16String text = Text16(R"({"a":"?"})");
    text[6] = 0xD800;
    EXPECT_EQ(StrictFault(text), "not a JSON object: half a surrogate pair at 6");
    tree.SetFrom_JSON(text);
    EXPECT_EQ(tree.get<U_UTF16String>("a"), Text16("\uFFFD"));
    text[1] = 0;
    EXPECT_THROW(tree.SetFrom_JSON(text), boost::bad_any_cast) << "a zero does not end the text";
}

// What a text does not carry: a tree, its text, and what is there once that was read.
struct LossRow {
    const char* name;
    void (*make)(U_AnyTreeWrapper&);
    const char* written;  // null: writing throws
    const char* read;     // null: reading throws
};
class Losses : public testing::TestWithParam<LossRow> {};

TEST_P(Losses, OfARoundTrip)
{
    const auto& [name, make, written, read] = GetParam();
    U_AnyTreeWrapper tree, back;
    make(tree);
    if (!written) {
        EXPECT_THROW(tree.GetAs_JSON(), boost::bad_any_cast);
        return;
    }
    ASSERT_EQ(JSON(tree), written);
    if (!read) {
        EXPECT_THROW(back.SetFrom_JSON(tree.GetAs_JSON()), boost::bad_any_cast);
        return;
    }
    back.SetFrom_JSON(tree.GetAs_JSON());
    EXPECT_EQ(Census(back), std::string(read) + " ");
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

INSTANTIATE_TEST_SUITE_P(
    Text, Losses,
    testing::Values(
        LossRow{"EnumerationsBecomeIntegers",
                [](auto& t) { t.put("a", U_Any(boost::any(3), U_Any::Type_ENUM)); }, R"({"a":3})", "a:int=3"},
        LossRow{"MultibyteStringsBecome16Bit", [](auto& t) { t.put("a", std::string("x")); }, R"({"a":"x"})",
                "a:string=x"},
        LossRow{"DecimalsBeyondNineAreRounded", [](auto& t) { t.put("a", 0.12345678919); },
                R"({"a":0.123456789})", "a:double=0.123456789"},
        LossRow{"WithNoDecimalsLeftADoubleBecomesAnInteger", [](auto& t) { t.put("a", 1e-10); }, R"({"a":0})",
                "a:int=0"},
        LossRow{"FromTwentyTwoDigitsOnTenAreKept", [](auto& t) { t.put("a", 1.23456789012e25); },
                R"({"a":1.234567890e+25})", "a:double=1.234567890e+25"},
        LossRow{"EmptyArraysBecomeEmptyTrees", [](auto& t) { t.with_child_array("a", [](auto&) {}); },
                R"({"a":{}})", "a:<tree>=<tree>"},
        LossRow{"OfATopLevelArrayTheLastElementStays", [](auto& t) { t.put(U_Any(1)), t.put(U_Any(2)); },
                R"({"":1,"":2})", ":int=2"},
        LossRow{"OfOneKeyTheLastChildStays", [](auto& t) { t.push_back("a", 1), t.push_back("a", 2); },
                R"({"a":1,"a":2})", "a:int=2"},
        LossRow{"DottedKeysBecomePaths", [](auto& t) { t.push_back("a.b", 1); }, R"({"a.b":1})",
                "a:<tree>=<tree> >b:int=1"},
        LossRow{"MultibyteMagicWordsBecomeMixed", [](auto& t) { t.put("a", "mixed-int"); },
                R"({"a":"mixed-int"})", "a:int*=mixed-int"},
        LossRow{"WordsThatBeginLikeMagicCannotBeRead", [](auto& t) { t.put("a", "mixed-up"); },
                R"({"a":"mixed-up"})", nullptr},
        LossRow{"KeysThatBeginLikeMagicCannotBeWritten", [](auto& t) { t.put("mixed-up", 1); }, nullptr,
                nullptr},
        LossRow{"NaNBecomesNull", [](auto& t) { t.put("a", kNaN), t.put("b", 1); }, R"({"a":nan,"b":1})",
                "a:= b:int=1"},
        LossRow{"InfinitiesBecomeZero", [](auto& t) { t.put("a", -kInfinity), t.put("b", kInfinity); },
                R"({"a":-inf,"b":inf})", "a:int=0 b:int=0"},
        LossRow{"HalfASurrogatePairIsReplaced", [](auto& t) { t.put("a", U_UTF16String(1, 0xDC00)); },
                "{\"a\":\"\uFFFD\"}", "a:string=\uFFFD"},
        LossRow{"AValueHidesChildren", [](auto& t) { t.put("a", 5), t.put("a.b", 1); }, R"({"a":5})",
                "a:int=5"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(AnyJSON, NestingHasALimit)
{
    constexpr int kMost = U_AnyTreeWrapper::kMaxDepth;
    const auto repeat = [](const char* text, int count) {
        std::string all;
        while (count-- > 0) all += text;
        return all;
    };
    for (const int depth : {kMost, kMost + 1, 100000}) {
        const std::string texts[] = {repeat(R"({"a":)", depth) + "1" + repeat("}", depth),
                                     R"({"a":)" + repeat("[", depth - 1) + "1" + repeat("]", depth - 1) + "}",
                                     R"({"a)" + repeat(".a", depth - 1) + R"(":1})", repeat("{", depth)};
        for (const std::string& text : texts) {
            U_AnyTreeWrapper tree, above;
            if (depth > kMost) {
                EXPECT_THROW(tree.SetFrom_JSON(Text16(text)), boost::bad_any_cast) << text.substr(0, 9);
                EXPECT_TRUE(tree.empty());
                continue;
            }
            tree.SetFrom_JSON(Text16(text));
            EXPECT_EQ(StrictFault(tree.GetAs_JSON()), "none") << text.substr(0, 9);
            above.put("a", tree);
            EXPECT_THROW(above.GetAs_JSON(), boost::bad_any_cast) << text.substr(0, 9);
        }
    }
    EXPECT_THROW(StrictFault(Text16(repeat(R"({"a":)", kMost + 1))), boost::bad_any_cast);
}

TEST(AnyJSON, ARoundTripKeepsTypeTextAndOrder)
{
    for (unsigned seed = 1; seed <= 50; ++seed) {
        std::independent_bits_engine<std::mt19937, 8, unsigned> random(seed);
        std::vector<std::uint8_t> input(4000);
        for (std::uint8_t& byte : input) byte = static_cast<std::uint8_t>(random());
        input[0] = 15;  // children of the top
        ASSERT_NO_THROW(LLVMFuzzerTestOneInput(input.data(), input.size())) << "seed " << seed;
    }
}

}  // namespace
