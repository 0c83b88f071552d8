// One frozen frame: a 1920x1080 matte to compressed bytes and back, beside zlib at the same level on the same pixels;
// and the way from and to other pixel forms, beside the compression that it goes with and a copy of what it writes.
//
// Nobody keeps a coder between two frames. Both sides write into memory that they got before.
#include <zlib.h>

#include <boost/gil/image.hpp>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Ratio.h"
#include "SMS_Pixels.h"

namespace {

using benchmark::State;
using namespace tessaly;
namespace gil = boost::gil;
using Bytes = std::vector<unsigned char>;

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;
constexpr int kLevel = 5;

// Flat areas with smooth edges of 4 to 40 pixels; with grain one bit of noise inside the edges.
Bytes Matte(bool grain)
{
    Bytes frame(kPixels);
    std::uint32_t random = 3;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const double angle = std::atan2(y - 560.0, x - 900.0);
            const double edge =
                330 + 60 * std::sin(3 * angle) + 25 * std::sin(11 * angle) + 6 * std::sin(41 * angle);
            const double soft = 4 + 36 * (0.5 + 0.5 * std::sin(2 * angle + 1));
            const double inside = (edge - std::hypot(x - 900.0, y - 560.0)) / soft + 0.5;
            const double cut = std::min(1.0, std::max(0.0, inside));
            int value = static_cast<int>(255 * cut * cut * (3 - 2 * cut) + 0.5);
            if (grain && value > 0 && value < 255) {
                random = random * 1664525u + 1013904223u;
                value = std::min(254, std::max(1, value + static_cast<int>(random >> 31)));
            }
            frame[static_cast<std::size_t>(y) * kWidth + static_cast<std::size_t>(x)] =
                static_cast<unsigned char>(value);
        }
    }
    return frame;
}

void Check(bool good, const char* what)
{
    if (good) return;
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

Bytes ZlibPack(const Bytes& in)
{
    z_stream z{};
    deflateInit2(&z, kLevel, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    Bytes out(deflateBound(&z, in.size()));
    z.next_in = const_cast<unsigned char*>(in.data());
    z.avail_in = static_cast<uInt>(in.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    deflate(&z, Z_FINISH);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

bool ZlibUnpack(const Bytes& in, Bytes& out)
{
    z_stream z{};
    inflateInit2(&z, -15);
    z.next_in = const_cast<unsigned char*>(in.data());
    z.avail_in = static_cast<uInt>(in.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    const int result = inflate(&z, Z_FINISH);
    inflateEnd(&z);
    return result == Z_STREAM_END;
}

U_UTF8String Pack(const AnyImageView& view)
{
    U_UTF8String stored;
    zip_compressor{stored}(view);
    return stored;
}

Gray8View Gray(Bytes& frame)
{
    return gil::interleaved_view(kWidth, kHeight, reinterpret_cast<gil::gray8_pixel_t*>(frame.data()),
                                 kWidth);
}

void PackRows(const char* name, Bytes& frame)
{
    const U_UTF8String ours = Pack(Gray(frame));
    const Bytes peer = ZlibPack(frame);
    Bytes back(kPixels);
    Check(ZlibUnpack({ours.begin(), ours.end()}, back) && back == frame, "not the frame that was packed");
    std::printf("%s: %.1f : 1 ours, %.1f : 1 zlib\n", name, double(kPixels) / double(ours.size()),
                double(kPixels) / double(peer.size()));
    Check(ours.size() <= peer.size(), "packed worse than zlib");

    const std::string row = name;
    qlbench::Pair(
        "pack " + row + " / zlib level 5", 0.65,
        [&frame](State& state) {
            for (auto _ : state) benchmark::DoNotOptimize(Pack(Gray(frame)));
        },
        [&frame](State& state) {
            for (auto _ : state) benchmark::DoNotOptimize(ZlibPack(frame));
        });

    // Both read the same stream, zlib's.
    const U_UTF8String stream(peer.begin(), peer.end());
    zip_decompressor{stream}(Gray(back));
    Check(back == frame, "not the frame that zlib packed");
    qlbench::Pair(
        "unpack " + row + " / zlib", 0.08,
        [stream, back](State& state) mutable {
            for (auto _ : state) {
                zip_decompressor{stream}(Gray(back));
                benchmark::ClobberMemory();
            }
        },
        [peer, back](State& state) mutable {
            for (auto _ : state) {
                benchmark::DoNotOptimize(ZlibUnpack(peer, back));
                benchmark::ClobberMemory();
            }
        });
}

// `bound` of 0 shows how the form fares.
template <class View>
void FormRows(const char* name, Bytes& frame, double boundIn, double boundOut)
{
    using Image = gil::image<typename View::value_type, gil::is_planar<View>::value>;
    static Image image(kWidth, kHeight);  // one for each form; the rows outlive this call
    const AnyImageView view = gil::view(image);
    BytesToView(frame.data(), view);
    static Bytes bytes(kPixels);
    ViewToBytes(view, bytes.data());
    Check(bytes == frame, "the form does not keep the matte");

    const std::string row = name;
    qlbench::Pair(
        row + " to bytes / their compression", boundIn,
        [view](State& state) {
            for (auto _ : state) {
                ViewToBytes(view, bytes.data());
                benchmark::ClobberMemory();
            }
        },
        [&frame](State& state) {
            for (auto _ : state) benchmark::DoNotOptimize(Pack(Gray(frame)));
        });
    static std::vector<unsigned char> from(kPixels * sizeof(typename View::value_type), 1);
    static std::vector<unsigned char> to(from.size());
    qlbench::Pair(
        "bytes to " + row + " / memcpy of the output", boundOut,
        [view, &frame](State& state) {
            for (auto _ : state) {
                BytesToView(frame.data(), view);
                benchmark::ClobberMemory();
            }
        },
        [](State& state) {
            for (auto _ : state) {
                std::memcpy(to.data(), from.data(), to.size());
                benchmark::ClobberMemory();
            }
        });
}

void FitRow(const char* name, Bytes& frame, int width, int height)
{
    qlbench::Alone(name, [&frame, width, height](State& state) {
        gil::gray8_image_t target(width, height);
        for (auto _ : state) {
            view_resizer{}(Gray(frame), gil::view(target));
            benchmark::ClobberMemory();
        }
    });
}

}  // namespace

int main(int argc, char** argv)
{
    static Bytes smooth = Matte(false);
    static Bytes grainy = Matte(true);
    PackRows("smooth matte", smooth);
    PackRows("grainy matte", grainy);
    FormRows<Gray15View>("15-bit gray", smooth, 0.1, 2);
    FormRows<GrayFloatView>("float gray", smooth, 0.1, 2);
    FormRows<Rgba15View>("15-bit colour", smooth, 0, 0);
    FormRows<RgbaFloatView>("float colour", smooth, 0, 0);
    FormRows<Rgba8PlanarView>("8-bit planar", smooth, 0, 0);
    FitRow("fit to half the size", smooth, kWidth / 2, kHeight / 2);
    FitRow("fit to twice the size", smooth, kWidth * 2, kHeight * 2);
    return qlbench::Main(argc, argv);
}
