// One part of a dictionary: the arrays of one block that was read, or up to 100 texts added at run time.
//
// A part that was read keeps its texts in two pools, with offsets and lengths beside them. Texts that replace
// others, or are added, stand in tables of their own, which a part has only when it needs them.
#ifndef ZLEXP_FARRAY_H
#define ZLEXP_FARRAY_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "zlexp_ByteRun.h"

namespace zlex_private {

class FastArray;

/// A longer key or text cannot be held: lengths have 16 bits.
constexpr size_t kMostBytes = 0xFFFF;

class cFarray {
  public:
    /// A part that is filled by additions is closed when it has this many.
    static constexpr uint32_t kMostAdditions = 100;

    cFarray() = default;
    cFarray(cFarray&&) = default;
    cFarray& operator=(cFarray&&) = default;

    /// Copies a block and checks it: every offset, length, bucket number and id is within what it points
    /// into. Nothing of `owner` is changed, and it isn't kept.
    ///
    /// returns  0; -1 for a block that is cut short or contradicts itself: the part is then to be dropped
    int Read(const char* data, const char* end, bool third, char version, const FastArray* owner);

    /// Copies a text in; lengths are in bytes, at most kMostBytes. On an exception nothing has changed.
    ///
    /// returns  the new count of entries
    uint32_t Add(const unsigned char* key, size_t keyLength, const unsigned short* value, size_t valueLength,
                 const unsigned short* accelerator, size_t acceleratorLength);

    /// Starts a part for additions.
    void Open(uint32_t firstId) { m_firstId = firstId; }

    uint32_t FirstId() const { return m_firstId; }
    uint32_t EntryCount() const { return m_entryCount; }
    uint32_t ActiveCount() const { return m_activeCount; }
    bool HasKeys() const { return m_hasKeys; }

    // Below, an index is an id less the first id, and must be below the count of entries.

    bool HasKeyLengths() const { return m_keyLengths != nullptr; }
    ByteRun Key(uint32_t index) const;
    ByteRun Value(uint32_t index) const;        ///< empty for an entry that a later dictionary replaced
    ByteRun Accelerator(uint32_t index) const;  ///< empty for an entry without one

    /// The table of replacing values or accelerators, made if it is missing; it has room for every entry.
    void NeedValueTable();
    void NeedAcceleratorTable();

    /// A run of `length` bytes of 16-bit units on the heap; null for none.
    using Units = std::unique_ptr<unsigned short[]>;
    static Units CopyUnits(const unsigned short* text, size_t length);

    /// Replaces a text; the table must be there.
    void SetValue(uint32_t index, Units value, uint16_t length) noexcept;
    void SetAccelerator(uint32_t index, Units accelerator, uint16_t length) noexcept;

    /// Takes an entry out of force: its key and value are gone, its index stays.
    void Retire(uint32_t index) noexcept;

    /// The buckets as they were read, for the owner to take over: `count` numbers and lengths, and the ids of
    /// one bucket after the other.
    struct Buckets {
        uint32_t count = 0;
        uint32_t idCount = 0;
        std::unique_ptr<uint16_t[]> numbers;
        std::unique_ptr<uint32_t[]> lengths;
        std::unique_ptr<uint32_t[]> ids;
    };
    Buckets TakeBuckets() noexcept { return std::move(m_buckets); }

  private:
    struct Accelerators {
        uint32_t count = 0;
        std::unique_ptr<uint32_t[]> ids;  // ascending after Read
        std::unique_ptr<uint32_t[]> offsets;
        std::unique_ptr<uint16_t[]> lengths;
        std::unique_ptr<unsigned short[]> pool;
    };
    struct AddedAccelerator {
        Units text;  // null for an empty one
        uint16_t length = 0;
        bool inForce = false;
    };
    class Reader;

    bool ReadCounts(Reader& reader, const FastArray& owner);
    bool ReadEntries(Reader& reader);
    bool ReadBuckets(Reader& reader);
    bool ReadAccelerators(Reader& reader);
    void NeedRoomForAdditions();
    uint32_t Capacity() const;

    uint32_t m_firstId = 0;
    uint32_t m_entryCount = 0;
    uint32_t m_activeCount = 0;
    uint32_t m_keyPoolSize = 0;
    uint32_t m_valuePoolSize = 0;
    bool m_hasKeys = true;
    bool m_forAdditions = false;  // the arrays have room for kMostAdditions entries and there are no pools
    std::unique_ptr<uint32_t[]> m_keyOffsets;
    std::unique_ptr<uint16_t[]> m_keyLengths;
    std::unique_ptr<uint32_t[]> m_valueOffsets;
    std::unique_ptr<uint16_t[]> m_valueLengths;
    std::unique_ptr<unsigned char[]> m_keyPool;
    std::unique_ptr<unsigned short[]> m_valuePool;
    Accelerators m_accelerators;
    Buckets m_buckets;

    // Each has Capacity() slots once it is there; an empty slot leaves the pool in force.
    std::unique_ptr<Units[]> m_addedValues;
    std::unique_ptr<std::unique_ptr<unsigned char[]>[]> m_addedKeys;
    std::unique_ptr<AddedAccelerator[]> m_addedAccelerators;
};

}  // namespace zlex_private

#endif
