#include "M_Matrix.h"

#include <cmath>
#include <limits>
#include <random>

#include "QLTest.h"

namespace {

class Matrices : public qltest::Library {
  protected:
    template <class Matrix>
    Matrix Random()
    {
        std::uniform_real_distribution<double> value(-10, 10);
        Matrix m;
        for (auto& row : m.m) {
            for (double& element : row) element = value(m_engine);
        }
        return m;
    }

  private:
    std::mt19937_64 m_engine{704};
};

// The product, each sum from left to right.
template <class Matrix>
Matrix Times(const Matrix& a, const Matrix& b)
{
    constexpr size_t kSide = sizeof a.m / sizeof a.m[0];
    Matrix product = {};
    for (size_t i = 0; i < kSide; ++i) {
        for (size_t j = 0; j < kSide; ++j) {
            for (size_t k = 0; k < kSide; ++k) product.m[i][j] += a.m[i][k] * b.m[k][j];
        }
    }
    return product;
}

template <class Matrix>
double Greatest(const Matrix& m)
{
    double greatest = 0;
    for (const auto& row : m.m) {
        for (const double element : row) greatest = std::max(greatest, std::fabs(element));
    }
    return greatest;
}

template <class Matrix>
bool AreInverse(const Matrix& a, const Matrix& b)
{
    return Times(a, b).IsIdentityWithinEpsilon(1e-13 * Greatest(a) * Greatest(b));
}

TEST_F(Matrices, ApplyWhatWasCalledFirstFirst)
{
    M_Matrix3 m;
    M_SetIdentityMatrix(&m);
    M_ScaleMatrix(&m, 2, 3, 1, 1);
    M_TranslateMatrix(&m, 10, 20);
    M_RotateMatrix(&m, std::acos(-1) / 2, 0, 20);
    M_Vector2 point = {2, 2};  // scaled to (3, 4), moved to (13, 24), turned about (0, 20) to (-4, 33)
    M_TransformFloatPoints(&m, 1, &point);
    EXPECT_NEAR(point.x, -4, 1e-14);
    EXPECT_NEAR(point.y, 33, 1e-14);
    M_Matrix3 odd = {{{std::nan(""), 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    M_ScaleMatrix(&odd, 1, 1, 5, 5);
    EXPECT_EQ(odd.m[1][0], 0);  // a scale by 1 touches nothing

    M_Matrix4 steps;
    M_IdentityMatrix4(&steps);
    M_ScaleMatrix4(&steps, 2, 3, 4);
    M_TranslateMatrix4(&steps, 1, 1, 1);
    M_Vector3 p = {1, 1, 1};
    M_Transform3DFloatPoints(&steps, 1, &p);
    EXPECT_EQ(p, (M_Vector3{3, 4, 5}));
    steps.Project(2);  // w = z / 2, z loses what w was
    p = {1, 1, 1};
    M_Transform3DFloatPoints(&steps, 1, &p);
    EXPECT_EQ(p, (M_Vector3{3 / 2.5, 4 / 2.5, 4 / 2.5}));
    steps.Project(0);
    EXPECT_FALSE(steps.IsFinite());
}

TEST_F(Matrices, ProductsMayReplaceTheirFactors)
{
    for (int i = 0; i < 1000; ++i) {
        const auto a = Random<M_Matrix4>(), b = Random<M_Matrix4>(), product = Times(a, b);
        M_Matrix4 out, left = a, right = b;
        M_ConcatMatrix4(&a, &b, &out);
        M_ConcatMatrix4(&left, &b, &left);
        M_ConcatMatrix4(&a, &right, &right);
        ASSERT_TRUE(M_EqualMatrix4(&out, &product) && M_EqualMatrix4(&left, &product) &&
                    M_EqualMatrix4(&right, &product));
        const auto a3 = Random<M_Matrix3>(), b3 = Random<M_Matrix3>();
        const auto product3 = Times(a3, b3), square3 = Times(a3, a3);
        M_Matrix3 out3 = a3, square = a3;
        M_ConcatMatrix(&b3, &out3);  // the second argument comes first
        M_ConcatMatrix(&square, &square);
        ASSERT_TRUE(M_EqualMatrix(&out3, &product3) && M_EqualMatrix(&square, &square3));
    }
}

TEST_F(Matrices, TypesAreExact)
{
    struct Row {
        const char* name;
        M_Matrix3 m;
        int type;
    };
    for (const Row& row : {Row{"identity", {{{1, 0, 0}, {0, 1, -0.0}, {0, 0, 1}}}, 0},
                           Row{"translation", {{{1, 0, 0}, {0, 1, 0}, {0, 1e-300, 1}}}, 1},
                           Row{"scale", {{{1, 0, 0}, {0, 1 + 1e-15, 0}, {0, 0, 1}}}, 2},
                           Row{"both", {{{-1, 0, 0}, {0, 1, 0}, {5, 0, 1}}}, 3},
                           Row{"upper corner", {{{1, 1e-300, 0}, {0, 1, 0}, {0, 0, 1}}}, 4},
                           Row{"lower corner", {{{1, 0, 0}, {1, 1, 0}, {0, 0, 1}}}, 4},
                           Row{"perspective", {{{1, 0, 0}, {0, 1, 1e-300}, {0, 0, 1}}}, 5},
                           Row{"homogeneous scale", {{{1, 0, 0}, {0, 1, 0}, {0, 0, 2}}}, 5}}) {
        int type = -1;
        EXPECT_EQ(M_GetMatrixType(&row.m, &type), 0);
        EXPECT_EQ(type, row.type) << row.name;
    }
}

TEST_F(Matrices, InversesOfThePlane)
{
    for (int i = 0; i < 20000; ++i) {
        auto m = Random<M_Matrix3>();
        if (i % 4 == 0) m.m[0][0] = m.m[1][0] = -m.m[2][0];  // ties
        if (i % 8 == 0) m.m[i % 3][0] = 0;
        M_Matrix3 inverse = m, adjoint = m.Adjoint();
        uint8_t singular = 7;
        ASSERT_EQ(M_InverseMatrixQuiet(&inverse, &inverse, &singular), 0);
        ASSERT_EQ(singular, 0);
        ASSERT_TRUE(AreInverse(m, inverse)) << i;
        for (auto& row : adjoint.m) {
            for (double& element : row) element /= m.Determinant();
        }
        ASSERT_TRUE(AreInverse(adjoint, m)) << i;
    }
    // Ties go to the later row: first row 2, then row 0, whose -1 ends in row 2. The third, in row 1, is
    // nothing.
    const M_Matrix3 tied = {{{1, 0, 0}, {1, 1, 0}, {1, 1, 1e-30}}}, zero = {},
                    reached = {{{-1, 0, 1}, {0, 1, -1}, {1, 0, 0}}},
                    flat = {{{1, 2, 3}, {2, 4, 7}, {3, 6, 11}}},
                    line = {{{1, 2, 3}, {2, 4, 6}, {0, 0, 1e-21}}},
                    small = {{{2e-20, 0, 0}, {0, 2e-20, 0}, {0, 0, 2e-20}}};
    M_Matrix3 out;
    uint8_t singular = 7;
    EXPECT_EQ(M_InverseMatrixQuiet(&tied, &out, &singular), 0);
    EXPECT_TRUE(M_EqualMatrix(&out, &reached));
    EXPECT_EQ(singular, 0);
    EXPECT_EQ(M_InverseMatrixQuiet(&zero, &out, nullptr), 0x1107);
    EXPECT_EQ(M_InverseMatrixQuiet(&flat, &out, &singular), 0x1107);
    EXPECT_EQ(singular, 1);
    EXPECT_EQ(M_InverseMatrixQuiet(&small, &out, &singular), 0);
    EXPECT_TRUE(Reports().empty());
    EXPECT_EQ(M_InverseMatrix(&line, &out), 0x1107);
    EXPECT_EQ(M_InverseMatrix(&tied, &out), 0);
    EXPECT_EQ(
        Reports(),
        (std::vector<qltest::Report>{{0x110023, U_Sev_PROBLEM, "QLTest error: unable to invert matrix."}}));
}

TEST_F(Matrices, InversesOfSpace)
{
    for (int i = 0; i < 20000; ++i) {
        const auto m = Random<M_Matrix4>();
        M_Matrix4 inverse = m;
        ASSERT_EQ(M_InverseMatrix4Quiet(&inverse, &inverse, nullptr), 0);
        ASSERT_TRUE(AreInverse(m, inverse)) << i;
        M_Matrix4 cofactors;
        double determinant = 0, alone = 0;
        M_GetMatrix3DeterminantPlus(&m, &determinant, &cofactors);
        M_GetMatrix4Determinant(&m, &alone);
        ASSERT_EQ(determinant, alone);
        for (auto& row : cofactors.Transpose().m) {
            for (double& element : row) element /= determinant;
        }
        ASSERT_TRUE(AreInverse(cofactors, m)) << i;
    }
    M_Matrix4 m = {{{1e-17, 0, 0, 0}, {2, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}}, out;
    const M_Matrix4 adjugate = {{{1, 0, 0, 0}, {-2, 1e-17, 0, 0}, {0, 0, 1e-17, 0}, {0, 0, 0, 1e-17}}};
    uint8_t singular = 7;
    EXPECT_EQ(M_InverseMatrix4Quiet(&m, &out, &singular), 0x1107);
    EXPECT_EQ(singular, 1);
    EXPECT_TRUE(M_EqualMatrix4(&out, &adjugate));
    EXPECT_TRUE(Reports().empty());
    EXPECT_EQ(M_InverseMatrix4(&m, &m), 0x1107);
    EXPECT_EQ(M_CalcNormalMatrix4(&adjugate, &out), 0x1107);
    EXPECT_EQ(out.m[3][3], 1);  // identity outside the upper 3 by 3, for a singular one too
    const std::string text = "QLTest error: unable to invert matrix.";
    EXPECT_EQ(Reports(), (std::vector<qltest::Report>{{0x11002D, U_Sev_PROBLEM, text},
                                                      {0x11002F, U_Sev_PROBLEM, text}}));
    m.m[1][1] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(M_InverseMatrix4Quiet(&m, &out, &singular), 0);  // not-a-number is not below the bound
    EXPECT_EQ(singular, 0);
    EXPECT_FALSE(out.IsFinite());
}

TEST_F(Matrices, WaysBetweenPlaneAndSpace)
{
    M_Matrix4 space, normals;
    M_Matrix3 back;
    for (int i = 0; i < 200; ++i) {
        const auto m = Random<M_Matrix3>();
        M_Matrix3ToMatrix4(&m, &space);
        back.AssignFromByDroppingZ(space);
        EXPECT_TRUE(M_EqualMatrix(&m, &back));
        M_Vector3 p = {1, 2, 3}, q = {1, 2, 1};
        M_Transform3DFloatPoints(&space, 1, &p);
        m.TransformPointAndDivideFast(&q);
        EXPECT_NEAR(p.y, q.y, 1e-9 * std::fabs(q.y));

        // A normal stays at right angles to what it stood on.
        const auto any = Random<M_Matrix4>();
        ASSERT_EQ(M_CalcNormalMatrix4(&any, &normals), 0);
        M_Vector4 normal = {1, 2, 0, 0}, tangent = {-2, 1, 5, 0};
        M_TransformVector4NoDivide(&normals, 1, &normal);
        M_TransformVector4NoDivide(&any, 1, &tangent);
        EXPECT_NEAR(normal.x * tangent.x + normal.y * tangent.y + normal.z * tangent.z, 0, 1e-10);
    }
    const M_Matrix3 scale = {{{0, 2, 0}, {-8, 0, 0}, {5, 5, 1}}};
    M_Matrix3ToMatrix4Uniform(&scale, &space);
    EXPECT_EQ(space.m[2][2], 4);

    back.AssignFromByDroppingIndices({{{0, 1, 2, 3}, {10, 11, 12, 13}, {20, 21, 22, 23}, {}}}, -1, 9);
    EXPECT_EQ(back.m[0][0], 10);
    EXPECT_EQ(back.m[1][2], 22);
    const M_Vector3 u = {1, 2, 3}, v = {4, 5, 6}, w = {7, 8, 9};
    M_Vector3 point = {1, 1, 2};  // its products with the three
    M_SetMatrix4CoB(&u, &v, &w, &space);
    M_Transform3DFloatPoints(&space, 1, &point);
    EXPECT_EQ(point, (M_Vector3{9, 21, 33}));
}

TEST_F(Matrices, ComparisonAndElements)
{
    M_Matrix4 a;
    M_IdentityMatrix4(&a);
    a.m[3][1] = 0.5;
    M_Matrix4 b = a;
    b.m[3][1] = 0.75;
    EXPECT_FALSE(M_EqualMatrix4(&a, &b));
    EXPECT_TRUE(M_EqualMatrixWithinEpsilon(&a, &b, 0.25) && !M_EqualMatrixWithinEpsilon(&a, &b, 0.2499));
    a += b;
    M_TransposeMatrix4(&a, &a);
    EXPECT_EQ(a.m[1][3], 1.25);
    a.Transpose() -= b;
    EXPECT_TRUE(a.IsIdentityWithinEpsilon(0.5) && !a.IsIdentityWithinEpsilon(0.4));
    M_ZeroMatrix4(&a);
    EXPECT_TRUE(a.IsZeroWithinEpsilon(0));
    b.m[0][0] = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(M_EqualMatrixWithinEpsilon(&b, &b, 0));
    b.m[0][0] = std::nan("");
    EXPECT_FALSE(M_EqualMatrixWithinEpsilon(&b, &b, 1e300));
    M_Matrix3 c = {};
    EXPECT_TRUE(c.IsZeroWithinEpsilon(0) && c.IsIdentityWithinEpsilon(1) && !c.IsIdentityWithinEpsilon(0.9));
    c += {{{1, 2, 3}, {4, 5, 6}, {7, 8, 10}}};
    EXPECT_EQ(c.Determinant(), -3);
    c.Transpose() -= {{{0, 3, 6}, {1, 4, 7}, {2, 5, 9}}};
    const M_Matrix3 ones = {{{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}};
    EXPECT_TRUE(M_EqualMatrix(&c, &ones) && M_EqualMatrixWithinEpsilon(&c, &ones, 0));
}

}  // namespace
