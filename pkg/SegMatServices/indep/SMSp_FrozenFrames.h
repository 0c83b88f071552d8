// Single frames of the frozen store: made of a view, put in, found again and shown.
#ifndef SMSP_FROZENFRAMES_H
#define SMSP_FROZENFRAMES_H

#include "SMS_SpanManager.h"

namespace tessaly {

using StoredFrame = boost::shared_ptr<U_UTF8String>;

// A frame number worked out in 64 bits, cut to what a frame number can hold.
int CutToFrame(int64_t frame) noexcept;

// The compressed bytes of a view; empty for a view without pixels, which is no result and makes no entry.
StoredFrame CompressView(const AnyImageView& view);

// Puts a frame into a map of `store`, in the place of a former one; an empty one changes nothing. The first
// frame stored fixes the size of all to that of the input. If it throws, everything is as it was.
void StoreFrame(RenderFrameData& data, FrozenResultCache& store, FrozenResultCache::Frames& map,
                FrameIndex frame, const StoredFrame& stored);

// The frame's entry, shared, or an empty pointer.
StoredFrame FindFrame(const FrozenResultCache::Frames& map, FrameIndex frame);

// Shows a frame of `store` in a view of any size. False if its bytes are damaged: the view is then undefined,
// the frame counts as not stored, and the caller reports it once it has something else to show.
bool ShowFrame(const U_UTF8String& stored, const FrozenResultCache& store, const AnyImageView& target);
void ReportDamagedFrame(FrameIndex frame);

// Shows the input image of the current frame in an output, and over it a frame of `store`, if `stored` is
// one. False if that was damaged: it is reported, and the input is what is seen.
bool ShowOverInput(RenderFrameData& data, const FrozenResultCache& store, FrameIndex frame,
                   const StoredFrame& stored, OutputIndex index);

}  // namespace tessaly

#endif
