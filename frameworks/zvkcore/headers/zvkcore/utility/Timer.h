/// A stop watch on the library's clock; all results are nanoseconds. One thread at a time uses an object.
#ifndef ZVKCORE_UTILITY_TIMER_H
#define ZVKCORE_UTILITY_TIMER_H

#include <cstdint>

#include "zvkcore/utility/Clock.h"

namespace zvkcore::utility {

class Timer {
  public:
    /// Starts at once.
    Timer() noexcept { Reset(); }

    /// Starts again.
    void Reset() noexcept { m_start = m_lap = HighPrecisionTime::GetCurrentTimeStamp(); }

    /// The time since the start.
    std::uint64_t Elapsed() const noexcept
    {
        return HighPrecisionTime::ConvertToNanos(HighPrecisionTime::GetCurrentTimeStamp() - m_start);
    }

    /// The time since the last lap, or since the start if there was none; begins the next lap.
    std::uint64_t Lap() noexcept
    {
        const std::uint64_t now = HighPrecisionTime::GetCurrentTimeStamp();
        const std::uint64_t lap = now - m_lap;
        m_lap = now;
        return HighPrecisionTime::ConvertToNanos(lap);
    }

  private:
    std::uint64_t m_start;
    std::uint64_t m_lap;
};

}  // namespace zvkcore::utility

#endif
