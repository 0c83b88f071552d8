/// Plug-ins, accesses to their code, and messages.
///
/// A plug-in is a record in a list: a name, a property list, a state, and a file or an entry point of the
/// host. Its code need not be in memory. It is listed, started once, and then its code comes and goes with
/// accesses:
///
///   record   listed ---- started ------ startup complete ------ shut down
///                           \---------- broken
///   code     absent ---- loaded ---- absent ---- loaded ...         as often as needed, independently
///            "Reload" ^        ^ "Unload"
///
/// The smallest plug-in is one function: `MVPluginMain`, exported by a file, or given to `MVAddHostPlugin`:
///
///     int MVPluginMain(const char* caller, const char* selector, void* message)
///     {
///         MVMessageData* data = (MVMessageData*)message;
///         if (strcmp(caller, MV_Caller_INTERFACE) == 0 && strcmp(selector, MV_Selector_STARTUP) == 0)
///             return MVAddSuite(NULL, data->self, "Paint", 2, 1, &kPaint, NULL);
///         return 0;
///     }
///
/// What it returns is the plug-in's own result, apart from the code of the function that called it. Whatever
/// it keeps goes into `data->globals`; after "Unload" nothing there may point into its code.
///
/// The ground rules of MV.h hold: one thread, null lists, outputs. Callers and selectors are compared by
/// text.
#ifndef MVPLUGINS_H
#define MVPLUGINS_H

#include "MVSuites.h"

#ifdef __cplusplus
extern "C" {
#endif

/// The entry point of a plug-in. Returns the plug-in's own result: 0 for well done.
typedef int (*MVPluginEntry)(const char* caller, const char* selector, void* message);

/// The name, with C linkage, under which a plug-in file exports its entry point.
#define MV_ENTRY_NAME "MVPluginMain"

// --- Callers and selectors ---------------------------------------------------------------------------------

#define MV_Caller_ADAPTERS "MV Adapters"
#define MV_Selector_START_UP "Start up"
#define MV_Selector_SHUT_DOWN "Shut down"
#define MV_Selector_DISPOSE_INFO "Dispose info"
#define MV_Selector_FIND_PROPERTY "Find property"
#define MV_Selector_FLUSH "Flush"
#define MV_Selector_ACQUIRE_SUITE "Acquire Suite"
#define MV_Selector_RELEASE_SUITE "Release Suite"
#define MV_Selector_REGISTER_PLUGINS "Register plugins"
#define MV_Selector_LOAD_PLUGIN "Load plugin"
#define MV_Selector_RELEASE_PLUGIN "Release plugin"
#define MV_Selector_SEND_MESSAGE "Send message"

#define MV_Caller_INTERFACE "MV Interface"
#define MV_Selector_STARTUP "Startup"
#define MV_Selector_SHUTDOWN "Shutdown"
#define MV_Selector_ABOUT "About"  ///< of "MV Adapters" too

#define MV_Caller_ACCESS "MV Access"
#define MV_Selector_RELOAD "Reload"
#define MV_Selector_UNLOAD "Unload"

#define MV_Caller_PROPERTIES "MV Properties"
#define MV_Selector_ACQUIRE "Acquire"
#define MV_Selector_RELEASE "Release"

#define MV_Caller_CACHE "MV Cache"
#define MV_Selector_PURGE "Plug-in Purge"

#define MV_Flush_ACCESS "MV Flush Access"

// --- Messages ----------------------------------------------------------------------------------------------

/// The check value of a message, stored little-endian: the bytes are "kCVM".
#define MV_CHECK MV_CODE('M', 'V', 'C', 'k')

/// The head of every message record.
typedef struct MVMessageData {
    int32_t MVCheck;            ///< `MV_CHECK`
    MVPlugin* self;             ///< the plug-in that is called
    void* globals;              ///< its own pointer; what it leaves here is kept for the next message
    const MVBasicSuite* basic;  ///< the runtime's "MV Basic Suite"
} MVMessageData;

/// When the code of a plug-in is loaded or unloaded.
enum {
    MV_AccessPoint_NONE = 0,      ///< before it has started
    MV_AccessPoint_RUNTIME = 1,   ///< it has started
    MV_AccessPoint_SHUTDOWN = 2,  ///< the host shuts plug-ins down
    MV_AccessPoint_TERM = 3       ///< the runtime ends
};

/// The record of "MV Access" messages.
typedef struct MVAccessMessage {
    MVMessageData data;
    int32_t accessPoint;
} MVAccessMessage;

/// The record of "MV Adapters" messages but those of suites, for the plug-in of an adapter:
///
///   "Start up"                  of a V1 adapter, behind the other plug-ins' start; `plugin` is null
///   "Shut down"                 of an adapter that starts went through; `plugin` is null
///   "Register plugins"          add adapters and plug-ins now; `adapter` and `plugin` are null
///   "Load plugin"               make the code of `plugin` callable; "Release plugin": it is needed no more
///   "Send message"              hand caller, selector and message to `plugin`, and return what it returns
///   "About"                     tell about `plugin`, which has a V1 adapter
///   "Dispose info"              `plugin` is about to go: free what its adapter info points to
///
/// The runtime sends no "Find property" and no "Flush": these are for hosts that know their adapters.
typedef struct MVAdapterMessage {
    MVMessageData data;
    MVAdapter* adapter;
    MVPlugin* plugin;
    const char* caller;  ///< these three are null but in "Send message"
    const char* selector;
    void* message;  ///< begins with the `MVMessageData` of `plugin`
} MVAdapterMessage;

/// The record of "Acquire Suite" and "Release Suite", for the plug-in of a V1 adapter.
typedef struct MVAdapterSuiteMessage {
    MVMessageData data;
    MVAdapter* adapter;
    MVPlugin* plugin;
    MVSuiteList* list;
    MVSuite* suite;
    const void* procs;  ///< the answer: its functions
    int32_t found;      ///< the answer: nonzero when they were found
} MVAdapterSuiteMessage;

/// Writes the head of a message to a plug-in. "NMVP" for a plug-in with a V1 adapter.
U_EXPORT Err MVSetupMessageData(MVPlugin* plugin, MVMessageData* data);

/// Takes the globals back from the message into the plug-in. "NMVP" likewise.
U_EXPORT Err MVEmptyMessageData(MVPlugin* plugin, MVMessageData* data);

/// Sends a message without an acquire before it: loads the code when needed, and lets it go afterwards.
///
/// message  begins with an `MVMessageData`, which is written here; null for a message that is only the head
/// result   the plug-in's own result; 0 when it was not reached
/// returns  0; "NMVP" for a plug-in with a V1 adapter, unless it is "MV Interface" "About"; "AISC" while the
///          plug-in is in an "MV Access", "MV Interface" or "MV Properties" message; the code of the call,
///          and then the access keeps its count, so the plug-in stays loaded
U_EXPORT Err MVSendMessage(MVPlugin* plugin, const char* caller, const char* selector, void* message,
                           int32_t* result);

// --- Accesses ----------------------------------------------------------------------------------------------

/// Counts one more user of a plug-in's code, and loads it when it is not in memory ("Reload").
///
/// access   null on failure; but when code was loaded and answers "Reload" by a result of its own, which is
///          then thrown and returned, or by an exception, the access is there and counted
/// returns  0; "NMVP" with a V1 adapter; "!Acq" when there is no code to load (and the plug-in is broken from
///          then on), or no plug-in behind its adapter; 4; the code of the adapter
U_EXPORT Err MVAcquirePlugin(MVPlugin* plugin, MVAccess** access);

/// Counts one less. Never unloads: only a flush does. "AlRl" when the count is below 1, or the access is
/// gone.
U_EXPORT Err MVReleasePlugin(MVAccess* access);

/// Calls a plug-in that is acquired. The head of `message` is the caller's business (`MVSetupMessageData`,
/// `MVEmptyMessageData`). The plug-in is the current one meanwhile.
///
/// returns  0; the code of an exception that left the plug-in; "!Acq" when no plug-in is behind its adapter
U_EXPORT Err MVCallPlugin(MVAccess* access, const char* caller, const char* selector, void* message,
                          int32_t* result);

/// The access to a plug-in's code, whatever its count; the host's answer when the runtime has none, or null.
U_EXPORT Err MVGetPluginAccess(MVPlugin* plugin, MVAccess** access);

U_EXPORT Err MVGetAccessPlugin(const MVAccess* access, MVPlugin** plugin);
U_EXPORT Err MVGetAccessEntry(const MVAccess* access, MVPluginEntry* entry);  ///< null with another adapter
U_EXPORT Err MVGetAccessCount(const MVAccess* access, int32_t* count);
U_EXPORT Err MVGetAccessInfo(const MVAccess* access, void** info);  ///< what the platform knows the code by

/// The plug-in that is being called; null outside of calls.
U_EXPORT Err MVGetCurrentPlugin(MVPlugin** plugin);
U_EXPORT Err MVSetCurrentPlugin(MVPlugin* plugin);

/// Answers with a nonzero `shouldFlush` whether `thing` (an `MVAccess` for the type "MV Flush Access") may
/// go.
typedef Err (*MVFlushProc)(const char* type, void* thing, int32_t* shouldFlush);

/// Unloads the code of plug-ins whose access count is 0 and that neither `flushProc` nor the plug-in itself
/// ("Unload" with a result of its own) keeps.
///
/// flushProc  null: everything may go
/// flushed    may be null; how many went
U_EXPORT Err MVFlushCaches(MVFlushProc flushProc, int32_t* flushed);

/// Which accesses a flush looks at.
enum {
    MV_Dispose_UNUSED = 0,   ///< those with a count of 0
    MV_Dispose_LEAVING = 1,  ///< all of files without "StsP", whatever their count
    MV_Dispose_STAYING = 2   ///< all of files with "StsP", whatever their count
};

/// `MVFlushCaches` for a host that changes its mode: with a `disposeType` above 0 code goes although it is
/// acquired, so nobody may use functions of such suites, or accesses, that were acquired before.
U_EXPORT Err MVFlushAccesses(MVFlushProc flushProc, int32_t* flushed, int32_t disposeType);

// --- Listing -----------------------------------------------------------------------------------------------

typedef struct MVPluginListIterator MVPluginListIterator;

/// Makes a list. `strings` is the pool of its names, the runtime's for null.
U_EXPORT Err MVAllocatePluginList(MVStringPool* strings, MVPluginList** list);

/// Frees a list with its plug-ins and their property lists, unloading their code. Suites that they published
/// lose their functions. The runtime's own gives "Parm"; "AISC" while a plug-in is being called.
U_EXPORT Err MVFreePluginList(MVPluginList* list);

/// Lists the plug-in of a file, at the head of the list. It is neither loaded nor started.
///
/// file        may be null for a plug-in that its adapter knows otherwise; it must live as long as the
///             plug-in
/// properties  null for none; belongs to the plug-in on success
/// name        null for the file's name without its folder and last extension
/// adapter     null for the built-in one
/// plugin      may be null
U_EXPORT Err MVAddPlugin(MVPluginList* list, MVFileSpec* file, MVPropertyList* properties, const char* name,
                         MVAdapter* adapter, void* adapterInfo, MVPlugin** plugin);

/// Lists a plug-in of the host's own code, at the head of the list.
U_EXPORT Err MVAddHostPlugin(MVPluginList* list, MVPluginEntry entry, void* hostInfo, const char* name,
                             MVPropertyList* properties, MVPlugin** plugin);

/// Lists every plug-in of a folder and of those inside it, without running any of their code. Files that the
/// runtime's file list has already are passed over. For `addPlugins` of a host that has several folders.
///
/// returns  0; "Parm" when the folder cannot be read; 4. Then nothing of it is listed, and its files are met
///          anew the next time
U_EXPORT Err MVAddPluginFolder(MVPluginList* list, const char* folder);

/// Reads the property list of a shared object, without running any of its code; for who lists files otherwise
/// than by folder.
///
/// properties  the caller's, until a plug-in takes it; null on failure
/// returns     0; "!Acq" when the file has none or cannot be used, with the reason in `file`; 4
U_EXPORT Err MVReadFileProperties(MVFileSpec* file, MVPropertyList** properties);

/// The first plug-in of this name, or null; that is no error.
U_EXPORT Err MVGetNamedPlugin(MVPluginList* list, const char* name, MVPlugin** plugin);

/// Walks over a list from its head. A plug-in added meanwhile is not seen. `MVStartupPlugins` reorders the
/// runtime's list: end a walk before it.
U_EXPORT Err MVNewPluginListIterator(MVPluginList* list, MVPluginListIterator** iterator);
U_EXPORT Err MVNextPlugin(MVPluginListIterator* iterator, MVPlugin** plugin);  ///< null at the end
U_EXPORT Err MVDeletePluginListIterator(MVPluginListIterator* iterator);

U_EXPORT Err MVGetPluginListCount(MVPluginList* list, int32_t* count);

/// Whether a suite that was looked for in vain was added, or got its functions, since the last such question:
/// reading it clears it. The startup pass asks after each plug-in.
U_EXPORT Err MVGetPluginListNeededSuiteAvailable(MVPluginList* list, int32_t* available);

U_EXPORT Err MVGetPluginName(const MVPlugin* plugin, const char** name);
U_EXPORT Err MVSetPluginName(MVPlugin* plugin, const char* name);
U_EXPORT Err MVGetPluginFileSpec(const MVPlugin* plugin, MVFileSpec** file);          ///< null for none
U_EXPORT Err MVGetPluginHostEntry(const MVPlugin* plugin, MVPluginEntry* entry);      ///< null for a file's
U_EXPORT Err MVGetPluginPropertyList(const MVPlugin* plugin, MVPropertyList** list);  ///< null for none
U_EXPORT Err MVGetPluginGlobals(const MVPlugin* plugin, void** globals);
U_EXPORT Err MVSetPluginGlobals(MVPlugin* plugin, void* globals);
U_EXPORT Err MVGetPluginAdapter(const MVPlugin* plugin, MVAdapter** adapter);
U_EXPORT Err MVGetPluginHostInfo(const MVPlugin* plugin, void** info);
U_EXPORT Err MVSetPluginHostInfo(MVPlugin* plugin, void* info);
U_EXPORT Err MVGetPluginAdapterInfo(const MVPlugin* plugin, void** info);
U_EXPORT Err MVSetPluginAdapterInfo(MVPlugin* plugin, void* info);

/// The property of this key, "AISC" and null when the plug-in has none.
U_EXPORT Err MVFindPluginProperty(const MVPlugin* plugin, int32_t vendor, int32_t key, int32_t id,
                                  const MVProperty** property);

/// Bits of a plug-in's state, as 0 or 1.
U_EXPORT Err MVGetPluginStarted(const MVPlugin* plugin, int32_t* started);
U_EXPORT Err MVSetPluginStarted(MVPlugin* plugin, int32_t started);
U_EXPORT Err MVGetPluginBroken(const MVPlugin* plugin, int32_t* broken);
U_EXPORT Err MVSetPluginBroken(MVPlugin* plugin, int32_t broken);
U_EXPORT Err MVGetPluginSkipShutdown(const MVPlugin* plugin, int32_t* skip);
U_EXPORT Err MVSetPluginSkipShutdown(MVPlugin* plugin, int32_t skip);

// --- Starting and shutting down ----------------------------------------------------------------------------
//
// Properties of the vendor "CRVN", id 0, decide the order:
//
//   "adpt"  data that begins with the 32-bit value 2: an adapter; starts first, then hears "Register plugins"
//   "AcpM"  flag bytes; bit 0: starts before plug-ins without a mark; bit 1: hears no "Shutdown"
//   "expt"  a list of exports; starts before "AcpM", or on demand (`MVStartupExport`)
//   "StsP"  starts before "expt"; its code stays where a flush asks for it
//
// Host plug-ins start before all of these. Numbers in property data are little-endian.

/// Lists the plug-ins and starts them. A plug-in that fails for want of a suite is tried again once one that
/// was looked for in vain appears; one that fails otherwise is broken for the rest of the run
/// (`MVGetPluginBroken`). A code of the call itself goes to `startupNotify` as well. May be called again
/// behind `MVShutdownPlugins`.
///
/// returns  0; "H!St" when `filterEvent` answered 0; the code of listing the plug-ins; "AISC" from inside the
///          start or shutdown of a plug-in, or of all of them, and then nothing happens
U_EXPORT Err MVStartupPlugins(void);

/// Starts the plug-ins that have an export of this name and version and have not started.
///
/// started  1 when there was one
U_EXPORT Err MVStartupExport(MVPluginList* list, const char* exportName, int32_t version, int32_t* started);

/// Sends "Shut down" to adapters and then "Shutdown" to every plug-in that has started, and unloads what
/// nobody holds. A code of an adapter's call ends the walk over adapters, one of a plug-in's that over
/// plug-ins.
///
/// returns  0, or the first of these codes; "AISC" as above
U_EXPORT Err MVShutdownPlugins(void);

#ifdef __cplusplus
}
#endif
#endif
