// See RecyclerPool.h. Guard: each shard's bins by its lock; the three counters are atomic. System calls are made
// with no lock held. A waiting block is closed to the address sanitizer but for its cell, so that whoever still
// uses a recycled block is caught.
#include "RecyclerPool.h"

#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <iterator>

namespace zvkcore::allocator {

void* RecyclerPool::TryAllocate(std::size_t size, std::size_t& granted) noexcept
{
    granted = 0;
    if (size > kLargest) return nullptr;
    const std::size_t bytes = GrantedSize(size);
    const Class c = ClassOf(bytes);
    void* block = nullptr;
    {
        const std::lock_guard lock{m_shards[c.shard].guard};
        Bin& bin = m_shards[c.shard].bins[c.bin];
        if (bin.newest != nullptr) block = Unlink(bin, bin.newest);
    }
    if (block != nullptr) {
        m_size.fetch_sub(bytes, std::memory_order_relaxed);
        ASAN_UNPOISON_MEMORY_REGION(block, bytes);
    } else {
        block = m_system.take(bytes);
        if (block == nullptr && PurgeBytes(kNever) != 0) block = m_system.take(bytes);
    }
    if (block != nullptr) granted = bytes;
    return block;
}

void RecyclerPool::Recycle(void* block, std::size_t size) noexcept
{
    if (block == nullptr) return;
    const std::size_t bytes = GrantedSize(size);
    const Class c = ClassOf(bytes);
    auto* const entry = static_cast<Entry*>(block);
    ASAN_POISON_MEMORY_REGION(static_cast<char*>(block) + sizeof(Entry), bytes - sizeof(Entry));
    // The size grows before the block can be taken, so that it never runs below zero.
    m_size.fetch_add(bytes, std::memory_order_relaxed);
    const std::lock_guard lock{m_shards[c.shard].guard};
    Bin& bin = m_shards[c.shard].bins[c.bin];
    *entry = {nullptr, bin.newest, m_stamp.fetch_add(1, std::memory_order_relaxed), bytes};
    (bin.newest != nullptr ? bin.newest->newer : bin.oldest) = entry;
    bin.newest = entry;
}

std::uint64_t RecyclerPool::PurgeBytes(std::uint64_t bytes) noexcept
{
    std::uint64_t freed = 0;
    while (freed < bytes) {
        std::uint64_t nextOldest = kNever;
        Shard* const shard = OldestShard(nextOldest);
        if (shard == nullptr) break;
        freed += Evict(*shard, nextOldest, bytes - freed);
    }
    return freed;
}

void RecyclerPool::Reconcile() noexcept
{
    const std::uint64_t size = GetSize();
    const std::uint64_t limit = GetLimit();
    if (size > limit) PurgeBytes(size - limit);
}

RecyclerPool::Entry* RecyclerPool::Unlink(Bin& bin, Entry* entry) noexcept
{
    (entry->newer != nullptr ? entry->newer->older : bin.newest) = entry->older;
    (entry->older != nullptr ? entry->older->newer : bin.oldest) = entry->newer;
    return entry;
}

RecyclerPool::Bin* RecyclerPool::OldestBin(Shard& shard) noexcept
{
    Bin* found = nullptr;
    for (Bin& bin : shard.bins) {
        if (bin.oldest == nullptr) continue;
        if (found == nullptr || bin.oldest->stamp < found->oldest->stamp) found = &bin;
    }
    return found;
}

// The shard with the block that waited longest, and the stamp of the oldest block of all other shards.
RecyclerPool::Shard* RecyclerPool::OldestShard(std::uint64_t& nextOldest) noexcept
{
    Shard* found = nullptr;
    std::uint64_t oldest = kNever;
    nextOldest = kNever;
    for (Shard& shard : m_shards) {
        const std::lock_guard lock{shard.guard};
        const Bin* const bin = OldestBin(shard);
        if (bin == nullptr) continue;
        nextOldest = std::min(nextOldest, std::max(oldest, bin->oldest->stamp));
        if (bin->oldest->stamp < oldest) {
            oldest = bin->oldest->stamp;
            found = &shard;
        }
    }
    return found;
}

// Gives back blocks of one shard, oldest first, as long as they are older than `horizon` and `bytes` are missing.
std::uint64_t RecyclerPool::Evict(Shard& shard, std::uint64_t horizon, std::uint64_t bytes) noexcept
{
    Entry* evicted = nullptr;
    std::uint64_t freed = 0;
    {
        const std::lock_guard lock{shard.guard};
        while (freed < bytes) {
            Bin* const bin = OldestBin(shard);
            if (bin == nullptr || bin->oldest->stamp > horizon) break;
            Entry* const entry = Unlink(*bin, bin->oldest);
            entry->older = evicted;
            evicted = entry;
            freed += entry->size;
        }
    }
    m_size.fetch_sub(freed, std::memory_order_relaxed);
    while (evicted != nullptr) {
        Entry* const entry = evicted;
        evicted = entry->older;
        const std::size_t size = entry->size;
        ASAN_UNPOISON_MEMORY_REGION(entry, size);
        m_system.give(entry, size);
    }
    return freed;
}

bool RecyclerPool::IsConsistent() const noexcept
{
    std::uint64_t sum = 0;
    for (const Shard& shard : m_shards) {
        for (const Bin& bin : shard.bins) {
            const Entry* newer = nullptr;
            for (const Entry* entry = bin.newest; entry != nullptr; newer = entry, entry = entry->older) {
                const Class c = ClassOf(entry->size);
                const bool inPlace = &m_shards[c.shard] == &shard && &shard.bins[c.bin] == &bin;
                const bool inOrder = newer == nullptr || newer->stamp > entry->stamp;
                if (!inPlace || !inOrder || entry->newer != newer) return false;
                sum += entry->size;
            }
            if (bin.oldest != newer) return false;
        }
    }
    return sum == GetSize();
}

}  // namespace zvkcore::allocator
