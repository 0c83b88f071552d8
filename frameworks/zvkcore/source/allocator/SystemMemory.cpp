// Mappings for large blocks, the C heap for the rest. No state.
#include "SystemMemory.h"

#include <sys/mman.h>

#include <cstdlib>

namespace zvkcore::allocator {
namespace {

constexpr std::size_t kMappedAbove = std::size_t{64} << 10;

// Who asks for this much is about to write all of it: huge pages make the first touch of a frame an order of
// magnitude cheaper. It is a hint; a system without them gives small pages.
constexpr std::size_t kHugeFrom = std::size_t{4} << 20;

bool IsMapped(std::size_t size)
{
    return !kAddressesAreChecked && size > kMappedAbove;
}

void* Take(std::size_t size) noexcept
{
    if (!IsMapped(size)) return std::malloc(size);
    void* const block = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) return nullptr;
    if (size >= kHugeFrom) madvise(block, size, MADV_HUGEPAGE);
    return block;
}

void Give(void* block, std::size_t size) noexcept
{
    if (IsMapped(size)) {
        munmap(block, size);
    } else {
        std::free(block);
    }
}

}  // namespace

const SystemMemory kSystemMemory{Take, Give};

}  // namespace zvkcore::allocator
