// What `--transform` does to frames: steps that move, scale and turn them, and the redrawing of a frame
// through the matrix that the steps make together.
#ifndef QLHOST_TRANSFORM_H
#define QLHOST_TRANSFORM_H

#include <M_Matrix.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "FrameCache.h"

namespace qlhost {

struct TransformStep {
    enum class Kind { Translate, Scale, Rotate };
    Kind kind;
    double a = 0, b = 0;              // pixels; factors; degrees and nothing
    std::optional<M_Vector2> centre;  // in pixels; the middle of the frame if it has none
};
using Transform = std::vector<TransformStep>;

/// Reads steps like "scale 0.5 0.5; rotate 30 about 0 0; translate 100 -20". On failure `why` says in one
/// line what is wrong with which step.
std::optional<Transform> ParseTransform(std::string_view text, std::string& why);

/// The steps in their order, as one matrix on the pixels of a frame of this size. It has an inverse, unless
/// turns between steps that stretch by more than 1e8 in all let rounding flatten it: the redrawn frame means
/// nothing then.
M_Matrix3 MatrixOf(const Transform& transform, const PngSize& size);

/// The frame as the matrix moves its pixels, on black, in a new frame of the same size. Null when memory is
/// out; the library has reported it then.
std::shared_ptr<const Frame> Redraw(const Frame& frame, const Transform& transform);

}  // namespace qlhost

#endif
