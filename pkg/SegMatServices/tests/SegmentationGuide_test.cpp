// The examples of docs/guides/segmentation.md, run.
#include <gtest/gtest.h>

#include "FakePlugin.h"
#include "SMS_Pixels.h"

namespace {

using namespace zvkcore::string::literals;

class Histogram : public tessaly::Computator {
  public:
    explicit Histogram(int frame) : m_frame(frame) {}
    long long GetCacheKey() override { return m_frame; }
    boost::shared_ptr<tessaly::Value> Compute() override
    {
        return boost::shared_ptr<tessaly::Value>(new tessaly::Value);
    }

  private:
    int m_frame;
};

TEST(SegmentationGuide, ComesTrue)
{
    smstest::Script script;
    smstest::FakeCreator creator{script};
    tessaly::SegmenterProperties properties;
    properties.name = "My Segmenter"_utf8;
    tessaly::RegisterCreator<tessaly::Segmenter>(&creator, properties);

    const auto guid = zvkcore::utility::Guid::CreateRandom();
    tessaly::SpanManager spans{guid, true, "My Segmenter"_utf8, boost::rational<int>(1001, 30000)};
    spans.SetManualFrame(10, 3, 5);
    spans.SetManualFrame(30, 4, 1);
    tessaly::SpanManager::SingleSpan span;
    EXPECT_TRUE(spans.GetActiveSpan(12, tessaly::SpanManager::SpanDirection_Forward, &span));
    const auto forward = tessaly::SpanManager::SpanDirection_Forward;
    spans.SetSpanDuration(12, forward, spans.CalcActiveRangeExtension(12, forward, 100));
    EXPECT_EQ(spans.GetSpanDuration(26, forward), 17u);

    smstest::FakeHost frame(12);
    boost::shared_ptr<tessaly::CrossRenderCache> cache;
    EXPECT_TRUE(spans.Render(frame, cache));
    spans.RetainSegmentationRange(10, 14);
    spans.Render(frame, cache);
    script.calls.Take();
    spans.Render(frame, cache);
    EXPECT_EQ(script.calls.Take(), (smstest::Log{"seg init", "seg clear"}));
    spans.ClearRetainedSegmentation();

    spans.SetRenderingMode(tessaly::SpanManager::RenderingMode_Freezing);
    for (frame.current = 10; frame.current < 15; ++frame.current) spans.Render(frame, cache);
    spans.SetRenderingMode(tessaly::SpanManager::RenderingMode_Frozen);
    std::set<int> marks;
    spans.GetValidCachedFrameSet(false, frame, marks, 0, 0);
    spans.GetFrozenFrameSet(frame, marks, 0, 100);
    EXPECT_EQ(marks, (std::set<int>{8, 10, 11, 12, 13, 14, 27, 28}));

    const tessaly::AnyImageView view = frame.AllocateOutput(tessaly::OutputIndex_Segmentation);
    U_UTF8String stored;
    tessaly::zip_compressor{stored}(view);
    tessaly::zip_decompressor{stored}(view);

    tessaly::RegisterGlobalCacheIndex(
        boost::shared_ptr<tessaly::CacheIndex>(new tessaly::CacheIndex("values")));
    Histogram wanted{12};
    const boost::shared_ptr<tessaly::Value> value = tessaly::CheckoutOrRender(guid, wanted);
    EXPECT_EQ(tessaly::CheckoutOrRender(guid, wanted), value);
    tessaly::RegisterGlobalCacheIndex({});

    const U_UTF8String text = spans.SerializeToXMLSnippet();
    const tessaly::SpanManager again{guid, false, text, boost::rational<int>(1, 25)};
    EXPECT_EQ(again.GetTextFault(), tessaly::SpanManager::TextFault_None);
    EXPECT_EQ(again.GetSpanInfo(), spans.GetSpanInfo());
    tessaly::UnregisterCreator<tessaly::Segmenter>(&creator);
}

}  // namespace
