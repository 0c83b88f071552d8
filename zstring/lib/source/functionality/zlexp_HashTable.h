// The texts of a dictionary in text form: a hash table of the usual kind, in which a later text of a key
// replaces the earlier one.
#ifndef ZLEXP_HASHTABLE_H
#define ZLEXP_HASHTABLE_H

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "zvkcore/string/UTFString.h"

namespace zlex_private {

class HashTable {
  public:
    using Text = zvkcore::string::UTF16String;

    void Set(std::string key, Text text) { m_texts.insert_or_assign(std::move(key), std::move(text)); }

    /// Null for an unknown key. Valid until the next change.
    const Text* Find(std::string_view key) const
    {
        const auto row = m_texts.find(key);
        return row == m_texts.end() ? nullptr : &row->second;
    }

    /// Takes over all of `other`, whose texts win. All or nothing.
    void Merge(HashTable&& other);

    bool IsEmpty() const { return m_texts.empty(); }
    auto begin() const { return m_texts.begin(); }
    auto end() const { return m_texts.end(); }

  private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view key) const { return std::hash<std::string_view>{}(key); }
    };
    std::unordered_map<std::string, Text, Hash, std::equal_to<>> m_texts;
};

}  // namespace zlex_private

#endif
