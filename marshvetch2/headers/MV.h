/// The plug-in host's runtime: its begin and end, what a host replaces, and the things that suites and
/// plug-ins are made of: pooled strings, blocks, property lists, file lists, adapters.
///
/// Suites are in MVSuites.h, plug-ins in MVPlugins.h. The shortest host:
///
///     U_Birth("Host", 1);
///     MVInit(NULL, NULL, "plug-ins");      // defaults for all host procs; the folder that is scanned
///     MVStartupPlugins();
///     ...
///     MVShutdownPlugins();
///     MVTerm();
///     U_Death();
///
/// Ground rules. One thread drives the plug-in host at a time: nothing here takes a lock. There is one
/// runtime, between `MVInit` and `MVTerm`, inside the library's own birth and death. A null list or pool
/// means the runtime's own; without a runtime there is none, and functions that need one give "Parm" unless
/// they say otherwise. Texts are NUL-terminated UTF-8. Sizes are bytes. A null object or output argument
/// gives "Parm", and outputs are written on success only unless said otherwise. What is given back stays the
/// runtime's.
#ifndef MV_H
#define MV_H

#include "U_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// A four-character value, its first character in the highest byte.
#define MV_CODE(a, b, c, d) (((int32_t)(a) << 24) | ((int32_t)(b) << 16) | ((int32_t)(c) << 8) | (int32_t)(d))

/// The codes of the plug-in host. Out of memory is `U_Err_OUT_OF_MEMORY`; all others come from plug-ins.
enum {
    MV_Err_PARAMETER = MV_CODE('P', 'a', 'r', 'm'),        ///< a null argument, or a value out of its range
    MV_Err_SUITE_NOT_FOUND = MV_CODE('S', '!', 'F', 'd'),  ///< no such suite, or no suite list
    MV_Err_SUITE_VERSION = MV_CODE('S', 'I', 'V', 's'),    ///< internal version 0 in `MVAddSuite`
    MV_Err_SUITE_EXISTS = MV_CODE('S', 'E', 'x', 'i'),     ///< the suite has its functions already
    MV_Err_SUITE_RELEASED = MV_CODE('S', 'R', 'e', 'l'),   ///< a suite released more often than acquired
    MV_Err_SUITE_EMPTY = MV_CODE('P', 'i', 'H', '0'),      ///< its plug-in has started and gives no functions
    MV_Err_NOT_ACQUIRED = MV_CODE('!', 'A', 'c', 'q'),     ///< no code, or no adapter that serves the plug-in
    MV_Err_V1_PLUGIN = MV_CODE('N', 'M', 'V', 'P'),        ///< not open to a plug-in with a V1 adapter
    MV_Err_PLUGIN_RELEASED = MV_CODE('A', 'l', 'R', 'l'),  ///< a plug-in released more often than acquired
    MV_Err_IN_ACCESS_CALL = MV_CODE('A', 'I', 'S', 'C'),   ///< the plug-in is inside such a call already
    MV_Err_NO_PROPERTY = MV_Err_IN_ACCESS_CALL,            ///< the plug-in has no such property
    MV_Err_HOST_STOPPED = MV_CODE('H', '!', 'S', 't')      ///< the host refused to go on during startup
};

typedef struct MVStringPool MVStringPool;
typedef struct MVPropertyList MVPropertyList;
typedef struct MVFileSpec MVFileSpec;
typedef struct MVFileList MVFileList;
typedef struct MVAdapter MVAdapter;
typedef struct MVPlugin MVPlugin;
typedef struct MVPluginList MVPluginList;
typedef struct MVAccess MVAccess;

// --- What a host replaces ----------------------------------------------------------------------------------

/// Events of `startupNotify`, `shutdownNotify` and `filterEvent`, and what their `data` points to.
enum {
    MV_Event_STARTUP = 3,  ///< filterEvent: before the first plug-in without a mark, and at the end; null
    MV_Event_PLUGIN = 5,   ///< notify: a plug-in is about to start or to shut down; `MVPlugin`
    MV_Event_FAILURE = 6   ///< notify: that failed; `MVFailure`
};

/// What went wrong with which file. `file` is null for a host plug-in.
typedef struct MVFailure {
    const MVFileSpec* file;
    Err code;
} MVFailure;

/// The procs of a host. Each gets the `hostData` of `MVInit`; a null one means its default. None may let an
/// exception out. Set `size` to the size of the record that you compiled; it grows at the end.
typedef struct MVHostProcs {
    uint64_t size;

    /// Called when plug-ins start (`MV_Event_PLUGIN`) and when a call of that gives a code
    /// (`MV_Event_FAILURE`). By default nothing happens.
    void (*startupNotify)(void* hostData, int32_t event, const void* data);

    /// Called likewise when plug-ins shut down. By default nothing happens.
    void (*shutdownNotify)(void* hostData, int32_t event, const void* data);

    /// Called with a sentence when a caller breaks a rule that the runtime can survive. By default nothing
    /// happens.
    void (*assertTrap)(void* hostData, const char* sentence);

    /// Called with codes that callers are meant to notice, before they are returned. By default nothing
    /// happens.
    void (*throwTrap)(void* hostData, Err code);

    /// Called with sentences for people who hunt a fault: unusable files, blocks that nobody freed,
    /// exceptions that left a plug-in. By default nothing happens.
    void (*debugTrap)(void* hostData, const char* sentence);

    /// Makes a string pool of the host's own; called once, by `MVInit`. Null, the default, means the
    /// runtime's.
    void* (*allocateStringPool)(void* hostData);

    /// Frees that pool; called once, by `MVTerm`. By default nothing happens.
    void (*freeStringPool)(void* hostData, void* pool);

    /// Gives the one pointer that stands for `text` in that pool for as long as the pool lives, or null when
    /// there is no memory. Called only with a pool of the host's own; the default gives null.
    const char* (*makeWString)(void* hostData, void* pool, const char* text);

    /// Answers whether to go on. By default 1 for `MV_Event_STARTUP` and 0 for every other event.
    int32_t (*filterEvent)(void* hostData, int32_t event, const void* data);

    /// Adds plug-ins at startup, in place of the scan of the plug-ins folder; a code ends the startup. Null,
    /// the default, means the scan.
    Err (*addPlugins)(void* hostData);

    /// Nonzero keeps a plug-in from starting in this pass. By default 0: every plug-in is started.
    int32_t (*overrideStartup)(void* hostData, MVPlugin* plugin);

    /// Gives the access of a plug-in that the runtime holds none of, or null. By default null.
    MVAccess* (*getPluginAccess)(void* hostData, MVPlugin* plugin);
} MVHostProcs;

// --- Begin and end -----------------------------------------------------------------------------------------

/// Makes the runtime, with the built-in adapter and the "MV Basic Suite".
///
/// procs     null: defaults for all; copied
/// hostData  handed to every proc
/// folder    the plug-ins folder that `MVStartupPlugins` scans; null: none. Copied
/// returns   0; "Parm" when there is a runtime already; 4, and then nothing is left behind
U_EXPORT Err MVInit(const MVHostProcs* procs, void* hostData, const char* folder);

/// Unloads all code, frees the runtime with all that it lists, and tells `debugTrap` of each block that is
/// still allocated. Call `MVShutdownPlugins` before it: here plug-ins hear "Unload" only, and cannot refuse.
/// Lists that the host has made are the host's to free, before this.
///
/// returns  0; "Parm" without a runtime; "AISC" from inside a plug-in's call, and then nothing happens
U_EXPORT Err MVTerm(void);

// --- Pooled strings ----------------------------------------------------------------------------------------
//
// Names are compared by address: equal texts have one pointer in a pool, for as long as the pool lives.

U_EXPORT Err MVAllocateStringPool(MVStringPool** pool);

/// Frees a pool with all its strings. The runtime's own gives "Parm".
U_EXPORT Err MVFreeStringPool(MVStringPool* pool);

/// Gives the one pointer that stands for `text` in the pool. On failure it is null.
U_EXPORT Err MVMakeWString(MVStringPool* pool, const char* text, const char** pooled);

// --- Blocks ------------------------------------------------------------------------------------------------
//
// Plain memory with a description that a leak is told by. They work without a runtime too, and one that
// outlives it may still be freed.

/// Allocates `size` bytes, zeroed, aligned to 16. `description` is kept by its pointer: pass a literal of the
/// host, none of a plug-in's code, which may go, nor a string of the runtime's pool, which goes before leaks
/// are told. On failure the block is null and the code 4.
U_EXPORT Err MVAllocateBlock(uint64_t size, const char* description, void** block);

/// Grows or shrinks a block, which may move; what grew is zeroed. On failure the old block stands in
/// `*block`. A null `*block` is allocated, with the description "a block".
U_EXPORT Err MVReallocateBlock(uint64_t size, void** block);

/// Null does nothing and gives 0.
U_EXPORT Err MVFreeBlock(void* block);

typedef void (*MVBlockReporter)(void* refcon, const char* description, uint64_t size);

/// Calls `reporter` for each block alive, the latest first; it must allocate and free none.
U_EXPORT Err MVReportBlocks(MVBlockReporter reporter, void* refcon);

// --- Property lists ----------------------------------------------------------------------------------------

/// The vendor of the keys by which plug-ins start.
#define MV_VENDOR MV_CODE('C', 'R', 'V', 'N')

/// Those keys. MVPlugins.h tells what they do.
enum {
    MV_Key_ADAPTER = MV_CODE('a', 'd', 'p', 't'),
    MV_Key_ACCEPTS = MV_CODE('A', 'c', 'p', 'M'),
    MV_Key_EXPORTS = MV_CODE('e', 'x', 'p', 't'),
    MV_Key_STAYS = MV_CODE('S', 't', 's', 'P')
};

/// One property. `data` is aligned to 8 and stays valid as long as the list.
typedef struct MVProperty {
    int32_t vendor;
    int32_t key;
    int32_t id;
    uint32_t size;
    const void* data;
} MVProperty;

U_EXPORT Err MVAllocatePropertyList(MVPropertyList** list);
U_EXPORT Err MVFreePropertyList(MVPropertyList* list);

/// Copies a property into the list, behind those it has. One with the same vendor, key and id gives "Parm".
U_EXPORT Err MVAddProperty(MVPropertyList* list, int32_t vendor, int32_t key, int32_t id, const void* data,
                           uint32_t size);

/// Gives null when the list has no such property; that is no error.
U_EXPORT Err MVFindProperty(const MVPropertyList* list, int32_t vendor, int32_t key, int32_t id,
                            const MVProperty** property);

/// The property behind `former` in the list, the first for null; null at the end.
U_EXPORT Err MVNextProperty(const MVPropertyList* list, const MVProperty* former,
                            const MVProperty** property);

// --- File lists --------------------------------------------------------------------------------------------
//
// The runtime's list holds every file that the scan of a plug-ins folder met, whether it is a plug-in or not:
// an adapter looks there for files of its own kind.

U_EXPORT Err MVAllocateFileList(MVFileList** list);

/// Frees a list with its files. The runtime's own gives "Parm".
U_EXPORT Err MVFreeFileList(MVFileList* list);

/// Gives the file of this path, added behind the others unless the list has it already.
U_EXPORT Err MVAddFile(MVFileList* list, const char* path, MVFileSpec** file);

/// The file of this path, or null; that is no error.
U_EXPORT Err MVFindFile(const MVFileList* list, const char* path, MVFileSpec** file);

/// The file behind `former` in the list, the first for null; null at the end.
U_EXPORT Err MVNextFile(const MVFileList* list, const MVFileSpec* former, MVFileSpec** file);

U_EXPORT Err MVGetFilePath(const MVFileSpec* file, const char** path);

/// Why the file cannot be used, in words; empty when nothing is known against it.
U_EXPORT Err MVGetFileReason(const MVFileSpec* file, const char** reason);

/// Keeps a copy of the reason; null for none. `debugTrap` hears of it, with the path.
U_EXPORT Err MVSetFileReason(MVFileSpec* file, const char* reason);

// --- Adapters ----------------------------------------------------------------------------------------------
//
// An adapter serves a kind of plug-in. The built-in one, "Marsh Vetch 2 Adapter", serves shared objects and
// host plug-ins. Any other has a plug-in that does its work: it hears "MV Adapters" messages (MVPlugins.h).

#define MV_BUILT_IN_ADAPTER "Marsh Vetch 2 Adapter"

/// Flags of an adapter.
enum {
    MV_Adapter_V1 = 1  ///< its plug-ins speak another protocol: they are never messaged, only "About" is
};

/// Adds an adapter. A name that is taken gives "Parm".
///
/// host     the plug-in that does the work; null: none, and then calling its plug-ins gives "!Acq"
/// version  for the adapter's own use, like `info`
/// adapter  may be null
U_EXPORT Err MVAddAdapter(MVPlugin* host, const char* name, int32_t version, uint32_t flags, void* info,
                          MVAdapter** adapter);

/// The adapter of this name, or null; that is no error.
U_EXPORT Err MVFindAdapter(const char* name, MVAdapter** adapter);

/// The adapter behind `former`, the first for null; null at the end. The latest added is the first.
U_EXPORT Err MVNextAdapter(const MVAdapter* former, MVAdapter** adapter);

U_EXPORT Err MVGetAdapterHost(const MVAdapter* adapter, MVPlugin** host);  ///< null for the built-in one
U_EXPORT Err MVGetAdapterName(const MVAdapter* adapter, const char** name);
U_EXPORT Err MVGetAdapterVersion(const MVAdapter* adapter, int32_t* version);
U_EXPORT Err MVGetAdapterFlags(const MVAdapter* adapter, uint32_t* flags);
U_EXPORT Err MVGetAdapterInfo(const MVAdapter* adapter, void** info);

/// How many starts went through it since `MVStartupPlugins` began: those of its plug-ins, or the "Start up"
/// of a V1 adapter.
U_EXPORT Err MVGetAdapterCount(const MVAdapter* adapter, int32_t* count);

#ifdef __cplusplus
}
#endif
#endif
