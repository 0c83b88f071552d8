// A list to which names are only ever added, so that asking walks it without a lock.
//
// State: g_features, the newest name first; guard: g_adding for adding, flags and links are atomic. Entries live to
// the end of the process.
#include "zvkappsupport/feature/Feature.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace zvkappsupport::feature {
namespace {

struct Feature {
    std::string name;
    std::atomic<bool> enabled;
    Feature* next;
};

constinit std::atomic<Feature*> g_features{nullptr};
constinit std::mutex g_adding;

Feature* Find(std::string_view name) noexcept
{
    Feature* feature = g_features.load(std::memory_order_acquire);
    while (feature != nullptr && feature->name != name) feature = feature->next;
    return feature;
}

}  // namespace

bool IsFeatureEnabled(std::string_view name) noexcept
{
    return IsFeatureEnabled(name, false);
}

bool IsFeatureEnabled(std::string_view name, bool unset) noexcept
{
    const Feature* const feature = Find(name);
    return feature == nullptr ? unset : feature->enabled.load(std::memory_order_relaxed);
}

bool SetFeatureEnabled(std::string_view name, bool enabled)
{
    const std::lock_guard lock{g_adding};
    if (Feature* const known = Find(name)) return known->enabled.exchange(enabled);
    auto* const added = new Feature{std::string{name}, {enabled}, g_features.load(std::memory_order_relaxed)};
    g_features.store(added, std::memory_order_release);
    return false;
}

}  // namespace zvkappsupport::feature
