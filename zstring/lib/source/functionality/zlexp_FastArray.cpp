// Merging parts, searching, and additions at run time.
#include "zlexp_FastArray.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace zlex_private {
namespace {

// A bucket up to this long is walked; the index would not be faster.
constexpr uint32_t kShortBucket = 4;

constexpr uint32_t kLeastBucketRoom = 4;

}  // namespace

bool FastArray::setEndian(zlex::EndianT endian)
{
    m_swap = endian == zlex::kEndianSwapped;
    return m_swap;
}

int FastArray::Read(const char* data, const char* end, bool third, char version, zlex::EndianT endian)
{
    setEndian(endian);
    const int index = NewPart();
    cFarray& fresh = m_parts.back();
    bool good = false;
    try {
        good = fresh.Read(data, end, third, version, this) == 0;
        if (good) Merge(fresh);
    } catch (...) {
        freeRead(index);
        throw;
    }
    if (!good || fresh.ActiveCount() == 0) freeRead(index);
    return good ? 0 : -1;
}

int FastArray::NewPart()
{
    if (m_parts.size() == m_parts.capacity()) m_parts.reserve(m_parts.size() + kPartsAtATime);
    m_parts.emplace_back();
    return static_cast<int>(m_parts.size() - 1);
}

void FastArray::freeRead(int index)
{
    m_parts.erase(m_parts.begin() + index);
}

// Puts a part in force. Everything that can fail comes before the first change that shows.
void FastArray::Merge(cFarray& fresh)
{
    cFarray::Buckets buckets = fresh.TakeBuckets();
    std::vector<Replacement> replacements = TakeKnownKeys(fresh, buckets);
    for (const Replacement& replacement : replacements) {
        uint32_t index;
        PartOf(replacement.id, index).NeedValueTable();
    }
    if (fresh.ActiveCount() != 0) {
        AddToBuckets(buckets, m_idTotal);
        m_openPart = kNoOpenPart;  // ids go on behind this part, so an open one can take no more
        m_idTotal += fresh.EntryCount();
        m_activeTotal += fresh.ActiveCount();
    }
    for (Replacement& replacement : replacements) {
        uint32_t index;
        cFarray& part = PartOf(replacement.id, index);
        part.SetValue(index, std::move(replacement.value), replacement.length);
    }
}

// Finds which entries of a fresh part have a key that is known, takes them out of the part and out of the
// bucket lists, and gives their texts. The ids that stay in `buckets` are those to add.
std::vector<FastArray::Replacement> FastArray::TakeKnownKeys(cFarray& part, cFarray::Buckets& buckets) const
{
    std::vector<Replacement> replacements;
    if (m_idTotal == 0) return replacements;
    const uint32_t* from = buckets.ids.get();
    uint32_t* to = buckets.ids.get();
    for (uint32_t row = 0; row < buckets.count; ++row) {
        uint32_t kept = 0;
        for (uint32_t left = buckets.lengths[row]; left != 0; --left) {
            const uint32_t index = *from++;
            const uint32_t known = FindInBucket(buckets.numbers[row], part.Key(index));
            if (known == kNotFound) {
                to[kept++] = index;
                continue;
            }
            const ByteRun value = part.Value(index);
            const auto* units = reinterpret_cast<const unsigned short*>(value.data);
            replacements.push_back(
                {known, cFarray::CopyUnits(units, value.length), static_cast<uint16_t>(value.length)});
            part.Retire(index);
        }
        to += kept;
        buckets.lengths[row] = kept;
    }
    return replacements;
}

// Makes the lists of all touched buckets anew in one block, old ids in front, and puts them in place.
void FastArray::AddToBuckets(const cFarray::Buckets& buckets, uint32_t firstId)
{
    std::vector<uint32_t> grown(kBucketCount);
    for (uint32_t row = 0; row < buckets.count; ++row) grown[buckets.numbers[row]] += buckets.lengths[row];
    size_t size = 0;
    for (uint32_t number = 0; number < kBucketCount; ++number) {
        if (grown[number] != 0) size += grown[number] + size_t{m_buckets[number].count};
    }
    m_idBlocks.reserve(m_idBlocks.size() + 1);
    auto block = std::make_unique_for_overwrite<uint32_t[]>(size);

    uint32_t* next = block.get();
    for (uint32_t number = 0; number < kBucketCount; ++number) {
        if (grown[number] == 0) continue;
        Bucket& bucket = m_buckets[number];
        std::copy_n(bucket.ids, bucket.count, next);
        bucket.ids = next;
        bucket.room = bucket.count + grown[number];
        next += bucket.room;
    }
    const uint32_t* from = buckets.ids.get();
    for (uint32_t row = 0; row < buckets.count; ++row) {
        Bucket& bucket = m_buckets[buckets.numbers[row]];
        for (uint32_t left = buckets.lengths[row]; left != 0; --left) {
            bucket.ids[bucket.count++] = firstId + *from++;
        }
    }
    m_idBlocks.push_back(std::move(block));
    m_index.Forget();
}

FastArray::Place FastArray::Find(uint32_t id) const
{
    const auto after = std::upper_bound(m_parts.begin(), m_parts.end(), id,
                                        [](uint32_t a, const cFarray& part) { return a < part.FirstId(); });
    const cFarray& part = *(after - 1);
    return {&part, id - part.FirstId()};
}

cFarray& FastArray::PartOf(uint32_t id, uint32_t& index)
{
    const Place place = Find(id);
    index = place.index;
    return m_parts[static_cast<size_t>(place.part - m_parts.data())];
}

ByteRun FastArray::KeyOf(uint32_t id) const
{
    const Place place = Find(id);
    return place.part->Key(place.index);
}

uint32_t FastArray::FindAmong(uint32_t base, uint32_t count, const uint32_t* ids, ByteRun key) const
{
    for (uint32_t at = 0; at < count; ++at) {
        const uint32_t id = base + ids[at];
        if (id >= m_idTotal) continue;
        const Place place = Find(id);
        if (place.part->HasKeyLengths() && ByteRunKey(place.part->Key(place.index)) == ByteRunKey(key))
            return id;
    }
    return kNotFound;
}

uint32_t FastArray::FindInBucket(uint32_t number, ByteRun key) const
{
    const Bucket& bucket = m_buckets[number];
    if (bucket.count <= kShortBucket) return FindAmong(0, bucket.count, bucket.ids, key);
    if (!m_index.IsCurrent()) MakeIndex();
    return m_index.Find(key, number, [&](uint32_t id) { return ByteRunKey(KeyOf(id)) == ByteRunKey(key); });
}

void FastArray::MakeIndex() const
{
    size_t count = 0;
    for (const Bucket& bucket : m_buckets) count += bucket.count;
    m_index.Start(count);
    for (uint32_t number = 0; number < kBucketCount; ++number) {
        const Bucket& bucket = m_buckets[number];
        for (uint32_t at = 0; at < bucket.count; ++at) {
            const ByteRun key = KeyOf(bucket.ids[at]);
            m_index.Insert(key, number, bucket.ids[at],
                           [&](uint32_t id) { return ByteRunKey(KeyOf(id)) == ByteRunKey(key); });
        }
    }
}

uint32_t FastArray::FindId(const unsigned char* key, size_t length) const
{
    return FindInBucket(HashFunc(key, length), {key, length});
}

ByteRun FastArray::GetValue(unsigned int id) const
{
    if (id >= m_idTotal) return {};
    const Place place = Find(id);
    return place.part->Value(place.index);
}

ByteRun FastArray::GetAccelerator(unsigned int id) const
{
    if (id >= m_idTotal) return {};
    const Place place = Find(id);
    return place.part->Accelerator(place.index);
}

int FastArray::GetData(unsigned int id, unsigned char* buffer, unsigned int size,
                       unsigned short* length) const
{
    const ByteRun key = id < m_idTotal ? KeyOf(id) : ByteRun{};
    const bool fits = id < m_idTotal && key.length <= size;
    if (fits && key.length != 0) std::memcpy(buffer, key.data, key.length);
    if (length) *length = fits ? static_cast<unsigned short>(key.length) : 0;
    return fits ? 1 : 0;
}

uint32_t FastArray::Add(const unsigned char* key, size_t keyLength, const unsigned short* value,
                        size_t valueLength, const unsigned short* accelerator, size_t acceleratorLength)
{
    if (keyLength > kMostBytes || valueLength > kMostBytes || acceleratorLength > kMostBytes)
        return kNotFound;
    const uint32_t number = HashFunc(key, keyLength);
    Bucket& bucket = m_buckets[number];
    const uint32_t known =
        updateStrValsIfKeyExists(0, bucket.count, bucket.ids, key, keyLength, value, valueLength);
    if (known != kNotFound) {
        if (acceleratorLength != 0) updateAccels(accelerator, acceleratorLength, known);
        return known;
    }

    NeedRoomForOneId(bucket);
    if (m_openPart == kNoOpenPart) {
        m_openPart = NewPart();
        m_parts.back().Open(m_idTotal);
    }
    const uint32_t count =
        m_parts.back().Add(key, keyLength, value, valueLength, accelerator, acceleratorLength);
    if (count == cFarray::kMostAdditions) m_openPart = kNoOpenPart;
    const uint32_t id = m_idTotal++;
    ++m_activeTotal;
    bucket.ids[bucket.count++] = id;
    if (m_index.IsCurrent() && !m_index.HasRoom()) m_index.Forget();
    if (m_index.IsCurrent()) m_index.Insert({key, keyLength}, number, id, [](uint32_t) { return false; });
    return id;
}

// Doubling keeps dictionaries in text form from copying a long bucket at each line.
void FastArray::NeedRoomForOneId(Bucket& bucket)
{
    if (bucket.count < bucket.room) return;
    const uint32_t room = std::max(kLeastBucketRoom, bucket.room * 2);
    auto ids = std::make_unique_for_overwrite<uint32_t[]>(room);
    std::copy_n(bucket.ids, bucket.count, ids.get());
    m_idBlocks.push_back(std::move(ids));
    bucket.ids = m_idBlocks.back().get();
    bucket.room = room;
}

uint32_t FastArray::updateStrValsIfKeyExists(uint32_t base, uint32_t count, const uint32_t* ids,
                                             const unsigned char* key, size_t keyLength,
                                             const unsigned short* value, size_t valueLength)
{
    if (valueLength > kMostBytes) return kNotFound;
    const ByteRun run{key, keyLength};
    const uint32_t number = HashFunc(key, keyLength);
    const bool isBucket = base == 0 && ids == m_buckets[number].ids && count == m_buckets[number].count;
    const uint32_t id = isBucket ? FindInBucket(number, run) : FindAmong(base, count, ids, run);
    if (id != kNotFound) updateVals(value, valueLength, id);
    return id;
}

bool FastArray::updateVals(const unsigned short* value, size_t valueLength, uint32_t id)
{
    if (id >= m_idTotal || valueLength > kMostBytes) return false;
    uint32_t index;
    cFarray& part = PartOf(id, index);
    cFarray::Units copy = cFarray::CopyUnits(value, valueLength);
    part.NeedValueTable();
    part.SetValue(index, std::move(copy), static_cast<uint16_t>(valueLength));
    return true;
}

bool FastArray::updateAccels(const unsigned short* accelerator, size_t acceleratorLength, uint32_t id)
{
    if (id >= m_idTotal || acceleratorLength > kMostBytes) return false;
    uint32_t index;
    cFarray& part = PartOf(id, index);
    cFarray::Units copy = cFarray::CopyUnits(accelerator, acceleratorLength);
    part.NeedAcceleratorTable();
    part.SetAccelerator(index, std::move(copy), static_cast<uint16_t>(acceleratorLength));
    return true;
}

}  // namespace zlex_private
