#include "U_AnyTree.h"

#include <barrier>
#include <boost/property_tree/exceptions.hpp>
#include <thread>

#include "FailingAllocator.h"
#include "QLTest.h"

using qltest::Text;
using qltest::Text16;

namespace {

using Point = U_AnyTreeWrapper::Point;
using Rect = U_AnyTreeWrapper::Rect;

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

template <class Exception = bad_uanytree_key, class Function>
std::string Thrown(Function function)
{
    try {
        function();
        return "nothing";
    } catch (const Exception& fault) {
        return fault.what();
    }
}

struct PutRow {
    const char* name;
    const char* before;
    const char* key;
    const char* after;  // with @ where a value or a tree was put
};
class Put : public testing::TestWithParam<PutRow> {};

TEST_P(Put, AtAKey)
{
    const auto& [name, before, key, after] = GetParam();
    U_AnyTreeWrapper value = TreeOf(before), tree = value;
    value.put(key, 7);
    tree.put(key, U_AnyTreeWrapper());
    EXPECT_EQ(JSON(value), std::string(after).replace(std::string(after).find('@'), 1, "7"));
    EXPECT_EQ(JSON(tree), std::string(after).replace(std::string(after).find('@'), 1, "{}"));
}

INSTANTIATE_TEST_SUITE_P(
    Keys, Put,
    testing::Values(PutRow{"MovesToTheEnd", R"({"a":1,"b":2})", "a", R"({"b":2,"a":@})"},
                    PutRow{"PathKeepsItsPlace", R"({"a":{"x":1},"b":2})", "a.x", R"({"a":{"x":@},"b":2})"},
                    PutRow{"PathMakesTheRest", R"({"a":{"x":1}})", "a.y.z", R"({"a":{"x":1,"y":{"z":@}}})"},
                    PutRow{"NullOnTheWayBecomesATree", R"({"a":null})", "a.b", R"({"a":{"b":@}})"},
                    PutRow{"PointInFront", "{}", ".a", R"({"":{"a":@}})"},
                    PutRow{"PointBehind", "{}", "a.", R"({"a":[@]})"},
                    PutRow{"EmptyKey", "{}", "", R"({"":@})"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(AnyTree, KeysOfEveryKindNameTheSameChild)
{
    const auto everyOperation = [](const auto& key) {
        U_AnyTreeWrapper tree;
        tree.push_back(key, 1);
        tree.push_back(key, tree);
        EXPECT_EQ(JSON(tree), R"({"ä":1,"ä":{"ä":1}})");
        tree.put(key, 2);
        tree.or_put(key, 3);
        EXPECT_TRUE(tree.exists(key) && tree.get<int>(key) == 2 && tree.get_child_any(key) == U_Any(2));
        tree.put(key, Point{1, 2});
        tree.with_child_map(key, [](auto& child) { child.put("pt-x", 3); });
        EXPECT_TRUE(tree.get_child_point(key) == tree.get<Point>(key) && tree.get<Point>(key).x == 3);
        tree.get_matching<U_AnyTreeWrapper>(key, [](auto& child) { return child.size() == 2; });
        tree.push_back(key, 4);
        tree.erase(key);
        EXPECT_TRUE(tree.empty());
        tree.with_child_array(key, [](auto& child) { child.put(U_Any("x")); });
        EXPECT_EQ(tree.get_child_array(key).size(), tree.get_array_pairs(key).size());
    };
    const U_UTF8String utf8 = zvkcore::string::UTF16to8(Text16("ä"));
    everyOperation(Text16("ä"));
    everyOperation(utf8);
    everyOperation(utf8.c_str());
    everyOperation("ä");
}

TEST(AnyTree, ShapesAndTheirValidators)
{
    U_AnyTreeWrapper tree;
    EXPECT_TRUE(tree.is_array() && tree.is_map() && tree.empty() &&
                tree.get_self().GetType() == U_Any::Type_NULL);
    EXPECT_EQ(&tree.valid_array(), &tree.valid_map());
    tree.put_self(5);
    EXPECT_EQ(tree.get_self(), U_Any(5));
    EXPECT_FALSE(tree.exists(static_cast<const char*>(nullptr)));
    tree.put(U_Any(1));
    EXPECT_TRUE(tree.exists(static_cast<const unsigned char*>(nullptr)));
    EXPECT_EQ(Thrown<bad_uanytree_map>([&] { tree.valid_map(); }), "expected a map but got an array");
    EXPECT_TRUE(tree.is_array() && !tree.is_map());
    tree.put("named", 2);
    EXPECT_EQ(Thrown<bad_uanytree_map>([&] { U_AnyTreeWrapper::array_validator(tree); }),
              "expected an array but got a map");
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
    EXPECT_EQ(Thrown([&] { tree.get<int>("clip.name"); }), R"("name" not found in: ["rate", "tint"])");
    EXPECT_EQ(Thrown([&] { tree.get<int>("clop.name.x"); }),
              R"("clop" not found in: ["clip", "list", "clip.rate", "x.y"])");
    EXPECT_EQ(Thrown([&] { tree.get_child_any("clip.tint"); }),
              R"("clip.tint" not found in: ["clip", "list", "clip.rate", "x.y"])");
    EXPECT_EQ(Thrown<boost::property_tree::ptree_bad_path>([&] { tree.get_child_any("x.y"); }),
              "No such node (x.y)");
    EXPECT_EQ(tree.get_child_any("clip.rate").GetAs_int(), 24) << "the child lets it pass, the path is read";
    EXPECT_FALSE(tree.exists("clip.tint"));
    EXPECT_EQ(Thrown([&] { constTree.get_child_tree("clip").get_child_color("tint"); }),
              R"("color-green" not found in: ["color-red"])");
    EXPECT_THROW(constTree.get_child_array("clip"), bad_uanytree_map);
    EXPECT_EQ(Thrown<bad_uanytree_match>(
                  [&] { tree.get_matching<int>("clip.rate", [](int rate) { return rate == 25; }); }),
              "Value at key 'clip.rate' did not satisfy match function");
    EXPECT_EQ(tree.get_matching<int>("clip.rate", [](int rate) { return rate == 24; }), 24);
    EXPECT_THROW(tree.put(std::string(1000, '.').c_str(), 1), boost::bad_any_cast);
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
    tree.put("at.from", Point{-1, 2.5f});
    tree.put("at.box", Rect{1, 2, 3, 4});
    EXPECT_EQ(JSON(tree),
              R"({"tint":{"color-red":0.100000001,"color-green":0.25,"color-blue":0.5,"color-alpha":1.0},)"
              R"("at":{"from":{"pt-x":-1.0,"pt-y":2.5},)"
              R"("box":{"rect-left":1.0,"rect-top":2.0,"rect-width":3.0,"rect-height":4.0}}})");
    EXPECT_EQ(tree.get_child_color("tint"), (U_ColorRGBA{0.1f, 0.25f, 0.5f, 1}));
    EXPECT_EQ(tree.get<Point>("at.from"), (Point{-1, 2.5f}));
    EXPECT_EQ(tree.get<Rect>("at.box"), (Rect{1, 2, 3, 4}));
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
    EXPECT_THROW(tree.with_child_map("list", add), bad_uanytree_map);
    EXPECT_THROW(tree.with_child_array("map", add), bad_uanytree_map);
    EXPECT_THROW(tree.with_child_map("none", boost::function<void(U_AnyTreeWrapper&)>()),
                 boost::bad_function_call);
    const auto read = [&](const U_AnyTreeWrapper& child) { calls += 10 * static_cast<int>(child.size()); };
    constTree.with_child_map("none", read);
    constTree.with_child_array("list", read);
    EXPECT_EQ(calls, 24);
    EXPECT_FALSE(tree.exists("none") || tree.exists("never"));
}

TEST(AnyTree, WalksAndInverts)
{
    std::string seen;
    const auto visit = [&](int depth, const U_UTF16String& key, const U_Any&, const U_AnyTreeWrapper& child) {
        seen += std::to_string(depth) + Text(key) + JSON(child) + " ";
        return key != Text16("hidden");
    };
    TreeOf(R"({"a":{"b":1,"hidden":{"c":1}},"d":2})").for_each(visit);
    EXPECT_EQ(seen, R"(0a{"b":1,"hidden":{"c":1}} 1b{} 1hidden{"c":1} 0d{} )");
    EXPECT_EQ(JSON(TreeOf(R"({"red":1,"more":{"green":"p.q"}})").CreateReverseMapping()),
              R"({"1":"red","<tree>":"more","p":{"q":"green"}})");
}

// Nodes without children share what they show, and so do threads, which know nothing of one another's trees.
TEST(AnyTree, ThreadsWorkOnTreesOfTheirOwn)
{
    std::string texts[4];
    std::barrier start(std::ssize(texts));
    std::vector<std::jthread> threads;
    for (std::string& text : texts) {
        threads.emplace_back([&] {
            U_AnyTreeWrapper tree;
            start.arrive_and_wait();
            for (int round = 0; round < 100; ++round) {
                tree.erase("a");
                EXPECT_TRUE(tree.empty() && !tree.exists("a") && tree.keys().empty());
                tree.put("a.b", round);
            }
            text = JSON(tree);
        });
    }
    threads.clear();
    for (const std::string& text : texts) EXPECT_EQ(text, R"({"a":{"b":99}})");
}

TEST(AnyTree, AppliesOrLeavesTheTreeWhenMemoryRunsOut)
{
    const U_AnyTreeWrapper before = TreeOf(R"({"a":{"b":1},"list":[{"x":"a text that needs a block"}]})");
    const std::string former = JSON(before);
    using Change = void (*)(U_AnyTreeWrapper&);
    const Change changes[] = {
        [](auto& tree) { tree.put("a key that needs a block of its own.b.c", std::string(600, 'x')); },
        [](auto& tree) { tree.put("a", tree.get_child_tree("list")); },
        [](auto& tree) {
            tree.put("tint.of", U_ColorRGBA{1, 0, 0, 1});
        },
        [](auto& tree) {
            tree.SetFrom_JSON_Strict(Text16(R"({"more":[1,2.5,"three and \n some more text"]})"));
        }};
    for (const Change& change : changes) {
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
        EXPECT_TRUE(isWhole) << "change " << &change - changes;
    }
}

}  // namespace
