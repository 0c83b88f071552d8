/// Heaps of pointer and handle blocks, and the process-wide count of memory in use with its limits.
///
///     MEM_Heap* heap = MEM_NewHeap();
///     void* block = MEM_NewPtrDebug(heap, 4096, "matte", NULL, 0);
///     MEM_DisposePtr(heap, block);
///
/// This is the layer under U_Memory.h, which adds the purging of a host's caches and the reporting of
/// failures; applications allocate there. Use this layer for what must neither purge nor report.
///
/// Ground rules. Sizes are bytes, unsigned 64-bit. Any thread may call anything; blocks may be disposed on
/// another thread than they were made on. Nothing here reports, logs or throws. A null heap is tolerated: a
/// function with an error code then gives 3, every other does nothing and gives null or 0. A block goes back
/// to the heap it came from, by the function of its kind; nothing else may be passed.
///
///   pointer     [ size | heap ][ the caller's bytes ...
///                  16 bytes    ^ what the caller holds
///
///   handle      [ cell ] ---> a pointer block, or null while the size is 0
///                ^ what the caller holds; it stays while the block moves
#ifndef MEM_H
#define MEM_H

#include <stdbool.h>
#include <stdint.h>

#include "zvkcore/config/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

/// A heap. Its blocks are made by `malloc`, so it needs no lock of its own.
typedef struct _MEMp_BasicHeap MEM_Heap;

/// Would be called once a leaked block: what it is, the file, a line, its size, a serial number, a refcon.
/// The standard heap does no leak tracking, so it never calls one.
typedef void (*MEM_ReportFunc)(const char* caller, const char* file, unsigned line, unsigned long size,
                               int serial, void* refcon);

/// Makes a heap, which counts as in use with its own size; null when there is no memory. There is no function
/// to delete one: blocks may outlive everything else, and each names its heap.
ZVKCORE_EXPORT MEM_Heap* MEM_NewHeap(void);

// --- Pointers ------------------------------------------------------------------------------------

/// Makes a block of `size` bytes, not cleared, aligned to 16; null when there is no memory. `caller`, `file`
/// and `line` name who asked, for heaps that track; any may be null or 0.
ZVKCORE_EXPORT void* MEM_NewPtrDebug(MEM_Heap* heap, uint64_t size, const char* caller, const char* file,
                                     int line);

/// Frees a block; null does nothing.
ZVKCORE_EXPORT void MEM_DisposePtr(MEM_Heap* heap, void* block);

/// The size that was asked for; 0 for null. `MEM_NewPtrDebug` keeps the low 32 bits of a size only.
ZVKCORE_EXPORT uint64_t MEM_GetPtrSize(MEM_Heap* heap, void* block);

/// Grows or shrinks a block, which may move. On failure gives null, and the old block stands. A null block is
/// like a fresh one.
ZVKCORE_EXPORT void* MEM_ResizePtr(MEM_Heap* heap, void* block, uint64_t size);

// --- Handles -------------------------------------------------------------------------------------

/// Makes a handle to `size` bytes, not cleared; with 0 the handle's data is null. Null when there is no
/// memory.
ZVKCORE_EXPORT char** MEM_NewHandle(MEM_Heap* heap, uint64_t size);

/// The size of a handle's data; 0 for a null handle. A negative value would be an error code of a heap that
/// can tell; the standard heap gives none.
ZVKCORE_EXPORT int64_t MEM_GetHandleSize(MEM_Heap* heap, char** handle);

/// Frees a handle and its data; null does nothing.
ZVKCORE_EXPORT void MEM_DisposeHandle(MEM_Heap* heap, char** handle);

/// Gives a handle another size; the bytes common to both are kept. The data moves whenever the size differs,
/// and the handle stays. 3 for a null heap or handle; 4 when there is no memory, and then nothing has
/// changed.
ZVKCORE_EXPORT int32_t MEM_SetHandleSize(MEM_Heap* heap, char** handle, uint64_t size);

/// 0 if the handle may be one of the heap's, which the standard heap says of every handle; 3 for a null heap.
ZVKCORE_EXPORT int32_t MEM_CheckHandleFromHeap(MEM_Heap* heap, char** handle);

// --- Leak reports, for heaps that track ----------------------------------------------------------

ZVKCORE_EXPORT void MEM_SetBaseline(MEM_Heap* heap);
ZVKCORE_EXPORT void MEM_Report(MEM_Heap* heap, MEM_ReportFunc report);
ZVKCORE_EXPORT void MEM_DumpLeaks(MEM_Heap* heap);

// --- Memory in use -------------------------------------------------------------------------------

/// Bytes in use: what heaps hold, headers included, and what was accounted by the two functions below; never
/// negative. Read while other threads allocate, it may be off by what they make or free meanwhile.
ZVKCORE_EXPORT int64_t MEM_GetMemUsage(void);

/// Counts memory that somebody else holds: `delta` bytes more, or less if negative. A count that would fall
/// below zero becomes zero. Gives 0.
ZVKCORE_EXPORT int32_t MEM_AccountAllocation(int64_t delta);

/// The same for memory held by the system on the application's behalf, counted apart.
ZVKCORE_EXPORT int32_t MEM_AccountSystemAllocation(int64_t delta);

// --- Limits, kept here and used by U_Memory.h ----------------------------------------------------

/// Stores the pair of limits as it is, in bytes; 0 is "not set". Gives 0.
ZVKCORE_EXPORT int32_t MEM_SetMemUsageLimits(uint64_t first, uint64_t second);

/// Reads the pair; either pointer may be null. Gives 0.
ZVKCORE_EXPORT int32_t MEM_GetMemUsageLimits(uint64_t* first, uint64_t* second);

/// The same for the pair that takes precedence over it where it is not 0.
ZVKCORE_EXPORT int32_t MEM_SetMemUsageLimitsOverride(uint64_t first, uint64_t second);
ZVKCORE_EXPORT int32_t MEM_GetMemUsageLimitsOverride(uint64_t* first, uint64_t* second);

#ifdef __cplusplus
}
#endif

#endif
