// A host that answers from a few fields and writes down every question, and a plug-in whose objects do the
// same: a render paints its output with one value. Both may be told to throw.
#ifndef SEGMATSERVICES_TESTS_FAKEHOST_H
#define SEGMATSERVICES_TESTS_FAKEHOST_H

#include <boost/gil/image.hpp>
#include <boost/make_shared.hpp>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "FakePlugin.h"
#include "SMS_SpanManager.h"

namespace smstest {

using namespace tessaly;
using namespace zvkcore::string::literals;
using Image = boost::gil::gray8_image_t;
using Receipt = boost::shared_ptr<CheckoutReceipt>;

struct Calls {
    Log log;
    std::string thrower;  // the call that throws

    void Note(const std::string& call)
    {
        log.push_back(call);
        if (call == thrower) throw std::runtime_error(call);
    }
    Log Take() { return std::exchange(log, {}); }
};

class FakeReceipt : public CheckoutReceipt {
  public:
    explicit FakeReceipt(AnyImageView view) : m_view(view) {}
    AnyImageView GetView() const override { return m_view; }

  private:
    AnyImageView m_view;
};

class FakeHost : public RenderFrameData {
  public:
    explicit FakeHost(int frame, int width = 4, int height = 3) : current(frame), info{width, height}
    {
        input.recreate(width, height, boost::gil::gray8_pixel_t{200}, 0);
    }

    Image& Output(OutputIndex index)
    {
        auto& output = outputs[index];
        if (output.dimensions() != size) output.recreate(size);
        return output;
    }

    InputSequenceInfo GetInputSequenceInfo() const override { return info; }
    int GetCurrentFrame() const override { return current; }
    double GetParamFloat(const unsigned char*, int frame) const override { return Say("float", frame); }
    ParamXY GetParamFloatXY(const unsigned char*, int frame) const override { return {Say("xy", frame), 0}; }
    ParamColor GetParamColor(const unsigned char*, int frame) const override { return {Say("color", frame)}; }
    U_UTF8String GetRenderingParamBagValue(const char*) const override { return {}; }
    AnyImageView GetInteractiveStrokeBuffer() const override { return {}; }
    bool HasInteractiveStroke() const override { return stroke; }
    Receipt CheckoutInputImage(int frame) override
    {
        Say("input", frame);
        return boost::make_shared<FakeReceipt>(boost::gil::view(input));
    }
    Receipt CheckoutForegroundStrokesImage(int f) override { return None("fore", f); }
    Receipt CheckoutBackgroundStrokesImage(int f) override { return None("back", f); }
    Receipt CheckoutMattingPlusStrokesImage(int f) override { return None("plus", f); }
    Receipt CheckoutMattingMinusStrokesImage(int f) override { return None("minus", f); }
    Receipt CheckoutTrimapImage(int f) override { return None("trimap", f); }
    Receipt CheckoutStrokeConfidenceImage(int f) override { return None("trust", f); }
    bool HasStrokesInTimeRange(StrokeType, int first, int last) const override
    {
        return Say("strokes " + std::to_string(first), last) == 0;
    }
    zvkcore::utility::Guid GetCurrentParamState(int start, unsigned int count) const override
    {
        Say("state " + std::to_string(start), count);
        return {};
    }
    zvkcore::utility::Guid GetPropagationCacheGuid() const override { return {}; }
    AnyImageView AllocateOutput(OutputIndex index) override
    {
        return outputView ? *outputView : AnyImageView(boost::gil::view(Output(index)));
    }
    void ReportStatus(const U_UTF16String&, U_Severity) override {}
    void ReportTransientMessage(const U_UTF16String&, double) override {}
    bool AbortRenderCheck() const override { return false; }
    void RenderProgressUpdate(float) const override {}
    void RefreshPropagationCacheMarksFAST() const override {}
    int GetSegMethod() const override { return 1; }
    int GetFMQuality() const override { return 2; }
    bool UseCorvaneCutSegToo() const override { return true; }
    bool FrameIsInRetainRangeForSingleHostRender(int) const override { return false; }
    int LocalToGlobalFrameIndex(int frame) const override { return frame; }
    int GlobalRetainCacheHintStartFrame() const override { return 0; }
    int GlobalRetainCacheHintEndFrame() const override { return 0; }
    void RetainResultIfNeededForSingleHostRender(const AnyImageView&, int, OutputIndex) override {}

    int current;
    InputSequenceInfo info;
    Image::point_t size{4, 3};  // of the outputs
    bool stroke = false;
    Image input;
    std::map<OutputIndex, Image> outputs;
    const AnyImageView* outputView = nullptr;  // instead of `outputs`
    mutable Calls calls;

  private:
    double Say(const std::string& what, int64_t frame) const
    {
        calls.Note(what + " " + std::to_string(frame));
        return 0;
    }
    Receipt None(const char* what, int frame)
    {
        Say(what, frame);
        return {};
    }
};

// What all objects of the plug-in share.
struct Script {
    Calls calls;
    bool result = true;  // of each render
    bool makesNothing = false;
    uint8_t paint = 100;  // painted at local frame 0; each frame on adds 1
    std::function<void()> whileRendering;
    std::set<int> cached{0, 1, 4, 5};
    std::vector<zvkcore::utility::Guid> identities;
};

template <class Base>
class Actor : public Base {
  public:
    Actor(Script& script, const char* name) : m_script(script), m_name(name) {}

    Segmenter* Clone() override { return new Actor(m_script, m_name); }
    int GetValidCachedFrameArray(RenderFrameData&, boost::shared_array<int>& frames, int, int) override
    {
        Note("array");
        frames.reset(new int[m_script.cached.size()]);
        std::copy(m_script.cached.begin(), m_script.cached.end(), frames.get());
        return static_cast<int>(m_script.cached.size());
    }
    boost::shared_ptr<std::set<int>> GetValidCachedFrameSet(RenderFrameData&) override
    {
        Note("set");
        return boost::make_shared<std::set<int>>(std::set<int>{2, 3});
    }
    bool Render(int frame, Segmenter*, RenderFrameData& data, Segmenter const*,
                boost::shared_ptr<CrossRenderCache>&, unsigned char*, RenderFrameData::OutputType* type,
                OutputIndex index) override
    {
        const auto value = static_cast<uint8_t>(m_script.paint + frame);
        for (const OutputIndex output : {index, OutputIndex_Trimap}) {
            const AnyImageView view = data.AllocateOutput(output);
            const auto pixels = boost::variant2::get<Gray8View>(view);
            boost::gil::fill_pixels(pixels, boost::gil::gray8_pixel_t{value});
        }
        if (type != nullptr) *type = RenderFrameData::OutputType_Matte;
        if (m_script.whileRendering) m_script.whileRendering();
        Note("render " + std::to_string(frame));
        return m_script.result;
    }
    void Initialize(RenderFrameData&, Segmenter const*, boost::shared_ptr<CrossRenderCache>&) override
    {
        Note("init");
    }
    void ClearRFDPtr() override { Note("clear"); }
    void PurgeAll() override { Note("purge"); }

  private:
    void Note(const std::string& call) { m_script.calls.Note(m_name + (" " + call)); }

    Script& m_script;
    const char* m_name;
};

class ActorCreator : public FakeCreator {
  public:
    explicit ActorCreator(Script& script) : m_script(script) {}

    Segmenter* Create(zvkcore::utility::Guid identity) override
    {
        m_script.identities.push_back(identity);
        return m_script.makesNothing ? nullptr : new Actor<Segmenter>(m_script, "seg");
    }
    Segmenter* CreateMatter(zvkcore::utility::Guid) override
    {
        return m_script.makesNothing ? nullptr : new Actor<Matter>(m_script, "hair");
    }

  private:
    Script& m_script;
};

}  // namespace smstest

#endif
