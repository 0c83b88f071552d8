#include <functional>
#include <random>

#include "QLTest.h"
#include "U_AnyTree.h"

using qltest::Text;
using qltest::Text16;

namespace {

using Reader = void (U_AnyTreeWrapper::*)(const U_UTF16String&);
constexpr Reader kOrdinary = &U_AnyTreeWrapper::SetFrom_JSON;
constexpr Reader kHack = &U_AnyTreeWrapper::SetFrom_JSON_HackRecoverMagicMixed;
constexpr Reader kStrict = &U_AnyTreeWrapper::SetFrom_JSON_Strict;

std::string JSON(const U_AnyTreeWrapper& tree)
{
    return Text(tree.GetAs_JSON());
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

TEST(AnyJSON, WritesCompactly)
{
    U_AnyTreeWrapper tree;
    tree.put("a", 1);
    tree.put("b", 2.0);
    tree.put("c", true);
    tree.put("d", "t\"}");
    tree.put("e", U_AnyTreeWrapper());
    tree.put("f", U_Any());
    tree.put("g.h", U_Any(0.5, true));
    EXPECT_EQ(JSON(tree), R"({"a":1,"b":2.0,"c":true,"d":"t\"}","e":{},"f":null,"g":{"h":"mixed-double"}})");
    EXPECT_EQ(JSON(U_AnyTreeWrapper()), "{}");
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
    U_AnyTreeWrapper utf8;
    utf8.put("z", 0);
    if (std::string(row.ordinary).starts_with('{')) {
        utf8.SetFrom_JSON(zvkcore::string::UTF16to8(Text16(row.text)));
        EXPECT_EQ(JSON(utf8), row.ordinary);
    }
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
        ReadRow{"HugeNumbers", R"({"a":99999999999999999999,"b":-1e999})",
                R"({"z":0,"a":9223372036854775807,"b":-9223372036854775808})", "same"},
        ReadRow{"FirstCharactersDecide", R"({"a":tomorrow,"b":nothing,"c":fine,"d":TRUE,"e":what})",
                R"({"z":0,"a":true,"b":null,"c":false,"d":1,"e":0})", "fault 5"},
        ReadRow{"NoNumbers", R"({"a":nan,"b":inf,"c":-inf,"d":1})", R"({"z":0,"a":null,"b":0,"c":0,"d":1})",
                "fault 5"},
        ReadRow{"BareMagicWord", R"({"a":1,"b":mixed-int,"c":2})", R"(cast {"z":0,"a":1})", "fault 11",
                R"({"z":0,"a":1,"b":0,"c":2})"},
        ReadRow{"BareMagicString", R"({"b":mixed-string})", R"(cast {"z":0})", "fault 5", R"({"z":0,"b":0})"},
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
        ReadRow{"EscapeCutShort", R"({"a":"\u12"})", R"(cast {"z":0})", "fault 10"},
        ReadRow{"BackslashAtTheEnd", R"({"a":"\)", R"(cast {"z":0})", "fault 7"},
        ReadRow{"TwoStrings", R"({"a":"x" "y"})", R"(cast {"z":0})", "fault 9"},
        ReadRow{"TextBehind", "{} \u00e4 x", R"({"z":0})", "fault 3"},
        ReadRow{"FaultBehindLongCharacters", "{\"\u00e4\U0001F600\":x}", R"({"z":0,"ä😀":0})", "fault 7"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(AnyJSON, StrictPositionsCountTheUnitsGiven)
{
    U_AnyTreeWrapper tree;
    try {
        tree.SetFrom_JSON_Strict(zvkcore::string::UTF16to8(Text16("{\"\u00e4\U0001F600\":x}")));
        FAIL();
    } catch (const bad_uanytree_json& fault) {
        EXPECT_EQ(fault.position(), 10u);
        EXPECT_STREQ(fault.what(), "not a JSON object: syntax error at 10");
    }
    U_UTF16String lone = Text16(R"({"a":"?"})");
    lone[6] = 0xD800;
    try {
        tree.SetFrom_JSON_Strict(lone);
        FAIL();
    } catch (const bad_uanytree_json& fault) {
        EXPECT_EQ(fault.position(), 6u);
    }
    tree.SetFrom_JSON(lone);
    EXPECT_EQ(JSON(tree), "{\"a\":\"\uFFFD\"}");
}

// What a text does not carry: a tree, and what it is once it was written and read.
struct LossRow {
    const char* name;
    std::function<void(U_AnyTreeWrapper&)> make;
    const char* written;                                 // empty: writing throws
    std::function<bool(const U_AnyTreeWrapper&)> holds;  // null: reading throws
};
class Losses : public testing::TestWithParam<LossRow> {};

void PrintTo(const LossRow& row, std::ostream* out)
{
    *out << row.name;
}

TEST_P(Losses, OfARoundTrip)
{
    U_AnyTreeWrapper tree;
    GetParam().make(tree);
    if (!*GetParam().written) {
        EXPECT_THROW(tree.GetAs_JSON(), boost::bad_any_cast);
        return;
    }
    ASSERT_EQ(JSON(tree), GetParam().written);
    U_AnyTreeWrapper back;
    if (!GetParam().holds) {
        EXPECT_THROW(back.SetFrom_JSON(tree.GetAs_JSON()), boost::bad_any_cast);
        return;
    }
    back.SetFrom_JSON(tree.GetAs_JSON());
    EXPECT_TRUE(GetParam().holds(back)) << JSON(back);
}

bool HasType(const U_AnyTreeWrapper& tree, U_Any::TypeEnum type)
{
    return tree.get_child_any("a").GetType() == type;
}

INSTANTIATE_TEST_SUITE_P(
    Text, Losses,
    testing::Values(
        LossRow{"EnumerationsBecomeIntegers",
                [](auto& t) { t.put("a", U_Any(boost::any(3), U_Any::Type_ENUM)); }, R"({"a":3})",
                [](auto& t) { return HasType(t, U_Any::Type_INT); }},
        LossRow{"MultibyteStringsBecome16Bit", [](auto& t) { t.put("a", std::string("x")); }, R"({"a":"x"})",
                [](auto& t) { return HasType(t, U_Any::Type_STRING); }},
        LossRow{"DecimalsBeyondNineAreRounded", [](auto& t) { t.put("a", 0.12345678919); },
                R"({"a":0.123456789})", [](auto& t) { return t.template get<double>("a") == 0.123456789; }},
        LossRow{"WithNoDecimalsLeftADoubleBecomesAnInteger", [](auto& t) { t.put("a", 1e-10); }, R"({"a":0})",
                [](auto& t) { return HasType(t, U_Any::Type_INT); }},
        LossRow{"FromTwentyTwoDigitsOnTenAreKept", [](auto& t) { t.put("a", 1.23456789012e25); },
                R"({"a":1.234567890e+25})",
                [](auto& t) { return t.template get<double>("a") == 1.234567890e25; }},
        LossRow{"EmptyArraysBecomeEmptyTrees", [](auto& t) { t.with_child_array("a", [](auto&) {}); },
                R"({"a":{}})",
                [](auto& t) { return t.get_child_tree("a").is_map() && t.get_child_tree("a").is_array(); }},
        LossRow{"OfATopLevelArrayTheLastElementStays",
                [](auto& t) { t.put(U_Any(1)), t.put(U_Any(2)), t.put(U_Any(3)); }, R"({"":1,"":2,"":3})",
                [](auto& t) { return t.size() == 1 && t.template get<int>("") == 3; }},
        LossRow{"OfOneKeyTheLastChildStays", [](auto& t) { t.push_back("a", 1), t.push_back("a", 2); },
                R"({"a":1,"a":2})", [](auto& t) { return t.size() == 1 && t.template get<int>("a") == 2; }},
        LossRow{"DottedKeysBecomePaths", [](auto& t) { t.push_back("a.b", 1); }, R"({"a.b":1})",
                [](auto& t) { return JSON(t) == R"({"a":{"b":1}})"; }},
        LossRow{"MultibyteMagicWordsBecomeMixed", [](auto& t) { t.put("a", "mixed-int"); },
                R"({"a":"mixed-int"})",
                [](auto& t) { return HasType(t, U_Any::Type_INT) && t.get_child_any("a").IsMixed(); }},
        LossRow{"WordsThatBeginLikeMagicCannotBeRead", [](auto& t) { t.put("a", "mixed-up"); },
                R"({"a":"mixed-up"})", nullptr},
        LossRow{"KeysThatBeginLikeMagicCannotBeWritten", [](auto& t) { t.put("mixed-up", 1); }, "", nullptr},
        LossRow{"NaNBecomesNull",
                [](auto& t) { t.put("a", std::numeric_limits<double>::quiet_NaN()), t.put("b", 1); },
                R"({"a":nan,"b":1})", [](auto& t) { return JSON(t) == R"({"a":null,"b":1})"; }},
        LossRow{"InfinitiesBecomeZero",
                [](auto& t) { t.put("a", -std::numeric_limits<double>::infinity()), t.put("b", 1); },
                R"({"a":-inf,"b":1})", [](auto& t) { return JSON(t) == R"({"a":0,"b":1})"; }},
        LossRow{"HalfASurrogatePairIsReplaced", [](auto& t) { t.put("a", U_UTF16String(1, 0xDC00)); },
                "{\"a\":\"\uFFFD\"}",
                [](auto& t) { return t.template get<U_UTF16String>("a") == U_UTF16String(1, 0xFFFD); }},
        LossRow{"AValueHidesChildren", [](auto& t) { t.put("a", 5), t.put("a.b", 1); }, R"({"a":5})",
                [](auto& t) { return t.get_child_tree("a").empty(); }}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(AnyJSON, NestingHasALimit)
{
    constexpr int kMost = U_AnyTreeWrapper::kMaxDepth;
    const auto repeat = [](const std::string& text, int count) {
        std::string all;
        while (count-- > 0) all += text;
        return all;
    };
    for (const int depth : {kMost, kMost + 1, 100000}) {
        const std::string texts[] = {
            repeat(R"({"a":)", depth) + "1" + repeat("}", depth),
            R"({"a":)" + repeat("[", depth - 1) + "1" + repeat("]", depth - 1) + "}",
            R"({"a)" + repeat(".a", depth - 1) + R"(":1})",
            repeat("{", depth),
        };
        for (const std::string& text : texts) {
            U_AnyTreeWrapper tree;
            if (depth > kMost) {
                EXPECT_THROW(tree.SetFrom_JSON(Text16(text)), boost::bad_any_cast) << text.substr(0, 9);
                EXPECT_TRUE(tree.empty());
            } else {
                EXPECT_NO_THROW(tree.SetFrom_JSON(Text16(text)));
                EXPECT_NO_THROW(tree.GetAs_JSON());
            }
        }
    }
    U_AnyTreeWrapper tree;
    for (int depth = 1; depth < kMost; ++depth) {
        U_AnyTreeWrapper parent;
        parent.put("a", tree);
        tree = parent;
    }
    EXPECT_NO_THROW(U_AnyTreeWrapper().SetFrom_JSON_Strict(tree.GetAs_JSON()));
    U_AnyTreeWrapper above;
    above.put("a", tree);
    EXPECT_THROW(above.GetAs_JSON(), boost::bad_any_cast);
    EXPECT_THROW(U_AnyTreeWrapper().SetFrom_JSON_Strict(Text16(repeat(R"({"a":)", kMost + 1))),
                 boost::bad_any_cast);
}

class RandomTree {
  public:
    explicit RandomTree(unsigned seed) : m_random(seed) {}

    // Values and shapes that the text carries.
    U_AnyTreeWrapper Make(int depth)
    {
        U_AnyTreeWrapper tree;
        const bool isArray = depth > 0 && Below(3) == 0;
        for (int count = Below(12) + 1; count > 0; --count) {
            const U_UTF16String key = isArray ? U_UTF16String() : Word();
            if (depth < 4 && Below(3) == 0) {
                tree.push_back(Fresh(tree, key), Make(depth + 1));
            } else {
                tree.push_back(Fresh(tree, key), Value());
            }
        }
        return tree;
    }

  private:
    int Below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }

    U_UTF16String Fresh(const U_AnyTreeWrapper& tree, U_UTF16String key)
    {
        while (!key.empty() && tree.exists(key)) key.push_back('x');
        return key;
    }

    U_UTF16String Word()
    {
        const char16_t units[] = u"ab,:{}[]\"\\/\n\u0001\u00e4\u3042 tfnm0";
        U_UTF16String word(1, 'k');
        for (int count = Below(12); count > 0; --count) word.push_back(units[Below(std::size(units) - 1)]);
        return word;
    }

    U_Any Value()
    {
        const U_Any values[] = {{},
                                Below(2) == 1,
                                static_cast<long long>(m_random()) << Below(40),
                                Below(1000000) / 1024.0 - 300,
                                static_cast<double>(Below(1000000)),
                                {1.5, true},
                                {7LL, true},
                                Word()};
        return values[Below(std::size(values))];
    }

    std::mt19937 m_random;
};

// Keys, types, texts and order of every node.
std::string Census(const U_AnyTreeWrapper& tree)
{
    std::string all;
    tree.for_each(
        [&](int depth, const U_UTF16String& key, const U_Any& value, const U_AnyTreeWrapper& child) {
            all += std::to_string(depth) + Text(key) + '=' + std::to_string(value.GetType()) +
                   (value.IsMixed() ? "m" : "") + Text(value.GetAs_Str()) + (child.is_array() ? "[" : "{");
            return true;
        });
    return all;
}

TEST(AnyJSON, ARoundTripKeepsTypeTextAndOrder)
{
    for (unsigned seed = 1; seed <= 200; ++seed) {
        const U_AnyTreeWrapper tree = RandomTree(seed).Make(0);
        for (const Reader reader : {kOrdinary, kHack, kStrict}) {
            U_AnyTreeWrapper back;
            (back.*reader)(tree.GetAs_JSON());
            ASSERT_EQ(Census(back), Census(tree)) << "seed " << seed;
        }
    }
}

}  // namespace
