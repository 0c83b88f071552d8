// From a mask to a matte with a soft edge: around the mask's border lies a band in which nothing is sure, the
// trimap; each pixel there is told apart as a mixture of a colour of the subject and one of the ground, both
// taken from where it is sure.
//
// source   Gastal, Oliveira, "Shared sampling for real-time alpha matting", 2010, for sampling along rays and
//          for the choice of a pair; He, Sun, Tang, "Guided image filtering", 2013, for the smoothing
// threads  functions of their arguments alone: any thread
#ifndef SEGMATTE_MATTING_H
#define SEGMATTE_MATTING_H

#include "Image.h"

namespace segmatte {

/// What a trimap says of a pixel.
inline constexpr std::uint8_t kGround = 0, kUnsure = 128, kSubject = 255;

/// A band around the mask's border, wide enough for an edge as soft as a picture of this size has; a thin
/// part of the subject lies in it altogether.
Plane<std::uint8_t> TrimapOf(const Mask& mask);

/// Makes unsure pixels of a trimap sure: those under a plus stroke are of the subject, those under a minus
/// stroke of the ground. Under both, and outside of the band, nothing changes. All three have one size.
void TakeStrokes(Plane<std::uint8_t>& trimap, const Mask& plus, const Mask& minus);

/// The subject's share of each pixel, 0 to 255. Values of the trimap below 64 count as ground and above 191
/// as subject.
Plane<std::uint8_t> MatteOf(const Image& image, const Plane<std::uint8_t>& trimap);

}  // namespace segmatte

#endif
