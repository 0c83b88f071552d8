// Recycled pointers: blocks of the memory recycler, each with a page-friendly head of 256 bytes.
//
//   [ control block's address | tag | unused up to 256 ][ the caller's bytes ...
//
// State: the count of frame bytes, which is all that was told to U_AccountFrameAllocation.
#include <atomic>
#include <cstring>
#include <new>

#include "U_TrySection.h"
#include "Up_AllocateShared.h"
#include "Up_Err.h"
#include "Up_Memory.h"
#include "zvkcore/allocator/MemoryRecycler.h"
#include "zvkcore/allocator/RecycledMemory.h"
#include "zvkcore/allocator/SmallBlockAllocator.h"

using zvkcore::allocator::MemoryRecycler;
using zvkcore::allocator::RecycledMemory;
using zvkcore::allocator::SmallBlockAllocator;

namespace {

constexpr unsigned long long kHeadSize = 256;
constexpr std::uint32_t kTag = 0xbeefbeef;
constexpr std::uint32_t kFreedTag = 0;

struct Head {
    RecycledMemory* control;
    std::uint32_t tag;
};

static_assert(sizeof(Head) <= kHeadSize);

alignas(64) constinit std::atomic<long long> g_frameBytes{0};

Head* HeadOf(void* block)
{
    return reinterpret_cast<Head*>(static_cast<char*>(block) - kHeadSize);
}

// The head is counted once more than it takes, in both directions alike.
long long AccountedSize(const RecycledMemory& memory)
{
    return static_cast<long long>(memory.GetGrantedSize() + kHeadSize);
}

void DisposeControl(RecycledMemory* control)
{
    control->~RecycledMemory();
    SmallBlockAllocator::Dispose(control, RecycledMemory::kControlBlockSize);
}

void ReleaseBlock(Head* head)
{
    RecycledMemory* control = head->control;
    // The block lies in the pool from here on; a second free of it finds no tag.
    head->tag = kFreedTag;
    U_AccountFrameAllocation(-AccountedSize(*control));
    DisposeControl(control);
}

}  // namespace

long long Up_GetAccountFrameSize()
{
    return g_frameBytes.load();
}

Err U_AccountFrameAllocation(long long delta)
{
    g_frameBytes.fetch_add(delta);
    return U_AccountAllocation(delta);
}

void* Up_AllocateRecycledPtrNew(unsigned long long size)
{
    void* room = SmallBlockAllocator::Allocate(RecycledMemory::kControlBlockSize);
    auto* control = new (room) RecycledMemory;
    const Err error = U_TrySection([&] { control->Allocate(size + kHeadSize); });
    if (error != U_Err_NONE) {
        DisposeControl(control);
        return nullptr;
    }
    U_AccountFrameAllocation(AccountedSize(*control));
    auto* base = static_cast<char*>(control->GetPointer());
    new (base) Head{control, kTag};
    return base + kHeadSize;
}

void* U_AllocateRecycledPtr(unsigned int failureCode, const char* caller, unsigned long long size)
{
    if ((size >> kSmallBlockShift) == 0) return Up_AllocateRecycledPtrNew(size);
    void* block = nullptr;
    Up_AllocateShared([size] { return Up_AllocateRecycledPtrNew(size); }, failureCode, caller, size, 0,
                      &block, true);
    return block;
}

Err U_FreeRecycledPtr(void* block)
{
    U_TrySection([&] {
        if (block) {
            Head* head = HeadOf(block);
            if (head->tag == kTag) {
                ReleaseBlock(head);
            } else {
                Up_AssertFailed("not a recycled pointer, or freed before", __FILE_NAME__, __LINE__);
            }
        }
        if (MemoryRecycler::GetCurrentPoolSize() > MemoryRecycler::GetPoolLimit()) {
            MemoryRecycler::ReconcileStaleEntries();
        }
    });
    return U_Err_NONE;
}

void* U_GetRecycledPtrBaseAddress(void* block)
{
    return block;
}

unsigned long long U_GetRecycledMemorySize(void)
{
    return MemoryRecycler::GetCurrentPoolSize();
}

unsigned long long U_PurgeRecycledMemory(unsigned long long bytes)
{
    return MemoryRecycler::PurgeBytes(bytes);
}
