// The runtime: its begin and end, and the defaults of everything that a host replaces.
//
// State: the one runtime, between `MVInit` and `MVTerm`. One thread drives the plug-in host: no lock.
#include "MVp_Runtime.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

#include "MVp_Accesses.h"
#include "MVp_Strings.h"
#include "MVp_Suites.h"
#include "U_TrySection.h"

MVRuntime* g_mvRuntime = nullptr;

namespace {

constexpr const char* kNames[] = {MV_Caller_ADAPTERS,
                                  MV_Selector_START_UP,
                                  MV_Selector_SHUT_DOWN,
                                  MV_Selector_DISPOSE_INFO,
                                  MV_Selector_FIND_PROPERTY,
                                  MV_Selector_FLUSH,
                                  MV_Selector_ACQUIRE_SUITE,
                                  MV_Selector_RELEASE_SUITE,
                                  MV_Selector_REGISTER_PLUGINS,
                                  MV_Selector_LOAD_PLUGIN,
                                  MV_Selector_RELEASE_PLUGIN,
                                  MV_Selector_SEND_MESSAGE,
                                  MV_Selector_ABOUT,
                                  MV_Caller_INTERFACE,
                                  MV_Selector_STARTUP,
                                  MV_Selector_SHUTDOWN,
                                  MV_Caller_ACCESS,
                                  MV_Selector_RELOAD,
                                  MV_Selector_UNLOAD,
                                  MV_Caller_PROPERTIES,
                                  MV_Selector_ACQUIRE,
                                  MV_Selector_RELEASE,
                                  MV_Caller_CACHE,
                                  MV_Selector_PURGE,
                                  MV_Flush_ACCESS};
static_assert(std::size(kNames) == kNameCount, "one text for each name");

// --- Defaults ----------------------------------------------------------------------------------------------

int32_t FilterEventByDefault(void*, int32_t event, const void*)
{
    return event == MV_Event_STARTUP;
}

constexpr MVHostProcs kDefaultProcs = {
    sizeof(MVHostProcs),
    [](void*, int32_t, const void*) {},
    [](void*, int32_t, const void*) {},
    [](void*, const char*) {},
    [](void*, Err) {},
    [](void*, const char*) {},
    [](void*) -> void* { return nullptr; },
    [](void*, void*) {},
    [](void*, void*, const char*) -> const char* { return nullptr; },
    FilterEventByDefault,
    nullptr,
    [](void*, MVPlugin*) -> int32_t { return 0; },
    [](void*, MVPlugin*) -> MVAccess* { return nullptr; },
};

template <class Proc>
void DefaultIfNull(Proc MVHostProcs::*proc, MVHostProcs* procs)
{
    if (!(procs->*proc)) procs->*proc = kDefaultProcs.*proc;
}

// A host compiled against an older, shorter record gets defaults for what it does not know.
MVHostProcs Completed(const MVHostProcs* given)
{
    MVHostProcs procs = {};
    if (given)
        std::memcpy(&procs, given, static_cast<size_t>(std::min<uint64_t>(given->size, sizeof(procs))));
    procs.size = sizeof(procs);
    DefaultIfNull(&MVHostProcs::startupNotify, &procs);
    DefaultIfNull(&MVHostProcs::shutdownNotify, &procs);
    DefaultIfNull(&MVHostProcs::assertTrap, &procs);
    DefaultIfNull(&MVHostProcs::throwTrap, &procs);
    DefaultIfNull(&MVHostProcs::debugTrap, &procs);
    DefaultIfNull(&MVHostProcs::allocateStringPool, &procs);
    DefaultIfNull(&MVHostProcs::freeStringPool, &procs);
    DefaultIfNull(&MVHostProcs::makeWString, &procs);
    DefaultIfNull(&MVHostProcs::filterEvent, &procs);
    DefaultIfNull(&MVHostProcs::overrideStartup, &procs);
    DefaultIfNull(&MVHostProcs::getPluginAccess, &procs);
    return procs;
}

// --- Begin and end -----------------------------------------------------------------------------------------

Err BirthStrings(const char* folder)
{
    MVRuntime& runtime = *g_mvRuntime;
    if (const Err error = MVAllocateStringPool(&runtime.strings); error != U_Err_NONE) return error;
    runtime.strings->hostPool = runtime.procs.allocateStringPool(runtime.hostData);
    for (int name = 0; name < kNameCount; ++name) {
        const Err error = MVMakeWString(nullptr, kNames[name], &runtime.names[name]);
        if (error != U_Err_NONE) return error;
    }
    return folder ? MVMakeWString(nullptr, folder, &runtime.folder) : U_Err_NONE;
}

Err BirthLists()
{
    MVRuntime& runtime = *g_mvRuntime;
    if (const Err error = MVAllocateFileList(&runtime.files); error != U_Err_NONE) return error;
    if (const Err error = MVAllocatePluginList(nullptr, &runtime.plugins); error != U_Err_NONE) return error;
    if (const Err error = MVAllocateSuiteList(nullptr, nullptr, &runtime.suites); error != U_Err_NONE)
        return error;
    return runtime.suites ? U_Err_NONE : U_Err_OUT_OF_MEMORY;
}

Err Birth(const char* folder)
{
    if (const Err error = BirthStrings(folder); error != U_Err_NONE) return error;
    if (const Err error = BirthLists(); error != U_Err_NONE) return error;
    if (const Err error = mvBirthAdapters(); error != U_Err_NONE) return error;
    return MVAddSuite(nullptr, nullptr, MV_BASIC_SUITE, MV_BasicSuite_API_VERSION,
                      MV_BasicSuite_INTERNAL_VERSION, &mvBasicSuite, nullptr);
}

// Frees a runtime as far as it has come.
void Death()
{
    MVRuntime& runtime = *g_mvRuntime;
    if (runtime.suites) mvDeleteSuiteList(runtime.suites);
    if (runtime.plugins) mvDeletePluginList(runtime.plugins);
    mvDeathAdapters();
    if (MVFileList* files = std::exchange(runtime.files, nullptr)) MVFreeFileList(files);
    if (runtime.strings && runtime.strings->hostPool)
        runtime.procs.freeStringPool(runtime.hostData, runtime.strings->hostPool);
    mvDelete(runtime.strings);
}

// The runtime is gone when leaks are counted, but its host listens still.
void ReportLeak(void* host, const char* description, uint64_t size)
{
    const auto& [procs, hostData] = *static_cast<std::pair<MVHostProcs, void*>*>(host);
    const std::string words = "a block of " + std::to_string(size) + " bytes was never freed: " + description;
    procs.debugTrap(hostData, words.c_str());
}

void EndRuntime()
{
    Death();
    mvDelete(std::exchange(g_mvRuntime, nullptr));
}

}  // namespace

Err mvThrow(Err code)
{
    if (g_mvRuntime) g_mvRuntime->procs.throwTrap(g_mvRuntime->hostData, code);
    return code;
}

void mvAssert(const char* sentence)
{
    g_mvRuntime->procs.assertTrap(g_mvRuntime->hostData, sentence);
}

void mvDebug(const char* format, ...)
{
    if (!g_mvRuntime) return;
    char sentence[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(sentence, sizeof(sentence), format, arguments);
    va_end(arguments);
    g_mvRuntime->procs.debugTrap(g_mvRuntime->hostData, sentence);
}

Err MVInit(const MVHostProcs* procs, void* hostData, const char* folder)
{
    if (g_mvRuntime) return MV_Err_PARAMETER;
    g_mvRuntime = mvNew<MVRuntime>("the runtime");
    if (!g_mvRuntime) return U_Err_OUT_OF_MEMORY;
    g_mvRuntime->procs = Completed(procs);
    g_mvRuntime->hostData = hostData;
    const Err error = U_TrySection([folder] { return Birth(folder); });
    if (error != U_Err_NONE) EndRuntime();
    return error;
}

Err MVTerm(void)
{
    if (!g_mvRuntime) return MV_Err_PARAMETER;
    if (g_mvRuntime->depth > 0) {
        mvAssert("the runtime is ended from inside a call of its own");
        return MV_Err_IN_ACCESS_CALL;
    }
    g_mvRuntime->accessPoint = MV_AccessPoint_TERM;
    mvUnloadAll(nullptr);
    std::pair<MVHostProcs, void*> host = {g_mvRuntime->procs, g_mvRuntime->hostData};
    EndRuntime();
    return U_TrySection([&host] { return MVReportBlocks(ReportLeak, &host); });
}
