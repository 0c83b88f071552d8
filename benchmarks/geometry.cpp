// Matrices of doubles beside glm, Eigen and Imath; 100,000 points through one; decomposition and slerp.
//
// The peers are headers, inlined into this program; ours are calls of the shared library. Points are transformed
// in place on both sides, by a rotation with a weight of 2, so that they neither grow nor vanish from round to
// round. Between rounds nobody keeps anything.
#include "M_Matrix.h"

#include <Imath/ImathMatrix.h>
#include <Imath/ImathMatrixAlgo.h>

#include <Eigen/Dense>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <glm/glm.hpp>
#include <glm/gtc/quaternion.hpp>
#include <memory>
#include <string>
#include <vector>

#include "M_Rotation.h"
#include "Ratio.h"

namespace {

constexpr int kPoints = 100000;
constexpr double kMatrix[16] = {1.1, 0.2, -0.3, 0, -0.1, 0.9, 0.4, 0, 0.25, -0.35, 1.2, 0, 10, -20, 30, 1};

template <class Matrix>
Matrix Load(const double* from = kMatrix)
{
    Matrix m;
    std::memcpy(static_cast<void*>(&m), from, sizeof m);
    return m;
}

// The outputs of both, number by number.
template <class Ours, class Peer>
void Demand(const std::string& row, const Ours& ours, const Peer& peer)
{
    static_assert(sizeof ours == sizeof peer);
    double a[sizeof ours / sizeof(double)], b[sizeof ours / sizeof(double)];
    std::memcpy(a, &ours, sizeof ours);
    std::memcpy(b, &peer, sizeof peer);
    for (size_t i = 0; i < std::size(a); ++i) {
        if (std::fabs(a[i] - b[i]) <= 1e-12 * (1 + std::fabs(b[i]))) continue;
        std::fprintf(stderr, "%s: ours and the peer disagree: %.17g %.17g\n", row.c_str(), a[i], b[i]);
        std::exit(1);
    }
}

// A body of an operation on two operands of one type.
template <class Operand, class Operation>
qlbench::Body BodyOf(Operand a, Operand b, Operation operation)
{
    return [=](benchmark::State& state) {
        Operand left = a, right = b;
        for (auto _ : state) {
            benchmark::DoNotOptimize(left);
            benchmark::DoNotOptimize(right);
            auto result = operation(left, right);
            benchmark::DoNotOptimize(result);
        }
    };
}

template <class Ours, class Peer, class OurOperation, class PeerOperation>
void PairOf(const std::string& row, double bound, const Ours (&ours)[2], OurOperation our_operation,
            const Peer (&peer)[2], PeerOperation peer_operation)
{
    Demand(row, our_operation(ours[0], ours[1]), peer_operation(peer[0], peer[1]));
    qlbench::Pair(row, bound, BodyOf(ours[0], ours[1], our_operation),
                  BodyOf(peer[0], peer[1], peer_operation));
}

// --- Matrices ----------------------------------------------------------------------------------------------

void AddMatrices()
{
    const M_Matrix4 ours[] = {Load<M_Matrix4>(), Load<M_Matrix4>()};
    const M_Matrix3 ours3[] = {Load<M_Matrix3>(), {}};
    // Columns there are rows here, so the order of factors turns round, and nothing else.
    const glm::dmat4 glms[] = {Load<glm::dmat4>(), Load<glm::dmat4>()};
    const Eigen::Matrix4d eigens[] = {Load<Eigen::Matrix4d>(), Load<Eigen::Matrix4d>()};
    const Imath::M33d imaths[] = {Load<Imath::M33d>(), Imath::M33d()};

    PairOf(
        "4x4 product / glm", 1.1, ours,
        [](const M_Matrix4& a, const M_Matrix4& b) {
            M_Matrix4 out;
            M_ConcatMatrix4(&a, &b, &out);
            return out;
        },
        glms, [](const glm::dmat4& a, const glm::dmat4& b) { return b * a; });
    PairOf(
        "4x4 inverse / Eigen", 1.5, ours,
        [](const M_Matrix4& a, const M_Matrix4&) {
            M_Matrix4 out;
            M_InverseMatrix4Quiet(&a, &out, nullptr);
            return out;
        },
        eigens,
        [](const Eigen::Matrix4d& a, const Eigen::Matrix4d&) { return Eigen::Matrix4d(a.inverse()); });
    const auto invert3 = [](const M_Matrix3& a, const M_Matrix3&) {
        M_Matrix3 out;
        M_InverseMatrixQuiet(&a, &out, nullptr);
        return out;
    };
    PairOf("3x3 inverse with pivoting / Imath", 1.0, ours3, invert3, imaths,
           [](const Imath::M33d& a, const Imath::M33d&) { return a.inverse(); });
    PairOf("3x3 inverse with pivoting / Imath with pivoting", 1.0, ours3, invert3, imaths,
           [](const Imath::M33d& a, const Imath::M33d&) { return a.gjInverse(); });
    const M_Matrix3 singular[2] = {};
    const Imath::M33d singulars[] = {Imath::M33d(0.0), Imath::M33d(0.0)};
    PairOf("3x3 inverse of nothing / Imath", 0, singular, invert3, singulars,
           [](const Imath::M33d& a, const Imath::M33d&) { return a.inverse(); });
}

// --- Points ------------------------------------------------------------------------------------------------

template <class Point>
std::vector<Point> Points()
{
    std::vector<Point> points(kPoints);
    for (int i = 0; i < kPoints; ++i) {
        const double point[4] = {i * 0.5, i * 0.25, i % 7 * 1.0, 1};
        std::memcpy(static_cast<void*>(&points[static_cast<size_t>(i)]), point, sizeof(Point));
    }
    return points;
}

template <class Point, class Operation>
qlbench::Body BodyOfPoints(Operation operation)
{
    return [operation](benchmark::State& state) {
        std::vector<Point> points = Points<Point>();
        for (auto _ : state) {
            operation(points);
            benchmark::ClobberMemory();
        }
    };
}

template <class OurPoint, class PeerPoint, class Ours, class Peer>
void PairOfPoints(const std::string& row, double bound, Ours ours, Peer peer)
{
    std::vector<OurPoint> our_points = Points<OurPoint>();
    std::vector<PeerPoint> peer_points = Points<PeerPoint>();
    ours(our_points);
    peer(peer_points);
    for (size_t i = 0; i < our_points.size(); ++i) Demand(row, our_points[i], peer_points[i]);
    qlbench::Pair(row, bound, BodyOfPoints<OurPoint>(ours), BodyOfPoints<PeerPoint>(peer));
}

M_Matrix4 RotationOfWeightTwo()
{
    M_Matrix4 m;
    M_IdentityMatrix4(&m);
    M_RotateMatrix4(&m, 0, nullptr, 1, 2, 3, 0.7);
    for (auto& row : m.m) {
        for (double& element : row) element *= 2;
    }
    return m;
}

void AddPoints()
{
    const M_Matrix4 m = RotationOfWeightTwo();
    const auto glm = Load<glm::dmat4>(m.m[0]);
    const auto each_by_glm = [glm](std::vector<glm::dvec4>& points) {
        for (glm::dvec4& point : points) {
            const glm::dvec4 p = glm * point;
            point = p * (1 / p.w);
        }
    };
    const auto count = kPoints;
    PairOfPoints<M_Vector4, glm::dvec4>(
        "100,000 points, divided / glm", 1.0,
        [m](std::vector<M_Vector4>& points) { M_TransformVector4(&m, count, points.data()); }, each_by_glm);
    PairOfPoints<M_Vector4, glm::dvec4>(
        "100,000 points, weight checked and divided / glm", 1.0,
        [m](std::vector<M_Vector4>& points) { m.TransformPointsAndDivide(count, points.data()); },
        each_by_glm);

    const M_Matrix3 turn = {{{0.6, 0.8, 0}, {-0.8, 0.6, 0}, {0, 0, 1}}};
    const auto imath = Load<Imath::M33d>(turn.m[0]);
    PairOfPoints<M_Vector2, Imath::V2d>(
        "100,000 points of the plane / Imath", 1.0,
        [turn](std::vector<M_Vector2>& points) { M_TransformFloatPoints(&turn, count, points.data()); },
        [imath](std::vector<Imath::V2d>& points) {
            for (Imath::V2d& point : points) point *= imath;
        });

    // Identity, so that a matrix that is transformed by itself stays what it is.
    M_Matrix4 identity;
    M_IdentityMatrix4(&identity);
    const auto overlapping = [identity](std::vector<M_Vector4>& points) {
        M_Vector4* inside = &points[kPoints / 2];
        std::memcpy(inside, &identity, sizeof identity);
        M_TransformVector4(reinterpret_cast<const M_Matrix4*>(inside), count, points.data());
    };
    PairOfPoints<M_Vector4, M_Vector4>("100,000 points that overlap the matrix / ours", 1.5, overlapping,
                                       [identity](std::vector<M_Vector4>& points) {
                                           std::memcpy(&points[kPoints / 2], &identity, sizeof identity);
                                           M_TransformVector4(&identity, count, points.data());
                                       });
}

// --- Rotations ---------------------------------------------------------------------------------------------

void AddRotations()
{
    const M_Matrix4 ours[] = {Load<M_Matrix4>(), {}};
    const Imath::M44d imaths[] = {Load<Imath::M44d>(), Imath::M44d()};
    PairOf(
        "decomposition / Imath", 0, ours,
        [](const M_Matrix4& m, const M_Matrix4&) {
            M_Matrix4Decomp parts;
            M_DecomposeMatrix4ZYX(&m, &parts, nullptr);
            return parts.rotation;
        },
        imaths,
        [](const Imath::M44d& m, const Imath::M44d&) {
            Imath::V3d scale, shear, rotation, translation;
            Imath::extractSHRT(m, scale, shear, rotation, translation);
            return rotation;
        });
    const M_Quaternion quaternions[] = {{0, 0, 0, 1}, {0.5, 0.5, 0.1, 0.7}};
    const glm::dquat glms[] = {glm::dquat(1, 0, 0, 0), glm::dquat(0.7, 0.5, 0.5, 0.1)};
    PairOf(
        "slerp / glm", 0, quaternions,
        [](const M_Quaternion& a, const M_Quaternion& b) {
            M_Quaternion out;
            M_Slerp(&a, &b, &out, 0.3);
            return out;
        },
        glms, [](const glm::dquat& a, const glm::dquat& b) { return glm::slerp(a, b, 0.3); });
}

}  // namespace

int main(int argc, char** argv)
{
    AddMatrices();
    AddPoints();
    AddRotations();
    return qlbench::Main(argc, argv);
}
