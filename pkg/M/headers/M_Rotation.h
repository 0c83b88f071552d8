/// Rotations of space: about an axis, from and to three angles, as quaternions; and the decomposition of a
/// matrix into translation, scale, shear and rotation.
///
///     M_Matrix4Decomp parts;
///     if (M_DecomposeMatrix4(&m, &parts, NULL) == 0) Show(parts.rotation.z);
///
///     M_Slerp(&from, &to, &between, 0.5);              // half way between two orientations
///     M_QuatToMatrix4(&between, &m);
///
/// Ground rules. Angles are in radians, points are row vectors (M_Matrix.h). The rotation by an angle about
/// the axes X, Y and Z is, with c its cosine and s its sine,
///
///   X  | 1  0  0 |    Y  | c  0 -s |    Z  | c  s  0 |
///      | 0  c  s |       | 0  1  0 |       |-s  c  0 |
///      | 0 -s  c |       | s  0  c |       | 0  0  1 |
///
/// and a product of them applies the left one first. Y by a quarter turn takes (1, 0, 0) to (0, 0, -1).
///
/// An output may be one of the inputs. Pointers are not null unless that is said.
///
/// threads  any; no shared state
/// errors   functions that give an `Err` return 0 unless their text names another code
#ifndef M_ROTATION_H
#define M_ROTATION_H

#include "M_Matrix.h"
#include "M_Vector.h"
#include "U_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

// --- Decomposition -----------------------------------------------------------------------------------------

/// What a row of a matrix has of the rows before it.
typedef struct M_Shear3 {
    double xy;  ///< of row 0 in row 1
    double xz;  ///< of row 0 in row 2
    double yz;  ///< of row 1 in row 2
} M_Shear3;

/// The parts of a matrix. With the rows r0, r1, r2 of its rotation, the rows of the upper 3 by 3 are
///
///   scale.x r0
///   scale.y r1 + s shear.xy r0
///   scale.z r2 + s shear.xz r0 + s shear.yz r1
///
/// where s is -1 for a reflection, whose three scales are all negative, and 1 for everything else.
typedef struct M_Matrix4Decomp {
    M_Vector3 translation;
    M_Vector3 scale;
    M_Shear3 shear;
    M_Vector3 rotation;  ///< angles about X, Y and Z
} M_Matrix4Decomp;

/// Takes a matrix apart. The homogeneous scale is divided out first. For all the order of letters in
/// "XYZ", the rotation that the angles stand for is
///
///   R = Z(rotation.z) Y(rotation.y) X(rotation.x)
///
/// that is, Z is applied first. For example, X(0.2) Y(0.3) Z(0.4), which turns about X first, gives other
/// angles than (0.2, 0.3, 0.4), and Z(0.4) Y(0.3) X(0.2) gives these. When Y is a quarter turn, X and Z turn
/// about the same axis, and all of it is given to Z. A scale of 0 leaves its row as it is: there is a result,
/// but it means little.
///
/// failed   may be null; 1 when the matrix cannot be taken apart, else 0
/// returns  0x1108 when m[3][3] is 0 or the matrix has perspective: after division by it m[0][3], m[1][3]
///          or m[2][3] is not exactly 0. All parts are 0 then. Reported if there is no byte to tell
U_EXPORT Err M_DecomposeMatrix4(const M_Matrix4* m, M_Matrix4Decomp* out, uint8_t* failed);

/// The same but for the angles, which stand for R = X(rotation.x) Y(rotation.y) Z(rotation.z): X is applied
/// first. When Y is a quarter turn, all is given to X, or to Z if X did not turn.
U_EXPORT Err M_DecomposeMatrix4ZYX(const M_Matrix4* m, M_Matrix4Decomp* out, uint8_t* failed);

/// Folds half turns about X or Y, which mirror a layer of the plane, into the signs of its scale: a half turn
/// about X negates `scale.y` and the angles about Y and Z, one about Y negates `scale.x` and the angles about
/// X and Z. `scale.z`, which a layer does not have, becomes 1 in every case.
U_EXPORT Err M_Correct3DDecompFor2D(M_Matrix4Decomp* parts);

/// The angles alone, as `M_DecomposeMatrix4` gives them. What cannot be taken apart is reported, gives 0x1108
/// and three zeros.
U_EXPORT Err M_GetXYZRotationFromMatrix(const M_Matrix4* m, M_Vector3* rotation);
/// The angles of the order asked for: with `x_first` those of `M_DecomposeMatrix4ZYX`.
U_EXPORT Err M_GetOrderedXYZRotationFromMatrix(const M_Matrix4* m, bool x_first, M_Vector3* rotation);

// --- Rotation ----------------------------------------------------------------------------------------------

/// m := m R, where R turns about an axis through the origin. Seen from the tip of the axis, in a right-handed
/// frame, a positive angle turns counter-clockwise.
///
/// flag, context  kept for callers that choose among builders; not looked at
/// returns        3, and reports, for an axis shorter than 1e-12; `m` is left alone then
U_EXPORT Err M_RotateMatrix4(M_Matrix4* m, int flag, void* context, double x, double y, double z,
                             double angle);

/// Turns about X, then Y, then Z, each axis carried along by the turns before it: the result of the first two
/// has turned the Z axis that the third one uses. From identity that is Z(rz) Y(ry) X(rx) as a product.
///
/// concat  false: the axes are those of `m`, carried by it too (an axis that it takes to 0 is skipped), and m
///         is turned about them. True: the turns are built on the plain axes, and m := m W, with W their
///         product
U_EXPORT Err M_RotateMatrix4XYZPlus(bool concat, M_Matrix4* m, double rx, double ry, double rz);
/// The same with `concat`.
U_EXPORT Err M_RotateMatrix4XYZ(M_Matrix4* m, double rx, double ry, double rz);

// --- Quaternions -------------------------------------------------------------------------------------------

/// x, y, z, w. A rotation by an angle about a unit axis is axis * sin(angle / 2), cos(angle / 2).
typedef M_Vector4 M_Quaternion;

/// The matrix of a quaternion: a rotation for one of length 1. It is not normalised first, so one of length n
/// also scales by n squared.
U_EXPORT Err M_QuatToMatrix4(const M_Quaternion* q, M_Matrix4* out);

/// The quaternion of a rotation; of the two that stand for it the one whose w, or else whose greatest
/// component, is positive. What is no rotation gives numbers without that meaning.
U_EXPORT Err M_Matrix4ToQuat(const M_Matrix4* m, M_Quaternion* out);

/// Goes from q0 (t = 0) to q1 (t = 1) on the shorter arc at constant speed; with a negative dot product to
/// the negative of q1, which is the same rotation. The result is not normalised, and nearly parallel
/// quaternions are blended in a straight line.
///
/// source  K. Shoemake, "Animating rotation with quaternion curves", 1985
U_EXPORT Err M_Slerp(const M_Quaternion* q0, const M_Quaternion* q1, M_Quaternion* out, double t);

#ifdef __cplusplus
}
#endif
#endif
