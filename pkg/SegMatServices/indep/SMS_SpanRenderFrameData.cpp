// Frame numbers in, frame numbers out: every operation goes to the host's frame data, with its frame
// translated. All sums are made in 64 bits and cut to what a frame number can hold at the end, so a range
// that means "all frames" still does behind the translation. No state.
#include "SMSp_SpanRenderFrameData.h"

#include <algorithm>
#include <boost/make_shared.hpp>

#include "SMSp_FrozenFrames.h"

namespace tessaly {
SpanRenderFrameData::~SpanRenderFrameData() = default;

// --- Translated --------------------------------------------------------------------------------------------

int SpanRenderFrameData::LocalToGlobalFrameIndex(int frame) const
{
    return CutToFrame(baseFrame + int64_t{direction} * frame);
}

int SpanRenderFrameData::GetCurrentFrame() const
{
    return CutToFrame((int64_t{wrapped->GetCurrentFrame()} - baseFrame) * direction);
}

double SpanRenderFrameData::GetParamFloat(const unsigned char* name, int frame) const
{
    return wrapped->GetParamFloat(name, LocalToGlobalFrameIndex(frame));
}

ParamXY SpanRenderFrameData::GetParamFloatXY(const unsigned char* name, int frame) const
{
    return wrapped->GetParamFloatXY(name, LocalToGlobalFrameIndex(frame));
}

ParamColor SpanRenderFrameData::GetParamColor(const unsigned char* name, int frame) const
{
    return wrapped->GetParamColor(name, LocalToGlobalFrameIndex(frame));
}

boost::shared_ptr<CheckoutReceipt> SpanRenderFrameData::CheckoutInputImage(int frame)
{
    return wrapped->CheckoutInputImage(LocalToGlobalFrameIndex(frame));
}

boost::shared_ptr<CheckoutReceipt> SpanRenderFrameData::CheckoutForegroundStrokesImage(int frame)
{
    return wrapped->CheckoutForegroundStrokesImage(LocalToGlobalFrameIndex(frame));
}

boost::shared_ptr<CheckoutReceipt> SpanRenderFrameData::CheckoutBackgroundStrokesImage(int frame)
{
    return wrapped->CheckoutBackgroundStrokesImage(LocalToGlobalFrameIndex(frame));
}

boost::shared_ptr<CheckoutReceipt> SpanRenderFrameData::CheckoutMattingPlusStrokesImage(int frame)
{
    return wrapped->CheckoutMattingPlusStrokesImage(LocalToGlobalFrameIndex(frame));
}

boost::shared_ptr<CheckoutReceipt> SpanRenderFrameData::CheckoutMattingMinusStrokesImage(int frame)
{
    return wrapped->CheckoutMattingMinusStrokesImage(LocalToGlobalFrameIndex(frame));
}

boost::shared_ptr<CheckoutReceipt> SpanRenderFrameData::CheckoutStrokeConfidenceImage(int frame)
{
    return wrapped->CheckoutStrokeConfidenceImage(LocalToGlobalFrameIndex(frame));
}

// Wanted: on a backward span the two frames come out descending. Hosts sort them.
bool SpanRenderFrameData::HasStrokesInTimeRange(StrokeType type, int first, int last) const
{
    return wrapped->HasStrokesInTimeRange(type, LocalToGlobalFrameIndex(first),
                                          LocalToGlobalFrameIndex(last));
}

// Unlike the strokes, parameters are asked for in ascending order: `start` and the frames behind it, local,
// become the same frames counted from their other end.
zvkcore::utility::Guid SpanRenderFrameData::GetCurrentParamState(int start, unsigned int count) const
{
    const int64_t from = int64_t{direction} * start;
    const int64_t to = int64_t{direction} * (int64_t{start} + count);
    const int64_t first = from > to ? baseFrame + to + 1 : baseFrame + from;
    const int64_t end = from > to ? baseFrame + from + 1 : baseFrame + to;
    return wrapped->GetCurrentParamState(CutToFrame(first), static_cast<unsigned int>(end - first));
}

// --- Of the span manager -----------------------------------------------------------------------------------

boost::shared_ptr<CheckoutReceipt> SpanRenderFrameData::CheckoutTrimapImage(int frame)
{
    const FrameIndex global = LocalToGlobalFrameIndex(frame);
    if (manager->renderingMode != SpanManager::RenderingMode_Frozen)
        return wrapped->CheckoutTrimapImage(global);

    const InputSequenceInfo info = GetInputSequenceInfo();
    const auto frozen = manager->frozenData;
    const auto stored = FindFrame(frozen->frozenTrimaps, global);
    const auto receipt = boost::make_shared<FrozenTrimapReceipt>(info.width, info.height, !stored);
    if (!stored || ShowFrame(*stored, *frozen, receipt->GetView())) return receipt;
    ReportDamagedFrame(global);
    return boost::make_shared<FrozenTrimapReceipt>(info.width, info.height, true);
}

bool SpanRenderFrameData::FrameIsInRetainRangeForSingleHostRender(int frame) const
{
    return manager->IsRetained(LocalToGlobalFrameIndex(frame));
}

int SpanRenderFrameData::GlobalRetainCacheHintStartFrame() const
{
    return manager->retainActive ? manager->retainStart : kNoRetainedFrame;
}

int SpanRenderFrameData::GlobalRetainCacheHintEndFrame() const
{
    return manager->retainActive ? manager->retainEnd : kNoRetainedFrame;
}

void SpanRenderFrameData::RetainResultIfNeededForSingleHostRender(const AnyImageView& view, int frame,
                                                                  OutputIndex)
{
    if (!FrameIsInRetainRangeForSingleHostRender(frame)) return;
    const auto store = manager->frozenData;
    manager->AddViewToMap(*this, LocalToGlobalFrameIndex(frame), store->retainedSegmentation, view);
}

// --- As the host has it ------------------------------------------------------------------------------------

InputSequenceInfo SpanRenderFrameData::GetInputSequenceInfo() const
{
    return wrapped->GetInputSequenceInfo();
}

U_UTF8String SpanRenderFrameData::GetRenderingParamBagValue(const char* name) const
{
    return wrapped->GetRenderingParamBagValue(name);
}

AnyImageView SpanRenderFrameData::GetInteractiveStrokeBuffer() const
{
    return wrapped->GetInteractiveStrokeBuffer();
}

bool SpanRenderFrameData::HasInteractiveStroke() const
{
    return wrapped->HasInteractiveStroke();
}

zvkcore::utility::Guid SpanRenderFrameData::GetPropagationCacheGuid() const
{
    return wrapped->GetPropagationCacheGuid();
}

AnyImageView SpanRenderFrameData::AllocateOutput(OutputIndex index)
{
    return wrapped->AllocateOutput(index);
}

void SpanRenderFrameData::ReportStatus(const U_UTF16String& text, U_Severity severity)
{
    wrapped->ReportStatus(text, severity);
}

void SpanRenderFrameData::ReportTransientMessage(const U_UTF16String& text, double seconds)
{
    wrapped->ReportTransientMessage(text, seconds);
}

bool SpanRenderFrameData::AbortRenderCheck() const
{
    return wrapped->AbortRenderCheck();
}

void SpanRenderFrameData::RenderProgressUpdate(float done) const
{
    wrapped->RenderProgressUpdate(done);
}

void SpanRenderFrameData::RefreshPropagationCacheMarksFAST() const
{
    wrapped->RefreshPropagationCacheMarksFAST();
}

int SpanRenderFrameData::GetSegMethod() const
{
    return wrapped->GetSegMethod();
}

int SpanRenderFrameData::GetFMQuality() const
{
    return wrapped->GetFMQuality();
}

bool SpanRenderFrameData::UseCorvaneCutSegToo() const
{
    return wrapped->UseCorvaneCutSegToo();
}

// --- Receipts ----------------------------------------------------------------------------------------------

FrozenTrimapReceipt::FrozenTrimapReceipt(int32_t width, int32_t height, bool fill)
    : m_image(boost::make_shared<boost::gil::gray8_image_t>(std::max(width, 0), std::max(height, 0)))
{
    if (fill) boost::gil::fill_pixels(boost::gil::view(*m_image), boost::gil::gray8_pixel_t{0xFF});
}

FrozenTrimapReceipt::~FrozenTrimapReceipt() = default;

AnyImageView FrozenTrimapReceipt::GetView() const
{
    return boost::gil::view(*m_image);
}

}  // namespace tessaly
