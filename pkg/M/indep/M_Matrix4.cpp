// Matrices of space: composition, comparison, ways from and to the plane, and the members that need no
// inverse. No state.

#include <cmath>
#include <functional>

#include "M_Matrix.h"
#include "Mp_Kernels.h"
#include "Mp_Matrix.h"

Err M_ZeroMatrix4(M_Matrix4* m)
{
    *m = {};
    return U_Err_NONE;
}

Err M_IdentityMatrix4(M_Matrix4* m)
{
    *m = Mp_kIdentity4;
    return U_Err_NONE;
}

Err M_SetMatrix4CoB(const M_Vector3* u, const M_Vector3* v, const M_Vector3* w, M_Matrix4* out)
{
    *out = {{{u->x, v->x, w->x, 0}, {u->y, v->y, w->y, 0}, {u->z, v->z, w->z, 0}, {0, 0, 0, 1}}};
    return U_Err_NONE;
}

Err M_ConcatMatrix4(const M_Matrix4* a, const M_Matrix4* b, M_Matrix4* out)
{
    return Mp_g_kernels->product4(a, b, out);
}

Err M_TranslateMatrix4(M_Matrix4* m, double x, double y, double z)
{
    const M_Matrix4 translation = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {x, y, z, 1}}};
    return M_ConcatMatrix4(m, &translation, m);
}

Err M_ScaleMatrix4(M_Matrix4* m, double x, double y, double z)
{
    const M_Matrix4 scale = {{{x, 0, 0, 0}, {0, y, 0, 0}, {0, 0, z, 0}, {0, 0, 0, 1}}};
    return M_ConcatMatrix4(m, &scale, m);
}

Err M_TransposeMatrix4(const M_Matrix4* m, M_Matrix4* out)
{
    *out = *m;
    out->Transpose();
    return U_Err_NONE;
}

bool M_EqualMatrix4(const M_Matrix4* a, const M_Matrix4* b)
{
    return Mp_AreEqual(a->m, b->m);
}

bool M_EqualMatrixWithinEpsilon(const M_Matrix4* a, const M_Matrix4* b, double epsilon)
{
    return Mp_AreNear(a->m, b->m, epsilon);
}

Err M_Matrix3ToMatrix4(const M_Matrix3* matrix, M_Matrix4* out)
{
    const auto& m = matrix->m;
    *out = {{{m[0][0], m[0][1], 0, m[0][2]},
             {m[1][0], m[1][1], 0, m[1][2]},
             {0, 0, 1, 0},
             {m[2][0], m[2][1], 0, m[2][2]}}};
    return U_Err_NONE;
}

Err M_Matrix3ToMatrix4Uniform(const M_Matrix3* m, M_Matrix4* out)
{
    M_Matrix3ToMatrix4(m, out);
    out->m[2][2] = std::sqrt(std::fabs(m->m[0][0] * m->m[1][1] - m->m[0][1] * m->m[1][0]));
    return U_Err_NONE;
}

bool M_Matrix4::IsZeroWithinEpsilon(double epsilon) const
{
    return Mp_AreNear(m, M_Matrix4{}.m, epsilon);
}

bool M_Matrix4::IsIdentityWithinEpsilon(double epsilon) const
{
    return Mp_AreNear(m, Mp_kIdentity4.m, epsilon);
}

bool M_Matrix4::IsFinite() const
{
    return Mp_AllElements(m, m, [](double x, double) { return std::isfinite(x); });
}

void M_Matrix4::Project(double d)
{
    const M_Matrix4 projection = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 1 / d}, {0, 0, -1, 0}}};
    if (const Err err = M_ConcatMatrix4(this, &projection, this)) throw int{err};
}

M_Matrix4& M_Matrix4::Transpose()
{
    Mp_Transpose(m);
    return *this;
}

M_Matrix4& M_Matrix4::operator+=(const M_Matrix4& other)
{
    Mp_Combine(m, other.m, std::plus<double>());
    return *this;
}

M_Matrix4& M_Matrix4::operator-=(const M_Matrix4& other)
{
    Mp_Combine(m, other.m, std::minus<double>());
    return *this;
}
