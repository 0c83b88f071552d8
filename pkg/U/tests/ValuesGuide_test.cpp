// The examples of docs/guides/values.md.
#include "QLTest.h"
#include "U_AnyTree.h"

namespace {

using zvkcore::string::View;
using zvkcore::string::literals::operator""_u16;

std::string g_log;
std::size_t g_selected = 0;
const auto Log = [](const char* text) { g_log = text; };
const auto Select = [](std::size_t position) { g_selected = position; };

TEST(ValuesGuide, Values)
{
    U_Any width = 1920;
    double exact = width.GetAs_double();
    U_UTF8String text = width.GetAs_Str8();
    U_Any fromText = u"2.5"_u16;
    long long cut = fromText.GetAs_int();
    EXPECT_TRUE(exact == 1920 && View(text) == "1920" && cut == 2);

    U_Any opacity{0.5, true};
    U_UTF8String word = opacity.GetAs_Str8();
    bool shown = opacity.IsMixed();
    EXPECT_TRUE(View(word) == "mixed-double" && shown);
}

TEST(ValuesGuide, TreesAndTheirText)
{
    U_AnyTreeWrapper job;
    job.put("clip.frames", 60);
    job.put("clip.rate", 23.976);
    job.put("tint", U_ColorRGBA{1, 0.5f, 0, 1});
    job.with_child_array("passes", [](U_AnyTreeWrapper& passes) {
        passes.put(U_Any("beauty"));
        passes.put(U_Any("depth"));
    });
    int frames = job.get<int>("clip.frames");
    std::string second = job.get_child_array("passes").values()[1].GetAs_MBStr();
    EXPECT_TRUE(frames == 60 && second == "depth");

    try {
        job.get<int>("clip.length");
    } catch (const bad_uanytree_key& fault) {
        Log(fault.what());
    }
    EXPECT_EQ(g_log, R"("length" not found in: ["frames", "rate"])");

    auto clip = job.get<U_AnyTreeWrapper>("clip");
    clip.put("frames", 61);
    EXPECT_EQ(job.get<int>("clip.frames"), 61);
    const U_AnyTreeWrapper kept = clip;
    clip.put("frames", 62);
    EXPECT_EQ(kept.get<int>("frames"), 61);

    U_UTF8String text = clip.GetAs_JSON8();
    U_AnyTreeWrapper back;
    back.SetFrom_JSON(text);
    EXPECT_EQ(View(text), R"({"rate":23.976,"frames":62})");
    EXPECT_EQ(back.GetAs_JSON8(), text);

    try {
        back.SetFrom_JSON_Strict(u"{\"frames\":6O}"_u16);
    } catch (const bad_uanytree_json& fault) {
        Log(fault.what());
        Select(fault.position());
    }
    EXPECT_EQ(g_log, "not a JSON object: syntax error at 11");
    EXPECT_EQ(g_selected, 11u);
}

}  // namespace
