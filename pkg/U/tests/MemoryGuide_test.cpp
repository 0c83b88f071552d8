// The examples of docs/guides/memory.md, compiled and run.
#include <gtest/gtest.h>

#include <cstdlib>
#include <list>
#include <mutex>

#include "MEM.h"
#include "QLTest.h"
#include "U_Memory.h"

namespace {

// --- A cache that answers the purge callback ---

std::mutex g_mutex;
std::list<void*> g_frames;  // the least recently used in front

int DropFrames(unsigned long long, unsigned long long amountToPurge, bool* purgeRecycled)
{
    std::lock_guard lock(g_mutex);
    unsigned long long freed = 0;
    while (freed < amountToPurge && !g_frames.empty()) {
        uint32_t size = 0;
        U_GetPtrSize(g_frames.front(), &size);
        U_FreePtr(g_frames.front());
        g_frames.pop_front();
        freed += size;
    }
    *purgeRecycled = g_frames.empty();
    return 0;
}

Err LoadFrame(unsigned long long bytes)
{
    void* frame = U_AllocatePtr(0x00120007, "loading a frame", bytes);
    if (!frame) return U_Err_OUT_OF_MEMORY;  // the user has been told
    std::lock_guard lock(g_mutex);
    g_frames.push_back(frame);
    return U_Err_NONE;
}

// --- Work that may run out of memory ---

struct Decode {
    unsigned long long bytes;
    void* pixels;
};

int DecodeAll(void* refcon, unsigned char* ok)
{
    auto* decode = static_cast<Decode*>(refcon);
    decode->pixels = malloc(decode->bytes);
    *ok = decode->pixels != nullptr;
    return *ok ? U_Err_NONE : U_Err_OUT_OF_MEMORY;
}

using MemoryGuide = qltest::Library;

TEST_F(MemoryGuide, CacheStaysBelowItsLimit)
{
    U_SetMemUsageLimits(0, 256ull << 20);
    U_SetPurgeRequestCallback(DropFrames);
    for (int frame = 0; frame < 40; ++frame) EXPECT_EQ(LoadFrame(8ull << 20), 0);
    EXPECT_LT(U_GetMemUsage(), 264ll << 20);
    EXPECT_FALSE(g_frames.empty());
    bool ignored = false;
    DropFrames(0, UINT64_MAX, &ignored);
    MEM_SetMemUsageLimits(0, 0);
}

TEST_F(MemoryGuide, WorkIsProtectedLikeAnAllocation)
{
    Decode decode{1u << 20, nullptr};
    EXPECT_EQ(U_PurgeLoop(decode.bytes, DecodeAll, &decode, false), 0);
    free(decode.pixels);
}

}  // namespace
