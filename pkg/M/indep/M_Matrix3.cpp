// Matrices of the plane: composition, class, comparison and the members that need no inverse. No state.

#include <algorithm>
#include <cmath>
#include <functional>

#include "M_Matrix.h"
#include "Mp_Matrix.h"

Err M_SetIdentityMatrix(M_Matrix3* m)
{
    *m = Mp_kIdentity3;
    return U_Err_NONE;
}

Err M_TranslateMatrix(M_Matrix3* m, double tx, double ty)
{
    const M_Matrix3 translation = {{{1, 0, 0}, {0, 1, 0}, {tx, ty, 1}}};
    return M_ConcatMatrix(&translation, m);
}

// A scale or a turn keeps its centre: the centre minus where the linear part takes it is the translation.
Err M_ScaleMatrix(M_Matrix3* m, double sx, double sy, double cx, double cy)
{
    if (sx == 1 && sy == 1) return U_Err_NONE;
    const M_Matrix3 scale = {{{sx, 0, 0}, {0, sy, 0}, {cx - cx * sx, cy - cy * sy, 1}}};
    return M_ConcatMatrix(&scale, m);
}

Err M_RotateMatrix(M_Matrix3* m, double angle, double cx, double cy)
{
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const M_Matrix3 turn = {{{c, s, 0}, {-s, c, 0}, {cx - (cx * c - cy * s), cy - (cx * s + cy * c), 1}}};
    return M_ConcatMatrix(&turn, m);
}

Err M_ConcatMatrix(const M_Matrix3* a, M_Matrix3* m)
{
    M_Matrix3 product;
    for (int i = 0; i < 3; ++i) {
        const double* row = m->m[i];
        for (int j = 0; j < 3; ++j) {
            product.m[i][j] = row[0] * a->m[0][j] + row[1] * a->m[1][j] + row[2] * a->m[2][j];
        }
    }
    *m = product;
    return U_Err_NONE;
}

bool M_EqualMatrix(const M_Matrix3* a, const M_Matrix3* b)
{
    return Mp_AreEqual(a->m, b->m);
}

bool M_EqualMatrixWithinEpsilon(const M_Matrix3* a, const M_Matrix3* b, double epsilon)
{
    return Mp_AreNear(a->m, b->m, epsilon);
}

Err M_GetMatrixType(const M_Matrix3* matrix, int* out)
{
    const auto& m = matrix->m;
    const bool perspective = m[0][2] != 0 || m[1][2] != 0 || m[2][2] != 1;
    const bool translates = m[2][0] != 0 || m[2][1] != 0;
    const bool scales = m[0][0] != 1 || m[1][1] != 1;
    if (perspective) {
        *out = M_MatrixType_PERSPECTIVE;
    } else if (m[0][1] != 0 || m[1][0] != 0) {
        *out = M_MatrixType_AFFINE;
    } else {
        static_assert((M_MatrixType_SCALE | M_MatrixType_TRANSLATION) == M_MatrixType_SCALE_TRANSLATION);
        *out = (scales ? M_MatrixType_SCALE : 0) | (translates ? M_MatrixType_TRANSLATION : 0);
    }
    return U_Err_NONE;
}

bool M_Matrix3::IsZeroWithinEpsilon(double epsilon) const
{
    return Mp_AreNear(m, M_Matrix3{}.m, epsilon);
}

bool M_Matrix3::IsIdentityWithinEpsilon(double epsilon) const
{
    return Mp_AreNear(m, Mp_kIdentity3.m, epsilon);
}

M_Matrix3& M_Matrix3::Transpose()
{
    Mp_Transpose(m);
    return *this;
}

M_Matrix3& M_Matrix3::operator+=(const M_Matrix3& other)
{
    Mp_Combine(m, other.m, std::plus<double>());
    return *this;
}

M_Matrix3& M_Matrix3::operator-=(const M_Matrix3& other)
{
    Mp_Combine(m, other.m, std::minus<double>());
    return *this;
}

double M_Matrix3::Determinant() const
{
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
           m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

// Taking rows and columns in a circle gives every cofactor its sign.
M_Matrix3 M_Matrix3::Adjoint() const
{
    constexpr int kNext[] = {1, 2, 0};
    constexpr int kLast[] = {2, 0, 1};
    M_Matrix3 adjoint;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            adjoint.m[j][i] =
                m[kNext[i]][kNext[j]] * m[kLast[i]][kLast[j]] - m[kNext[i]][kLast[j]] * m[kLast[i]][kNext[j]];
        }
    }
    return adjoint;
}

void M_Matrix3::AssignFromByDroppingZ(const M_Matrix4& from)
{
    AssignFromByDroppingIndices(from, 2, 2);
}

void M_Matrix3::AssignFromByDroppingIndices(const M_Matrix4& from, int row, int column)
{
    row = std::clamp(row, 0, 3);
    column = std::clamp(column, 0, 3);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) m[i][j] = from.m[i < row ? i : i + 1][j < column ? j : j + 1];
    }
}
