/// Lines for developers, by channel and level, to wherever the host wants them.
///
/// A channel is a name such as "U_Memory"; a level says how much detail a line is, 1 for the essential and 10
/// for the chatter. A line is worth making when a sink is installed and the level of the line is not above the
/// level of its channel: 5, unless the host has set another. Nothing is written anywhere without a sink; the
/// console log file (ConsoleLogFile.h) is one.
///
/// A site that traces often keeps the answer of `TraceEnabled` and asks again when the change count has moved:
///
///     static std::atomic<uint32_t> s_seen{0};
///     static std::atomic<bool> s_enabled{false};
///     if (const uint32_t now = TraceChangeCount(); s_seen.exchange(now) != now) {
///         s_enabled = TraceEnabled("App.Cache", 6, true);
///     }
///     if (s_enabled) Trace(6, "App.Cache", "dropped a frame\n");
///
/// threads  any, for everything in this header
#ifndef ZVKCORE_DEBUG_TRACE_H
#define ZVKCORE_DEBUG_TRACE_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "zvkcore/config/Export.h"

namespace zvkcore::debug {

/// Receives every traced text as it was given, line end included. It is called on the tracing thread, by several
/// threads at once, and must not throw; a text that it traces itself does not come back to it.
///
/// level    the level of the line, 0 for a text that came without one
/// channel  the channel of the line, empty for a text that came without one
using TraceSink = std::function<void(int level, std::string_view channel, std::string_view text)>;

/// Installs the sink; an empty one stops all tracing. A line that is under way on another thread may still reach
/// the former sink, which is destroyed behind the last such line.
///
/// returns  the sink that was installed before
ZVKCORE_EXPORT TraceSink SetTraceSink(TraceSink sink);

/// Gives a text to the sink, whatever the levels say.
ZVKCORE_EXPORT void Trace(std::string_view text) noexcept;

/// Gives a line to the sink. The caller has asked `TraceEnabled`; it is not asked again here.
ZVKCORE_EXPORT void Trace(int level, const char* channel, std::string_view text) noexcept;

/// The level of a channel for which the host has set none.
inline constexpr int kDefaultTraceLevel = 5;

/// Tells whether a line of this level on this channel is wanted.
///
/// remember  list the channel in `TraceChannels`, so that a host can offer what it may switch
ZVKCORE_EXPORT bool TraceEnabled(const char* channel, int level, bool remember);

/// Sets the level of a channel: 0 silences it, 10 shows all of it.
///
/// returns  the level that it had before
ZVKCORE_EXPORT int SetTraceLevel(const char* channel, int level);

/// Gives every channel the default level again.
ZVKCORE_EXPORT void ResetTraceLevels();

/// The channels that have been asked for or set so far, in alphabetical order.
ZVKCORE_EXPORT std::vector<std::string> TraceChannels();

namespace detail {
ZVKCORE_EXPORT extern std::atomic<uint32_t> g_traceChangeCount;
}

/// Moves each time the sink or a level changes. Never 0, so that a count which starts at 0 asks at first.
inline uint32_t TraceChangeCount() noexcept
{
    return detail::g_traceChangeCount.load(std::memory_order_acquire);
}

}  // namespace zvkcore::debug

#endif
