// The string pool: one pointer for each text. A pool of the runtime keeps the texts itself; a host may have brought a
// pool of its own for the runtime's, which is then asked every time.
#include <cstring>
#include <string_view>
#include <unordered_set>

#include "MVp_Strings.h"
#include "U_TrySection.h"

namespace {

// Allocating, then pointing the set at it: nothing is lost when either fails.
const char* Intern(MVStringPool* pool, std::string_view text)
{
    if (const auto known = pool->texts.find(text); known != pool->texts.end()) return known->data();
    void* copy = nullptr;
    if (mvIntAllocateBlock(text.size() + 1, "a pooled string", &copy) != U_Err_NONE) throw std::bad_alloc();
    std::memcpy(copy, text.data(), text.size());
    try {
        return pool->texts.emplace(static_cast<char*>(copy), text.size()).first->data();
    } catch (...) {
        mvIntFreeBlock(copy);
        throw;
    }
}

}  // namespace

MVStringPool::~MVStringPool()
{
    for (const std::string_view text : texts) mvIntFreeBlock(const_cast<char*>(text.data()));
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
