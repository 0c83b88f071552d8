// Strokes that a user is drawing, and plus and minus strokes on a matte, on the road that a host's render takes through
// a span manager. Pass mark: the stroked pixels are what the stroke says, to the pixel, with the region that looks like
// them; and once the stroke is gone the result is the former one, byte by byte.
#include <gtest/gtest.h>

#include <algorithm>

#include "FakeHost.h"
#include "SpanMatter.h"
#include "SpanSegmenter.h"

namespace {

using namespace smstest;

struct Box {
    int left, top, right, bottom;  // half open
};

// Wider than the picture that cuts run on, so that the border is found a second time at full size. Two bright boxes on
// dark ground; the strokes of manual frame 0 are on the first one and on the ground.
constexpr int kWidth = 600, kHeight = 60;
constexpr Box kSubject{60, 15, 200, 45}, kSecond{360, 15, 500, 45};
constexpr Box kOnSecond{400, 28, 420, 31}, kOnSubject{120, 20, 123, 40}, kBandOutside{200, 20, 202, 30},
    kBandInside{198, 32, 200, 40};

Image Picture(std::initializer_list<Box> boxes, uint8_t value = 255, uint8_t ground = 0)
{
    Image image(kWidth, kHeight, boost::gil::gray8_pixel_t{ground}, 0);
    for (const Box& box : boxes) {
        boost::gil::fill_pixels(boost::gil::subimage_view(boost::gil::view(image), box.left, box.top,
                                                          box.right - box.left, box.bottom - box.top),
                                boost::gil::gray8_pixel_t{value});
    }
    return image;
}

// The value of all pixels of a box, or -1 if they differ.
int ValueOf(Image& image, const Box& box)
{
    const auto view = boost::gil::subimage_view(boost::gil::view(image), box.left, box.top,
                                                box.right - box.left, box.bottom - box.top);
    const auto first = view(0, 0);
    return std::all_of(view.begin(), view.end(), [first](auto pixel) { return pixel == first; }) ? first[0]
                                                                                                 : -1;
}

class Maker : public Creator<Segmenter> {
  public:
    Segmenter* Create(Guid identity) override { return new segmatte::SpanSegmenter{identity}; }
    Segmenter* CreateMatter(Guid) override { return new segmatte::SpanMatter; }
};

class Drawing : public testing::Test {
  protected:
    Drawing()
    {
        SegmenterProperties properties;
        properties.name = "Drawing"_utf8;
        RegisterCreator<Segmenter>(&m_maker, properties);
        m_spans.SetManualFrame(0, 1, 3);
        m_host.input = Picture({kSubject, kSecond}, 200, 40);
        m_host.lent["fore 0"] = Picture({{100, 25, 160, 35}});
        m_host.lent["back 0"] = Picture({{0, 2, kWidth, 5}, {0, 55, kWidth, 58}});
    }
    ~Drawing() override { UnregisterCreator<Segmenter>(&m_maker); }

    Image Segment(int frame)
    {
        m_host.current = frame;
        EXPECT_TRUE(m_spans.Render(m_host, m_cache));
        return m_host.Output(OutputIndex_Segmentation);
    }
    Image Matte()
    {
        auto type = RenderFrameData::OutputType_Matte;
        m_host.current = 0;
        EXPECT_TRUE(m_spans.RenderHair(m_host, m_cache, type));
        return m_host.Output(OutputIndex_Segmentation);
    }

    Maker m_maker;
    SpanManager m_spans{{}, true, "Drawing"_utf8, {1, 24}};
    FakeHost m_host{0, kWidth, kHeight};
    boost::shared_ptr<CrossRenderCache> m_cache;
};

TEST_F(Drawing, ChangesTheSegmentAtOnceAndLeavesNothingBehind)
{
    for (const int frame : {0, 2}) {
        SCOPED_TRACE(frame);
        m_host.stroke = false;
        Image before = Segment(frame);
        EXPECT_EQ(before, Picture({kSubject}));

        m_host.stroke = true;
        m_host.interactive = Picture({kOnSecond});
        Image drawn = Segment(frame);
        EXPECT_EQ(ValueOf(drawn, kSubject), 255);
        EXPECT_EQ(ValueOf(drawn, {395, 20, 425, 40}), 255) << "what looks like the stroke, around it";
        EXPECT_EQ(ValueOf(drawn, {0, 0, kWidth, 12}), 0);

        m_host.interactive = Picture({kOnSubject});
        m_host.bag["Segmatte.InteractiveStroke"] = "background"_utf8;
        drawn = Segment(frame);
        EXPECT_EQ(ValueOf(drawn, kOnSubject), 0);
        EXPECT_EQ(ValueOf(drawn, {140, 20, 190, 40}), 255);
        EXPECT_EQ(ValueOf(drawn, kSecond), 0);
        m_host.bag.clear();

        m_host.stroke = false;
        EXPECT_EQ(Segment(frame), before);
    }
    // Where no span is, the stroke is all that there is.
    m_host.stroke = true;
    m_host.interactive = Picture({kOnSecond});
    EXPECT_EQ(Segment(50), Picture({kSecond}));
    m_host.interactive = Image();
    EXPECT_EQ(Segment(50), Picture({}));
}

TEST_F(Drawing, PlusAndMinusSettleTheBandOfAMatte)
{
    Image before = Matte(), trimap = m_host.Output(OutputIndex_Trimap);
    EXPECT_EQ(ValueOf(trimap, kBandOutside), 128);
    EXPECT_EQ(ValueOf(trimap, kBandInside), 128);
    EXPECT_LT(ValueOf(before, kBandOutside), 8);
    EXPECT_GT(ValueOf(before, kBandInside), 247);

    const Box both{198, 16, 202, 18};
    m_host.lent["plus 0"] = Picture({kBandOutside, both, {300, 20, 340, 40}});
    m_host.lent["minus 0"] = Picture({kBandInside, both, {100, 20, 140, 40}});
    Image after = Matte();
    trimap = m_host.Output(OutputIndex_Trimap);
    EXPECT_EQ(ValueOf(after, kBandOutside), 255);
    EXPECT_EQ(ValueOf(after, kBandInside), 0);
    EXPECT_EQ(ValueOf(trimap, kBandOutside), 255);
    EXPECT_EQ(ValueOf(trimap, kBandInside), 0);
    EXPECT_EQ(ValueOf(trimap, both), 128) << "strokes of both kinds say nothing";
    EXPECT_EQ(ValueOf(after, {210, 0, kWidth, kHeight}), 0) << "outside of the band nothing changes";
    EXPECT_EQ(ValueOf(after, {70, 20, 190, 40}), 255);

    m_host.lent.erase("plus 0");
    m_host.lent.erase("minus 0");
    EXPECT_EQ(Matte(), before);
}

}  // namespace
