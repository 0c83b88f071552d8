// Which span renders, what its objects are told, and what is left when they throw.
#include "FakePlugin.h"
#include "SMSp_FreezingSegmenter.h"
#include "SMSp_SpanIdentity.h"
#include "SMSp_SpanRenderFrameData.h"
#include "zvkappsupport/feature/Feature.h"

namespace {

using namespace smstest;

class SpanRender : public Stage {
  protected:
    // What the plug-in hears of a render, and of a render of hair, each behind its answer.
    Log Rendered(int frame)
    {
        m_host.current = frame;
        m_script.calls.log = {"nothing"};
        if (m_spans.Render(m_host, m_cache)) m_script.calls.log[0] = "rendered";
        return m_script.calls.Take();
    }
    Log Hair(int frame)
    {
        m_host.current = frame;
        m_script.calls.log = {"nothing"};
        if (m_spans.RenderHair(m_host, m_cache, m_type)) m_script.calls.log[0] = "rendered";
        return m_script.calls.Take();
    }
};

TEST_F(SpanRender, ChoosesTheSpan)
{
    Set({{10, 5, 5}, {20, 0, 8}});
    const auto road = [](const char* render) { return Log{"rendered", "seg init", render, "seg clear"}; };
    EXPECT_EQ(Rendered(10), road("seg render 0"));
    EXPECT_EQ(Rendered(8), road("seg render 2"));   // backward
    EXPECT_EQ(Rendered(13), road("seg render 3"));  // a forward and a backward span: the forward one
    EXPECT_EQ(Rendered(17), road("seg render 3"));
    EXPECT_EQ(Rendered(20), road("seg render 0"));  // no forward span: the backward one
    EXPECT_EQ(Rendered(21), Log{"nothing"});
    EXPECT_EQ(Hair(17), (Log{"rendered", "hair render 3"}));
    EXPECT_EQ(m_type, RenderFrameData::OutputType_Matte);
    m_script.result = false;
    EXPECT_EQ(Hair(17), (Log{"nothing", "hair render 3"}));

    // A render keeps the objects of its span, whatever happens to the manual frame.
    m_script.whileRendering = [this] { m_spans.ClearManualFrame(10); };
    EXPECT_EQ(Rendered(10), road("seg render 0"));
    EXPECT_FALSE(m_spans.IsManualFrame(10));
    m_script.whileRendering = {};

    // A stroke without a span gets a segmenter of its own, and nothing is stored of it.
    m_host.stroke = true;
    m_spans.SetRenderingMode(SpanManager::RenderingMode_Freezing);
    EXPECT_EQ(Rendered(21), road("seg render 0"));
    EXPECT_EQ(m_plugin.creator.last, SpanIdentity("temp", m_guid, 0));
    EXPECT_TRUE(m_spans.GetFrozenData()->successfullyFrozenFrames.empty());
    EXPECT_EQ(Hair(21), Log{"nothing"});
}

TEST_F(SpanRender, TranslatesFrames)
{
    m_host.current = 7;
    SpanRenderFrameData forward(10, 1, m_host, m_spans);
    SpanRenderFrameData backward(10, -1, m_host, m_spans);
    const auto asked = [this](SpanRenderFrameData& data) {
        data.GetParamFloat(nullptr, 3);
        data.GetParamFloatXY(nullptr, 3);
        data.GetParamColor(nullptr, 3);
        data.CheckoutInputImage(3);
        data.CheckoutForegroundStrokesImage(3);
        data.CheckoutBackgroundStrokesImage(3);
        data.CheckoutMattingPlusStrokesImage(3);
        data.CheckoutMattingMinusStrokesImage(3);
        data.CheckoutTrimapImage(3);
        data.CheckoutStrokeConfidenceImage(3);
        data.HasStrokesInTimeRange(StrokeType_Trimap, 1, 3);
        data.HasStrokesInTimeRange(StrokeType_Trimap, 0, INT32_MAX);
        data.GetCurrentParamState(1, 3);
        data.GetCurrentParamState(3, 0);
        data.GetCurrentParamState(-20, 4);
        data.GetCurrentParamState(1, UINT32_MAX);
        return m_host.calls.Take();
    };
    EXPECT_EQ(asked(forward),
              (Log{"float 13", "xy 13", "color 13", "input 13", "fore 13", "back 13", "plus 13", "minus 13",
                   "trimap 13", "trust 13", "strokes 11 13", "strokes 10 2147483647", "state 11 3",
                   "state 13 0", "state -10 4", "state 11 4294967295"}));
    EXPECT_EQ(asked(backward), (Log{"float 7", "xy 7", "color 7", "input 7", "fore 7", "back 7", "plus 7",
                                    "minus 7", "trimap 7", "trust 7", "strokes 9 7", "strokes 10 -2147483637",
                                    "state 7 3", "state 7 0", "state 27 4", "state -2147483648 4294967295"}));
    EXPECT_EQ(forward.GetCurrentFrame(), -3);
    EXPECT_EQ(backward.GetCurrentFrame(), 3);
    EXPECT_EQ(backward.LocalToGlobalFrameIndex(3), 7);

    EXPECT_EQ(backward.GlobalRetainCacheHintStartFrame(), kNoRetainedFrame);
    m_spans.RetainSegmentationRange(7, 9);
    EXPECT_EQ(backward.GlobalRetainCacheHintStartFrame(), 7);
    EXPECT_EQ(backward.GlobalRetainCacheHintEndFrame(), 9);
    for (const auto& [local, retained] : {std::pair{0, false}, {1, true}, {3, true}, {4, false}}) {
        EXPECT_EQ(backward.FrameIsInRetainRangeForSingleHostRender(local), retained) << local;
        backward.RetainResultIfNeededForSingleHostRender(boost::gil::view(m_host.input), local,
                                                         OutputIndex_Trimap);
        EXPECT_EQ(m_spans.GetFrozenData()->retainedSegmentation.count(10 - local), retained ? 1u : 0u);
    }
}

TEST_F(SpanRender, MarksCachedFrames)
{
    Set({{10, 5, 3}});
    std::set<int> frames{99};
    m_script.calls.Take();
    ASSERT_TRUE(IsFastHBCacheMarkingsEnabled());
    zvkappsupport::feature::SetFeatureEnabled("HB.OptimizedCacheMarks", false);  // too late: it is read once
    m_spans.GetValidCachedFrameSet(false, m_host, frames, 5, 6);
    EXPECT_EQ(frames, (std::set<int>{8, 12, 13, 99}));
    EXPECT_EQ(m_script.calls.Take(), (Log{"seg set", "seg set"}));
    frames.clear();
    m_script.cached = {-1, 0, 1, 4, 5};
    m_spans.GetValidCachedFrameSet(true, m_host, frames, 0, 0);
    EXPECT_EQ(frames, (std::set<int>{9, 10, 11, 14}));
}

TEST_F(SpanRender, LetsExceptionsPassAndKeepsWhatIsStored)
{
    Set({{10, 5, 3}});
    m_spans.RetainSegmentationRange(10, 14);
    m_spans.SetRenderingMode(SpanManager::RenderingMode_Freezing);
    m_spans.Render(m_host, m_cache);
    const auto stored = m_spans.GetFrozenData()->frozenSegmentation;
    m_script.paint = 0;
    for (const char* slot :
         {"seg init", "seg render 1", "seg clear", "hair render 1", "seg set", "seg array"}) {
        m_script.calls = {{}, slot};
        const auto everything = [&] {
            m_spans.Render(m_host, m_cache);
            m_spans.RenderHair(m_host, m_cache, m_type);
            std::set<int> frames;
            m_spans.GetValidCachedFrameSet(true, m_host, frames, 0, 0);
        };
        EXPECT_THROW(everything(), std::runtime_error) << slot;
        // Whatever was thrown, the segmenter was told that the frame data goes.
        const auto log = m_script.calls.Take();
        EXPECT_EQ(std::count(log.begin(), log.end(), "seg clear"), 1) << slot;
        if (std::string(slot) == "seg init" || std::string(slot) == "seg render 1") {
            EXPECT_EQ(m_spans.GetFrozenData()->frozenSegmentation, stored) << slot;
        }
    }
    m_script.calls = {};
    m_host.calls.thrower = "input 11";
    m_spans.SetRenderingMode(SpanManager::RenderingMode_Frozen);
    EXPECT_THROW(m_spans.Render(m_host, m_cache), std::runtime_error);
    EXPECT_EQ(m_spans.GetFrozenData()->frozenSegmentation.count(11), 1u);

    FreezingSegmenter wrapper(boost::make_shared<Actor<Segmenter>>(m_script, "seg"), m_spans, false);
    EXPECT_THROW(
        wrapper.Render(0, nullptr, m_host, nullptr, m_cache, nullptr, nullptr, OutputIndex_Segmentation),
        std::bad_cast);
}

TEST_F(SpanRender, SurvivesACreatorThatMakesNothing)
{
    m_script.makesNothing = true;
    Set({{10, 5, 3}});
    m_spans.SetRenderingMode(SpanManager::RenderingMode_Freezing);
    EXPECT_EQ(Rendered(11), Log{"rendered"});
    EXPECT_EQ(Hair(11), Log{"nothing"});
    EXPECT_TRUE(m_spans.GetFrozenData()->successfullyFrozenFrames.empty());
    std::set<int> frames;
    m_spans.GetValidCachedFrameSet(true, m_host, frames, 0, 0);
    EXPECT_TRUE(frames.empty());
    m_host.stroke = true;
    EXPECT_EQ(Rendered(30), Log{"nothing"});

    FreezingSegmenter wrapper({}, m_spans, true);
    wrapper.PurgeAll();
    const std::unique_ptr<Segmenter> clone(wrapper.Clone());
    clone->ClearRFDPtr();
    EXPECT_TRUE(clone->GetValidCachedFrameSet(m_host)->empty());
}

}  // namespace
