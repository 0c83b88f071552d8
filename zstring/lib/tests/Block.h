// A stored dictionary as a test wants it, field by field, right or wrong.
#ifndef ZLEX_TEST_BLOCK_H
#define ZLEX_TEST_BLOCK_H

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "zlexp_ByteRun.h"
#include "zvkcore/string/UTFString.h"

namespace zlextest {

using zvkcore::string::UTF16String;

inline constexpr uint32_t kFromEntries = 0xFFFFFFFF;  // a count as it should be

struct Block {
    std::vector<std::pair<std::string, UTF16String>> entries;
    std::vector<std::pair<uint32_t, UTF16String>> accelerators;
    bool swapped = false;
    char major = 2;
    char minor = 1;
    char hasKeys = 'Y';
    uint32_t firstId = 0;
    uint32_t activeCount = kFromEntries;
    std::string name = "name";

    /// A block of one text.
    static Block Of(std::string key, UTF16String text)
    {
        Block block;
        block.entries.emplace_back(std::move(key), std::move(text));
        return block;
    }

    std::string Bytes() const
    {
        std::string block = "ZString Binary Format";
        block += {major, minor, '\0'};
        if (minor != 0) block += swapped ? '\1' : '\0';
        return block + Word(static_cast<uint32_t>(name.size())) + name + Part();
    }

    /// What `FastArray::Read` is given.
    std::string Part() const
    {
        std::string keyPool, valuePool, keyOffsets, keyLengths, valueOffsets, valueLengths;
        std::map<uint16_t, std::vector<uint32_t>> buckets;
        for (uint32_t id = 0; id < entries.size(); ++id) {
            const auto& [key, value] = entries[id];
            keyOffsets += Word(static_cast<uint32_t>(keyPool.size()));
            keyLengths += Half(static_cast<uint16_t>(key.size()));
            valueOffsets += Word(static_cast<uint32_t>(valuePool.size()));
            valueLengths += Half(static_cast<uint16_t>(value.size() * 2));
            keyPool += key;
            valuePool += Units(value);
            const auto* bytes = reinterpret_cast<const unsigned char*>(key.data());
            buckets[static_cast<uint16_t>(zlex_private::HashFunc(bytes, key.size()))].push_back(id);
        }
        const bool keys = hasKeys != 'N';
        const auto count = static_cast<uint32_t>(entries.size());
        std::string block = Word(firstId) + hasKeys + Word(count) +
                            Word(activeCount == kFromEntries ? count : activeCount) +
                            Word(keys ? static_cast<uint32_t>(buckets.size()) : 0);
        if (keys) block += Word(static_cast<uint32_t>(keyPool.size()));
        block += Word(static_cast<uint32_t>(valuePool.size()));
        if (keys) block += keyOffsets + keyLengths;
        block += valueOffsets + valueLengths;
        if (keys) block += keyPool;
        block += valuePool;
        if (keys) block += Buckets(buckets);
        return block + Accelerators();
    }

  private:
    std::string Word(uint32_t value) const { return Field(swapped ? __builtin_bswap32(value) : value); }
    std::string Half(uint16_t value) const { return Field(swapped ? __builtin_bswap16(value) : value); }

    template <class T>
    static std::string Field(T value)
    {
        return {reinterpret_cast<const char*>(&value), sizeof value};
    }

    std::string Units(const UTF16String& text) const
    {
        std::string bytes;
        for (unsigned short unit : text) bytes += Half(unit);
        return bytes;
    }

    std::string Buckets(const std::map<uint16_t, std::vector<uint32_t>>& buckets) const
    {
        std::string numbers, lengths, ids;
        for (const auto& [number, list] : buckets) {
            numbers += Half(number);
            lengths += Word(static_cast<uint32_t>(list.size()));
            for (uint32_t id : list) ids += Word(id);
        }
        return numbers + lengths + ids;
    }

    std::string Accelerators() const
    {
        std::string ids, offsets, lengths, pool;
        for (const auto& [id, text] : accelerators) {
            ids += Word(id);
            offsets += Word(static_cast<uint32_t>(pool.size()));
            lengths += Half(static_cast<uint16_t>(text.size() * 2));
            pool += Units(text);
        }
        const std::string count = Word(static_cast<uint32_t>(accelerators.size()));
        if (accelerators.empty()) return count;
        return count + Word(static_cast<uint32_t>(pool.size())) + ids + offsets + lengths + pool;
    }
};

}  // namespace zlextest

#endif
