/// Suites, their lists, and the searches that found nothing.
#ifndef MVP_SUITES_H
#define MVP_SUITES_H

#include <functional>
#include <map>

#include "MVp_Runtime.h"

struct MVSuite {
    MVPlugin* plugin;  // null for one of the host
    const char* name;  // pooled
    int32_t apiVersion;
    int32_t internalVersion;  // not 0
    const void* procs;        // null while it is only announced
    int32_t acquireCount;
    MVAccess* access;  // kept while it is acquired
    bool withdrawn;    // its functions went away with the plug-in's code
};

/// A suite that was asked for and not found.
struct MVSuiteSearch {
    MVSuiteSearch* next;
    const char* name;
    int32_t apiVersion;
};

struct MVSuiteKey {
    const char* name;  // pooled: compared by address
    int32_t apiVersion;
    int32_t internalVersion;  // 0 in the map of the greatest ones

    // Written out, since every acquiring walks down a map by it.
    bool operator<(const MVSuiteKey& other) const
    {
        if (name != other.name) return std::less<>{}(name, other.name);
        return apiVersion != other.apiVersion ? apiVersion < other.apiVersion
                                              : internalVersion < other.internalVersion;
    }
};

struct MVSuiteList {
    MVSuiteList* next = nullptr;  // all lists of the process
    std::map<MVSuiteKey, MVSuite*> suites;
    std::map<MVSuiteKey, MVSuite*> greatest;  // of a name and API version, by its internal version
    MVSuiteSearch* searches = nullptr;
    MVStringPool* strings = nullptr;
    MVPluginList* plugins = nullptr;

    ~MVSuiteList();
};

/// What every message carries.
extern const MVBasicSuite mvBasicSuite;

/// Takes back the functions that lie in the code of an access that is about to be unloaded, in every list: the
/// plug-in publishes them again at its next "Reload".
void mvWithdrawSuites(const MVAccess* access);

/// Takes an access that goes away out of the suites that hold it, in every list.
void mvForgetAccess(const MVAccess* access);

/// Takes plug-ins that are about to be freed with their list out of every suite list: their suites are announced
/// without a publisher again.
void mvForgetPlugins(const MVPluginList* plugins);

/// Frees a list without releasing anything: the accesses are gone already.
void mvDeleteSuiteList(MVSuiteList* list);

#endif
