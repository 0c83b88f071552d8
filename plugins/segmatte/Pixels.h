// Between the views of a host, in whatever form it keeps its pixels, and the pictures of the algorithms.
#ifndef SEGMATTE_PIXELS_H
#define SEGMATTE_PIXELS_H

#include <SegMatServices.h>

#include "Image.h"

namespace segmatte {

/// Gray becomes colour, and every channel eight bits. A view without pixels gives an image without any.
Image ImageOf(const tessaly::AnyImageView& view);

/// The first channel as eight bits.
Plane<std::uint8_t> GrayOf(const tessaly::AnyImageView& view);

/// What of a view is at least half covered. Without pixels an empty mask of `size`.
Mask StrokesOf(const tessaly::AnyImageView& view, Size size);
/// The same of a receipt, which may be empty.
Mask StrokesOf(const boost::shared_ptr<tessaly::CheckoutReceipt>& receipt, Size size);

/// Writes values to every colour of a view, and full alpha. False, and nothing written, when the sizes
/// differ.
bool Write(const Plane<std::uint8_t>& values, const tessaly::AnyImageView& view);

}  // namespace segmatte

#endif
