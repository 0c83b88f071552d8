/// Polygons of the plane: convex hull, convexity, signed area, and the clip of one polygon by another.
///
///     std::vector<M_Vector2> hull;
///     M_ComputeConvexHull(points.begin(), points.end(), hull);
///     const double area = M_SignedPolygonArea2D(hull.data(), static_cast<int>(hull.size()));
///
/// Ground rules. A polygon is its vertices in order; the last is joined to the first and not repeated. Only
/// the first two components of a point are looked at. "Counter-clockwise" is meant with y up. Coordinates are
/// finite; what others do is told where it matters, and is never worse than a result without meaning.
///
/// threads  any; no shared state
/// errors   nothing is reported. Running out of memory throws what the standard containers throw, and leaves
///          outputs as they were
#ifndef M_POLYGON_H
#define M_POLYGON_H

#include "M_Vector.h"
#include "U_Types.h"

#ifdef __cplusplus
#include <vector>

#include "zvkcore/geom/Point.h"

extern "C" {
#endif

/// The area, positive for counter-clockwise polygons; 0 for fewer than three vertices. Parts of a polygon
/// that crosses itself count with the sign of their own turn.
U_EXPORT double M_SignedPolygonArea2D(const M_Vector2* points, int count);

#ifdef __cplusplus
}

/// Replaces `out` by the convex hull of a range of points, counter-clockwise from its lowest vertex (of those
/// the leftmost). No vertex lies on an edge, and of equal points one is left.
///
/// The points are put on a grid of 2^29 cells along each side of their bounding box, on which every turn is
/// decided exactly. Vertices come out as places of the grid, at most half a cell from the points that they
/// stand for. Components behind the second are not written: entries that `out` already had keep theirs, new
/// ones have 0.
///
/// Up to three points are no hull's work: they come out as they are, in their order, even on one line. Of
/// more points the hull may be less than a triangle. With no extent in x or y it is the two ends; a slanted
/// line gives them too, and may give more vertices, each within a cell of the line; points that are all the
/// same give one. A coordinate that is no number counts as the least one. When the extent of a side is
/// infinite, that coordinate of the result is no number.
///
/// first, last  iterators of a vector, or pointers; the points may be those of `out`
/// memory       eight bytes a point, and the hull
template <class Iterator, class Point>
void M_ComputeConvexHull(Iterator first, Iterator last, std::vector<Point>& out);

/// Whether a polygon turns one way only. Turns that rounding alone could explain count as straight, so
/// repeated vertices and vertices on an edge do no harm; fewer than three points, and points on a line, are
/// convex. Only turns are looked at: a star that winds round twice without turning back is convex too.
template <class Iterator>
bool M_IsConvex(Iterator first, Iterator last);

/// Replaces `out` by what of `subject` lies inside the convex polygon `clip`, whichever way that turns.
///
/// A place on an edge of `clip` lies outside, and so does one whose distance from it, times the edge's
/// length, is no more than 1e-6. Vertices of `subject` that are kept keep all components; where an edge is
/// cut, z is 0 and w is 1. A subject that is not convex may come out with edges that run along the clip and
/// enclose nothing. Without a vertex `clip` clips nothing; with one or two it leaves nothing.
///
/// out     may be `clip` or `subject`
/// source  I. Sutherland, G. Hodgman, "Reentrant polygon clipping", 1974
U_EXPORT void M_PolyPolyClip2D(const std::vector<M_Vector4T<double>>* clip,
                               const std::vector<M_Vector4T<double>>* subject,
                               std::vector<M_Vector4T<double>>* out);

// The library holds these members of the two templates.

#define M_HULL_OF(Iterator, ...) \
    extern template U_EXPORT void M_ComputeConvexHull(Iterator, Iterator, std::vector<__VA_ARGS__>&)
#define M_HULLS_OF(...)                                               \
    M_HULL_OF(std::vector<__VA_ARGS__>::iterator, __VA_ARGS__);       \
    M_HULL_OF(std::vector<__VA_ARGS__>::const_iterator, __VA_ARGS__); \
    M_HULL_OF(__VA_ARGS__*, __VA_ARGS__);                             \
    M_HULL_OF(const __VA_ARGS__*, __VA_ARGS__)
M_HULLS_OF(M_Vector2T<double>);
M_HULLS_OF(M_Vector3T<double>);
M_HULLS_OF(M_Vector4T<double>);
M_HULLS_OF(zvkcore::geom::PointT<float>);
#undef M_HULLS_OF
#undef M_HULL_OF

#define M_CONVEXITY_OF(Iterator) extern template U_EXPORT bool M_IsConvex(Iterator, Iterator)
M_CONVEXITY_OF(std::vector<M_Vector2T<double>>::iterator);
M_CONVEXITY_OF(std::vector<M_Vector3T<double>>::iterator);
M_CONVEXITY_OF(std::vector<M_Vector4T<double>>::iterator);
M_CONVEXITY_OF(std::vector<M_Vector2T<double>>::const_iterator);
M_CONVEXITY_OF(std::vector<M_Vector3T<double>>::const_iterator);
M_CONVEXITY_OF(std::vector<M_Vector4T<double>>::const_iterator);
#undef M_CONVEXITY_OF

#endif
#endif
