// The counters of memory in use. Each stands on a cache line of its own, and the one that every block moves on
// several: they are what threads that allocate share, and nothing else on the allocation path is.
#ifndef MEMP_COUNTERS_H
#define MEMP_COUNTERS_H

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>

class MEMp_Counter {
  public:
    /// Adds `delta`; a result below zero becomes zero, and is never seen. A race about that clamp may lose a
    /// small amount, which is accepted: the counters steer purging and are no ledger.
    void Add(std::int64_t delta) noexcept
    {
        // Unsigned addition wraps where the sum of hostile deltas would overflow.
        const auto before = static_cast<std::uint64_t>(m_bytes.fetch_add(delta));
        const auto after = static_cast<std::int64_t>(before + static_cast<std::uint64_t>(delta));
        if (after < 0) ClampAtZero(after);
    }

    std::int64_t Get() const noexcept { return std::max<std::int64_t>(m_bytes.load(), 0); }

  private:
    void ClampAtZero(std::int64_t seen) noexcept
    {
        while (seen < 0 && !m_bytes.compare_exchange_weak(seen, 0)) {
        }
    }

    alignas(64) std::atomic<std::int64_t> m_bytes{0};
};

/// A counter that many threads move at once without waiting for one another: each thread adds to one of several
/// parts, which few others share. What a thread leaves in its part outlives it. A part may be negative, as blocks
/// are freed by other threads than made them; the sum is what counts, and it is given as zero where it would be
/// below. A sum that is read while others add may hold a block's end without its beginning, which is accepted as
/// above.
class MEMp_SpreadCounter {
  public:
    void Add(std::int64_t delta) noexcept { m_parts[OwnPart()].bytes.fetch_add(delta); }

    std::int64_t Get() const noexcept
    {
        std::uint64_t sum = 0;
        for (const Part& part : m_parts) sum += static_cast<std::uint64_t>(part.bytes.load());
        return std::max<std::int64_t>(static_cast<std::int64_t>(sum), 0);
    }

  private:
    static constexpr unsigned kParts = 16;

    struct alignas(64) Part {
        std::atomic<std::int64_t> bytes{0};
    };

    // Threads stand apart by whole stacks; the multiplication spreads such distances evenly (Knuth, The Art of
    // Computer Programming 3, 6.4, Fibonacci hashing).
    static unsigned OwnPart() noexcept
    {
        const auto thread = reinterpret_cast<std::uintptr_t>(__builtin_thread_pointer()) >> 12;
        return static_cast<unsigned>(thread * 0x9E3779B97F4A7C15u >> (64 - std::countr_zero(kParts)));
    }
    static_assert(std::has_single_bit(kParts));

    Part m_parts[kParts];
};

extern constinit MEMp_Counter MEMp_G_heapObjectBytes;  // live heap objects; kept, and read by nobody
extern constinit MEMp_SpreadCounter MEMp_G_heapBytes;  // blocks with their headers, and heap objects
extern constinit MEMp_Counter MEMp_G_accountedBytes;
extern constinit MEMp_Counter MEMp_G_systemBytes;

#endif
