/// A plain point of two coordinates.
///
/// No unit and no direction of the axes is implied: they are those of whoever hands the point over. The
/// members lie one behind the other without a gap, so an array of points is an array of coordinates.
#ifndef ZVKCORE_GEOM_POINT_H
#define ZVKCORE_GEOM_POINT_H

#include <type_traits>

namespace zvkcore::geom {

template <class Number>
struct PointT {
    static_assert(std::is_arithmetic_v<Number>);

    using value_type = Number;

    Number x{};
    Number y{};

    friend constexpr bool operator==(const PointT&, const PointT&) = default;
};

static_assert(sizeof(PointT<float>) == 2 * sizeof(float));

}  // namespace zvkcore::geom

#endif
