/// Numbered messages: a table of keys whose texts are converted once a language.
///
///     static U_ZLStrCacheEntry X_G_ztab[] = {
///         U_LSTR_ROW("$$$/MyApp/X/LStr/0000=unknown error (%d)."),
///         U_LSTR_ROW("$$$/MyApp/X/LStr/0001=the clip is empty."),
///         U_LSTR_CLOSING_ROW,
///     };
///     static U_ZLStrCache X_G_zhdr = U_LSTR_HEADER("X", X_G_ztab);
///     U_ZLStrCache_Opaque* X_G_zref = (U_ZLStrCache_Opaque*)&X_G_zhdr;
///
///     const char* text = U_ZLookupLStrCache(X_G_zref, 1, 0, NULL);
///
/// A static table needs no registration: the library frees its texts at death, and the table can be used
/// again after it. A table that goes away before that, as a plug-in's does, is registered, which makes a
/// private copy, and unregistered before it goes.
///
/// Ground rules. Texts are in the application text encoding (U_String.h). A text stays valid, at the same
/// address, until death or until its table is unregistered: a change of language or encoding does not reach
/// texts that were asked for before. Lookups may run on any threads at once; registration and death may not
/// run beside lookups of the same table. A record that is damaged ends the process through `std::terminate`,
/// since every text that it gives would be a stray pointer.
#ifndef U_LSTR_H
#define U_LSTR_H

#include "U_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Flags of a row.
enum {
    U_LStrRow_FINAL_TEXT = 1,  ///< `localized` is the text for every language; there is no key to convert
    U_LStrRow_OWNS_KEY = 2,
    U_LStrRow_OWNS_LOCALIZED = 4,
    U_LStrRow_OWNS_ENGLISH = 8
};

/// Flags of a table, of which the library sets at most one.
enum {
    U_LStrCache_PRIVATE_COPY = 2,  ///< made by `U_ZRegisterLStrCache`
    U_LStrCache_HELD = 4           ///< a static table whose texts are freed at death
};

/// One message. The closing row has a null key and no flags; that is the table's mark of validity.
typedef struct U_ZLStrCacheEntry {
    char* key;        ///< the literal with its English default
    char* localized;  ///< null until first asked for
    char* english;    ///< null until first asked for
    uint32_t flags;
} U_ZLStrCacheEntry;

typedef struct U_ZLStrCache {
    char* name;     ///< the family's short name
    int32_t count;  ///< rows, the closing one included
    U_ZLStrCacheEntry* entries;
    uint32_t flags;
} U_ZLStrCache;

/// The type under which callers hold a table.
typedef struct U_ZLStrCache_Opaque U_ZLStrCache_Opaque;

/// The parts of a static table; `key` and `name` are literals.
#define U_LSTR_ROW(key)             \
    {                               \
        (char*)(key), NULL, NULL, 0 \
    }
#define U_LSTR_CLOSING_ROW                                  \
    {                                                       \
        NULL, (char*)~(uintptr_t)0, (char*)~(uintptr_t)0, 0 \
    }
#define U_LSTR_HEADER(name, rows)                                             \
    {                                                                         \
        (char*)(name), (int32_t)(sizeof(rows) / sizeof((rows)[0])), (rows), 0 \
    }

/// The text of a row.
///
/// index    from 0; outside of the table the text is "[?]", which is no error
/// english  not 0 for the English text. Before the host has chosen a language every text is English
/// status   null, or receives 0, or the code of an exception under which the text could not be made
/// returns  never null; "[?]" where there is no text
U_EXPORT const char* U_ZLookupLStrCache(U_ZLStrCache_Opaque* cache, int index, short english, int* status);

/// The count of rows without the closing one. A null `length` returns 0 and looks at nothing.
U_EXPORT Err U_ZGetLengthLStrCache(U_ZLStrCache_Opaque* cache, int* length);

/// Replaces `*ref` by a private copy without texts, and frees the texts of the former table.
///
/// ref      null returns 0. When the copy cannot be made `*ref` stays
/// returns  0; 4 when memory ran out
U_EXPORT Err U_ZRegisterLStrCache(U_ZLStrCache_Opaque** ref);

/// Destroys a private copy and nulls `*ref`.
///
/// returns  0; 3, with nothing done, for a table that `U_ZRegisterLStrCache` did not make
U_EXPORT Err U_ZUnregisterLStrCache(U_ZLStrCache_Opaque** ref);

#ifdef __cplusplus
}
#endif
#endif
