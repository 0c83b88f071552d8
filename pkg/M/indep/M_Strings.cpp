// The texts of the math family.
//
// State: the table, with the texts converted so far beside their keys. The library frees them at its death.

#include <iterator>

#include "Mp_Err.h"

namespace {

U_ZLStrCacheEntry M_G_ztab[] = {
    U_LSTR_ROW("$$$/QL/M/LStr/0000=unknown error (%d)."),
    U_LSTR_ROW("$$$/QL/M/LStr/0001=underflow %s."),
    U_LSTR_ROW("$$$/QL/M/LStr/0002=overflow %s."),
    U_LSTR_ROW("$$$/QL/M/LStr/0003=divide by zero %s."),
    U_LSTR_ROW("$$$/QL/M/LStr/0004=trig table initialization."),
    U_LSTR_ROW("$$$/QL/M/LStr/0005=Gaussian table initialization."),
    U_LSTR_ROW("$$$/QL/M/LStr/0006=FCM/D table"),
    U_LSTR_ROW("$$$/QL/M/LStr/0007=attempt to use unrequested math service (%s)."),
    U_LSTR_ROW("$$$/QL/M/LStr/0008=fast character math will be unavailable."),
    U_LSTR_ROW("$$$/QL/M/LStr/0009=FCMD unprepare without prepare."),
    U_LSTR_ROW("$$$/QL/M/LStr/0010=zero denominator %s."),
    U_LSTR_ROW("$$$/QL/M/LStr/0011=in ratio addition"),
    U_LSTR_ROW("$$$/QL/M/LStr/0012=in ratio subtraction"),
    U_LSTR_ROW("$$$/QL/M/LStr/0013=in ratio multiply"),
    U_LSTR_ROW("$$$/QL/M/LStr/0014=converting ratio denominators"),
    U_LSTR_ROW("$$$/QL/M/LStr/0015=comparing ratios"),
    U_LSTR_ROW("$$$/QL/M/LStr/0016=invalid rational range"),
    U_LSTR_ROW("$$$/QL/M/LStr/0017=in ratio span"),
    U_LSTR_ROW("$$$/QL/M/LStr/0018=fast char math"),
    U_LSTR_ROW("$$$/QL/M/LStr/0019=in fixed multiply"),
    U_LSTR_ROW("$$$/QL/M/LStr/0020=in fixed divide"),
    U_LSTR_ROW("$$$/QL/M/LStr/0021=in fix24 multiply"),
    U_LSTR_ROW("$$$/QL/M/LStr/0022=in fix24 divide"),
    U_LSTR_ROW("$$$/QL/M/LStr/0023=in matrix conversion"),
    U_LSTR_ROW("$$$/QL/M/LStr/0024=unable to invert matrix."),
    U_LSTR_ROW("$$$/QL/M/LStr/0025=in fixed point transformation"),
    U_LSTR_ROW("$$$/QL/M/LStr/0026=in point transformation"),
    U_LSTR_ROW("$$$/QL/M/LStr/0027=in fixed vector transformation"),
    U_LSTR_ROW("$$$/QL/M/LStr/0028=unimplemented on this platform"),
    U_LSTR_ROW("$$$/QL/M/LStr/0029=in ratio divide"),
    U_LSTR_ROW("$$$/QL/M/LStr/0030=Trig table"),
    U_LSTR_ROW("$$$/QL/M/LStr/0031=fast trig"),
    U_LSTR_ROW("$$$/QL/M/LStr/0032=fast trig will be unavailable."),
    U_LSTR_ROW("$$$/QL/M/LStr/0033=Fast Trig unprepare without prepare."),
    U_LSTR_ROW("$$$/QL/M/LStr/0034=unable to decompose matrix."),
    U_LSTR_ROW("$$$/QL/M/LStr/0035=unable to build rotation matrix."),
    U_LSTR_ROW("$$$/QL/M/LStr/0036=unable to calculate normal vector."),
    U_LSTR_ROW("$$$/QL/M/LStr/0037=unable to intersect plane."),
    U_LSTR_ROW("$$$/QL/M/LStr/0038=cannot normalize zero vector"),
    U_LSTR_ROW("$$$/QL/M/LStr/0039=in vector divide"),
    U_LSTR_ROW("$$$/QL/M/LStr/0040=homogeneous point has W=0"),
    U_LSTR_ROW("$$$/QL/M/LStr/0041=attempt to normalize a homegeneous point"),
    U_LSTR_CLOSING_ROW,
};
static_assert(std::size(M_G_ztab) == 43);

U_ZLStrCache M_G_zhdr = U_LSTR_HEADER("M", M_G_ztab);

}  // namespace

U_ZLStrCache_Opaque* M_G_zref = reinterpret_cast<U_ZLStrCache_Opaque*>(&M_G_zhdr);

const char* Mp_String(int row)
{
    return U_ZLookupLStrCache(M_G_zref, row, 0, nullptr);
}
