// Decomposition: the homogeneous scale out, the rows made orthogonal one after the other (Gram and Schmidt),
// a reflection turned into negative scales, and the angles read from what is left. No state.

#include <algorithm>
#include <cmath>
#include <numbers>

#include "M.h"
#include "Mp_Err.h"
#include "Mp_Rotation.h"

namespace {

constexpr uint32_t kDecompose = 45;  // where reports of the family say it was

double Dot(const M_Vector3& a, const M_Vector3& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

M_Vector3 Cross(const M_Vector3& a, const M_Vector3& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

void Negate(M_Vector3& v)
{
    v = {-v.x, -v.y, -v.z};
}

// The length; what has one is given the length 1.
double Normalise(M_Vector3& v)
{
    const double length = std::sqrt(Dot(v, v));
    if (length > 0) v = {v.x / length, v.y / length, v.z / length};
    return length;
}

// Takes from v what it has of the unit vector, and gives how much that was.
double Remove(const M_Vector3& unit, M_Vector3& v)
{
    const double part = Dot(unit, v);
    v = {v.x - part * unit.x, v.y - part * unit.y, v.z - part * unit.z};
    return part;
}

struct Rows {
    M_Vector3 r0, r1, r2;
};

// Whether a sine or cosine is too small to tell an angle by.
bool CountsAsZero(double value)
{
    constexpr double kLock = 1e-5;
    return value > -kLock && value < kLock;
}

double ArcSine(double sine)
{
    return std::asin(std::clamp(sine, -1.0, 1.0));
}

// The angles of Z Y X. In gimbal lock X and Z turn about one axis, and Z takes both.
M_Vector3 AnglesOfZYX(const Rows& r)
{
    const double y = ArcSine(r.r2.x);
    const double c = std::cos(y);
    if (CountsAsZero(c)) return {0, y, std::atan2(r.r0.y, r.r1.y)};
    const double k = 1 / c;
    return {std::atan2(k * -r.r2.y, k * r.r2.z), y, std::atan2(k * -r.r1.x, k * r.r0.x)};
}

// The angles of X Y Z. In gimbal lock X takes both.
M_Vector3 AnglesOfXYZ(const Rows& r)
{
    const double minus_y = ArcSine(r.r0.z);
    const double c = std::cos(minus_y);
    if (!CountsAsZero(c)) {
        const double k = 1 / c;
        return {std::atan2(k * r.r1.z, k * r.r2.z), -minus_y, std::atan2(k * r.r0.y, k * r.r0.x)};
    }
    // A half turn or none is shown as one about Z, where people look for it.
    if (CountsAsZero(r.r2.y)) return {0, -minus_y, Mp_AreNearlyEqual(r.r1.y, -1) ? std::numbers::pi : 0};
    return {-std::atan2(r.r2.y, r.r1.y), -minus_y, 0};
}

bool HasPerspective(const M_Matrix4& m)
{
    const double w = m.m[3][3];
    return !(w != 0 && m.m[0][3] / w == 0 && m.m[1][3] / w == 0 && m.m[2][3] / w == 0);
}

M_Vector3 DividedRow(const M_Matrix4& m, int row)
{
    const double w = m.m[3][3];
    return {m.m[row][0] / w, m.m[row][1] / w, m.m[row][2] / w};
}

// Leaves the rows of the rotation.
void SplitRows(Rows& r, M_Matrix4Decomp& d)
{
    d.scale.x = Normalise(r.r0);
    d.shear.xy = Remove(r.r0, r.r1);
    d.scale.y = Normalise(r.r1);
    d.shear.xz = Remove(r.r0, r.r2);
    d.shear.yz = Remove(r.r1, r.r2);
    d.scale.z = Normalise(r.r2);
    if (!(Dot(Cross(r.r0, r.r1), r.r2) < 0)) return;
    // Wanted: the shears keep their signs although the rows lose theirs. Stored decompositions have them so.
    Negate(d.scale);
    Negate(r.r0);
    Negate(r.r1);
    Negate(r.r2);
}

bool IsHalfTurn(double angle)
{
    constexpr double kDegrees = 57.29577951308232;
    constexpr double kTolerance = 1e-12;
    const double beyond = std::fabs(angle) * kDegrees - 180;
    return beyond > -kTolerance && beyond < kTolerance;
}

}  // namespace

Err Mp_DecomposeMatrix4(const M_Matrix4* m, M_Matrix4Decomp* out, uint8_t* failed, bool zyx)
{
    const M_Matrix4 matrix = *m;
    *out = {};
    if (failed != nullptr) *failed = 0;
    if (HasPerspective(matrix)) {
        if (failed == nullptr) {
            return static_cast<Err>(Mp_ReportErr(kDecompose, M_Err_MATRIX_NOT_DECOMPOSABLE, 0));
        }
        *failed = 1;
        return M_Err_MATRIX_NOT_DECOMPOSABLE;
    }
    Rows rows = {DividedRow(matrix, 0), DividedRow(matrix, 1), DividedRow(matrix, 2)};
    out->translation = DividedRow(matrix, 3);
    SplitRows(rows, *out);
    // The names of the orders come from matrices on column vectors, where the last factor is applied first.
    out->rotation = zyx ? AnglesOfXYZ(rows) : AnglesOfZYX(rows);
    return U_Err_NONE;
}

Err M_DecomposeMatrix4(const M_Matrix4* m, M_Matrix4Decomp* out, uint8_t* failed)
{
    return Mp_DecomposeMatrix4(m, out, failed, false);
}

Err M_DecomposeMatrix4ZYX(const M_Matrix4* m, M_Matrix4Decomp* out, uint8_t* failed)
{
    return Mp_DecomposeMatrix4(m, out, failed, true);
}

Err M_GetOrderedXYZRotationFromMatrix(const M_Matrix4* m, bool x_first, M_Vector3* rotation)
{
    M_Matrix4Decomp parts;
    const Err err = Mp_DecomposeMatrix4(m, &parts, nullptr, x_first);
    *rotation = parts.rotation;
    return err;
}

Err M_GetXYZRotationFromMatrix(const M_Matrix4* m, M_Vector3* rotation)
{
    return M_GetOrderedXYZRotationFromMatrix(m, false, rotation);
}

// Wanted: the second fold asks for the angle about Y as it was given, before the first fold set its sign, but
// negates the angle about X as the first fold left it.
Err M_Correct3DDecompFor2D(M_Matrix4Decomp* d)
{
    M_Vector3& angles = d->rotation;
    const bool folds_y = IsHalfTurn(angles.y);
    if (IsHalfTurn(angles.x)) {
        d->scale.y = -d->scale.y;
        angles = {0, -angles.y, -angles.z};
    }
    if (folds_y) {
        d->scale.x = -d->scale.x;
        angles = {-angles.x, 0, -angles.z};
    }
    d->scale.z = 1;
    return U_Err_NONE;
}
