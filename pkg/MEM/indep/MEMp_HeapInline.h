// The short way through the heap: what makes and frees blocks, and the calls of MEM.h that lead there.
//
// They stand in a header because a pair of calls takes about fifteen nanoseconds, of which every call on the way is
// one. The compiler guesses that a heap is the standard one and puts these bodies in place; another heap is still
// reached through its table.
#ifndef MEMP_HEAPINLINE_H
#define MEMP_HEAPINLINE_H

#include <cstdlib>
#include <limits>

#include "MEMp_Counters.h"
#include "MEMp_Heap.h"

inline constexpr unsigned long kMEMp_Header = sizeof(MEMp_BlockHeader);
inline constexpr unsigned long kMEMp_Largest = std::numeric_limits<long>::max() - kMEMp_Header;
inline constexpr int kMEMp_BadParameter = 3;

inline MEMp_BlockHeader* MEMp_HeaderOf(void* block)
{
    return static_cast<MEMp_BlockHeader*>(block) - 1;
}

// Sizes so large that adding the header would wrap fail as any other that malloc cannot serve.
[[gnu::always_inline]] inline void* MEMp_NewBlock(_MEMp_BasicHeap* heap, unsigned long size)
{
    if (size > kMEMp_Largest) [[unlikely]]
        return nullptr;
    auto* header = static_cast<MEMp_BlockHeader*>(std::malloc(size + kMEMp_Header));
    if (!header) [[unlikely]]
        return nullptr;
    // Wanted: a fresh block keeps the low 32 bits of its size, a resized one all 64, while the count takes
    // all of it. Blocks of 4 GiB and more are made by resizing, then; the front door refuses them anyway.
    header->size = static_cast<std::uint32_t>(size);
    header->heap = heap;
    MEMp_G_heapBytes.Add(static_cast<std::int64_t>(size + kMEMp_Header));
    return header + 1;
}

inline void* MEMp_StandardHeap::NewPtr(unsigned long size, const char*, const char*, int)
{
    return MEMp_NewBlock(this, size);
}

inline void MEMp_StandardHeap::DisposePtr(void* block)
{
    if (!block) return;
    MEMp_BlockHeader* header = MEMp_HeaderOf(block);
    MEMp_G_heapBytes.Add(-static_cast<std::int64_t>(header->size + kMEMp_Header));
    std::free(header);
}

inline char** MEMp_StandardHeap::NewHandle(unsigned long size, const char*, const char*, int)
{
    auto* handle = static_cast<char**>(std::malloc(sizeof(char*)));
    if (!handle) [[unlikely]]
        return nullptr;
    char* data = nullptr;
    if (size != 0) {
        data = static_cast<char*>(MEMp_NewBlock(this, size));
        if (!data) [[unlikely]] {
            std::free(handle);
            return nullptr;
        }
    }
    *handle = data;
    return handle;
}

inline void MEMp_StandardHeap::FreeHandle(char** handle)
{
    if (!handle) return;
    DisposePtr(*handle);
    std::free(handle);
}

inline int MEMp_StandardHeap::CheckHandleFromHeap(char**)
{
    return 0;
}

// --- The calls of MEM.h, each under its name there -------------------------------------------------------------

inline void* MEMp_NewPtrDebug(MEM_Heap* heap, uint64_t size, const char* caller, const char* file, int line)
{
    return heap ? heap->NewPtr(size, caller, file, line) : nullptr;
}

inline void MEMp_DisposePtr(MEM_Heap* heap, void* block)
{
    if (heap) heap->DisposePtr(block);
}

inline char** MEMp_NewHandle(MEM_Heap* heap, uint64_t size)
{
    return heap ? heap->NewHandle(size, nullptr, nullptr, 0) : nullptr;
}

inline void MEMp_DisposeHandle(MEM_Heap* heap, char** handle)
{
    if (heap) heap->FreeHandle(handle);
}

inline int32_t MEMp_CheckHandleFromHeap(MEM_Heap* heap, char** handle)
{
    return heap ? heap->CheckHandleFromHeap(handle) : kMEMp_BadParameter;
}

#endif
