/// Matrices of the plane and of space in doubles, and the family of functions that transform points, vectors
/// and rectangles by them. Angles, quaternions and decomposition are in M_Rotation.h.
///
///     M_Matrix3 m;
///     M_SetIdentityMatrix(&m);
///     M_ScaleMatrix(&m, 0.5, 0.5, 960, 540);           // to half its size about the centre of the frame
///     M_TranslateMatrix(&m, 100, 0);                   // and then 100 to the right
///     M_TransformFloatPoints(&m, 4, corners);
///
/// Ground rules. Matrices are stored row by row, `m[row][column]`, and points are row vectors that stand on
/// the left: p' = p M. What is applied first therefore stands first in a product.
///
///   M_Matrix3    | a  b  p |        M_Matrix4    | a  b  c  p |
///                | c  d  q |                     | d  e  f  q |      x, y, z   translation
///                | x  y  w |                     | g  h  i  r |      p, q, r   perspective
///                                                | x  y  z  w |      w         homogeneous scale
///
/// Products are plain sums: no class of matrix is treated apart, and nothing is rounded to zero. No result
/// depends on the processor: the operations are the same everywhere, none of them fused. Only which
/// not-a-number a not-a-number is may differ.
///
/// An output may be one of the inputs. Pointers are not null unless that is said.
///
/// threads  any; no shared state
/// errors   functions that give an `Err` return 0 unless their text names another code
#ifndef M_MATRIX_H
#define M_MATRIX_H

#include "M_Vector.h"
#include "U_Types.h"

// --- Types -------------------------------------------------------------------------------------------------

struct M_Matrix4;

/// A matrix of the plane.
typedef struct M_Matrix3 {
    double m[3][3];

#ifdef __cplusplus
    /// Multiplies a homogeneous point, divides it by its last coordinate and sets that to 1. A last
    /// coordinate strictly between -1e-12 and 1e-12 is reported, and the `int` 0x110C thrown; that point, and
    /// those behind it, are left as they were. A count below 1 does nothing.
    U_EXPORT void TransformPointAndDivide(M_Vector3* point) const;
    U_EXPORT void TransformPointsAndDivide(int32_t count, M_Vector3* points) const;
    /// The same without looking at the last coordinate: near 0 the result is huge, infinite or no number.
    U_EXPORT void TransformPointAndDivideFast(M_Vector3* point) const;
    U_EXPORT void TransformPointsAndDivideFast(int32_t count, M_Vector3* points) const;

    /// Whether no element differs by more than `epsilon` from the one of that matrix. A not-a-number does.
    U_EXPORT bool IsZeroWithinEpsilon(double epsilon) const;
    U_EXPORT bool IsIdentityWithinEpsilon(double epsilon) const;

    U_EXPORT M_Matrix3& Transpose();
    U_EXPORT M_Matrix3& operator+=(const M_Matrix3& other);
    U_EXPORT M_Matrix3& operator-=(const M_Matrix3& other);
    U_EXPORT double Determinant() const;
    /// The transposed matrix of cofactors: times this matrix it is the determinant times identity.
    U_EXPORT M_Matrix3 Adjoint() const;

    /// Keeps rows and columns 0, 1 and 3: what a matrix of space does to the plane z = 0, seen along z.
    U_EXPORT void AssignFromByDroppingZ(const M_Matrix4& from);
    /// Drops one row and one column. An index below 0 counts as 0, one above 3 as 3.
    U_EXPORT void AssignFromByDroppingIndices(const M_Matrix4& from, int row, int column);
#endif
} M_Matrix3;

/// A matrix of space.
typedef struct M_Matrix4 {
    double m[4][4];

#ifdef __cplusplus
    /// As for `M_Matrix3`.
    U_EXPORT void TransformPointAndDivide(M_Vector4* point) const;
    U_EXPORT void TransformPointsAndDivide(int32_t count, M_Vector4* points) const;
    U_EXPORT void TransformPointAndDivideFast(M_Vector4* point) const;
    U_EXPORT void TransformPointsAndDivideFast(int32_t count, M_Vector4* points) const;

    U_EXPORT bool IsZeroWithinEpsilon(double epsilon) const;
    U_EXPORT bool IsIdentityWithinEpsilon(double epsilon) const;
    /// Whether every element is neither infinite nor not-a-number.
    U_EXPORT bool IsFinite() const;

    /// Goes on with a projection that puts the eye at distance d: this := this P, where P is identity but for
    /// m[2][3] = 1/d, m[3][2] = -1 and m[3][3] = 0. With d = 0 the result is not finite. A failure is thrown
    /// as an `int`.
    U_EXPORT void Project(double d);

    U_EXPORT M_Matrix4& Transpose();
    U_EXPORT M_Matrix4& operator+=(const M_Matrix4& other);
    U_EXPORT M_Matrix4& operator-=(const M_Matrix4& other);
#endif
} M_Matrix4;

/// What `M_GetMatrixType` tells apart.
enum {
    M_MatrixType_IDENTITY = 0,
    M_MatrixType_TRANSLATION = 1,
    M_MatrixType_SCALE = 2,
    M_MatrixType_SCALE_TRANSLATION = 3,
    M_MatrixType_AFFINE = 4,
    M_MatrixType_PERSPECTIVE = 5
};

#ifdef __cplusplus
extern "C" {
#endif

// --- Matrices of the plane ---------------------------------------------------------------------------------

U_EXPORT Err M_SetIdentityMatrix(M_Matrix3* m);

/// m := m T, where T moves by (tx, ty).
U_EXPORT Err M_TranslateMatrix(M_Matrix3* m, double tx, double ty);

/// m := m S, where S scales about the centre (cx, cy). With both factors 1 the matrix is not touched.
U_EXPORT Err M_ScaleMatrix(M_Matrix3* m, double sx, double sy, double cx, double cy);

/// m := m R, where R turns about the centre (cx, cy) by an angle in radians: it takes (1, 0) to (cos, sin),
/// so with y up it turns counter-clockwise.
U_EXPORT Err M_RotateMatrix(M_Matrix3* m, double angle, double cx, double cy);

/// m := m a: first what m did, then a. Mind that `M_ConcatMatrix4` has another order of arguments.
U_EXPORT Err M_ConcatMatrix(const M_Matrix3* a, M_Matrix3* m);

/// Whether all elements are equal (0 and -0 are, a not-a-number is equal to nothing).
U_EXPORT bool M_EqualMatrix(const M_Matrix3* a, const M_Matrix3* b);
/// Whether every element differs by at most `epsilon`.
U_EXPORT bool M_EqualMatrixWithinEpsilon(const M_Matrix3* a, const M_Matrix3* b, double epsilon);

/// The class of a matrix, by exact comparison of its elements. There is no tolerance: what a rounding error
/// left off the diagonal makes a scale `M_MatrixType_AFFINE`.
U_EXPORT Err M_GetMatrixType(const M_Matrix3* m, int* out);

/// The inverse, by Gauss-Jordan elimination with partial pivoting. A pivot strictly between -1e-20 and 1e-20
/// counts as 0.
///
/// singular  may be null; 1 when the first or second pivot is 0, else 0
/// returns   0x1107 in that case, and `out` holds an intermediate state. A matrix of rank 2, whose third
///           pivot is 0, is not noticed: 0 is returned, the byte is 0 and `out` is no inverse
U_EXPORT Err M_InverseMatrixQuiet(const M_Matrix3* m, M_Matrix3* out, uint8_t* singular);
/// The same; what is noticed is also reported.
U_EXPORT Err M_InverseMatrix(const M_Matrix3* m, M_Matrix3* out);

// --- Matrices of space -------------------------------------------------------------------------------------

U_EXPORT Err M_ZeroMatrix4(M_Matrix4* m);
U_EXPORT Err M_IdentityMatrix4(M_Matrix4* m);

/// Change of basis: the columns of the upper 3 by 3 are u, v and w, the rest is identity. With unit vectors
/// at right angles it gives the coordinates of a point along them.
U_EXPORT Err M_SetMatrix4CoB(const M_Vector3* u, const M_Vector3* v, const M_Vector3* w, M_Matrix4* out);

/// out := a b: first a, then b.
U_EXPORT Err M_ConcatMatrix4(const M_Matrix4* a, const M_Matrix4* b, M_Matrix4* out);

/// m := m T and m := m S.
U_EXPORT Err M_TranslateMatrix4(M_Matrix4* m, double x, double y, double z);
U_EXPORT Err M_ScaleMatrix4(M_Matrix4* m, double x, double y, double z);

U_EXPORT Err M_TransposeMatrix4(const M_Matrix4* m, M_Matrix4* out);
U_EXPORT Err M_GetMatrix4Determinant(const M_Matrix4* m, double* determinant);
/// The determinant and, signs included, the cofactor of every element, from minors of 2 by 2. For all the 3
/// in its name it takes matrices of space.
U_EXPORT Err M_GetMatrix3DeterminantPlus(const M_Matrix4* m, double* determinant, M_Matrix4* cofactors);

/// The inverse: the adjugate (the transposed cofactors) divided by the determinant.
///
/// singular  may be null; 1 when the magnitude of the determinant is below 1e-16, else 0
/// returns   0x1107 in that case, and `out` is the adjugate as it is
U_EXPORT Err M_InverseMatrix4Quiet(const M_Matrix4* m, M_Matrix4* out, uint8_t* singular);
/// The same; the failure is also reported.
U_EXPORT Err M_InverseMatrix4(const M_Matrix4* m, M_Matrix4* out);

U_EXPORT bool M_EqualMatrix4(const M_Matrix4* a, const M_Matrix4* b);

/// Takes the plane into space as z = 0: rows and columns 0, 1, 2 become 0, 1, 3, and z stays as it is.
U_EXPORT Err M_Matrix3ToMatrix4(const M_Matrix3* m, M_Matrix4* out);
/// The same, but z is scaled as the plane is on average: by the square root of the magnitude of the
/// determinant of the upper 2 by 2. A uniform scale of the plane becomes one of space.
U_EXPORT Err M_Matrix3ToMatrix4Uniform(const M_Matrix3* m, M_Matrix4* out);

/// The matrix for normals: with U the upper 3 by 3 of m, the upper 3 by 3 of `out` is U inverse, transposed,
/// and the rest is identity. Normals come out at right angles to transformed surfaces, but not of unit
/// length.
///
/// singular  may be null; 1 when the magnitude of U's determinant is below 1e-16, else 0
/// returns   0x1107 in that case, and `out` holds the cofactors of U: the directions, without a length
U_EXPORT Err M_CalcNormalMatrix4Quiet(const M_Matrix4* m, M_Matrix4* out, uint8_t* singular);
/// The same; the failure is also reported.
U_EXPORT Err M_CalcNormalMatrix4(const M_Matrix4* m, M_Matrix4* out);

// --- Points and vectors ------------------------------------------------------------------------------------
//
// In place, `count` of them; a count below 1 does nothing. On (x, y) and an M_Matrix3 the pattern is
//
//   x' = m[2][0] + x m[0][0] + y m[1][0]
//   y' = m[2][1] + x m[0][1] + y m[1][1]
//
// added from left to right. The points are taken one after the other. Some of them may overlap the matrix:
// they change it for those behind them, exactly as if each point were given in a call of its own.

/// By the pattern: perspective is not looked at.
U_EXPORT Err M_TransformFloatPoints(const M_Matrix3* m, int32_t count, M_Vector2* points);

/// Points of space with weight 1. The result is divided by its weight, unless that lies strictly between
/// -1e-12 and 1e-12.
U_EXPORT Err M_Transform3DFloatPoints(const M_Matrix4* m, int32_t count, M_Vector3* points);

/// Integers and 16.16 fixed point, by the pattern. Results are rounded by `M_RoundDouble`.
///
/// returns  0x1102, and reports, when a rounded coordinate does not fit (a not-a-number never does). The
///          points before that one are transformed; it and those behind it are as they were
U_EXPORT Err M_TransformPoints(const M_Matrix3* m, int32_t count, M_Point* points);
U_EXPORT Err M_TransformFixPoints(const M_Matrix3* m, int32_t count, M_FixPoint* points);

/// Products of vectors and matrix, without a division.
U_EXPORT Err M_TransformVector3(const M_Matrix3* m, int32_t count, M_Vector3* vectors);
U_EXPORT Err M_TransformVector4NoDivide(const M_Matrix4* m, int32_t count, M_Vector4* vectors);

/// The product, divided by its w, and w set to 1; unless w lies strictly between -1e-12 and 1e-12: such a
/// vector keeps its w and is not divided.
U_EXPORT Err M_TransformVector4(const M_Matrix4* m, int32_t count, M_Vector4* vectors);

// --- Rectangles --------------------------------------------------------------------------------------------
//
// The bounding box of the four corners, which are transformed as by M_TransformFloatPoints. Sides in integers
// or fixed point are held inside their type and rounded by M_RoundDouble; a not-a-number becomes 0.
//
// corners  may be null; receives the corners in units of 1, unrounded: (left, top), (right, top), (right,
//          bottom), (left, bottom)
// loose    may be null; 1 when M_GetMatrixType is 4 or 5, so that the box may be larger than the shape; or 0

U_EXPORT Err M_TransformRect(const M_Matrix3* m, M_Rect* rect, M_Vector2* corners, uint8_t* loose);
U_EXPORT Err M_TransformFloatRect(const M_Matrix3* m, M_FloatRect* rect, M_Vector2* corners, uint8_t* loose);
U_EXPORT Err M_TransformFixRect(const M_Matrix3* m, M_FixRect* rect, M_Vector2* corners, uint8_t* loose);
U_EXPORT Err M_TransformBounds(const M_Matrix3* m, M_LRect* bounds);

#ifdef __cplusplus
}

/// Whether every element differs by at most `epsilon`.
U_EXPORT bool M_EqualMatrixWithinEpsilon(const M_Matrix4* a, const M_Matrix4* b, double epsilon);

#endif
#endif
