// Blocks with a description. Each has a head in front of it:
//
//   [ newer | older | description | size ][ the caller's bytes ...
//     32 bytes                            ^ what the caller holds
//
// State: the list of all blocks alive, the latest first. It belongs to the process and not to the runtime, so that a
// block that outlives the runtime can still be freed. One thread drives the plug-in host: no lock.
#include <algorithm>
#include <cstring>

#include "MVp_Blocks.h"
#include "U_Memory.h"

namespace {

struct Head {
    Head* newer;
    Head* older;
    const char* description;
    uint64_t size;
};
static_assert(sizeof(Head) % 16 == 0, "a block is as aligned as its head");

// The library refuses blocks of 2 GiB; sums with a head must not wrap on their way there.
constexpr uint64_t kMaxSize = 0x7fffffff;

Head* g_latest = nullptr;

Head* HeadOf(void* block)
{
    return static_cast<Head*>(block) - 1;
}

void Link(Head* head)
{
    head->newer = nullptr;
    head->older = g_latest;
    if (g_latest) g_latest->newer = head;
    g_latest = head;
}

void Unlink(Head* head)
{
    (head->newer ? head->newer->older : g_latest) = head->older;
    if (head->older) head->older->newer = head->newer;
}

}  // namespace

Err mvIntAllocateBlock(uint64_t size, const char* description, void** block)
{
    *block = nullptr;
    if (size > kMaxSize) return U_Err_OUT_OF_MEMORY;
    auto* head = static_cast<Head*>(U_AllocatePtrClearQuiet(sizeof(Head) + size));
    if (!head) return U_Err_OUT_OF_MEMORY;
    head->description = description ? description : "a block";
    head->size = size;
    Link(head);
    *block = head + 1;
    return U_Err_NONE;
}

void mvIntFreeBlock(void* block)
{
    if (!block) return;
    Head* head = HeadOf(block);
    Unlink(head);
    U_FreePtr(head);
}

Err MVAllocateBlock(uint64_t size, const char* description, void** block)
{
    return block ? mvIntAllocateBlock(size, description, block) : MV_Err_PARAMETER;
}

Err MVReallocateBlock(uint64_t size, void** block)
{
    if (!block) return MV_Err_PARAMETER;
    if (!*block) return mvIntAllocateBlock(size, nullptr, block);
    if (size > kMaxSize) return U_Err_OUT_OF_MEMORY;
    Head* head = HeadOf(*block);
    Unlink(head);
    void* moved = head;
    const Err error = U_ResizePtrQuiet(sizeof(Head) + size, &moved);
    if (error == U_Err_NONE) head = static_cast<Head*>(moved);
    Link(head);
    if (error != U_Err_NONE) return error;
    if (size > head->size) std::memset(reinterpret_cast<char*>(head + 1) + head->size, 0, size - head->size);
    head->size = size;
    *block = head + 1;
    return U_Err_NONE;
}

Err MVFreeBlock(void* block)
{
    mvIntFreeBlock(block);
    return U_Err_NONE;
}

Err MVReportBlocks(MVBlockReporter reporter, void* refcon)
{
    if (!reporter) return MV_Err_PARAMETER;
    for (const Head* head = g_latest; head; head = head->older)
        reporter(refcon, head->description, head->size);
    return U_Err_NONE;
}
