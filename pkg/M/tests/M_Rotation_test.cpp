#include "M_Rotation.h"

#include <cmath>
#include <numbers>
#include <random>

#include "QLTest.h"

namespace {

constexpr unsigned kSeed = 705;
constexpr double kPi = std::numbers::pi;
using Rotation = qltest::Library;

enum Axis { kX, kY, kZ };

void Turn(M_Matrix4& m, Axis axis, double angle)
{
    ASSERT_EQ(M_RotateMatrix4(&m, 0, nullptr, axis == kX, axis == kY, axis == kZ, angle), 0);
}

M_Matrix4 Identity()
{
    M_Matrix4 m;
    M_IdentityMatrix4(&m);
    return m;
}

// What the parts stand for.
M_Matrix4 Recompose(const M_Matrix4Decomp& d, bool zyx)
{
    M_Matrix4 r = Identity();
    const double angles[] = {d.rotation.x, d.rotation.y, d.rotation.z};
    for (int i = 0; i < 3; ++i) {
        const int axis = zyx ? i : 2 - i;
        Turn(r, static_cast<Axis>(axis), angles[axis]);
    }
    const double s = d.scale.x < 0 ? -1 : 1;
    M_Matrix4 m = Identity();
    for (int j = 0; j < 3; ++j) {
        m.m[0][j] = d.scale.x * r.m[0][j];
        m.m[1][j] = d.scale.y * r.m[1][j] + s * d.shear.xy * r.m[0][j];
        m.m[2][j] = d.scale.z * r.m[2][j] + s * d.shear.xz * r.m[0][j] + s * d.shear.yz * r.m[1][j];
    }
    M_TranslateMatrix4(&m, d.translation.x, d.translation.y, d.translation.z);
    return m;
}

TEST_F(Rotation, PartsMakeTheMatrixAgain)
{
    std::mt19937_64 random(kSeed);
    std::uniform_real_distribution<double> value(-10, 10);
    for (int i = 0; i < 20000; ++i) {
        M_Matrix4 m = Identity();
        for (auto& row : m.m) {
            for (int j = 0; j < 3; ++j) row[j] = value(random);
        }
        for (const bool zyx : {false, true}) {
            M_Matrix4Decomp d;
            uint8_t failed = 7;
            ASSERT_EQ((zyx ? M_DecomposeMatrix4ZYX : M_DecomposeMatrix4)(&m, &d, &failed), 0);
            ASSERT_EQ(failed, 0);
            const M_Matrix4 again = Recompose(d, zyx);
            ASSERT_TRUE(M_EqualMatrixWithinEpsilon(&m, &again, 1e-8)) << i << ' ' << zyx;
            ASSERT_EQ(d.scale.x < 0, d.scale.z < 0);
            M_Matrix4 doubled = m;
            for (auto& row : doubled.m) {
                for (double& element : row) element *= 2;
            }
            M_Vector3 angles;
            ASSERT_EQ(M_GetOrderedXYZRotationFromMatrix(&doubled, zyx, &angles), 0);
            ASSERT_EQ(angles, d.rotation);  // the homogeneous scale goes out first
        }
    }
}

TEST_F(Rotation, OrdersAndGimbalLock)
{
    struct Row {
        const char* name;
        bool zyx;
        double x, y, z;    // what is built
        M_Vector3 angles;  // what comes out
    };
    const double quarter = kPi / 2;
    for (const Row& row :
         {Row{"plain", false, 0.2, 0.3, 0.4, {0.2, 0.3, 0.4}},
          Row{"plain", true, 0.2, 0.3, 0.4, {0.2, 0.3, 0.4}}, Row{"far", false, -3, 1.5, 3, {-3, 1.5, 3}},
          Row{"far", true, -3, -1.5, 3, {-3, -1.5, 3}},
          Row{"Z takes all", false, 0, quarter, 0, {0, quarter, 0}},
          Row{"Z takes all", false, 0.5, quarter, 0.25, {0, quarter, 0.75}},
          Row{"Z takes all", false, 0.5, -quarter, 0.25, {0, -quarter, -0.25}},
          Row{"X takes all", true, 0.5, quarter, 0.25, {0.25, quarter, 0}},
          Row{"X takes all", true, 0.5, -quarter, 0.25, {0.75, -quarter, 0}},
          Row{"none", true, 0, quarter, 0, {0, quarter, 0}},
          Row{"half turn shown about Z", true, kPi, quarter, 0, {0, quarter, kPi}}}) {
        M_Matrix4Decomp d = {};
        d.rotation = {row.x, row.y, row.z};
        d.scale = {1, 1, 1};
        const M_Matrix4 m = Recompose(d, row.zyx);
        ASSERT_EQ((row.zyx ? M_DecomposeMatrix4ZYX : M_DecomposeMatrix4)(&m, &d, nullptr), 0);
        EXPECT_NEAR(d.rotation.x, row.angles.x, 1e-12) << row.name << ' ' << row.zyx;
        EXPECT_NEAR(d.rotation.y, row.angles.y, 1e-7) << row.name << ' ' << row.zyx;
        EXPECT_NEAR(d.rotation.z, row.angles.z, 1e-12) << row.name << ' ' << row.zyx;
        EXPECT_NEAR(d.shear.xy, 0, 1e-15);
    }
}

TEST_F(Rotation, DecompositionOfTheOddAndTheImpossible)
{
    M_Matrix4 m = Identity(), tilted = m, weightless = m, vanishing = m;
    M_Matrix4Decomp d;
    m.m[0][0] = -1;
    ASSERT_EQ(M_DecomposeMatrix4(&m, &d, nullptr), 0);
    EXPECT_EQ(d.scale, (M_Vector3{-1, -1, -1}));
    EXPECT_NEAR(std::fabs(d.rotation.x), kPi, 1e-15);  // half a turn makes up for y and z
    m.m[0][0] = 0;
    m.m[1][0] = 3;
    ASSERT_EQ(M_DecomposeMatrix4(&m, &d, nullptr), 0);
    EXPECT_EQ(d.scale.x, 0);
    EXPECT_EQ(d.shear.xy, 0);

    tilted.m[1][3] = 1e-300;
    weightless.m[3][3] = 0;
    vanishing.m[0][3] = 1e-300;
    vanishing.m[3][3] = 1e300;  // divided, that is exactly 0
    uint8_t failed = 0;
    EXPECT_EQ(M_DecomposeMatrix4(&tilted, &d, &failed), 0x1108);
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(d.scale, (M_Vector3{0, 0, 0}));
    EXPECT_EQ(M_DecomposeMatrix4(&vanishing, &d, &failed), 0);
    EXPECT_EQ(failed, 0);
    EXPECT_TRUE(Reports().empty());
    M_Vector3 angles = {1, 1, 1};
    EXPECT_EQ(M_GetXYZRotationFromMatrix(&weightless, &angles), 0x1108);
    EXPECT_EQ(angles, (M_Vector3{0, 0, 0}));
    EXPECT_EQ(Reports(), (std::vector<qltest::Report>{
                             {0x11002D, U_Sev_PROBLEM, "QLTest error: unable to decompose matrix."}}));
}

TEST_F(Rotation, HalfTurnsFoldIntoScales)
{
    struct Row {
        const char* name;
        M_Vector3 rotation, folded;
        double scale_x, scale_y;
    };
    for (const Row& row :
         {Row{"none", {1, 2, 3}, {1, 2, 3}, 2, 3}, Row{"about X", {kPi, 0.5, 0.25}, {0, -0.5, -0.25}, 2, -3},
          Row{"about -Y", {0.5, -kPi, 0.25}, {-0.5, 0, -0.25}, -2, 3},
          Row{"both", {-kPi, kPi, 0.25}, {0, 0, 0.25}, -2, -3},
          Row{"nearly", {kPi + 1e-13, 0.5, 0.25}, {kPi + 1e-13, 0.5, 0.25}, 2, 3}}) {
        M_Matrix4Decomp d = {};
        d.scale = {2, 3, 4};
        d.rotation = row.rotation;
        EXPECT_EQ(M_Correct3DDecompFor2D(&d), 0);
        EXPECT_EQ(d.rotation, row.folded) << row.name;
        EXPECT_EQ(d.scale, (M_Vector3{row.scale_x, row.scale_y, 1})) << row.name;
    }
}

TEST_F(Rotation, AxesAnglesAndQuaternionsAgree)
{
    std::mt19937_64 random(kSeed);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> turn(-kPi, kPi);
    for (int i = 0; i < 20000; ++i) {
        const double x = normal(random), y = normal(random), z = normal(random), angle = turn(random);
        M_Matrix4 m = Identity(), same;
        M_RotateMatrix4(&m, 1, &m, x, y, z, angle);
        const double s = std::sin(angle / 2) / std::sqrt(x * x + y * y + z * z);
        const M_Quaternion q = {x * s, y * s, z * s, std::cos(angle / 2)};
        M_QuatToMatrix4(&q, &same);
        ASSERT_TRUE(M_EqualMatrixWithinEpsilon(&m, &same, 1e-14)) << i;
        M_Quaternion back;
        M_Matrix4ToQuat(&m, &back);
        ASSERT_NEAR(std::fabs(q.x * back.x + q.y * back.y + q.z * back.z + q.w * back.w), 1, 1e-14) << i;

        // Carried axes: X, then the Y that X has turned, then the Z that both have.
        M_Matrix4 carried = Identity(), product = Identity(), moved = m, own = m;
        M_RotateMatrix4XYZ(&carried, x, y, z);
        Turn(product, kZ, z);
        Turn(product, kY, y);
        Turn(product, kX, x);
        ASSERT_TRUE(M_EqualMatrixWithinEpsilon(&carried, &product, 1e-13)) << i;
        M_RotateMatrix4XYZ(&moved, x, y, z);
        M_ConcatMatrix4(&m, &carried, &product);
        ASSERT_TRUE(M_EqualMatrix4(&moved, &product));
        M_RotateMatrix4XYZPlus(false, &own, x, y, z);  // about the matrix's own axes: as if it came last
        M_ConcatMatrix4(&carried, &m, &product);
        ASSERT_TRUE(M_EqualMatrixWithinEpsilon(&own, &product, 1e-13)) << i;
    }
    M_Matrix4 m = Identity(), flat = Identity();
    m.m[1][0] = 5;
    const M_Matrix4 before = m;
    EXPECT_EQ(M_RotateMatrix4(&m, 0, nullptr, 0, 5e-13, 0, 1), 3);
    EXPECT_EQ(M_RotateMatrix4XYZ(&m, 0, 0, 0), 0);
    EXPECT_TRUE(M_EqualMatrix4(&m, &before));
    EXPECT_EQ(Reports(), (std::vector<qltest::Report>{
                             {0x11002E, U_Sev_PROBLEM, "QLTest error: unable to build rotation matrix."}}));
    flat.m[2][2] = 0;  // has no Z axis to turn about
    EXPECT_EQ(M_RotateMatrix4XYZPlus(false, &flat, 0, 0, 1), 0);
    EXPECT_EQ(flat.m[0][0], 1);
    const M_Quaternion twice = {0, 0, 0, 2};  // is not normalised
    M_QuatToMatrix4(&twice, &m);
    EXPECT_EQ(m.m[1][1], 4);
}

TEST_F(Rotation, SlerpTakesTheShortWay)
{
    const M_Quaternion a = {0, 0, 0, 1}, b = {0, 0, std::sin(0.5), std::cos(0.5)};  // 1 radian about Z
    const M_Quaternion minus_a = {0, 0, 0, -1}, minus_b = {0, 0, -b.z, -b.w};
    const M_Quaternion close = {0, 0, 1e-3, 1}, closest = {0, 0, 0.99e-12, 1};
    const auto slerp = [&a](M_Quaternion to, double t) {
        M_Slerp(&a, &to, &to, t);
        return to;
    };
    for (const double t : {0.0, 0.25, 0.5, 1.0}) {
        EXPECT_NEAR(slerp(b, t).z, std::sin(0.5 * t), 1e-15);
        EXPECT_NEAR(slerp(b, t).w, std::cos(0.5 * t), 1e-15);
        EXPECT_EQ(slerp(minus_b, t), slerp(b, t));
        EXPECT_EQ(slerp(minus_a, t), a);
        EXPECT_EQ(slerp(closest, t), a);                                // nearly equal: q0 itself
        EXPECT_EQ(slerp(close, t), (M_Quaternion{0, 0, t * 1e-3, 1}));  // a straight blend, not normalised
    }
}

}  // namespace
