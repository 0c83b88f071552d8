// Memory in use, process-wide, and the limits that the host set.
//
// State: four counters of sequentially consistent atomics (MEMp_Counters.h), and two pairs of limits under one
// mutex. All of it exists from load and needs no teardown, since blocks may be freed while the process ends.
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <limits>

#include "MEM.h"
#include "MEMp_Counters.h"

constinit MEMp_Counter MEMp_G_heapObjectBytes;
constinit MEMp_SpreadCounter MEMp_G_heapBytes;
constinit MEMp_Counter MEMp_G_accountedBytes;
constinit MEMp_Counter MEMp_G_systemBytes;

namespace {

struct Pair {
    uint64_t first = 0;
    uint64_t second = 0;
};

struct Limits {
    boost::mutex mutex;  // guards both pairs
    Pair limits;
    Pair override;
};

// Never destroyed, for the sake of those who allocate while the process ends.
Limits& TheLimits()
{
    static auto& limits = *new Limits;
    return limits;
}

int32_t Store(Pair Limits::*which, Pair pair)
{
    Limits& limits = TheLimits();
    boost::lock_guard<boost::mutex> lock(limits.mutex);
    limits.*which = pair;
    return 0;
}

int32_t Fetch(Pair Limits::*which, uint64_t* first, uint64_t* second)
{
    Limits& limits = TheLimits();
    boost::lock_guard<boost::mutex> lock(limits.mutex);
    if (first) *first = (limits.*which).first;
    if (second) *second = (limits.*which).second;
    return 0;
}

int64_t AddUpTo(int64_t a, int64_t b)
{
    int64_t sum = 0;
    return __builtin_add_overflow(a, b, &sum) ? std::numeric_limits<int64_t>::max() : sum;
}

}  // namespace

int64_t MEM_GetMemUsage(void)
{
    return AddUpTo(AddUpTo(MEMp_G_accountedBytes.Get(), MEMp_G_heapBytes.Get()), MEMp_G_systemBytes.Get());
}

int32_t MEM_AccountAllocation(int64_t delta)
{
    MEMp_G_accountedBytes.Add(delta);
    return 0;
}

int32_t MEM_AccountSystemAllocation(int64_t delta)
{
    MEMp_G_systemBytes.Add(delta);
    return 0;
}

int32_t MEM_SetMemUsageLimits(uint64_t first, uint64_t second)
{
    return Store(&Limits::limits, {first, second});
}

int32_t MEM_GetMemUsageLimits(uint64_t* first, uint64_t* second)
{
    return Fetch(&Limits::limits, first, second);
}

int32_t MEM_SetMemUsageLimitsOverride(uint64_t first, uint64_t second)
{
    return Store(&Limits::override, {first, second});
}

int32_t MEM_GetMemUsageLimitsOverride(uint64_t* first, uint64_t* second)
{
    return Fetch(&Limits::override, first, second);
}
