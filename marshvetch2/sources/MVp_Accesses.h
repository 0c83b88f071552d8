/// Accesses: the code of plug-ins in memory, and who uses it.
#ifndef MVP_ACCESSES_H
#define MVP_ACCESSES_H

#include "MVp_Plugins.h"

struct MVAccess {
    MVAccess* next;
    MVPlugin* plugin;
    void* info;  // what the platform knows the code by
    int32_t count;
    MVPluginEntry entry;   // null when another adapter than the built-in one serves the plug-in
    uint32_t flushSerial;  // of the last flush that saw it
    int32_t calls;         // under way in this code: it must not go
};

/// A flush under way: nested ones do nothing, and accesses that come meanwhile are not its own.
class MVFlushScope {
  public:
    MVFlushScope()
    {
        g_mvRuntime->flushing = true;
        ++g_mvRuntime->flushSerial;
    }
    ~MVFlushScope() { g_mvRuntime->flushing = false; }
    MVFlushScope(const MVFlushScope&) = delete;
    MVFlushScope& operator=(const MVFlushScope&) = delete;

  private:
    MVBusy m_busy;
};

/// The runtime's access of a plug-in, or null.
MVAccess* mvFindAccess(const MVPlugin* plugin);

/// Whether an access that a caller holds is still the runtime's: a flush may have taken it away.
bool mvStands(const MVAccess* access);

/// Calls a plug-in's code, with the plug-in as the current one: through the platform, or through the plug-in behind
/// its adapter. All calls go this way.
Err mvCallAccess(MVAccess* access, const char* caller, const char* selector, void* message, int32_t* result);

/// Sends "Reload" or "Unload". "AISC" when the plug-in is in such a message, or in one of "MV Interface" or
/// "MV Properties", already.
Err sendAccessMessage(MVAccess* access, MVName selector, int32_t* result);

/// Asks the plug-in ("Unload"), unloads its code and frees the access.
///
/// returns  0; "AISC" while its code is being called; the plug-in's own result when it refuses, which is thrown; the
///          code of the message. Then the access stands
Err mvDestroyAccess(MVAccess* access);

/// Unloads the code of all plug-ins of a list, of every list for null, whether they like it or not, and lets their
/// adapters dispose of what they know of them.
void mvUnloadAll(const MVPluginList* list);

Err mvFlushAccesses(MVFlushProc flushProc, int32_t* flushed, int32_t disposeType);

#endif
