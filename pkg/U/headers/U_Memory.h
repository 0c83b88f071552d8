/// Memory that makes room for itself: allocation, limits, purging of the host's caches, and the count of use.
///
///     U_SetMemUsageLimits(0, 8ull << 30);               // once, behind U_Birth
///     U_SetPurgeRequestCallback(DropSomeCachedFrames);
///     U_AllowPurging();
///
///     void* frame = U_AllocatePtr(0x00120007, "decoding a frame", 8ull << 20);
///     if (!frame) return U_Err_OUT_OF_MEMORY;           // the user has been told already
///     U_FreePtr(frame);
///
/// A block below 32768 bytes comes straight from the heap: no limit, no purge, no report, null on failure.
/// For a larger one the library first compares what is in use with the limit and, over it, asks the host to
/// purge; then it tries, and while it fails and purging frees something, purges and tries again. At last it
/// reports to the user, if the request named a caller. A request of 2 GiB or more is refused at once. The
/// limit never refuses: it purges. What is not for this header: memory that must neither purge nor report
/// (MEM.h), and containers (zvkcore/allocator/RecyclingAllocator.h).
///
/// Ground rules
///   sizes    bytes, unsigned 64-bit. Blocks are aligned to 16 and not cleared, but by the Clear forms
///   threads  any thread may allocate and free, and free what another has made. Purge callbacks run on the
///            thread that allocates, without a lock, and several at once. A purge asked for from inside a
///            purge callback returns at once on that thread, so a callback may allocate
///   kinds    a block is freed by the function of its kind: pointer, handle, recycled pointer
///   reports  `failureCode` is the location of the report and `caller` names the work to the user; a null
///            `caller` keeps quiet. If a logging callback refuses the report, its code is thrown as an `int`
///   life     between `U_Birth` and `U_Death`; frees work afterwards too
#ifndef U_MEMORY_H
#define U_MEMORY_H

#include "U_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

// --- Pointers ------------------------------------------------------------------------------------

/// Makes a block; null when there is no memory. Quiet forms report nothing. Clear forms fill it with zeros.
U_EXPORT void* U_AllocatePtr(unsigned int failureCode, const char* caller, unsigned long long size);
U_EXPORT void* U_AllocatePtrQuiet(unsigned long long size);
U_EXPORT void* U_AllocatePtrClear(unsigned int failureCode, const char* caller, unsigned long long size);
U_EXPORT void* U_AllocatePtrClearQuiet(unsigned long long size);

/// Frees a block; null is accepted. Gives 0.
U_EXPORT Err U_FreePtr(void* block);

/// The size of a block, cut to 32 bits; 0 for null. A null `size` does nothing. Gives 0.
U_EXPORT Err U_GetPtrSize(void* block, uint32_t* size);

/// Gives a block another size; it may move. `*block` may be null, which makes a fresh one.
///
/// On failure gives 4 and `*block` IS NULLED, while the old block stays allocated: a caller that wants to
/// keep it keeps its own copy of the pointer. A null `block` gives 3.
U_EXPORT Err U_ResizePtr(unsigned int failureCode, unsigned long long size, const char* caller, void** block);
U_EXPORT Err U_ResizePtrQuiet(unsigned long long size, void** block);

// --- Handles: a pointer to a pointer, which stays while the data moves ---------------------------

/// Makes a handle; with a size of 0 its data is null. Null when there is no memory.
U_EXPORT char** U_AllocateHandle(unsigned int failureCode, const char* caller, unsigned long long size);
U_EXPORT char** U_AllocateHandleQuiet(unsigned long long size);
U_EXPORT char** U_AllocateHandleClear(unsigned int failureCode, const char* caller, unsigned long long size);
U_EXPORT char** U_AllocateHandleClearQuiet(unsigned long long size);

/// Frees a handle and its data; null is accepted. A handle that the heap disowns is reported and left alone.
/// Gives 0.
U_EXPORT Err U_FreeHandle(char** handle);

/// The size of the data. A null handle is reported and gives 3; an error of the heap is reported and given,
/// and then `*size` is 0.
U_EXPORT Err U_GetHandleSize(char** handle, uint32_t* size);

/// Whether the handle may be one of the heap's: 0 if so. Another answer is reported as a failed assertion.
U_EXPORT Err U_CheckHandleFromHeap(char** handle);

/// Gives the data another size; it moves, the handle stays. On failure gives 4 and nothing has changed. A
/// null `handle` gives 3.
U_EXPORT Err U_ResizeHandle(unsigned int failureCode, unsigned long long size, const char* caller,
                            char*** handle);

/// Makes a second handle with the same data. On failure gives the error, and `*duplicate` is null.
U_EXPORT Err U_DuplicateHandle(char** handle, const char* caller, char*** duplicate);

/// The same for data that is handed to the platform: gives 0 or 4, and a null handle has an empty duplicate.
U_EXPORT Err U_DuplicateHandleToPlatform(char** handle, const char* caller, char*** duplicate);

// --- Recycled pointers: frames whose pages are kept for the next one -----------------------------

/// Makes a block through the memory recycler, which keeps freed blocks for re-use up to its pool limit: far
/// faster than fresh memory for blocks of megabytes. Not for small blocks: each costs 256 bytes more. Null
/// when there is no memory; throws `std::bad_alloc` when not even the 48 bytes of the control block are
/// there.
U_EXPORT void* U_AllocateRecycledPtr(unsigned int failureCode, const char* caller, unsigned long long size);

/// Gives the block to the pool; null is accepted. A pointer that is none of the recycled ones, or was freed
/// before and is still in the pool, is reported as a failed assertion and left alone. Gives 0.
U_EXPORT Err U_FreeRecycledPtr(void* block);

/// The address that counts as the block's base: the pointer as given.
U_EXPORT void* U_GetRecycledPtrBaseAddress(void* block);

/// Bytes that wait in the recycler's pool.
U_EXPORT unsigned long long U_GetRecycledMemorySize(void);

/// Gives that many pooled bytes back to the system, if they are there; returns how many it gave.
U_EXPORT unsigned long long U_PurgeRecycledMemory(unsigned long long bytes);

// --- Any work that may run out of memory ---------------------------------------------------------

/// A piece of work. It sets `*ok` to a value other than 0 when it had the memory it needed; its result is an
/// error code. With `*ok` 0 or an error it counts as failed, and may be run again after a purge.
typedef int (*U_PurgeLoopFunc)(void* refcon, unsigned char* ok);

/// Runs work that needs about `size` bytes with the protection of an allocation: it is run again while
/// purging frees something. Below 32768 bytes it is run once. Reports nothing of its own.
///
/// recycled  the memory comes from the recycler, so its pool counts as free
/// returns   the result of the last run; 4 if it never ran; 3 for null work
U_EXPORT Err U_PurgeLoop(unsigned long long size, U_PurgeLoopFunc work, void* refcon, bool recycled);

// --- Limits --------------------------------------------------------------------------------------

/// Sets the limits in bytes. Over the first one, purging begins; the second is what the process may use.
///
/// The second is raised to the first; the first is raised to 4 GiB where that leaves it 1 MiB below the
/// second, and otherwise is the second less 1 MiB (unless the second is below 1 MiB). So (1 GiB, 2 GiB)
/// stores 2 GiB less 1 MiB as the first. Gives 0.
U_EXPORT Err U_SetMemUsageLimits(unsigned long long first, unsigned long long second);

/// The same for a pair that takes precedence wherever it is not 0.
U_EXPORT Err U_SetMemUsageLimitsOverride(unsigned long long first, unsigned long long second);

/// The limits in force: the override, else what was set, else 70% and all of physical memory.
U_EXPORT Err U_GetMemUsageLimits(unsigned long long* first, unsigned long long* second);

/// Lets the figures of the operating system count, which they do not before: the host may not be ready to
/// answer a purge. There is no call that goes back.
U_EXPORT void U_AllowPurging(void);

// --- Purging -------------------------------------------------------------------------------------

/// Asks the host to purge.
///
/// When: over the limit before an allocation, or after one failed; on the allocating thread, again and again
/// until enough is free. Must: free what it can, about `amountToPurge` bytes, and set `*purgeRecycled` when
/// it has nothing left and the recycler's pool may go; the answer persists over the rounds of one purge.
/// Gives 0, or another value to end the purge; an exception ends it likewise. Default: nothing is purged.
typedef int (*U_PurgeRequestCallback)(unsigned long long blockRequest, unsigned long long amountToPurge,
                                      bool* purgeRecycled);

/// What the host knows of what it could still purge.
typedef int32_t U_PurgeableMemStatus;
enum { U_PurgeableMem_UNKNOWN = 0, U_PurgeableMem_EXHAUSTED = 1, U_PurgeableMem_AVAILABLE = 2 };

/// When: in `U_CheckRAMPurgeLimit`, if purging did not help. Must: not allocate. Default: not asked.
typedef U_PurgeableMemStatus (*U_PurgeStatusCallback)(void);

/// Both are set behind the birth, before other threads allocate; the death clears them. Null takes one away.
U_EXPORT Err U_SetPurgeRequestCallback(U_PurgeRequestCallback callback);
U_EXPORT Err U_GetPurgeRequestCallback(U_PurgeRequestCallback* callback);
U_EXPORT void U_SetPurgeStatusCallback(U_PurgeStatusCallback callback);
U_EXPORT void U_GetPurgeStatusCallback(U_PurgeStatusCallback* callback);

/// Calls the asynchronous purge callback (below), if there is one.
U_EXPORT void U_MakeAsyncPurgeRequest(void);

/// The bytes over the limit right now. Throws an error code as an `int`.
U_EXPORT unsigned long long U_AmountToPurge(void);

/// Tells whether a render of `bytes` more would leave the range that a preview may fill; purges to find out.
///
/// limitExceeded  the answer
/// limitHit       may be null; whether purging was needed. Untouched under "QL.AsyncMemoryPurging"
/// askHost        let the purge status callback, and the overage it allows, overrule a yes
/// returns        0 or an error code
U_EXPORT Err U_CheckRAMPurgeLimit(bool* limitExceeded, unsigned long long bytes, bool* limitHit,
                                  bool askHost);

/// Do nothing and give 0: block memory here does not move.
U_EXPORT Err U_PurgeHandlesAndCompact(void);
U_EXPORT Err U_CompactMem(void);

// --- What is in use ------------------------------------------------------------------------------

/// Counts memory that the host holds elsewhere: `delta` bytes more, or less if negative. Counts never fall
/// below zero. The Ex form takes a size and a direction; the frame form counts it as frames too. Give 0.
U_EXPORT Err U_AccountAllocation(long long delta);
U_EXPORT Err U_AccountAllocationEx(unsigned long long bytes, bool add);
U_EXPORT Err U_AccountFrameAllocation(long long delta);
U_EXPORT Err U_AccountSystemAllocation(long long delta);

/// Everything counted: heap, accounted and system bytes.
U_EXPORT long long U_GetMemUsage(void);

/// 135 MiB, which a born library counts as in use for the application itself. `size` may be null. Gives 0.
U_EXPORT Err U_PresumedAppSize(unsigned long long* size);

/// Selects a statistic. In use is what the library counts, or what the operating system says if the debug key
/// "MemoryAccountDirect2" was set before the first birth.
typedef uint32_t U_MemStat;
enum {
    U_MemStat_IN_USE = 0,              ///< in use and the recycler's pool
    U_MemStat_IN_USE_TOO = 1,          ///< the same
    U_MemStat_FREE_BELOW_FIRST = 2,    ///< first limit less that; not below 0
    U_MemStat_FREE_BELOW_SECOND = 3,   ///< second limit less that; not below 0
    U_MemStat_LARGEST_BLOCK = 4,       ///< 3,221,224,704
    U_MemStat_FREE_WITH_RECYCLED = 5,  ///< first limit less what is in use without the pool
    U_MemStat_IN_USE_HERE = 6,         ///< in use less external memory managers; at least 1
    U_MemStat_IN_USE_NO_FRAMES = 7,    ///< in use and the pool, less frame bytes
    U_MemStat_RESIDENT = 8,            ///< the process's resident bytes, estimated
    U_MemStat_TOTAL = 9                ///< its physical footprint, estimated
};

/// Gives a statistic in bytes; 0 for an unknown one. Returns 0 or an error code.
U_EXPORT Err U_GetMemoryStat(U_MemStat stat, unsigned long long* value);

/// Makes the operating system's resident size stand for use under "MemoryAccountDirect2", by adding the
/// present difference of resident and virtual size to the virtual size from now on; and ends that again.
U_EXPORT void U_EvaluateMemoryInUseAdjustment(void);
U_EXPORT void U_ClearMemoryInUseAdjustment(void);

/// Where the figures of the operating system come from. Begins with its own size in bytes; null members
/// cannot tell. A function gives false, and writes nothing, when it cannot tell; the library's own count then
/// stands in for that figure alone.
///
/// When: at most once in "QL.MemUsageSyncFrequencyInMillisecondsR" milliseconds (2000), on any thread, except
/// under "MemoryAccountDirect2". Must: be quick, not allocate here. Default: /proc, through kept descriptors.
typedef struct U_MemoryProbe {
    uint32_t recordSize;
    void* self;
    bool (*process)(void* self, uint64_t* virtualBytes, uint64_t* residentBytes);
    bool (*footprint)(void* self, uint64_t* bytes);  ///< resident and swapped out
    bool (*machine)(void* self, uint64_t* pageSize, uint64_t* freePages, uint64_t* inactivePages);
} U_MemoryProbe;

/// Installs a probe, of which a copy is kept; null restores the default. `former` may be null; it receives
/// what stood before, whose `recordSize` is 0 if that was the default. Gives 0, or 3 for a record without a
/// size.
U_EXPORT Err U_SetMemoryProbe(const U_MemoryProbe* probe, U_MemoryProbe* former);

/// Leak reports of the heap, for heaps that track; the heap of this library does not. Give nothing.
typedef void (*U_MEM_ReportFunc)(const char* caller, const char* file, unsigned line, unsigned long size,
                                 int serial, void* refcon);
U_EXPORT void U_MEM_SetBaseline(void);
U_EXPORT void U_MEM_Report(U_MEM_ReportFunc report);

// --- Hogs: named consumers of memory that are expected to let go before the end ------------------

/// Registers a consumer under a name, which is copied. `id` receives its number. Gives 0, 3 or 4.
U_EXPORT Err U_AddHog(const char* name, uint32_t* id);

/// Notes that it holds `delta` bytes more, or less if negative. This is for the leak report only; it is not
/// counted as in use. An unknown number is reported and gives 3; a sum beyond 64 bits gives 10 and changes
/// nothing.
U_EXPORT Err U_AccountHog(uint32_t id, long long delta);

/// Ends it. One that still holds memory at the death of the library is reported as a leak by its name.
U_EXPORT Err U_RemoveHog(uint32_t id);

#ifdef __cplusplus
}

#include <atomic>
#include <functional>
#include <mutex>

#include "zvkcore/utility/Guid.h"

// --- Purging by signal ---------------------------------------------------------------------------

/// The feature that makes allocations signal the host and go on, instead of purging themselves. Asked for
/// each large allocation, so it may be switched at any time.
U_EXPORT const char* GetAsyncPurgingFeatureID();

/// Sets what that signal calls; an empty function takes it away, as the death does.
///
/// When: over the limit before a large allocation, on the allocating thread, under a lock. Must: only post
/// work to the host's own thread. Calling back here from inside is harmless: it purges nothing, and a
/// callback set there is in force when this one has returned. Default: nothing is purged.
U_EXPORT void U_SetAsyncPurgeRequestCallback(std::function<void()> callback);

/// Counts how many purges in a row found nothing; a host that purges by signal tells it of each. More than
/// "QL.PurgeFailedThreshold" (10) make the preview range count as exhausted. Any thread.
class U_EXPORT U_PurgeStatus {
  public:
    static U_PurgeStatus& GetInstance();

    /// Available resets the count; anything else adds one.
    void Update(U_PurgeableMemStatus status);

    /// Exhausted or available.
    U_PurgeableMemStatus Get();

  private:
    int32_t m_failCount = 0;
    std::mutex m_mutex;  // guards the count
};

/// While one lives no allocation purges beforehand; they nest. Allocations that fail purge all the same.
class U_EXPORT U_ScDisableProactivePrePurging {
  public:
    U_ScDisableProactivePrePurging();
    ~U_ScDisableProactivePrePurging();
    U_ScDisableProactivePrePurging(const U_ScDisableProactivePrePurging&) = delete;
    U_ScDisableProactivePrePurging& operator=(const U_ScDisableProactivePrePurging&) = delete;
};

// --- Figures of the operating system -------------------------------------------------------------

/// Resident size and physical footprint of the process, in bytes. The approximate forms ask the system at
/// most once a period and otherwise move the last answer by what the library counted since. Any thread.
class U_EXPORT U_MemoryUsageAsPerOS {
  public:
    enum OSUsageType { kResident = 0, kTotal = 1 };

    static U_MemoryUsageAsPerOS& GetInstance();

    uint64_t GetCurrentResident();
    uint64_t GetCurrentTotal();
    uint64_t GetApproximateResident();
    uint64_t GetApproximateTotal();

    /// Asks the system now.
    void SyncToOS();

  private:
    U_MemoryUsageAsPerOS();
    uint64_t SyncAndAdjust(OSUsageType type);
    uint64_t Sync(OSUsageType type, bool onlyIfStale);
    uint64_t Figure(OSUsageType type) const;
    bool IsStale() const;

    std::mutex m_mutex;  // held while the figures of one moment are stored or read together
    std::atomic<uint64_t> m_resident{0};
    std::atomic<uint64_t> m_total{0};
    std::atomic<uint64_t> m_trackedAtSync{0};
    std::atomic<uint64_t> m_lastSync;  // time stamp
};

/// Free and inactive memory of the machine, in bytes. Gives 0, or 1 when the machine does not tell, and then
/// both are 0. Logs the figures.
U_EXPORT int U_GetFreeMemoryPoolSizes(long long& freeBytes, long long& inactiveBytes);

// --- Memory managers of others -------------------------------------------------------------------

/// Adds a memory manager whose bytes count as in use. Another under the same identity replaces it.
///
/// When: each time use is asked for, so for each large allocation, on any thread, one at a time. Must: be
/// quick, wait for nobody. Once it is uninstalled it is not called any more, unless it uninstalls itself.
U_EXPORT void U_InstallExternalMemoryManager(const zvkcore::utility::Guid& identity,
                                             std::function<unsigned long()> size);
U_EXPORT void U_UnInstallExternalMemoryManager(const zvkcore::utility::Guid& identity);

/// The sum of what they hold.
U_EXPORT unsigned long long U_GetSizeOfExternalMemoryManagers();

#endif
#endif
