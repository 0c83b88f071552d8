// Where the recycler's blocks come from: the one primitive that a test replaces to make memory run out.
#ifndef ZVKCORE_SOURCE_ALLOCATOR_SYSTEMMEMORY_H
#define ZVKCORE_SOURCE_ALLOCATOR_SYSTEMMEMORY_H

#include <cstddef>

namespace zvkcore::allocator {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kAddressesAreChecked = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kAddressesAreChecked = true;
#else
inline constexpr bool kAddressesAreChecked = false;
#endif
#else
inline constexpr bool kAddressesAreChecked = false;
#endif

struct SystemMemory {
    // Gives `size` bytes (at least 1) aligned to 16, or null.
    void* (*take)(std::size_t size) noexcept;
    // Gives them back; `size` is that of `take`.
    void (*give)(void* block, std::size_t size) noexcept;
};

// Blocks above 64 KiB are mappings of their own, so that giving one back really shrinks the process; the C heap
// would keep them. Where a sanitizer checks addresses all come from the C heap, which it watches.
extern const SystemMemory kSystemMemory;

}  // namespace zvkcore::allocator

#endif
