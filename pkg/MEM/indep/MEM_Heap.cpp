// The standard heap and the functions by which it is reached from C.
//
// There is no state here: blocks live in malloc, and the counters in MEM_Usage.cpp.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "MEM.h"
#include "MEMp_Counters.h"
#include "MEMp_Heap.h"

namespace {

constexpr unsigned long kHeader = sizeof(MEMp_BlockHeader);
constexpr unsigned long kLargest = std::numeric_limits<long>::max() - kHeader;
constexpr int kBadParameter = 3;
constexpr int kOutOfMemory = 4;

MEMp_BlockHeader* HeaderOf(void* block)
{
    return static_cast<MEMp_BlockHeader*>(block) - 1;
}

// Sizes so large that adding the header would wrap fail as any other that malloc cannot serve.
MEMp_BlockHeader* MallocWithHeader(unsigned long size)
{
    return size > kLargest ? nullptr : static_cast<MEMp_BlockHeader*>(std::malloc(size + kHeader));
}

// Inline in what makes a pointer and what makes a handle's data: both are short enough for a call to show.
[[gnu::always_inline]] inline void* NewBlock(_MEMp_BasicHeap* heap, unsigned long size)
{
    MEMp_BlockHeader* header = MallocWithHeader(size);
    if (!header) return nullptr;
    // Wanted: a fresh block keeps the low 32 bits of its size, a resized one all 64, while the count takes
    // all of it. Blocks of 4 GiB and more are made by resizing, then; the front door refuses them anyway.
    header->size = static_cast<std::uint32_t>(size);
    header->heap = heap;
    MEMp_G_heapBytes.Add(static_cast<std::int64_t>(size + kHeader));
    return header + 1;
}

MEMp_BlockHeader* ReallocWithHeader(MEMp_BlockHeader* header, unsigned long size)
{
    return size > kLargest ? nullptr : static_cast<MEMp_BlockHeader*>(std::realloc(header, size + kHeader));
}

}  // namespace

MEMp_StandardHeap::MEMp_StandardHeap()
{
    MEMp_G_heapObjectBytes.Add(sizeof *this);
    MEMp_G_heapBytes.Add(sizeof *this);
}

MEMp_StandardHeap::~MEMp_StandardHeap()
{
    MEMp_G_heapObjectBytes.Add(-static_cast<std::int64_t>(sizeof *this));
    MEMp_G_heapBytes.Add(-static_cast<std::int64_t>(sizeof *this));
}

void* MEMp_StandardHeap::NewPtr(unsigned long size, const char*, const char*, int)
{
    return NewBlock(this, size);
}

void MEMp_StandardHeap::DisposePtr(void* block)
{
    if (!block) return;
    MEMp_BlockHeader* header = HeaderOf(block);
    MEMp_G_heapBytes.Add(-static_cast<std::int64_t>(header->size + kHeader));
    std::free(header);
}

unsigned long MEMp_StandardHeap::GetPtrSize(void* block)
{
    return block ? HeaderOf(block)->size : 0;
}

void* MEMp_StandardHeap::ResizePtr(void* block, unsigned long size, const char* caller, const char* file,
                                   int line)
{
    if (!block) {
        // Counted like any fresh block, header included, so that its disposal balances.
        void* fresh = NewPtr(size, caller, file, line);
        if (fresh) HeaderOf(fresh)->size = size;
        return fresh;
    }
    MEMp_BlockHeader* header = HeaderOf(block);
    const std::uint64_t before = header->size;
    header = ReallocWithHeader(header, size);
    if (!header) return nullptr;
    MEMp_G_heapBytes.Add(static_cast<std::int64_t>(size) - static_cast<std::int64_t>(before));
    header->size = size;
    return header + 1;
}

char** MEMp_StandardHeap::NewHandle(unsigned long size, const char*, const char*, int)
{
    auto* handle = static_cast<char**>(std::malloc(sizeof(char*)));
    if (!handle) return nullptr;
    if (size == 0) {
        *handle = nullptr;
        return handle;
    }
    *handle = static_cast<char*>(NewBlock(this, size));
    if (*handle) return handle;
    std::free(handle);
    return nullptr;
}

long MEMp_StandardHeap::GetHandleSize(char** handle)
{
    return handle && *handle ? static_cast<long>(GetPtrSize(*handle)) : 0;
}

void MEMp_StandardHeap::FreeHandle(char** handle)
{
    if (!handle) return;
    DisposePtr(*handle);
    std::free(handle);
}

int MEMp_StandardHeap::SetHandleSize(char** handle, unsigned long size, const char* caller, const char* file,
                                     int line)
{
    if (!handle) return kBadParameter;
    if (size == 0 && *handle) {
        DisposePtr(*handle);
        *handle = nullptr;
        return 0;
    }
    const auto before = static_cast<unsigned long>(GetHandleSize(handle));
    if (before == size) return 0;
    char** fresh = NewHandle(size, caller, file, line);
    if (!fresh) return kOutOfMemory;
    if (*handle) std::memcpy(*fresh, *handle, std::min(before, size));
    std::swap(*handle, *fresh);
    FreeHandle(fresh);
    return 0;
}

int MEMp_StandardHeap::CheckHandleFromHeap(char**)
{
    return 0;
}

int MEMp_StandardHeap::ExemptPtrFromLeakCheck(void*)
{
    return 0;
}

int MEMp_StandardHeap::ExemptHandleFromLeakCheck(char**)
{
    return 0;
}

void MEMp_StandardHeap::SetBaseline() {}

void MEMp_StandardHeap::Report(MEM_ReportFunc) {}

void MEMp_StandardHeap::DumpLeaks() {}

MEM_Heap* MEM_NewHeap(void)
{
    return new (std::nothrow) MEMp_StandardHeap;
}

void* MEM_NewPtrDebug(MEM_Heap* heap, uint64_t size, const char* caller, const char* file, int line)
{
    return heap ? heap->NewPtr(size, caller, file, line) : nullptr;
}

void MEM_DisposePtr(MEM_Heap* heap, void* block)
{
    if (heap) heap->DisposePtr(block);
}

uint64_t MEM_GetPtrSize(MEM_Heap* heap, void* block)
{
    return heap ? heap->GetPtrSize(block) : 0;
}

void* MEM_ResizePtr(MEM_Heap* heap, void* block, uint64_t size)
{
    return heap ? heap->ResizePtr(block, size, nullptr, nullptr, 0) : nullptr;
}

char** MEM_NewHandle(MEM_Heap* heap, uint64_t size)
{
    return heap ? heap->NewHandle(size, nullptr, nullptr, 0) : nullptr;
}

int64_t MEM_GetHandleSize(MEM_Heap* heap, char** handle)
{
    return heap ? heap->GetHandleSize(handle) : 0;
}

void MEM_DisposeHandle(MEM_Heap* heap, char** handle)
{
    if (heap) heap->FreeHandle(handle);
}

int32_t MEM_SetHandleSize(MEM_Heap* heap, char** handle, uint64_t size)
{
    return heap ? heap->SetHandleSize(handle, size, nullptr, nullptr, 0) : kBadParameter;
}

int32_t MEM_CheckHandleFromHeap(MEM_Heap* heap, char** handle)
{
    return heap ? heap->CheckHandleFromHeap(handle) : kBadParameter;
}

void MEM_SetBaseline(MEM_Heap* heap)
{
    if (heap) heap->SetBaseline();
}

void MEM_Report(MEM_Heap* heap, MEM_ReportFunc report)
{
    if (heap) heap->Report(report);
}

void MEM_DumpLeaks(MEM_Heap* heap)
{
    if (heap) heap->DumpLeaks();
}
