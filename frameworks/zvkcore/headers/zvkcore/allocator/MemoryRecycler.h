/// A pool of freed blocks for re-use, meant for frames: memory whose pages are already there.
///
///     std::size_t granted = 0;
///     void* frame = MemoryRecycler::Allocate(8 << 20, granted);   // granted >= 8 MiB
///     MemoryRecycler::Recycle(frame, granted);                    // kept for the next one of that size
///
/// Sizes are rounded up to classes, sixteen to each power of two, so at most a sixteenth of a block is spare
/// and a freed block serves every later request of its class. A recycled block holds whatever its last owner
/// left in it. The pool grows with every `Recycle` and shrinks only when it is told to: who recycles compares
/// `GetCurrentPoolSize` with `GetPoolLimit` and calls `ReconcileStaleEntries`.
///
/// All functions may be called on any thread, and at thread and process exit.
#ifndef ZVKCORE_ALLOCATOR_MEMORYRECYCLER_H
#define ZVKCORE_ALLOCATOR_MEMORYRECYCLER_H

#include <cstddef>
#include <cstdint>

#include "zvkcore/config/Export.h"

namespace zvkcore::allocator {

class MemoryRecycler {
  public:
    /// 256 MiB.
    static constexpr std::uint64_t kDefaultPoolLimit = std::uint64_t{256} << 20;

    /// Gives a block of at least `size` bytes aligned to 16, from the pool if one of the class is there, and
    /// writes its true size to `granted`. A size of 0 counts as 1. When the system has no memory the pool is
    /// emptied and the request tried once more; then it throws `std::bad_alloc`, and `granted` is 0.
    [[nodiscard]] ZVKCORE_EXPORT static void* Allocate(std::size_t size, std::size_t& granted);

    /// Puts a block of `Allocate` into the pool. `size` is the size asked for or the size granted: both name
    /// the same class. Null is accepted.
    ZVKCORE_EXPORT static void Recycle(void* block, std::size_t size) noexcept;

    /// Gives pooled blocks back to the system, those that waited longest first, until at least `bytes` bytes
    /// are given back or the pool is empty.
    ///
    /// returns  how many bytes were given back; more than `bytes` by less than one block at most
    ZVKCORE_EXPORT static std::uint64_t PurgeBytes(std::uint64_t bytes) noexcept;

    /// Bytes that wait in the pool now.
    ZVKCORE_EXPORT static std::uint64_t GetCurrentPoolSize() noexcept;

    /// How many bytes may wait in the pool after `ReconcileStaleEntries`.
    ZVKCORE_EXPORT static std::uint64_t GetPoolLimit() noexcept;

    /// Sets that limit and returns the former one. Nothing is given back before the next reconciliation.
    ZVKCORE_EXPORT static std::uint64_t SetPoolLimit(std::uint64_t bytes) noexcept;

    /// Gives back to the system what waited longest until the pool is within its limit.
    ZVKCORE_EXPORT static void ReconcileStaleEntries() noexcept;
};

}  // namespace zvkcore::allocator

#endif
