// Reading, by the readers of the library itself: what zdict accepts is what an application accepts, and what
// an application passes over in silence is told here.
#include <unordered_map>

#include "Entries.h"
#include "zlexp_Dictionary.h"
#include "zlexp_Escapes.h"
#include "zlexp_StoredForm.h"
#include "zvkcore/string/Convert.h"

namespace zdict {
namespace {

using zlex_private::ByteRun;
using zlex_private::DictionaryReader;

UTF16String TextOf(ByteRun run)
{
    const auto* units = reinterpret_cast<const unsigned short*>(run.data);
    return UTF16String(units, units + run.length / sizeof(unsigned short));
}

[[noreturn]] void Refuse(size_t line, std::string_view what)
{
    throw BadDictionary("line " + std::to_string(line) + ": " + std::string(what));
}

// The text behind the word "accelerator", which stands behind an entry; empty without it.
UTF16String AcceleratorOf(UTF16View rest, size_t line)
{
    constexpr std::u16string_view kWord = u"accelerator";
    const std::u16string_view text = zvkcore::string::View(rest);
    const size_t start = text.find_first_not_of(u" \t");
    if (start == text.npos || !text.substr(start).starts_with(kWord)) return {};
    const UTF16View quoted = DictionaryReader::Quoted(rest, nullptr);
    if (quoted.empty()) Refuse(line, "no text in quotes behind \"accelerator\"");
    return zlex_private::DictionaryEntry::ConvertEscapeSequences(quoted.data(), quoted.size());
}

bool IsBlank(UTF16View line)
{
    return zvkcore::string::View(line).find_first_not_of(u" \t") == std::u16string_view::npos;
}

// A line that holds a quote and no entry, or is a key and no entry, is hardly meant as a remark.
bool LooksLikeAnEntry(UTF16View line)
{
    const std::u16string_view text = zvkcore::string::View(line);
    return !IsBlank(line) && (text.find(u'"') != text.npos || text.find(u"$$$") != text.npos);
}

class TextContent {
  public:
    explicit TextContent(std::string_view bytes)
    {
        const auto reader = DictionaryReader::Make(bytes.data(), bytes.data() + bytes.size());
        UTF16String line;
        for (size_t number = 1; reader && reader->NextLine(line); ++number) Add(line, number);
    }

    Content Take() { return std::move(m_content); }

  private:
    void Add(UTF16View line, size_t number)
    {
        UTF16View rest;
        const UTF16View quoted = DictionaryReader::Quoted(line, &rest);
        if (quoted.empty()) {
            if (LooksLikeAnEntry(line)) Warn(number, "no entry between quotes, passed over");
            return;
        }
        Entry entry;
        if (!zlex_private::Dictionary::ParseEntry(quoted, entry.key, entry.text)) {
            Refuse(number,
                   "not a key, an equals sign and a text; a key begins with three dollar signs or none");
        }
        if (entry.key.empty()) Refuse(number, "the key is empty");
        entry.accelerator = AcceleratorOf(rest, number);
        Keep(std::move(entry), number);
    }

    void Keep(Entry entry, size_t number)
    {
        const auto [row, isNew] = m_rows.try_emplace(entry.key, m_content.entries.size());
        if (isNew) {
            m_content.entries.push_back(std::move(entry));
            return;
        }
        Warn(number, "the key " + entry.key + " came before; this text replaces it");
        m_content.entries[row->second] = std::move(entry);
    }

    void Warn(size_t number, const std::string& what)
    {
        m_content.warnings.push_back("line " + std::to_string(number) + ": " + what);
    }

    Content m_content;
    std::unordered_map<std::string, size_t> m_rows;  // from key to entry
};

Content StoredContent(std::string_view bytes)
{
    zlex_private::Dictionary dictionary;
    if (bytes.size() > INT32_MAX || !dictionary.Read(bytes.data(), static_cast<int>(bytes.size()), false)) {
        throw BadDictionary(
            "not a stored dictionary that can be read: damaged, cut short, or of another version");
    }
    Content content;
    content.name = zvkcore::string::View(zvkcore::string::UTF16to8(dictionary.Name()));
    const zlex_private::FastArray& stored = *dictionary.Stored();
    uint32_t withoutKey = 0;
    std::string key(zlex_private::kMostBytes, '\0');
    for (uint32_t id = 0; id < stored.IdTotal(); ++id) {
        unsigned short length = 0;
        stored.GetData(id, reinterpret_cast<unsigned char*>(key.data()), static_cast<unsigned>(key.size()),
                       &length);
        if (length == 0) {
            ++withoutKey;
            continue;
        }
        content.entries.push_back(
            {key.substr(0, length), TextOf(stored.GetValue(id)), TextOf(stored.GetAccelerator(id))});
    }
    if (withoutKey != 0) {
        content.warnings.push_back(std::to_string(withoutKey) + " texts have no key and are left out");
    }
    return content;
}

bool IsUTF16(std::string_view bytes)
{
    return bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF");
}

}  // namespace

Content ReadContent(std::string_view bytes)
{
    if (bytes.starts_with(zlex_private::kMagic)) return StoredContent(bytes);
    UTF16String converted;
    if (!IsUTF16(bytes) && !zvkcore::string::TryUTF8to16(zvkcore::string::Units(bytes), converted)) {
        throw BadDictionary("neither a stored dictionary nor text in UTF-8 or UTF-16");
    }
    return TextContent(bytes).Take();
}

}  // namespace zdict
