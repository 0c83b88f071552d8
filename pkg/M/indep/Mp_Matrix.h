/// What both sizes of matrix do element by element, written once.
#ifndef MP_MATRIX_H
#define MP_MATRIX_H

#include <cmath>

#include "M_Matrix.h"

constexpr M_Matrix3 Mp_kIdentity3 = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
constexpr M_Matrix4 Mp_kIdentity4 = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

/// Whether `test` holds for every pair of elements in the same place.
template <int kSide, class Test>
bool Mp_AllElements(const double (&a)[kSide][kSide], const double (&b)[kSide][kSide], Test test)
{
    for (int i = 0; i < kSide; ++i) {
        for (int j = 0; j < kSide; ++j) {
            if (!test(a[i][j], b[i][j])) return false;
        }
    }
    return true;
}

template <int kSide>
bool Mp_AreEqual(const double (&a)[kSide][kSide], const double (&b)[kSide][kSide])
{
    return Mp_AllElements(a, b, [](double x, double y) { return x == y; });
}

/// Equal infinities do not differ, although their difference is no number.
template <int kSide>
bool Mp_AreNear(const double (&a)[kSide][kSide], const double (&b)[kSide][kSide], double epsilon)
{
    return Mp_AllElements(a, b,
                          [epsilon](double x, double y) { return x == y || std::fabs(x - y) <= epsilon; });
}

template <int kSide, class Operation>
void Mp_Combine(double (&a)[kSide][kSide], const double (&b)[kSide][kSide], Operation operation)
{
    for (int i = 0; i < kSide; ++i) {
        for (int j = 0; j < kSide; ++j) a[i][j] = operation(a[i][j], b[i][j]);
    }
}

template <int kSide>
void Mp_Transpose(double (&a)[kSide][kSide])
{
    for (int i = 0; i < kSide; ++i) {
        for (int j = 0; j < i; ++j) {
            const double below = a[i][j];
            a[i][j] = a[j][i];
            a[j][i] = below;
        }
    }
}

#endif
