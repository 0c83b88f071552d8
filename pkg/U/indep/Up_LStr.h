/// Life of the numbered messages.
#ifndef UP_LSTR_H
#define UP_LSTR_H

#include "U_LStr.h"

/// Makes the list of the static tables that hold texts. Returns 0, or 4 when memory ran out.
int Up_ZLStrBirth();

/// Frees those texts and ends the list. Tables can still be asked; what they convert then is not freed.
/// Returns 0.
int Up_ZLStrDeath();

/// A copy of a table that nobody holds, in blocks of the C heap.
///
/// deep     false: the copy has keys only, but for rows whose text is final
/// returns  null for a damaged table, or when memory ran out
U_ZLStrCache* Up_ZCacheDeepCopy(U_ZLStrCache* cache, bool deep);

#endif
