/// Plug-in records, their list, and their state.
#ifndef MVP_PLUGINS_H
#define MVP_PLUGINS_H

#include "MVp_Runtime.h"

/// Bits of a plug-in's state. A bit that one call sets is cleared by that call on every way out, and by no other.
enum MVState : uint8_t {
    kStateStarted = 1,
    kStateBroken = 2,
    kStateInAccess = 8,    // an access message is in progress
    kStateInMessage = 16,  // an "MV Interface" or "MV Properties" message is in progress
    kStateSkipShutdown = 32,
    kStateComplete = 64,  // its startup has completed
    kStateHeldBack = 128  // left out of the startup pass; the ordering passes clear it
};

struct MVPlugin {
    MVPlugin* next;
    const char* name;  // pooled
    MVFileSpec* fileSpec;
    MVPluginEntry hostEntry;  // null for one that came from a file
    MVPropertyList* propertyList;
    uint8_t state;
    void* globals;  // the plug-in's own pointer, kept between messages
    MVAdapter* adapter;
    void* hostInfo;
    void* adapterInfo;
    MVPluginList* list;
};

struct MVPluginList {
    MVPlugin* head;
    int32_t count;
    uint8_t neededSuiteAvailable;
    MVStringPool* strings;
};

void linkPlugin(MVPluginList* list, MVPlugin* plugin);
void unlinkPlugin(MVPluginList* list, MVPlugin* plugin);

/// Asks the plug-ins behind the adapters of a list to free what adapter infos point to.
void mvDisposeInfos(const MVPluginList* list);

/// Frees the plug-ins of a list, whose code is gone already, and the list.
void mvDeletePluginList(MVPluginList* list);

inline bool mvHas(const MVPlugin* plugin, int bits)
{
    return (plugin->state & bits) != 0;
}

inline void mvSet(MVPlugin* plugin, int bits, bool on)
{
    plugin->state = static_cast<uint8_t>(on ? plugin->state | bits : plugin->state & ~bits);
}

inline bool mvIsV1(const MVPlugin* plugin)
{
    return mvIsV1(plugin->adapter);
}

inline bool mvIsBuiltIn(const MVPlugin* plugin)
{
    return plugin->adapter == g_mvRuntime->builtIn;
}

/// Sets a bit of a plug-in that has it not, and clears it at the end of its scope.
class MVStateScope {
  public:
    MVStateScope(MVPlugin* plugin, int bit) : m_plugin(plugin), m_bit(bit) { mvSet(plugin, bit, true); }
    ~MVStateScope() { mvSet(m_plugin, m_bit, false); }
    MVStateScope(const MVStateScope&) = delete;
    MVStateScope& operator=(const MVStateScope&) = delete;

  private:
    MVPlugin* m_plugin;
    int m_bit;
};

/// The property of vendor "CRVN", id 0, or null.
const MVProperty* mvStartProperty(const MVPlugin* plugin, int32_t key);

/// Whether a bit of the first flag byte of "AcpM" is set.
bool mvAccepts(const MVPlugin* plugin, int bit);

/// What the bits of "AcpM" mean.
enum { kAcceptsEarly = 1, kAcceptsSkipShutdown = 2 };

/// Whether the data of "expt" names this export. Every offset is checked; damaged data ends the search.
///
///   [ count ] then for each   [ length ][ name, NUL, padding to 4 ][ version ]
///                                       ^--------- length bytes ------------^
bool mvHasExport(const void* data, uint32_t size, const char* name, int32_t version);

/// A start or shutdown of plug-ins under way.
class MVStartScope {
  public:
    MVStartScope() { ++g_mvRuntime->starts; }
    ~MVStartScope() { --g_mvRuntime->starts; }
    MVStartScope(const MVStartScope&) = delete;
    MVStartScope& operator=(const MVStartScope&) = delete;

  private:
    MVBusy m_busy;
};

/// Whether a walk that starts or shuts down all plug-ins must not begin, since it would begin inside another one or a
/// single start: it would reorder the list under the walk outside, and plug-ins that do so in turn would never end.
/// `assertTrap` hears of it.
bool mvIsStarting();

/// Starts a plug-in that has not started: the one way in which the started bit comes to be set by the runtime.
void startupMarshVetchPlugin(MVPlugin* plugin);

#endif
