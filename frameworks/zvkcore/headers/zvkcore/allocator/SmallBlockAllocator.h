/// Small blocks without a header: control blocks, list cells, short texts.
///
///     void* block = SmallBlockAllocator::Allocate(48);
///     SmallBlockAllocator::Dispose(block, 48);
///
/// Blocks of up to `kLargest` bytes are cut from slabs, by size in steps of 16, and kept on a list of the
/// thread that freed them, so a pair of calls takes no lock; a thread that ends hands its list to the others.
/// Slabs stay with the process. Larger blocks come from the C heap. Not for memory that must go back to the
/// system.
#ifndef ZVKCORE_ALLOCATOR_SMALLBLOCKALLOCATOR_H
#define ZVKCORE_ALLOCATOR_SMALLBLOCKALLOCATOR_H

#include <cstddef>

namespace zvkcore::allocator {

class SmallBlockAllocator {
  public:
    /// The largest size, in bytes, that is served from slabs.
    static constexpr std::size_t kLargest = 512;

    /// Gives `size` bytes aligned to 16; a size of 0 counts as 1. Throws `std::bad_alloc`, leaving nothing
    /// behind.
    ///
    /// threads  any
    [[nodiscard]] static void* Allocate(std::size_t size);

    /// Takes a block back. `size` is the size given to `Allocate`. Null is accepted.
    ///
    /// threads  any, another than the allocating one too, and at thread and process exit
    static void Dispose(void* block, std::size_t size) noexcept;
};

}  // namespace zvkcore::allocator

#endif
