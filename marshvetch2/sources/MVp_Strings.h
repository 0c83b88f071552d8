/// The string pool.
#ifndef MVP_STRINGS_H
#define MVP_STRINGS_H

#include <vector>

#include "MVp_Runtime.h"

/// A set of texts with open addressing: every acquiring of a suite looks its name up here.
struct MVStringPool {
    struct Slot {
        uint64_t hash;
        const char* text;  // in a block; null for a free slot
    };

    void* hostPool = nullptr;  // a host's own; there are no slots then
    std::vector<Slot> slots;   // a power of two, at most half of them taken
    size_t count = 0;

    ~MVStringPool();
};

#endif
