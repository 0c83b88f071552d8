// How likely a colour is in the subject or in the ground: a mixture of Gaussians over the three channels.
//
// source   Rother, Kolmogorov, Blake, "GrabCut: Interactive foreground extraction using iterated graph cuts",
//          2004: clusters by hard assignment. The first centres are the samples that lie farthest from those
//          before them (Gonzalez, 1985), so a fit depends on nothing but its samples.
#ifndef SEGMATTE_COLOURMODEL_H
#define SEGMATTE_COLOURMODEL_H

#include "Image.h"

namespace segmatte {

class ColourModel {
  public:
    /// Fits at most kClusters Gaussians. Of many samples an even choice of kMostSamples is looked at. Without
    /// samples every colour is as likely as any other.
    explicit ColourModel(const std::vector<Colour>& samples);

    /// The natural logarithm of the density at a colour. A small even share of the density keeps colours that
    /// were never seen from deciding anything.
    float LogLikelihood(const Colour& colour) const;

  private:
    static constexpr std::size_t kClusters = 8, kMostSamples = 6000;

    struct Gaussian {
        std::array<float, 3> mean;
        std::array<float, 6> inverse;  // of the covariance: xx, xy, xz, yy, yz, zz
        float factor;                  // weight over the root of the determinant and of (2 pi)^3
    };
    static Gaussian Fit(const std::vector<Colour>& samples, const std::vector<std::size_t>& owner,
                        std::size_t cluster);

    std::vector<Gaussian> m_gaussians;
};

/// Colours of the pixels that are set.
std::vector<Colour> ColoursOf(const Image& image, const Mask& mask);

}  // namespace segmatte

#endif
