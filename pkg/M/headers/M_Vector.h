/// Points, vectors and rectangles: what matrices (M_Matrix.h) transform.
///
/// Plain coordinates without arithmetic or invariants:
///
///   M_Vector2     doubles x, y: a point or vector of the plane
///   M_Vector3     doubles x, y, z: one of space, or a homogeneous point of the plane whose z is its weight
///   M_Vector4     doubles x, y, z, w: a homogeneous point of space, or a quaternion
///   M_Point       int16 x, y: a pixel
///   M_LongPoint   int32 x, y
///   M_FixPoint    the same in 16.16 fixed point: 65536 stands for 1
///   M_Rect        int16 left, top, right, bottom
///   M_LRect       int32
///   M_FixRect     16.16 fixed point
///   M_FloatRect   double
///
/// A rectangle may be given with its sides in any order; one that comes from a function has `left` at or
/// below `right` and `top` at or below `bottom`. Whether y runs up or down is the caller's choice.
///
///     M_Vector2 corner = {16, 9};
///     M_Rect frame = {0, 0, 1920, 1080};
///
/// In C++ they are members of the templates below, so that a signature can name the coordinate's type.
#ifndef M_VECTOR_H
#define M_VECTOR_H

#include "U_Types.h"

#ifdef __cplusplus

template <class T>
struct M_Vector2T {
    T x, y;
    bool operator==(const M_Vector2T&) const = default;
};

template <class T>
struct M_Vector3T {
    T x, y, z;
    bool operator==(const M_Vector3T&) const = default;
};

template <class T>
struct M_Vector4T {
    T x, y, z, w;
    bool operator==(const M_Vector4T&) const = default;
};

template <class T>
struct M_RectT {
    T left, top, right, bottom;
    bool operator==(const M_RectT&) const = default;
};

typedef M_Vector2T<double> M_Vector2;
typedef M_Vector3T<double> M_Vector3;
typedef M_Vector4T<double> M_Vector4;
typedef M_Vector2T<int16_t> M_Point;
typedef M_Vector2T<int32_t> M_LongPoint;
typedef M_RectT<int16_t> M_Rect;
typedef M_RectT<int32_t> M_LRect;
typedef M_RectT<double> M_FloatRect;

#else

typedef struct M_Vector2 {
    double x, y;
} M_Vector2;

typedef struct M_Vector3 {
    double x, y, z;
} M_Vector3;

typedef struct M_Vector4 {
    double x, y, z, w;
} M_Vector4;

typedef struct M_Point {
    int16_t x, y;
} M_Point;

typedef struct M_LongPoint {
    int32_t x, y;
} M_LongPoint;

typedef struct M_Rect {
    int16_t left, top, right, bottom;
} M_Rect;

typedef struct M_LRect {
    int32_t left, top, right, bottom;
} M_LRect;

typedef struct M_FloatRect {
    double left, top, right, bottom;
} M_FloatRect;

#endif

typedef M_LongPoint M_FixPoint;
typedef M_LRect M_FixRect;

#endif
