// Starting plug-ins: list them, start adapters, put the rest in order, start them in passes.
#include <cstring>

#include "MVp_Accesses.h"
#include "MVp_Edge.h"
#include "U_TrySection.h"

namespace {

// "adpt" data begins with this in the plug-ins that are adapters of this protocol.
constexpr uint32_t kAdapterKind = 2;

void NotifyStarting(int32_t event, const void* data)
{
    g_mvRuntime->procs.startupNotify(g_mvRuntime->hostData, event, data);
}

void NotifyFailure(const MVPlugin* plugin, Err code)
{
    const MVFailure failure = {plugin->fileSpec, code};
    NotifyStarting(MV_Event_FAILURE, &failure);
}

bool HostGoesOn()
{
    return g_mvRuntime->procs.filterEvent(g_mvRuntime->hostData, MV_Event_STARTUP, nullptr) != 0;
}

Err ListPlugins()
{
    if (g_mvRuntime->procs.addPlugins) return g_mvRuntime->procs.addPlugins(g_mvRuntime->hostData);
    if (!g_mvRuntime->folder) return U_Err_NONE;
    return MVAddPluginFolder(nullptr, g_mvRuntime->folder);
}

// --- Adapters ----------------------------------------------------------------------------------------------

bool IsAdapter(const MVPlugin* plugin)
{
    const MVProperty* property = mvStartProperty(plugin, MV_Key_ADAPTER);
    uint32_t kind = 0;
    if (!property || property->size < sizeof(kind)) return false;
    std::memcpy(&kind, property->data, sizeof(kind));
    return kind == kAdapterKind;
}

// It adds its adapters and plug-ins now: in front of the list, where this pass does not look any more.
void RegisterPlugins(MVPlugin* plugin)
{
    MVAdapterMessage message = {};
    int32_t result = 0;
    const auto& names = g_mvRuntime->names;
    const Err error =
        MVSendMessage(plugin, names[kNameAdapters], names[kNameRegisterPlugins], &message, &result);
    if (error != U_Err_NONE) NotifyFailure(plugin, error);
}

void StartAdapters()
{
    for (MVPlugin* plugin = g_mvRuntime->plugins->head; plugin; plugin = plugin->next) {
        if (mvIsV1(plugin) || !IsAdapter(plugin)) continue;
        startupMarshVetchPlugin(plugin);
        if (mvHas(plugin, kStateStarted) && !mvHas(plugin, kStateBroken)) RegisterPlugins(plugin);
    }
}

// --- Order -------------------------------------------------------------------------------------------------

bool IsEarly(const MVPlugin* plugin)
{
    return mvAccepts(plugin, kAcceptsEarly);
}

bool Exports(const MVPlugin* plugin)
{
    return mvStartProperty(plugin, MV_Key_EXPORTS) != nullptr;
}

bool Stays(const MVPlugin* plugin)
{
    return mvStartProperty(plugin, MV_Key_STAYS) != nullptr;
}

bool IsHosts(const MVPlugin* plugin)
{
    return plugin->hostEntry != nullptr;
}

using Test = bool (*)(const MVPlugin*);

// The passes in their order. Each moves what meets its test to the head, so the last one comes out first.
constexpr Test kPasses[] = {IsEarly, Exports, Stays, IsHosts};

void MoveToHead(Test test)
{
    MVPluginList* list = g_mvRuntime->plugins;
    for (MVPlugin *plugin = list->head, *next; plugin; plugin = next) {
        next = plugin->next;
        mvSet(plugin, kStateHeldBack, false);
        if (mvIsV1(plugin) || !test(plugin)) continue;
        unlinkPlugin(list, plugin);
        linkPlugin(list, plugin);
    }
}

bool HasMark(const MVPlugin* plugin)
{
    for (const Test test : kPasses)
        if (test(plugin)) return true;
    return false;
}

// --- The startup pass --------------------------------------------------------------------------------------

bool TakeNeededSuite()
{
    int32_t available = 0;
    MVGetPluginListNeededSuiteAvailable(nullptr, &available);
    return available != 0;
}

// How often the pass goes back. It may while plug-ins start, and as often more as there are plug-ins that might have
// published something before they failed; one that publishes another version at each try must not keep it going.
class Retries {
  public:
    bool MayGoBack()
    {
        const int32_t started = CountStarted();
        if (started > m_started) m_fruitless = 0;
        m_started = started;
        return ++m_fruitless <= g_mvRuntime->plugins->count;
    }

  private:
    static int32_t CountStarted()
    {
        int32_t started = 0;
        for (const MVPlugin* plugin = g_mvRuntime->plugins->head; plugin; plugin = plugin->next)
            started += mvHas(plugin, kStateStarted);
        return started;
    }

    int32_t m_started = 0;
    int32_t m_fruitless = 0;
};

// From the head again whenever a suite has come that somebody had looked for: those that failed for want of it get
// another try.
Err StartInOrder()
{
    bool plainOnesBegan = false;
    Retries retries;
    for (MVPlugin* plugin = g_mvRuntime->plugins->head; plugin;) {
        MVPlugin* next = plugin->next;
        if (!mvIsV1(plugin)) {
            if (!plainOnesBegan && !mvHas(plugin, kStateStarted) && !HasMark(plugin)) {
                plainOnesBegan = true;
                if (!HostGoesOn()) return MV_Err_HOST_STOPPED;
            }
            if (!mvHas(plugin, kStateStarted | kStateHeldBack) &&
                g_mvRuntime->procs.overrideStartup(g_mvRuntime->hostData, plugin) == 0)
                startupMarshVetchPlugin(plugin);
            if (TakeNeededSuite() && retries.MayGoBack()) next = g_mvRuntime->plugins->head;
        }
        plugin = next;
    }
    return U_Err_NONE;
}

Err mvStartupPlugins()
{
    if (const Err error = ListPlugins(); error != U_Err_NONE) return error;
    if (g_mvRuntime->plugins->head) {
        StartAdapters();
        for (const Test test : kPasses) MoveToHead(test);
        if (const Err error = StartInOrder(); error != U_Err_NONE) return error;
    }
    return HostGoesOn() ? U_Err_NONE : Err{MV_Err_HOST_STOPPED};
}

// The plug-ins of a V1 adapter are its own to start: it hears of the moment, behind everybody else.
Err mvStartupV1Adapters()
{
    for (MVAdapter* adapter = g_mvRuntime->adapters; adapter; adapter = adapter->next) {
        if (!mvIsV1(adapter) || !adapter->host) continue;
        const Err error = mvTellAdapter(adapter, kNameStartUp, nullptr);
        if (error == U_Err_NONE)
            ++adapter->count;
        else
            NotifyFailure(adapter->host, error);
    }
    return U_Err_NONE;
}

// A failure for want of a suite is no failure yet: it may be tried again. Any other is for the rest of the run.
void NoteFailure(MVPlugin* plugin, Err failure)
{
    if (failure == MV_Err_SUITE_NOT_FOUND)
        mvSet(plugin, kStateStarted, false);
    else
        mvSet(plugin, kStateBroken | kStateSkipShutdown, true);
}

}  // namespace

bool mvIsStarting()
{
    if (g_mvRuntime->starts == 0) return false;
    mvAssert("all plug-ins are started or shut down from inside a start or shutdown");
    return true;
}

void startupMarshVetchPlugin(MVPlugin* plugin)
{
    if (mvHas(plugin, kStateStarted)) return;
    const MVStartScope scope;
    mvSet(plugin, kStateStarted, true);
    ++plugin->adapter->count;
    NotifyStarting(MV_Event_PLUGIN, plugin);
    int32_t result = 0;
    const auto& names = g_mvRuntime->names;
    const Err error = MVSendMessage(plugin, names[kNameInterface], names[kNameStartup], nullptr, &result);
    if (error != U_Err_NONE) NotifyFailure(plugin, error);
    if (const Err failure = error != U_Err_NONE ? error : result; failure != U_Err_NONE)
        return NoteFailure(plugin, failure);
    if (mvAccepts(plugin, kAcceptsSkipShutdown)) mvSet(plugin, kStateSkipShutdown, true);
    mvSet(plugin, kStateComplete, true);
}

Err MVStartupPlugins(void)
{
    if (!g_mvRuntime) return MV_Err_PARAMETER;
    if (mvIsStarting()) return MV_Err_IN_ACCESS_CALL;
    const MVStartScope scope;
    g_mvRuntime->accessPoint = MV_AccessPoint_NONE;
    for (MVAdapter* adapter = g_mvRuntime->adapters; adapter; adapter = adapter->next) adapter->count = 0;
    return U_TrySection([]() -> Err {
        const Err error = mvStartupPlugins();
        return error != U_Err_NONE ? error : mvStartupV1Adapters();
    });
}
