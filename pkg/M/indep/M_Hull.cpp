// Convex hull, by Graham's scan on a grid of integers. No state.
//
// Points that lie inside the octagon of the outermost ones cannot be on the hull, so they are dropped before
// the sort, which is most of the work. What is left is sorted round the lowest point and walked once.

#include <algorithm>
#include <iterator>
#include <limits>

#include "M_Polygon.h"
#include "Mp_Hull.h"

namespace {

// --- The grid ----------------------------------------------------------------------------------------------

struct Axis {
    double least = std::numeric_limits<double>::infinity();
    double most = -std::numeric_limits<double>::infinity();
    double step = 0;

    void Extend(double value)
    {
        if (value < least) least = value;
        if (value > most) most = value;
    }

    void Divide() { step = (most - least) * (1.0 / Mp_kGridCells); }
    int32_t CellOf(double value) const { return Mp_Quantise(value - least, step); }
    double PlaceOf(int32_t cell) const { return least + cell * step; }
};

// --- The octagon -------------------------------------------------------------------------------------------

// How far out a point lies in each of the eight directions, counter-clockwise from the lowest.
constexpr struct {
    int x, y;
} kDirections[] = {{0, -1}, {1, -1}, {1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}};

// The outermost points, without repetition: the corners of a convex polygon, counter-clockwise.
std::vector<M_LongPoint> OutermostPoints(const std::vector<M_LongPoint>& points)
{
    M_LongPoint outermost[std::size(kDirections)];
    int32_t distance[std::size(kDirections)];
    std::fill(std::begin(distance), std::end(distance), std::numeric_limits<int32_t>::min());
    for (const M_LongPoint p : points) {
        for (size_t i = 0; i < std::size(kDirections); ++i) {
            const int32_t out = kDirections[i].x * p.x + kDirections[i].y * p.y;
            if (out <= distance[i]) continue;
            distance[i] = out;
            outermost[i] = p;
        }
    }
    std::vector<M_LongPoint> corners;
    for (const M_LongPoint corner : outermost) {
        if (corners.empty() || corner != corners.back()) corners.push_back(corner);
    }
    if (corners.size() > 1 && corners.front() == corners.back()) corners.pop_back();
    return corners;
}

// Drops what lies strictly inside the octagon. On its edge a point may still be a vertex of the hull.
void DropInnerPoints(std::vector<M_LongPoint>& points)
{
    const std::vector<M_LongPoint> corners = OutermostPoints(points);
    if (corners.size() < 3) return;
    std::erase_if(points, [&corners](M_LongPoint p) {
        M_LongPoint from = corners.back();
        for (const M_LongPoint to : corners) {
            if (Mp_Cross(from, to, p) <= 0) return false;
            from = to;
        }
        return true;
    });
}

// --- The scan ----------------------------------------------------------------------------------------------

M_LongPoint TakePivot(std::vector<M_LongPoint>& points)
{
    const auto lowest = std::min_element(points.begin(), points.end(), [](M_LongPoint a, M_LongPoint b) {
        return a.y != b.y ? a.y < b.y : a.x < b.x;
    });
    const M_LongPoint pivot = *lowest;
    points.erase(lowest);
    return pivot;
}

}  // namespace

int32_t Mp_Quantise(double offset, double step)
{
    const double cell = offset / step + 0.5;
    if (!(cell >= 0)) return 0;
    return cell < Mp_kGridCells ? static_cast<int32_t>(cell) : Mp_kGridCells;
}

std::vector<M_LongPoint> Mp_GridHull(std::vector<M_LongPoint> points)
{
    DropInnerPoints(points);
    const M_LongPoint pivot = TakePivot(points);
    std::sort(points.begin(), points.end(), Mp_CompareAngleAndDist{pivot});

    // The first of each ray is the farthest, and the only one that counts.
    const auto on_one_ray = [pivot](M_LongPoint a, M_LongPoint b) { return Mp_Cross(pivot, a, b) == 0; };
    points.erase(std::unique(points.begin(), points.end(), on_one_ray), points.end());

    std::vector<M_LongPoint> stack = {pivot};
    for (const M_LongPoint p : points) {
        if (p == pivot) continue;  // nothing but copies of one point
        while (stack.size() > 1 && Mp_Cross(stack.end()[-2], stack.back(), p) <= 0) stack.pop_back();
        stack.push_back(p);
    }
    return stack;
}

template <class Iterator, class Point>
void M_ComputeConvexHull(Iterator first, Iterator last, std::vector<Point>& out)
{
    const auto count = static_cast<size_t>(std::distance(first, last));
    if (count <= 3) {
        out = std::vector<Point>(first, last);
        return;
    }
    Axis x, y;
    for (Iterator p = first; p != last; ++p) {
        x.Extend(p->x);
        y.Extend(p->y);
    }
    x.Divide();
    y.Divide();
    std::vector<M_LongPoint> cells;
    cells.reserve(count);
    for (Iterator p = first; p != last; ++p) cells.push_back({x.CellOf(p->x), y.CellOf(p->y)});

    const std::vector<M_LongPoint> hull = Mp_GridHull(std::move(cells));
    out.resize(hull.size());
    for (size_t i = 0; i < hull.size(); ++i) {
        out[i].x = static_cast<decltype(out[i].x)>(x.PlaceOf(hull[i].x));
        out[i].y = static_cast<decltype(out[i].y)>(y.PlaceOf(hull[i].y));
    }
}

#define M_HULL_OF(Iterator, ...) \
    template U_EXPORT void M_ComputeConvexHull(Iterator, Iterator, std::vector<__VA_ARGS__>&)
#define M_HULLS_OF(...)                                               \
    M_HULL_OF(std::vector<__VA_ARGS__>::iterator, __VA_ARGS__);       \
    M_HULL_OF(std::vector<__VA_ARGS__>::const_iterator, __VA_ARGS__); \
    M_HULL_OF(__VA_ARGS__*, __VA_ARGS__);                             \
    M_HULL_OF(const __VA_ARGS__*, __VA_ARGS__)
M_HULLS_OF(M_Vector2T<double>);
M_HULLS_OF(M_Vector3T<double>);
M_HULLS_OF(M_Vector4T<double>);
M_HULLS_OF(zvkcore::geom::PointT<float>);
