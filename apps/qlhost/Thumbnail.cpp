#include "Thumbnail.h"

#include <algorithm>

namespace qlhost {

Thumbnail Reduce(const Frame& frame)
{
    constexpr std::size_t kWidth = Thumbnail::kWidth, kHeight = Thumbnail::kHeight;
    const PngSize& size = frame.Size();
    Thumbnail small;
    small.rgba.resize(kWidth * kHeight * 4);
    for (std::size_t y = 0; y < kHeight; ++y) {
        const std::size_t row = size.height * y / kHeight;
        for (std::size_t x = 0; x < kWidth; ++x) {
            const std::size_t column = size.width * x / kWidth;
            std::copy_n(frame.Pixels() + (row * size.width + column) * 4, 4,
                        &small.rgba[(y * kWidth + x) * 4]);
        }
    }
    std::uint64_t sum = 0;  // in steps of 1/65536
    const std::uint64_t pixels = std::uint64_t{size.width} * size.height;
    for (std::uint64_t i = 0; i < pixels; ++i) {
        const std::uint8_t* p = frame.Pixels() + i * 4;
        sum += 13933u * p[0] + 46871u * p[1] + 4732u * p[2];
    }
    small.luma = static_cast<double>(sum) / 65536.0 / static_cast<double>(pixels);
    return small;
}

}  // namespace qlhost
