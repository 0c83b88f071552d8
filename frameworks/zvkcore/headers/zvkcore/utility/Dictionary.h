/// A small record of named texts, in the order in which they were set.
///
/// Meant for a handful of entries that travel together: look-up is a scan. One thread at a time uses an
/// object.
#ifndef ZVKCORE_UTILITY_DICTIONARY_H
#define ZVKCORE_UTILITY_DICTIONARY_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zvkcore/config/Export.h"
#include "zvkcore/string/UTFString.h"

namespace zvkcore::utility {

class Dictionary {
  public:
    using Entry = std::pair<std::string, string::UTF8String>;

    /// Sets the text of `key`; a key that is there keeps its place.
    ZVKCORE_EXPORT void Set(std::string_view key, string::UTF8View value);

    /// The text of `key`, null without one; valid until the next `Set`.
    ZVKCORE_EXPORT const string::UTF8String* Find(std::string_view key) const noexcept;

    const std::vector<Entry>& GetEntries() const noexcept { return m_entries; }

  private:
    std::vector<Entry> m_entries;
};

}  // namespace zvkcore::utility

#endif
