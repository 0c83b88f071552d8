// The texts of the time family.
//
// State: the table, with the texts converted so far beside their keys. The library frees them at its death.

#include "Tp_Time.h"

namespace {

U_ZLStrCacheEntry T_G_ztab[] = {
    U_LSTR_ROW("$$$/QL/T/LStr/0000=Time argument is out of range."),
    U_LSTR_CLOSING_ROW,
};

U_ZLStrCache T_G_zhdr = U_LSTR_HEADER("T", T_G_ztab);

}  // namespace

U_ZLStrCache_Opaque* T_G_zref = reinterpret_cast<U_ZLStrCache_Opaque*>(&T_G_zhdr);

const char* Tp_String(int row)
{
    return U_ZLookupLStrCache(T_G_zref, row, 0, nullptr);
}
