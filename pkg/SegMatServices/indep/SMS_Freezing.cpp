// The store of a span manager: modes, what they drop, and how a stored frame is shown over the input. The
// owner serialises; nothing here takes a lock or has state of its own.
#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/gil/extension/dynamic_image/dynamic_image_all.hpp>
#include <boost/gil/image.hpp>
#include <boost/make_shared.hpp>

#include "SMS_Pixels.h"
#include "SMS_SpanManager.h"
#include "SMSp_FrozenFrames.h"

namespace tessaly {
namespace {

// The frames that are in `finished`; the others were begun and not completed.
void AssignIfKeyPresent(FrozenResultCache::Frames& frames, const std::set<FrameIndex>& finished)
{
    std::erase_if(frames, [&finished](const auto& entry) { return finished.count(entry.first) == 0; });
}

// Fills the output with the input image. Where their forms cannot be copied into one another, a colour input
// for a gray output, say, or where their sizes differ, the matte of the input is shown: its first channel,
// fitted.
void ShowInput(const boost::shared_ptr<CheckoutReceipt>& receipt, const AnyImageView& output)
{
    if (!receipt) return;
    const AnyImageView input = receipt->GetView();
    if (input.dimensions() == output.dimensions()) {
        try {
            boost::gil::copy_pixels(input, output);
            return;
        } catch (const std::bad_cast&) {
        }
    }
    if (CountPixels(input) == 0) return;
    boost::gil::gray8_image_t image(input.dimensions());
    ViewToBytes(input, &boost::gil::view(image)(0, 0)[0]);
    view_resizer{}(boost::gil::view(image), output);
}

}  // namespace

bool ShowOverInput(RenderFrameData& data, const FrozenResultCache& store, FrameIndex frame,
                   const StoredFrame& stored, OutputIndex index)
{
    const auto input = data.CheckoutInputImage(data.GetCurrentFrame());
    const AnyImageView output = data.AllocateOutput(index);
    ShowInput(input, output);
    if (!stored || ShowFrame(*stored, store, output)) return true;
    ShowInput(input, output);
    ReportDamagedFrame(frame);
    return false;
}

// Wanted: every end of a freeze keeps only what was finished since the last one, so an end without a freeze
// before it keeps nothing.
void SpanManager::SetRenderingMode(RenderingMode mode)
{
    if (mode == RenderingMode_Normal) {
        frozenData = boost::make_shared<FrozenResultCache>();
    } else if (mode == RenderingMode_Frozen) {
        // Throws "could not convert calendar time to UTC time" if there is no such time; nothing has changed
        // then.
        frozenData->freezingDateTime = boost::posix_time::second_clock::universal_time();
        AssignIfKeyPresent(frozenData->frozenSegmentation, frozenData->successfullyFrozenFrames);
        AssignIfKeyPresent(frozenData->frozenTrimaps, frozenData->successfullyFrozenFrames);
        frozenData->successfullyFrozenFrames.clear();
    }
    renderingMode = mode;
}

void SpanManager::SetFrameSuccessfullyFrozen(FrameIndex frame)
{
    frozenData->successfullyFrozenFrames.insert(frame);
}

void SpanManager::ClearFrozenFrames()
{
    frozenData->frozenSegmentation.clear();
    frozenData->frozenTrimaps.clear();
    frozenData->width = frozenData->height = 0;
}

void SpanManager::ClearRetainedSegmentation()
{
    retainActive = false;
    retainStart = retainEnd = 0;
    frozenData->retainedSegmentation.clear();
    if (renderingMode == RenderingMode_Normal) frozenData->width = frozenData->height = 0;
}

boost::posix_time::ptime SpanManager::GetFreezingDateTime() const
{
    return frozenData->freezingDateTime;
}

void SpanManager::GetFrozenFrameSet(RenderFrameData&, std::set<int>& frames, int start, int end) const
{
    const auto add = [&](FrameIndex frame) {
        if (start <= frame && frame < end) frames.insert(frame);
    };
    if (renderingMode == RenderingMode_Freezing) {
        for (const FrameIndex frame : frozenData->successfullyFrozenFrames) add(frame);
        return;
    }
    for (const auto* map : {&frozenData->frozenSegmentation, &frozenData->frozenTrimaps}) {
        for (const auto& entry : *map) add(entry.first);
    }
}

bool SpanManager::FrozenRender(RenderFrameData& data, FrameIndex frame, OutputIndex index)
{
    const auto store = frozenData;
    const auto& frames =
        renderingMode == RenderingMode_Frozen ? store->frozenSegmentation : store->retainedSegmentation;
    ShowOverInput(data, *store, frame, FindFrame(frames, frame), index);
    return true;
}

void SpanManager::AddViewToMap(RenderFrameData& data, FrameIndex frame, FrozenResultCache::Frames& map,
                               const AnyImageView& view)
{
    StoreFrame(data, *frozenData, map, frame, CompressView(view));
}

}  // namespace tessaly
