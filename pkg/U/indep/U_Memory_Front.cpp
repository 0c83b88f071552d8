// The front door: pointers, handles, and work that may run out of memory.
//
// Small requests go straight to the heap, in one virtual call and with nothing else. Everything from 32768 bytes up
// takes the shared path. There is no state here.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

#include "MEMp_HeapInline.h"
#include "U_TrySection.h"
#include "Up_AllocateShared.h"
#include "Up_Err.h"
#include "Up_ErrText.h"

namespace {

constexpr unsigned kGetHandleSizeLocation = 0x170017;
constexpr unsigned kDuplicateHandleLocation = 0x17001c;
constexpr unsigned kDuplicateToPlatformLocation = 0x170000;
constexpr long kGettingSizeOfHandle = 93;

// What a foreign handle is reported under; crash statistics group by it, so it does not follow the source.
constexpr const char* kAssertFile = "U/indep/U_Memory";
constexpr int kAssertLine = 2380;

constexpr bool kNotRecycled = false;

bool IsSmall(unsigned long long size)
{
    return (size >> kSmallBlockShift) == 0;
}

enum Clearing : unsigned char { kAsItComes = 0, kCleared = 1 };

// The shared path is kept out of line, so that the small one needs no frame of its own.
template <Clearing clearing>
[[gnu::noinline]] void* AllocateLargePtr(unsigned failureCode, const char* caller, unsigned long long size)
{
    MEM_Heap* heap = Up_Heap();
    void* block = nullptr;
    Up_AllocateShared([&] { return MEM_NewPtrDebug(heap, size, caller, nullptr, 0); }, failureCode, caller,
                      size, clearing, &block, kNotRecycled);
    return block;
}

template <Clearing clearing>
inline void* AllocatePtr(unsigned failureCode, const char* caller, unsigned long long size)
{
    if (!IsSmall(size)) return AllocateLargePtr<clearing>(failureCode, caller, size);
    void* block = MEMp_NewPtrDebug(Up_Heap(), size, caller, nullptr, 0);
    if (clearing == kCleared && block) std::memset(block, 0, size);
    return block;
}

template <Clearing clearing>
[[gnu::noinline]] char** AllocateLargeHandle(unsigned failureCode, const char* caller,
                                             unsigned long long size)
{
    MEM_Heap* heap = Up_Heap();
    char** handle = nullptr;
    Up_AllocateShared([&] { return MEM_NewHandle(heap, size); }, failureCode, caller, size, clearing, &handle,
                      kNotRecycled);
    return handle;
}

template <Clearing clearing>
inline char** AllocateHandle(unsigned failureCode, const char* caller, unsigned long long size)
{
    if (!IsSmall(size)) return AllocateLargeHandle<clearing>(failureCode, caller, size);
    char** handle = MEMp_NewHandle(Up_Heap(), size);
    if (clearing == kCleared && handle) Up_ClearBlock(handle, size);
    return handle;
}

Err Up_ResizePtr(unsigned failureCode, unsigned long long size, const char* caller, void** block)
{
    if (!block) return U_Err_BAD_PARAMETER;
    const auto resize = [heap = Up_Heap(), old = *block, size] { return MEM_ResizePtr(heap, old, size); };
    void* moved = nullptr;
    Err error = U_Err_NONE;
    if (IsSmall(size)) {
        moved = resize();
    } else {
        error = U_TrySection(
            [&] { Up_AllocateShared(resize, failureCode, caller, size, kAsItComes, &moved, kNotRecycled); });
    }
    // Wanted: a failure nulls the caller's pointer too, while the old block stands.
    *block = moved;
    if (error != U_Err_NONE) return error;
    return moved ? U_Err_NONE : U_Err_OUT_OF_MEMORY;
}

// The shared path wants a pointer for success and null for failure.
char** TransformSetHandleSematicsToAllocator(MEM_Heap* heap, char** handle, unsigned long long size)
{
    return MEM_SetHandleSize(heap, handle, size) == 0 ? handle : nullptr;
}

struct PurgeLoopRecord {
    U_PurgeLoopFunc work;
    void* refcon;
    Err result;
};

// Gives a value that is not null when the work had its memory.
char* RunPurgeLoop(PurgeLoopRecord& record)
{
    unsigned char ok = 0;
    record.result = record.work(record.refcon, &ok);
    return ok != 0 && record.result == 0 ? reinterpret_cast<char*>(&record) : nullptr;
}

}  // namespace

void* U_AllocatePtr(unsigned int failureCode, const char* caller, unsigned long long size)
{
    return AllocatePtr<kAsItComes>(failureCode, caller, size);
}

void* U_AllocatePtrQuiet(unsigned long long size)
{
    return AllocatePtr<kAsItComes>(0, nullptr, size);
}

void* U_AllocatePtrClear(unsigned int failureCode, const char* caller, unsigned long long size)
{
    return AllocatePtr<kCleared>(failureCode, caller, size);
}

void* U_AllocatePtrClearQuiet(unsigned long long size)
{
    return AllocatePtr<kCleared>(0, nullptr, size);
}

Err U_FreePtr(void* block)
{
    MEMp_DisposePtr(Up_Heap(), block);
    return U_Err_NONE;
}

Err U_GetPtrSize(void* block, uint32_t* size)
{
    if (size) *size = static_cast<uint32_t>(MEM_GetPtrSize(Up_Heap(), block));
    return U_Err_NONE;
}

Err U_ResizePtr(unsigned int failureCode, unsigned long long size, const char* caller, void** block)
{
    return Up_ResizePtr(failureCode, size, caller, block);
}

Err U_ResizePtrQuiet(unsigned long long size, void** block)
{
    return Up_ResizePtr(0, size, nullptr, block);
}

char** U_AllocateHandle(unsigned int failureCode, const char* caller, unsigned long long size)
{
    return AllocateHandle<kAsItComes>(failureCode, caller, size);
}

char** U_AllocateHandleQuiet(unsigned long long size)
{
    return AllocateHandle<kAsItComes>(0, nullptr, size);
}

char** U_AllocateHandleClear(unsigned int failureCode, const char* caller, unsigned long long size)
{
    return AllocateHandle<kCleared>(failureCode, caller, size);
}

char** U_AllocateHandleClearQuiet(unsigned long long size)
{
    return AllocateHandle<kCleared>(0, nullptr, size);
}

[[gnu::cold, gnu::noinline]] static void ReportForeignHandle(char** handle)
{
    char message[96];
    std::snprintf(message, sizeof message, "Handle is not from U heap. MP:%p P:%p",
                  static_cast<void*>(handle), static_cast<void*>(handle ? *handle : nullptr));
    Up_AssertFailed(message, kAssertFile, kAssertLine);
}

Err U_CheckHandleFromHeap(char** handle)
{
    const Err answer = MEM_CheckHandleFromHeap(Up_Heap(), handle);
    if (answer != 0) ReportForeignHandle(handle);
    return answer;
}

Err U_FreeHandle(char** handle)
{
    MEM_Heap* heap = Up_Heap();
    if (MEMp_CheckHandleFromHeap(heap, handle) == 0) {
        MEMp_DisposeHandle(heap, handle);
    } else {
        ReportForeignHandle(handle);
    }
    return U_Err_NONE;
}

Err U_GetHandleSize(char** handle, uint32_t* size)
{
    if (size) *size = 0;
    if (!handle) {
        Up_ReportTolmErrString(kGetHandleSizeLocation, U_Sev_PROBLEM, U_Err_BAD_PARAMETER,
                               Up_String(kGettingSizeOfHandle));
        return U_Err_BAD_PARAMETER;
    }
    const int64_t answer = MEM_GetHandleSize(Up_Heap(), handle);
    if (answer < 0) {
        const Err error = static_cast<Err>(std::max<int64_t>(answer, std::numeric_limits<Err>::min()));
        Up_ReportSyserrString(kGetHandleSizeLocation, U_Sev_PROBLEM, error, Up_String(kGettingSizeOfHandle));
        return error;
    }
    if (size) *size = static_cast<uint32_t>(answer);
    return U_Err_NONE;
}

Err U_ResizeHandle(unsigned int failureCode, unsigned long long size, const char* caller, char*** handle)
{
    if (!handle) return U_Err_BAD_PARAMETER;
    MEM_Heap* heap = Up_Heap();
    char** resized = nullptr;
    if (IsSmall(size)) {
        resized = TransformSetHandleSematicsToAllocator(heap, *handle, size);
    } else {
        const Err error = U_TrySection([&] {
            Up_AllocateShared([&] { return TransformSetHandleSematicsToAllocator(heap, *handle, size); },
                              failureCode, caller, size, kAsItComes, &resized, kNotRecycled);
        });
        if (error != U_Err_NONE) return error;
    }
    return resized ? U_Err_NONE : U_Err_OUT_OF_MEMORY;
}

Err U_DuplicateHandle(char** handle, const char* caller, char*** duplicate)
{
    if (!duplicate) return U_Err_BAD_PARAMETER;
    *duplicate = nullptr;
    return U_TrySection([&]() -> Err {
        uint32_t size = 0;
        if (const Err error = U_GetHandleSize(handle, &size)) return error;
        *duplicate = U_AllocateHandle(kDuplicateHandleLocation, caller, size);
        if (!*duplicate) return U_Err_OUT_OF_MEMORY;
        if (size != 0) std::memmove(**duplicate, *handle, size);
        return U_Err_NONE;
    });
}

Err U_DuplicateHandleToPlatform(char** handle, const char* caller, char*** duplicate)
{
    if (!duplicate) return U_Err_BAD_PARAMETER;
    *duplicate = nullptr;
    return U_TrySection([&]() -> Err {
        MEM_Heap* heap = Up_Heap();
        const auto size = static_cast<unsigned long long>(MEM_GetHandleSize(heap, handle));
        unsigned char okay = 0;
        if ((size >> kRequestLimitShift) == 0) {
            okay = 1;
            if (!IsSmall(size) && Up_OkayToAllocBlock(size, &okay, kNotRecycled) != 0) okay = 0;
        }
        if (okay) *duplicate = MEM_NewHandle(heap, size);
        if (!*duplicate) {
            if (caller) Up_ReportAllocFailure(kDuplicateToPlatformLocation, size, caller, okay != 0);
            return U_Err_OUT_OF_MEMORY;
        }
        if (size != 0) std::memmove(**duplicate, *handle, size);
        return U_Err_NONE;
    });
}

Err U_PurgeLoop(unsigned long long size, U_PurgeLoopFunc work, void* refcon, bool recycled)
{
    if (!work) return U_Err_BAD_PARAMETER;
    return U_TrySection([&]() -> Err {
        if (IsSmall(size)) {
            unsigned char ok = 0;
            return work(refcon, &ok);
        }
        PurgeLoopRecord record{work, refcon, U_Err_OUT_OF_MEMORY};
        char* done = nullptr;
        Up_AllocateShared([&] { return RunPurgeLoop(record); }, 0, nullptr, size, kAsItComes, &done,
                          recycled);
        return record.result;
    });
}

Err U_PurgeHandlesAndCompact(void)
{
    return U_Err_NONE;
}

Err U_CompactMem(void)
{
    return U_Err_NONE;
}
