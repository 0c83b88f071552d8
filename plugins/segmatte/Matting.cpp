#include "Matting.h"

#include <algorithm>
#include <cmath>

namespace segmatte {
namespace {

// Half of the band's width as a share of the picture's smaller side, and the least of it in pixels.
constexpr float kBandShare = 0.0125f, kLeastBand = 2;
// Rays a pixel sends for samples, and how many half widths of a band they reach.
constexpr int kRays = 8;
constexpr float kRayReach = 6;
// The guided filter's window and the variance that counts as grain, in squared steps of a channel.
constexpr int kWindow = 2;
constexpr float kGrain = 60;

float HalfBand(int width, int height)
{
    return std::max(kLeastBand, kBandShare * static_cast<float>(std::min(width, height)));
}

bool IsUnsure(std::uint8_t value)
{
    return value >= 64 && value <= 191;
}

struct Sample {
    Colour colour;
    float distance;
};

float Projection(const Colour& colour, const Colour& subject, const Colour& ground, float& misfit)
{
    float dot = 0, length = 0;
    for (std::size_t c = 0; c < 3; ++c) {
        const float axis = static_cast<float>(subject[c]) - static_cast<float>(ground[c]);
        dot += axis * (static_cast<float>(colour[c]) - static_cast<float>(ground[c]));
        length += axis * axis;
    }
    const float alpha = length > 0 ? std::clamp(dot / length, 0.0f, 1.0f) : 0.5f;
    misfit = 0;
    for (std::size_t c = 0; c < 3; ++c) {
        const float d = static_cast<float>(colour[c]) - (alpha * static_cast<float>(subject[c]) +
                                                         (1 - alpha) * static_cast<float>(ground[c]));
        misfit += d * d;
    }
    // Two samples of nearly one colour fit much and tell little.
    misfit += 400.0f * 400.0f / (length + 100.0f);
    return alpha;
}

class Sampler {
  public:
    Sampler(const Image& image, const Plane<std::uint8_t>& trimap) : m_image{image}, m_trimap{trimap}
    {
        const auto reach = static_cast<int>(kRayReach * HalfBand(image.width, image.height));
        for (int ray = 0; ray < kRays; ++ray) {
            const double angle = 6.283185307179586 * ray / kRays;
            m_rays[static_cast<std::size_t>(ray)].reserve(static_cast<std::size_t>(reach));
            for (int step = 1; step <= reach; ++step) {
                m_rays[static_cast<std::size_t>(ray)].push_back(
                    {static_cast<int>(std::lround(std::cos(angle) * step)),
                     static_cast<int>(std::lround(std::sin(angle) * step))});
            }
        }
    }

    float AlphaAt(int x, int y)
    {
        Collect(x, y);
        if (m_subject.empty() || m_ground.empty()) return m_subject.empty() ? 0.0f : 1.0f;
        const float nearSubject = Nearest(m_subject), nearGround = Nearest(m_ground);
        float best = 0, least = -1;
        for (const Sample& subject : m_subject) {
            for (const Sample& ground : m_ground) {
                float misfit = 0;
                const float alpha = Projection(m_image.At(x, y), subject.colour, ground.colour, misfit);
                const float cost =
                    misfit + 12 * (subject.distance / nearSubject + ground.distance / nearGround);
                if (least >= 0 && cost >= least) continue;
                least = cost;
                best = alpha;
            }
        }
        return best;
    }

  private:
    // The first sure pixel of each kind along each ray.
    void Collect(int x, int y)
    {
        m_subject.clear();
        m_ground.clear();
        for (const auto& ray : m_rays) {
            bool subject = false, ground = false;
            for (std::size_t step = 0; step < ray.size() && !(subject && ground); ++step) {
                const int u = x + ray[step].dx, v = y + ray[step].dy;
                if (!m_image.Holds(u, v)) break;
                const std::uint8_t at = m_trimap.At(u, v);
                if (IsUnsure(at)) continue;
                bool& found = at > 191 ? subject : ground;
                if (found) continue;
                found = true;
                (at > 191 ? m_subject : m_ground).push_back({m_image.At(u, v), static_cast<float>(step + 1)});
            }
        }
    }

    static float Nearest(const std::vector<Sample>& samples)
    {
        return std::min_element(samples.begin(), samples.end(),
                                [](const auto& a, const auto& b) { return a.distance < b.distance; })
            ->distance;
    }

    const Image& m_image;
    const Plane<std::uint8_t>& m_trimap;
    struct Step {
        int dx, dy;
    };
    std::array<std::vector<Step>, kRays> m_rays;
    std::vector<Sample> m_subject, m_ground;
};

float Luma(const Colour& colour)
{
    return 0.2126f * static_cast<float>(colour[0]) + 0.7152f * static_cast<float>(colour[1]) +
           0.0722f * static_cast<float>(colour[2]);
}

// One output pixel of the guided filter, its window at this pixel alone: the matte as a line over the luma.
float Smoothed(const Image& image, const Plane<float>& alpha, int x, int y)
{
    float count = 0, g = 0, a = 0, gg = 0, ga = 0;
    for (int v = std::max(0, y - kWindow); v <= std::min(image.height - 1, y + kWindow); ++v) {
        for (int u = std::max(0, x - kWindow); u <= std::min(image.width - 1, x + kWindow); ++u) {
            const float luma = Luma(image.At(u, v)), at = alpha.At(u, v);
            ++count;
            g += luma;
            a += at;
            gg += luma * luma;
            ga += luma * at;
        }
    }
    g /= count;
    a /= count;
    const float slope = (ga / count - g * a) / (gg / count - g * g + kGrain);
    return std::clamp(a + slope * (Luma(image.At(x, y)) - g), 0.0f, 1.0f);
}

}  // namespace

Plane<std::uint8_t> TrimapOf(const Mask& mask)
{
    const float band = HalfBand(mask.width, mask.height);
    const Plane<float> inside = SignedDistance(mask, band + 2);
    Plane<std::uint8_t> trimap{mask.width, mask.height};
    for (std::size_t i = 0; i < trimap.pixels.size(); ++i) {
        const float at = inside.pixels[i];
        trimap.pixels[i] = at > band ? kSubject : at < -band ? kGround : kUnsure;
    }
    return trimap;
}

void TakeStrokes(Plane<std::uint8_t>& trimap, const Mask& plus, const Mask& minus)
{
    for (std::size_t i = 0; i < trimap.pixels.size(); ++i) {
        if (!IsUnsure(trimap.pixels[i]) || plus.pixels[i] == minus.pixels[i]) continue;
        trimap.pixels[i] = plus.pixels[i] ? kSubject : kGround;
    }
}

Plane<std::uint8_t> MatteOf(const Image& image, const Plane<std::uint8_t>& trimap)
{
    Plane<float> alpha{image.width, image.height};
    Sampler sampler{image, trimap};
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            const std::uint8_t at = trimap.At(x, y);
            alpha.At(x, y) = IsUnsure(at) ? sampler.AlphaAt(x, y) : at > 191 ? 1.0f : 0.0f;
        }
    }
    Plane<std::uint8_t> matte{image.width, image.height};
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            const float at = IsUnsure(trimap.At(x, y)) ? Smoothed(image, alpha, x, y) : alpha.At(x, y);
            matte.At(x, y) = static_cast<std::uint8_t>(at * 255.0f + 0.5f);
        }
    }
    return matte;
}

}  // namespace segmatte
