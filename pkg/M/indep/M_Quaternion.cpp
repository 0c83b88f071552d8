// Quaternions: to and from matrices, and between two of them. No state.

#include <cmath>

#include "Mp_Rotation.h"

bool Mp_AreNearlyEqual(double a, double b)
{
    constexpr double kRelative = 1e-12;
    constexpr double kAbsolute = 1.000088900582341e-12;
    if (std::fabs(a) < std::fabs(b)) {
        const double other = a;
        a = b;
        b = other;
    }
    if (a < 0) {
        a = -a;
        b = -b;
    }
    const double relative = a * kRelative;
    return a - b < (relative > kAbsolute ? relative : kAbsolute);
}

Err M_QuatToMatrix4(const M_Quaternion* q, M_Matrix4* out)
{
    const auto [x, y, z, w] = *q;
    *out = {{{w * w + x * x - y * y - z * z, 2 * (x * y + z * w), 2 * (x * z - y * w), 0},
             {2 * (x * y - z * w), w * w + y * y - x * x - z * z, 2 * (y * z + x * w), 0},
             {2 * (x * z + y * w), 2 * (y * z - x * w), w * w + z * z - x * x - y * y, 0},
             {0, 0, 0, 1}}};
    return U_Err_NONE;
}

// From the component that is surely not small: w when the trace is positive, else that of the greatest
// diagonal element.
// source: K. Shoemake, "Animating rotation with quaternion curves", 1985
Err M_Matrix4ToQuat(const M_Matrix4* matrix, M_Quaternion* out)
{
    const auto& m = matrix->m;
    const double trace = m[0][0] + m[1][1] + m[2][2];
    if (trace > 0) {
        const double r = std::sqrt(trace + 1);
        const double k = 0.5 / r;
        *out = {k * (m[1][2] - m[2][1]), k * (m[2][0] - m[0][2]), k * (m[0][1] - m[1][0]), r / 2};
        return U_Err_NONE;
    }
    constexpr int kNext[] = {1, 2, 0};
    int i = m[1][1] > m[0][0] ? 1 : 0;
    if (m[2][2] > m[i][i]) i = 2;
    const int j = kNext[i];
    const int l = kNext[j];
    const double r = std::sqrt(m[i][i] - (m[j][j] + m[l][l]) + 1);
    const double k = 0.5 / r;
    double parts[3];
    parts[i] = r / 2;
    parts[j] = k * (m[i][j] + m[j][i]);
    parts[l] = k * (m[i][l] + m[l][i]);
    *out = {parts[0], parts[1], parts[2], k * (m[j][l] - m[l][j])};
    return U_Err_NONE;
}

Err M_Slerp(const M_Quaternion* q0, const M_Quaternion* q1, M_Quaternion* out, double t)
{
    constexpr double kStraight = 1e-5;
    const M_Quaternion a = *q0;
    const M_Quaternion b = *q1;
    if (Mp_AreNearlyEqual(a.x, b.x) && Mp_AreNearlyEqual(a.y, b.y) && Mp_AreNearlyEqual(a.z, b.z) &&
        Mp_AreNearlyEqual(a.w, b.w)) {
        *out = a;
        return U_Err_NONE;
    }
    const double dot = a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
    const double cosine = std::fabs(dot);
    double w0 = 1 - t;
    double w1 = t;
    if (1 - cosine > kStraight) {
        const double theta = std::acos(cosine);
        const double k = 1 / std::sin(theta);
        w0 = std::sin((1 - t) * theta) * k;
        w1 = std::sin(t * theta) * k;
    }
    // A quaternion and its negative are one rotation; the nearer of the two is the short way round.
    if (dot < 0) w1 = -w1;
    *out = {w0 * a.x + w1 * b.x, w0 * a.y + w1 * b.y, w0 * a.z + w1 * b.z, w0 * a.w + w1 * b.w};
    return U_Err_NONE;
}
