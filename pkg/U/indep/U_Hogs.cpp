// Hogs: named consumers of memory, and the report of those that still hold some when they should not.
//
// State: the registry, made at birth and ended at death, under a mutex that exists from load time. Numbers are not
// used twice, so a stale one is noticed.
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>

#include "U_TrySection.h"
#include "Up_Err.h"
#include "Up_ErrText.h"
#include "Up_Memory.h"

namespace {

constexpr unsigned kLeakLocation = 0x17002b;
constexpr unsigned kBadHogLocation = 0x17002c;
constexpr long kBadTrackedMemoryID = 115;

struct Hog {
    std::string name;
    long long bytes;
};

using Registry = std::map<uint32_t, Hog>;

constinit std::mutex g_mutex;                    // guards both
constinit std::unique_ptr<Registry> g_registry;  // null while unborn
constinit uint32_t g_nextID = 1;

Err ReportBadID()
{
    Up_ReportErrString(kBadHogLocation, U_Sev_PROBLEM, Up_String(kBadTrackedMemoryID));
    return U_Err_BAD_PARAMETER;
}

void ReportIfLeaking(const Hog& hog)
{
    if (hog.bytes <= 0) return;
    char text[256];
    std::snprintf(text, sizeof text, "%.200s still holds %lld bytes.", hog.name.c_str(), hog.bytes);
    Up_ReportErrString(kLeakLocation, U_Sev_LEAK, text);
}

// Takes a hog out; an empty handle when there is none.
Registry::node_type TakeOut(uint32_t id)
{
    std::lock_guard lock(g_mutex);
    return g_registry ? g_registry->extract(id) : Registry::node_type{};
}

}  // namespace

Err Up_BirthHog()
{
    std::unique_ptr<Registry> registry(new (std::nothrow) Registry);
    if (!registry) return U_Err_OUT_OF_MEMORY;
    std::lock_guard lock(g_mutex);
    g_registry.swap(registry);
    return U_Err_NONE;
}

void Up_TerminateHogs()
{
    std::unique_ptr<Registry> ended;
    {
        std::lock_guard lock(g_mutex);
        ended.swap(g_registry);
    }
    if (!ended) return;
    for (const auto& [id, hog] : *ended) ReportIfLeaking(hog);
}

Err U_AddHog(const char* name, uint32_t* id)
{
    if (!name || !id) return U_Err_BAD_PARAMETER;
    return U_TrySection([&]() -> Err {
        Hog hog{name, 0};
        std::lock_guard lock(g_mutex);
        if (!g_registry) return U_Err_UNBORN;
        g_registry->emplace(g_nextID, std::move(hog));
        *id = g_nextID++;
        return U_Err_NONE;
    });
}

Err U_AccountHog(uint32_t id, long long delta)
{
    {
        std::lock_guard lock(g_mutex);
        const auto found = g_registry ? g_registry->find(id) : Registry::iterator{};
        if (g_registry && found != g_registry->end()) {
            long long sum = 0;
            if (__builtin_add_overflow(found->second.bytes, delta, &sum)) return U_Err_OUT_OF_RANGE;
            found->second.bytes = sum;
            return U_Err_NONE;
        }
    }
    return ReportBadID();
}

Err U_RemoveHog(uint32_t id)
{
    const Registry::node_type hog = TakeOut(id);
    if (!hog) return ReportBadID();
    ReportIfLeaking(hog.mapped());
    return U_Err_NONE;
}
