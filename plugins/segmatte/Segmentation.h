// From strokes to masks. On a stroked frame the strokes say what colours subject and ground have, and a cut
// finds the border; from there the mask is carried from frame to frame, and each time a cut in a band around
// the place where the subject should be finds the border anew. All of that runs on small pictures. The border
// is then found once more at full size, in a narrow band.
//
// source   Boykov, Jolly 2001 and Rother, Kolmogorov, Blake 2004 for the stroked frame; Lombaert, Sun, Grady,
//          Xu, "A multilevel banded graph cuts method for fast image segmentation", 2005, for the bands
// threads  functions of their arguments alone: any thread
#ifndef SEGMATTE_SEGMENTATION_H
#define SEGMATTE_SEGMENTATION_H

#include <memory>

#include "ColourModel.h"

namespace segmatte {

/// The size that cuts of whole pictures run at, at most.
inline constexpr Size kCoarse{480, 270};

/// Colours of subject and ground.
struct Models {
    ColourModel subject, ground;

    /// Evidence of a colour for the subject, bounded, as a difference of log-likelihoods.
    float Favour(const Colour& colour) const;
};

/// Where a person has stroked, in pixels of the picture that goes with it.
struct Strokes {
    Mask subject, ground;
};

/// What one frame hands to the next one.
struct Segment {
    Mask mask;
    std::shared_ptr<const Models> models;
};

/// Segments a stroked frame. Without a stroke on the subject the mask is empty; without one on the ground,
/// the picture's margin stands in for it.
Segment SegmentStroked(const Image& image, const Strokes& strokes);

/// Carries a segment from the former frame to this one; strokes on this frame correct it, and the border is
/// looked for around them too.
Segment Propagate(const Segment& former, const Image& formerImage, const Image& image,
                  const Strokes& strokes);

/// Finds the border of a coarse segment again in the full picture. Strokes of the full picture, which may be
/// null, hold to the pixel.
Mask RefineEdge(const Segment& coarse, const Image& image, const Strokes* strokes = nullptr);

/// How the pixels of a mask moved from one picture to the next, as one shift of whole pixels.
struct Shift {
    int x, y;
};
Shift EstimateShift(const Image& from, const Mask& mask, const Image& to, int reach);

}  // namespace segmatte

#endif
