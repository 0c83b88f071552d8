// The one pool of the process, and what stands on it: the recycler, its owner object, the container allocator.
//
// State: g_pool, made at load time with a constant initialiser and never destroyed, so that it serves static
// objects before main and after it, and any number of births. Its guards are told in RecyclerPool.h.
#include "zvkcore/allocator/MemoryRecycler.h"

#include <new>
#include <type_traits>

#include "RecyclerPool.h"
#include "zvkcore/allocator/RecycledMemory.h"
#include "zvkcore/allocator/RecyclingAllocator.h"
#include "zvkcore/allocator/SmallBlockAllocator.h"

namespace zvkcore::allocator {
namespace {

constinit RecyclerPool g_pool{kSystemMemory, MemoryRecycler::kDefaultPoolLimit};
static_assert(std::is_trivially_destructible_v<RecyclerPool>);

}  // namespace

void* MemoryRecycler::Allocate(std::size_t size, std::size_t& granted)
{
    void* const block = g_pool.TryAllocate(size, granted);
    if (block == nullptr) throw std::bad_alloc{};
    return block;
}

void MemoryRecycler::Recycle(void* block, std::size_t size) noexcept
{
    g_pool.Recycle(block, size);
}

std::uint64_t MemoryRecycler::PurgeBytes(std::uint64_t bytes) noexcept
{
    return g_pool.PurgeBytes(bytes);
}

std::uint64_t MemoryRecycler::GetCurrentPoolSize() noexcept
{
    return g_pool.GetSize();
}

std::uint64_t MemoryRecycler::GetPoolLimit() noexcept
{
    return g_pool.GetLimit();
}

std::uint64_t MemoryRecycler::SetPoolLimit(std::uint64_t bytes) noexcept
{
    return g_pool.SetLimit(bytes);
}

void MemoryRecycler::ReconcileStaleEntries() noexcept
{
    g_pool.Reconcile();
}

RecycledMemory::~RecycledMemory()
{
    Release();
}

void RecycledMemory::Allocate(std::size_t size)
{
    Release();
    m_pointer = MemoryRecycler::Allocate(size, m_granted);
    m_owns = true;
    m_requested = size;
}

void RecycledMemory::Release() noexcept
{
    if (m_owns) MemoryRecycler::Recycle(m_pointer, m_granted);
    m_pointer = nullptr;
    m_granted = m_requested = 0;
    m_owns = false;
}

// A container that runs out of memory asks the new handler, as one on the standard allocator would: it is the
// handler that reports, and who translates the exception counts on that.
void* AllocateLargeContainerBlock(std::size_t bytes)
{
    for (;;) {
        std::size_t granted = 0;
        if (void* const block = g_pool.TryAllocate(bytes, granted)) return block;
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) throw std::bad_alloc{};
        handler();
    }
}

void DisposeLargeContainerBlock(void* block, std::size_t bytes) noexcept
{
    g_pool.Recycle(block, bytes);
    // Nobody else compares the pool with its limit on behalf of a container.
    if (g_pool.GetSize() > g_pool.GetLimit()) g_pool.Reconcile();
}

}  // namespace zvkcore::allocator
