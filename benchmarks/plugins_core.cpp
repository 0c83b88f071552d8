// The registry of suites beside a map by text and numbers, and a message beside a bare call through a pointer.
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <tuple>

#include "MVPlugins.h"
#include "Ratio.h"
#include "U.h"

namespace {

constexpr int kSuites = 60;
constexpr const char* kWanted = "Suite number 37";
constexpr int32_t kWantedApi = 1;
constexpr int32_t kInternal = 5;

// A table of functions stands behind each suite; its address is what a search gives.
const char g_tables[kSuites] = {};

std::string NameOf(int suite)
{
    return "Suite number " + std::to_string(suite);
}

using Key = std::tuple<std::string, int32_t, int32_t>;
std::map<Key, const void*> g_map;

void FillBoth()
{
    for (int i = 0; i < kSuites; ++i) {
        MVAddSuite(nullptr, nullptr, NameOf(i).c_str(), i % 4, kInternal, &g_tables[i], nullptr);
        g_map[{NameOf(i), i % 4, kInternal}] = &g_tables[i];
    }
}

const void* Ours(const char* name, int32_t api, int32_t internal)
{
    MVSuite* suite = nullptr;
    const void* procs = nullptr;
    MVFindSuite(nullptr, name, api, internal, &suite);
    if (suite) MVGetSuiteProcs(suite, &procs);
    return procs;
}

const void* Peers(const Key& key)
{
    const auto found = g_map.find(key);
    return found == g_map.end() ? nullptr : found->second;
}

qlbench::Body FindOurs(const char* name, int32_t internal)
{
    return [=](benchmark::State& state) {
        for (auto _ : state) benchmark::DoNotOptimize(Ours(name, kWantedApi, internal));
    };
}

qlbench::Body FindPeers(const char* name)
{
    return [key = Key{name, kWantedApi, kInternal}](benchmark::State& state) {
        for (auto _ : state) benchmark::DoNotOptimize(Peers(key));
    };
}

void AcquireAndRelease(benchmark::State& state)
{
    const void* procs = nullptr;
    for (auto _ : state) {
        MVAcquireSuite(nullptr, kWanted, kWantedApi, 0, &procs);
        benchmark::DoNotOptimize(procs);
        MVReleaseSuite(nullptr, kWanted, kWantedApi, 0);
    }
}

// --- Messages ----------------------------------------------------------------------------------------------

struct Work {
    MVMessageData data;
    int input;
};

int PluginMain(const char*, const char* selector, void* message)
{
    return selector[0] == 'W' ? static_cast<Work*>(message)->input + 1 : 0;
}

MVPluginEntry volatile g_entry = PluginMain;

int Bare(int input)
{
    Work work = {{}, input};
    return g_entry("Bench", "Work", &work);
}

int ByMessage(MVPlugin* plugin, int input)
{
    Work work = {{}, input};
    int32_t result = 0;
    MVSendMessage(plugin, "Bench", "Work", &work, &result);
    return result;
}

template <class Call>
qlbench::Body Calls(Call call)
{
    return [call](benchmark::State& state) {
        int value = 0;
        for (auto _ : state) benchmark::DoNotOptimize(value = call(value));
    };
}

void Check(bool same, const char* what)
{
    if (same) return;
    std::fprintf(stderr, "outputs differ: %s\n", what);
    std::exit(1);
}

}  // namespace

int main(int argc, char** argv)
{
    U_Birth("Bench", 1);
    MVInit(nullptr, nullptr, nullptr);
    FillBoth();
    for (int i = 0; i < kSuites; ++i)
        for (const int32_t internal : {0, kInternal})
            Check(Ours(NameOf(i).c_str(), i % 4, internal) == Peers({NameOf(i), i % 4, kInternal}), "suites");
    Check(!Ours("Suite number 60", 1, 0), "a missing suite");

    MVPlugin* plugin = nullptr;
    MVAddHostPlugin(nullptr, PluginMain, nullptr, "Plug-in", nullptr, &plugin);
    Check(ByMessage(plugin, 41) == Bare(41), "messages");

    const std::string map = " / std::map of text and numbers";
    qlbench::Pair("suite of 60" + map, 1.0, FindOurs(kWanted, kInternal), FindPeers(kWanted));
    qlbench::Pair("newest suite of 60" + map, 1.0, FindOurs(kWanted, 0), FindPeers(kWanted));
    qlbench::Pair("missing suite" + map, 1.0, FindOurs("Suite number 60", 0), FindPeers("Suite number 60"));
    qlbench::Alone("suite acquired and released", AcquireAndRelease);
    qlbench::Pair("message to a resident plug-in / bare call", 0,
                  Calls([plugin](int n) { return ByMessage(plugin, n); }), Calls(Bare));
    const int failed = qlbench::Main(argc, argv);
    MVTerm();
    return failed;
}
