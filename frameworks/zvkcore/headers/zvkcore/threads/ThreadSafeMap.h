/// A map that only grows, in which a look-up takes no lock.
///
/// Entries live in blocks of a fixed number of slots. They never move and are never removed while the map
/// lives, so a pointer to a value stays good. The map guards its own structure and not the values: each value
/// belongs to whoever its key stands for, which is how `PerThreadData` uses it.
///
/// Not for: values that several threads change, or keys without end, as nothing is ever given back before the
/// map's destruction.
///
///   block 0   [k|k| |k|k|...]  -> block 1   [ |k| |...]  -> ...
///                  ^ home slot of a key; it may stand here or in the next few slots, else in the next block
#ifndef ZVKCORE_THREADS_THREADSAFEMAP_H
#define ZVKCORE_THREADS_THREADSAFEMAP_H

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

namespace zvkcore::threads {

/// threads  any, at the same time, but for the destructor
template <class Key, class Value, size_t EntriesPerBlock = 256>
class ThreadSafeMap {
    static_assert(EntriesPerBlock != 0);

  public:
    using key_type = Key;
    using mapped_type = Value;

    constexpr ThreadSafeMap() noexcept = default;
    ThreadSafeMap(const ThreadSafeMap&) = delete;
    ThreadSafeMap& operator=(const ThreadSafeMap&) = delete;

    ~ThreadSafeMap()
    {
        for (Block* block = m_first.load(std::memory_order_acquire); block != nullptr;) {
            Block* next = block->next.load(std::memory_order_relaxed);
            delete block;
            block = next;
        }
    }

    /// Gives the value of a key, or null. Takes no lock and allocates nothing.
    Value* Find(const Key& key) const noexcept
    {
        const size_t home = HomeSlot(key);
        for (Block* block = m_first.load(std::memory_order_acquire); block != nullptr;
             block = block->next.load(std::memory_order_acquire)) {
            for (size_t step = 0; step < kProbes; ++step) {
                Slot& slot = block->slots[(home + step) % EntriesPerBlock];
                // Nothing is ever removed, so a key that came later than a free slot stands in it.
                if (!slot.full.load(std::memory_order_acquire)) return nullptr;
                if (slot.entry.key == key) return &slot.entry.value;
            }
        }
        return nullptr;
    }

    /// Gives the value of a key, making one with the default constructor if there is none. The constructor
    /// must not use the map.
    ///
    /// throws   `std::bad_alloc`, and what the constructor throws; the map is then as before
    Value* FindOrCreate(const Key& key)
    {
        if (Value* value = Find(key)) return value;
        return Add(key);
    }

    /// Enters a value made of `arguments`, unless the key is there already, whose value then stays.
    ///
    /// returns  the value that stands in the map
    template <class... Arguments>
    Value* Add(const Key& key, Arguments&&... arguments)
    {
        // Made without the lock: memory that runs out is reported, and a report looks into maps like this one.
        std::unique_ptr<Block> spare;
        for (;;) {
            if (Value* value = Place(spare, key, std::forward<Arguments>(arguments)...)) return value;
            spare = std::make_unique<Block>();
        }
    }

  private:
    struct Entry {
        template <class... Arguments>
        explicit Entry(const Key& k, Arguments&&... arguments)
            : key(k), value(std::forward<Arguments>(arguments)...)
        {
        }
        Key key;
        Value value;
    };

    struct Slot {
        Slot() noexcept {}
        ~Slot()
        {
            if (full.load(std::memory_order_relaxed)) entry.~Entry();
        }

        template <class... Arguments>
        Value* Fill(const Key& key, Arguments&&... arguments)
        {
            new (&entry) Entry(key, std::forward<Arguments>(arguments)...);
            full.store(true, std::memory_order_release);
            return &entry.value;
        }

        std::atomic<bool> full{false};
        union {
            Entry entry;  // alive once `full` is set
        };
    };

    struct Block {
        Slot slots[EntriesPerBlock];
        std::atomic<Block*> next{nullptr};
    };

    // Finds the key or fills a free slot, in the spare block if need be; null, with `arguments` as they were, when
    // all slots are taken and there is no spare.
    template <class... Arguments>
    Value* Place(std::unique_ptr<Block>& spare, const Key& key, Arguments&&... arguments)
    {
        const size_t home = HomeSlot(key);
        const std::lock_guard lock(m_growth);
        std::atomic<Block*>* link = &m_first;
        for (Block* block; (block = link->load(std::memory_order_relaxed)) != nullptr; link = &block->next) {
            for (size_t step = 0; step < kProbes; ++step) {
                Slot& slot = block->slots[(home + step) % EntriesPerBlock];
                if (!slot.full.load(std::memory_order_relaxed)) {
                    return slot.Fill(key, std::forward<Arguments>(arguments)...);
                }
                if (slot.entry.key == key) return &slot.entry.value;
            }
        }
        if (!spare) return nullptr;
        // Linked in after its first slot is filled, so a throwing constructor leaves no trace.
        Value* value = spare->slots[home].Fill(key, std::forward<Arguments>(arguments)...);
        link->store(spare.release(), std::memory_order_release);
        return value;
    }

    static constexpr size_t kProbes = std::min<size_t>(EntriesPerBlock, 8);

    // Multiplying by the golden ratio spreads consecutive ids and aligned addresses evenly over a block.
    static size_t HomeSlot(const Key& key) noexcept
    {
        const uint64_t mixed = static_cast<uint64_t>(std::hash<Key>{}(key)) * 0x9E3779B97F4A7C15u;
        return static_cast<size_t>((mixed >> 32) * EntriesPerBlock >> 32);
    }

    std::atomic<Block*> m_first{nullptr};
    std::mutex m_growth;  // guards every change of the structure; never held during a look-up
};

}  // namespace zvkcore::threads

#endif
