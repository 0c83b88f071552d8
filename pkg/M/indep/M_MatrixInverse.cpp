// Inverses: elimination in the plane, cofactors in space. No state.

#include <cmath>
#include <utility>

#include "M.h"
#include "M_Matrix.h"
#include "Mp_Err.h"
#include "Mp_Kernels.h"
#include "Mp_Lanes.h"
#include "Mp_Matrix.h"
#include "Mp_MatrixKernels.h"

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

typedef double Pair __attribute__((vector_size(16)));

// A row of the matrix beside the same row of what becomes the inverse. Elements of the matrix are kept as
// long as somebody asks for them. In pairs, since these stay in registers on every processor.
struct Row {
    int index;  // where it stood
    double a0, a1;
    Pair out01;    // the row of the inverse
    Pair out2_a2;  // its end, and element 2 of the matrix

    MP_INLINE Row(const M_Matrix3& m, int row)
        : index(row),
          a0(m.m[row][0]),
          a1(m.m[row][1]),
          out01{Mp_kIdentity3.m[row][0], Mp_kIdentity3.m[row][1]},
          out2_a2{Mp_kIdentity3.m[row][2], m.m[row][2]}
    {
    }

    MP_INLINE double A2() const { return out2_a2[1]; }

    MP_INLINE void StoreInto(double (&out)[3]) const
    {
        out[0] = out01[0];
        out[1] = out01[1];
        out[2] = out2_a2[0];
    }

    MP_INLINE void Scale(double factor)
    {
        a1 *= factor;
        out01 *= factor;
        out2_a2 *= factor;
    }

    // Element 0, 1 or 2, given as `factor`, becomes 0 by the row in which it is 1.
    MP_INLINE void Clear(double factor, const Row& pivot)
    {
        a1 -= factor * pivot.a1;
        out01 -= factor * pivot.out01;
        out2_a2 -= factor * pivot.out2_a2;
    }
};

// An elimination that could not go on: the rows as far as they got, where they stood.
MP_INLINE void StoreUnfinished(const Row& first, const Row& second, const Row& third, M_Matrix3* out)
{
    first.StoreInto(out->m[first.index]);
    second.StoreInto(out->m[second.index]);
    third.StoreInto(out->m[third.index]);
}

// Of two rows the one whose element is greater. Wanted: a tie goes to the second.
int Greater(int first, double a, int second, double b)
{
    return std::fabs(a) > std::fabs(b) ? first : second;
}

int FirstPivot(const M_Matrix3& m)
{
    const int upper = Greater(0, m.m[0][0], 1, m.m[1][0]);
    return Greater(upper, m.m[upper][0], 2, m.m[2][0]);
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

}  // namespace

Err M_InverseMatrixQuiet(const M_Matrix3* m, M_Matrix3* out, uint8_t* singular)
{
    if (singular != nullptr) *singular = 0;
    const int pivot = FirstPivot(*m);
    Row first(*m, pivot), second(*m, pivot == 0 ? 1 : 0), third(*m, pivot == 2 ? 1 : 2);
    if (CountsAsZero(first.a0)) {
        StoreUnfinished(first, second, third, out);
        return Singular(singular);
    }
    first.Scale(1 / first.a0);
    second.Clear(second.a0, first);
    third.Clear(third.a0, first);

    if (Greater(0, second.a1, 1, third.a1) != 0) std::swap(second, third);
    if (CountsAsZero(second.a1)) {
        StoreUnfinished(first, second, third, out);
        return Singular(singular);
    }
    second.Scale(1 / second.a1);
    first.Clear(first.a1, second);
    third.Clear(third.a1, second);

    // Wanted: a matrix of rank 2 is no failure. What is drawn through one has collapsed to a line, and its
    // callers have always gone on with what the elimination had reached.
    if (CountsAsZero(third.A2())) {
        StoreUnfinished(first, second, third, out);
        return U_Err_NONE;
    }
    third.Scale(1 / third.A2());
    first.Clear(first.A2(), third);
    second.Clear(second.A2(), third);
    first.StoreInto(out->m[0]);
    second.StoreInto(out->m[1]);
    third.StoreInto(out->m[2]);
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
    const Mp_Minors up(Mp_Rest(m->m[0]), Mp_Rest(m->m[1]));
    const Mp_Minors low(Mp_Rest(m->m[2]), Mp_Rest(m->m[3]));
    *determinant = Mp_Determinant(up, low);
    return U_Err_NONE;
}

Err M_GetMatrix3DeterminantPlus(const M_Matrix4* m, double* determinant, M_Matrix4* cofactors)
{
    const Mp_CofactorMatrix matrix(*m);
    *determinant = matrix.determinant;
    for (int i = 0; i < 4; ++i) Mp_Store(matrix.rows[i], cofactors->m[i]);
    return U_Err_NONE;
}

Err M_InverseMatrix4Quiet(const M_Matrix4* m, M_Matrix4* out, uint8_t* singular)
{
    constexpr double kTinyDeterminant = 1e-16;
    if (singular != nullptr) *singular = 0;
    const double determinant = Mp_g_kernels->inverse4(m, kTinyDeterminant, out);
    return std::fabs(determinant) < kTinyDeterminant ? Singular(singular) : U_Err_NONE;
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
    out->m[3][3] = 1;  // the adjugate of a singular one has the determinant there
    return err;
}

Err M_CalcNormalMatrix4(const M_Matrix4* m, M_Matrix4* out)
{
    uint8_t singular = 0;
    const Err err = M_CalcNormalMatrix4Quiet(m, out, &singular);
    return ReportSingular(kNormal4, err, singular);
}
