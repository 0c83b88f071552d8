// The labelling of least energy of part of a picture: every free pixel pays for the label that its colour
// speaks against, and neighbours with different labels pay for the lack of an edge between them.
//
// source   Boykov, Jolly, "Interactive graph cuts for optimal boundary and region segmentation of objects in
//          N-D images", 2001, for the energy; Boykov, Kolmogorov, "An experimental comparison of
//          min-cut/max-flow algorithms for energy minimization in vision", 2004, for the max-flow, in the
//          form that Boost.Graph has.
#ifndef SEGMATTE_GRAPHCUT_H
#define SEGMATTE_GRAPHCUT_H

#include "Image.h"

namespace segmatte {

/// What is known of a pixel before the cut.
enum class Known : std::uint8_t { Background, Subject, Free };

/// Labels the free pixels; the others keep what is known of them, and pull at their free neighbours.
///
/// favour   for each free pixel how much more its evidence speaks for the subject than for the background, as
///          a difference of log-likelihoods; values at other pixels are not read
/// smooth   the price of a border between two pixels of one colour, in the same unit; 0 or more
/// cost     about linear in the free pixels: 130,000 take a third of a second
Mask Cut(const Image& image, const Plane<Known>& known, const Plane<float>& favour, float smooth);

}  // namespace segmatte

#endif
