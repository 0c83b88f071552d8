/// The monotonic clock of the library.
///
/// Everything that measures time asks it, so a test can turn time by hand. Any thread may call.
#ifndef ZVKCORE_UTILITY_CLOCK_H
#define ZVKCORE_UTILITY_CLOCK_H

#include <cstdint>

#include "zvkcore/config/Export.h"

namespace zvkcore::utility {

class HighPrecisionTime {
  public:
    /// Ticks since some fixed moment; never smaller than an earlier answer.
    ZVKCORE_EXPORT static std::uint64_t GetCurrentTimeStamp() noexcept;

    /// A time stamp, or the difference of two, in nanoseconds.
    ZVKCORE_EXPORT static std::uint64_t ConvertToNanos(std::uint64_t stamp) noexcept;

    /// Stands in for the clock. When: at each question, on any thread. Must: give nanoseconds that never
    /// fall.
    using Source = std::uint64_t (*)() noexcept;

    /// Installs a source and returns the former one; null restores the system's monotonic clock.
    ZVKCORE_EXPORT static Source SetSource(Source source) noexcept;
};

}  // namespace zvkcore::utility

#endif
