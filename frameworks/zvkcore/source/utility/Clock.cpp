// State: g_source, the stand-in for the clock, null for the system's; atomic.
#include "zvkcore/utility/Clock.h"

#include <time.h>

#include <atomic>

namespace zvkcore::utility {
namespace {

constinit std::atomic<HighPrecisionTime::Source> g_source{nullptr};

}  // namespace

std::uint64_t HighPrecisionTime::GetCurrentTimeStamp() noexcept
{
    if (const Source source = g_source.load(std::memory_order_acquire)) return source();
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000u + static_cast<std::uint64_t>(now.tv_nsec);
}

// A tick of this clock is a nanosecond; callers convert all the same, so that the tick may change.
std::uint64_t HighPrecisionTime::ConvertToNanos(std::uint64_t stamp) noexcept
{
    return stamp;
}

HighPrecisionTime::Source HighPrecisionTime::SetSource(Source source) noexcept
{
    return g_source.exchange(source);
}

}  // namespace zvkcore::utility
