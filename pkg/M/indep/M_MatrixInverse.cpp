// Inverses: elimination in the plane, cofactors in space. No state.

#include <cmath>
#include <utility>

#include "M.h"
#include "M_Matrix.h"
#include "Mp_Err.h"
#include "Mp_Matrix.h"

namespace {

// Reports of the family name these places.
constexpr uint32_t kInverse3 = 35;
constexpr uint32_t kInverse4 = 45;
constexpr uint32_t kNormal4 = 47;

// --- The plane ---------------------------------------------------------------------------------------------

bool CountsAsZero(double pivot)
{
    constexpr double kTinyPivot = 1e-20;
    return pivot > -kTinyPivot && pivot < kTinyPivot;
}

// Makes column `column` that of identity with 1 in row `pivot`, and does the same to `out`.
void Eliminate(M_Matrix3& a, M_Matrix3& out, int pivot, int column)
{
    const double reciprocal = 1 / a.m[pivot][column];
    for (int j = 0; j < 3; ++j) {
        a.m[pivot][j] *= reciprocal;
        out.m[pivot][j] *= reciprocal;
    }
    for (int i = 0; i < 3; ++i) {
        if (i == pivot) continue;
        const double factor = a.m[i][column];
        for (int j = 0; j < 3; ++j) {
            a.m[i][j] -= factor * a.m[pivot][j];
            out.m[i][j] -= factor * out.m[pivot][j];
        }
    }
}

// Of two rows the one that is greater in a column. Wanted: a tie goes to the second.
int Greater(const M_Matrix3& a, int first, int second, int column)
{
    return std::fabs(a.m[first][column]) > std::fabs(a.m[second][column]) ? first : second;
}

Err Singular(uint8_t* singular)
{
    if (singular != nullptr) *singular = 1;
    return M_Err_MATRIX_NOT_INVERTIBLE;
}

Err ReportSingular(uint32_t location, Err err, uint8_t singular)
{
    if (singular != 0 && err != U_Err_NONE) Mp_ReportErr(location, static_cast<uint32_t>(err), 0);
    return err;
}

// --- Space -------------------------------------------------------------------------------------------------

// The minors of 2 by 2 of two rows, by their columns: 01, 02, 03, 12, 13, 23.
struct Minors {
    double m01, m02, m03, m12, m13, m23;

    Minors(const double (&upper)[4], const double (&lower)[4])
        : m01(upper[0] * lower[1] - upper[1] * lower[0]),
          m02(upper[0] * lower[2] - upper[2] * lower[0]),
          m03(upper[0] * lower[3] - upper[3] * lower[0]),
          m12(upper[1] * lower[2] - upper[2] * lower[1]),
          m13(upper[1] * lower[3] - upper[3] * lower[1]),
          m23(upper[2] * lower[3] - upper[3] * lower[2])
    {
    }
};

double Determinant(const Minors& up, const Minors& low)
{
    return up.m01 * low.m23 - up.m02 * low.m13 + up.m03 * low.m12 + up.m12 * low.m03 - up.m13 * low.m02 +
           up.m23 * low.m01;
}

// The cofactors of one row, from the row that shares a half with it and the minors of the other half. `sign` is
// that of the row's first element.
void CofactorsOfRow(const double (&partner)[4], const Minors& other, double sign, double (&out)[4])
{
    out[0] = sign * (partner[1] * other.m23 - partner[2] * other.m13 + partner[3] * other.m12);
    out[1] = -sign * (partner[0] * other.m23 - partner[2] * other.m03 + partner[3] * other.m02);
    out[2] = sign * (partner[0] * other.m13 - partner[1] * other.m03 + partner[3] * other.m01);
    out[3] = -sign * (partner[0] * other.m12 - partner[1] * other.m02 + partner[2] * other.m01);
}

}  // namespace

Err M_InverseMatrixQuiet(const M_Matrix3* m, M_Matrix3* out, uint8_t* singular)
{
    M_Matrix3 a = *m;
    if (singular != nullptr) *singular = 0;
    *out = Mp_kIdentity3;

    const int first = Greater(a, Greater(a, 0, 1, 0), 2, 0);
    if (CountsAsZero(a.m[first][0])) return Singular(singular);
    Eliminate(a, *out, first, 0);

    const int upper = first == 0 ? 1 : 0;
    const int lower = first == 2 ? 1 : 2;
    const int second = Greater(a, upper, lower, 1);
    if (CountsAsZero(a.m[second][1])) return Singular(singular);
    Eliminate(a, *out, second, 1);

    // Wanted: a matrix of rank 2 is no failure. What is drawn through one has collapsed to a line, and its
    // callers have always gone on with what the elimination had reached.
    const int third = 3 - first - second;
    if (CountsAsZero(a.m[third][2])) return U_Err_NONE;
    Eliminate(a, *out, third, 2);

    const M_Matrix3 rows = *out;
    const int order[] = {first, second, third};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) out->m[i][j] = rows.m[order[i]][j];
    }
    return U_Err_NONE;
}

Err M_InverseMatrix(const M_Matrix3* m, M_Matrix3* out)
{
    uint8_t singular = 0;
    const Err err = M_InverseMatrixQuiet(m, out, &singular);
    return ReportSingular(kInverse3, err, singular);
}

Err M_GetMatrix4Determinant(const M_Matrix4* m, double* determinant)
{
    *determinant = Determinant(Minors(m->m[0], m->m[1]), Minors(m->m[2], m->m[3]));
    return U_Err_NONE;
}

Err M_GetMatrix3DeterminantPlus(const M_Matrix4* matrix, double* determinant, M_Matrix4* cofactors)
{
    const M_Matrix4 m = *matrix;
    const Minors up(m.m[0], m.m[1]);
    const Minors low(m.m[2], m.m[3]);
    *determinant = Determinant(up, low);
    CofactorsOfRow(m.m[1], low, 1, cofactors->m[0]);
    CofactorsOfRow(m.m[0], low, -1, cofactors->m[1]);
    CofactorsOfRow(m.m[3], up, 1, cofactors->m[2]);
    CofactorsOfRow(m.m[2], up, -1, cofactors->m[3]);
    return U_Err_NONE;
}

Err M_InverseMatrix4Quiet(const M_Matrix4* m, M_Matrix4* out, uint8_t* singular)
{
    constexpr double kTinyDeterminant = 1e-16;
    double determinant = 0;
    if (singular != nullptr) *singular = 0;
    M_GetMatrix3DeterminantPlus(m, &determinant, out);
    out->Transpose();
    if (std::fabs(determinant) < kTinyDeterminant) return Singular(singular);
    for (auto& row : out->m) {
        for (double& element : row) element /= determinant;
    }
    return U_Err_NONE;
}

Err M_InverseMatrix4(const M_Matrix4* m, M_Matrix4* out)
{
    uint8_t singular = 0;
    const Err err = M_InverseMatrix4Quiet(m, out, &singular);
    return ReportSingular(kInverse4, err, singular);
}

Err M_CalcNormalMatrix4Quiet(const M_Matrix4* m, M_Matrix4* out, uint8_t* singular)
{
    M_Matrix4 linear = Mp_kIdentity4;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) linear.m[i][j] = m->m[i][j];
    }
    const Err err = M_InverseMatrix4Quiet(&linear, out, singular);
    out->Transpose();
    return err;
}

Err M_CalcNormalMatrix4(const M_Matrix4* m, M_Matrix4* out)
{
    uint8_t singular = 0;
    const Err err = M_CalcNormalMatrix4Quiet(m, out, &singular);
    return ReportSingular(kNormal4, err, singular);
}
