// Rotations about axes: any axis, and the three of a matrix one after the other. No state.

#include "M_Rotation.h"

#include <algorithm>
#include <cmath>

#include "Mp_Err.h"
#include "Mp_Matrix.h"
#include "Up_Err.h"

namespace {

constexpr double kNoLength = 1e-12;

// What is shorter than this, in length or in every coordinate, is no axis.
bool CountsAsZero(double value)
{
    return value > -kNoLength && value < kNoLength;
}

// source: the formula of Rodrigues, for row vectors
M_Matrix4 RotationAbout(double x, double y, double z, double angle)
{
    const double s = std::sin(angle);
    const double c = std::cos(angle);
    const double t = 1 - c;
    return {{{c + t * x * x, t * x * y + s * z, t * x * z - s * y, 0},
             {t * x * y - s * z, c + t * y * y, t * y * z + s * x, 0},
             {t * x * z + s * y, t * y * z - s * x, c + t * z * z, 0},
             {0, 0, 0, 1}}};
}

// Turns about a coordinate axis as the matrix carries it.
Err RotateAboutCarried(M_Matrix4* m, M_Vector4 axis, double angle)
{
    M_TransformVector4(m, 1, &axis);
    if (CountsAsZero(axis.x) && CountsAsZero(axis.y) && CountsAsZero(axis.z)) return U_Err_NONE;
    return M_RotateMatrix4(m, 0, nullptr, axis.x, axis.y, axis.z, angle);
}

}  // namespace

Err M_RotateMatrix4(M_Matrix4* m, int /*flag*/, void* /*context*/, double x, double y, double z, double angle)
{
    constexpr unsigned kLocation = 0x11002E;
    constexpr int kTextNoRotation = 35;
    const double length = std::sqrt(x * x + y * y + z * z);
    if (CountsAsZero(length)) {
        Up_ReportErrString(kLocation, U_Sev_PROBLEM, Mp_String(kTextNoRotation));
        return U_Err_BAD_PARAMETER;
    }
    const M_Matrix4 rotation = RotationAbout(x / length, y / length, z / length, angle);
    return M_ConcatMatrix4(m, &rotation, m);
}

Err M_RotateMatrix4XYZPlus(bool concat, M_Matrix4* m, double rx, double ry, double rz)
{
    M_Matrix4 work = concat ? Mp_kIdentity4 : *m;
    Err err = RotateAboutCarried(&work, {1, 0, 0, 0}, rx);
    if (err == U_Err_NONE) err = RotateAboutCarried(&work, {0, 1, 0, 0}, ry);
    if (err == U_Err_NONE) err = RotateAboutCarried(&work, {0, 0, 1, 0}, rz);
    if (!concat) {
        *m = work;
    } else if (err == U_Err_NONE) {
        err = M_ConcatMatrix4(m, &work, m);
    }
    return err;
}

Err M_RotateMatrix4XYZ(M_Matrix4* m, double rx, double ry, double rz)
{
    return M_RotateMatrix4XYZPlus(true, m, rx, ry, rz);
}
