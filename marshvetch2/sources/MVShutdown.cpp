// Shutting down: the adapters first, and then, through the built-in one, every plug-in that has started.
#include "MVp_Accesses.h"
#include "U_TrySection.h"

namespace {

constexpr int kLowStateBits = 7;

void NotifyShutdown(int32_t event, const void* data)
{
    g_mvRuntime->procs.shutdownNotify(g_mvRuntime->hostData, event, data);
}

Err SendShutdown(MVPlugin* plugin)
{
    NotifyShutdown(MV_Event_PLUGIN, plugin);
    int32_t result = 0;
    const auto& names = g_mvRuntime->names;
    const Err error = MVSendMessage(plugin, names[kNameInterface], names[kNameShutdown], nullptr, &result);
    if (error == U_Err_NONE) return error;
    const MVFailure failure = {plugin->fileSpec, error};
    NotifyShutdown(MV_Event_FAILURE, &failure);
    return error;
}

Err ShutDownPlugin(MVPlugin* plugin)
{
    mvSet(plugin, kStateStarted, false);
    if ((plugin->state & (kStateSkipShutdown | kStateComplete)) == kStateComplete)
        if (const Err error = SendShutdown(plugin); error != U_Err_NONE) return error;
    MVAccess* access = mvFindAccess(plugin);
    if (access && access->count == 0) mvDestroyAccess(access);
    return U_Err_NONE;
}

// The entry of the built-in adapter. It has no plug-in of its own, and only this to do at somebody's bidding.
Err mvAdapter(MVName selector)
{
    if (selector != kNameShutDown) return U_Err_NONE;
    for (MVPlugin* plugin = g_mvRuntime->plugins->head; plugin; plugin = plugin->next) {
        if (mvIsV1(plugin) || (plugin->state & kLowStateBits) != kStateStarted) continue;
        if (const Err error = ShutDownPlugin(plugin); error != U_Err_NONE) return error;
    }
    return U_Err_NONE;
}

// An adapter whose plug-in is in such a call itself is passed over; any other code ends the walk over the adapters,
// but plug-ins get their "Shutdown" all the same.
Err mvShutdownAdapters()
{
    Err failure = U_Err_NONE;
    for (MVAdapter* adapter = g_mvRuntime->adapters; adapter && failure == U_Err_NONE;
         adapter = adapter->next) {
        if (adapter == g_mvRuntime->builtIn || adapter->count == 0) continue;
        MVAdapterMessage message = {};
        message.adapter = adapter;
        int32_t result = 0;
        const Err error = mvSendToAdapter(adapter, kNameShutDown, &message, &result);
        if (error != MV_Err_IN_ACCESS_CALL) failure = error;
    }
    const Err error = mvAdapter(kNameShutDown);
    return failure != U_Err_NONE ? failure : error;
}

}  // namespace

Err MVShutdownPlugins(void)
{
    if (!g_mvRuntime) return MV_Err_PARAMETER;
    if (mvIsStarting()) return MV_Err_IN_ACCESS_CALL;
    const MVStartScope scope;
    g_mvRuntime->accessPoint = MV_AccessPoint_SHUTDOWN;
    return U_TrySection([] { return mvShutdownAdapters(); });
}
