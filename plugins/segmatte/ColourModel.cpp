#include "ColourModel.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace segmatte {
namespace {

constexpr int kRounds = 8;
// Grain and rounding: no Gaussian is narrower than this, in squared steps of a channel.
constexpr float kLeastVariance = 12.0f;
constexpr float kEvenShare = 0.02f, kEvenDensity = 1.0f / (256.0f * 256.0f * 256.0f);
constexpr float kTwoPiCubed = 248.05021f;

using Centre = std::array<float, 3>;

float Distance(const Colour& colour, const Centre& centre)
{
    float sum = 0;
    for (std::size_t c = 0; c < 3; ++c) {
        const float d = static_cast<float>(colour[c]) - centre[c];
        sum += d * d;
    }
    return sum;
}

std::vector<Colour> Choose(const std::vector<Colour>& samples, std::size_t most)
{
    if (samples.size() <= most) return samples;
    std::vector<Colour> chosen;
    for (std::size_t i = 0; i < most; ++i) chosen.push_back(samples[i * samples.size() / most]);
    return chosen;
}

Centre AsCentre(const Colour& colour)
{
    return {static_cast<float>(colour[0]), static_cast<float>(colour[1]), static_cast<float>(colour[2])};
}

std::vector<Centre> FarthestFirst(const std::vector<Colour>& samples, std::size_t clusters)
{
    std::vector<Centre> centres{AsCentre(samples.front())};
    std::vector<float> nearest(samples.size(), std::numeric_limits<float>::max());
    while (centres.size() < clusters) {
        for (std::size_t i = 0; i < samples.size(); ++i)
            nearest[i] = std::min(nearest[i], Distance(samples[i], centres.back()));
        const auto farthest = std::max_element(nearest.begin(), nearest.end());
        if (*farthest < kLeastVariance) break;
        centres.push_back(AsCentre(samples[static_cast<std::size_t>(farthest - nearest.begin())]));
    }
    return centres;
}

void Assign(const std::vector<Colour>& samples, const std::vector<Centre>& centres,
            std::vector<std::size_t>& owner)
{
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto nearest = std::min_element(
            centres.begin(), centres.end(),
            [&](const auto& a, const auto& b) { return Distance(samples[i], a) < Distance(samples[i], b); });
        owner[i] = static_cast<std::size_t>(nearest - centres.begin());
    }
}

void Recentre(const std::vector<Colour>& samples, const std::vector<std::size_t>& owner,
              std::vector<Centre>& centres)
{
    std::vector<Centre> sums(centres.size());
    std::vector<float> counts(centres.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        for (std::size_t c = 0; c < 3; ++c) sums[owner[i]][c] += static_cast<float>(samples[i][c]);
        ++counts[owner[i]];
    }
    for (std::size_t k = 0; k < centres.size(); ++k) {
        if (counts[k] == 0) continue;
        for (std::size_t c = 0; c < 3; ++c) centres[k][c] = sums[k][c] / counts[k];
    }
}

}  // namespace

ColourModel::ColourModel(const std::vector<Colour>& all)
{
    if (all.empty()) return;
    const std::vector<Colour> samples = Choose(all, kMostSamples);
    std::vector<Centre> centres = FarthestFirst(samples, kClusters);
    std::vector<std::size_t> owner(samples.size());
    for (int round = 0; round < kRounds; ++round) {
        Assign(samples, centres, owner);
        Recentre(samples, owner, centres);
    }
    for (std::size_t k = 0; k < centres.size(); ++k) {
        if (std::find(owner.begin(), owner.end(), k) != owner.end())
            m_gaussians.push_back(Fit(samples, owner, k));
    }
}

ColourModel::Gaussian ColourModel::Fit(const std::vector<Colour>& samples,
                                       const std::vector<std::size_t>& owner, std::size_t cluster)
{
    double count = 0, sum[3] = {}, products[6] = {};
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (owner[i] != cluster) continue;
        ++count;
        std::size_t at = 0;
        for (std::size_t a = 0; a < 3; ++a) {
            sum[a] += samples[i][a];
            for (std::size_t b = a; b < 3; ++b) products[at++] += double{1} * samples[i][a] * samples[i][b];
        }
    }
    const double mean[3] = {sum[0] / count, sum[1] / count, sum[2] / count};
    const double xx = products[0] / count - mean[0] * mean[0] + kLeastVariance,
                 xy = products[1] / count - mean[0] * mean[1], xz = products[2] / count - mean[0] * mean[2],
                 yy = products[3] / count - mean[1] * mean[1] + kLeastVariance,
                 yz = products[4] / count - mean[1] * mean[2],
                 zz = products[5] / count - mean[2] * mean[2] + kLeastVariance;
    const double a = yy * zz - yz * yz, b = xz * yz - xy * zz, c = xy * yz - xz * yy;
    const double determinant =
        xx * a + xy * b + xz * c;  // above 0: the least variance stands in the diagonal
    Gaussian gaussian;
    for (std::size_t i = 0; i < 3; ++i) gaussian.mean[i] = static_cast<float>(mean[i]);
    const double inverse[6] = {a, b, c, xx * zz - xz * xz, xy * xz - xx * yz, xx * yy - xy * xy};
    for (std::size_t i = 0; i < 6; ++i) gaussian.inverse[i] = static_cast<float>(inverse[i] / determinant);
    const double weight = count / static_cast<double>(samples.size());
    gaussian.factor = static_cast<float>(weight / std::sqrt(determinant * kTwoPiCubed));
    return gaussian;
}

float ColourModel::LogLikelihood(const Colour& colour) const
{
    float density = kEvenShare * kEvenDensity;
    if (m_gaussians.empty()) return std::log(kEvenDensity);
    for (const Gaussian& g : m_gaussians) {
        const float x = static_cast<float>(colour[0]) - g.mean[0],
                    y = static_cast<float>(colour[1]) - g.mean[1],
                    z = static_cast<float>(colour[2]) - g.mean[2];
        const float exponent = x * (g.inverse[0] * x + 2 * (g.inverse[1] * y + g.inverse[2] * z)) +
                               y * (g.inverse[3] * y + 2 * g.inverse[4] * z) + z * g.inverse[5] * z;
        density += (1 - kEvenShare) * g.factor * std::exp(-0.5f * exponent);
    }
    return std::log(density);
}

std::vector<Colour> ColoursOf(const Image& image, const Mask& mask)
{
    std::vector<Colour> colours;
    for (std::size_t i = 0; i < mask.pixels.size(); ++i) {
        if (mask.pixels[i]) colours.push_back(image.pixels[i]);
    }
    return colours;
}

}  // namespace segmatte
