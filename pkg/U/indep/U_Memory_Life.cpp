// Start and stop of the memory subsystem, and the values that it reads once.
//
// State: the heap of the last birth, and a list of all heaps there have been. Heaps are never deleted, since a
// block may be freed after the death and names its heap; the list keeps them reachable. Both are atomic words
// without a destructor, so a free at process exit is safe.
#include <atomic>
#include <memory>
#include <new>

#include "ALOG.h"
#include "U_TrySection.h"
#include "Up_Memory.h"
#include "Up_MemoryTuning.h"
#include "Up_TraceLine.h"

constinit Up_DebugValue<bool> Up_G_memoryAccountDirect("MemoryAccountDirect2", kMemoryAccountDirectDefault);
constinit Up_DebugValue<std::int32_t> Up_G_purgeFailedThreshold("QL.PurgeFailedThreshold",
                                                                kPurgeFailedThresholdDefault);
constinit Up_DebugValue<std::uint64_t> Up_G_maxPreviewOverage("QL.PreviewRange.MaxOverageInBytes",
                                                              kMaxPreviewOverageDefault);
constinit Up_DebugValue<std::int32_t> Up_G_syncFrequency("QL.MemUsageSyncFrequencyInMillisecondsR",
                                                         kSyncFrequencyDefault);

constinit std::atomic<MEM_Heap*> Up_G_heap{nullptr};

namespace {

constexpr long long kPresumedAppSize = 141'557'760;  // 135 MiB
static_assert(kPresumedAppSize == 135ll << 20);

struct HeapEntry {
    MEM_Heap* heap;
    HeapEntry* next;
};

constinit std::atomic<HeapEntry*> g_heaps{nullptr};
constinit std::atomic<bool> S_memoryAccountDirect{false};

MEM_Heap* NewListedHeap()
{
    std::unique_ptr<HeapEntry> entry(new (std::nothrow) HeapEntry{});
    if (!entry) return nullptr;
    entry->heap = MEM_NewHeap();
    if (!entry->heap) return nullptr;
    entry->next = g_heaps.load();
    while (!g_heaps.compare_exchange_weak(entry->next, entry.get())) {
    }
    return entry.release()->heap;
}

}  // namespace

bool Up_IsMemoryAccountDirect()
{
    return S_memoryAccountDirect.load(std::memory_order_relaxed);
}

Err Up_InitializeMemorySubsystem()
{
    return U_TrySection([]() -> Err {
        S_memoryAccountDirect = Up_G_memoryAccountDirect.Get();
        MEM_Heap* heap = NewListedHeap();
        // Without a heap there is nothing to count for, and the heap of an earlier birth still serves its blocks.
        if (!heap) return U_Err_OUT_OF_MEMORY;
        Up_G_heap.store(heap, std::memory_order_release);
        U_AccountAllocation(kPresumedAppSize);
        static constinit U_TraceLine s_line("U", 6);
        s_line([] {
            return ALOG_convertMesg("Up_InitializeMemorySubsystem", "goDirect=%d",
                                    Up_IsMemoryAccountDirect() ? 1 : 0);
        });
        return U_Err_NONE;
    });
}

Err Up_TerminateMemorySubsystem()
{
    MEM_DumpLeaks(Up_Heap());
    U_SetPurgeRequestCallback(nullptr);
    U_SetPurgeStatusCallback(nullptr);
    U_SetAsyncPurgeRequestCallback({});
    U_AccountAllocation(-kPresumedAppSize);
    return U_Err_NONE;
}

Err U_PresumedAppSize(unsigned long long* size)
{
    if (size) *size = kPresumedAppSize;
    return U_Err_NONE;
}

void U_MEM_SetBaseline(void)
{
    MEM_SetBaseline(Up_Heap());
}

void U_MEM_Report(U_MEM_ReportFunc report)
{
    MEM_Report(Up_Heap(), report);
}

void Up_ResetMemoryForTests()
{
    Up_ForbidPurgingForTests();
    S_memoryAccountDirect = false;
    Up_G_memoryAccountDirect.ForgetForTests(kMemoryAccountDirectDefault);
    Up_G_purgeFailedThreshold.ForgetForTests(kPurgeFailedThresholdDefault);
    Up_G_maxPreviewOverage.ForgetForTests(kMaxPreviewOverageDefault);
    Up_G_syncFrequency.ForgetForTests(kSyncFrequencyDefault);
}
