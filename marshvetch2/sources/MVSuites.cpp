// Suites: the registry, the version match, and what acquiring sets in motion.
//
// State: the list of all suite lists, so that code which is unloaded leaves no pointer to it behind in any. One thread
// drives the plug-in host: no lock. A list belongs to its owner and leaves this one when it is freed.
#include "MVSuites.h"

#include "MVp_Accesses.h"
#include "MVp_Edge.h"
#include "MVp_Read.h"
#include "MVp_Strings.h"
#include "MVp_Suites.h"
#include "U_TrySection.h"

struct MVSuiteListIterator {
    MVSuiteList* list;
    std::map<MVSuiteKey, MVSuite*>::iterator next;
};

namespace {

MVSuiteList* g_lists = nullptr;

MVSuiteList* OrRuntimes(MVSuiteList* list)
{
    return list || !g_mvRuntime ? list : g_mvRuntime->suites;
}

// --- The match ---------------------------------------------------------------------------------------------

// Exact in name and API version; internal version 0 stands for the greatest.
MVSuite* findSuite(const MVSuiteList* list, const char* name, int32_t apiVersion, int32_t internalVersion)
{
    const auto& suites = internalVersion == 0 ? list->greatest : list->suites;
    const auto found = suites.find({name, apiVersion, internalVersion});
    return found == suites.end() ? nullptr : found->second;
}

bool IsSearched(const MVSuiteList* list, const char* name, int32_t apiVersion)
{
    const MVSuiteSearch* search = list->searches;
    while (search && (search->name != name || search->apiVersion != apiVersion)) search = search->next;
    return search != nullptr;
}

// Without memory the search goes unnoted: the plug-in that made it will not be tried again, which is all.
void NoteSearch(MVSuiteList* list, const char* name, int32_t apiVersion)
{
    if (IsSearched(list, name, apiVersion)) return;
    MVSuiteSearch* search = mvNew<MVSuiteSearch>("a search for suite");
    if (!search) return;
    *search = {list->searches, name, apiVersion};
    list->searches = search;
}

// --- Adding ------------------------------------------------------------------------------------------------

void Provide(MVSuite* suite, MVPlugin* host, const void* procs)
{
    suite->plugin = host;
    suite->procs = procs;
    suite->withdrawn = false;
}

MVSuite* InsertSuite(MVSuiteList* list, const MVSuite& values)
{
    MVSuite* suite = mvNew<MVSuite>("an MVSuite");
    if (!suite) throw std::bad_alloc();
    *suite = values;
    const MVSuiteKey key = {suite->name, suite->apiVersion, suite->internalVersion};
    try {
        const auto [greatest, isFirst] = list->greatest.try_emplace({key.name, key.apiVersion, 0}, suite);
        try {
            list->suites.emplace(key, suite);
        } catch (...) {
            if (isFirst) list->greatest.erase(greatest);
            throw;
        }
        if (greatest->second->internalVersion < key.internalVersion) greatest->second = suite;
    } catch (...) {
        mvDelete(suite);
        throw;
    }
    return suite;
}

// A suite that was announced, or whose functions were withdrawn, is completed in place; announcing one twice keeps
// it as it is.
MVSuite* AddSuite(MVSuiteList* list, const MVSuite& values)
{
    MVSuite* known = findSuite(list, values.name, values.apiVersion, values.internalVersion);
    if (known && known->procs) throw static_cast<int>(MV_Err_SUITE_EXISTS);
    if (known && !values.procs) return known;
    if (known)
        Provide(known, values.plugin, values.procs);
    else
        known = InsertSuite(list, values);
    if (list->plugins && IsSearched(list, values.name, values.apiVersion))
        list->plugins->neededSuiteAvailable = 1;
    return known;
}

// --- Acquiring ---------------------------------------------------------------------------------------------

// The functions may come yet: whoever is refused now is tried again when they do.
Err NotYet(MVSuiteList* list, const MVSuite* suite)
{
    NoteSearch(list, suite->name, suite->apiVersion);
    return mvThrow(MV_Err_SUITE_NOT_FOUND);
}

// A plug-in that has finished its startup and still offers nothing is not tried again, unless its functions went with
// its code: then loading it brings them back. One that is being started right now, further up the stack, is left to
// it; so is one that lacks a suite itself. One with a V1 adapter is started by nobody but its adapter.
Err StartPublisher(MVSuiteList* list, MVSuite* suite)
{
    MVPlugin* plugin = suite->plugin;
    if (!plugin) return NotYet(list, suite);
    if (mvIsV1(plugin) || (suite->withdrawn && mvHas(plugin, kStateStarted))) return U_Err_NONE;
    if (mvHas(plugin, kStateStarted) && mvHas(plugin, kStateComplete)) return MV_Err_SUITE_EMPTY;
    if (mvHas(plugin, kStateInAccess | kStateInMessage)) return NotYet(list, suite);
    mvSet(plugin, kStateStarted, false);
    startupMarshVetchPlugin(plugin);
    if (suite->procs) return U_Err_NONE;
    return mvHas(plugin, kStateStarted) ? Err{MV_Err_SUITE_EMPTY} : NotYet(list, suite);
}

MVAdapterSuiteMessage AdapterMessage(MVSuiteList* list, MVSuite* suite)
{
    MVAdapterSuiteMessage message = {};
    message.adapter = suite->plugin->adapter;
    message.plugin = suite->plugin;
    message.list = list;
    message.suite = suite;
    message.procs = suite->procs;
    return message;
}

Err AcquireThroughAdapter(MVSuiteList* list, MVSuite* suite)
{
    MVAdapterSuiteMessage message = AdapterMessage(list, suite);
    int32_t result = 0;
    const Err error = mvSendToAdapter(message.adapter, kNameAcquireSuite, &message, &result);
    if (error != U_Err_NONE) return error;
    if (message.found && message.procs) suite->procs = message.procs;
    if (result != 0) return result;
    if (!message.found) return MV_Err_SUITE_NOT_FOUND;
    if (!suite->procs) return MV_Err_SUITE_EMPTY;
    ++suite->acquireCount;
    return U_Err_NONE;
}

// The suite holds its plug-in once, however often it is acquired: also when the plug-in acquired it itself while it
// was loaded for it, and again after a flush that took the code away under it. Without functions nobody gets it: code
// that is leaving memory and acquires its own suite has withdrawn them already.
Err HoldPublisher(MVSuite* suite)
{
    MVAccess* access = nullptr;
    if (suite->plugin && !suite->access)
        if (const Err error = MVAcquirePlugin(suite->plugin, &access); error != U_Err_NONE) return error;
    if (!suite->access && suite->procs)
        suite->access = access;
    else if (access)
        MVReleasePlugin(access);
    return suite->procs ? U_Err_NONE : Err{MV_Err_SUITE_EMPTY};
}

Err AcquireSuite(MVSuiteList* list, MVSuite* suite)
{
    if (!suite->procs)
        if (const Err error = StartPublisher(list, suite); error != U_Err_NONE) return error;
    if (suite->plugin && mvIsV1(suite->plugin)) return AcquireThroughAdapter(list, suite);
    if (const Err error = HoldPublisher(suite); error != U_Err_NONE) return error;
    ++suite->acquireCount;
    return U_Err_NONE;
}

Err ReleaseThroughAdapter(MVSuiteList* list, MVSuite* suite)
{
    --suite->acquireCount;
    MVAdapterSuiteMessage message = AdapterMessage(list, suite);
    int32_t result = 0;
    const Err error = mvSendToAdapter(message.adapter, kNameReleaseSuite, &message, &result);
    return error != U_Err_NONE ? error : result;
}

Err ReleaseSuite(MVSuiteList* list, MVSuite* suite)
{
    if (suite->acquireCount < 1) return mvThrow(MV_Err_SUITE_RELEASED);
    if (suite->plugin && mvIsV1(suite->plugin)) return ReleaseThroughAdapter(list, suite);
    if (--suite->acquireCount > 0 || !suite->access) return U_Err_NONE;
    return MVReleasePlugin(std::exchange(suite->access, nullptr));
}

template <class Work>
void ForEachSuite(Work work)
{
    for (MVSuiteList* list = g_lists; list; list = list->next)
        for (const auto& [key, suite] : list->suites) work(suite);
}

// --- The basic suite ---------------------------------------------------------------------------------------

Err AcquireFromRuntime(const char* name, int32_t apiVersion, int32_t internalVersion, const void** procs)
{
    return MVAcquireSuite(nullptr, name, apiVersion, internalVersion, procs);
}

Err ReleaseToRuntime(const char* name, int32_t apiVersion, int32_t internalVersion)
{
    return MVReleaseSuite(nullptr, name, apiVersion, internalVersion);
}

Err AllocatePluginsBlock(uint64_t size, void** block)
{
    return MVAllocateBlock(size, "a plug-in's block", block);
}

}  // namespace

const MVBasicSuite mvBasicSuite = {AcquireFromRuntime, ReleaseToRuntime, AllocatePluginsBlock,
                                   MVReallocateBlock, MVFreeBlock};

void mvWithdrawSuites(const MVAccess* access)
{
    ForEachSuite([access](MVSuite* suite) {
        // Whoever it was published for: a plug-in may have published for the host.
        if (!mvEdgeHoldsAddress({access->info, access->entry}, suite->procs)) return;
        suite->procs = nullptr;
        suite->withdrawn = true;
    });
}

void mvForgetAccess(const MVAccess* access)
{
    ForEachSuite([access](MVSuite* suite) {
        if (suite->access == access) suite->access = nullptr;
    });
}

void mvForgetPlugins(const MVPluginList* plugins)
{
    for (MVSuiteList* list = g_lists; list; list = list->next)
        if (list->plugins == plugins) list->plugins = nullptr;
    ForEachSuite([plugins](MVSuite* suite) {
        if (suite->plugin && suite->plugin->list == plugins) Provide(suite, nullptr, nullptr);
    });
}

MVSuiteList::~MVSuiteList()
{
    for (const auto& [key, suite] : suites) mvDelete(suite);
    for (MVSuiteSearch *search = searches, *behind; search; search = behind) {
        behind = search->next;
        mvDelete(search);
    }
}

void mvDeleteSuiteList(MVSuiteList* list)
{
    MVSuiteList** link = &g_lists;
    while (*link != list) link = &(*link)->next;
    *link = list->next;
    mvDelete(list);
}

// --- Lists -------------------------------------------------------------------------------------------------

Err MVAllocateSuiteList(MVStringPool* strings, MVPluginList* plugins, MVSuiteList** list)
{
    if (!list) return MV_Err_PARAMETER;
    *list = nullptr;
    if (!strings && g_mvRuntime) strings = g_mvRuntime->strings;
    if (!plugins && g_mvRuntime) plugins = g_mvRuntime->plugins;
    if (!strings) return MV_Err_PARAMETER;
    return U_TrySection([&] {
        MVSuiteList* fresh = mvNew<MVSuiteList>("a suite list");
        if (!fresh) return;
        fresh->strings = strings;
        fresh->plugins = plugins;
        fresh->next = std::exchange(g_lists, fresh);
        *list = fresh;
    });
}

Err MVFreeSuiteList(MVSuiteList* list)
{
    if (!list || (g_mvRuntime && list == g_mvRuntime->suites)) return MV_Err_PARAMETER;
    if (g_mvRuntime && g_mvRuntime->depth > 0) return MV_Err_IN_ACCESS_CALL;
    for (const auto& [key, suite] : list->suites)
        if (suite->access) MVReleasePlugin(suite->access);
    mvDeleteSuiteList(list);
    return U_Err_NONE;
}

// --- Publishing and acquiring ------------------------------------------------------------------------------

Err MVAddSuite(MVSuiteList* list, MVPlugin* host, const char* name, int32_t apiVersion,
               int32_t internalVersion, const void* procs, MVSuite** suite)
{
    if (suite) *suite = nullptr;
    if (internalVersion == 0) return mvThrow(MV_Err_SUITE_VERSION);
    list = OrRuntimes(list);
    if (!list) return MV_Err_SUITE_NOT_FOUND;
    const char* pooled = nullptr;
    if (const Err error = MVMakeWString(list->strings, name, &pooled); error != U_Err_NONE) return error;
    return U_TrySection([&] {
        MVSuite* added =
            AddSuite(list, {host, pooled, apiVersion, internalVersion, procs, 0, nullptr, false});
        if (suite) *suite = added;
    });
}

Err MVFindSuite(MVSuiteList* list, const char* name, int32_t apiVersion, int32_t internalVersion,
                MVSuite** suite)
{
    if (!suite) return MV_Err_PARAMETER;
    *suite = nullptr;
    list = OrRuntimes(list);
    if (!list) return MV_Err_SUITE_NOT_FOUND;
    const char* pooled = nullptr;
    if (const Err error = MVMakeWString(list->strings, name, &pooled); error != U_Err_NONE) return error;
    *suite = findSuite(list, pooled, apiVersion, internalVersion);
    if (!*suite) NoteSearch(list, pooled, apiVersion);
    return U_Err_NONE;
}

Err MVAcquireSuite(MVSuiteList* list, const char* name, int32_t apiVersion, int32_t internalVersion,
                   const void** procs)
{
    if (!procs) return MV_Err_PARAMETER;
    *procs = nullptr;
    MVSuite* suite = nullptr;
    if (const Err error = MVFindSuite(list, name, apiVersion, internalVersion, &suite); error != U_Err_NONE)
        return error;
    if (!suite) return mvThrow(MV_Err_SUITE_NOT_FOUND);
    const Err error = AcquireSuite(OrRuntimes(list), suite);
    if (error == U_Err_NONE) *procs = suite->procs;
    return error;
}

Err MVReleaseSuite(MVSuiteList* list, const char* name, int32_t apiVersion, int32_t internalVersion)
{
    MVSuite* suite = nullptr;
    if (const Err error = MVFindSuite(list, name, apiVersion, internalVersion, &suite); error != U_Err_NONE)
        return error;
    return suite ? ReleaseSuite(OrRuntimes(list), suite) : mvThrow(MV_Err_SUITE_NOT_FOUND);
}

// --- Walking and reading -----------------------------------------------------------------------------------

Err MVNewSuiteListIterator(MVSuiteList* list, MVSuiteListIterator** iterator)
{
    list = OrRuntimes(list);
    if (!list || !iterator) return MV_Err_PARAMETER;
    *iterator = mvNew<MVSuiteListIterator>("a suite list iterator");
    if (!*iterator) return U_Err_OUT_OF_MEMORY;
    **iterator = {list, list->suites.begin()};
    return U_Err_NONE;
}

Err MVNextSuite(MVSuiteListIterator* iterator, MVSuite** suite)
{
    if (!iterator || !suite) return MV_Err_PARAMETER;
    *suite = iterator->next == iterator->list->suites.end() ? nullptr : (iterator->next++)->second;
    return U_Err_NONE;
}

Err MVDeleteSuiteListIterator(MVSuiteListIterator* iterator)
{
    mvDelete(iterator);
    return iterator ? U_Err_NONE : Err{MV_Err_PARAMETER};
}

Err MVGetSuiteHost(const MVSuite* suite, MVPlugin** host)
{
    return mvRead(suite, &MVSuite::plugin, host);
}

Err MVGetSuiteName(const MVSuite* suite, const char** name)
{
    return mvRead(suite, &MVSuite::name, name);
}

Err MVGetSuiteAPIVersion(const MVSuite* suite, int32_t* version)
{
    return mvRead(suite, &MVSuite::apiVersion, version);
}

Err MVGetSuiteInternalVersion(const MVSuite* suite, int32_t* version)
{
    return mvRead(suite, &MVSuite::internalVersion, version);
}

Err MVGetSuiteProcs(const MVSuite* suite, const void** procs)
{
    return mvRead(suite, &MVSuite::procs, procs);
}

Err MVGetSuiteAcquireCount(const MVSuite* suite, int32_t* count)
{
    return mvRead(suite, &MVSuite::acquireCount, count);
}
