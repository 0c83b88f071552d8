// The stored form: a header, a name, and one part with keys, buckets and accelerators.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

#include "Entries.h"
#include "zlexp_ByteRun.h"
#include "zlexp_Farray.h"
#include "zlexp_StoredForm.h"

namespace zdict {
namespace {

constexpr char kUnused = 0;

// Appends fields in the byte order of the block.
class Block {
  public:
    explicit Block(bool swapped) : m_swapped(swapped)
    {
        m_bytes += zlex_private::kMagic;
        m_bytes += {zlex_private::kMajor, zlex_private::kMinor, kUnused, static_cast<char>(swapped ? 1 : 0)};
    }

    void Bytes(std::string_view bytes) { m_bytes += bytes; }
    void Word(uint32_t value) { Append(m_swapped ? __builtin_bswap32(value) : value); }
    void Half(uint16_t value) { Append(m_swapped ? __builtin_bswap16(value) : value); }
    void Units(UTF16View text)
    {
        for (unsigned short unit : text) Half(unit);
    }

    std::string Take() { return std::move(m_bytes); }

  private:
    template <class T>
    void Append(T value)
    {
        m_bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    }

    std::string m_bytes;
    bool m_swapped;
};

uint16_t Length(size_t bytes, const Entry& entry, const char* what)
{
    if (bytes <= zlex_private::kMostBytes) return static_cast<uint16_t>(bytes);
    throw BadDictionary("the " + std::string(what) + " of " + entry.key.substr(0, 80) + " has " +
                        std::to_string(bytes) + " bytes; at most 65535 can be stored");
}

uint32_t Size(uint64_t bytes, const char* what)
{
    if (bytes <= std::numeric_limits<uint32_t>::max()) return static_cast<uint32_t>(bytes);
    throw BadDictionary("the " + std::string(what) + " of all entries together take more than 4 GiB");
}

// One text of each entry, as offsets, lengths and a pool.
struct Column {
    std::vector<uint32_t> offsets;
    std::vector<uint16_t> lengths;
    uint64_t size = 0;

    void Add(size_t bytes, const Entry& entry, const char* what)
    {
        offsets.push_back(Size(size, what));
        lengths.push_back(Length(bytes, entry, what));
        size += bytes;
    }

    void Write(Block& block) const
    {
        for (uint32_t offset : offsets) block.Word(offset);
        for (uint16_t length : lengths) block.Half(length);
    }
};

constexpr size_t BytesOf(const UTF16String& text)
{
    return text.size() * sizeof(unsigned short);
}

using Buckets = std::array<std::vector<uint32_t>, zlex_private::kBucketCount>;

Buckets BucketsOf(const std::vector<Entry>& entries)
{
    Buckets buckets;
    for (uint32_t id = 0; id < entries.size(); ++id) {
        const std::string& key = entries[id].key;
        const auto* bytes = reinterpret_cast<const unsigned char*>(key.data());
        buckets[zlex_private::HashFunc(bytes, key.size())].push_back(id);
    }
    return buckets;
}

void WriteBuckets(Block& block, const Buckets& buckets)
{
    for (uint32_t number = 0; number < buckets.size(); ++number) {
        if (!buckets[number].empty()) block.Half(static_cast<uint16_t>(number));
    }
    for (const auto& ids : buckets) {
        if (!ids.empty()) block.Word(static_cast<uint32_t>(ids.size()));
    }
    for (const auto& ids : buckets) {
        for (uint32_t id : ids) block.Word(id);
    }
}

void WriteAccelerators(Block& block, const std::vector<Entry>& entries)
{
    std::vector<uint32_t> ids;
    Column column;
    for (uint32_t id = 0; id < entries.size(); ++id) {
        if (entries[id].accelerator.empty()) continue;
        ids.push_back(id);
        column.Add(BytesOf(entries[id].accelerator), entries[id], "accelerator");
    }
    block.Word(static_cast<uint32_t>(ids.size()));
    if (ids.empty()) return;
    block.Word(Size(column.size, "accelerators"));
    for (uint32_t id : ids) block.Word(id);
    column.Write(block);
    for (uint32_t id : ids) block.Units(entries[id].accelerator);
}

}  // namespace

std::string WriteStored(const Content& content, bool swapped)
{
    const std::vector<Entry>& entries = content.entries;
    Column keys;
    Column texts;
    for (const Entry& entry : entries) {
        keys.Add(entry.key.size(), entry, "key");
        texts.Add(BytesOf(entry.text), entry, "text");
    }
    const Buckets buckets = BucketsOf(entries);
    const auto used =
        std::count_if(buckets.begin(), buckets.end(), [](const auto& ids) { return !ids.empty(); });
    const auto count = Size(entries.size(), "entries");

    Block block(swapped);
    block.Word(Size(content.name.size(), "name"));
    block.Bytes(content.name);
    block.Word(0);  // the first id: the part goes wherever it is read
    block.Bytes("Y");
    block.Word(count);
    block.Word(count);
    block.Word(static_cast<uint32_t>(used));
    block.Word(Size(keys.size, "keys"));
    block.Word(Size(texts.size, "texts"));
    keys.Write(block);
    texts.Write(block);
    for (const Entry& entry : entries) block.Bytes(entry.key);
    for (const Entry& entry : entries) block.Units(entry.text);
    WriteBuckets(block, buckets);
    WriteAccelerators(block, entries);
    return block.Take();
}

}  // namespace zdict
