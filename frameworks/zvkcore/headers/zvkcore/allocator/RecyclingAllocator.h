/// The standard-container allocator on top of the recycled memory of this library.
///
///     std::vector<int, zvkcore::allocator::RecyclingAllocator<int>> frames;
///
/// Blocks of at most `SmallBlockAllocator::kLargest` bytes come from the small-block allocator, larger ones
/// from the memory recycler, so a container that is built and dropped again and again costs no system memory
/// call. The allocator has no state: every copy is equal to every other, and what one allocated any other may
/// free, on any thread, also while the process ends.
///
/// Not for types that need an alignment above 16 bytes.
#ifndef ZVKCORE_ALLOCATOR_RECYCLINGALLOCATOR_H
#define ZVKCORE_ALLOCATOR_RECYCLINGALLOCATOR_H

#include <cstddef>
#include <limits>
#include <new>
#include <type_traits>

#include "zvkcore/config/Export.h"

namespace zvkcore::allocator {

/// Gives `bytes` bytes aligned to 16, or throws `std::bad_alloc`.
///
/// threads  any
[[nodiscard]] ZVKCORE_EXPORT void* AllocateContainerBlock(std::size_t bytes);

/// Takes back a block of `AllocateContainerBlock`; `bytes` is the size that was asked for then. Null is
/// accepted.
///
/// threads  any, also at thread and process exit
ZVKCORE_EXPORT void DisposeContainerBlock(void* block, std::size_t bytes) noexcept;

template <class T>
class RecyclingAllocator {
  public:
    using value_type = T;
    using is_always_equal = std::true_type;
    using propagate_on_container_move_assignment = std::true_type;

    RecyclingAllocator() = default;
    template <class Other>
    constexpr RecyclingAllocator(
        const RecyclingAllocator<Other>&) noexcept  // NOLINT: containers rebind silently
    {
    }

    [[nodiscard]] T* allocate(std::size_t count)
    {
        static_assert(alignof(T) <= 16, "blocks are aligned to 16 bytes");
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_array_new_length{};
        return static_cast<T*>(AllocateContainerBlock(count * sizeof(T)));
    }

    void deallocate(T* block, std::size_t count) noexcept { DisposeContainerBlock(block, count * sizeof(T)); }

    template <class Other>
    bool operator==(const RecyclingAllocator<Other>&) const noexcept
    {
        return true;
    }
};

}  // namespace zvkcore::allocator

#endif
