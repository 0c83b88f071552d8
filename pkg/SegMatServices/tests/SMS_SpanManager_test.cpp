#include "SMS_SpanManager.h"

#include <boost/weak_ptr.hpp>
#include <limits>

#include "Contend.h"
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

using Spans = Stage;

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
            EXPECT_EQ(m_spans.GetActiveSpan(frame, direction, &span), base != 0);
            EXPECT_EQ(m_spans.IsActiveFrame(frame, direction), base != 0);
            EXPECT_EQ(span.baseFrame, base);
            EXPECT_EQ(m_spans.GetSpanDuration(frame, direction), span.duration);
            const M::SpanPair pair = base == 0 ? M::SpanPair() : m_spans.GetSpans().at(base);
            EXPECT_EQ(span.segmenter, direction ? pair.backwardSegmenter : pair.forwardSegmenter);
            EXPECT_EQ(span.matter, direction ? pair.backwardMatter : pair.forwardMatter);
            if (base == 0) continue;
            EXPECT_EQ(m_spans.GetActiveManualFrameIndex(frame, direction), base);
        }
        FrameCount backward = 7, forward = 7;
        EXPECT_EQ(m_spans.GetManualFrame(frame, backward, forward), forwardBase != 0) << "forward spans only";
        EXPECT_EQ(forward, m_spans.GetSpanDuration(frame, kForward));
        EXPECT_EQ(backward, forwardBase ? m_spans.GetSpans().at(forwardBase).backwardDuration : 0);
    }
}

TEST_F(Spans, ReachTheEndsOfFrameNumbersWithoutWrapping)
{
    Set({{kFirst, kLongest, kLongest}});
    EXPECT_TRUE(m_spans.IsActiveFrame(kLast - 1, kForward));
    EXPECT_FALSE(m_spans.IsActiveFrame(kLast, kForward)) << "one frame more than a duration can count";
    EXPECT_EQ(m_spans.CalcActiveRangeExtension(kLast - 1, kForward, kLongest), kLongest);
    m_spans.ClearManualFrame(kFirst);
    Set({{kLast, kLongest, kLongest}});
    EXPECT_TRUE(m_spans.IsActiveFrame(kFirst + 1, kBackward));
    EXPECT_FALSE(m_spans.IsActiveFrame(kFirst, kBackward));
    EXPECT_EQ(m_spans.CalcActiveRangeExtension(-5, kBackward, kLongest), kLongest);
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
        EXPECT_EQ(m_spans.CalcActiveRangeExtension(row.frame, row.direction, row.extension), row.duration)
            << row.name;
        for (const auto& span : {row.span, row.neighbour}) m_spans.ClearManualFrame(span.baseFrame);
    }
}

TEST_F(Spans, AssertWhereOneIsNeededAndNoneIs)
{
    Assertions assertions;
    EXPECT_FALSE(m_spans.GetActiveSpan(0, kForward));
    EXPECT_EQ(m_spans.GetSpanDuration(0, kBackward), 0u);
    EXPECT_EQ(assertions.heard, Log());
    EXPECT_EQ(m_spans.GetActiveManualFrameIndex(0, kForward), 0);
    EXPECT_EQ(m_spans.CalcActiveRangeExtension(0, kBackward, 9), 1u);
    EXPECT_EQ(assertions.heard, (Log{"IsActiveFrame(frame, dir)|GetActiveManualFrameIndex called with "
                                     "non-active frame",
                                     "IsActiveFrame(frame, dir)|"}));
}

TEST_F(Spans, KeepAManualFrameThatIsThere)
{
    Set({{20, 1, 2}, {10, 5, 3}});
    const auto objects = m_spans.GetSpans().at(10).forwardSegmenter;
    m_spans.SetManualFrame(10, 9, 9);
    EXPECT_EQ(m_spans.GetSpanInfo(), (std::vector<M::SpanInfo>{{10, 5, 3}, {20, 1, 2}}));
    EXPECT_EQ(m_spans.GetSpans().at(10).forwardSegmenter, objects);
    EXPECT_EQ(m_spans.SetSpanDuration(14, kForward, 2), 5u);
    EXPECT_EQ(m_spans.SetSpanDuration(14, kForward, 7), 0u) << "no longer covered";
    EXPECT_EQ(m_spans.SetSpanDuration(10, kBackward, 0), 3u);
    EXPECT_EQ(m_spans.SetSpanDuration(10, kForward, 0), 2u);
    EXPECT_TRUE(m_spans.IsManualFrame(10));
    EXPECT_EQ(m_spans.SetSpanDuration(10, kForward, 1), 0u) << "a span of no duration covers nothing";
    testing::internal::CaptureStdout();
    m_spans.DumpSpanDataToConsole();
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "  SpanManager i_spans_map\n   base frame @ 10, backward duration 0, forward duration 0\n"
              "   base frame @ 20, backward duration 2, forward duration 1\n");
}

// Threads work with their copies of spans while the owner takes the manual frames away.
TEST_F(Spans, OutliveTheirManualFramesInCopies)
{
    constexpr FrameIndex kFrames = 200;
    m_script.calls.silent = true;
    for (FrameIndex frame = 0; frame < kFrames; ++frame) m_spans.SetManualFrame(frame, 1, 1);
    std::vector<std::vector<M::SingleSpan>> copies(3, std::vector<M::SingleSpan>(kFrames));
    for (auto& own : copies) {
        for (FrameIndex frame = 0; frame < kFrames; ++frame)
            m_spans.GetActiveSpan(frame, kForward, &own[frame]);
    }
    const boost::weak_ptr<Segmenter> last = copies[0][kFrames - 1].segmenter;
    zvktest::Contend(4, [&](int thread) {
        if (thread == 3) {
            for (FrameIndex frame = kFrames - 1; frame >= 0; --frame) m_spans.ClearManualFrame(frame);
            return;
        }
        for (auto& span : copies[static_cast<size_t>(thread)])
            span = (span.segmenter->PurgeAll(), M::SingleSpan{});
    });
    EXPECT_TRUE(last.expired());
    EXPECT_TRUE(m_spans.GetSpanInfo().empty());
}

// The objects of a frame slot by slot, and what they are to be.
Log NamesOf(const M& spans, FrameIndex frame)
{
    const auto& pair = spans.GetSpans().at(frame);
    return {dynamic_cast<Actor<Segmenter>&>(*pair.backwardSegmenter).Name(),
            dynamic_cast<Actor<Segmenter>&>(*pair.forwardSegmenter).Name(),
            dynamic_cast<Actor<Matter>&>(*pair.backwardMatter).Name(),
            dynamic_cast<Actor<Matter>&>(*pair.forwardMatter).Name()};
}

Log Expected(const Guid& guid, int32_t index)
{
    Log names;
    for (std::string bytes : {"seg.backwards", "seg.foward", "hair.backwards", "hair.foward"}) {
        const std::string kind = bytes.substr(0, bytes.find('.'));
        bytes.append(reinterpret_cast<const char*>(guid.GuidToBytes()), Guid::kSize);
        bytes.append(reinterpret_cast<const char*>(&index), sizeof index);
        names.push_back(NameOf(kind, Guid::CreateFromBytes(bytes.data(), bytes.size())));
    }
    return names;
}

TEST_F(Spans, AreIdentifiedByTheirPlaceWhenTheyWereMade)
{
    Set({{20, 1, 1}, {10, 1, 1}});
    EXPECT_EQ(NamesOf(m_spans, 20), Expected(m_guid, 0));
    EXPECT_EQ(NamesOf(m_spans, 10), Expected(m_guid, 1));

    Log purged;
    for (int32_t index : {1, 0}) {
        for (const auto& name : Expected(m_guid, index)) purged.push_back("purge " + name);
    }
    m_spans.PurgeAllCaches();
    EXPECT_EQ(m_script.calls.log, purged) << "former objects in frame order, slot by slot";
    EXPECT_EQ(NamesOf(m_spans, 10), Expected(m_guid, 0));
    EXPECT_EQ(NamesOf(m_spans, 20), Expected(m_guid, 1));

    const Guid other = Guid::CreateFromBytes("other", 5);
    m_spans.UpdateGuid(other);
    EXPECT_EQ(NamesOf(m_spans, 20), Expected(other, 1));
    EXPECT_EQ(m_spans.GetSpanInfo(), (std::vector<M::SpanInfo>{{10, 1, 1}, {20, 1, 1}}));

    m_script.makesNoMatter = true;
    Set({{30, 1, 1}});
    EXPECT_EQ(m_spans.GetSpans().at(30).forwardMatter, nullptr) << "what is no matter is dropped";
    EXPECT_NE(m_spans.GetSpans().at(30).forwardSegmenter, nullptr);
}

TEST_F(Spans, SurviveEveryFailedAllocation)
{
    bool whole = true;
    qltest::EveryAllocationFails([&] {
        Forget();  // the report of the former run's lack of memory
        M spans{m_guid, true, "Fake"_utf8, {1, 25}};
        spans.SetManualFrame(10, 3, 5);
        FrameIndex frame = 11;
        try {
            for (; frame < 16; ++frame) spans.SetManualFrame(frame, 1, 1);
        } catch (const std::bad_alloc&) {
            whole = whole && !spans.IsManualFrame(frame) && !spans.IsActiveFrame(frame, kBackward);
            throw;
        }
        const U_UTF8String text = spans.SerializeToXMLSnippet();
        return M(m_guid, false, text, {1, 25}).GetSpanInfo() == spans.GetSpanInfo();
    });
    EXPECT_TRUE(whole) << "a frame is either there, in the map and in the search, or it is not";
}

}  // namespace
