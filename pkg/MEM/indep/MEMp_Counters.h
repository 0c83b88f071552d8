// The counters of memory in use. Each stands on a cache line of its own: they are what threads that allocate
// share, and nothing else on the allocation path is.
#ifndef MEMP_COUNTERS_H
#define MEMP_COUNTERS_H

#include <atomic>
#include <cstdint>

class MEMp_Counter {
  public:
    /// Adds `delta`; a result below zero becomes zero. A race about that clamp may lose a small amount, which
    /// is accepted: the counters steer purging and are no ledger.
    void Add(std::int64_t delta) noexcept
    {
        // Unsigned addition wraps where the sum of hostile deltas would overflow.
        const auto before = static_cast<std::uint64_t>(m_bytes.fetch_add(delta));
        const auto after = static_cast<std::int64_t>(before + static_cast<std::uint64_t>(delta));
        if (after < 0) ClampAtZero(after);
    }

    std::int64_t Get() const noexcept { return m_bytes.load(); }

  private:
    void ClampAtZero(std::int64_t seen) noexcept
    {
        while (seen < 0 && !m_bytes.compare_exchange_weak(seen, 0)) {
        }
    }

    alignas(64) std::atomic<std::int64_t> m_bytes{0};
};

extern constinit MEMp_Counter MEMp_G_heapObjectBytes;  // live heap objects; kept, and read by nobody
extern constinit MEMp_Counter MEMp_G_heapBytes;        // blocks with their headers, and heap objects
extern constinit MEMp_Counter MEMp_G_accountedBytes;
extern constinit MEMp_Counter MEMp_G_systemBytes;

#endif
