// Accesses: loading code, counting its users, letting it go.
//
// The runtime keeps all accesses in a list with the last used at its head. Counting down never unloads: only a flush,
// a shutdown and the end of the runtime do. Code that is on the stack is never unloaded, whatever asks for it.
#include "MVp_Accesses.h"

#include "MVp_Edge.h"
#include "MVp_Read.h"
#include "MVp_Suites.h"
#include "U_TrySection.h"

namespace {

void Link(MVAccess* access)
{
    access->next = g_mvRuntime->accesses;
    g_mvRuntime->accesses = access;
}

// The link that leads to an access; one that leads to null when it is none of the runtime's. Callers may hold
// accesses that a flush has taken away.
MVAccess** LinkTo(const MVAccess* access)
{
    MVAccess** link = &g_mvRuntime->accesses;
    while (*link && *link != access) link = &(*link)->next;
    return link;
}

// The first access that meets a test, or null.
template <class Test>
MVAccess* FindAccess(Test test)
{
    MVAccess* access = g_mvRuntime->accesses;
    while (access && !test(access)) access = access->next;
    return access;
}

// Whether it is of a plug-in of this list, or of any for null.
bool Belongs(const MVAccess* access, const MVPluginList* list)
{
    return !list || access->plugin->list == list;
}

void MoveToHead(MVAccess* access)
{
    if (g_mvRuntime->accesses == access) return;
    *LinkTo(access) = access->next;
    Link(access);
}

// An access that comes while a flush is under way counts as seen by it.
MVAccess* NewAccess(MVPlugin* plugin)
{
    MVAccess* access = mvNew<MVAccess>("an MVAccess");
    if (!access) return nullptr;
    access->plugin = plugin;
    access->flushSerial = g_mvRuntime->flushSerial;
    return access;
}

void Count(MVAccess* access)
{
    ++access->count;
    Link(access);
    ++g_mvRuntime->accessCount;
}

Err LoadCode(MVPlugin* plugin, MVAccess* access)
{
    if (plugin->hostEntry) {
        access->entry = plugin->hostEntry;
        return U_Err_NONE;
    }
    if (!plugin->fileSpec) return MV_Err_NOT_ACQUIRED;
    MVEdgeCode code = {};
    const Err error = U_TrySection([&] { return mvEdgeCreateAccess(plugin, &code); });
    access->info = code.info;
    access->entry = code.entry;
    return error;
}

// A plug-in that answers "Reload" with a result of its own stays loaded and counted: what it says is thrown and
// returned, and whether it is used all the same is up to the caller.
Err AcquireBuiltIn(MVPlugin* plugin, MVAccess** access)
{
    MVAccess* fresh = NewAccess(plugin);
    if (!fresh) return U_Err_OUT_OF_MEMORY;
    if (const Err error = LoadCode(plugin, fresh); error != U_Err_NONE) {
        mvDelete(fresh);
        if (error == MV_Err_NOT_ACQUIRED) mvSet(plugin, kStateBroken, true);
        return error;
    }
    Count(fresh);
    *access = fresh;
    int32_t result = 0;
    const Err error = sendAccessMessage(fresh, kNameReload, &result);
    if (error != U_Err_NONE) return error;
    return result != 0 ? mvThrow(result) : U_Err_NONE;
}

// An adapter that acquires the plug-in while it is asked to load it would come back here for ever.
Err LoadThroughAdapter(MVPlugin* plugin)
{
    const MVStateScope inAccess(plugin, kStateInAccess);
    return mvTellAdapter(plugin->adapter, kNameLoadPlugin, plugin);
}

// The access is allocated before the adapter loads anything, so that code without an access is never left behind
// for lack of memory; it is listed only when all went well.
Err AcquireThroughAdapter(MVPlugin* plugin, MVAccess** access)
{
    if (!plugin->adapter->host) return MV_Err_NOT_ACQUIRED;
    if (mvHas(plugin, kStateInAccess)) return MV_Err_IN_ACCESS_CALL;
    MVAccess* fresh = NewAccess(plugin);
    if (!fresh) return U_Err_OUT_OF_MEMORY;
    int32_t result = 0;
    Err error = LoadThroughAdapter(plugin);
    if (error == U_Err_NONE) error = sendAccessMessage(fresh, kNameReload, &result);
    if (error == U_Err_NONE) error = result;
    if (error != U_Err_NONE) {
        mvDelete(fresh);
        return error;
    }
    Count(fresh);
    *access = fresh;
    return U_Err_NONE;
}

int32_t AccessPointFor(const MVPlugin* plugin)
{
    if (mvHas(plugin, kStateStarted)) return MV_AccessPoint_RUNTIME;
    const int32_t general = g_mvRuntime->accessPoint;
    const bool isLate = general == MV_AccessPoint_SHUTDOWN || general == MV_AccessPoint_TERM;
    return isLate ? general : MV_AccessPoint_NONE;
}

Err UnloadCode(MVAccess* access)
{
    MVPlugin* plugin = access->plugin;
    if (!mvIsBuiltIn(plugin)) return mvTellAdapter(plugin->adapter, kNameReleasePlugin, plugin);
    if (plugin->hostEntry) return U_Err_NONE;
    mvWithdrawSuites(access);
    return U_TrySection([&] { return mvEdgeDestroyAccess(plugin, {access->info, access->entry}); });
}

Err AskToUnload(MVAccess* access)
{
    int32_t result = 0;
    if (const Err error = sendAccessMessage(access, kNameUnload, &result); error != U_Err_NONE) return error;
    return result != 0 ? mvThrow(result) : U_Err_NONE;
}

void Forget(MVAccess* access)
{
    mvForgetAccess(access);
    *LinkTo(access) = access->next;
    --g_mvRuntime->accessCount;
    mvDelete(access);
}

}  // namespace

MVAccess* mvFindAccess(const MVPlugin* plugin)
{
    return FindAccess([plugin](const MVAccess* access) { return access->plugin == plugin; });
}

bool mvStands(const MVAccess* access)
{
    return g_mvRuntime && access && *LinkTo(access);
}

Err sendAccessMessage(MVAccess* access, MVName selector, int32_t* result)
{
    *result = 0;
    MVPlugin* plugin = access->plugin;
    if (mvHas(plugin, kStateInAccess | kStateInMessage)) return MV_Err_IN_ACCESS_CALL;
    const MVStateScope inAccess(plugin, kStateInAccess);
    MVAccessMessage message = {};
    message.accessPoint = AccessPointFor(plugin);
    if (const Err error = MVSetupMessageData(plugin, &message.data); error != U_Err_NONE) return error;
    const auto& names = g_mvRuntime->names;
    const Err error = mvCallAccess(access, names[kNameAccess], names[selector], &message, result);
    MVEmptyMessageData(plugin, &message.data);
    return error;
}

Err mvDestroyAccess(MVAccess* access)
{
    if (access->calls > 0) return MV_Err_IN_ACCESS_CALL;
    ++access->calls;  // what runs on the way out must not destroy it a second time
    const Err refusal = AskToUnload(access);
    const Err error = refusal != U_Err_NONE ? refusal : UnloadCode(access);
    --access->calls;
    const bool stands = refusal != U_Err_NONE || (error != U_Err_NONE && !mvIsBuiltIn(access->plugin));
    if (!stands) Forget(access);
    return error;
}

// Plug-ins that other adapters serve go first, while the plug-ins behind their adapters are still there. Each walk has
// a number of its own, so that an adapter's plug-in which the first one loaded anew hears "Unload" in the second. What
// is loaded anew in its own walk goes at the end, without a word.
void mvUnloadAll(const MVPluginList* list)
{
    const MVFlushScope scope;
    for (const bool builtIn : {false, true}) {
        const uint32_t serial = ++g_mvRuntime->flushSerial;
        const auto isNext = [=](const MVAccess* access) {
            return access->flushSerial != serial && Belongs(access, list) &&
                   mvIsBuiltIn(access->plugin) == builtIn;
        };
        while (MVAccess* access = FindAccess(isNext)) {
            access->flushSerial = serial;
            ++access->calls;
            int32_t result = 0;
            sendAccessMessage(access, kNameUnload, &result);
            UnloadCode(access);
            Forget(access);
        }
        if (!builtIn) mvDisposeInfos(list ? list : g_mvRuntime->plugins);
    }
    while (MVAccess* access = FindAccess([=](const MVAccess* one) { return Belongs(one, list); })) {
        ++access->calls;
        if (mvIsBuiltIn(access->plugin)) UnloadCode(access);
        Forget(access);
    }
}

Err MVAcquirePlugin(MVPlugin* plugin, MVAccess** access)
{
    if (!g_mvRuntime || !plugin || !access) return MV_Err_PARAMETER;
    *access = nullptr;
    if (mvIsV1(plugin)) return MV_Err_V1_PLUGIN;
    if (MVAccess* known = mvFindAccess(plugin)) {
        MoveToHead(known);
        ++known->count;
        *access = known;
        return U_Err_NONE;
    }
    return mvIsBuiltIn(plugin) ? AcquireBuiltIn(plugin, access) : AcquireThroughAdapter(plugin, access);
}

Err MVReleasePlugin(MVAccess* access)
{
    if (!g_mvRuntime || !access) return MV_Err_PARAMETER;
    if (!mvStands(access) || access->count < 1) {
        mvAssert("an access is released that nobody holds");
        return MV_Err_PLUGIN_RELEASED;
    }
    --access->count;
    return U_Err_NONE;
}

Err MVCallPlugin(MVAccess* access, const char* caller, const char* selector, void* message, int32_t* result)
{
    if (!mvStands(access) || !caller || !selector || !result) return MV_Err_PARAMETER;
    return mvCallAccess(access, caller, selector, message, result);
}

Err MVGetPluginAccess(MVPlugin* plugin, MVAccess** access)
{
    if (!g_mvRuntime || !plugin || !access) return MV_Err_PARAMETER;
    *access = mvFindAccess(plugin);
    if (!*access) *access = g_mvRuntime->procs.getPluginAccess(g_mvRuntime->hostData, plugin);
    return U_Err_NONE;
}

template <class Field>
static Err ReadStanding(const MVAccess* access, Field MVAccess::*field, Field* value)
{
    return mvStands(access) ? mvRead(access, field, value) : MV_Err_PARAMETER;
}

Err MVGetAccessPlugin(const MVAccess* access, MVPlugin** plugin)
{
    return ReadStanding(access, &MVAccess::plugin, plugin);
}

Err MVGetAccessEntry(const MVAccess* access, MVPluginEntry* entry)
{
    return ReadStanding(access, &MVAccess::entry, entry);
}

Err MVGetAccessCount(const MVAccess* access, int32_t* count)
{
    return ReadStanding(access, &MVAccess::count, count);
}

Err MVGetAccessInfo(const MVAccess* access, void** info)
{
    return ReadStanding(access, &MVAccess::info, info);
}
