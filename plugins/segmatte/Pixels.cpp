#include "Pixels.h"

#include <algorithm>
#include <boost/variant2/variant.hpp>
#include <type_traits>

namespace segmatte {
namespace {

namespace gil = boost::gil;

std::uint8_t ToByte(std::uint8_t value)
{
    return value;
}

std::uint8_t ToByte(const tessaly::Channel15& value)
{
    return static_cast<std::uint8_t>((std::uint32_t{std::min<std::uint16_t>(value, 32768)} * 255 + 16384) >>
                                     15);
}

// Written so that a value that is no number becomes 0.
std::uint8_t ToByte(const gil::float32_t& value)
{
    const float v = value;
    return v > 0 ? static_cast<std::uint8_t>(std::min(v, 1.0f) * 255 + 0.5f) : std::uint8_t{0};
}

template <class Channel>
Channel FromByte(std::uint8_t value)
{
    if constexpr (std::is_same_v<Channel, std::uint8_t>) {
        return value;
    } else if constexpr (std::is_same_v<Channel, tessaly::Channel15>) {
        return Channel(static_cast<std::uint16_t>((std::uint32_t{value} * 32768 + 127) / 255));
    } else {
        return Channel(static_cast<float>(value) / 255);
    }
}

template <class View>
constexpr bool kIsGray = gil::num_channels<View>::value == 1;

template <class Pixel>
Colour ColourOf(const Pixel& pixel)
{
    if constexpr (kIsGray<Pixel>) {
        const std::uint8_t gray = ToByte(gil::at_c<0>(pixel));
        return {gray, gray, gray};
    } else {
        return {ToByte(gil::get_color(pixel, gil::red_t{})), ToByte(gil::get_color(pixel, gil::green_t{})),
                ToByte(gil::get_color(pixel, gil::blue_t{}))};
    }
}

// Calls `take(place, pixel)` for the pixels of a view, row by row.
template <class View, class Take>
void EachPixel(const View& view, Take take)
{
    std::size_t place = 0;
    for (std::ptrdiff_t y = 0; y < view.height(); ++y) {
        auto row = view.row_begin(y);
        for (std::ptrdiff_t x = 0; x < view.width(); ++x) take(place++, row[x]);
    }
}

}  // namespace

Image ImageOf(const tessaly::AnyImageView& any)
{
    return boost::variant2::visit(
        [](const auto& view) {
            Image image{static_cast<int>(view.width()), static_cast<int>(view.height())};
            EachPixel(view,
                      [&](std::size_t place, const auto& pixel) { image.pixels[place] = ColourOf(pixel); });
            return image;
        },
        any);
}

Plane<std::uint8_t> GrayOf(const tessaly::AnyImageView& any)
{
    return boost::variant2::visit(
        [](const auto& view) {
            Plane<std::uint8_t> gray{static_cast<int>(view.width()), static_cast<int>(view.height())};
            EachPixel(view, [&](std::size_t place, const auto& pixel) {
                gray.pixels[place] = ToByte(gil::at_c<0>(pixel));
            });
            return gray;
        },
        any);
}

Mask StrokesOf(const tessaly::AnyImageView& view, Size size)
{
    Mask strokes = GrayOf(view);
    if (strokes.pixels.empty()) return Mask{size.width, size.height};
    for (auto& pixel : strokes.pixels) pixel = pixel >= 128;
    return ReduceAny(strokes, size);
}

Mask StrokesOf(const boost::shared_ptr<tessaly::CheckoutReceipt>& receipt, Size size)
{
    return StrokesOf(receipt ? receipt->GetView() : tessaly::AnyImageView{}, size);
}

bool Write(const Plane<std::uint8_t>& values, const tessaly::AnyImageView& any)
{
    return boost::variant2::visit(
        [&](const auto& view) {
            using View = std::decay_t<decltype(view)>;
            using Channel = typename gil::channel_type<View>::type;
            if (view.width() != values.width || view.height() != values.height) return false;
            EachPixel(view, [&](std::size_t place, auto&& pixel) {
                const auto value = FromByte<Channel>(values.pixels[place]);
                if constexpr (kIsGray<View>) {
                    gil::at_c<0>(pixel) = value;
                } else {
                    gil::get_color(pixel, gil::red_t{}) = value;
                    gil::get_color(pixel, gil::green_t{}) = value;
                    gil::get_color(pixel, gil::blue_t{}) = value;
                    gil::get_color(pixel, gil::alpha_t{}) = FromByte<Channel>(255);
                }
            });
            return true;
        },
        any);
}

}  // namespace segmatte
