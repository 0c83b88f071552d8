// Any bytes as a stored dictionary, read over one that is good and once more over itself. Afterwards every id
// must give a text, every key its id, and a block that was refused must have changed nothing.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "zlexp_Dictionary.h"

namespace {

using zlex_private::FastArray;

// A dictionary of one text: the key /a, the text "old".
std::string GoodBlock()
{
    const auto word = [](uint32_t value) { return std::string(reinterpret_cast<char*>(&value), 4); };
    const auto half = [](uint32_t value) { return std::string(reinterpret_cast<char*>(&value), 2); };
    const auto bucket = zlex_private::HashFunc(reinterpret_cast<const unsigned char*>("/a"), 2);
    return "ZString Binary Format" + std::string("\2\1\0\0", 4) + word(0) + word(0) + "Y" + word(1) +
           word(1) + word(1) + word(2) + word(6) + word(0) + half(2) + word(0) + half(6) + "/a" +
           std::string("o\0l\0d\0", 6) + half(bucket) + word(1) + word(0) + word(0);
}

void LookAtEverything(const FastArray& stored)
{
    static unsigned char key[zlex_private::kMostBytes];
    volatile unsigned sum = 0;
    for (uint32_t id = 0; id < stored.IdTotal(); ++id) {
        const auto value = stored.GetValue(id);
        const auto accelerator = stored.GetAccelerator(id);
        for (size_t at = 0; at < value.length; ++at) sum = sum + value.data[at];
        for (size_t at = 0; at < accelerator.length; ++at) sum = sum + accelerator.data[at];
        unsigned short length = 0;
        if (stored.GetData(id, key, sizeof key, &length) != 1) std::abort();
        const uint32_t found = stored.FindId(key, length);
        if (found != FastArray::kNotFound && found >= stored.IdTotal()) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::string kGood = GoodBlock();
    zlex_private::Dictionary dictionary;
    if (!dictionary.Read(kGood.data(), static_cast<int>(kGood.size()), false)) std::abort();
    const auto* const bytes = reinterpret_cast<const char*>(data);
    for (int round = 0; round < 2; ++round) {
        const uint32_t before = dictionary.Stored()->IdTotal();
        const bool read = dictionary.Read(bytes, static_cast<int>(size), false);
        if (!read && dictionary.Stored()->IdTotal() != before) std::abort();
        LookAtEverything(*dictionary.Stored());
        zlex_private::UTF16String text;
        if (!dictionary.Find("/a", text)) std::abort();
    }
    return 0;
}
