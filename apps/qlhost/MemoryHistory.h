// Memory in use, the limit and the purges of a run, as a series that the summary and the picture are made of.
#ifndef QLHOST_MEMORYHISTORY_H
#define QLHOST_MEMORYHISTORY_H

#include <chrono>
#include <cstdint>
#include <vector>

namespace qlhost {

class MemoryHistory {
  public:
    struct Sample {
        double seconds;
        unsigned long long inUse;     // by the library's own count, the pool of freed blocks included
        unsigned long long resident;  // by the operating system's count
        std::uint64_t purges;         // purge requests so far
    };

    explicit MemoryHistory(std::uint64_t limit) : m_limit{limit} {}

    /// Adds a sample of now. One thread only.
    void Take(std::uint64_t purges);

    std::uint64_t Limit() const { return m_limit; }
    std::uint64_t PeakInUse() const { return m_peakInUse; }
    std::uint64_t PeakResident() const { return m_peakResident; }
    const std::vector<Sample>& Samples() const { return m_samples; }

  private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::uint64_t m_limit;
    unsigned long long m_peakInUse = 0;
    unsigned long long m_peakResident = 0;
    std::vector<Sample> m_samples;
};

}  // namespace qlhost

#endif
