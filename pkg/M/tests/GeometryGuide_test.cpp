// The examples of docs/guides/geometry.md, run.
#include "M_Matrix.h"
#include "M_Polygon.h"
#include "M_Rotation.h"
#include "QLTest.h"

namespace {

using GeometryGuide = qltest::Library;

TEST_F(GeometryGuide, ThePlane)
{
    M_Matrix3 m;
    M_SetIdentityMatrix(&m);
    M_ScaleMatrix(&m, 0.5, 0.5, 960, 540);
    M_RotateMatrix(&m, 0.25, 960, 540);
    M_TranslateMatrix(&m, 100, 0);

    M_Vector2 corners[4] = {{0, 0}, {1920, 0}, {1920, 1080}, {0, 1080}};
    M_TransformFloatPoints(&m, 4, corners);

    M_Rect layer = {0, 0, 1920, 1080};
    uint8_t loose = 0;
    M_TransformRect(&m, &layer, NULL, &loose);
    EXPECT_EQ(loose, 1);

    M_Matrix3 back;
    uint8_t singular = 0;
    ASSERT_EQ(M_InverseMatrixQuiet(&m, &back, &singular), 0);
    M_TransformFloatPoints(&back, 4, corners);
    EXPECT_NEAR(corners[2].x, 1920, 1e-9);
}

TEST_F(GeometryGuide, Space)
{
    M_Matrix4 m;
    M_IdentityMatrix4(&m);
    M_RotateMatrix4(&m, 0, NULL, 0, 0, 1, 0.4);
    M_RotateMatrix4(&m, 0, NULL, 0, 1, 0, 0.3);
    M_RotateMatrix4(&m, 0, NULL, 1, 0, 0, 0.2);
    M_TranslateMatrix4(&m, 5, 6, 7);

    M_Matrix4Decomp parts;
    M_DecomposeMatrix4(&m, &parts, NULL);
    EXPECT_NEAR(parts.rotation.x, 0.2, 1e-15);
    EXPECT_EQ(parts.translation, (M_Vector3{5, 6, 7}));

    M_Quaternion from = {0, 0, 0, 1}, to, half;
    M_Matrix4ToQuat(&m, &to);
    M_Slerp(&from, &to, &half, 0.5);
    M_QuatToMatrix4(&half, &m);
    M_ConcatMatrix4(&m, &m, &m);
    M_DecomposeMatrix4(&m, &parts, NULL);
    EXPECT_NEAR(parts.rotation.z, 0.4, 1e-15);
}

TEST_F(GeometryGuide, Polygons)
{
    std::vector<M_Vector2> points = {{0, 0}, {4, 0}, {2, 1}, {4, 3}, {0, 3}, {2, 0}};
    std::vector<M_Vector2> hull;
    M_ComputeConvexHull(points.begin(), points.end(), hull);
    const double area = M_SignedPolygonArea2D(hull.data(), static_cast<int>(hull.size()));
    EXPECT_EQ(area, 12);

    std::vector<M_Vector4> frame = {{0, 0, 0, 1}, {4, 0, 0, 1}, {4, 3, 0, 1}, {0, 3, 0, 1}};
    std::vector<M_Vector4> mask = {{2, 1, 0, 1}, {6, 1, 0, 1}, {6, 2, 0, 1}, {2, 2, 0, 1}};
    M_PolyPolyClip2D(&frame, &mask, &mask);
    for (const M_Vector4& p : mask) EXPECT_LE(p.x, 4);
}

}  // namespace
