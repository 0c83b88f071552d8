// The entries are few and read seldom, most of them once a process, so an ordered map under a lock will do.
#include "zvkcore/debug/DebugDatabase.h"

#include <mutex>

namespace zvkcore::debug {

DebugDatabase::DebugDatabase() = default;
DebugDatabase::~DebugDatabase() = default;

DebugDatabase& DebugDatabase::Instance()
{
    static DebugDatabase s_database;
    return s_database;
}

std::optional<DebugDatabase::Value> DebugDatabase::FindEntry(std::string_view key) const
{
    const std::shared_lock lock(m_mutex);
    const auto entry = m_entries.find(key);
    return entry != m_entries.end() ? std::optional(entry->second) : std::nullopt;
}

void DebugDatabase::StoreEntry(std::string_view key, Value value)
{
    // Memory is taken and given back outside the lock: who runs out of it may read the database on the way.
    decltype(m_entries) made;
    made.emplace(key, std::move(value));
    const std::unique_lock lock(m_mutex);
    const auto entry = m_entries.find(key);
    if (entry == m_entries.end()) {
        m_entries.merge(made);
    } else {
        entry->second.swap(made.begin()->second);
    }
}

bool DebugDatabase::RemoveEntry(std::string_view key)
{
    const std::unique_lock lock(m_mutex);
    const auto entry = m_entries.find(key);
    if (entry == m_entries.end()) return false;
    m_entries.erase(entry);
    return true;
}

}  // namespace zvkcore::debug
