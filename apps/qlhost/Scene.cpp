#include "Scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace qlhost {
namespace {

struct Colour {
    float r, g, b;
};

Colour Mix(const Colour& from, const Colour& to, float t)
{
    return {from.r + (to.r - from.r) * t, from.g + (to.g - from.g) * t, from.b + (to.b - from.b) * t};
}

Colour Shade(const Colour& colour, float by)
{
    return {colour.r + by, colour.g + by, colour.b + by};
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

struct Point {
    float x, y;
};

// A limb, a trunk or a head: all points within `radius` of a line from a to b. Coverage falls from 1 to 0
// over `soft`, all in heights of the frame; `fringe` is how far strands stand out.
struct Part {
    Point a, b;
    float radius, soft, fringe;
    Colour colour;

    float Coverage(Point p) const
    {
        const Point along{b.x - a.x, b.y - a.y}, to{p.x - a.x, p.y - a.y};
        const float length = along.x * along.x + along.y * along.y;
        const float t =
            length > 0 ? std::clamp((to.x * along.x + to.y * along.y) / length, 0.0f, 1.0f) : 0.0f;
        const float dx = to.x - t * along.x, dy = to.y - t * along.y;
        float outside = std::sqrt(dx * dx + dy * dy) - radius;
        if (outside > fringe + soft) return 0;
        if (fringe > 0) {
            const float angle = std::atan2(dy, dx);
            outside -= fringe * 0.5f * (1 + std::sin(23.0f * angle) * std::sin(57.0f * angle + 1.3f));
        }
        return std::clamp(0.5f - outside / soft, 0.0f, 1.0f);
    }
};

// The walker in heights of the frame around the hip, back to front. It crosses the picture in 60 frames, in a
// longer clip in all of them; limbs swing once in 24.
class Walker {
  public:
    Walker(const GenerateOptions& options, int frame) : m_height{static_cast<float>(options.height)}
    {
        const auto width = static_cast<float>(options.width);
        const float t = static_cast<float>(frame) / static_cast<float>(std::max(options.frames, 60) - 1);
        const float step = 6.2831853f * static_cast<float>(frame) / 24.0f;
        const float swing = 0.065f * std::sin(step);
        m_hip = {width * (0.2f + 0.6f * t), m_height * (0.62f + 0.008f * std::cos(2 * step))};

        const float soft = 0.007f;
        const Colour shirt{206, 78, 54}, sleeve{182, 62, 48}, trousers{38, 42, 92}, skin{224, 172, 140},
            hair{70, 30, 26};
        m_parts = {{{{-0.02f, 0.00f}, {-0.02f - swing, 0.27f}, 0.040f, soft, 0, Shade(trousers, -10)},
                    {{0.06f, -0.20f}, {0.07f + swing, -0.03f}, 0.028f, soft, 0, Shade(sleeve, -18)},
                    {{0.02f, 0.00f}, {0.02f + swing, 0.27f}, 0.042f, soft, 0, trousers},
                    {{0.00f, -0.19f}, {0.00f, -0.02f}, 0.078f, soft, 0, shirt},
                    {{0.00f, -0.30f}, {0.00f, -0.33f}, 0.058f, soft, 0, skin},
                    {{-0.01f, -0.37f}, {0.015f, -0.38f}, 0.062f, 2 * soft, 0.022f, hair},
                    {{-0.06f, -0.20f}, {-0.05f - swing, -0.02f}, 0.030f, soft, 0, sleeve}}};
    }

    /// The walker's coverage of a pixel; `colour` takes its colour over what is behind it.
    float Over(float px, float py, Colour& colour) const
    {
        const Point p{(px - m_hip.x) / m_height, (py - m_hip.y) / m_height};
        if (std::abs(p.x) > 0.2f || p.y < -0.5f || p.y > 0.36f) return 0;
        const float folds = 14.0f * std::sin(60.0f * p.y + 25.0f * p.x) - 60.0f * p.x;
        float open = 1;
        for (const Part& part : m_parts) {
            const float cover = part.Coverage(p);
            if (cover <= 0) continue;
            colour = Mix(colour, Shade(part.colour, folds), cover);
            open *= 1 - cover;
        }
        return 1 - open;
    }

    Point Hip() const { return m_hip; }
    /// The middle lines of the parts, which is where a person would stroke.
    const std::array<Part, 7>& Parts() const { return m_parts; }

  private:
    float m_height;
    Point m_hip;
    std::array<Part, 7> m_parts;
};

// Sky, two ranges of hills, a meadow with tufts, and a row of posts. The pan moves what is near faster.
Colour Ground(float u, float v, float pan)
{
    const auto wave = [](float x, float a, float b) {
        return 0.5f * std::sin(a * x) + 0.5f * std::sin(b * x + 1);
    };
    const Colour zenith{92, 126, 176}, haze{196, 206, 214}, far{122, 142, 150}, near{78, 112, 84};
    const float x = u + pan;
    Colour colour = Mix(zenith, haze, std::min(v / 0.45f, 1.0f));
    colour = Shade(colour, 8.0f * std::sin(9.0f * u + 20.0f * v) * std::sin(13.0f * v));
    if (v > 0.40f + 0.05f * wave(u + 0.4f * pan, 7.0f, 16.0f)) colour = Shade(far, 60.0f * (0.5f - v));
    if (v > 0.52f + 0.04f * wave(x, 5.0f, 21.0f)) {
        const float tufts =
            std::sin(160.0f * x + 9.0f * std::sin(40.0f * v)) * std::sin(110.0f * v + 20.0f * x);
        colour = Shade(Mix(near, {132, 128, 82}, std::min((v - 0.5f) * 2.2f, 1.0f)), 16.0f * tufts);
    }
    const float post = x * 9.0f - std::floor(x * 9.0f);
    if (post < 0.09f && v > 0.46f && v < 0.72f) colour = Shade({112, 96, 78}, 300.0f * (0.045f - post));
    return colour;
}

std::string Line(const char* kind, float radius, std::initializer_list<Point> points)
{
    char text[64];
    std::snprintf(text, sizeof text, "%s %.0f ", kind, radius);
    std::string line = text;
    for (const Point& p : points) {
        std::snprintf(text, sizeof text, " %.0f,%.0f", p.x, p.y);
        line += text;
    }
    return line + "\n";
}

// What a person would draw on one frame: a line along each part of the walker, and a loop of ground around
// it.
std::string ManualFrame(const GenerateOptions& options, int frame, int backward, int forward)
{
    const auto width = static_cast<float>(options.width), height = static_cast<float>(options.height);
    const Walker walker{options, frame};
    const Point hip = walker.Hip();
    std::string text = "\nframe " + std::to_string(frame) + " backward " + std::to_string(backward) +
                       " forward " + std::to_string(forward) + "\n";
    for (const Part& part : walker.Parts()) {
        text += Line("foreground", std::max(1.0f, part.radius * height * 0.4f),
                     {{hip.x + part.a.x * height, hip.y + part.a.y * height},
                      {hip.x + part.b.x * height, hip.y + part.b.y * height}});
    }
    const float left = std::max(hip.x - 0.26f * height, 0.01f * width),
                right = std::min(hip.x + 0.26f * height, 0.99f * width), top = 0.06f * height,
                bottom = 0.97f * height, brush = std::max(1.0f, 0.01f * height);
    text += Line("background", brush,
                 {{left, bottom}, {left, top}, {right, top}, {right, bottom}, {left, bottom}});
    for (const float level : {0.20f, 0.46f, 0.58f, 0.80f}) {
        text += Line("background", brush, {{0.02f * width, level * height}, {left, level * height}});
        text += Line("background", brush, {{right, level * height}, {0.98f * width, level * height}});
    }
    return text;
}

}  // namespace

void PaintScene(const GenerateOptions& options, int frame, std::vector<std::uint8_t>& rgba,
                std::vector<std::uint8_t>& truth)
{
    const Walker walker{options, frame};
    const float pan = 0.002f * static_cast<float>(frame);
    std::uint8_t *out = rgba.data(), *matte = truth.data();
    for (int y = 0; y < options.height; ++y) {
        const float v = static_cast<float>(y) / static_cast<float>(options.height);
        for (int x = 0; x < options.width; ++x) {
            Colour colour = Ground(static_cast<float>(x) / static_cast<float>(options.width), v, pan);
            const float cover = walker.Over(static_cast<float>(x), static_cast<float>(y), colour);
            const float grain = Grain(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
                                      static_cast<std::uint32_t>(frame));
            for (const float channel : {colour.r, colour.g, colour.b}) {
                *out++ = static_cast<std::uint8_t>(std::clamp(channel + grain, 0.0f, 255.0f));
            }
            *out++ = 255;
            *matte++ = static_cast<std::uint8_t>(cover * 255.0f + 0.5f);
        }
    }
}

std::string SceneStrokes(const GenerateOptions& options)
{
    std::string text =
        "# Strokes on the sample clip: places and radii in pixels, frames counted from 0.\nstrokes 1\nsize " +
        std::to_string(options.width) + " " + std::to_string(options.height) + "\n";
    // The first manual frame reaches 24 frames ahead, the second takes over from there.
    const int frames = options.frames, first = std::min(12, (frames - 1) / 2);
    const int reach = std::min(24, frames - first);
    text += ManualFrame(options, first, first + 1, reach);
    const int covered = first + reach;
    if (covered < frames) {
        const int second = covered + (frames - covered) / 2;
        text += ManualFrame(options, second, second - covered + 1, frames - second);
    }
    return text;
}

}  // namespace qlhost
