// The pool behind MemoryRecycler, as an object, so that a test can have one of its own.
//
// Free blocks wait in bins by size class. The classes of one power of two share a shard with its own lock and
// cache line, so frames of different sizes do not contend. A waiting block holds its own list cell: it needs no
// memory to be pooled. In a bin blocks stand by age; the newest is handed out (its pages are warm), the oldest
// is given back.
#ifndef ZVKCORE_SOURCE_ALLOCATOR_RECYCLERPOOL_H
#define ZVKCORE_SOURCE_ALLOCATOR_RECYCLERPOOL_H

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <mutex>

#include "SystemMemory.h"

namespace zvkcore::allocator {

class RecyclerPool {
  public:
    // Sizes up to 1 KiB go in steps of 64; above, the stretch behind each power of two has sixteen steps.
    static constexpr std::size_t kSmallestStep = 64;
    static constexpr std::size_t kBinsInShard = 16;
    static constexpr std::size_t kFirstShardEnd = kSmallestStep * kBinsInShard;

    // No machine has more address space; larger requests fail without asking the system.
    static constexpr std::size_t kLargest = std::size_t{1} << 47;

    constexpr RecyclerPool(const SystemMemory& system, std::uint64_t limit) : m_system{system}, m_limit{limit}
    {
    }

    RecyclerPool(const RecyclerPool&) = delete;
    RecyclerPool& operator=(const RecyclerPool&) = delete;

    // The size of the class that holds `size`, which is at most kLargest; a class's size is its own class.
    static constexpr std::size_t GrantedSize(std::size_t size)
    {
        const std::size_t step = ClassOf(size).step;
        return size <= step ? step : (size + step - 1) / step * step;
    }

    // Null when the system has no more, even after the whole pool has been given back.
    void* TryAllocate(std::size_t size, std::size_t& granted) noexcept;
    void Recycle(void* block, std::size_t size) noexcept;
    std::uint64_t PurgeBytes(std::uint64_t bytes) noexcept;
    void Reconcile() noexcept;

    std::uint64_t GetSize() const noexcept { return m_size.load(std::memory_order_relaxed); }
    std::uint64_t GetLimit() const noexcept { return m_limit.load(std::memory_order_relaxed); }
    std::uint64_t SetLimit(std::uint64_t bytes) noexcept { return m_limit.exchange(bytes); }

    // The rules of the structure, for tests: links that agree, ages in order, every block in its class, and the
    // sum of all blocks equal to the size. No other thread may use the pool meanwhile.
    bool IsConsistent() const noexcept;

  private:
    struct Entry {  // the first bytes of a waiting block
        Entry* newer;
        Entry* older;
        std::uint64_t stamp;
        std::size_t size;
    };
    static_assert(sizeof(Entry) <= kSmallestStep);

    struct Bin {
        Entry* newest = nullptr;
        Entry* oldest = nullptr;
    };
    struct alignas(64) Shard {
        std::mutex guard;
        Bin bins[kBinsInShard];
    };
    struct Class {
        std::size_t shard;
        std::size_t bin;
        std::size_t step;
    };

    static constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();
    static constexpr std::size_t kShards =
        static_cast<std::size_t>(std::bit_width(kLargest) - std::bit_width(kFirstShardEnd)) + 1;

    static constexpr Class ClassOf(std::size_t size)
    {
        if (size <= kFirstShardEnd) {
            return {0, size == 0 ? 0 : (size - 1) / kSmallestStep, kSmallestStep};
        }
        const auto power =
            static_cast<std::size_t>(std::bit_width(size - 1) - 1);  // 2^power < size <= 2^(power+1)
        const std::size_t step = (std::size_t{1} << power) / kBinsInShard;
        const auto first = static_cast<std::size_t>(std::bit_width(kFirstShardEnd) - 1);
        return {power - first + 1, (size - 1 - (std::size_t{1} << power)) / step, step};
    }

    static Bin* OldestBin(Shard& shard) noexcept;
    static Entry* Unlink(Bin& bin, Entry* entry) noexcept;
    Shard* OldestShard(std::uint64_t& nextOldest) noexcept;
    std::uint64_t Evict(Shard& shard, std::uint64_t horizon, std::uint64_t bytes) noexcept;

    const SystemMemory& m_system;
    Shard m_shards[kShards];
    alignas(64) std::atomic<std::uint64_t> m_size{0};
    alignas(64) std::atomic<std::uint64_t> m_stamp{0};
    alignas(64) std::atomic<std::uint64_t> m_limit;
};

static_assert(RecyclerPool::GrantedSize(0) == 64 && RecyclerPool::GrantedSize(65) == 128);
static_assert(RecyclerPool::GrantedSize(1024) == 1024 && RecyclerPool::GrantedSize(1025) == 1088);
static_assert(RecyclerPool::GrantedSize((8 << 20) + 256) == (8 << 20) + (512 << 10));
static_assert(RecyclerPool::GrantedSize(RecyclerPool::kLargest) == RecyclerPool::kLargest);

// The container blocks that are too large for the small-block allocator, see RecyclingAllocator.h.
void* AllocateLargeContainerBlock(std::size_t bytes);
void DisposeLargeContainerBlock(void* block, std::size_t bytes) noexcept;

}  // namespace zvkcore::allocator

#endif
