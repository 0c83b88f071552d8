// Any bytes as a dictionary in text form, and any bytes as a literal to look up in it.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "zlexp_Dictionary.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    zlex_private::Dictionary dictionary;
    dictionary.Read(bytes.data(), static_cast<int>(bytes.size()), false);
    for (const auto& [key, text] : dictionary.Texts()) {
        zlex_private::UTF16String found;
        if (!dictionary.Find(key, found) || found != text) std::abort();
    }
    const zlex::EncodingInfo encoding{static_cast<uint32_t>(size % 3)};
    dictionary.Lookup(bytes.c_str(), &encoding);
    const bool isRefused = !dictionary.IsLoaded();
    if (isRefused && !dictionary.Texts().IsEmpty()) std::abort();
    return 0;
}
