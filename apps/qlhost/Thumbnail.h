// A frame reduced to what the summary and the contact sheet show.
#ifndef QLHOST_THUMBNAIL_H
#define QLHOST_THUMBNAIL_H

#include <cstdint>
#include <vector>

#include "FrameCache.h"

namespace qlhost {

struct Thumbnail {
    static constexpr int kWidth = 192, kHeight = 108;
    std::vector<std::uint8_t> rgba;  // kWidth x kHeight
    double luma = 0;                 // mean of the whole frame, 0 to 255, weights of Rec. 709
};

/// Looks at every pixel.
Thumbnail Reduce(const Frame& frame);

}  // namespace qlhost

#endif
