// An index over all keys of a dictionary: open addressing, a fingerprint and an id a slot.
//
// It holds no keys. A slot whose fingerprint fits is a candidate, which the owner compares. The bucket is
// part of the fingerprint, so that an id which a block lists under another bucket than its key's is never
// found, as a walk of the key's bucket would not find it.
#ifndef ZLEXP_KEYINDEX_H
#define ZLEXP_KEYINDEX_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "zlexp_ByteRun.h"

namespace zlex_private {

class KeyIndex {
  public:
    static constexpr uint32_t kNone = 0xFFFFFFFF;

    /// Whether it covers every id in the buckets.
    bool IsCurrent() const { return m_slots != nullptr; }
    void Forget() { m_slots.reset(); }

    /// Empties it, with room for `count` keys.
    void Start(size_t count);

    /// False when it is full, after which it is to be forgotten.
    bool HasRoom() const { return m_used < m_most; }

    /// The first candidate that `isKey(id)` accepts, or kNone.
    template <class IsKey>
    uint32_t Find(ByteRun key, uint32_t bucket, IsKey&& isKey) const
    {
        const Print print = PrintOf(key, bucket);
        for (size_t at = print.slot & m_mask; m_slots[at].id != kNone; at = (at + 1) & m_mask) {
            if (m_slots[at].mark == print.mark && isKey(m_slots[at].id)) return m_slots[at].id;
        }
        return kNone;
    }

    /// Adds an id, unless `isKey` finds that its key is there: the first one counts.
    template <class IsKey>
    void Insert(ByteRun key, uint32_t bucket, uint32_t id, IsKey&& isKey)
    {
        const Print print = PrintOf(key, bucket);
        size_t at = print.slot & m_mask;
        for (; m_slots[at].id != kNone; at = (at + 1) & m_mask) {
            if (m_slots[at].mark == print.mark && isKey(m_slots[at].id)) return;
        }
        m_slots[at] = {print.mark, id};
        ++m_used;
    }

  private:
    struct Slot {
        uint32_t mark;
        uint32_t id;
    };
    struct Print {
        size_t slot;
        uint32_t mark;
    };

    Print PrintOf(ByteRun key, uint32_t bucket) const;

    std::unique_ptr<Slot[]> m_slots;  // null while it isn't current
    size_t m_mask = 0;                // slots less one, a power of two less one
    size_t m_used = 0;
    size_t m_most = 0;  // at most half the slots are used, so a search ends
};

}  // namespace zlex_private

#endif
