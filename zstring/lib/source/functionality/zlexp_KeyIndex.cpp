#include "zlexp_KeyIndex.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <algorithm>
#include <bit>

namespace zlex_private {

static_assert(kBucketCount <= 1u << 10, "a bucket number has ten bits of the fingerprint");

KeyIndex::Print KeyIndex::PrintOf(ByteRun key, uint32_t bucket) const
{
    // The address as seed: nobody can prepare a dictionary whose keys all meet in one slot.
    const auto seed = reinterpret_cast<uintptr_t>(m_slots.get());
    const uint64_t hash = XXH3_64bits_withSeed(key.data, key.length, seed);
    return {static_cast<size_t>(hash >> 32), (static_cast<uint32_t>(hash) << 10) | bucket};
}

void KeyIndex::Start(size_t count)
{
    const size_t slots = std::bit_ceil(std::max<size_t>(count * 2, 64));
    auto fresh = std::make_unique_for_overwrite<Slot[]>(slots);
    std::fill_n(fresh.get(), slots, Slot{0, kNone});
    m_slots = std::move(fresh);
    m_mask = slots - 1;
    m_used = 0;
    m_most = slots / 2;
}

}  // namespace zlex_private
