/// Suites: named, versioned tables of functions that one party publishes and others acquire.
///
///     static const PaintSuite kPaint = {FillRect, DrawLine};
///     MVAddSuite(NULL, self, "Paint", 2, 1, &kPaint, NULL);         // publishes
///
///     const void* procs = NULL;
///     if (MVAcquireSuite(NULL, "Paint", 2, 0, &procs) == 0) {       // the newest of API version 2
///         ((const PaintSuite*)procs)->FillRect(...);
///         MVReleaseSuite(NULL, "Paint", 2, 0);
///     }
///
/// A match is exact in name and API version; the internal version is exact too, but 0 stands for the
/// greatest. Acquiring may start the plug-in that publishes, or load its code. The functions stay valid while
/// the suite is acquired; behind the last release the plug-in's code may be unloaded by the next flush.
///
/// The table of a plug-in lives in its code, or better in a block that the plug-in fills anew at each
/// "Reload": a table in code that is unloaded is withdrawn, and its plug-in publishes it again at "Reload".
///
/// The ground rules of MV.h hold: one thread, null lists, outputs.
#ifndef MVSUITES_H
#define MVSUITES_H

#include "MV.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct MVSuite MVSuite;
typedef struct MVSuiteList MVSuiteList;
typedef struct MVSuiteListIterator MVSuiteListIterator;

/// What a plug-in needs before it has any other suite. It is in every message, and a suite of the runtime.
typedef struct MVBasicSuite {
    Err (*AcquireSuite)(const char* name, int32_t apiVersion, int32_t internalVersion, const void** procs);
    Err (*ReleaseSuite)(const char* name, int32_t apiVersion, int32_t internalVersion);
    Err (*AllocateBlock)(uint64_t size, void** block);    ///< as `MVAllocateBlock`, "a plug-in's block"
    Err (*ReallocateBlock)(uint64_t size, void** block);  ///< as `MVReallocateBlock`
    Err (*FreeBlock)(void* block);                        ///< as `MVFreeBlock`
} MVBasicSuite;

#define MV_BASIC_SUITE "MV Basic Suite"

enum { MV_BasicSuite_API_VERSION = 1, MV_BasicSuite_INTERNAL_VERSION = 1 };

// --- Lists -------------------------------------------------------------------------------------------------

/// Makes a list. `strings` and `plugins` are those it works with, the runtime's for null. Without memory
/// `*list` is null, and that is no error.
U_EXPORT Err MVAllocateSuiteList(MVStringPool* strings, MVPluginList* plugins, MVSuiteList** list);

/// Frees a list with its suites; plug-ins that they hold are released. The runtime's own gives "Parm"; "AISC"
/// while a plug-in is being called.
U_EXPORT Err MVFreeSuiteList(MVSuiteList* list);

// --- Publishing and acquiring ------------------------------------------------------------------------------

/// Publishes a suite, or announces it when `procs` is null. An announced suite is completed in place.
///
/// host             the plug-in that publishes; null for the host
/// internalVersion  not 0
/// procs            the host's or plug-in's own, for as long as it publishes
/// suite            may be null; null on failure
/// returns          0; "SIVs", thrown, for internal version 0; "SExi" when it has its functions already; 4
U_EXPORT Err MVAddSuite(MVSuiteList* list, MVPlugin* host, const char* name, int32_t apiVersion,
                        int32_t internalVersion, const void* procs, MVSuite** suite);

/// Finds a suite and counts an acquisition. May start its plug-in, load its code and send it "Reload".
///
/// procs    the functions; null on failure
/// returns  0; "S!Fd", thrown, when there is none, or when nobody can give its functions yet; "PiH0" when its
///          plug-in has started and gives no functions; the code of loading the plug-in, and of an adapter, as
///          it stands
U_EXPORT Err MVAcquireSuite(MVSuiteList* list, const char* name, int32_t apiVersion, int32_t internalVersion,
                            const void** procs);

/// Takes one acquisition back. With internal version 0 it is the greatest of *now* that is released: pass the
/// version that you asked for, unless a newer one may have come meanwhile.
///
/// returns  0; "S!Fd", thrown, when there is none; "SRel", thrown, when it is not acquired
U_EXPORT Err MVReleaseSuite(MVSuiteList* list, const char* name, int32_t apiVersion, int32_t internalVersion);

/// Finds a suite without acquiring it. One that is missing gives null and no error, and is noted: a plug-in
/// that failed to start for want of it is tried again when it appears.
///
/// returns  0; "S!Fd" when there is no list at all
U_EXPORT Err MVFindSuite(MVSuiteList* list, const char* name, int32_t apiVersion, int32_t internalVersion,
                         MVSuite** suite);

// --- Walking and reading -----------------------------------------------------------------------------------

/// Walks over the suites in no order that a caller may rely on. A suite added meanwhile may be missed.
U_EXPORT Err MVNewSuiteListIterator(MVSuiteList* list, MVSuiteListIterator** iterator);
U_EXPORT Err MVNextSuite(MVSuiteListIterator* iterator, MVSuite** suite);  ///< null at the end
U_EXPORT Err MVDeleteSuiteListIterator(MVSuiteListIterator* iterator);

U_EXPORT Err MVGetSuiteHost(const MVSuite* suite, MVPlugin** host);  ///< null for a suite of the host
U_EXPORT Err MVGetSuiteName(const MVSuite* suite, const char** name);
U_EXPORT Err MVGetSuiteAPIVersion(const MVSuite* suite, int32_t* version);
U_EXPORT Err MVGetSuiteInternalVersion(const MVSuite* suite, int32_t* version);
U_EXPORT Err MVGetSuiteProcs(const MVSuite* suite, const void** procs);  ///< null while only announced
U_EXPORT Err MVGetSuiteAcquireCount(const MVSuite* suite, int32_t* count);

#ifdef __cplusplus
}
#endif
#endif
