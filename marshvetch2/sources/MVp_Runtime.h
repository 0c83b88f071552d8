/// The runtime of the plug-in host: everything that lives between `MVInit` and `MVTerm`, and the voice of the
/// host.
#ifndef MVP_RUNTIME_H
#define MVP_RUNTIME_H

#include <cstring>

#include "MVPlugins.h"
#include "MVp_Blocks.h"

/// The strings of the messaging scheme that the runtime itself uses or tells apart.
enum MVName {
    kNameAdapters,
    kNameStartUp,
    kNameShutDown,
    kNameDisposeInfo,
    kNameFindProperty,
    kNameFlush,
    kNameAcquireSuite,
    kNameReleaseSuite,
    kNameRegisterPlugins,
    kNameLoadPlugin,
    kNameReleasePlugin,
    kNameSendMessage,
    kNameAbout,
    kNameInterface,
    kNameStartup,
    kNameShutdown,
    kNameAccess,
    kNameReload,
    kNameUnload,
    kNameProperties,
    kNameAcquire,
    kNameRelease,
    kNameCache,
    kNamePurge,
    kNameFlushAccess,
    kNameCount
};

struct MVAdapter {
    MVAdapter* next;
    MVPlugin* host;  // null for the built-in one
    const char* name;
    int32_t version;
    uint32_t flags;
    void* info;
    int32_t count;  // starts that went through it since `MVStartupPlugins` began
};

struct MVRuntime {
    MVHostProcs procs;  // all set but `addPlugins`
    void* hostData;
    MVStringPool* strings;
    const char* names[kNameCount];  // pooled
    const char* folder;             // pooled; null for none
    MVFileList* files;
    MVAdapter* adapters;  // the latest first, the built-in one last
    MVAdapter* builtIn;
    MVPluginList* plugins;
    MVSuiteList* suites;
    MVAccess* accesses;  // the last used first
    int32_t accessCount;
    int32_t accessPoint;   // the general one
    uint32_t flushSerial;  // of the latest flush: marks the accesses that it has seen
    MVPlugin* current;
    int32_t depth;   // of work that calls plug-ins or the host, and still needs the runtime afterwards
    int32_t starts;  // under way of plug-ins, and shutdowns
    bool flushing;
};

/// The runtime, or null.
extern MVRuntime* g_mvRuntime;

/// Holds the runtime while code of plug-ins or of the host runs: `MVTerm` refuses.
class MVBusy {
  public:
    MVBusy() { ++g_mvRuntime->depth; }
    ~MVBusy() { --g_mvRuntime->depth; }
    MVBusy(const MVBusy&) = delete;
    MVBusy& operator=(const MVBusy&) = delete;
};

/// Tells `throwTrap` of a code, and gives it back.
Err mvThrow(Err code);

/// Tells `assertTrap` of a rule that a caller broke.
void mvAssert(const char* sentence);

/// Tells `debugTrap` a sentence, as `snprintf` makes it. At most 511 bytes. Without a runtime nobody hears it.
[[gnu::format(printf, 1, 2)]] void mvDebug(const char* format, ...);

/// Whether a text that a caller gave is this name. Equal texts need not be one pointer here: callers may pass
/// literals.
inline bool mvIsName(const char* text, MVName name)
{
    const char* pooled = g_mvRuntime->names[name];
    return text == pooled || std::strcmp(text, pooled) == 0;
}

// --- Adapters ----------------------------------------------------------------------------------------------

/// Makes the built-in adapter.
Err mvBirthAdapters();
void mvDeathAdapters();

inline bool mvIsV1(const MVAdapter* adapter)
{
    return (adapter->flags & MV_Adapter_V1) != 0;
}

/// Sends an "MV Adapters" message to the plug-in behind an adapter; "!Acq" when there is none.
Err mvSendToAdapter(MVAdapter* adapter, MVName selector, void* message, int32_t* result);

/// The same, with a result of its own other than 0 as a code: for messages that an adapter obeys or refuses.
Err mvTellAdapter(MVAdapter* adapter, MVName selector, MVPlugin* plugin);

#endif
