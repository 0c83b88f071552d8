#include "Segmentation.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "GraphCut.h"

namespace segmatte {
namespace {

// Evidence beyond this says no more: one odd pixel must not outweigh its neighbourhood.
constexpr float kMostFavour = 8;
constexpr float kSmooth = 6;
// Propagation: how far the border may lie from where the shifted mask has it, how far a subject moves between
// two frames, both in pixels of the small picture, and how much the shifted mask itself counts at the band's
// rim.
constexpr float kBand = 12, kPrior = 3;
constexpr int kReach = 24;
// The edge at full size is looked for within this many pixels of the small picture.
constexpr float kEdgeBand = 2;
// Pixels that a shift is measured on, at most.
constexpr std::size_t kMostProbes = 1500;

// The picture's margin, but for what the subject has of it.
Mask MarginOutside(const Mask& subject)
{
    Mask margin{subject.width, subject.height};
    for (int y = 0; y < subject.height; ++y) {
        for (int x = 0; x < subject.width; ++x)
            margin.At(x, y) =
                !subject.At(x, y) && (x == 0 || y == 0 || x == subject.width - 1 || y == subject.height - 1);
    }
    return margin;
}

bool IsEmpty(const Mask& mask)
{
    return std::find(mask.pixels.begin(), mask.pixels.end(), 1) == mask.pixels.end();
}

Mask Inverted(Mask mask)
{
    for (auto& pixel : mask.pixels) pixel = !pixel;
    return mask;
}

// A pixel under strokes of both kinds stays open.
void MarkStrokes(const Strokes& strokes, Plane<Known>& known)
{
    for (std::size_t i = 0; i < known.pixels.size(); ++i) {
        const bool subject = strokes.subject.pixels[i], ground = strokes.ground.pixels[i];
        if (subject != ground) known.pixels[i] = subject ? Known::Subject : Known::Background;
    }
}

Plane<float> FavourOf(const Image& image, const Plane<Known>& known, const Models& models)
{
    Plane<float> favour{image.width, image.height};
    for (std::size_t i = 0; i < favour.pixels.size(); ++i) {
        if (known.pixels[i] == Known::Free) favour.pixels[i] = models.Favour(image.pixels[i]);
    }
    return favour;
}

std::shared_ptr<const Models> FitModels(const Image& image, const Mask& subject, const Mask& ground)
{
    return std::make_shared<const Models>(
        Models{ColourModel{ColoursOf(image, subject)}, ColourModel{ColoursOf(image, ground)}});
}

Mask Shifted(const Mask& mask, Shift by)
{
    Mask shifted{mask.width, mask.height};
    for (int y = 0; y < mask.height; ++y) {
        for (int x = 0; x < mask.width; ++x) {
            if (mask.At(x, y) && mask.Holds(x + by.x, y + by.y)) shifted.At(x + by.x, y + by.y) = 1;
        }
    }
    return shifted;
}

// Inside a band around the border of a mask the pixels are free, and lean to the side on which they lie.
Mask CutBand(const Image& image, const Plane<float>& inside, float band, float prior, const Models& models,
             const Strokes* strokes)
{
    Plane<Known> known{image.width, image.height};
    for (std::size_t i = 0; i < known.pixels.size(); ++i) {
        const float at = inside.pixels[i];
        known.pixels[i] = at > band ? Known::Subject : at < -band ? Known::Background : Known::Free;
    }
    if (strokes) MarkStrokes(*strokes, known);
    Plane<float> favour = FavourOf(image, known, models);
    for (std::size_t i = 0; i < favour.pixels.size(); ++i)
        favour.pixels[i] += prior * inside.pixels[i] / band;
    return Cut(image, known, favour, kSmooth);
}

}  // namespace

float Models::Favour(const Colour& colour) const
{
    return std::clamp(subject.LogLikelihood(colour) - ground.LogLikelihood(colour), -kMostFavour,
                      kMostFavour);
}

Segment SegmentStroked(const Image& image, const Strokes& strokes)
{
    if (IsEmpty(strokes.subject)) return {Mask{image.width, image.height}, nullptr};
    const Mask ground = IsEmpty(strokes.ground) ? MarginOutside(strokes.subject) : strokes.ground;
    Plane<Known> known{image.width, image.height, Known::Free};
    MarkStrokes({strokes.subject, ground}, known);

    // The colours under the strokes find the border roughly; the colours on either side of it find it well.
    auto models = FitModels(image, strokes.subject, ground);
    Mask mask = Cut(image, known, FavourOf(image, known, *models), kSmooth);
    KeepConnected(mask, strokes.subject);
    models = FitModels(image, mask, Inverted(mask));
    mask = Cut(image, known, FavourOf(image, known, *models), kSmooth);
    KeepConnected(mask, strokes.subject);
    return {std::move(mask), std::move(models)};
}

Segment Propagate(const Segment& former, const Image& formerImage, const Image& image, const Strokes& strokes)
{
    if (IsEmpty(former.mask)) return SegmentStroked(image, strokes);
    const Shift shift = EstimateShift(formerImage, former.mask, image, kReach);
    Mask predicted = Shifted(former.mask, shift);
    for (std::size_t i = 0; i < predicted.pixels.size(); ++i) {
        const bool subject = strokes.subject.pixels[i], ground = strokes.ground.pixels[i];
        if (subject != ground) predicted.pixels[i] = subject;
    }
    const Plane<float> inside = SignedDistance(predicted, 2 * kBand);
    Mask mask = CutBand(image, inside, kBand, kPrior, *former.models, &strokes);
    KeepConnected(mask, predicted);
    return {std::move(mask), former.models};
}

Mask RefineEdge(const Segment& coarse, const Image& image, const Strokes* strokes)
{
    const Size size{image.width, image.height};
    if (!coarse.models) return Mask{size.width, size.height};
    if (coarse.mask.width == size.width && coarse.mask.height == size.height) return coarse.mask;
    const Plane<float> inside = Enlarge(SignedDistance(coarse.mask, 2 * kEdgeBand + 1), size);
    return CutBand(image, inside, kEdgeBand, 1, *coarse.models, strokes);
}

Shift EstimateShift(const Image& from, const Mask& mask, const Image& to, int reach)
{
    std::vector<Shift> probes;
    const auto count = static_cast<std::size_t>(std::count(mask.pixels.begin(), mask.pixels.end(), 1));
    std::size_t seen = 0;
    for (int y = 0; y < mask.height; ++y) {
        for (int x = 0; x < mask.width; ++x) {
            if (mask.At(x, y) && (count <= kMostProbes || seen++ * kMostProbes / count > probes.size()))
                probes.push_back({x, y});
        }
    }
    Shift best{0, 0};
    double least = std::numeric_limits<double>::max();
    for (int dy = -reach; dy <= reach; ++dy) {
        for (int dx = -reach; dx <= reach; ++dx) {
            // A probe that leaves the picture costs what a mediocre match costs.
            double sum = 0.5 * (dx * dx + dy * dy);
            for (const Shift& probe : probes) {
                const int x = probe.x + dx, y = probe.y + dy;
                sum += to.Holds(x, y)
                           ? std::min(SquaredDistance(from.At(probe.x, probe.y), to.At(x, y)), 3000)
                           : 1000;
            }
            if (sum < least) {
                least = sum;
                best = {dx, dy};
            }
        }
    }
    return best;
}

}  // namespace segmatte
