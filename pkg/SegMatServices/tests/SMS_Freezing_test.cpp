// What each mode stores and serves.
#include "FailingAllocator.h"
#include "FakePlugin.h"
#include "SMSp_FreezingSegmenter.h"
#include "SMSp_SpanRenderFrameData.h"

namespace {

using namespace smstest;

class Freezing : public Stage {
  protected:
    Freezing() { Set({{0, 50, 1}}); }

    // Renders a frame and gives the value of its first pixel, which is that of all.
    int Pixel(int frame)
    {
        m_host.current = frame;
        const auto view = boost::gil::view(m_host.Output(OutputIndex_Segmentation));
        boost::gil::fill_pixels(view, boost::gil::gray8_pixel_t{1});
        EXPECT_TRUE(m_spans.Render(m_host, m_cache));
        EXPECT_EQ(view(0, 0), view(view.width() - 1, view.height() - 1));
        return view(0, 0)[0];
    }

    int Trimap(int local)
    {
        const auto receipt = SpanRenderFrameData(0, 1, m_host, m_spans).CheckoutTrimapImage(local);
        if (!receipt) return -1;
        const auto view = boost::variant2::get<Gray8View>(receipt->GetView());
        EXPECT_EQ(view.dimensions(), Image::point_t(m_host.info.width, m_host.info.height));
        return view.size() == 0 ? -1 : view(view.width() - 1, view.height() - 1)[0];
    }

    FrozenResultCache& Store() { return *m_spans.GetFrozenData(); }
    void Damage(FrozenResultCache::Frames& map, int frame) { (*map.at(frame))[0] = 0xFF; }
};

constexpr auto kNormal = SpanManager::RenderingMode_Normal;
constexpr auto kFrozen = SpanManager::RenderingMode_Frozen;
constexpr auto kFreezing = SpanManager::RenderingMode_Freezing;

TEST_F(Freezing, StoresByModeObjectAndOutput)
{
    struct Row {
        const char* name;
        SpanManager::RenderingMode mode;
        bool matter;
        OutputIndex index;
        bool result;
        int frame;  // 5 to 9 are retained
        std::string stored;
    };
    constexpr auto kMatte = OutputIndex_Segmentation;
    constexpr auto kTrimap = OutputIndex_Trimap;
    const Row rows[] = {
        {"freezing", kFreezing, false, kMatte, true, 1, "frozen retained finished "},
        {"freezing, not finished", kFreezing, false, kMatte, false, 1, "retained "},
        {"freezing a trimap", kFreezing, false, kTrimap, true, 1, "trimap finished "},
        {"freezing a trimap, not finished", kFreezing, false, kTrimap, false, 1, "trimap "},
        {"freezing a matter", kFreezing, true, kMatte, true, 1, "trimap finished "},
        {"freezing a matter, not finished", kFreezing, true, kMatte, false, 1, "trimap finished "},
        {"normal, outside", kNormal, false, kMatte, true, 4, ""},
        {"normal, retained", kNormal, false, kMatte, true, 5, "retained "},
        {"normal, retained, not finished", kNormal, false, kMatte, false, 9, "retained "},
        {"normal, retained trimap", kNormal, false, kTrimap, true, 9, "trimap "},
        {"normal, matter", kNormal, true, kMatte, true, 5, ""},
        {"frozen, matter", kFrozen, true, kMatte, true, 5, ""},
    };
    m_spans.RetainSegmentationRange(5, 9);
    for (const Row& row : rows) {
        m_spans.SetRenderingMode(kNormal);
        m_spans.SetRenderingMode(row.mode);
        m_script.result = row.result;
        SpanRenderFrameData data(0, 1, m_host, m_spans);
        FreezingSegmenter wrapper(boost::make_shared<Actor<Matter>>(m_script, "object"), m_spans, row.matter);
        EXPECT_EQ(wrapper.Render(row.frame, nullptr, data, nullptr, m_cache, nullptr, nullptr, row.index),
                  row.result)
            << row.name;
        std::string stored = Store().frozenSegmentation.contains(row.frame) ? "frozen " : "";
        if (Store().frozenTrimaps.contains(row.frame)) stored += "trimap ";
        if (Store().retainedSegmentation.contains(row.frame)) stored += "retained ";
        if (Store().successfullyFrozenFrames.contains(row.frame)) stored += "finished ";
        EXPECT_EQ(stored, row.stored) << row.name;
    }
}

TEST_F(Freezing, ServesWhatWasFrozen)
{
    m_spans.SetRenderingMode(kFreezing);
    for (const int frame : {0, 1, 2}) EXPECT_EQ(Pixel(frame), 100 + frame);
    m_script.result = false;
    Pixel(3);
    std::set<int> frames;
    m_spans.GetFrozenFrameSet(m_host, frames, 1, 9);
    EXPECT_EQ(frames, (std::set<int>{1, 2}));
    EXPECT_TRUE(m_spans.GetFreezingDateTime().is_special());

    m_spans.SetRenderingMode(kFrozen);
    EXPECT_FALSE(m_spans.GetFreezingDateTime().is_special());
    EXPECT_EQ(m_spans.GetFreezingDateTime().time_of_day().fractional_seconds(), 0);
    m_script.calls.Take();
    m_script.paint = 0;
    for (const int frame : {2, 0, 1}) EXPECT_EQ(Pixel(frame), 100 + frame);
    EXPECT_EQ(Pixel(3), 200);                     // not finished, so not frozen: the input
    EXPECT_EQ(m_script.calls.Take().size(), 8u);  // initialised and cleared, never rendered
    frames = {7};
    m_spans.GetFrozenFrameSet(m_host, frames, 0, 2);
    EXPECT_EQ(frames, (std::set<int>{0, 1, 7}));
    m_host.stroke = true;
    EXPECT_EQ(Pixel(1), 1);  // a stroke wants a fresh render
    m_host.stroke = false;
    m_spans.SetRenderingMode(kFrozen);  // the end of no freeze keeps nothing
    EXPECT_TRUE(Store().frozenSegmentation.empty());

    m_spans.ClearFrozenFrames();
    EXPECT_EQ(Store().width, 0);
    EXPECT_EQ(Pixel(1), 200);
    m_spans.SetRenderingMode(kNormal);
    EXPECT_EQ(Pixel(1), 1);
}

TEST_F(Freezing, ServesWhatIsRetained)
{
    m_spans.RetainSegmentationRange(5, 9);
    EXPECT_EQ(Pixel(5), 105);
    m_script.paint = 0;
    EXPECT_EQ(Pixel(5), 105);
    EXPECT_EQ(Pixel(4), 4);
    EXPECT_EQ(Store().width, 4);
    Damage(Store().retainedSegmentation, 5);
    EXPECT_EQ(Pixel(5), 5);  // rendered, and retained, anew
    EXPECT_EQ(Reports().size(), 1u);
    m_script.paint = 50;
    EXPECT_EQ(Pixel(5), 5);
    m_spans.ClearRetainedSegmentation();
    EXPECT_EQ(Store().width, 0);
    EXPECT_EQ(Pixel(5), 55);
    EXPECT_TRUE(Store().retainedSegmentation.empty());
}

TEST_F(Freezing, FitsFramesOfAnotherSizeAndForm)
{
    m_spans.SetRenderingMode(kFreezing);
    Pixel(0);
    m_spans.SetRenderingMode(kFrozen);
    m_host.size = {9, 2};
    EXPECT_EQ(Pixel(0), 100);
    EXPECT_EQ(Pixel(1), 200);  // the input too
    boost::gil::rgba32f_image_t wide(8, 6);
    boost::gil::fill_pixels(boost::gil::view(wide), boost::gil::rgba32f_pixel_t(0.5f, 0.25f, 0.25f, 1.0f));
    const AnyImageView output = boost::gil::view(wide);
    m_host.outputView = &output;
    for (const auto& [frame, wanted] : {std::pair{0, 100}, {1, 200}}) {
        EXPECT_TRUE(m_spans.FrozenRender(m_host, frame, OutputIndex_Segmentation));
        EXPECT_EQ(boost::gil::view(wide)(7, 5)[0], static_cast<float>(wanted) / 255.0f);
        EXPECT_EQ(boost::gil::view(wide)(7, 5)[1], 0.25f);
    }
}

TEST_F(Freezing, ShowsTheInputForADamagedFrameAndReportsItOnce)
{
    m_spans.SetRenderingMode(kFreezing);
    for (const int frame : {0, 1}) Pixel(frame);
    m_spans.SetRenderingMode(kFrozen);
    Damage(Store().frozenSegmentation, 1);
    for (const auto size : {Image::point_t{4, 3}, {5, 5}}) {
        m_host.size = size;
        EXPECT_EQ(Pixel(1), 200);
        ASSERT_EQ(Reports().size(), 1u);
        EXPECT_NE(Reports()[0].text.find("frame 1 is damaged"), std::string::npos) << Reports()[0].text;
        EXPECT_EQ(Pixel(0), 100);
        Forget();
    }
    for (const int side : {0, -4, 3, 40000, INT32_MAX}) {
        Store().width = Store().height = side;
        EXPECT_EQ(Pixel(0), 200) << side;
        EXPECT_EQ(Reports().size(), 1u) << side;
        Forget();
    }
}

TEST_F(Freezing, LendsFrozenTrimaps)
{
    EXPECT_EQ(Trimap(2), -1);
    EXPECT_EQ(m_host.calls.Take().back(), "trimap 2");
    m_spans.SetRenderingMode(kFreezing);
    for (m_host.current = 1; m_host.current < 3; ++m_host.current)
        m_spans.RenderHair(m_host, m_cache, m_type);
    m_spans.SetRenderingMode(kFrozen);
    EXPECT_EQ(Trimap(1), 101);
    EXPECT_EQ(Trimap(7), 255);
    m_host.info = {7, 8};
    EXPECT_EQ(Trimap(2), 102);
    Damage(Store().frozenTrimaps, 2);
    EXPECT_EQ(Trimap(2), 255);
    EXPECT_EQ(Reports().size(), 1u);
    m_host.info = {0, 0};
    EXPECT_EQ(Trimap(2), -1);
}

TEST_F(Freezing, LosesNothingWhenAStoreFails)
{
    m_spans.RetainSegmentationRange(5, 9);
    Pixel(5);
    const auto before = Store().retainedSegmentation;
    // A view without pixels makes no entry, and takes none away.
    m_spans.AddViewToMap(m_host, 5, Store().retainedSegmentation, Gray8View{});
    m_spans.AddViewToMap(m_host, 6, Store().retainedSegmentation, Gray8View{});
    EXPECT_EQ(Store().retainedSegmentation, before);

    boost::gil::gray8_image_t noise(64, 64, boost::gil::gray8_pixel_t{9}, 0);
    const AnyImageView view = boost::gil::view(noise);
    bool kept = true;
    qltest::EveryAllocationFails([&] {
        Forget();  // the report of the former run's lack of memory
        FrozenResultCache::Frames map = before;
        try {
            m_spans.AddViewToMap(m_host, 7, map, view);
            m_spans.AddViewToMap(m_host, 5, map, view);
        } catch (const std::bad_alloc&) {
            kept &= map.at(5) == before.at(5);
            throw;
        }
        return map.size() == 2 && map.at(5) != before.at(5);
    });
    EXPECT_TRUE(kept);
}

}  // namespace
