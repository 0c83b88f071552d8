// The entries of a dictionary: from a key to an id, from an id to a text.
//
// Ids count through the parts in the order in which these came. The 1021 buckets of the stored form hold the
// ids of each hash; beside them an index over all keys, made at the first search that needs it, keeps long
// buckets from being walked. The index never changes a result: it knows of each key only the id that the walk
// would meet first.
//
// One thread at a time, searching included: `FindId` makes the index.
#ifndef ZLEXP_FASTARRAY_H
#define ZLEXP_FASTARRAY_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "zlex.h"
#include "zlexp_ByteRun.h"
#include "zlexp_Farray.h"
#include "zlexp_KeyIndex.h"

namespace zlex_private {

class FastArray {
  public:
    static constexpr uint32_t kNotFound = 0xFFFFFFFF;

    FastArray() = default;
    FastArray(const FastArray&) = delete;
    FastArray& operator=(const FastArray&) = delete;

    /// Adds a block as one more part. Keys that are known already get the new texts under their old ids; a
    /// part of which nothing else remains is discarded. All or nothing, also when memory runs out.
    ///
    /// returns  0; -1 for a bad block
    int Read(const char* data, const char* end, bool third, char version, zlex::EndianT endian);

    /// The id of a key, or kNotFound.
    uint32_t FindId(const unsigned char* key, size_t length) const;

    /// The text of an id, in bytes of 16-bit units; empty if there is none. Valid until the next change.
    ByteRun GetValue(unsigned int id) const;
    ByteRun GetAccelerator(unsigned int id) const;

    /// Copies the key of an id into a buffer of `size` bytes.
    ///
    /// length   receives the key's length, or 0; may be null
    /// returns  1; 0 when there is no such id, or no room
    int GetData(unsigned int id, unsigned char* buffer, unsigned int size, unsigned short* length) const;

    /// Adds a text, or replaces that of a known key. Lengths are in bytes.
    ///
    /// returns  the id; kNotFound, with nothing changed, for a length above kMostBytes
    uint32_t Add(const unsigned char* key, size_t keyLength, const unsigned short* value, size_t valueLength,
                 const unsigned short* accelerator, size_t acceleratorLength);

    /// Replace a text of an id. False for an unknown id or a length above kMostBytes.
    bool updateVals(const unsigned short* value, size_t valueLength, uint32_t id);
    bool updateAccels(const unsigned short* accelerator, size_t acceleratorLength, uint32_t id);

    /// Replaces the value of the first of `count` ids, each with `base` added, that has this key.
    ///
    /// returns  its id; kNotFound, with nothing changed
    uint32_t updateStrValsIfKeyExists(uint32_t base, uint32_t count, const uint32_t* ids,
                                      const unsigned char* key, size_t keyLength, const unsigned short* value,
                                      size_t valueLength);

    /// Ids so far; every id is below it.
    uint32_t IdTotal() const { return m_idTotal; }
    uint32_t ActiveTotal() const { return m_activeTotal; }
    size_t PartCount() const { return m_parts.size(); }

    /// Whether blocks are to be swapped; `setEndian` decides it and tells.
    bool Swaps() const { return m_swap; }
    bool setEndian(zlex::EndianT endian);

  private:
    struct Bucket {
        uint32_t count = 0;
        uint32_t room = 0;
        uint32_t* ids = nullptr;  // into one of m_idBlocks
    };
    struct Place {
        const cFarray* part;
        uint32_t index;
    };
    struct Replacement {
        uint32_t id;
        cFarray::Units value;
        uint16_t length;
    };
    static constexpr int kNoOpenPart = -1;
    static constexpr size_t kPartsAtATime = 10;

    Place Find(uint32_t id) const;
    cFarray& PartOf(uint32_t id, uint32_t& index);
    ByteRun KeyOf(uint32_t id) const;
    uint32_t FindAmong(uint32_t base, uint32_t count, const uint32_t* ids, ByteRun key) const;
    uint32_t FindInBucket(uint32_t number, ByteRun key) const;
    void MakeIndex() const;

    int NewPart();
    void freeRead(int index);
    void Merge(cFarray& fresh);
    std::vector<Replacement> TakeKnownKeys(cFarray& part, cFarray::Buckets& buckets) const;
    void AddToBuckets(const cFarray::Buckets& buckets, uint32_t firstId);
    void NeedRoomForOneId(Bucket& bucket);

    int m_openPart = kNoOpenPart;  // the part that takes additions; always the last one
    uint32_t m_idTotal = 0;
    uint32_t m_activeTotal = 0;
    std::array<Bucket, kBucketCount> m_buckets{};
    std::vector<cFarray> m_parts;  // by first id, ascending and without gaps
    bool m_swap = false;
    std::vector<std::unique_ptr<uint32_t[]>> m_idBlocks;  // what buckets point into, until the end
    mutable KeyIndex m_index;
};

}  // namespace zlex_private

#endif
