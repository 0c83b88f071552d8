#include "U_AnyTree.h"

#include <boost/property_tree/ptree.hpp>

#include "FailingAllocator.h"
#include "QLTest.h"

using qltest::Text;
using qltest::Text16;

namespace {

std::string JSON(const U_AnyTreeWrapper& tree)
{
    return Text(tree.GetAs_JSON());
}

U_AnyTreeWrapper TreeOf(const char* json)
{
    U_AnyTreeWrapper tree;
    tree.SetFrom_JSON_Strict(Text16(json));
    return tree;
}

// The text of what is thrown, behind the name of its type.
template <class Function>
std::string Thrown(Function function)
{
    try {
        function();
        return "nothing";
    } catch (const bad_uanytree_key& fault) {
        return std::string("key: ") + fault.what();
    } catch (const bad_uanytree_map& fault) {
        return std::string("map: ") + fault.what();
    } catch (const bad_uanytree_match& fault) {
        return std::string("match: ") + fault.what();
    } catch (const boost::property_tree::ptree_bad_path& fault) {
        return std::string("path: ") + fault.what();
    } catch (const boost::bad_function_call&) {
        return "function";
    } catch (const boost::bad_any_cast&) {
        return "cast";
    }
}

struct PutRow {
    const char* name;
    const char* before;
    const char* key;
    const char* after;
};
class Put : public testing::TestWithParam<PutRow> {};

TEST_P(Put, AtAKey)
{
    U_AnyTreeWrapper tree = TreeOf(GetParam().before);
    U_AnyTreeWrapper same = tree;
    tree.put(GetParam().key, 7);
    EXPECT_EQ(JSON(tree), GetParam().after);
    same.put(GetParam().key, U_AnyTreeWrapper());
    std::string withTree = GetParam().after;
    EXPECT_EQ(JSON(same), withTree.replace(withTree.find('7'), 1, "{}"));
}

INSTANTIATE_TEST_SUITE_P(
    Keys, Put,
    testing::Values(PutRow{"MovesToTheEnd", R"({"a":1,"b":2})", "a", R"({"b":2,"a":7})"},
                    PutRow{"PathKeepsItsPlace", R"({"a":{"x":1},"b":2})", "a.x", R"({"a":{"x":7},"b":2})"},
                    PutRow{"PathMakesWhatIsMissing", R"({"a":{"x":1}})", "a.y.z",
                           R"({"a":{"x":1,"y":{"z":7}}})"},
                    PutRow{"NullOnTheWayBecomesATree", R"({"a":null})", "a.b", R"({"a":{"b":7}})"},
                    PutRow{"PointInFront", "{}", ".a", R"({"":{"a":7}})"},
                    PutRow{"PointBehind", "{}", "a.", R"({"a":[7]})"},
                    PutRow{"EmptyKey", "{}", "", R"({"":7})"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(AnyTree, KeysOfEveryKindNameTheSameChild)
{
    U_AnyTreeWrapper tree;
    const U_UTF16String utf16 = Text16("ä");
    const U_UTF8String utf8 = zvkcore::string::UTF16to8(utf16);
    tree.push_back(utf16, 1);
    tree.push_back(utf8, 2);
    tree.push_back("ä", 3);
    tree.push_back(utf8.c_str(), 4);
    EXPECT_EQ(JSON(tree), R"({"ä":1,"ä":2,"ä":3,"ä":4})");
    EXPECT_TRUE(tree.exists(utf16) && tree.exists(utf8) && tree.exists("ä") && tree.exists(utf8.c_str()));
    tree.put(utf8, 5);
    EXPECT_EQ(JSON(tree), R"({"ä":5})");
    tree.or_put("ä", 6);
    tree.or_put("b", "x");
    EXPECT_EQ(JSON(tree), R"({"ä":5,"b":"x"})");
    tree.push_back("b", 6);
    tree.erase("b");
    EXPECT_EQ(tree.size(), 1u);
}

TEST(AnyTree, ShapesAndTheirValidators)
{
    U_AnyTreeWrapper tree;
    EXPECT_TRUE(tree.is_array() && tree.is_map() && tree.empty() &&
                tree.get_self().GetType() == U_Any::Type_NULL);
    EXPECT_EQ(&tree.valid_array(), &tree.valid_map());
    tree.put(U_Any(1));
    EXPECT_EQ(Thrown([&] { tree.valid_map(); }), "map: expected a map but got an array");
    EXPECT_TRUE(tree.is_array() && !tree.is_map());
    tree.put("named", 2);
    EXPECT_EQ(Thrown([&] { U_AnyTreeWrapper::array_validator(tree); }),
              "map: expected an array but got a map");
    EXPECT_TRUE(tree.is_map());
    EXPECT_EQ(Text(zvkcore::string::UTF8to16(tree.keys_as_json())), R"(["", "named"])");
    EXPECT_EQ(Text(zvkcore::string::UTF8to16(U_AnyTreeWrapper().keys_as_json())), R"([""])");
}

TEST(AnyTree, WhatIsMissingIsNamed)
{
    U_AnyTreeWrapper tree = TreeOf(R"({"clip":{"rate":24,"tint":{"color-red":1.0}},"list":[1]})");
    tree.push_back("clip.rate", 1);
    tree.push_back("x.y", 1);
    const auto& constTree = std::as_const(tree);
    EXPECT_EQ(Thrown([&] { tree.get<int>("clip.name"); }), R"(key: "name" not found in: ["rate", "tint"])");
    EXPECT_EQ(Thrown([&] { tree.get<int>("clop.name.x"); }),
              R"(key: "clop" not found in: ["clip", "list", "clip.rate", "x.y"])");
    EXPECT_EQ(Thrown([&] { tree.get_child_any("clip.tint"); }),
              R"(key: "clip.tint" not found in: ["clip", "list", "clip.rate", "x.y"])");
    EXPECT_EQ(Thrown([&] { tree.get_child_any("x.y"); }), "path: No such node (x.y)");
    EXPECT_EQ(tree.get_child_any("clip.rate").GetAs_int(), 24) << "the child lets it pass, the path is read";
    EXPECT_FALSE(tree.exists("clip.tint"));
    EXPECT_EQ(Thrown([&] { constTree.get_child_tree("clip").get_child_color("tint"); }),
              R"(key: "color-green" not found in: ["color-red"])");
    EXPECT_EQ(Thrown([&] { constTree.get_child_array("clip"); }), "map: expected an array but got a map");
    EXPECT_EQ(Thrown([&] { tree.get_matching<int>("clip.rate", [](int rate) { return rate == 25; }); }),
              "match: Value at key 'clip.rate' did not satisfy match function");
    EXPECT_EQ(tree.get_matching<int>("clip.rate", [](int rate) { return rate == 24; }), 24);
    EXPECT_EQ(Thrown([&] { tree.put(std::string(1000, '.').c_str(), 1); }), "cast");
}

TEST(AnyTree, ValuesAreReadAsManyTypes)
{
    enum class Mode : char { kSlow, kFast };
    const U_AnyTreeWrapper tree = TreeOf(R"({"n":{"i":300,"d":2.5,"b":true,"m":1,"s":"ä"},"list":[1,"x"]})");
    EXPECT_EQ(tree.get<unsigned char>("n.i"), 44);
    EXPECT_EQ(tree.get<double>("n.i"), 300.0);
    EXPECT_EQ(tree.get<float>("n.d"), 2.5f);
    EXPECT_TRUE(tree.get<bool>("n.b"));
    EXPECT_EQ(tree.get<Mode>("n.m"), Mode::kFast);
    EXPECT_EQ(tree.get<std::string>("n.s"), "ä");
    EXPECT_EQ(tree.get<U_UTF16String>("n.s"), Text16("ä"));
    EXPECT_EQ(Text(tree.get<U_Any>("n.d").GetAs_JSON()), "2.5");
    EXPECT_EQ(tree.get_array_pairs("list").at(1).second.GetType(), U_Any::Type_STRING);
    EXPECT_EQ(tree.get_child_tree("n").values().size(), 5u);
}

TEST(AnyTree, StructuresComeBack)
{
    U_AnyTreeWrapper tree;
    tree.put("tint", U_ColorRGBA{0.1f, 0.25f, 0.5f, 1});
    tree.put("at.from", U_AnyTreeWrapper::Point{-1, 2.5f});
    tree.put("at.box", U_AnyTreeWrapper::Rect{1, 2, 3, 4});
    EXPECT_EQ(JSON(tree),
              R"({"tint":{"color-red":0.100000001,"color-green":0.25,"color-blue":0.5,"color-alpha":1.0},)"
              R"("at":{"from":{"pt-x":-1.0,"pt-y":2.5},)"
              R"("box":{"rect-left":1.0,"rect-top":2.0,"rect-width":3.0,"rect-height":4.0}}})");
    tree = TreeOf(JSON(tree).c_str());
    EXPECT_EQ(tree.get_child_color("tint"), (U_ColorRGBA{0.1f, 0.25f, 0.5f, 1}));
    EXPECT_EQ(tree.get<U_AnyTreeWrapper::Point>("at.from"), (U_AnyTreeWrapper::Point{-1, 2.5f}));
    EXPECT_EQ(tree.get<U_AnyTreeWrapper::Rect>("at.box"), (U_AnyTreeWrapper::Rect{1, 2, 3, 4}));
}

TEST(AnyTree, AWrapperRefersACopyDoesNot)
{
    U_AnyTreeWrapper tree = TreeOf(R"({"a":{"b":{"c":1}},"z":2})");
    auto child = tree.get<U_AnyTreeWrapper>("a.b");
    const U_AnyTreeWrapper copy = child;
    child.put("c", 2);
    EXPECT_EQ(JSON(tree), R"({"a":{"b":{"c":2}},"z":2})");
    EXPECT_EQ(JSON(copy), R"({"c":1})");
    child = TreeOf(R"({"d":3})");
    tree.put("z", child);
    EXPECT_EQ(JSON(tree), R"({"a":{"b":{"d":3}},"z":{"d":3}})");
    tree.put("a.b.d", tree.get_child_tree("a").get_self());
    tree.put("self", tree);
    tree.push_back("any", U_Any(boost::any(copy)));
    EXPECT_EQ(JSON(tree),
              R"({"a":{"b":{"d":{}}},"z":{"d":3},"self":{"a":{"b":{"d":{}}},"z":{"d":3}},"any":{"c":1}})");
    tree = tree.get_child_tree("self").get_child_tree("z");
    EXPECT_EQ(JSON(tree), R"({"d":3})");
}

TEST(AnyTree, FunctionsAreLentAChild)
{
    U_AnyTreeWrapper tree = TreeOf(R"({"map":{"a":1},"list":[1]})");
    const auto& constTree = std::as_const(tree);
    int calls = 0;
    const auto add = [&](U_AnyTreeWrapper& child) { child.put("n", ++calls); };
    const auto fail = [&](U_AnyTreeWrapper& child) {
        child.put("half", ++calls);
        throw 3;
    };
    tree.with_child_map("map", add);
    tree.with_child_map("new", add);
    EXPECT_THROW(tree.with_child_map("map", fail), int);
    EXPECT_THROW(tree.with_child_map("never", fail), int);
    tree.with_child_array("list", [](U_AnyTreeWrapper& child) { child.put(U_Any(2)); });
    EXPECT_EQ(JSON(tree), R"({"map":{"a":1,"n":1,"half":3},"list":[1,2],"new":{"n":2}})");
    EXPECT_EQ(Thrown([&] { tree.with_child_map("list", add); }), "map: expected a map but got an array");
    EXPECT_EQ(Thrown([&] { tree.with_child_array("map", add); }), "map: expected an array but got a map");
    EXPECT_EQ(Thrown([&] { tree.with_child_map("none", boost::function<void(U_AnyTreeWrapper&)>()); }),
              "function");
    constTree.with_child_map("none", [&](const U_AnyTreeWrapper&) { ++calls; });
    EXPECT_EQ(calls, 4);
    constTree.with_child_array(
        "list", [&](const U_AnyTreeWrapper& child) { calls = static_cast<int>(child.size()); });
    EXPECT_EQ(calls, 2);
    EXPECT_FALSE(tree.exists("none") || tree.exists("never"));
}

TEST(AnyTree, WalksAndInverts)
{
    const U_AnyTreeWrapper tree = TreeOf(R"({"a":{"b":"x.y","hidden":{"c":1}},"d":2})");
    std::string seen;
    tree.for_each(
        [&](int depth, const U_UTF16String& key, const U_Any& value, const U_AnyTreeWrapper& child) {
            seen += std::to_string(depth) + Text(key) + "=" + Text(value.GetAs_Str()) +
                    std::to_string(child.size()) + " ";
            return key != Text16("hidden");
        });
    EXPECT_EQ(seen, "0a=<tree>2 1b=x.y0 1hidden=<tree>1 0d=20 ");
    EXPECT_EQ(JSON(TreeOf(R"({"red":1,"more":{"green":"p.q"}})").CreateReverseMapping()),
              R"({"1":"red","<tree>":"more","p":{"q":"green"}})");
}

TEST(AnyTree, AppliesOrLeavesTheTreeWhenMemoryRunsOut)
{
    const U_AnyTreeWrapper before = TreeOf(R"({"a":{"b":1},"list":[{"x":"a text that needs a block"}]})");
    const std::string former = JSON(before);
    const std::function<void(U_AnyTreeWrapper&)> changes[] = {
        [](auto& tree) { tree.put("a key that needs a block of its own.b.c", std::string(600, 'x')); },
        [](auto& tree) { tree.put("a", tree.get_child_tree("list")); },
        [](auto& tree) {
            tree.put("tint.of", U_ColorRGBA{1, 0, 0, 1});
        },
        [](auto& tree) {
            tree.SetFrom_JSON_Strict(Text16(R"({"more":[1,2.5,"three and \n some more text"]})"));
        }};
    for (const auto& change : changes) {
        bool isWhole = true;
        qltest::EveryAllocationFails([&] {
            U_AnyTreeWrapper tree = before;
            try {
                change(tree);
            } catch (const std::bad_alloc&) {
                isWhole = isWhole && JSON(tree) == former;
                throw;
            }
            return JSON(tree) != former;
        });
        EXPECT_TRUE(isWhole) << &change - changes;
    }
}

}  // namespace
