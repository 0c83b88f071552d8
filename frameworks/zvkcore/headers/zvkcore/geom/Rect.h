/// A plain rectangle: the corner with the smallest coordinates, and the extents from there.
///
///   (left, top) ----- width ----->
///        |
///      height
///
/// Nothing is normalised: a negative extent stays as it was given. No unit is implied.
#ifndef ZVKCORE_GEOM_RECT_H
#define ZVKCORE_GEOM_RECT_H

#include <type_traits>

namespace zvkcore::geom {

template <class Number>
struct RectT {
    static_assert(std::is_arithmetic_v<Number>);

    using value_type = Number;

    Number left{};
    Number top{};
    Number width{};
    Number height{};

    friend constexpr bool operator==(const RectT&, const RectT&) = default;
};

static_assert(sizeof(RectT<float>) == 4 * sizeof(float));

}  // namespace zvkcore::geom

#endif
