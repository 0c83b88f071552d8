// The transform family for points and vectors: each member is a kernel, the size of its point, and what it
// does about a point that cannot be transformed. No state.

#include <algorithm>
#include <cstring>
#include <limits>

#include "M.h"
#include "M_Matrix.h"
#include "Mp_Err.h"
#include "Mp_Integer.h"
#include "Mp_Kernels.h"
#include "Up_Err.h"

namespace {

// Reports of the family name these places.
constexpr uint32_t kTransformPoints = 38;
constexpr uint32_t kTransformFixPoints = 39;
constexpr unsigned kZeroWeight3 = 0x110039;
constexpr unsigned kZeroWeight4 = 0x11003A;
constexpr int kTextFixedPoint = 25;
constexpr int kTextPoint = 26;
constexpr int kTextZeroWeight = 40;

using Member = Mp_Kernel Mp_KernelSet::*;

template <class Matrix, class Point>
size_t Transform(Mp_Kernel kernel, const Matrix* m, int32_t count, Point* points)
{
    return Mp_TransformBatch(kernel, m, sizeof *m, count, points, sizeof *points);
}

template <class Matrix, class Point>
Err TransformAll(Member kernel, const Matrix* m, int32_t count, Point* points)
{
    Transform(Mp_g_kernels->*kernel, m, count, points);
    return U_Err_NONE;
}

// --- Integers ----------------------------------------------------------------------------------------------

template <class Integer, int kUnit>
struct IntegerPoint {
    Integer x, y;

    M_Vector2 Widen() const { return {x / double{kUnit}, y / double{kUnit}}; }

    // False, and nothing is written, when a coordinate does not fit or is no number.
    bool Narrow(const M_Vector2& from)
    {
        const double whole_x = Mp_RoundToWhole(from.x * kUnit);
        const double whole_y = Mp_RoundToWhole(from.y * kUnit);
        if (!Fits(whole_x) || !Fits(whole_y)) return false;
        x = static_cast<Integer>(whole_x);
        y = static_cast<Integer>(whole_y);
        return true;
    }

  private:
    static bool Fits(double whole)
    {
        return whole >= std::numeric_limits<Integer>::min() && whole <= std::numeric_limits<Integer>::max();
    }
};

// A kernel of integer points: through doubles, some at a time, and back until one does not fit.
template <class Point>
size_t TransformIntegers(const void* matrix, size_t count, void* points)
{
    constexpr size_t kPiece = 128;
    const Mp_Kernel kernel = Mp_g_kernels->floatPoints;
    char* at = static_cast<char*>(points);
    Point point;
    for (size_t done = 0; done < count; done += kPiece) {
        M_Vector2 wide[kPiece];
        const size_t piece = std::min(kPiece, count - done);
        for (size_t i = 0; i < piece; ++i) {
            std::memcpy(&point, at + i * sizeof point, sizeof point);
            wide[i] = point.Widen();
        }
        kernel(matrix, piece, wide);
        for (size_t i = 0; i < piece; ++i, at += sizeof point) {
            if (!point.Narrow(wide[i])) return done + i;
            std::memcpy(at, &point, sizeof point);
        }
    }
    return count;
}

template <class Integer, int kUnit, class Point>
Err TransformUntilOverflow(const M_Matrix3* m, int32_t count, Point* points, uint32_t location, int text)
{
    using Converted = IntegerPoint<Integer, kUnit>;
    static_assert(sizeof(Converted) == sizeof(Point));
    const size_t done = Transform(TransformIntegers<Converted>, m, count, points);
    if (count < 1 || done == static_cast<size_t>(count)) return U_Err_NONE;
    return static_cast<Err>(Mp_ReportErr(location, M_Err_OVERFLOW, text));
}

// --- Homogeneous points ------------------------------------------------------------------------------------

template <class Matrix, class Point>
void TransformOrThrow(Member kernel, const Matrix* m, int32_t count, Point* points, unsigned location)
{
    const size_t done = Transform(Mp_g_kernels->*kernel, m, count, points);
    if (count < 1 || done == static_cast<size_t>(count)) return;
    Up_ReportErrString(location, U_Sev_PROBLEM, Mp_String(kTextZeroWeight));
    throw int{M_Err_ZERO_WEIGHT};
}

}  // namespace

Err M_TransformFloatPoints(const M_Matrix3* m, int32_t count, M_Vector2* points)
{
    return TransformAll(&Mp_KernelSet::floatPoints, m, count, points);
}

Err M_Transform3DFloatPoints(const M_Matrix4* m, int32_t count, M_Vector3* points)
{
    return TransformAll(&Mp_KernelSet::floatPoints3D, m, count, points);
}

Err M_TransformVector3(const M_Matrix3* m, int32_t count, M_Vector3* vectors)
{
    return TransformAll(&Mp_KernelSet::vectors3, m, count, vectors);
}

Err M_TransformVector4NoDivide(const M_Matrix4* m, int32_t count, M_Vector4* vectors)
{
    return TransformAll(&Mp_KernelSet::vectors4, m, count, vectors);
}

Err M_TransformVector4(const M_Matrix4* m, int32_t count, M_Vector4* vectors)
{
    return TransformAll(&Mp_KernelSet::divided4, m, count, vectors);
}

Err M_TransformPoints(const M_Matrix3* m, int32_t count, M_Point* points)
{
    return TransformUntilOverflow<int16_t, 1>(m, count, points, kTransformPoints, kTextPoint);
}

Err M_TransformFixPoints(const M_Matrix3* m, int32_t count, M_FixPoint* points)
{
    return TransformUntilOverflow<int32_t, 65536>(m, count, points, kTransformFixPoints, kTextFixedPoint);
}

void M_Matrix3::TransformPointAndDivide(M_Vector3* point) const
{
    TransformPointsAndDivide(1, point);
}

void M_Matrix3::TransformPointsAndDivide(int32_t count, M_Vector3* points) const
{
    TransformOrThrow(&Mp_KernelSet::checked3, this, count, points, kZeroWeight3);
}

void M_Matrix3::TransformPointAndDivideFast(M_Vector3* point) const
{
    TransformPointsAndDivideFast(1, point);
}

void M_Matrix3::TransformPointsAndDivideFast(int32_t count, M_Vector3* points) const
{
    TransformAll(&Mp_KernelSet::fast3, this, count, points);
}

void M_Matrix4::TransformPointAndDivide(M_Vector4* point) const
{
    TransformPointsAndDivide(1, point);
}

void M_Matrix4::TransformPointsAndDivide(int32_t count, M_Vector4* points) const
{
    TransformOrThrow(&Mp_KernelSet::checked4, this, count, points, kZeroWeight4);
}

void M_Matrix4::TransformPointAndDivideFast(M_Vector4* point) const
{
    TransformPointsAndDivideFast(1, point);
}

void M_Matrix4::TransformPointsAndDivideFast(int32_t count, M_Vector4* points) const
{
    TransformAll(&Mp_KernelSet::fast4, this, count, points);
}
