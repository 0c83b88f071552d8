// A host's frame data as one span sees it: the span's manual frame is frame 0, and numbers rise the way the
// span reaches. It lives on the stack of one render.
#ifndef SMSP_SPANRENDERFRAMEDATA_H
#define SMSP_SPANRENDERFRAMEDATA_H

#include <boost/gil/image.hpp>

#include "SMS_SpanManager.h"

namespace tessaly {

class SpanRenderFrameData final : public RenderFrameData {
  public:
    // direction  1 for a forward span, -1 for a backward one
    SpanRenderFrameData(FrameIndex base, int32_t step, RenderFrameData& host, SpanManager& spans) noexcept
        : baseFrame(base), direction(step), wrapped(&host), manager(&spans)
    {
    }
    ~SpanRenderFrameData() override;

    InputSequenceInfo GetInputSequenceInfo() const override;
    int GetCurrentFrame() const override;
    double GetParamFloat(const unsigned char* name, int frame) const override;
    ParamXY GetParamFloatXY(const unsigned char* name, int frame) const override;
    ParamColor GetParamColor(const unsigned char* name, int frame) const override;
    U_UTF8String GetRenderingParamBagValue(const char* name) const override;
    AnyImageView GetInteractiveStrokeBuffer() const override;
    bool HasInteractiveStroke() const override;
    boost::shared_ptr<CheckoutReceipt> CheckoutInputImage(int frame) override;
    boost::shared_ptr<CheckoutReceipt> CheckoutForegroundStrokesImage(int frame) override;
    boost::shared_ptr<CheckoutReceipt> CheckoutBackgroundStrokesImage(int frame) override;
    boost::shared_ptr<CheckoutReceipt> CheckoutMattingPlusStrokesImage(int frame) override;
    boost::shared_ptr<CheckoutReceipt> CheckoutMattingMinusStrokesImage(int frame) override;
    boost::shared_ptr<CheckoutReceipt> CheckoutTrimapImage(int frame) override;
    boost::shared_ptr<CheckoutReceipt> CheckoutStrokeConfidenceImage(int frame) override;
    bool HasStrokesInTimeRange(StrokeType type, int first, int last) const override;
    zvkcore::utility::Guid GetCurrentParamState(int start, unsigned int count) const override;
    zvkcore::utility::Guid GetPropagationCacheGuid() const override;
    AnyImageView AllocateOutput(OutputIndex index) override;
    void ReportStatus(const U_UTF16String& text, U_Severity severity) override;
    void ReportTransientMessage(const U_UTF16String& text, double seconds) override;
    bool AbortRenderCheck() const override;
    void RenderProgressUpdate(float done) const override;
    void RefreshPropagationCacheMarksFAST() const override;
    int GetSegMethod() const override;
    int GetFMQuality() const override;
    bool UseCorvaneCutSegToo() const override;
    bool FrameIsInRetainRangeForSingleHostRender(int frame) const override;
    int LocalToGlobalFrameIndex(int frame) const override;
    int GlobalRetainCacheHintStartFrame() const override;
    int GlobalRetainCacheHintEndFrame() const override;
    void RetainResultIfNeededForSingleHostRender(const AnyImageView& view, int frame,
                                                 OutputIndex index) override;

  private:
    FrameIndex baseFrame;
    int32_t direction;
    RenderFrameData* wrapped;
    SpanManager* manager;
};

// A frozen trimap, lent to a matter as if the host had drawn it.
class FrozenTrimapReceipt final : public CheckoutReceipt {
  public:
    // fill  true: every pixel is 0xFF; false: the pixels are the caller's to set
    // Sizes of 0 or less give no pixels.
    FrozenTrimapReceipt(int32_t width, int32_t height, bool fill);
    ~FrozenTrimapReceipt() override;

    AnyImageView GetView() const override;

  private:
    boost::shared_ptr<boost::gil::gray8_image_t> m_image;
};

}  // namespace tessaly

#endif
