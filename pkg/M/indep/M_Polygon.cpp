// Area, convexity and clipping. No state.

#include "M_Polygon.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace {

struct Way {
    double x, y;
};

template <class Point>
Way Between(const Point& from, const Point& to)
{
    return {to.x - from.x, to.y - from.y};
}

double Cross(Way a, Way b)
{
    return a.x * b.y - a.y * b.x;
}

// --- Convexity ---------------------------------------------------------------------------------------------

// The turn from a to b: -1 clockwise, 1 counter-clockwise, 0 when rounding errors could have made it. The
// bound is that of two products of differences, each with a relative error of e.
int TurnOf(Way a, Way b)
{
    constexpr double e = std::numeric_limits<double>::epsilon();
    const double ax = std::fabs(a.x), ay = std::fabs(a.y), bx = std::fabs(b.x), by = std::fabs(b.y);
    const double bound = (ay * e) * (bx * e) + (ay * e) * bx + ay * (bx * e) + (ax * e) * (by * e) +
                         (ax * e) * by + ax * (by * e);
    const double turn = Cross(a, b);
    if (!(std::fabs(turn) > bound)) return 0;
    return turn < 0 ? -1 : 1;
}

// --- Clipping ----------------------------------------------------------------------------------------------

constexpr double kTolerance = 1e-06;

using Vertex = M_Vector4T<double>;
using Vertices = std::vector<Vertex>;

// The line of a clip polygon's edge. Inside is to its right.
struct Edge {
    Way e;
    double k;

    Edge(const Vertex& a, const Vertex& b) : e(Between(a, b)), k(a.x * e.y - a.y * e.x) {}

    bool HasInside(const Vertex& q) const { return k + e.x * q.y - e.y * q.x < -kTolerance; }

    Vertex Intersect(const Vertex& s, const Vertex& v) const
    {
        constexpr double kParallel = 1e-12;
        const Way f = Between(s, v);
        const double m = s.x * f.y - s.y * f.x;
        const double denominator = e.y * f.x - e.x * f.y;
        const double x = e.x * m - k * f.x;
        const double y = k * f.y - e.y * m;
        // Wanted: nearly parallel, the numerators stand for themselves. The tolerance of the sides makes that
        // rare, and results without the vertex would have other counts than those that were stored.
        if (std::fabs(denominator) < kParallel) return {x, y, 0, 1};
        return {x * -(1 / denominator), y * (1 / denominator), 0, 1};
    }
};

// Whether the first edge has the middle of the polygon to its left, or too close to tell.
bool TurnsCounterClockwise(const Vertices& polygon)
{
    Way middle = {0, 0};
    for (const Vertex& vertex : polygon) {
        middle.x += vertex.x;
        middle.y += vertex.y;
    }
    const double count = static_cast<double>(polygon.size());
    middle = {middle.x / count - polygon[0].x, middle.y / count - polygon[0].y};
    return Cross(Between(polygon[0], polygon[1 % polygon.size()]), middle) >= -kTolerance;
}

// What of `work` lies on the inner side of an edge.
void ClipByEdge(const Edge& edge, const Vertices& work, Vertices& kept)
{
    kept.clear();
    if (work.size() <= 2) return;
    const Vertex* s = &work.back();
    bool s_inside = edge.HasInside(*s);
    for (const Vertex& v : work) {
        const bool v_inside = edge.HasInside(v);
        if (s_inside != v_inside) kept.push_back(edge.Intersect(*s, v));
        if (v_inside) kept.push_back(v);
        s = &v;
        s_inside = v_inside;
    }
}

}  // namespace

// By quadrilaterals from the first vertex, from whose two diagonals the area follows, and a triangle for what
// is left of an odd count.
double M_SignedPolygonArea2D(const M_Vector2* p, int count)
{
    if (count < 3) return 0;
    double doubled = 0;
    for (int i = 2; i + 1 < count; i += 2) {
        doubled += Cross(Between(p[0], p[i]), Between(p[i - 1], p[i + 1]));
    }
    if (count % 2 != 0) doubled += Cross(Between(p[0], p[count - 2]), Between(p[count - 2], p[count - 1]));
    return 0.5 * doubled;
}

template <class Iterator>
bool M_IsConvex(Iterator first, Iterator last)
{
    const auto count = std::distance(first, last);
    if (count < 3) return true;
    Iterator before = std::next(first, count - 1);
    Way a = Between(*std::prev(before), *before);
    int sense = 0;
    for (Iterator p = first; p != last; before = p, ++p) {
        const Way b = Between(*before, *p);
        const int turn = TurnOf(a, b);
        if (turn != 0 && turn == -sense) return false;
        if (sense == 0) sense = turn;
        a = b;
    }
    return true;
}

template U_EXPORT bool M_IsConvex(std::vector<M_Vector2T<double>>::iterator,
                                  std::vector<M_Vector2T<double>>::iterator);
template U_EXPORT bool M_IsConvex(std::vector<M_Vector3T<double>>::iterator,
                                  std::vector<M_Vector3T<double>>::iterator);
template U_EXPORT bool M_IsConvex(std::vector<M_Vector4T<double>>::iterator,
                                  std::vector<M_Vector4T<double>>::iterator);
template U_EXPORT bool M_IsConvex(std::vector<M_Vector2T<double>>::const_iterator,
                                  std::vector<M_Vector2T<double>>::const_iterator);
template U_EXPORT bool M_IsConvex(std::vector<M_Vector3T<double>>::const_iterator,
                                  std::vector<M_Vector3T<double>>::const_iterator);
template U_EXPORT bool M_IsConvex(std::vector<M_Vector4T<double>>::const_iterator,
                                  std::vector<M_Vector4T<double>>::const_iterator);

void M_PolyPolyClip2D(const Vertices* clip, const Vertices* subject, Vertices* out)
{
    Vertices work = *subject;
    Vertices edges = *clip;
    if (edges.empty()) {
        *out = std::move(work);
        return;
    }
    if (TurnsCounterClockwise(edges)) std::reverse(edges.begin(), edges.end());

    Vertices kept;
    kept.reserve(work.size() + edges.size());
    const Vertex* from = &edges.back();
    for (const Vertex& to : edges) {
        ClipByEdge(Edge(*from, to), work, kept);
        work.swap(kept);
        from = &to;
    }
    *out = std::move(work);
}
