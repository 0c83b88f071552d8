#include "MatteMemory.h"

#include <U_Memory.h>

#include <boost/make_shared.hpp>

namespace qlhost {
namespace {

constexpr std::uint32_t kValueAllocation = 0x00010004;  // where this host's reports say they come from

}  // namespace

void* MatteCallbacks::Allocate(std::size_t size)
{
    void* const block = U_AllocatePtr(kValueAllocation, "segmentation value", size);
    if (block) m_inUse += size;
    return block;
}

void MatteCallbacks::Dispose(void* pointer, std::size_t size)
{
    if (!pointer) return;
    m_inUse -= size;
    U_FreePtr(pointer);
}

boost::shared_ptr<tessaly::CacheIndex> MatteCallbacks::NewCacheIndex(const char* name)
{
    return boost::make_shared<tessaly::CacheIndex>(name);
}

bool MatteCallbacks::AreExperimentalParametersEnabled()
{
    return false;
}

bool MatteCallbacks::GetPreferenceBool(const char* /*name*/, bool defaultValue)
{
    return defaultValue;
}

MatteIndex::MatteIndex(const char* name, boost::shared_ptr<const MatteCallbacks> callbacks)
    : CacheIndex{name}, m_callbacks{std::move(callbacks)}
{
}

boost::shared_ptr<tessaly::Value> MatteIndex::Find(zvkcore::utility::Guid identity, long long key,
                                                   tessaly::SearchTolerance /*tolerance*/)
{
    const std::lock_guard lock{m_mutex};
    const auto place = m_places.find({identity, key});
    if (place == m_places.end()) return {};
    ++m_counts.found;
    m_recent.splice(m_recent.begin(), m_recent, place->second);
    return place->second->value;
}

void MatteIndex::Store(zvkcore::utility::Guid identity, long long key,
                       boost::shared_ptr<tessaly::Value> value, float cost)
{
    if (!value) return;
    const std::lock_guard lock{m_mutex};
    ++m_counts.stored;
    m_counts.seconds += cost;
    const auto [place, isNew] = m_places.try_emplace({identity, key});
    if (isNew) place->second = m_recent.insert(m_recent.begin(), Entry{place->first, {}});
    place->second->value.swap(value);  // a former value goes behind the lock
}

boost::shared_ptr<tessaly::Value> MatteIndex::Delete(zvkcore::utility::Guid identity, long long key)
{
    const std::lock_guard lock{m_mutex};
    const auto place = m_places.find({identity, key});
    if (place == m_places.end()) return {};
    const auto value = place->second->value;
    m_recent.erase(place->second);
    m_places.erase(place);
    return value;
}

void MatteIndex::PurgeAll()
{
    std::list<Entry> gone;
    const std::lock_guard lock{m_mutex};
    gone.swap(m_recent);
    m_places.clear();
    m_counts.dropped += gone.size();
}

std::uint64_t MatteIndex::Purge(std::uint64_t bytes)
{
    const std::uint64_t before = m_callbacks->InUse();
    const auto freed = [&] {
        const std::uint64_t now = m_callbacks->InUse();
        return before > now ? before - now : 0;
    };
    while (freed() < bytes && TakeOldest()) {
    }
    return freed();
}

boost::shared_ptr<tessaly::Value> MatteIndex::TakeOldest()
{
    const std::lock_guard lock{m_mutex};
    if (m_recent.empty()) return {};
    const auto value = m_recent.back().value;
    m_places.erase(m_recent.back().key);
    m_recent.pop_back();
    ++m_counts.dropped;
    return value;
}

MatteIndex::Counts MatteIndex::Read() const
{
    const std::lock_guard lock{m_mutex};
    return m_counts;
}

}  // namespace qlhost
