// One frame of a matte run as the segmentation services see it: input and strokes from the source, outputs
// that live as long as this does.
#ifndef QLHOST_MATTEFRAMEDATA_H
#define QLHOST_MATTEFRAMEDATA_H

#include "MatteSource.h"

namespace qlhost {

/// Belongs to the thread that renders the frame.
class MatteFrameData : public tessaly::RenderFrameData {
  public:
    MatteFrameData(MatteSource& source, int frame) : m_source{source}, m_frame{frame} {}

    /// An output, made on the first call; null when memory is out.
    std::shared_ptr<GrayImage> Output(tessaly::OutputIndex index);

    tessaly::InputSequenceInfo GetInputSequenceInfo() const override;
    int GetCurrentFrame() const override { return m_frame; }

    // This host has no parameters of its own and nobody draws while it runs.
    double GetParamFloat(const unsigned char*, int) const override { return 0; }
    tessaly::ParamXY GetParamFloatXY(const unsigned char*, int) const override { return {}; }
    tessaly::ParamColor GetParamColor(const unsigned char*, int) const override { return {}; }
    U_UTF8String GetRenderingParamBagValue(const char*) const override { return {}; }
    tessaly::AnyImageView GetInteractiveStrokeBuffer() const override { return {}; }
    bool HasInteractiveStroke() const override { return false; }

    using Receipt = boost::shared_ptr<tessaly::CheckoutReceipt>;
    Receipt CheckoutInputImage(int frame) override { return m_source.Input(frame); }
    Receipt CheckoutForegroundStrokesImage(int frame) override { return m_source.Strokes(frame, true); }
    Receipt CheckoutBackgroundStrokesImage(int frame) override { return m_source.Strokes(frame, false); }
    Receipt CheckoutMattingPlusStrokesImage(int) override { return {}; }
    Receipt CheckoutMattingMinusStrokesImage(int) override { return {}; }
    Receipt CheckoutTrimapImage(int) override { return {}; }
    Receipt CheckoutStrokeConfidenceImage(int) override { return {}; }
    bool HasStrokesInTimeRange(tessaly::StrokeType type, int first, int last) const override;
    zvkcore::utility::Guid GetCurrentParamState(int start, unsigned int count) const override;
    zvkcore::utility::Guid GetPropagationCacheGuid() const override { return {}; }

    tessaly::AnyImageView AllocateOutput(tessaly::OutputIndex index) override;
    void ReportStatus(const U_UTF16String& text, U_Severity severity) override;
    void ReportTransientMessage(const U_UTF16String&, double) override {}
    bool AbortRenderCheck() const override;
    void RenderProgressUpdate(float) const override {}
    void RefreshPropagationCacheMarksFAST() const override {}
    int GetSegMethod() const override { return 0; }
    int GetFMQuality() const override { return 0; }
    bool UseCorvaneCutSegToo() const override { return false; }

    bool FrameIsInRetainRangeForSingleHostRender(int) const override { return false; }
    int LocalToGlobalFrameIndex(int frame) const override { return frame; }
    int GlobalRetainCacheHintStartFrame() const override { return tessaly::kNoRetainedFrame; }
    int GlobalRetainCacheHintEndFrame() const override { return tessaly::kNoRetainedFrame; }
    void RetainResultIfNeededForSingleHostRender(const tessaly::AnyImageView&, int,
                                                 tessaly::OutputIndex) override
    {
    }

  private:
    MatteSource& m_source;
    const int m_frame;
    std::map<tessaly::OutputIndex, std::shared_ptr<GrayImage>> m_outputs;
};

}  // namespace qlhost

#endif
