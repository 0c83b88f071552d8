// One table of all names, grown and never emptied.
//
// State: the table, made at first use and never destroyed; guard: a lock that look-ups share. It is a plain lock
// without a name on purpose: named locks make names.
#include "zvkcore/utility/ImmutableString.h"

#include <cstring>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string_view>
#include <unordered_map>

namespace zvkcore::utility {

ImmutableString ImmutableString::Create(std::string_view text)
{
    struct Stored {
        std::unique_ptr<char[]> text;
        Representation rep;
    };
    struct Table {
        std::shared_mutex guard;
        std::unordered_map<std::string_view, Stored> names;  // a key looks into its own entry's text
    };
    static Table* const table = new Table;

    if (text.empty()) return {};
    {
        const std::shared_lock lock{table->guard};
        const auto found = table->names.find(text);
        if (found != table->names.end()) return ImmutableString{&found->second.rep};
    }
    auto copy = std::make_unique<char[]>(text.size() + 1);
    std::memcpy(copy.get(), text.data(), text.size());
    const std::string_view key{copy.get(), text.size()};

    const std::unique_lock lock{table->guard};
    const auto [entry, isNew] = table->names.try_emplace(key);
    if (isNew) {
        entry->second.rep = {text.size(), copy.get()};
        entry->second.text = std::move(copy);
    }
    return ImmutableString{&entry->second.rep};
}

}  // namespace zvkcore::utility
