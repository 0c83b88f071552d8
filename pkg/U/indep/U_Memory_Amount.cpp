// How many bytes have to go: one function of figures, and the gathering of the figures.
//
// State: whether the host has allowed purging, an atomic word that goes one way only.
#include <algorithm>
#include <atomic>

#include "ALOG.h"
#include "Up_Memory.h"
#include "Up_Saturate.h"
#include "Up_TraceLine.h"

namespace {

constinit std::atomic<bool> g_purgingAllowed{false};

// A process this far below its threshold, by what it has resident, may still have a footprint of that much more.
constexpr std::uint64_t Slack(std::uint64_t threshold, std::uint64_t resident)
{
    return std::max(threshold - resident, threshold / 4);
}

// The pool cannot be larger than all that the process holds: then the estimate lags behind, and is not used.
constexpr bool IsPoolBeyondTotal(const Up_PurgeInputs& in)
{
    return !in.includeRecycled && in.recycled > in.total;
}

void ThrowOnError(Err error)
{
    if (error != U_Err_NONE) throw static_cast<int>(error);
}

std::uint64_t Threshold()
{
    std::uint64_t limit = 0;
    std::uint64_t override = 0;
    ThrowOnError(MEM_GetMemUsageLimits(&limit, nullptr));
    ThrowOnError(MEM_GetMemUsageLimitsOverride(&override, nullptr));
    if (override != 0) return override;
    return limit != 0 ? limit : Up_DefaultThreshold();
}

}  // namespace

void U_AllowPurging(void)
{
    g_purgingAllowed = true;
}

void Up_ForbidPurgingForTests()
{
    g_purgingAllowed = false;
}

std::uint64_t Up_AmountToPurgeFrom(const Up_PurgeInputs& in)
{
    const std::uint64_t byCounters = Up_Excess(Up_Wide{in.used} + in.request, in.threshold);
    if (IsPoolBeyondTotal(in)) return byCounters;
    const std::uint64_t pool = in.includeRecycled ? 0 : in.recycled;
    const std::uint64_t total = in.total - pool;
    if (!in.purgingAllowed || total == 0) return byCounters;
    const std::uint64_t resident = Up_Excess(in.resident, pool);
    if (in.threshold <= resident) return Up_Excess(Up_Wide{resident} + in.request, in.threshold);
    return Up_Excess(Up_Wide{total} + in.request, Up_Wide{resident} + Slack(in.threshold, resident));
}

void Up_AmountToPurge(bool includeRecycled, unsigned long long request, unsigned long long* amount,
                      unsigned long long* used, unsigned long long* threshold)
{
    *amount = 0;
    *threshold = 0;
    *threshold = Threshold();
    ThrowOnError(Up_GetMemoryStat(U_MemStat_IN_USE, used, includeRecycled));
    U_MemoryUsageAsPerOS& system = U_MemoryUsageAsPerOS::GetInstance();
    const Up_PurgeInputs inputs = {.includeRecycled = includeRecycled,
                                   .purgingAllowed = g_purgingAllowed.load(std::memory_order_relaxed),
                                   .request = request,
                                   .used = *used,
                                   .threshold = *threshold,
                                   .total = system.GetApproximateTotal(),
                                   .resident = system.GetApproximateResident(),
                                   .recycled = U_GetRecycledMemorySize()};
    if (IsPoolBeyondTotal(inputs)) {
        static constinit U_TraceLine s_line("U_Memory", 1);
        s_line([&] {
            return ALOG_convertMesg(nullptr,
                                    "Recycler's free pool size(%llu) spiked beyond approximate total memory "
                                    "usage(%llu)\n",
                                    static_cast<unsigned long long>(inputs.recycled),
                                    static_cast<unsigned long long>(inputs.total));
        });
    }
    *amount = Up_AmountToPurgeFrom(inputs);
}

unsigned long long U_AmountToPurge(void)
{
    return Up_AmountsFor(true, 1).amount;
}
