// A vector, scanned. No state.
#include "zvkcore/utility/Dictionary.h"

#include <algorithm>

namespace zvkcore::utility {

void Dictionary::Set(std::string_view key, string::UTF8View value)
{
    const auto found = std::ranges::find(m_entries, key, &Entry::first);
    if (found != m_entries.end()) {
        found->second = value;
    } else {
        m_entries.emplace_back(key, value);
    }
}

const string::UTF8String* Dictionary::Find(std::string_view key) const noexcept
{
    const auto found = std::ranges::find(m_entries, key, &Entry::first);
    return found == m_entries.end() ? nullptr : &found->second;
}

}  // namespace zvkcore::utility
