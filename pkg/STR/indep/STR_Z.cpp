// Forwarding to the numbered messages of the core library. No state.
#include "STR_Z.h"

namespace {

constexpr int kNoTable = 1;  // thrown

U_ZLStrCache_Opaque* Register(U_ZLStrCache_Opaque* cache)
{
    if (!cache) return nullptr;
    const Err result = U_ZRegisterLStrCache(&cache);
    if (result != U_Err_NONE) throw int{result};
    return cache;
}

void Unregister(U_ZLStrCache_Opaque*& cache)
{
    if (cache) U_ZUnregisterLStrCache(&cache);
}

int Count(U_ZLStrCache_Opaque* cache)
{
    if (!cache) throw int{kNoTable};
    int count = 0;
    const Err result = U_ZGetLengthLStrCache(cache, &count);
    if (result != U_Err_NONE) throw int{result};
    return count;
}

const char* Lookup(U_ZLStrCache_Opaque* cache, int index, bool english)
{
    if (!cache) throw int{kNoTable};
    int status = 1;
    const char* const text = U_ZLookupLStrCache(cache, index, english ? 1 : 0, &status);
    if (status != 0) throw int{status};
    return text;
}

}  // namespace

// --- Forwards ----------------------------------------------------------------------------------------------

Err STR_ZRegisterLStrCache(U_ZLStrCache_Opaque** ref)
{
    return U_ZRegisterLStrCache(ref);
}

Err STR_ZUnregisterLStrCache(U_ZLStrCache_Opaque** ref)
{
    return U_ZUnregisterLStrCache(ref);
}

Err STR_ZGetLengthLStrCache(U_ZLStrCache_Opaque* cache, int* length)
{
    return U_ZGetLengthLStrCache(cache, length);
}

const char* STR_ZLookupLStrCache(U_ZLStrCache_Opaque* cache, int index, short english, int* status)
{
    return U_ZLookupLStrCache(cache, index, english, status);
}

Err STR_ZRegisterLStrCacheCB(U_ZLStrCache_Opaque** ref)
{
    return U_ZRegisterLStrCache(ref);
}

Err STR_ZUnregisterLStrCacheCB(U_ZLStrCache_Opaque** ref)
{
    return U_ZUnregisterLStrCache(ref);
}

Err STR_ZGetLengthLStrCacheCB(U_ZLStrCache_Opaque* cache, int* length)
{
    return U_ZGetLengthLStrCache(cache, length);
}

const char* STR_ZLookupLStrCacheCB(U_ZLStrCache_Opaque* cache, int index, short english, int* status)
{
    return U_ZLookupLStrCache(cache, index, english, status);
}

// --- Dumping -----------------------------------------------------------------------------------------------

void* STR_ZDumpSetKeyPrefixPkg(void* prefix)
{
    return prefix;
}

void* STR_ZDumpSetKeyPrefixPlugin(void* prefix)
{
    return prefix;
}

void* STR_ZDumpPreReplacementString(void* text)
{
    return text;
}

void* STR_ZDumpBirth(void* refcon)
{
    return refcon;
}

void* STR_ZDumpDeath(void* refcon)
{
    return refcon;
}

void* STR_ZDump(void* refcon)
{
    return refcon;
}

// --- Classes -----------------------------------------------------------------------------------------------

STR_IZCache::~STR_IZCache() = default;

STR_ZPluginObject::~STR_ZPluginObject() = default;

STR_ZLinkedCacheMinder::STR_ZLinkedCacheMinder(U_ZLStrCache_Opaque* cache) : m_cache(Register(cache)) {}

STR_ZLinkedCacheMinder::~STR_ZLinkedCacheMinder()
{
    Unregister(m_cache);
}

int STR_ZLinkedCacheMinder::LStrCount()
{
    return Count(m_cache);
}

const char* STR_ZLinkedCacheMinder::LStrLookup(int index, bool english)
{
    return Lookup(m_cache, index, english);
}

STR_ZLinkedCachePlugin::STR_ZLinkedCachePlugin(U_ZLStrCache_Opaque* cache) : m_cache(Register(cache)) {}

STR_ZLinkedCachePlugin::~STR_ZLinkedCachePlugin()
{
    Unregister(m_cache);
}

int STR_ZLinkedCachePlugin::LStrCount()
{
    return Count(m_cache);
}

const char* STR_ZLinkedCachePlugin::LStrLookup(int index, bool english)
{
    return Lookup(m_cache, index, english);
}
