// The algorithms against what can be computed otherwise: cuts against all labellings, distances against all pairs, and
// mattes of the sample clip against the truth that it was painted with.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "GraphCut.h"
#include "Matting.h"
#include "Scene.h"
#include "Segmentation.h"
#include "Strokes.h"

namespace {

using namespace segmatte;

// The price of a labelling in a picture of one colour, where a border costs the same everywhere.
double Energy(const Plane<Known>& known, const Plane<float>& favour, float smooth, const Mask& mask)
{
    double sum = 0;
    for (int y = 0; y < mask.height; ++y) {
        for (int x = 0; x < mask.width; ++x) {
            if (known.At(x, y) == Known::Free && !mask.At(x, y)) sum += favour.At(x, y);
            for (const auto& [dx, dy] :
                 {std::pair{1, 0}, std::pair{0, 1}, std::pair{1, 1}, std::pair{-1, 1}}) {
                if (mask.Holds(x + dx, y + dy) && mask.At(x, y) != mask.At(x + dx, y + dy))
                    sum += smooth / std::hypot(dx, dy);
            }
        }
    }
    return sum;
}

TEST(GraphCut, FindsTheCheapestOfAllLabellings)
{
    std::mt19937 random{20240611};
    std::uniform_real_distribution<float> evidence{-4, 4};
    for (int round = 0; round < 60; ++round) {
        const Image image{4, 3, Colour{90, 120, 60}};
        Plane<Known> known{4, 3, Known::Free};
        Plane<float> favour{4, 3};
        std::vector<std::size_t> free;
        for (std::size_t i = 0; i < known.pixels.size(); ++i) {
            favour.pixels[i] = evidence(random);
            known.pixels[i] = static_cast<Known>(std::min<unsigned>(random() % 8, 2));
            if (known.pixels[i] == Known::Free) free.push_back(i);
        }
        const float smooth = static_cast<float>(round % 4);
        Mask trial{4, 3};
        for (std::size_t i = 0; i < trial.pixels.size(); ++i)
            trial.pixels[i] = known.pixels[i] == Known::Subject;
        double least = 1e9;
        for (unsigned labels = 0; labels < 1u << free.size(); ++labels) {
            for (std::size_t i = 0; i < free.size(); ++i) trial.pixels[free[i]] = labels >> i & 1;
            least = std::min(least, Energy(known, favour, smooth, trial));
        }
        const Mask cut = Cut(image, known, favour, smooth);
        EXPECT_NEAR(Energy(known, favour, smooth, cut), least, 0.2) << "round " << round;
        for (std::size_t i = 0; i < cut.pixels.size(); ++i) {
            if (known.pixels[i] == Known::Free) continue;
            EXPECT_EQ(cut.pixels[i], known.pixels[i] == Known::Subject) << "round " << round;
        }
    }
}

TEST(Image, SignedDistanceIsNearTheTrueOne)
{
    std::mt19937 random{7};
    Mask mask{40, 30};
    for (int blob = 0; blob < 3; ++blob) {
        const int cx = static_cast<int>(random() % 40), cy = static_cast<int>(random() % 30);
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 40; ++x) mask.At(x, y) |= std::hypot(x - cx, y - cy) < 6;
        }
    }
    const Plane<float> inside = SignedDistance(mask, 100);
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 40; ++x) {
            double nearest = 100;
            for (int v = 0; v < 30; ++v) {
                for (int u = 0; u < 40; ++u) {
                    if (mask.At(u, v) != mask.At(x, y)) nearest = std::min(nearest, std::hypot(u - x, v - y));
                }
            }
            const double expected = mask.At(x, y) ? nearest - 0.5 : 0.5 - nearest;
            EXPECT_NEAR(inside.At(x, y), expected, 0.1 + 0.1 * nearest) << x << "," << y;
        }
    }
}

struct Overlap {
    double least = 0, greatest = 0;
    void Add(double a, double b)
    {
        least += std::min(a, b);
        greatest += std::max(a, b);
    }
    double Share() const { return greatest > 0 ? least / greatest : 1; }
};

TEST(SampleClip, EveryMatteOfASpanOverlapsTheTruth)
{
    qlhost::GenerateOptions clip;
    clip.width = 640;
    clip.height = 360;
    const qlhost::PngSize size{640, 360};
    qlhost::StrokeFile file;
    std::string why;
    ASSERT_TRUE(qlhost::ParseStrokes(qlhost::SceneStrokes(clip), file, why)) << why;
    const qlhost::ManualFrame& manual = file.frames.at(0);
    ASSERT_EQ(manual.forward, 24u);

    const Size coarse = FitWithin({640, 360}, kCoarse);
    const auto strokes = [&](bool subject) {
        Mask mask{640, 360};
        qlhost::DrawStrokes(manual, subject, file.size, size, mask.pixels.data());
        for (auto& pixel : mask.pixels) pixel = pixel != 0;
        return ReduceAny(mask, coarse);
    };
    const Strokes first{strokes(true), strokes(false)},
        none{Mask{coarse.width, coarse.height}, Mask{coarse.width, coarse.height}};
    std::vector<std::uint8_t> rgba(size.Bytes()), truth(size.Bytes() / 4);
    Segment segment;
    Image former;
    for (int local = 0; local < 24; ++local) {
        qlhost::PaintScene(clip, manual.frame + local, rgba, truth);
        Image image{640, 360};
        for (std::size_t i = 0; i < image.pixels.size(); ++i)
            image.pixels[i] = {rgba[4 * i], rgba[4 * i + 1], rgba[4 * i + 2]};
        const Image small = Reduce(image, coarse);
        segment = local == 0 ? SegmentStroked(small, first) : Propagate(segment, former, small, none);
        former = small;
        const Mask mask = RefineEdge(segment, image);
        const auto matte = MatteOf(image, TrimapOf(mask));
        Overlap hard, soft;
        for (std::size_t i = 0; i < truth.size(); ++i) {
            hard.Add(mask.pixels[i], truth[i] >= 128);
            soft.Add(matte.pixels[i], truth[i]);
        }
        EXPECT_GE(hard.Share(), 0.9) << "frame " << manual.frame + local;
        EXPECT_GE(soft.Share(), 0.9) << "frame " << manual.frame + local;
        EXPECT_GE(soft.Share(), hard.Share())
            << "the soft edge is worse than none at " << manual.frame + local;
    }
}

TEST(Segmentation, TakesWhatItIsGiven)
{
    const Image one{1, 1, Colour{10, 20, 30}};
    const Segment single = SegmentStroked(one, {Mask{1, 1, 1}, Mask{1, 1}});
    EXPECT_EQ(single.mask.pixels.at(0), 1);
    EXPECT_EQ(RefineEdge(single, one).pixels.at(0), 1);

    // Without a stroke on the subject there is none, and a correction on a later frame brings it.
    Image image{60, 40, Colour{40, 90, 40}};
    Mask spot{60, 40}, stroke{60, 40};
    for (int y = 10; y < 30; ++y) {
        for (int x = 20; x < 40; ++x) {
            image.At(x, y) = {200, 60, 50};
            spot.At(x, y) = 1;
        }
    }
    stroke.At(30, 20) = 1;
    const Mask none{60, 40};
    const Segment empty = SegmentStroked(image, {none, none});
    EXPECT_EQ(empty.mask.pixels, none.pixels);
    EXPECT_EQ(RefineEdge(empty, Image{120, 80}).pixels, (Mask{120, 80}).pixels);
    const Segment corrected = Propagate(empty, image, image, {stroke, none});
    EXPECT_EQ(corrected.mask.pixels, spot.pixels);

    // What moved by a whole picture is not found again, and nothing is invented in its place.
    const Image gone{60, 40, Colour{40, 90, 40}};
    EXPECT_EQ(Propagate(corrected, image, gone, {none, none}).mask.pixels, none.pixels);
}

}  // namespace
