#include "SpanMatter.h"

#include <boost/make_shared.hpp>

#include "Matting.h"
#include "Pixels.h"

namespace segmatte {
namespace {

using Trimap = Plane<std::uint8_t>;

bool HaveOneSize(const Image& image, const Trimap& trimap)
{
    return image.width == trimap.width && image.height == trimap.height;
}

// The trimap that the host has, or that of the segment. Without a segment it has no pixels.
Trimap FindTrimap(int frame, const Image& image, tessaly::Segmenter* segmenter,
                  tessaly::RenderFrameData& data, tessaly::Segmenter const* other,
                  boost::shared_ptr<tessaly::CrossRenderCache>& cache)
{
    if (const auto receipt = data.CheckoutTrimapImage(frame)) {
        Trimap given = GrayOf(receipt->GetView());
        if (HaveOneSize(image, given)) return given;
    }
    unsigned char status = 0;
    constexpr auto kSegmentation = tessaly::OutputIndex_Segmentation;
    if (!segmenter || !segmenter->Render(frame, nullptr, data, other, cache, &status, nullptr, kSegmentation))
        return {};
    Mask mask = GrayOf(data.AllocateOutput(kSegmentation));
    for (auto& pixel : mask.pixels) pixel = pixel >= 128;
    return TrimapOf(mask);
}

}  // namespace

tessaly::Segmenter* SpanMatter::Clone()
{
    return new SpanMatter;
}

int SpanMatter::GetValidCachedFrameArray(tessaly::RenderFrameData&, boost::shared_array<int>& frames, int,
                                         int)
{
    frames.reset();
    return 0;
}

boost::shared_ptr<std::set<int>> SpanMatter::GetValidCachedFrameSet(tessaly::RenderFrameData&)
{
    return boost::make_shared<std::set<int>>();
}

bool SpanMatter::Render(int frame, tessaly::Segmenter* segmenter, tessaly::RenderFrameData& data,
                        tessaly::Segmenter const* other, boost::shared_ptr<tessaly::CrossRenderCache>& cache,
                        unsigned char* status, tessaly::RenderFrameData::OutputType* type,
                        tessaly::OutputIndex index)
{
    using tessaly::RenderFrameData;
    const bool wantsTrimap = type && *type == RenderFrameData::OutputType_Trimap;
    if (type) *type = RenderFrameData::OutputType_None;
    const auto receipt = data.CheckoutInputImage(frame);
    const Image image = receipt ? ImageOf(receipt->GetView()) : Image{};
    Trimap trimap = FindTrimap(frame, image, segmenter, data, other, cache);
    if (image.pixels.empty() || !HaveOneSize(image, trimap) || data.AbortRenderCheck()) return false;

    const Size size{image.width, image.height};
    TakeStrokes(trimap, StrokesOf(data.CheckoutMattingPlusStrokesImage(frame), size),
                StrokesOf(data.CheckoutMattingMinusStrokesImage(frame), size));
    Write(trimap, data.AllocateOutput(tessaly::OutputIndex_Trimap));
    if (!Write(wantsTrimap ? trimap : MatteOf(image, trimap), data.AllocateOutput(index))) return false;
    if (status) *status = 0;
    if (type) *type = wantsTrimap ? RenderFrameData::OutputType_Trimap : RenderFrameData::OutputType_Matte;
    return true;
}

void SpanMatter::Initialize(tessaly::RenderFrameData&, tessaly::Segmenter const*,
                            boost::shared_ptr<tessaly::CrossRenderCache>&)
{
}

void SpanMatter::ClearRFDPtr() {}

void SpanMatter::PurgeAll() {}

}  // namespace segmatte
