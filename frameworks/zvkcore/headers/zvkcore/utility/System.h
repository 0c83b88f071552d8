/// Facts about the machine, each of which a test or a host can replace. Any thread may call.
#ifndef ZVKCORE_UTILITY_SYSTEM_H
#define ZVKCORE_UTILITY_SYSTEM_H

#include <cstdint>

#include "zvkcore/config/Export.h"

namespace zvkcore::utility {

/// How many processors this process may use; at least 1.
ZVKCORE_EXPORT std::int32_t CPUCount() noexcept;

/// Replaces that answer and returns what replaced it before (0 for nothing); 0 or less asks the machine
/// again.
ZVKCORE_EXPORT std::int32_t SetCPUCount(std::int32_t count) noexcept;

/// The installed memory in bytes.
ZVKCORE_EXPORT std::uint64_t TotalPhysicalMemory() noexcept;

/// Replaces that answer and returns what replaced it before (0 for nothing); 0 asks the machine again.
ZVKCORE_EXPORT std::uint64_t SetTotalPhysicalMemory(std::uint64_t bytes) noexcept;

/// What the birth line of the log tells of the processor. The instruction sets are 1 if they are there, else
/// 0.
struct CPUStatistics {
    std::int32_t logicalCores;
    std::int32_t physicalCores;
    std::int32_t mmx;
    std::int32_t sse;
    std::int32_t sse2;
    std::int32_t sse3;
    std::int32_t ssse3;
    std::int32_t sse41;
    std::int32_t sse42;
};

/// Reads them from the machine; the logical cores are `CPUCount`. On a processor of another family the
/// instruction sets are 0; where the machine does not tell its physical cores they are the logical ones.
ZVKCORE_EXPORT CPUStatistics GetCPUStatistics() noexcept;

}  // namespace zvkcore::utility

#endif
