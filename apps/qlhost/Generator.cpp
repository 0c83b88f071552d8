#include "Generator.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <thread>
#include <vector>

#include "Png.h"

namespace qlhost {
namespace {

struct Colour {
    float r, g, b;
};

Colour Mix(const Colour& from, const Colour& to, float t)
{
    return {from.r + (to.r - from.r) * t, from.g + (to.g - from.g) * t, from.b + (to.b - from.b) * t};
}

// A hash of the pixel's place gives film grain that needs no state and repeats from run to run.
float Grain(std::uint32_t x, std::uint32_t y, std::uint32_t frame)
{
    std::uint32_t h = x * 0x9e3779b1u ^ y * 0x85ebca77u ^ frame * 0xc2b2ae3du;
    h ^= h >> 15;
    h *= 0x2c1b3c6du;
    h ^= h >> 12;
    return static_cast<float>(h & 3u) - 1.5f;
}

// The figure is two ellipses, body and head; coverage falls from 1 to 0 over two pixels at its edge.
struct Figure {
    float x, y, size;

    float Coverage(float px, float py) const
    {
        return std::max(Ellipse(px, py, y, 0.16f, 0.30f), Ellipse(px, py, y - 0.40f * size, 0.10f, 0.13f));
    }

  private:
    float Ellipse(float px, float py, float cy, float rx, float ry) const
    {
        const float dx = (px - x) / (rx * size), dy = (py - cy) / (ry * size);
        const float outside = (std::sqrt(dx * dx + dy * dy) - 1.0f) * std::min(rx, ry) * size;
        return std::clamp(0.5f - outside * 0.5f, 0.0f, 1.0f);
    }
};

Figure FigureAt(const GenerateOptions& options, int frame)
{
    const auto width = static_cast<float>(options.width), height = static_cast<float>(options.height);
    const float t = static_cast<float>(frame) / static_cast<float>(std::max(options.frames, 2) - 1);
    return {width * (0.2f + 0.6f * t), height * (0.60f + 0.02f * std::sin(t * 40.0f)), height};
}

Colour Ground(float u, float v, float pan)
{
    const Colour sky{92, 126, 176}, haze{196, 202, 204}, soil{104, 92, 70};
    const Colour base = v < 0.55f ? Mix(sky, haze, v / 0.55f) : Mix(haze, soil, (v - 0.55f) / 0.45f);
    const float ripple =
        10.0f * std::sin(18.0f * (u + pan) + 5.0f * v) * std::sin(11.0f * v + 3.0f * (u + pan));
    return {base.r + ripple, base.g + ripple, base.b + ripple};
}

void Paint(const GenerateOptions& options, int frame, std::vector<std::uint8_t>& rgba)
{
    const Figure figure = FigureAt(options, frame);
    const Colour lit{214, 84, 60}, shaded{120, 34, 40};
    const float pan = 0.002f * static_cast<float>(frame);
    std::uint8_t* out = rgba.data();
    for (int y = 0; y < options.height; ++y) {
        const float v = static_cast<float>(y) / static_cast<float>(options.height);
        for (int x = 0; x < options.width; ++x) {
            const float u = static_cast<float>(x) / static_cast<float>(options.width);
            Colour colour = Ground(u, v, pan);
            const float cover = figure.Coverage(static_cast<float>(x), static_cast<float>(y));
            if (cover > 0) colour = Mix(colour, Mix(lit, shaded, v), cover);
            const float grain = Grain(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
                                      static_cast<std::uint32_t>(frame));
            for (const float channel : {colour.r, colour.g, colour.b}) {
                *out++ = static_cast<std::uint8_t>(std::clamp(channel + grain, 0.0f, 255.0f));
            }
            *out++ = 255;
        }
    }
}

}  // namespace

bool GenerateClip(const GenerateOptions& options, std::string& why)
{
    std::error_code error;
    std::filesystem::create_directories(options.folder, error);
    if (error) {
        why = options.folder.string() + ": " + error.message();
        return false;
    }
    const PngSize size{static_cast<std::uint32_t>(options.width), static_cast<std::uint32_t>(options.height)};
    std::atomic<int> next{0};
    std::mutex mutex;  // guards why

    auto work = [&] {
        std::vector<std::uint8_t> rgba(size.Bytes());
        for (int frame = next++; frame < options.frames; frame = next++) {
            Paint(options, frame, rgba);
            char name[32];
            std::snprintf(name, sizeof name, "frame_%04d.png", frame);
            std::string fault;
            if (WritePng(options.folder / name, size, rgba.data(), fault)) continue;
            next = options.frames;
            const std::lock_guard lock{mutex};
            why = (options.folder / name).string() + ": " + fault;
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < std::max(1u, std::thread::hardware_concurrency()); ++i)
        threads.emplace_back(work);
    for (auto& thread : threads) thread.join();

    if (why.empty() && !std::ofstream{options.folder / "complete"})
        why = "cannot write to " + options.folder.string();
    return why.empty();
}

}  // namespace qlhost
