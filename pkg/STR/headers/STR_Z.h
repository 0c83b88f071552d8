/// Numbered messages for code that only wants to look up, and for plug-ins that get the calls as callbacks.
///
/// The `STR_Z` functions are those of U_LStr.h under other names; what is said there holds here. The names in
/// CB are the entries to hand out as callbacks.
///
/// A C++ package holds its table in an object, which registers it and unregisters it at its end:
///
///     STR_ZLinkedCacheMinder g_messages(X_G_zref);
///     const char* text = g_messages.LStrLookup(1, false);
#ifndef STR_Z_H
#define STR_Z_H

#include "U_LStr.h"

#ifdef __cplusplus
extern "C" {
#endif

U_EXPORT Err STR_ZRegisterLStrCache(U_ZLStrCache_Opaque** ref);
U_EXPORT Err STR_ZUnregisterLStrCache(U_ZLStrCache_Opaque** ref);
U_EXPORT Err STR_ZGetLengthLStrCache(U_ZLStrCache_Opaque* cache, int* length);
U_EXPORT const char* STR_ZLookupLStrCache(U_ZLStrCache_Opaque* cache, int index, short english, int* status);

U_EXPORT Err STR_ZRegisterLStrCacheCB(U_ZLStrCache_Opaque** ref);
U_EXPORT Err STR_ZUnregisterLStrCacheCB(U_ZLStrCache_Opaque** ref);
U_EXPORT Err STR_ZGetLengthLStrCacheCB(U_ZLStrCache_Opaque* cache, int* length);
U_EXPORT const char* STR_ZLookupLStrCacheCB(U_ZLStrCache_Opaque* cache, int index, short english,
                                            int* status);

// --- Dumping -----------------------------------------------------------------------------------------------
// Hooks for builds that collect the keys they meet. This library collects none: each returns its argument.

U_EXPORT void* STR_ZDumpSetKeyPrefixPkg(void* prefix);
U_EXPORT void* STR_ZDumpSetKeyPrefixPlugin(void* prefix);
U_EXPORT void* STR_ZDumpPreReplacementString(void* text);
U_EXPORT void* STR_ZDumpBirth(void* refcon);
U_EXPORT void* STR_ZDumpDeath(void* refcon);
U_EXPORT void* STR_ZDump(void* refcon);

#ifdef __cplusplus
}

/// Lookup in one table. Slots: destructor, count, lookup.
class U_EXPORT STR_IZCache {
  public:
    virtual ~STR_IZCache();

    /// The count of messages.
    ///
    /// throws  the `int` 1 without a table
    virtual int LStrCount() = 0;

    /// A message; "[?]" for an index outside of the table.
    ///
    /// throws  the `int` 1 without a table, or the code of what failed
    virtual const char* LStrLookup(int index, bool english) = 0;
};

/// What stands in front of the interface in a plug-in's object: the plug-in may destroy it without knowing
/// more.
class U_EXPORT STR_ZPluginObject {
  public:
    virtual ~STR_ZPluginObject();
};

/// For packages: the interface and nothing in front of it. Holds a private copy of its table.
class U_EXPORT STR_ZLinkedCacheMinder : public STR_IZCache {
  public:
    /// cache   a table that stays valid while this registers it; null for none
    /// throws  the code of a registration that failed
    explicit STR_ZLinkedCacheMinder(U_ZLStrCache_Opaque* cache);
    STR_ZLinkedCacheMinder(const STR_ZLinkedCacheMinder&) = delete;
    STR_ZLinkedCacheMinder& operator=(const STR_ZLinkedCacheMinder&) = delete;
    ~STR_ZLinkedCacheMinder() override;

    int LStrCount() override;
    const char* LStrLookup(int index, bool english) override;

  private:
    U_ZLStrCache_Opaque* m_cache;  // the copy; null for none
};

/// For plug-ins: one more base in front of the interface.
class U_EXPORT STR_ZLinkedCachePlugin : public STR_ZPluginObject, public STR_IZCache {
  public:
    explicit STR_ZLinkedCachePlugin(U_ZLStrCache_Opaque* cache);
    STR_ZLinkedCachePlugin(const STR_ZLinkedCachePlugin&) = delete;
    STR_ZLinkedCachePlugin& operator=(const STR_ZLinkedCachePlugin&) = delete;
    ~STR_ZLinkedCachePlugin() override;

    int LStrCount() override;
    const char* LStrLookup(int index, bool english) override;

  private:
    U_ZLStrCache_Opaque* m_cache;  // the copy; null for none
};

#endif
#endif
