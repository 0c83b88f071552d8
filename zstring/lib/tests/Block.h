// A stored dictionary as a test wants it, field by field, right or wrong.
#ifndef ZLEX_TEST_BLOCK_H
#define ZLEX_TEST_BLOCK_H

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zlexp_ByteRun.h"
#include "zvkcore/string/UTFString.h"

namespace zlextest {

using zvkcore::string::UTF16String;

struct Block {
    std::vector<std::pair<std::string, UTF16String>> entries;
    std::vector<std::pair<uint32_t, UTF16String>> accelerators;
    bool swapped = false;
    char major = 2;
    char minor = 1;
    char hasKeys = 'Y';
    uint32_t firstId = 0;
    std::optional<uint32_t> activeCount{};  ///< by default every entry
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
        return block + Word(name.size()) + name + Part();
    }

    /// What `FastArray::Read` is given.
    std::string Part() const
    {
        Runs keys, values;
        std::map<uint16_t, std::vector<uint32_t>> buckets;
        for (const auto& [key, value] : entries) {
            const auto* bytes = reinterpret_cast<const unsigned char*>(key.data());
            const auto hash = static_cast<uint16_t>(zlex_private::HashFunc(bytes, key.size()));
            buckets[hash].push_back(static_cast<uint32_t>(keys.count));
            Add(keys, key);
            Add(values, Units(value));
        }
        const auto keyed = [&](const std::string& bytes) { return hasKeys == 'N' ? "" : bytes; };
        return Word(firstId) + hasKeys + Word(keys.count) + Word(activeCount.value_or(keys.count)) +
               Word(hasKeys == 'N' ? 0 : buckets.size()) + keyed(Word(keys.pool.size())) +
               Word(values.pool.size()) + keyed(keys.offsets + keys.lengths) + values.offsets +
               values.lengths + keyed(keys.pool) + values.pool + keyed(Buckets(buckets)) + Accelerators();
    }

  private:
    // Runs of a pool, and the arrays that tell where they are.
    struct Runs {
        size_t count = 0;
        std::string offsets, lengths, pool;
    };

    void Add(Runs& runs, const std::string& bytes) const
    {
        ++runs.count;
        runs.offsets += Word(runs.pool.size());
        runs.lengths += Half(bytes.size());
        runs.pool += bytes;
    }

    std::string Word(size_t value) const { return Field(static_cast<uint32_t>(value)); }
    std::string Half(size_t value) const { return Field(static_cast<uint16_t>(value)); }

    template <class T>
    std::string Field(T value) const
    {
        std::string bytes(reinterpret_cast<const char*>(&value), sizeof value);
        if (swapped) std::reverse(bytes.begin(), bytes.end());
        return bytes;
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
            lengths += Word(list.size());
            for (uint32_t id : list) ids += Word(id);
        }
        return numbers + lengths + ids;
    }

    std::string Accelerators() const
    {
        Runs runs;
        std::string ids;
        for (const auto& [id, text] : accelerators) {
            ids += Word(id);
            Add(runs, Units(text));
        }
        if (accelerators.empty()) return Word(0);
        return Word(runs.count) + Word(runs.pool.size()) + ids + runs.offsets + runs.lengths + runs.pool;
    }
};

}  // namespace zlextest

#endif
