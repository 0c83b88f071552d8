/// The owner of one block of the memory recycler, small enough to stand in a control block of its own.
///
///     void* room = SmallBlockAllocator::Allocate(RecycledMemory::kControlBlockSize);
///     auto* control = new (room) RecycledMemory;
///     control->Allocate(8 << 20);                       // throws std::bad_alloc, then still owns nothing
///     ...
///     control->~RecycledMemory();                       // the block goes to the pool
///     SmallBlockAllocator::Dispose(room, RecycledMemory::kControlBlockSize);
///
/// One thread at a time uses an object; the block may be freed on another thread than it was made on.
#ifndef ZVKCORE_ALLOCATOR_RECYCLEDMEMORY_H
#define ZVKCORE_ALLOCATOR_RECYCLEDMEMORY_H

#include <cstddef>

namespace zvkcore::allocator {

class RecycledMemory {
  public:
    /// The room that a control block takes, in bytes.
    static constexpr std::size_t kControlBlockSize = 48;

    /// Owns nothing.
    RecycledMemory() noexcept = default;

    /// Hands the block to the recycler's pool.
    ~RecycledMemory();

    RecycledMemory(const RecycledMemory&) = delete;
    RecycledMemory& operator=(const RecycledMemory&) = delete;

    /// Takes at least `size` bytes from the recycler; a block owned before goes to the pool first. Throws
    /// `std::bad_alloc`, and then owns nothing.
    void Allocate(std::size_t size);

    /// The block, null if none is owned. Its bytes are whatever its last owner left.
    void* GetPointer() const noexcept { return m_pointer; }

    /// Its true size in bytes; 0 if none is owned.
    std::size_t GetGrantedSize() const noexcept { return m_granted; }

    /// The size that was asked for; 0 if none is owned.
    std::size_t GetRequestedSize() const noexcept { return m_requested; }

  private:
    void Release() noexcept;

    void* m_pointer = nullptr;
    std::size_t m_granted = 0;
    bool m_owns = false;
    std::size_t m_requested = 0;
};

static_assert(sizeof(RecycledMemory) <= RecycledMemory::kControlBlockSize);

}  // namespace zvkcore::allocator

#endif
