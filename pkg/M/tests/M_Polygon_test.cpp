#include "M_Polygon.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <utility>

#include "FailingAllocator.h"
#include "Mp_Hull.h"
#include "QLTest.h"

namespace {

constexpr unsigned kSeed = 706;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Polygon = std::vector<M_Vector2>;
using Quads = std::vector<M_Vector4>;
using Grid = std::vector<M_LongPoint>;

Polygon HullOf(const Polygon& points)
{
    Polygon hull;
    M_ComputeConvexHull(points.begin(), points.end(), hull);
    return hull;
}

// Whether corners are points, turn left, begin at the lowest, and have all points to the left of each edge; of
// fewer than three, whether the points lie between them.
bool IsHullOf(const Grid& hull, const Grid& points)
{
    for (size_t i = 0; i < hull.size(); ++i) {
        const M_LongPoint a = hull[i], b = hull[(i + 1) % hull.size()], c = hull[(i + 2) % hull.size()];
        if (std::pair(a.y, a.x) < std::pair(hull[0].y, hull[0].x)) return false;
        if (std::find(points.begin(), points.end(), a) == points.end()) return false;
        if (hull.size() > 2 && Mp_Cross(a, b, c) <= 0) return false;
        for (const M_LongPoint p : points) {
            if (Mp_Cross(a, b, p) < 0) return false;
            if (hull.size() > 2) continue;
            if (int64_t{p.x - a.x} * (p.x - b.x) + int64_t{p.y - a.y} * (p.y - b.y) > 0) return false;
        }
    }
    return !hull.empty();
}

TEST(Hull, HoldsEveryPointOfTheGrid)
{
    std::mt19937_64 random(kSeed);
    for (int round = 0; round < 3000; ++round) {
        // From crowded to wide, so that lines, copies and tiny hulls occur; corners of the grid now and then.
        const int32_t side = round % 7 == 0 ? Mp_kGridCells : 1 << (round % 29);
        std::uniform_int_distribution<int32_t> cell(0, side);
        Grid points(4 + random() % (round % 50 == 0 ? 3000 : 40));
        for (M_LongPoint& p : points) p = {cell(random), cell(random)};
        if (round % 3 == 0) std::fill_n(points.begin(), points.size() / 2, points.back());
        if (round % 11 == 0) points.insert(points.end(), {{0, 0}, {side, 0}, {0, side}, {side, side}});
        if (round % 13 == 0) {
            for (M_LongPoint& p : points) p.y = round % 2 == 0 ? p.x / 2 : side - p.x;
        }
        ASSERT_TRUE(IsHullOf(Mp_GridHull(points), points)) << round;
    }
}

TEST(Hull, OfSmallAndOfOddPoints)
{
    struct Row {
        const char* name;
        Polygon points, hull;
    };
    const double huge = 1.5e308;
    const Row rows[] = {
        {"none", {}, {}},
        {"one", {{5, 5}}, {{5, 5}}},
        {"three on a line stay three", {{2, 2}, {0, 0}, {1, 1}}, {{2, 2}, {0, 0}, {1, 1}}},
        {"three alike stay three", {{1, 1}, {1, 1}, {1, 1}}, {{1, 1}, {1, 1}, {1, 1}}},
        {"one inside", {{0, 4}, {1, 1}, {4, 0}, {0, 0}}, {{0, 0}, {4, 0}, {0, 4}}},
        {"on the edges, and copies",
         {{4, 4}, {2, 0}, {0, 0}, {4, 2}, {4, 4}, {0, 4}, {0, 0}, {4, 0}, {2, 4}, {0, 2}},
         {{0, 0}, {4, 0}, {4, 4}, {0, 4}}},
        {"no height", {{3, 7}, {1, 7}, {9, 7}, {1, 7}}, {{1, 7}, {9, 7}}},
        {"no width", {{7, 3}, {7, 1}, {7, 9}, {7, 2}}, {{7, 1}, {7, 9}}},
        {"slanted", {{3, 6}, {1, 2}, {4, 8}, {2, 4}}, {{1, 2}, {4, 8}}},
        {"all alike", {{3, 6}, {3, 6}, {3, 6}, {3, 6}}, {{3, 6}}},
        {"no number counts as the least",
         {{kNaN, 4}, {4, 0}, {8, 4}, {0, 2}},
         {{4, 0}, {8, 4}, {0, 4}, {0, 2}}},
    };
    for (const Row& row : rows) EXPECT_EQ(HullOf(row.points), row.hull) << row.name;
    // Beyond meaning: no undefined conversion, and an end.
    for (const double odd : {kNaN, kInfinity, -kInfinity, huge, -huge, 1e-310}) {
        EXPECT_LE(HullOf({{0, 0}, {odd, 1}, {huge, odd}, {1, 1}, {odd, odd}}).size(), 5u);
        EXPECT_LE(HullOf({{odd, odd}, {odd, odd}, {odd, odd}, {odd, 0}}).size(), 4u);
    }
    using Cell = std::tuple<double, double, int32_t>;
    for (const auto& [offset, step, cell] :
         {Cell{kNaN, 1, 0}, Cell{1, 0, Mp_kGridCells}, Cell{0, 0, 0}, Cell{-1, 1, 0}, Cell{2.5, 1, 3},
          Cell{1e300, 1, Mp_kGridCells}, Cell{Mp_kGridCells, 1, Mp_kGridCells}}) {
        EXPECT_EQ(Mp_Quantise(offset, step), cell) << offset << ' ' << step;
    }
}

TEST(Hull, StandsForItsPointsToWithinACellInEveryForm)
{
    std::mt19937_64 random(kSeed);
    std::uniform_real_distribution<double> angle(0, 6.28);
    Polygon points = {{1e6, 1e6 - 300}, {1e6 + 300, 1e6}, {1e6, 1e6 + 300}, {1e6 - 300, 1e6}};
    Quads quads, out = {{9, 9, 9, 9}};
    std::vector<M_Vector3> triples;
    std::vector<zvkcore::geom::PointT<float>> floats, float_hull;
    while (points.size() < 5000) {
        const double a = angle(random), radius = points.size() % 300;
        points.push_back({1e6 + radius * std::cos(a), 1e6 + radius * std::sin(a)});
    }
    for (const M_Vector2& p : points) {
        quads.push_back({p.x, p.y, 5, 5});
        triples.push_back({p.x, p.y, 5});
        floats.push_back({static_cast<float>(p.x), static_cast<float>(p.y)});
    }
    Polygon hull = HullOf(points);
    EXPECT_TRUE(M_IsConvex(hull.begin(), hull.end()));
    for (const M_Vector2& a : hull) {
        double nearest = 1e300;
        for (const M_Vector2& p : points)
            nearest = std::min(nearest, std::max(std::fabs(p.x - a.x), std::fabs(p.y - a.y)));
        ASSERT_LT(nearest, 600 * 0x1p-29);
    }
    // What is behind the second component stays, or is 0.
    M_ComputeConvexHull(std::as_const(quads).data(), std::as_const(quads).data() + quads.size(), out);
    ASSERT_EQ(out.size(), hull.size());
    EXPECT_EQ(out[0], (M_Vector4{hull[0].x, hull[0].y, 9, 9}));
    EXPECT_EQ(out[1], (M_Vector4{hull[1].x, hull[1].y, 0, 0}));
    M_ComputeConvexHull(triples.begin(), triples.end(), triples);  // into itself
    EXPECT_EQ(triples.size(), hull.size());
    EXPECT_TRUE(M_IsConvex(triples.begin(), triples.end()) && M_IsConvex(quads.end(), quads.end()));
    M_ComputeConvexHull(floats.data(), floats.data() + floats.size(), float_hull);
    EXPECT_EQ(float_hull[0].y, 1e6f - 300);
}

TEST(Hull, LeavesTheOutputAloneWhenMemoryRunsOut)
{
    const Polygon points = {{0, 0}, {4, 0}, {4, 4}, {0, 4}, {2, 2}};
    const Quads clip = {{0, 0, 0, 0}, {4, 0, 0, 0}, {4, 4, 0, 0}};
    bool kept = true;
    qltest::EveryAllocationFails([&] {
        Polygon hull;
        Quads left;
        try {
            M_ComputeConvexHull(points.begin(), points.end(), hull);
            M_PolyPolyClip2D(&clip, &clip, &left);
        } catch (const std::bad_alloc&) {
            kept = kept && (hull.empty() || hull.size() == 4) && left.empty();
            throw;
        }
        return true;
    });
    EXPECT_TRUE(kept);
}

TEST(Polygons, Convexity)
{
    struct Row {
        const char* name;
        Polygon points;
        bool convex;
    };
    for (const Row& row :
         {Row{"two", {{0, 0}, {1, 0}}, true}, Row{"square", {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, true},
          Row{"clockwise", {{0, 1}, {1, 1}, {1, 0}, {0, 0}}, true},
          Row{"repeated vertex", {{0, 0}, {1, 0}, {1, 0}, {1, 1}, {0, 1}, {0, 0}}, true},
          Row{"bow-tie", {{0, 0}, {1, 1}, {1, 0}, {0, 1}}, false},
          Row{"dent at the seam", {{2, 1}, {4, 0}, {4, 4}, {0, 4}, {0, 0}}, false},
          Row{"line", {{0, 0}, {3, 3}, {1, 1}}, true}, Row{"one point", {{2, 2}, {2, 2}, {2, 2}}, true},
          Row{"dent within rounding", {{-0.1, -0.7}, {0, 0}, {0.3, 2.1}, {5, 0}}, true},
          Row{"dent within rounding", {{-0.3, -2.1}, {0, 0}, {0.1, 0.7}, {5, 0}}, true},
          Row{"dent beyond rounding", {{0, 0}, {0.5, 1e-15}, {1, 0}, {1, 1}, {0, 1}}, false},
          Row{"pentagram winds twice", {{0, 3}, {-2, -3}, {3, 1}, {-3, 1}, {2, -3}}, true}}) {
        EXPECT_EQ(M_IsConvex(row.points.begin(), row.points.end()), row.convex) << row.name;
    }
}

TEST(Polygons, AreaAgreesWithTheSidesOneByOne)
{
    std::mt19937_64 random(kSeed);
    const auto coordinate = [&random] { return static_cast<double>(random() % 1000); };
    for (int count = 0; count < 60; ++count) {
        Polygon p(static_cast<size_t>(count));
        double doubled = 0;
        for (M_Vector2& v : p) v = {coordinate(), coordinate()};
        for (size_t i = 0; i < p.size(); ++i) {
            const M_Vector2 a = p[i], b = p[(i + 1) % p.size()];
            doubled += a.x * b.y - a.y * b.x;
        }
        ASSERT_EQ(M_SignedPolygonArea2D(p.data(), count), doubled / 2) << count;
    }
    EXPECT_EQ(M_SignedPolygonArea2D(nullptr, -1), 0);
}

Quads Ring(int count, double radius, double x, double turn)
{
    Quads ring;
    for (int i = 0; i < count; ++i) {
        const double angle = turn + 6.283185307179586 * i / count;
        ring.push_back({x + radius * std::cos(angle), radius * std::sin(angle), 5, 7});
    }
    return ring;
}

double AreaOf(const Quads& polygon)
{
    Polygon flat;
    for (const M_Vector4& v : polygon) flat.push_back({v.x, v.y});
    return M_SignedPolygonArea2D(flat.data(), static_cast<int>(flat.size()));
}

Quads Clip(const Quads& clip, const Quads& subject)
{
    Quads out;
    M_PolyPolyClip2D(&clip, &subject, &out);
    return out;
}

TEST(Polygons, ClipsBySquaresExactly)
{
    const Quads clip = {{0, 0, 0, 0}, {10, 0, 0, 0}, {10, 10, 0, 0}, {0, 10, 0, 0}};
    const Quads other_way(clip.rbegin(), clip.rend());
    std::mt19937_64 random(kSeed);
    for (int round = 0; round < 1000; ++round) {
        const auto next = [&random] { return static_cast<double>(random() % 300) / 10 - 10; };
        const double l = next(), t = next(), r = l + 1 + static_cast<double>(random() % 20), b = t + 5;
        const double width = std::min(r, 10.0) - std::max(l, 0.0),
                     height = std::min(b, 10.0) - std::max(t, 0.0);
        const double area = width > 1e-6 && height > 1e-6 ? width * height : 0;
        const Quads subject = {{l, t, 1, 1}, {r, t, 1, 1}, {r, b, 1, 1}, {l, b, 1, 1}};
        ASSERT_NEAR(AreaOf(Clip(clip, subject)), area, 1e-5) << l << ' ' << t;
        ASSERT_NEAR(AreaOf(Clip(other_way, subject)), area, 1e-5) << l << ' ' << t;
        // Halved by its diagonal, a subject is still as large as its halves.
        const Quads upper = {subject[0], subject[1], subject[2]},
                    lower = {subject[0], subject[2], subject[3]};
        const Quads octagon = Ring(8, 9, 3, 0.1);
        ASSERT_NEAR(AreaOf(Clip(octagon, subject)),
                    AreaOf(Clip(octagon, upper)) + AreaOf(Clip(octagon, lower)), 1e-4);
    }
}

TEST(Polygons, ClipsInTheOddCases)
{
    const Quads clip = Ring(6, 10, 0, 0.2), inside = Ring(5, 3, 1, 0), around = Ring(40, 100, 0, 0);
    const Quads line = {{0, 0, 0, 0}, {1, 1, 0, 0}};
    EXPECT_EQ(Clip(clip, inside), inside);  // with all components
    EXPECT_EQ(Clip({}, inside), inside);
    EXPECT_NEAR(AreaOf(Clip(clip, around)), AreaOf(clip), 1e-6);
    for (const auto& [by, subject] :
         {std::pair(clip, Ring(5, 3, 50, 0)), {clip, line}, {{{0, 0, 0, 0}}, inside}, {line, inside}}) {
        EXPECT_TRUE(Clip(by, subject).empty());
    }

    // A cut vertex has z 0 and w 1. The clip is walked clockwise from its closing edge.
    const Quads unit = {{0, 0, 0, 0}, {0, 2, 0, 0}, {2, 2, 0, 0}, {2, 0, 0, 0}};
    const Quads wedge = {{1, 1, 5, 7}, {3, 1, 5, 7}, {1, 1.5, 5, 7}};
    EXPECT_EQ(Clip(unit, wedge), (Quads{{1, 1, 5, 7}, {2, 1, 0, 1}, {2, 1.25, 0, 1}, {1, 1.5, 5, 7}}));
    // On the edge, within the tolerance, is outside.
    EXPECT_TRUE(Clip(unit, {{0, 0.5, 0, 0}, {-1, 1, 0, 0}, {4e-7, 1, 0, 0}}).empty());
    // Across the tolerance on a way nearly parallel to the edge: the numerators, undivided.
    const double x = 2 - 5e-7, across = 1e-13;
    const Quads parallel = Clip(unit, {{x - across, 0.5, 0, 0}, {x + across, 1.5, 0, 0}, {1, 1, 0, 0}});
    ASSERT_EQ(parallel.size(), 4u);
    EXPECT_EQ(parallel[1].x, 4 * ((x + across) - (x - across)));
    EXPECT_NEAR(parallel[1].y, -1e-6, 1e-9);
    Quads odd = {{kNaN, 0, 0, 0}, {kInfinity, 1, 0, 0}, {0, 1, 0, 0}, {1, 0, 0, 0}};
    EXPECT_LE(Clip(clip, odd).size(), 20u);
    EXPECT_LE(Clip(odd, clip).size(), 20u);
    M_PolyPolyClip2D(&odd, &odd, &odd);
    EXPECT_LE(odd.size(), 20u);
}

}  // namespace
