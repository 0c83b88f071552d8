// Hulls of points in a disc and on a circle, clips of convex polygons, area and convexity, beside Boost.Geometry.
//
// Both sides keep their inputs from round to round, and nothing else: results are built anew.
#include "M_Polygon.h"

#include <boost/geometry.hpp>
#include <boost/geometry/algorithms/is_convex.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <string>
#include <vector>

#include "Ratio.h"

namespace {

namespace bg = boost::geometry;
using PeerPoint = bg::model::d2::point_xy<double>;
using PeerPolygon = bg::model::polygon<PeerPoint, false, true>;
using PeerPoints = bg::model::multi_point<PeerPoint>;
using Flat = std::vector<M_Vector2>;

Flat Disc(int count)
{
    Flat points;
    uint32_t s = 9;
    const auto next = [&s] { return (s = s * 1664525u + 1013904223u) * 2.3283064370807974e-10; };
    while (static_cast<int>(points.size()) < count) {
        const double x = 2 * next() - 1, y = 2 * next() - 1;
        if (x * x + y * y < 1) points.push_back({500 * x, 500 * y});
    }
    return points;
}

// Points that follow each other on a circle.
Flat Ring(int count, double radius, double x, double turn)
{
    Flat points;
    for (int i = 0; i < count; ++i) {
        const double angle = turn + 2 * std::numbers::pi * i / count;
        points.push_back({x + radius * std::cos(angle), radius * std::sin(angle)});
    }
    return points;
}

// The same points in an order without order.
Flat Shuffled(Flat points)
{
    uint32_t s = 11;
    for (size_t i = points.size() - 1; i > 0; --i) {
        s = s * 1664525u + 1013904223u;
        std::swap(points[i], points[(s >> 8) % (i + 1)]);
    }
    return points;
}

std::vector<M_Vector4> Widen(const Flat& points)
{
    std::vector<M_Vector4> wide;
    for (const M_Vector2& p : points) wide.push_back({p.x, p.y, 0, 1});
    return wide;
}

PeerPoints ToPeerPoints(const Flat& points)
{
    PeerPoints peer;
    for (const M_Vector2& p : points) bg::append(peer, PeerPoint(p.x, p.y));
    return peer;
}

PeerPolygon ToPeer(const Flat& points)
{
    PeerPolygon peer;
    for (const M_Vector2& p : points) bg::append(peer.outer(), PeerPoint(p.x, p.y));
    bg::append(peer.outer(), PeerPoint(points[0].x, points[0].y));
    return peer;
}

template <class Point>
double AreaOf(const std::vector<Point>& polygon)
{
    Flat flat;
    for (const Point& p : polygon) flat.push_back({p.x, p.y});
    return M_SignedPolygonArea2D(flat.data(), static_cast<int>(flat.size()));
}

void Demand(const std::string& row, double ours, double peer)
{
    if (std::fabs(ours - peer) <= 1e-6 * std::fabs(peer)) return;
    std::fprintf(stderr, "%s: ours and the peer disagree: %.17g %.17g\n", row.c_str(), ours, peer);
    std::exit(1);
}

template <class Operation>
qlbench::Body BodyOf(Operation operation)
{
    return [operation](benchmark::State& state) {
        for (auto _ : state) {
            auto result = operation();
            benchmark::DoNotOptimize(result);
        }
    };
}

void AddHull(const std::string& row, double bound, const Flat& points)
{
    const auto ours = [points] {
        Flat hull;
        M_ComputeConvexHull(points.begin(), points.end(), hull);
        return hull;
    };
    const auto peer = [points = ToPeerPoints(points)] {
        PeerPolygon hull;
        bg::convex_hull(points, hull);
        return hull;
    };
    Demand(row, AreaOf(ours()), bg::area(peer()));
    qlbench::Pair(row, bound, BodyOf(ours), BodyOf(peer));
}

void AddClip(int count, double bound)
{
    const std::string row =
        "clip of " + std::to_string(count) + " by " + std::to_string(count) + " vertices / Boost.Geometry";
    const Flat clip = Ring(count, 100, 0, 0), subject = Ring(count, 100, 50, 0.1);
    const auto ours = [clip = Widen(clip), subject = Widen(subject)] {
        std::vector<M_Vector4> out;
        M_PolyPolyClip2D(&clip, &subject, &out);
        return out;
    };
    const auto peer = [clip = ToPeer(clip), subject = ToPeer(subject)] {
        std::vector<PeerPolygon> out;
        bg::intersection(clip, subject, out);
        return out;
    };
    Demand(row, AreaOf(ours()), bg::area(peer()[0]));
    qlbench::Pair(row, bound, BodyOf(ours), BodyOf(peer));
}

void AddMeasures()
{
    const Flat ring = Ring(1000, 100, 0, 0);
    const auto our_area = [ring] {
        return M_SignedPolygonArea2D(ring.data(), static_cast<int>(ring.size()));
    };
    const auto peer_area = [ring = ToPeer(ring)] { return bg::area(ring); };
    Demand("area", our_area(), peer_area());
    qlbench::Pair("area of 1,000 vertices / Boost.Geometry", 1.0, BodyOf(our_area), BodyOf(peer_area));

    const auto our_convexity = [ring] { return M_IsConvex(ring.begin(), ring.end()); };
    const auto peer_convexity = [ring = ToPeer(ring)] { return bg::is_convex(ring); };
    Demand("convexity", our_convexity(), peer_convexity());
    qlbench::Pair("convexity of 1,000 vertices / Boost.Geometry", 0, BodyOf(our_convexity),
                  BodyOf(peer_convexity));
}

}  // namespace

int main(int argc, char** argv)
{
    AddHull("hull of 100 points in a disc / Boost.Geometry", 0, Disc(100));
    AddHull("hull of 100,000 points in a disc / Boost.Geometry", 0.8, Disc(100000));
    AddHull("hull of 100,000 points on a circle / Boost.Geometry", 0, Shuffled(Ring(100000, 500, 0, 0)));
    AddClip(4, 0.1);
    AddClip(64, 0.8);
    AddMeasures();
    return qlbench::Main(argc, argv);
}
