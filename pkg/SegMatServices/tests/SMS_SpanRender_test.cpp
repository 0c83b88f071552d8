// Which span renders, what its objects are told, and what is left when they throw.
#include <barrier>
#include <numeric>
#include <thread>

#include "FakeHost.h"
#include "QLTest.h"
#include "SMSp_FreezingSegmenter.h"
#include "SMSp_SpanIdentity.h"
#include "SMSp_SpanRenderFrameData.h"
#include "zvkappsupport/feature/Feature.h"

namespace {

using namespace smstest;

class SpanRender : public qltest::Library {
  protected:
    Log Rendered(int frame)
    {
        FakeHost host(frame);
        host.stroke = stroke;
        m_script.calls.Take();
        answer = m_spans.Render(host, m_cache);
        return m_script.calls.Take();
    }

    Script m_script;
    ActorCreator m_creator{m_script};
    Registration m_registration{&m_creator, "Actors"};
    SpanManager m_spans{{}, true, "Actors"_utf8, {1, 24}};
    boost::shared_ptr<CrossRenderCache> m_cache;
    bool stroke = false;
    bool answer = false;
};

TEST_F(SpanRender, ChoosesTheSpan)
{
    m_spans.SetManualFrame(10, 5, 5);
    m_spans.SetManualFrame(20, 8, 0);
    const auto road = [](const char* render) { return Log{"seg init", render, "seg clear"}; };
    EXPECT_EQ(Rendered(10), road("seg render 0"));
    EXPECT_EQ(Rendered(8), road("seg render 2"));   // backward
    EXPECT_EQ(Rendered(13), road("seg render 3"));  // a forward and a backward span: the forward one
    EXPECT_EQ(Rendered(17), road("seg render 3"));
    EXPECT_EQ(Rendered(20), road("seg render 0"));  // no forward span: the backward one
    EXPECT_TRUE(answer);
    EXPECT_EQ(Rendered(21), Log{});
    EXPECT_FALSE(answer);

    FakeHost host(17);
    RenderFrameData::OutputType type = RenderFrameData::OutputType_None;
    EXPECT_TRUE(m_spans.RenderHair(host, m_cache, type));
    EXPECT_EQ(m_script.calls.Take(), Log{"hair render 3"});
    EXPECT_EQ(type, RenderFrameData::OutputType_Matte);
    m_script.result = false;
    EXPECT_FALSE(m_spans.RenderHair(host, m_cache, type));
    host.current = 21;
    host.stroke = true;
    EXPECT_FALSE(m_spans.RenderHair(host, m_cache, type));

    // A render keeps the objects of its span, whatever happens to the manual frame.
    m_script.whileRendering = [this] { m_spans.ClearManualFrame(10); };
    EXPECT_EQ(Rendered(10), road("seg render 0"));
    EXPECT_FALSE(m_spans.IsManualFrame(10));
    m_script.whileRendering = {};

    // A stroke without a span gets a segmenter of its own, and nothing is stored of it.
    stroke = true;
    m_spans.SetRenderingMode(SpanManager::RenderingMode_Freezing);
    EXPECT_EQ(Rendered(21), road("seg render 0"));
    EXPECT_TRUE(answer);
    EXPECT_EQ(m_script.identities.back(), SpanIdentity("temp", {}, 0));
    EXPECT_TRUE(m_spans.GetFrozenData()->successfullyFrozenFrames.empty());
}

TEST_F(SpanRender, TranslatesFrames)
{
    FakeHost host(7);
    SpanRenderFrameData forward(10, 1, host, m_spans);
    SpanRenderFrameData backward(10, -1, host, m_spans);
    const auto asked = [&host](SpanRenderFrameData& data) {
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
        return host.calls.Take();
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
        backward.RetainResultIfNeededForSingleHostRender(boost::gil::view(host.input), local,
                                                         OutputIndex_Trimap);
        EXPECT_EQ(m_spans.GetFrozenData()->retainedSegmentation.count(10 - local), retained ? 1u : 0u);
    }
}

TEST_F(SpanRender, MarksCachedFrames)
{
    m_spans.SetManualFrame(10, 3, 5);
    FakeHost host(10);
    std::set<int> frames{99};
    m_script.calls.Take();
    ASSERT_TRUE(IsFastHBCacheMarkingsEnabled());
    zvkappsupport::feature::SetFeatureEnabled("HB.OptimizedCacheMarks", false);  // too late: it is read once
    m_spans.GetValidCachedFrameSet(false, host, frames, 5, 6);
    EXPECT_EQ(frames, (std::set<int>{8, 12, 13, 99}));
    EXPECT_EQ(m_script.calls.Take(), (Log{"seg set", "seg set"}));
    frames.clear();
    m_script.cached = {-1, 0, 1, 4, 5};
    m_spans.GetValidCachedFrameSet(true, host, frames, 0, 0);
    EXPECT_EQ(frames, (std::set<int>{9, 10, 11, 14}));
}

TEST_F(SpanRender, LetsExceptionsPassAndKeepsWhatIsStored)
{
    m_spans.SetManualFrame(10, 3, 5);
    m_spans.RetainSegmentationRange(10, 14);
    FakeHost host(11);
    RenderFrameData::OutputType type = RenderFrameData::OutputType_None;
    m_spans.SetRenderingMode(SpanManager::RenderingMode_Freezing);
    m_spans.Render(host, m_cache);
    const auto stored = m_spans.GetFrozenData()->frozenSegmentation;
    m_script.paint = 0;
    for (const char* slot :
         {"seg init", "seg render 1", "seg clear", "hair render 1", "seg set", "seg array"}) {
        m_script.calls = {{}, slot};
        const auto everything = [&] {
            m_spans.Render(host, m_cache);
            m_spans.RenderHair(host, m_cache, type);
            std::set<int> frames;
            m_spans.GetValidCachedFrameSet(true, host, frames, 0, 0);
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
    host.calls.thrower = "input 11";
    m_spans.SetRenderingMode(SpanManager::RenderingMode_Frozen);
    EXPECT_THROW(m_spans.Render(host, m_cache), std::runtime_error);
    EXPECT_EQ(m_spans.GetFrozenData()->frozenSegmentation.count(11), 1u);

    FreezingSegmenter wrapper(boost::make_shared<Actor<Segmenter>>(m_script, "seg"), m_spans, false);
    EXPECT_THROW(
        wrapper.Render(0, nullptr, host, nullptr, m_cache, nullptr, nullptr, OutputIndex_Segmentation),
        std::bad_cast);
}

TEST_F(SpanRender, SurvivesACreatorThatMakesNothing)
{
    m_script.makesNothing = true;
    m_spans.SetManualFrame(10, 3, 5);
    m_spans.SetRenderingMode(SpanManager::RenderingMode_Freezing);
    FakeHost host(11);
    RenderFrameData::OutputType type = RenderFrameData::OutputType_None;
    EXPECT_TRUE(m_spans.Render(host, m_cache));
    EXPECT_FALSE(m_spans.RenderHair(host, m_cache, type));
    EXPECT_TRUE(m_spans.GetFrozenData()->successfullyFrozenFrames.empty());
    std::set<int> frames;
    m_spans.GetValidCachedFrameSet(true, host, frames, 0, 0);
    EXPECT_TRUE(frames.empty());
    host.current = 30;
    host.stroke = true;
    EXPECT_FALSE(m_spans.Render(host, m_cache));

    FreezingSegmenter wrapper({}, m_spans, true);
    wrapper.PurgeAll();
    const std::unique_ptr<Segmenter> clone(wrapper.Clone());
    clone->ClearRFDPtr();
    EXPECT_TRUE(clone->GetValidCachedFrameSet(host)->empty());
}

// --- Threads -----------------------------------------------------------------------------------------------

struct Number : Value {
    explicit Number(int64_t n) : number(n) {}
    int64_t number;
};

// Sums 1 to key, each sum from the one before it.
class Sum : public Computator {
  public:
    Sum(int64_t key, std::atomic<int>& computed) : m_key(key), m_computed(computed) {}
    long long GetCacheKey() override { return m_key; }
    boost::shared_ptr<Value> Compute() override
    {
        ++m_computed;
        return boost::make_shared<Number>(m_key + (m_key == 0 ? 0 : Of(m_key - 1, m_computed)));
    }
    static int64_t Of(int64_t key, std::atomic<int>& computed)
    {
        Sum sum(key, computed);
        return boost::static_pointer_cast<Number>(CheckoutOrRender({}, sum))->number;
    }

  private:
    int64_t m_key;
    std::atomic<int>& m_computed;
};

class Summer : public Actor<Segmenter> {
  public:
    Summer(Script& script, std::atomic<int>& computed) : Actor(script, "sum"), m_computed(computed) {}
    bool Render(int frame, Segmenter*, RenderFrameData& data, Segmenter const*,
                boost::shared_ptr<CrossRenderCache>&, unsigned char*, RenderFrameData::OutputType*,
                OutputIndex index) override
    {
        const AnyImageView view = data.AllocateOutput(index);
        const auto sum = static_cast<uint8_t>(Sum::Of(frame, m_computed));
        boost::gil::fill_pixels(boost::variant2::get<Gray8View>(view), boost::gil::gray8_pixel_t{sum});
        return true;
    }
    void Initialize(RenderFrameData&, Segmenter const*, boost::shared_ptr<CrossRenderCache>&) override {}
    void ClearRFDPtr() override {}

  private:
    std::atomic<int>& m_computed;
};

class SummerCreator : public FakeCreator {
  public:
    Segmenter* Create(zvkcore::utility::Guid) override { return new Summer(script, computed); }
    Script script;
    std::atomic<int> computed{0};
};

TEST(SpanRenderThreads, ShareOneIndexAndComputeNothingTwice)
{
    constexpr int kThreads = 4, kFrames = 40;
    SummerCreator creator;
    const Registration registration{&creator, "Summers"};
    RegisterGlobalCacheIndex(boost::make_shared<CacheIndex>("sums"));
    SpanManager spans{{}, true, "Summers"_utf8, {1, 24}};
    for (int t = 0; t < kThreads; ++t) spans.SetManualFrame(1000 * t, 0, kFrames);
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    std::vector<int> wrong(kThreads);
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            boost::shared_ptr<CrossRenderCache> cache;
            start.arrive_and_wait();
            for (int local = kFrames - 1; local >= 0; local -= 1 + t) {
                FakeHost host(1000 * t + local);
                spans.Render(host, cache);
                const int sum = boost::gil::view(host.Output(OutputIndex_Segmentation))(0, 0)[0];
                wrong[static_cast<size_t>(t)] += sum != (local * (local + 1) / 2) % 256;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    RegisterGlobalCacheIndex({});
    EXPECT_EQ(wrong, std::vector<int>(kThreads));
    EXPECT_EQ(creator.computed, kFrames);
}

}  // namespace
