// The string pool: one pointer for each text. A pool of the runtime keeps the texts itself; a host may have brought a
// pool of its own for the runtime's, which is then asked every time.
#define XXH_INLINE_ALL
#include <xxhash.h>

#include <cstring>

#include "MVp_Strings.h"
#include "U_TrySection.h"

namespace {

using Slot = MVStringPool::Slot;

constexpr size_t kFirstSlots = 128;

// The slot of a text, or the free one where it belongs.
Slot& SlotOf(std::vector<Slot>& slots, uint64_t hash, const char* text)
{
    const size_t mask = slots.size() - 1;
    size_t at = hash & mask;
    while (slots[at].text && (slots[at].hash != hash || std::strcmp(slots[at].text, text) != 0))
        at = (at + 1) & mask;
    return slots[at];
}

void Grow(MVStringPool* pool)
{
    std::vector<Slot> wider(pool->slots.empty() ? kFirstSlots : pool->slots.size() * 2);
    for (const Slot& slot : pool->slots)
        if (slot.text) SlotOf(wider, slot.hash, slot.text) = slot;
    pool->slots.swap(wider);
}

const char* Intern(MVStringPool* pool, const char* text)
{
    const size_t length = std::strlen(text);
    const uint64_t hash = XXH3_64bits(text, length);
    if (pool->slots.size() <= pool->count * 2) Grow(pool);
    Slot& slot = SlotOf(pool->slots, hash, text);
    if (slot.text) return slot.text;
    void* copy = nullptr;
    if (mvIntAllocateBlock(length + 1, "a pooled string", &copy) != U_Err_NONE) throw std::bad_alloc();
    slot = {hash, static_cast<const char*>(std::memcpy(copy, text, length))};
    ++pool->count;
    return slot.text;
}

}  // namespace

MVStringPool::~MVStringPool()
{
    for (const Slot& slot : slots) mvIntFreeBlock(const_cast<char*>(slot.text));
}

Err MVAllocateStringPool(MVStringPool** pool)
{
    if (!pool) return MV_Err_PARAMETER;
    return U_TrySection([&]() -> Err {
        *pool = mvNew<MVStringPool>("a string pool");
        return *pool ? U_Err_NONE : U_Err_OUT_OF_MEMORY;
    });
}

Err MVFreeStringPool(MVStringPool* pool)
{
    if (!pool || (g_mvRuntime && pool == g_mvRuntime->strings)) return MV_Err_PARAMETER;
    mvDelete(pool);
    return U_Err_NONE;
}

Err MVMakeWString(MVStringPool* pool, const char* text, const char** pooled)
{
    if (!pooled) return MV_Err_PARAMETER;
    *pooled = nullptr;
    if (!pool && g_mvRuntime) pool = g_mvRuntime->strings;
    if (!pool || !text) return MV_Err_PARAMETER;
    if (pool->hostPool) {
        *pooled = g_mvRuntime->procs.makeWString(g_mvRuntime->hostData, pool->hostPool, text);
        return *pooled ? U_Err_NONE : U_Err_OUT_OF_MEMORY;
    }
    return U_TrySection([&] { *pooled = Intern(pool, text); });
}
