// One path from any view to rows of bytes and back: a view is a first channel, the distance from pixel to
// pixel, and rows. The distance is known when the code is compiled, so each form gets a plain loop.
//
// Loops run in blocks of a fixed length: that is what lets every compiler make vectors of them at every level
// of optimisation, without a flag of their own. No state.
#ifndef SMSP_PIXELFORMS_H
#define SMSP_PIXELFORMS_H

#include <boost/gil/extension/dynamic_image/dynamic_image_all.hpp>
#include <boost/gil/image_view.hpp>
#include <boost/gil/planar_pixel_reference.hpp>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "SMSp_PixelVectors.h"
#include "SegMatServices.h"

namespace tessaly {

// How a channel's value becomes a byte, and a byte a value.
template <class Channel>
struct ChannelForm;

template <>
struct ChannelForm<std::uint8_t> {
    static constexpr std::uint8_t ToByte(std::uint8_t value) { return value; }
    static constexpr std::uint8_t FromByte(std::uint8_t byte) { return byte; }
};

template <>
struct ChannelForm<Channel15> {
    static constexpr std::uint32_t kFull = 32768;

    static constexpr std::uint8_t ToByte(std::uint16_t value)
    {
        const std::uint32_t v = value < kFull ? value : kFull;
        return static_cast<std::uint8_t>((v * 255 + 16384) >> 15);
    }

    // (b * 32768 + b * 128 + 128) >> 8 is b * 128.5, rounded. Nothing wider than 16 bits, so vectors stay
    // narrow.
    static constexpr std::uint16_t FromByte(std::uint8_t byte)
    {
        const std::uint16_t wide = byte;
        const auto half = static_cast<std::uint16_t>(static_cast<std::uint16_t>(wide + 1) >> 1);
        return static_cast<std::uint16_t>(static_cast<std::uint16_t>(wide << 7) + half);
    }

    static constexpr bool IsTheRule()
    {
        for (std::uint32_t b = 0; b < 256; ++b) {
            const auto value = FromByte(static_cast<std::uint8_t>(b));
            if (value != ((b * 32768 | b * 128) + 128) >> 8 || ToByte(value) != b) return false;
        }
        return true;
    }
};
static_assert(ChannelForm<Channel15>::IsTheRule());

template <>
struct ChannelForm<boost::gil::float32_t> {
    static constexpr std::uint8_t ToByte(float value)
    {
        const float scaled = value * 255.0f + 0.5f;
        const float above = scaled > 0.0f ? scaled : 0.0f;  // no number compares as false, and so is 0
        const float cut = above < 255.0f ? above : 255.0f;
        return static_cast<std::uint8_t>(static_cast<std::int32_t>(cut));
    }
    static constexpr float FromByte(std::uint8_t byte) { return static_cast<float>(byte) / 255.0f; }
};

constexpr std::size_t kBlock = 64;

template <class View>
using ViewChannel = typename boost::gil::channel_type<View>::type;

// From one pixel's first channel to the next one's, in channels.
template <class View>
constexpr std::size_t kPixelStep =
    boost::gil::is_planar<View>::value ? 1 : boost::gil::num_channels<View>::value;

template <class View>
ViewChannel<View>* FirstChannel(const View& view, std::ptrdiff_t y)
{
    auto&& pixel = *view.row_begin(y);
    return &boost::gil::at_c<0>(pixel);
}

template <std::size_t Step, std::size_t Count, class Channel>
inline void BlockToBytes(const Channel* __restrict from, std::uint8_t* __restrict to)
{
#if SMSP_HAS_VECTORS
    if constexpr (Step == 1 && Count % kVector == 0 && sizeof(Channel) > 1) {
        using Plain = std::conditional_t<sizeof(Channel) == 2, std::uint16_t, float>;
        const auto* const plain = reinterpret_cast<const Plain*>(from);  // a channel's only member
        for (std::size_t at = 0; at < Count; at += kVector) VectorToBytes(plain + at, to + at);
        return;
    }
#endif
    for (std::size_t at = 0; at < Count; ++at) to[at] = ChannelForm<Channel>::ToByte(from[at * Step]);
}

template <std::size_t Step, std::size_t Count, class Channel>
inline void BlockFromBytes(const std::uint8_t* __restrict from, Channel* __restrict to)
{
    for (std::size_t at = 0; at < Count; ++at) to[at * Step] = ChannelForm<Channel>::FromByte(from[at]);
}

template <std::size_t Step, class Channel>
void RowToBytes(const Channel* from, std::size_t count, std::uint8_t* to)
{
    for (; count >= kBlock; count -= kBlock, from += kBlock * Step, to += kBlock) {
        BlockToBytes<Step, kBlock>(from, to);
    }
    for (; count > 0; --count, from += Step, ++to) BlockToBytes<Step, 1>(from, to);
}

template <std::size_t Step, class Channel>
void RowFromBytes(const std::uint8_t* from, std::size_t count, Channel* to)
{
    for (; count >= kBlock; count -= kBlock, from += kBlock, to += kBlock * Step) {
        BlockFromBytes<Step, kBlock>(from, to);
    }
    for (; count > 0; --count, ++from, to += Step) BlockFromBytes<Step, 1>(from, to);
}

}  // namespace tessaly

#endif
