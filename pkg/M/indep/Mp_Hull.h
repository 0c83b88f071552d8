/// The hull on the grid: integers, so that every turn is decided exactly.
#ifndef MP_HULL_H
#define MP_HULL_H

#include <cstdint>
#include <vector>

#include "M_Vector.h"

/// Cells of the grid along a side. Differences of coordinates fit 30 bits and their products 64.
constexpr int32_t Mp_kGridCells = 1 << 29;

/// The cross product of the ways from `from` to a and to b: positive when b lies to the left of a.
inline int64_t Mp_Cross(M_LongPoint from, M_LongPoint a, M_LongPoint b)
{
    return int64_t{a.x - from.x} * (b.y - from.y) - int64_t{a.y - from.y} * (b.x - from.x);
}

/// The order of the sweep round a pivot, the lowest point (of those the leftmost): counter-clockwise, and on
/// one ray the farthest first. The pivot's own copies come last.
struct Mp_CompareAngleAndDist {
    M_LongPoint pivot;

    bool operator()(M_LongPoint a, M_LongPoint b) const
    {
        const int64_t turn = Mp_Cross(pivot, a, b);
        return turn != 0 ? turn > 0 : SquaredDistance(a) > SquaredDistance(b);
    }

  private:
    int64_t SquaredDistance(M_LongPoint p) const
    {
        const int64_t x = p.x - pivot.x;
        const int64_t y = p.y - pivot.y;
        return x * x + y * y;
    }
};

/// The place of a coordinate on the grid: `offset` from the least one, in cells of `step`, rounded. What is
/// no number, as without any extent, counts as the least; nothing leaves the grid.
int32_t Mp_Quantise(double offset, double step);

/// The hull of points on the grid, counter-clockwise from its lowest vertex. The points are used up.
std::vector<M_LongPoint> Mp_GridHull(std::vector<M_LongPoint> points);

#endif
