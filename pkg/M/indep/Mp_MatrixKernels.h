/// Product and inverse of matrices of space, a row at a time in lanes.
#ifndef MP_MATRIXKERNELS_H
#define MP_MATRIXKERNELS_H

#include "M_Matrix.h"
#include "Mp_Lanes.h"

/// out := a b, where `out` may be either: a row of a is read before its place is written, and b before all.
MP_INLINE void Mp_Multiply(const M_Matrix4& a, const M_Matrix4& b, M_Matrix4& out)
{
    const Mp_Lanes rows[4] = {Mp_Load(b.m[0]), Mp_Load(b.m[1]), Mp_Load(b.m[2]), Mp_Load(b.m[3])};
    for (int i = 0; i < 4; ++i) Mp_Store(Mp_TimesRows(a.m[i], rows), out.m[i]);
}

/// The three elements that are left of a row without its element j, in lane j: first, second, third.
struct Mp_Rest {
    Mp_Lanes first, second, third;

    MP_INLINE explicit Mp_Rest(const double (&row)[4])
        : first{row[1], row[0], row[0], row[0]},
          second{row[2], row[2], row[1], row[1]},
          third{row[3], row[3], row[3], row[2]}
    {
    }
};

/// The minors of 2 by 2 of two rows, as the cofactors of the other two need them: lane j holds those of the
/// three columns other than j.
struct Mp_Minors {
    Mp_Lanes without_first, without_second, without_third;

    MP_INLINE Mp_Minors(const Mp_Rest& upper, const Mp_Rest& lower)
        : without_first(upper.second * lower.third - upper.third * lower.second),
          without_second(upper.first * lower.third - upper.third * lower.first),
          without_third(upper.first * lower.second - upper.second * lower.first)
    {
    }
};

/// The determinant, from the minors of the upper two rows and of the lower two.
MP_INLINE double Mp_Determinant(const Mp_Minors& up, const Mp_Minors& low)
{
    return up.without_third[3] * low.without_first[0] - up.without_third[1] * low.without_second[0] +
           up.without_second[1] * low.without_third[0] + up.without_third[0] * low.without_second[1] -
           up.without_second[0] * low.without_third[1] + up.without_first[0] * low.without_third[3];
}

/// The cofactors of a row, from the row that shares a half with it and the minors of the other half; with the
/// other sign for odd rows.
MP_INLINE Mp_Lanes Mp_Cofactors(const Mp_Rest& partner, const Mp_Minors& other)
{
    return partner.first * other.without_first - partner.second * other.without_second +
           partner.third * other.without_third;
}

struct Mp_CofactorMatrix {
    double determinant;
    Mp_Lanes rows[4];

    MP_INLINE explicit Mp_CofactorMatrix(const M_Matrix4& m)
    {
        const Mp_Rest rest[4] = {Mp_Rest(m.m[0]), Mp_Rest(m.m[1]), Mp_Rest(m.m[2]), Mp_Rest(m.m[3])};
        const Mp_Minors up(rest[0], rest[1]);
        const Mp_Minors low(rest[2], rest[3]);
        const Mp_Lanes even = {1, -1, 1, -1};
        determinant = Mp_Determinant(up, low);
        rows[0] = Mp_Cofactors(rest[1], low) * even;
        rows[1] = Mp_Cofactors(rest[0], low) * -even;
        rows[2] = Mp_Cofactors(rest[3], up) * even;
        rows[3] = Mp_Cofactors(rest[2], up) * -even;
    }
};

/// The adjugate, divided by the determinant unless that is `tiny`. Gives the determinant.
MP_INLINE double Mp_Invert(const M_Matrix4& m, double tiny, M_Matrix4& out)
{
    const Mp_CofactorMatrix cofactors(m);
    const auto& [r0, r1, r2, r3] = cofactors.rows;
    const double magnitude = cofactors.determinant < 0 ? -cofactors.determinant : cofactors.determinant;
    const Mp_Lanes divisor = Mp_Spread(magnitude < tiny ? 1 : cofactors.determinant);
    const Mp_Lanes low01 = __builtin_shufflevector(r0, r1, 0, 4, 2, 6);
    const Mp_Lanes high01 = __builtin_shufflevector(r0, r1, 1, 5, 3, 7);
    const Mp_Lanes low23 = __builtin_shufflevector(r2, r3, 0, 4, 2, 6);
    const Mp_Lanes high23 = __builtin_shufflevector(r2, r3, 1, 5, 3, 7);
    Mp_Store(__builtin_shufflevector(low01, low23, 0, 1, 4, 5) / divisor, out.m[0]);
    Mp_Store(__builtin_shufflevector(high01, high23, 0, 1, 4, 5) / divisor, out.m[1]);
    Mp_Store(__builtin_shufflevector(low01, low23, 2, 3, 6, 7) / divisor, out.m[2]);
    Mp_Store(__builtin_shufflevector(high01, high23, 2, 3, 6, 7) / divisor, out.m[3]);
    return cofactors.determinant;
}

#endif
