#include "Image.h"

#include <algorithm>
#include <cmath>

namespace segmatte {
namespace {

// The chamfer's steps: straight and diagonal, as Borgefors gives them for the least error.
constexpr float kStraight = 0.955f, kDiagonal = 1.3693f;

// First pixel of the old picture that falls into a new one.
int First(int at, int from, int to)
{
    return static_cast<int>(std::int64_t{at} * from / to);
}

// Distances to the nearest pixel of 0, cut at the value that the others start with. A margin of one pixel
// around the picture spares the test for neighbours; it holds that same value.
void Spread(Plane<float>& distance, float reach)
{
    const int width = distance.width + 2;
    Plane<float> room{width, distance.height + 2, reach};
    for (int y = 0; y < distance.height; ++y)
        std::copy_n(&distance.At(0, y), distance.width, &room.At(1, y + 1));
    for (int y = 1; y <= distance.height; ++y) {
        float* at = &room.At(1, y);
        for (int x = 0; x < distance.width; ++x, ++at) {
            *at = std::min({*at, at[-1] + kStraight, at[-width - 1] + kDiagonal, at[-width] + kStraight,
                            at[-width + 1] + kDiagonal});
        }
    }
    for (int y = distance.height; y >= 1; --y) {
        float* at = &room.At(distance.width, y);
        for (int x = 0; x < distance.width; ++x, --at) {
            *at = std::min({*at, at[1] + kStraight, at[width + 1] + kDiagonal, at[width] + kStraight,
                            at[width - 1] + kDiagonal});
        }
    }
    for (int y = 0; y < distance.height; ++y)
        std::copy_n(&room.At(1, y + 1), distance.width, &distance.At(0, y));
}

}  // namespace

Size FitWithin(Size size, Size most)
{
    const double scale = std::min(
        {1.0, static_cast<double>(most.width) / size.width, static_cast<double>(most.height) / size.height});
    return {std::max(1, static_cast<int>(size.width * scale + 0.5)),
            std::max(1, static_cast<int>(size.height * scale + 0.5))};
}

Image Reduce(const Image& image, Size size)
{
    if (size.width == image.width && size.height == image.height) return image;
    Image reduced{size.width, size.height};
    for (int y = 0; y < size.height; ++y) {
        const int top = First(y, image.height, size.height), bottom = First(y + 1, image.height, size.height);
        for (int x = 0; x < size.width; ++x) {
            const int left = First(x, image.width, size.width), right = First(x + 1, image.width, size.width);
            std::array<int, 3> sum{};
            for (int v = top; v < bottom; ++v) {
                for (int u = left; u < right; ++u) {
                    for (std::size_t c = 0; c < 3; ++c) sum[c] += image.At(u, v)[c];
                }
            }
            const int count = (bottom - top) * (right - left);
            for (std::size_t c = 0; c < 3; ++c)
                reduced.At(x, y)[c] = static_cast<std::uint8_t>((sum[c] + count / 2) / count);
        }
    }
    return reduced;
}

Mask ReduceAny(const Mask& mask, Size size)
{
    Mask reduced{size.width, size.height};
    for (int y = 0; y < mask.height; ++y) {
        for (int x = 0; x < mask.width; ++x) {
            if (mask.At(x, y))
                reduced.At(First(x, size.width, mask.width), First(y, size.height, mask.height)) = 1;
        }
    }
    return reduced;
}

Plane<float> SignedDistance(const Mask& mask, float reach)
{
    if (mask.pixels.empty()) return {};
    Plane<float> inside{mask.width, mask.height, reach}, outside = inside;
    for (std::size_t i = 0; i < mask.pixels.size(); ++i) (mask.pixels[i] ? outside : inside).pixels[i] = 0;
    Spread(inside, reach);
    Spread(outside, reach);
    // The border runs half a pixel from the centres on both sides of it.
    for (std::size_t i = 0; i < mask.pixels.size(); ++i) {
        inside.pixels[i] = mask.pixels[i] ? inside.pixels[i] - 0.5f : 0.5f - outside.pixels[i];
    }
    return inside;
}

Plane<float> Enlarge(const Plane<float>& plane, Size size)
{
    Plane<float> large{size.width, size.height};
    const float stepX = static_cast<float>(plane.width) / static_cast<float>(size.width);
    const float stepY = static_cast<float>(plane.height) / static_cast<float>(size.height);
    for (int y = 0; y < size.height; ++y) {
        const float v = std::clamp((static_cast<float>(y) + 0.5f) * stepY - 0.5f, 0.0f,
                                   static_cast<float>(plane.height - 1));
        const int v0 = static_cast<int>(v), v1 = std::min(v0 + 1, plane.height - 1);
        const float fv = v - static_cast<float>(v0);
        for (int x = 0; x < size.width; ++x) {
            const float u = std::clamp((static_cast<float>(x) + 0.5f) * stepX - 0.5f, 0.0f,
                                       static_cast<float>(plane.width - 1));
            const int u0 = static_cast<int>(u), u1 = std::min(u0 + 1, plane.width - 1);
            const float fu = u - static_cast<float>(u0);
            large.At(x, y) = (plane.At(u0, v0) * (1 - fu) + plane.At(u1, v0) * fu) * (1 - fv) +
                             (plane.At(u0, v1) * (1 - fu) + plane.At(u1, v1) * fu) * fv;
        }
    }
    return large;
}

void KeepConnected(Mask& mask, const Mask& roots)
{
    Mask kept{mask.width, mask.height};
    std::vector<std::pair<int, int>> open;
    const auto reach = [&](int x, int y) {
        if (!mask.Holds(x, y) || !mask.At(x, y) || kept.At(x, y)) return;
        kept.At(x, y) = 1;
        open.emplace_back(x, y);
    };
    for (int y = 0; y < mask.height; ++y) {
        for (int x = 0; x < mask.width; ++x) {
            if (roots.At(x, y)) reach(x, y);
        }
    }
    while (!open.empty()) {
        const auto [x, y] = open.back();
        open.pop_back();
        reach(x - 1, y);
        reach(x + 1, y);
        reach(x, y - 1);
        reach(x, y + 1);
    }
    mask = std::move(kept);
}

}  // namespace segmatte
