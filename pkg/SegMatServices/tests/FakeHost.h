// A host that answers from a few fields and writes down every question. It may be told to throw.
#ifndef SEGMATSERVICES_TESTS_FAKEHOST_H
#define SEGMATSERVICES_TESTS_FAKEHOST_H

#include <boost/gil/image.hpp>
#include <boost/make_shared.hpp>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "SMS_SpanManager.h"

namespace smstest {

using namespace tessaly;
using namespace zvkcore::string::literals;
using zvkcore::utility::Guid;
using Image = boost::gil::gray8_image_t;
using Log = std::vector<std::string>;
using Receipt = boost::shared_ptr<CheckoutReceipt>;

struct Calls {
    Log log;
    std::string thrower;  // the call that throws
    bool silent = false;  // nothing is written down, so that several threads may call

    void Note(const std::string& call)
    {
        if (silent) return;
        log.push_back(call);
        if (call == thrower) throw std::runtime_error(call);
    }
    Log Take() { return std::exchange(log, {}); }
};

class FakeReceipt : public CheckoutReceipt {
  public:
    explicit FakeReceipt(Image& image) : m_view(boost::gil::view(image)) {}
    AnyImageView GetView() const override { return m_view; }

  private:
    AnyImageView m_view;
};

class FakeHost : public RenderFrameData {
  public:
    explicit FakeHost(int frame, int width = 4, int height = 3)
        : current(frame),
          info{width, height},
          size(width, height),
          input(width, height, boost::gil::gray8_pixel_t{200}, 0)
    {
    }

    Image& Output(OutputIndex index)
    {
        auto& output = outputs[index];
        if (output.dimensions() != size) output.recreate(size);
        return output;
    }

    InputSequenceInfo GetInputSequenceInfo() const override { return info; }
    int GetCurrentFrame() const override { return current; }
    double GetParamFloat(const unsigned char*, int f) const override { return Say("float", f); }
    ParamXY GetParamFloatXY(const unsigned char*, int f) const override { return {Say("xy", f), 0}; }
    ParamColor GetParamColor(const unsigned char*, int f) const override { return {Say("color", f)}; }
    U_UTF8String GetRenderingParamBagValue(const char* name) const override
    {
        const auto found = bag.find(name);
        return found == bag.end() ? U_UTF8String() : found->second;
    }
    AnyImageView GetInteractiveStrokeBuffer() const override { return boost::gil::view(interactive); }
    bool HasInteractiveStroke() const override { return stroke; }
    Receipt CheckoutInputImage(int f) override
    {
        Say("input", f);
        return boost::make_shared<FakeReceipt>(input);
    }
    Receipt CheckoutForegroundStrokesImage(int f) override { return Lend("fore", f); }
    Receipt CheckoutBackgroundStrokesImage(int f) override { return Lend("back", f); }
    Receipt CheckoutMattingPlusStrokesImage(int f) override { return Lend("plus", f); }
    Receipt CheckoutMattingMinusStrokesImage(int f) override { return Lend("minus", f); }
    Receipt CheckoutTrimapImage(int f) override { return Lend("trimap", f); }
    Receipt CheckoutStrokeConfidenceImage(int f) override { return Lend("trust", f); }
    bool HasStrokesInTimeRange(StrokeType, int first, int last) const override
    {
        return Say("strokes " + std::to_string(first), last) == 0;
    }
    Guid GetCurrentParamState(int start, unsigned int count) const override
    {
        Say("state " + std::to_string(start), count);
        return {};
    }
    Guid GetPropagationCacheGuid() const override { return {}; }
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
    Image::point_t size;  // of the outputs
    bool stroke = false;
    Image input;
    mutable Image interactive;  // the stroke that is drawn
    std::map<std::string, U_UTF8String> bag;
    std::map<std::string, Image> lent;  // by what is written down: "fore 12"
    std::map<OutputIndex, Image> outputs;
    const AnyImageView* outputView = nullptr;  // instead of `outputs`
    mutable Calls calls;

  private:
    double Say(const std::string& what, int64_t frame) const
    {
        calls.Note(what + " " + std::to_string(frame));
        return 0;
    }
    Receipt Lend(const std::string& what, int frame)
    {
        Say(what, frame);
        const auto found = lent.find(what + " " + std::to_string(frame));
        return found == lent.end() ? Receipt() : boost::make_shared<FakeReceipt>(found->second);
    }
};

}  // namespace smstest

#endif
