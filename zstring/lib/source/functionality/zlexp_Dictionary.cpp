// Reading either form, and looking a literal up.
//
// A dictionary begins in text form, with its texts in a hash table. The first stored block that is read makes
// it binary: from then on its texts are those of the arrays, and a text block adds to the arrays. What was
// read before as text still speaks where the arrays lack a key.
#include "zlexp_Dictionary.h"

#include <cstring>

#include "zlexp_Escapes.h"
#include "zlexp_StoredForm.h"
#include "zlexp_Unicode.h"

namespace zlex_private {
namespace {

bool IsStored(const char* data, size_t size)
{
    return size >= kMagic.size() && std::memcmp(data, kMagic.data(), kMagic.size()) == 0;
}

}  // namespace

const Dictionary* sMainDictionary = nullptr;

SplitKey Split(std::string_view literal)
{
    constexpr std::string_view kMark = "$$$";
    SplitKey split;
    if (literal.starts_with(kMark)) {
        literal.remove_prefix(kMark.size());
    } else if (literal.starts_with('$')) {
        split.isMalformed = true;
        return split;
    }
    const size_t equals = literal.find('=');
    split.key = literal.substr(0, equals);
    split.hasText = equals != std::string_view::npos;
    if (split.hasText) split.text = literal.substr(equals + 1);
    return split;
}

bool Dictionary::Read(const char* data, int size, bool third)
{
    if (!data || size < 2) return true;  // nothing to read, nothing to object to
    const char* const end = data + size;
    m_loaded = IsStored(data, static_cast<size_t>(size)) ? ReadStored(data, end, third) : ReadText(data, end);
    return m_loaded;
}

bool Dictionary::ReadStored(const char* data, const char* end, bool third)
{
    const auto size = static_cast<size_t>(end - data);
    if (size <= kOrderAt) return false;
    const auto minor = static_cast<signed char>(data[kMinorAt]);
    // Two older versions had layouts of their own, which nothing writes any more.
    if (data[kMajorAt] != kMajor || minor < 0) return false;
    if (minor == 0) return ReadVersion2(data + kOrderAt, end, third, data[kVersionAt], zlex::kEndianUnstated);
    const bool isSwapped = (data[kOrderAt] & 1) != 0;
    return ReadVersion2(data + kOrderAt + 1, end, third, data[kVersionAt],
                        isSwapped ? zlex::kEndianSwapped : zlex::kEndianNative);
}

bool Dictionary::ReadVersion2(const char* data, const char* end, bool third, char version,
                              zlex::EndianT endian)
{
    uint32_t nameLength = 0;
    if (static_cast<size_t>(end - data) < sizeof nameLength) return false;
    std::memcpy(&nameLength, data, sizeof nameLength);
    data += sizeof nameLength;
    if (endian == zlex::kEndianSwapped) nameLength = __builtin_bswap32(nameLength);
    if (nameLength > static_cast<size_t>(end - data)) return false;
    const std::string_view name(data, nameLength);
    data += nameLength;

    UTF16String newName = UnicodeUtil::StringToUnicode(name, {zlex::kEncodingUTF8});
    if (!m_stored) m_stored = std::make_unique<FastArray>();
    if (m_stored->Read(data, end, third, version, endian) != 0) return false;
    m_name = std::move(newName);
    m_mode = kBinaryMode;
    return true;
}

bool Dictionary::ReadText(const char* data, const char* end)
{
    const std::unique_ptr<DictionaryReader> reader = DictionaryReader::Make(data, end);
    HashTable entries;
    UTF16String entry;
    std::string key;
    UTF16String text;
    while (reader->ReadALine(entry)) {
        if (entry.empty()) continue;
        if (!ParseEntry(entry, key, text)) return false;
        if (IsBinary() && (key.size() > kMostBytes || text.size() * sizeof text[0] > kMostBytes))
            return false;
        entries.Set(std::move(key), std::move(text));
    }
    AddEntries(std::move(entries));
    return true;
}

bool Dictionary::ParseEntry(UTF16View entry, std::string& key, UTF16String& text)
{
    // A key is bytes: it is narrowed before it is taken apart, and the text behind it isn't.
    const size_t equals = entry.find(u'=');
    if (equals == UTF16View::npos) return false;
    std::string narrow(equals, '\0');
    for (size_t at = 0; at < equals; ++at) narrow[at] = static_cast<char>(entry[at]);
    const SplitKey split = Split(narrow);
    if (split.isMalformed) return false;
    key = split.key;
    text = DictionaryEntry::ConvertEscapeSequences(entry.data() + equals + 1, entry.size() - equals - 1);
    return true;
}

void Dictionary::AddEntries(HashTable&& entries)
{
    if (!IsBinary()) {
        m_texts.Merge(std::move(entries));
        return;
    }
    for (const auto& [key, text] : entries) {
        m_stored->Add(reinterpret_cast<const unsigned char*>(key.data()), key.size(), text.data(),
                      text.size() * sizeof text[0], nullptr, 0);
    }
}

bool Dictionary::Find(std::string_view key, UTF16String& text) const
{
    if (IsBinary()) {
        const uint32_t id = m_stored->FindId(reinterpret_cast<const unsigned char*>(key.data()), key.size());
        if (id != FastArray::kNotFound) {
            const ByteRun value = m_stored->GetValue(id);
            text.assign(reinterpret_cast<const unsigned short*>(value.data),
                        value.length / sizeof(unsigned short));
            return true;
        }
    }
    if (m_texts.IsEmpty()) return false;
    const UTF16String* const found = m_texts.Find(key);
    if (found) text = *found;
    return found != nullptr;
}

UTF16String Dictionary::Lookup(const char* literal, const zlex::EncodingInfo* encoding) const
{
    UTF16String text;
    if (!literal || !*literal) return text;
    const SplitKey split = Split(literal);
    if (split.isMalformed) return text;
    if (Find(split.key, text)) return text;
    if (sMainDictionary && sMainDictionary != this && sMainDictionary->Find(split.key, text)) return text;
    if (!split.hasText) return text;
    const bool hasEncoding = encoding && encoding->selector != 0;
    text = hasEncoding ? UnicodeUtil::StringToUnicode(split.text, *encoding) : UnicodeUtil::Widen(split.text);
    return DictionaryEntry::ConvertEscapeSequences(text.data(), text.size());
}

}  // namespace zlex_private
