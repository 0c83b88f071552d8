// A dictionary: its form, its texts, and the road of a literal to its text.
#ifndef ZLEXP_DICTIONARY_H
#define ZLEXP_DICTIONARY_H

#include <memory>
#include <string_view>

#include "zlex.h"
#include "zlexp_FastArray.h"
#include "zlexp_HashTable.h"
#include "zlexp_Reader.h"

namespace zlex_private {

using zvkcore::string::UTF16String;
using zvkcore::string::UTF16View;

/// A literal, taken apart. Both views point into it.
struct SplitKey {
    std::string_view key;
    std::string_view text;
    bool hasText = false;
    bool isMalformed = false;  ///< one or two dollar signs in front
};
SplitKey Split(std::string_view literal);

class Dictionary {
  public:
    bool Read(const char* data, int size, bool third);
    UTF16String Lookup(const char* literal, const zlex::EncodingInfo* encoding) const;
    /// The text of a key in this dictionary alone.
    bool Find(std::string_view key, UTF16String& text) const;

    bool IsLoaded() const { return m_loaded; }

    /// Whether the stored texts stand in `Stored()`; in the text form all stand in `Texts()`.
    bool IsBinary() const { return m_mode.first == kBinaryMode.first; }

    /// For those who want every entry. `Stored()` is null before a stored dictionary was read.
    const FastArray* Stored() const { return m_stored.get(); }
    const HashTable& Texts() const { return m_texts; }
    const UTF16String& Name() const { return m_name; }

    /// Takes an entry, as it stands between the quotes, apart: its key narrowed to bytes, its text in final
    /// form.
    ///
    /// returns  false for a malformed key, or no text
    static bool ParseEntry(UTF16View entry, std::string& key, UTF16String& text);

  private:
    struct Mode {
        signed char first, second;
    };
    static constexpr Mode kTextMode{0, 0};
    static constexpr Mode kBinaryMode{2, 7};

    bool ReadStored(const char* data, const char* end, bool third);
    bool ReadVersion2(const char* data, const char* end, bool third, char version, zlex::EndianT endian);
    bool ReadText(const char* data, const char* end);
    void AddEntries(HashTable&& entries);

    bool m_loaded = false;
    Mode m_mode = kTextMode;
    UTF16String m_name;  // the text that the stored form keeps with a dictionary
    std::unique_ptr<FastArray> m_stored;
    HashTable m_texts;
};

/// The dictionary in which all others look what they lack; null for none. Changed only while no thread
/// searches.
extern const Dictionary* sMainDictionary;

}  // namespace zlex_private

#endif
