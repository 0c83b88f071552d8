// Reading a block into a part, and the texts of a part.
#include "zlexp_Farray.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

#include "zlexp_FastArray.h"

namespace zlex_private {
namespace {

template <class T>
std::unique_ptr<T[]> MakeArray(size_t count)
{
    return std::make_unique_for_overwrite<T[]>(count);
}

template <class T>
void SwapUnits(T* values, size_t count)
{
    for (size_t at = 0; at < count; ++at) {
        if constexpr (sizeof(T) == 2) values[at] = __builtin_bswap16(values[at]);
        if constexpr (sizeof(T) == 4) values[at] = __builtin_bswap32(values[at]);
    }
}

// Whether each run lies within its pool, on whole units where `unitSize` is 2. No branch in the loop: an
// entire language is checked in a few microseconds.
bool RunsFit(const uint32_t* offsets, const uint16_t* lengths, uint32_t count, uint32_t poolSize,
             uint32_t unitSize)
{
    const uint32_t oddBits = unitSize - 1;
    bool bad = false;
    for (uint32_t at = 0; at < count; ++at) {
        const uint32_t length = lengths[at];
        const bool outside = (offsets[at] > poolSize) | (length > poolSize - offsets[at]);
        bad |= (length != 0) & (outside | (((offsets[at] | length) & oddBits) != 0));
    }
    return !bad;
}

ByteRun RunOf(const unsigned short* units, size_t length)
{
    return {reinterpret_cast<const unsigned char*>(units), length};
}

}  // namespace

// Takes fields off the front of a block, in its byte order. A field that does not fit leaves false.
class cFarray::Reader {
  public:
    Reader(const char* data, const char* end, bool swap) : m_at(data), m_end(end), m_swap(swap) {}

    bool Take(uint32_t& value)
    {
        if (Left() < sizeof value) return false;
        std::memcpy(&value, m_at, sizeof value);
        m_at += sizeof value;
        if (m_swap) value = __builtin_bswap32(value);
        return true;
    }

    bool TakeByte(char& value)
    {
        if (Left() == 0) return false;
        value = *m_at++;
        return true;
    }

    template <class T>
    bool TakeArray(std::unique_ptr<T[]>& array, uint32_t count)
    {
        return TakeBytes(array, uint64_t{count} * sizeof(T));
    }

    /// A pool of `bytes` bytes; an odd last byte of a pool of units belongs to no unit.
    template <class T>
    bool TakeBytes(std::unique_ptr<T[]>& pool, uint64_t bytes)
    {
        if (Left() < bytes) return false;
        const size_t count = static_cast<size_t>(bytes) / sizeof(T);
        pool = MakeArray<T>(count);
        if (count != 0) std::memcpy(pool.get(), m_at, count * sizeof(T));
        m_at += bytes;
        if (m_swap && sizeof(T) > 1) SwapUnits(pool.get(), count);
        return true;
    }

  private:
    uint64_t Left() const { return static_cast<uint64_t>(m_end - m_at); }

    const char* m_at;
    const char* m_end;
    bool m_swap;
};

int cFarray::Read(const char* data, const char* end, bool, char, const FastArray* owner)
{
    Reader reader(data, end, owner->Swaps());
    const bool good =
        ReadCounts(reader, *owner) && ReadEntries(reader) && ReadBuckets(reader) && ReadAccelerators(reader);
    return good ? 0 : -1;
}

bool cFarray::ReadCounts(Reader& reader, const FastArray& owner)
{
    const uint32_t total = owner.IdTotal();
    char hasKeys = 0;
    if (!reader.Take(m_firstId)) return false;
    if (m_firstId != 0 && total != 0 && m_firstId != total) return false;
    m_firstId = total;
    if (!reader.TakeByte(hasKeys) || !reader.Take(m_entryCount) || !reader.Take(m_activeCount) ||
        !reader.Take(m_buckets.count)) {
        return false;
    }
    if (hasKeys == 'N') m_hasKeys = false;  // wanted: any byte but N means keys
    if (m_hasKeys && !reader.Take(m_keyPoolSize)) return false;
    if (!reader.Take(m_valuePoolSize)) return false;
    // The last id stands for "not found".
    return m_activeCount <= m_entryCount && m_entryCount < FastArray::kNotFound - total;
}

bool cFarray::ReadEntries(Reader& reader)
{
    const uint32_t count = m_entryCount;
    if (m_hasKeys && !(reader.TakeArray(m_keyOffsets, count) && reader.TakeArray(m_keyLengths, count))) {
        return false;
    }
    if (!reader.TakeArray(m_valueOffsets, count) || !reader.TakeArray(m_valueLengths, count)) return false;
    if (m_hasKeys && !reader.TakeBytes(m_keyPool, m_keyPoolSize)) return false;
    if (!reader.TakeBytes(m_valuePool, m_valuePoolSize)) return false;
    return (!m_hasKeys || RunsFit(m_keyOffsets.get(), m_keyLengths.get(), count, m_keyPoolSize, 1)) &&
           RunsFit(m_valueOffsets.get(), m_valueLengths.get(), count, m_valuePoolSize,
                   sizeof(unsigned short));
}

bool cFarray::ReadBuckets(Reader& reader)
{
    if (!m_hasKeys) {
        m_buckets.count = 0;
        return true;
    }
    Buckets& buckets = m_buckets;
    if (!reader.TakeArray(buckets.numbers, buckets.count) ||
        !reader.TakeArray(buckets.lengths, buckets.count)) {
        return false;
    }
    const uint64_t idCount =
        std::accumulate(buckets.lengths.get(), buckets.lengths.get() + buckets.count, uint64_t{0});
    if (idCount > UINT32_MAX) return false;
    buckets.idCount = static_cast<uint32_t>(idCount);
    if (!reader.TakeArray(buckets.ids, buckets.idCount)) return false;
    const auto below = [](const auto& array, uint32_t count, uint32_t limit) {
        return std::all_of(array.get(), array.get() + count, [limit](auto value) { return value < limit; });
    };
    return below(buckets.numbers, buckets.count, kBucketCount) &&
           below(buckets.ids, buckets.idCount, m_entryCount);
}

bool cFarray::ReadAccelerators(Reader& reader)
{
    Accelerators& table = m_accelerators;
    if (!reader.Take(table.count)) return false;
    if (table.count == 0) return true;
    uint32_t poolSize = 0;
    if (!reader.Take(poolSize) || !reader.TakeArray(table.ids, table.count) ||
        !reader.TakeArray(table.offsets, table.count) || !reader.TakeArray(table.lengths, table.count) ||
        !reader.TakeBytes(table.pool, poolSize)) {
        return false;
    }
    if (!RunsFit(table.offsets.get(), table.lengths.get(), table.count, poolSize, sizeof(unsigned short)) ||
        *std::max_element(table.ids.get(), table.ids.get() + table.count) >= m_entryCount) {
        return false;
    }
    if (std::is_sorted(table.ids.get(), table.ids.get() + table.count)) return true;

    // A writer may list the ids in any order; the first one of an id is the one that counts.
    std::vector<uint32_t> order(table.count);
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(),
                     [&](uint32_t a, uint32_t b) { return table.ids[a] < table.ids[b]; });
    const auto reorder = [&order](auto& array) {
        auto sorted = MakeArray<std::decay_t<decltype(array[0])>>(order.size());
        for (size_t at = 0; at < order.size(); ++at) sorted[at] = array[order[at]];
        array = std::move(sorted);
    };
    reorder(table.ids);
    reorder(table.offsets);
    reorder(table.lengths);
    return true;
}

ByteRun cFarray::Key(uint32_t index) const
{
    if (!m_keyLengths || m_keyLengths[index] == 0) return {};
    if (m_addedKeys && m_addedKeys[index]) return {m_addedKeys[index].get(), m_keyLengths[index]};
    return {m_keyPool.get() + m_keyOffsets[index], m_keyLengths[index]};
}

ByteRun cFarray::Value(uint32_t index) const
{
    // An entry whose key is gone was replaced. That an empty key cannot have a text follows from it.
    if (m_hasKeys && m_keyLengths[index] == 0) return {};
    const uint16_t length = m_valueLengths[index];
    if (length == 0) return {};
    if (m_addedValues && m_addedValues[index]) return RunOf(m_addedValues[index].get(), length);
    return RunOf(m_valuePool.get() + m_valueOffsets[index] / sizeof(unsigned short), length);
}

ByteRun cFarray::Accelerator(uint32_t index) const
{
    if (m_addedAccelerators && m_addedAccelerators[index].inForce) {
        const AddedAccelerator& added = m_addedAccelerators[index];
        return RunOf(added.text.get(), added.text ? added.length : 0);
    }
    const Accelerators& table = m_accelerators;
    const uint32_t* const end = table.ids.get() + table.count;
    const uint32_t* const row = std::lower_bound<const uint32_t*>(table.ids.get(), end, index);
    if (row == end || *row != index) return {};
    const auto at = row - table.ids.get();
    if (table.lengths[at] == 0) return {};
    return RunOf(table.pool.get() + table.offsets[at] / sizeof(unsigned short), table.lengths[at]);
}

uint32_t cFarray::Capacity() const
{
    return m_forAdditions ? kMostAdditions : m_entryCount;
}

void cFarray::NeedRoomForAdditions()
{
    if (m_forAdditions) return;
    auto keyLengths = std::make_unique<uint16_t[]>(kMostAdditions);
    auto valueLengths = std::make_unique<uint16_t[]>(kMostAdditions);
    auto keys = std::make_unique<std::unique_ptr<unsigned char[]>[]>(kMostAdditions);
    auto values = std::make_unique<Units[]>(kMostAdditions);
    m_keyLengths = std::move(keyLengths);
    m_valueLengths = std::move(valueLengths);
    m_addedKeys = std::move(keys);
    m_addedValues = std::move(values);
    m_forAdditions = true;
}

void cFarray::NeedValueTable()
{
    if (!m_addedValues) m_addedValues = std::make_unique<Units[]>(Capacity());
}

void cFarray::NeedAcceleratorTable()
{
    if (!m_addedAccelerators) m_addedAccelerators = std::make_unique<AddedAccelerator[]>(Capacity());
}

cFarray::Units cFarray::CopyUnits(const unsigned short* text, size_t length)
{
    const size_t count = length / sizeof(unsigned short);
    if (count == 0) return nullptr;
    auto copy = MakeArray<unsigned short>(count);
    std::memcpy(copy.get(), text, count * sizeof(unsigned short));
    return copy;
}

uint32_t cFarray::Add(const unsigned char* key, size_t keyLength, const unsigned short* value,
                      size_t valueLength, const unsigned short* accelerator, size_t acceleratorLength)
{
    NeedRoomForAdditions();
    if (acceleratorLength != 0) NeedAcceleratorTable();
    auto keyCopy = MakeArray<unsigned char>(keyLength);
    if (keyLength != 0) std::memcpy(keyCopy.get(), key, keyLength);
    Units valueCopy = CopyUnits(value, valueLength);
    Units acceleratorCopy = CopyUnits(accelerator, acceleratorLength);

    const uint32_t index = m_entryCount++;
    ++m_activeCount;
    m_addedKeys[index] = std::move(keyCopy);
    m_keyLengths[index] = static_cast<uint16_t>(keyLength);
    SetValue(index, std::move(valueCopy), static_cast<uint16_t>(valueLength));
    if (acceleratorCopy) {
        SetAccelerator(index, std::move(acceleratorCopy), static_cast<uint16_t>(acceleratorLength));
    }
    return m_entryCount;
}

void cFarray::SetValue(uint32_t index, Units value, uint16_t length) noexcept
{
    m_addedValues[index] = std::move(value);
    m_valueLengths[index] = m_addedValues[index] ? static_cast<uint16_t>(length & ~1u) : 0;  // whole units
}

void cFarray::SetAccelerator(uint32_t index, Units accelerator, uint16_t length) noexcept
{
    m_addedAccelerators[index] = {std::move(accelerator), static_cast<uint16_t>(length & ~1u), true};
}

void cFarray::Retire(uint32_t index) noexcept
{
    m_keyLengths[index] = 0;
    m_valueLengths[index] = 0;
    if (m_activeCount != 0) --m_activeCount;  // a block may count fewer than it lists
}

}  // namespace zlex_private
