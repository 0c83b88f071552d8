/// The string pool.
#ifndef MVP_STRINGS_H
#define MVP_STRINGS_H

#include <string_view>
#include <unordered_set>

#include "MVp_Runtime.h"

struct MVStringPool {
    void* hostPool = nullptr;                    // a host's own; the set is then empty
    std::unordered_set<std::string_view> texts;  // each in a block, with its NUL

    ~MVStringPool();
};

#endif
