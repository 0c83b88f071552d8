// What the rest of the library, and the sources of this subject among themselves, know of memory.
#ifndef UP_MEMORY_H
#define UP_MEMORY_H

#include <atomic>
#include <cstdint>

#include "MEM.h"
#include "U_Memory.h"

// --- Life (U_Memory_Life.cpp) --------------------------------------------------------------------

/// Makes the heap and counts the application's presumed size. Gives 0, or 4 without a heap.
Err Up_InitializeMemorySubsystem();

/// Forgets the host's callbacks and takes the presumed size off the count. The heap stays, since blocks may
/// be freed later; it is reachable from a list of all heaps so far. Gives 0.
Err Up_TerminateMemorySubsystem();

/// The heap of the last birth; null before the first. Inline, as every allocation begins with it.
extern constinit std::atomic<MEM_Heap*> Up_G_heap;
inline MEM_Heap* Up_Heap()
{
    return Up_G_heap.load(std::memory_order_acquire);
}

/// Whether in use is what the operating system says: "MemoryAccountDirect2", as it was read at birth.
bool Up_IsMemoryAccountDirect();

/// The sizes at which a request stops being small, and at which it is never tried.
constexpr unsigned kSmallBlockShift = 15;
constexpr unsigned kRequestLimitShift = 31;

// --- Failures (U_Memory_Report.cpp) --------------------------------------------------------------

/// Tells the user that `size` bytes could not be had. `name` may be null. A report from inside a report on
/// the same thread is dropped with a log line.
void Up_ReportAllocFailure(unsigned failureCode, unsigned long long size, const char* name,
                           bool possiblyFragmented);

// --- Recycled memory (U_Memory_Recycled.cpp) -----------------------------------------------------

/// Makes a recycled block; null when there is no memory, and throws `std::bad_alloc` without a control block.
void* Up_AllocateRecycledPtrNew(unsigned long long size);

/// The sum of what `U_AccountFrameAllocation` was told.
long long Up_GetAccountFrameSize();

// --- Use (U_Memory_Usage.cpp) --------------------------------------------------------------------

/// Bytes in use, by the count or by the operating system. The second argument is not read. Gives 0.
Err Up_MemoryInUseByApplication(unsigned long long* bytes, bool ignored);

/// A statistic; `addRecycled` counts the recycler's pool as used. Unlike the exported form, number 5 gives 0.
Err Up_GetMemoryStat(U_MemStat stat, unsigned long long* value, bool addRecycled);

/// What the library counts itself, when the operating system does not tell: count, pool and external
/// managers.
std::uint64_t Up_TrackedBytes();

/// The probe in force.
U_MemoryProbe Up_MemoryProbe();

/// The probe of the platform.
extern const U_MemoryProbe Up_G_platformProbe;

// --- How much to purge (U_Memory_Amount.cpp) -----------------------------------------------------

/// Everything that decides how many bytes have to go; all in bytes.
struct Up_PurgeInputs {
    bool includeRecycled;     // the recycler's pool counts as used
    bool purgingAllowed;      // the operating system's figures count
    std::uint64_t request;    // what is about to be allocated
    std::uint64_t used;       // in use by the count, with the pool if includeRecycled
    std::uint64_t threshold;  // the limit; not 0
    std::uint64_t total;      // physical footprint of the process
    std::uint64_t resident;   // its resident part
    std::uint64_t recycled;   // the recycler's pool
};

/// Where purging begins when the host has set no limit: 70% of physical memory.
std::uint64_t Up_DefaultThreshold();

/// The bytes to purge; a function of its inputs alone. Differences are those of mathematics, so no figure is
/// too large, and a result beyond 64 bits is the largest one.
std::uint64_t Up_AmountToPurgeFrom(const Up_PurgeInputs& inputs);

/// The same, of the process as it stands. Throws an error code as an `int`.
void Up_AmountToPurge(bool includeRecycled, unsigned long long request, unsigned long long* amount,
                      unsigned long long* used, unsigned long long* threshold);

/// The same as a value; all in bytes.
struct Up_Amounts {
    unsigned long long amount = 0;
    unsigned long long used = 0;
    unsigned long long threshold = 0;
};

inline Up_Amounts Up_AmountsFor(bool includeRecycled, unsigned long long request)
{
    Up_Amounts amounts;
    Up_AmountToPurge(includeRecycled, request, &amounts.amount, &amounts.used, &amounts.threshold);
    return amounts;
}

// --- Purging (U_Memory_Purge.cpp, U_Memory_AsyncPurge.cpp, U_Memory_Preview.cpp) -----------------

/// Purges if `size` more bytes would pass the limit. It refuses nothing on the ground of size: `*ok` is 0
/// only with an error, which is the result.
Err Up_OkayToAllocBlock(unsigned long long size, unsigned char* ok, bool recycled);

/// Asks the host to purge until `request` bytes fit below the limit or nothing more comes free.
void Up_MakeRoomForBlock(unsigned long long request, bool recycled);

/// Signals the host if the process is over its limit now, whatever the request is.
void Up_MakeRoomForBlockWithAsyncPurging(unsigned long long request);

/// Whether a U_ScDisableProactivePrePurging lives: nothing is purged before an allocation.
bool Up_IsProactivePurgeDisabled();

/// Traces the figures of the moment.
void Up_TraceMemoryUsage(unsigned long long threshold);

/// Whether `bytes` more would leave the preview range, by the count of purges that found nothing.
bool Up_IsMemoryUsageAbovePurgeLimit(unsigned long long bytes);

// --- Hogs (U_Hogs.cpp) ---------------------------------------------------------------------------

/// Makes the registry. Gives 0 or 4.
Err Up_BirthHog();

/// Reports each hog that still holds memory as a leak, and ends the registry.
void Up_TerminateHogs();

// --- For tests -----------------------------------------------------------------------------------

/// Makes the process forget what it learns once: the debug keys, and that purging is allowed.
void Up_ResetMemoryForTests();
void Up_ForbidPurgingForTests();

#endif
