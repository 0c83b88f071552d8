// Pictures as the algorithms see them: rows without padding, colour as three bytes a pixel.
#ifndef SEGMATTE_IMAGE_H
#define SEGMATTE_IMAGE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace segmatte {

template <class T>
struct Plane {
    Plane() = default;
    Plane(int w, int h, T fill = {})
        : width{w}, height{h}, pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h), fill)
    {
    }
    T& At(int x, int y) { return pixels[Index(x, y)]; }
    const T& At(int x, int y) const { return pixels[Index(x, y)]; }
    std::size_t Index(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    }
    bool Holds(int x, int y) const { return x >= 0 && y >= 0 && x < width && y < height; }

    int width = 0, height = 0;
    std::vector<T> pixels;
};

using Colour = std::array<std::uint8_t, 3>;
using Image = Plane<Colour>;
/// 0 for background, 1 for subject.
using Mask = Plane<std::uint8_t>;

/// The sum of the squared differences of the channels.
inline int SquaredDistance(const Colour& a, const Colour& b)
{
    int sum = 0;
    for (std::size_t c = 0; c < 3; ++c) {
        const int d = int{a[c]} - int{b[c]};
        sum += d * d;
    }
    return sum;
}

/// The largest size of the same shape within `most` pixels each way; never above the given one, never below
/// 1.
struct Size {
    int width, height;
};
Size FitWithin(Size size, Size most);

/// Reduces by averaging the pixels that fall into each new one. The new size is not above the old one.
Image Reduce(const Image& image, Size size);

/// Reduces a mask so that a new pixel is set when any pixel in it was: thin strokes survive.
Mask ReduceAny(const Mask& mask, Size size);

/// How far inside (above 0) or outside (below 0) of the mask each pixel lies, in pixels, to within a tenth:
/// the distance to the border between the two, by two chamfer passes (Borgefors, "Distance transformations in
/// digital images", CVGIP 34, 1986). Beyond `reach` it stays at `reach`; without a border all of it does.
Plane<float> SignedDistance(const Mask& mask, float reach);

/// Enlarges by linear interpolation between the centres of pixels.
Plane<float> Enlarge(const Plane<float>& plane, Size size);

/// Empties what does not hang together, over four neighbours, with a pixel that is set in `roots`.
void KeepConnected(Mask& mask, const Mask& roots);

}  // namespace segmatte

#endif
