#include "zvkcore/debug/StackTrace.h"

#include <gtest/gtest.h>

#include <string>

#include "Contend.h"

using namespace zvkcore::debug;

namespace {

std::string NameOf(void* frame)
{
    char name[512];
    return StackFrameFunctionName(frame, name, sizeof(name)) ? name : std::string();
}

bool Has(const std::string& name, const char* part)
{
    return name.find(part) != std::string::npos;
}

// Each hands its frames on through a result, so that no call becomes a jump.
__attribute__((noinline)) size_t StaticInner(void** frames, size_t count, size_t skip)
{
    const size_t written = GenerateStackTrace(frames, count, skip);
    return written + (frames == nullptr ? 1 : 0);
}

template <class T>
__attribute__((noinline)) size_t TemplateOuter(void** frames, size_t count, size_t skip)
{
    const size_t written = StaticInner(frames, count, skip);
    return written + (frames == nullptr ? 1 : 0);
}

}  // namespace

__attribute__((noinline, visibility("hidden"))) size_t HiddenOutermost(void** frames, size_t count,
                                                                       size_t skip)
{
    const size_t written = TemplateOuter<int>(frames, count, skip);
    return written + (frames == nullptr ? 1 : 0);
}

TEST(StackTrace, NamesStaticTemplateAndHiddenFunctions)
{
    void* frames[64];
    const size_t count = HiddenOutermost(frames, 64, 0);
    ASSERT_GT(count, 4u);
    EXPECT_TRUE(Has(NameOf(frames[0]), "StaticInner(void**")) << NameOf(frames[0]);
    EXPECT_TRUE(Has(NameOf(frames[1]), "TemplateOuter<int>")) << NameOf(frames[1]);
    EXPECT_TRUE(Has(NameOf(frames[2]), "HiddenOutermost")) << NameOf(frames[2]);
    EXPECT_EQ(NameOf(reinterpret_cast<void*>(&HiddenOutermost)), NameOf(frames[2]));
    EXPECT_TRUE(Has(NameOf(CaptureCallstack(8, 0).at(0)), "NamesStaticTemplateAndHiddenFunctions"));
}

TEST(StackTrace, KeepsToTheRoomAndTheSkippedFrames)
{
    void* all[64];
    void* some[3] = {};
    const size_t count = StaticInner(all, 64, 0);
    EXPECT_EQ(StaticInner(some, 2, 1), 2u);
    EXPECT_EQ(some[1], all[2]);
    EXPECT_EQ(some[2], nullptr);
    EXPECT_EQ(StaticInner(some, 3, count), 0u);
    EXPECT_EQ(StaticInner(some, 3, SIZE_MAX), 0u);
    EXPECT_EQ(GenerateStackTrace(some, 0, 0), 0u);
    EXPECT_EQ(GenerateStackTrace(nullptr, 3, 0), 0u);
    EXPECT_TRUE(CaptureCallstack(0, 0).empty());
    EXPECT_GE(GetDefaultCallstackDepth(), 24u);
}

TEST(StackTrace, CutsNamesAndRefusesWhatHasNone)
{
    char name[6] = "?????";
    EXPECT_TRUE(StackFrameFunctionName(reinterpret_cast<void*>(&HiddenOutermost), name, sizeof(name)));
    EXPECT_STREQ(name, "Hidde");
    EXPECT_TRUE(StackFrameFunctionName(reinterpret_cast<void*>(&HiddenOutermost), name, 1));
    EXPECT_STREQ(name, "");
    EXPECT_FALSE(StackFrameFunctionName(nullptr, name, sizeof(name)));
    EXPECT_FALSE(StackFrameFunctionName(name, name, sizeof(name)));
    EXPECT_FALSE(StackFrameFunctionName(name, nullptr, 5));
    EXPECT_FALSE(StackFrameFunctionName(name, name, 0));
}

TEST(StackTrace, NamesContendingThreadsAlike)
{
    void* frames[64];
    const size_t count = HiddenOutermost(frames, 64, 0);
    std::vector<std::string> expected;
    for (size_t i = 0; i < count; ++i) expected.push_back(NameOf(frames[i]));
    zvktest::Contend(8, [&](int) {
        void* own[64];
        for (int round = 0; round < 50; ++round) {
            ASSERT_GT(HiddenOutermost(own, 64, 0), 3u);
            for (size_t i = 0; i < 3; ++i) ASSERT_EQ(NameOf(own[i]), expected[i]);
            for (size_t i = 0; i < count; ++i) ASSERT_EQ(NameOf(frames[i]), expected[i]);
        }
    });
}
