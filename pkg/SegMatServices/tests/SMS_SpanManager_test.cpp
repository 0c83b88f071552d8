#include "SMS_SpanManager.h"

#include <gtest/gtest.h>

#include <barrier>
#include <boost/weak_ptr.hpp>
#include <limits>
#include <thread>

#include "FailingAllocator.h"
#include "FakePlugin.h"

namespace {

using namespace smstest;
using M = SpanManager;

constexpr auto kForward = M::SpanDirection_Forward;
constexpr auto kBackward = M::SpanDirection_Backward;
constexpr FrameIndex kFirst = std::numeric_limits<FrameIndex>::min();
constexpr FrameIndex kLast = std::numeric_limits<FrameIndex>::max();
constexpr FrameCount kLongest = std::numeric_limits<FrameCount>::max();

class Spans : public testing::Test {
  protected:
    // Manual frames from {frame, forward, backward}.
    void Set(std::initializer_list<M::SpanInfo> spans)
    {
        for (const auto& span : spans) {
            manager.SetManualFrame(span.baseFrame, span.backwardDuration, span.forwardDuration);
        }
    }

    FakePlugin plugin;
    Guid guid = Guid::CreateFromBytes("manager", 7);
    M manager{guid, true, "Fake"_utf8, {1, 25}};
};

TEST_F(Spans, CoverFrames)
{
    Set({{10, 5, 3}, {30, 0, 3}, {40, 100, 0}, {50, 2, 20}, {60, 5, 2}});
    // A frame and the bases of its forward and its backward span, 0 for none. On 30 its own forward duration
    // of 0 decides; the long spans of 40 and 50 stop before one another.
    const FrameIndex rows[][3] = {
        {7, 0, 0},   {8, 0, 10},  {10, 10, 10}, {14, 10, 0},    {15, 0, 0},    {28, 0, 30},
        {30, 0, 30}, {31, 0, 0},  {40, 40, 0},  {45, 40, 50},   {50, 50, 50},  {52, 0, 0},
        {59, 0, 60}, {64, 60, 0}, {65, 0, 0},   {kFirst, 0, 0}, {kLast, 0, 0},
    };
    for (const auto& [frame, forwardBase, backwardBase] : rows) {
        SCOPED_TRACE(frame);
        for (const auto& [direction, base] : {std::pair(kForward, forwardBase), {kBackward, backwardBase}}) {
            M::SingleSpan span{1, nullptr, nullptr, 1};
            EXPECT_EQ(manager.GetActiveSpan(frame, direction, &span), base != 0);
            EXPECT_EQ(manager.IsActiveFrame(frame, direction), base != 0);
            EXPECT_EQ(span.baseFrame, base);
            EXPECT_EQ(manager.GetSpanDuration(frame, direction), span.duration);
            const M::SpanPair pair = base == 0 ? M::SpanPair() : manager.GetSpans().at(base);
            EXPECT_EQ(span.segmenter, direction ? pair.backwardSegmenter : pair.forwardSegmenter);
            EXPECT_EQ(span.matter, direction ? pair.backwardMatter : pair.forwardMatter);
            if (base == 0) continue;
            EXPECT_EQ(manager.GetActiveManualFrameIndex(frame, direction), base);
        }
        FrameCount backward = 7, forward = 7;
        EXPECT_EQ(manager.GetManualFrame(frame, backward, forward), forwardBase != 0) << "forward spans only";
        EXPECT_EQ(forward, manager.GetSpanDuration(frame, kForward));
        EXPECT_EQ(backward, forwardBase ? manager.GetSpans().at(forwardBase).backwardDuration : 0);
    }
}

TEST_F(Spans, ReachTheEndsOfFrameNumbersWithoutWrapping)
{
    Set({{kFirst, kLongest, kLongest}});
    EXPECT_TRUE(manager.IsActiveFrame(kLast - 1, kForward));
    EXPECT_FALSE(manager.IsActiveFrame(kLast, kForward)) << "one frame more than a duration can count";
    EXPECT_EQ(manager.CalcActiveRangeExtension(kLast - 1, kForward, kLongest), kLongest);
    manager.ClearManualFrame(kFirst);
    Set({{kLast, kLongest, kLongest}});
    EXPECT_TRUE(manager.IsActiveFrame(kFirst + 1, kBackward));
    EXPECT_FALSE(manager.IsActiveFrame(kFirst, kBackward));
    EXPECT_EQ(manager.CalcActiveRangeExtension(-5, kBackward, kLongest), kLongest);
}

TEST_F(Spans, ExtendUpToTheirNeighbours)
{
    struct Row {
        const char* name;
        M::SpanInfo span, neighbour;
        FrameIndex frame;
        M::SpanDirection direction;
        FrameCount extension, duration;
    };
    const Row rows[] = {
        {"flush forward", {10, 5, 3}, {30, 0, 4}, 12, kForward, 100, 17},
        {"flush backward", {30, 1, 5}, {10, 4, 9}, 28, kBackward, 100, 17},
        {"over a neighbour without an opposite span", {10, 5, 3}, {30, 9, 0}, 12, kForward, 100, 21},
        {"the same backward", {30, 1, 5}, {10, 0, 9}, 28, kBackward, 100, 21},
        {"as far as asked", {10, 5, 3}, {30, 0, 4}, 12, kForward, 8, 10},
        {"never shorter", {10, 5, 3}, {30, 0, 4}, 12, kForward, 1, 5},
        {"never shorter backward", {30, 1, 5}, {10, 4, 9}, 30, kBackward, 0, 5},
        {"over the base is unsigned", {10, 5, 3}, {30, 0, 25}, 12, kForward, 1, static_cast<FrameCount>(-4)},
    };
    for (const auto& row : rows) {
        Set({row.span, row.neighbour});
        EXPECT_EQ(manager.CalcActiveRangeExtension(row.frame, row.direction, row.extension), row.duration)
            << row.name;
        for (const auto& span : {row.span, row.neighbour}) manager.ClearManualFrame(span.baseFrame);
    }
}

TEST_F(Spans, NothingCoversAnEmptyManager)
{
    Assertions assertions;
    EXPECT_TRUE(manager.GetSpanInfo().empty());
    EXPECT_FALSE(manager.IsManualFrame(0) || manager.IsActiveFrame(0, kForward) ||
                 manager.IsActiveFrame(0, kBackward) || manager.GetActiveSpan(0, kForward));
    EXPECT_EQ(manager.SetSpanDuration(0, kForward, 9), 0u);
    EXPECT_EQ(manager.GetSpanDuration(0, kBackward), 0u);
    EXPECT_EQ(assertions.heard, Log());
    EXPECT_EQ(manager.GetActiveManualFrameIndex(0, kForward), 0);
    EXPECT_EQ(manager.CalcActiveRangeExtension(0, kBackward, 9), 1u);
    EXPECT_EQ(assertions.heard, (Log{"IsActiveFrame(frame, dir)|GetActiveManualFrameIndex called with "
                                     "non-active frame",
                                     "IsActiveFrame(frame, dir)|"}));
}

TEST_F(Spans, KeepAManualFrameThatIsThere)
{
    Set({{20, 1, 2}, {10, 5, 3}});
    const auto objects = manager.GetSpans().at(10).forwardSegmenter;
    manager.SetManualFrame(10, 9, 9);
    EXPECT_EQ(manager.GetSpanInfo(), (std::vector<M::SpanInfo>{{10, 5, 3}, {20, 1, 2}}));
    EXPECT_EQ(manager.GetSpans().at(10).forwardSegmenter, objects);
    EXPECT_EQ(manager.SetSpanDuration(14, kForward, 2), 5u);
    EXPECT_EQ(manager.SetSpanDuration(14, kForward, 7), 0u) << "no longer covered";
    EXPECT_EQ(manager.SetSpanDuration(10, kBackward, 0), 3u);
    EXPECT_EQ(manager.SetSpanDuration(10, kForward, 0), 2u);
    EXPECT_TRUE(manager.IsManualFrame(10));
    EXPECT_EQ(manager.SetSpanDuration(10, kForward, 1), 0u) << "a span of no duration covers nothing";
    testing::internal::CaptureStdout();
    manager.DumpSpanDataToConsole();
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "  SpanManager i_spans_map\n   base frame @ 10, backward duration 0, forward duration 0\n"
              "   base frame @ 20, backward duration 2, forward duration 1\n");
}

// Threads work with their copies of spans while the owner takes the manual frames away.
TEST_F(Spans, OutliveTheirManualFramesInCopies)
{
    constexpr FrameIndex kFrames = 200;
    plugin.script.calls.silent = true;
    for (FrameIndex frame = 0; frame < kFrames; ++frame) manager.SetManualFrame(frame, 1, 1);
    std::vector<std::vector<M::SingleSpan>> copies(3, std::vector<M::SingleSpan>(kFrames));
    for (auto& own : copies) {
        for (FrameIndex frame = 0; frame < kFrames; ++frame)
            manager.GetActiveSpan(frame, kForward, &own[frame]);
    }
    const boost::weak_ptr<Segmenter> last = copies[0][kFrames - 1].segmenter;
    std::barrier start{4};
    std::vector<std::thread> threads;
    for (auto& own : copies) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (auto& span : own) span = (span.segmenter->PurgeAll(), M::SingleSpan{});
        });
    }
    start.arrive_and_wait();
    for (FrameIndex frame = kFrames - 1; frame >= 0; --frame) manager.ClearManualFrame(frame);
    for (auto& thread : threads) thread.join();
    EXPECT_TRUE(last.expired());
    EXPECT_TRUE(manager.GetSpanInfo().empty());
}

// The names of the objects of a frame, slot by slot, and what they are to be.
Log NamesOf(const M& manager, FrameIndex frame)
{
    const auto& pair = manager.GetSpans().at(frame);
    return {dynamic_cast<Actor<Segmenter>&>(*pair.backwardSegmenter).Name(),
            dynamic_cast<Actor<Segmenter>&>(*pair.forwardSegmenter).Name(),
            dynamic_cast<Actor<Matter>&>(*pair.backwardMatter).Name(),
            dynamic_cast<Actor<Matter>&>(*pair.forwardMatter).Name()};
}

Log Expected(const Guid& manager, int32_t index)
{
    Log names;
    for (std::string bytes : {"seg.backwards", "seg.foward", "hair.backwards", "hair.foward"}) {
        bytes.append(reinterpret_cast<const char*>(manager.GuidToBytes()), Guid::kSize);
        bytes.append(reinterpret_cast<const char*>(&index), sizeof index);
        const Guid identity = Guid::CreateFromBytes(bytes.data(), bytes.size());
        names.emplace_back(zvkcore::string::View(identity.AsUTF8String()));
    }
    return names;
}

TEST_F(Spans, AreIdentifiedByTheirPlaceWhenTheyWereMade)
{
    Set({{20, 1, 1}, {10, 1, 1}});
    EXPECT_EQ(NamesOf(manager, 20), Expected(guid, 0));
    EXPECT_EQ(NamesOf(manager, 10), Expected(guid, 1));

    Log purged;
    for (int32_t index : {1, 0}) {
        const Log names = Expected(guid, index);
        for (std::size_t slot = 0; slot < 4; ++slot)
            purged.push_back((slot < 2 ? "seg purge " : "hair purge ") + names[slot]);
    }
    manager.PurgeAllCaches();
    EXPECT_EQ(plugin.script.calls.log, purged) << "former objects in frame order, slot by slot";
    EXPECT_EQ(NamesOf(manager, 10), Expected(guid, 0));
    EXPECT_EQ(NamesOf(manager, 20), Expected(guid, 1));

    const Guid other = Guid::CreateFromBytes("other", 5);
    manager.UpdateGuid(other);
    EXPECT_EQ(NamesOf(manager, 20), Expected(other, 1));
    EXPECT_EQ(manager.GetSpanInfo(), (std::vector<M::SpanInfo>{{10, 1, 1}, {20, 1, 1}}));

    plugin.script.makesNoMatter = true;
    Set({{30, 1, 1}});
    EXPECT_EQ(manager.GetSpans().at(30).forwardMatter, nullptr) << "what is no matter is dropped";
    EXPECT_NE(manager.GetSpans().at(30).forwardSegmenter, nullptr);
}

TEST_F(Spans, SurviveEveryFailedAllocation)
{
    bool whole = true;
    qltest::EveryAllocationFails([&] {
        M spans{guid, true, "Fake"_utf8, {1, 25}};
        spans.SetManualFrame(10, 3, 5);
        FrameIndex frame = 11;
        try {
            for (; frame < 16; ++frame) spans.SetManualFrame(frame, 1, 1);
        } catch (const std::bad_alloc&) {
            whole = whole && !spans.IsManualFrame(frame) && !spans.IsActiveFrame(frame, kBackward);
            throw;
        }
        const U_UTF8String text = spans.SerializeToXMLSnippet();
        return M(guid, false, text, {1, 25}).GetSpanInfo() == spans.GetSpanInfo();
    });
    EXPECT_TRUE(whole) << "a frame is either there, in the map and in the search, or it is not";
}

}  // namespace
