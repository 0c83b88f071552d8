// What is in use: the host's accounting, the application's figure, and the statistics on top of them.
//
// State: the adjustment of memory in use, two atomic words from load time. The counters stand in the heap package.
#include <algorithm>
#include <atomic>
#include <limits>

#include "ALOG.h"
#include "U_TrySection.h"
#include "Up_Memory.h"
#include "Up_Saturate.h"

namespace {

constexpr std::uint64_t kLargestBlock = 3'221'224'704;
static_assert(kLargestBlock == 0xbffffd00);

constinit std::atomic<long long> g_adjustment{0};  // added to the virtual size while g_isAdjusted
constinit std::atomic<bool> g_isAdjusted{false};

std::uint64_t Counted()
{
    return Up_Sum(static_cast<std::uint64_t>(MEM_GetMemUsage()), U_GetSizeOfExternalMemoryManagers());
}

bool ReadProcess(std::uint64_t* virtualBytes, std::uint64_t* residentBytes)
{
    const U_MemoryProbe probe = Up_MemoryProbe();
    return probe.process && probe.process(probe.self, virtualBytes, residentBytes);
}

// The virtual size moved by the adjustment, or the resident size where that would be negative or none is set.
std::uint64_t InUseAsPerOS(std::uint64_t virtualBytes, std::uint64_t residentBytes)
{
    if (!g_isAdjusted) return residentBytes;
    const long long adjustment = g_adjustment;
    if (adjustment >= 0) return Up_Sum(virtualBytes, static_cast<std::uint64_t>(adjustment));
    const std::uint64_t less = ~static_cast<std::uint64_t>(adjustment) + 1;
    return virtualBytes >= less ? virtualBytes - less : residentBytes;
}

long long Difference(std::uint64_t a, std::uint64_t b)
{
    constexpr std::uint64_t kMost = std::numeric_limits<long long>::max();
    return a >= b ? static_cast<long long>(std::min(a - b, kMost))
                  : -static_cast<long long>(std::min(b - a, kMost));
}

void SetAdjustment(long long adjustment)
{
    ALOG_sprintf(0, "U", "U_SetMemoryInUseAdjustment", "setting adjustment from %lld to %lld",
                 g_adjustment.load(), adjustment);
    g_adjustment = adjustment;
    g_isAdjusted = adjustment != 0;
}

std::uint64_t WithoutRecycled(std::uint64_t figure, bool addRecycled)
{
    return addRecycled ? figure : Up_Excess(figure, U_GetRecycledMemorySize());
}

}  // namespace

Err U_AccountAllocation(long long delta)
{
    return MEM_AccountAllocation(delta);
}

Err U_AccountAllocationEx(unsigned long long bytes, bool add)
{
    const auto delta =
        static_cast<long long>(std::min<unsigned long long>(bytes, std::numeric_limits<long long>::max()));
    return MEM_AccountAllocation(add ? delta : -delta);
}

Err U_AccountSystemAllocation(long long delta)
{
    return MEM_AccountSystemAllocation(delta);
}

long long U_GetMemUsage(void)
{
    return MEM_GetMemUsage();
}

std::uint64_t Up_TrackedBytes()
{
    return Up_Sum(Counted(), U_GetRecycledMemorySize());
}

Err Up_MemoryInUseByApplication(unsigned long long* bytes, bool)
{
    std::uint64_t virtualBytes = 0;
    std::uint64_t residentBytes = 0;
    const bool told = Up_IsMemoryAccountDirect() && ReadProcess(&virtualBytes, &residentBytes);
    *bytes = told ? InUseAsPerOS(virtualBytes, residentBytes) : Counted();
    return U_Err_NONE;
}

void U_EvaluateMemoryInUseAdjustment(void)
{
    std::uint64_t virtualBytes = 0;
    std::uint64_t residentBytes = 0;
    if (!ReadProcess(&virtualBytes, &residentBytes)) return;
    const long long delta = Difference(residentBytes, virtualBytes);
    ALOG_sprintf(0, "U", "U_EvaluateMemoryInUseAdjustment", "resident=%lld, virtual=%lld, delta=%lld",
                 static_cast<long long>(residentBytes), static_cast<long long>(virtualBytes), delta);
    SetAdjustment(delta);
}

void U_ClearMemoryInUseAdjustment(void)
{
    SetAdjustment(0);
}

Err Up_GetMemoryStat(U_MemStat stat, unsigned long long* value, bool addRecycled)
{
    *value = 0;
    unsigned long long inUse = 0;
    unsigned long long first = 0;
    unsigned long long second = 0;
    Err error = U_Err_NONE;
    if (stat <= U_MemStat_FREE_BELOW_SECOND || stat == U_MemStat_IN_USE_HERE ||
        stat == U_MemStat_IN_USE_NO_FRAMES) {
        error = Up_MemoryInUseByApplication(&inUse, addRecycled);
    }
    if (error == U_Err_NONE && (stat == U_MemStat_FREE_BELOW_FIRST || stat == U_MemStat_FREE_BELOW_SECOND)) {
        error = U_GetMemUsageLimits(&first, &second);
    }
    if (error != U_Err_NONE) return error;
    const std::uint64_t used = addRecycled ? Up_Sum(inUse, U_GetRecycledMemorySize()) : inUse;
    switch (stat) {
        case U_MemStat_IN_USE:
        case U_MemStat_IN_USE_TOO:
            *value = used;
            break;
        case U_MemStat_FREE_BELOW_FIRST:
            *value = Up_Excess(first, used);
            break;
        case U_MemStat_FREE_BELOW_SECOND:
            *value = Up_Excess(second, used);
            break;
        case U_MemStat_LARGEST_BLOCK:
            *value = kLargestBlock;
            break;
        case U_MemStat_IN_USE_HERE:
            *value = std::max<std::uint64_t>(1, Up_Excess(inUse, U_GetSizeOfExternalMemoryManagers()));
            break;
        case U_MemStat_IN_USE_NO_FRAMES:
            *value = Up_Excess(used, static_cast<std::uint64_t>(std::max(0ll, Up_GetAccountFrameSize())));
            break;
        case U_MemStat_RESIDENT:
            *value =
                WithoutRecycled(U_MemoryUsageAsPerOS::GetInstance().GetApproximateResident(), addRecycled);
            break;
        case U_MemStat_TOTAL:
            *value = WithoutRecycled(U_MemoryUsageAsPerOS::GetInstance().GetApproximateTotal(), addRecycled);
            break;
        default:  // wanted: number 5 gives nothing here, only through the exported form, and so do unknown ones
            break;
    }
    return U_Err_NONE;
}

Err U_GetMemoryStat(U_MemStat stat, unsigned long long* value)
{
    if (!value) return U_Err_BAD_PARAMETER;
    return U_TrySection([&] {
        return stat == U_MemStat_FREE_WITH_RECYCLED
                   ? Up_GetMemoryStat(U_MemStat_FREE_BELOW_FIRST, value, false)
                   : Up_GetMemoryStat(stat, value, true);
    });
}
