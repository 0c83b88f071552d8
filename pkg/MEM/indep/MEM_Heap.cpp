// The standard heap and the functions by which it is reached from C.
//
// There is no state here: blocks live in malloc, and the counters in MEM_Usage.cpp.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "MEM.h"
#include "MEMp_HeapInline.h"

namespace {

constexpr int kOutOfMemory = 4;

MEMp_BlockHeader* ReallocWithHeader(MEMp_BlockHeader* header, unsigned long size)
{
    return size > kMEMp_Largest ? nullptr
                                : static_cast<MEMp_BlockHeader*>(std::realloc(header, size + kMEMp_Header));
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

unsigned long MEMp_StandardHeap::GetPtrSize(void* block)
{
    return block ? MEMp_HeaderOf(block)->size : 0;
}

void* MEMp_StandardHeap::ResizePtr(void* block, unsigned long size, const char* caller, const char* file,
                                   int line)
{
    if (!block) {
        // Counted like any fresh block, header included, so that its disposal balances.
        void* fresh = NewPtr(size, caller, file, line);
        if (fresh) MEMp_HeaderOf(fresh)->size = size;
        return fresh;
    }
    MEMp_BlockHeader* header = MEMp_HeaderOf(block);
    const std::uint64_t before = header->size;
    header = ReallocWithHeader(header, size);
    if (!header) return nullptr;
    MEMp_G_heapBytes.Add(static_cast<std::int64_t>(size) - static_cast<std::int64_t>(before));
    header->size = size;
    return header + 1;
}

long MEMp_StandardHeap::GetHandleSize(char** handle)
{
    return handle && *handle ? static_cast<long>(GetPtrSize(*handle)) : 0;
}

int MEMp_StandardHeap::SetHandleSize(char** handle, unsigned long size, const char* caller, const char* file,
                                     int line)
{
    if (!handle) return kMEMp_BadParameter;
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
    return MEMp_NewPtrDebug(heap, size, caller, file, line);
}

void MEM_DisposePtr(MEM_Heap* heap, void* block)
{
    MEMp_DisposePtr(heap, block);
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
    return MEMp_NewHandle(heap, size);
}

int64_t MEM_GetHandleSize(MEM_Heap* heap, char** handle)
{
    return heap ? heap->GetHandleSize(handle) : 0;
}

void MEM_DisposeHandle(MEM_Heap* heap, char** handle)
{
    MEMp_DisposeHandle(heap, handle);
}

int32_t MEM_SetHandleSize(MEM_Heap* heap, char** handle, uint64_t size)
{
    return heap ? heap->SetHandleSize(handle, size, nullptr, nullptr, 0) : kMEMp_BadParameter;
}

int32_t MEM_CheckHandleFromHeap(MEM_Heap* heap, char** handle)
{
    return MEMp_CheckHandleFromHeap(heap, handle);
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
