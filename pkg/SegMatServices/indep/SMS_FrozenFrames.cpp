// A frame is compressed before anything in the store changes, so a store that fails loses nothing; and it is
// shown by a copy of its pointer, so it may leave the store meanwhile. Damage is found where the frame is
// shown: the store itself takes what a text or a segmenter gives it. No state.
#include "SMSp_FrozenFrames.h"

#include <algorithm>
#include <boost/gil/image.hpp>
#include <boost/make_shared.hpp>
#include <limits>

#include "SMS_Pixels.h"
#include "U_Err.h"
#include "U_SubString.h"
#include "U_ZString.h"

namespace tessaly {
namespace {

constexpr char kDamagedFrame[] =
    "$$$/QL/SegMatServices/DamagedFrozenFrame=The stored matte of frame ^L1 is damaged. "
    "The frame is shown as if it had not been stored.";

// Whether so many bytes can hold so many pixels: a hostile size must not make us ask for memory that no frame
// fills.
bool CanHold(std::size_t bytes, int32_t width, int32_t height)
{
    constexpr int64_t kMostPixelsOfAByte = 1032;
    return width > 0 && height > 0 &&
           int64_t{width} * height / kMostPixelsOfAByte <= static_cast<int64_t>(bytes);
}

}  // namespace

int CutToFrame(int64_t frame) noexcept
{
    return static_cast<int>(
        std::clamp<int64_t>(frame, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

StoredFrame CompressView(const AnyImageView& view)
{
    if (CountPixels(view) == 0) return {};
    const auto stored = boost::make_shared<U_UTF8String>();
    zip_compressor{*stored}(view);
    return stored;
}

void StoreFrame(RenderFrameData& data, FrozenResultCache& store, FrozenResultCache::Frames& map,
                FrameIndex frame, const StoredFrame& stored)
{
    if (!stored) return;
    InputSequenceInfo size{store.width, store.height};
    if (size.width == 0 || size.height == 0) size = data.GetInputSequenceInfo();
    map.insert_or_assign(frame, stored);
    store.width = size.width;
    store.height = size.height;
}

StoredFrame FindFrame(const FrozenResultCache::Frames& map, FrameIndex frame)
{
    const auto found = map.find(frame);
    return found == map.end() ? StoredFrame{} : found->second;
}

bool ShowFrame(const U_UTF8String& stored, const FrozenResultCache& store, const AnyImageView& target)
{
    if (!CanHold(stored.size(), store.width, store.height)) return false;
    try {
        if (target.width() == store.width && target.height() == store.height) {
            zip_decompressor{stored}(target);
        } else {
            boost::gil::gray8_image_t image(store.width, store.height);
            const Gray8View matte = boost::gil::view(image);
            zip_decompressor{stored}(matte);
            view_resizer{}(matte, target);
        }
        return true;
    } catch (const zvkcore::filesupport::StreamError&) {
        return false;
    }
}

void ReportDamagedFrame(FrameIndex frame)
{
    U_ReportError(0, U_Sev_WARNING,
                  U_SubString16(U_ZStringToUTF16String(kDamagedFrame), static_cast<int32_t>(frame)));
}

}  // namespace tessaly
