// State, all of it for the life of the process: the sink in its slot, a flag that tells whether there is one,
// the levels of the channels under a mutex, and the change count. The count moves after what it announces, so
// whoever sees the new count sees the new answer.
#include "zvkcore/debug/Trace.h"

#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include "ExitSafe.h"
#include "SharedSlot.h"

namespace zvkcore::debug {
namespace detail {
constinit std::atomic<uint32_t> g_traceChangeCount{1};
}

namespace {

// A channel that was only asked for has no level of its own.
using Levels = std::map<std::string, std::optional<int>, std::less<>>;

constinit SharedSlot<const TraceSink> g_sink;
constinit std::atomic<bool> g_hasSink{false};
constinit ExitSafe<Levels> g_levels;
ExitSafe<Levels>::Closer g_levelsCloser(g_levels);

__attribute__((tls_model("initial-exec"))) constinit thread_local bool t_inSink = false;

void Announce() noexcept
{
    if (detail::g_traceChangeCount.fetch_add(1, std::memory_order_acq_rel) == UINT32_MAX) Announce();
}

void Send(int level, std::string_view channel, std::string_view text) noexcept
{
    if (!g_hasSink.load(std::memory_order_acquire) || t_inSink) return;
    const auto sink = g_sink.Load();
    if (!sink) return;
    t_inSink = true;
    try {
        (*sink)(level, channel, text);
    } catch (...) {
        // A line that cannot be written is lost; tracing never disturbs what it tells of.
    }
    t_inSink = false;
}

std::string_view NameOf(const char* channel)
{
    return channel != nullptr ? channel : "";
}

// Made outside the lock, to be merged in under it without an allocation.
Levels OneLevel(const char* channel, std::optional<int> level)
{
    Levels made;
    made.emplace(NameOf(channel), level);
    return made;
}

}  // namespace

TraceSink SetTraceSink(TraceSink sink)
{
    const bool present = static_cast<bool>(sink);
    auto next = present ? std::make_shared<const TraceSink>(std::move(sink)) : nullptr;
    const auto former = g_sink.Exchange(std::move(next), [present] {
        g_hasSink.store(present, std::memory_order_release);
        Announce();
    });
    return former ? *former : TraceSink();
}

void Trace(std::string_view text) noexcept
{
    Send(0, {}, text);
}

void Trace(int level, const char* channel, std::string_view text) noexcept
{
    Send(level, NameOf(channel), text);
}

bool TraceEnabled(const char* channel, int level, bool remember)
{
    int wanted = kDefaultTraceLevel;
    bool known = true;
    g_levels.With([&](Levels& levels) {
        const auto entry = levels.find(NameOf(channel));
        known = entry != levels.end();
        if (known) wanted = entry->second.value_or(kDefaultTraceLevel);
    });
    if (remember && !known) {
        Levels made = OneLevel(channel, std::nullopt);
        g_levels.With([&](Levels& levels) { levels.merge(made); });
    }
    return level <= wanted && g_hasSink.load(std::memory_order_acquire);
}

int SetTraceLevel(const char* channel, int level)
{
    Levels made = OneLevel(channel, level);
    int former = kDefaultTraceLevel;
    g_levels.With([&](Levels& levels) {
        levels.merge(made);
        if (made.empty()) return;
        auto& entry = levels.find(NameOf(channel))->second;
        former = entry.value_or(kDefaultTraceLevel);
        entry = level;
    });
    Announce();
    return former;
}

void ResetTraceLevels()
{
    g_levels.With([](Levels& levels) {
        for (auto& [channel, level] : levels) level.reset();
    });
    Announce();
}

std::vector<std::string> TraceChannels()
{
    std::vector<std::string> channels;
    g_levels.With([&](Levels& levels) {
        for (const auto& [channel, level] : levels) channels.push_back(channel);
    });
    return channels;
}

}  // namespace zvkcore::debug
