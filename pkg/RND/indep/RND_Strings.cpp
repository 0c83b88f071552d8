// The texts of the random family.
//
// State: the table, with the texts converted so far beside their keys. The library frees them at its death.

#include "RNDp_Generator.h"

namespace {

U_ZLStrCacheEntry RND_G_ztab[] = {
    U_LSTR_ROW("$$$/QL/RND/LStr/0000=random stream"),
    U_LSTR_ROW("$$$/QL/RND/LStr/0001=band-limited random state"),
    U_LSTR_CLOSING_ROW,
};

U_ZLStrCache RND_G_zhdr = U_LSTR_HEADER("RND", RND_G_ztab);

}  // namespace

U_ZLStrCache_Opaque* RND_G_zref = reinterpret_cast<U_ZLStrCache_Opaque*>(&RND_G_zhdr);

const char* RNDp_String(int row)
{
    return U_ZLookupLStrCache(RND_G_zref, row, 0, nullptr);
}
