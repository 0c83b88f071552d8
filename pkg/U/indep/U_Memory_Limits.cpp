// The limits: how the host's pair is rounded into what is kept, and which pair is in force.
#include <algorithm>

#include "Up_Memory.h"
#include "Up_Saturate.h"
#include "zvkcore/utility/System.h"

namespace {

constexpr std::uint64_t kLowestFirst = std::uint64_t{4} << 30;
constexpr std::uint64_t kGapBelowSecond = std::uint64_t{1} << 20;

struct Limits {
    std::uint64_t first;
    std::uint64_t second;
};

// Wanted: the subtraction wraps for a second limit below the gap, and then the raised first one stands.
constexpr Limits Rounded(Limits limits)
{
    const std::uint64_t second = std::max(limits.second, limits.first);
    const std::uint64_t low = std::max(limits.first, kLowestFirst);
    return {std::min(low, second - kGapBelowSecond), second};
}

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;
static_assert(Rounded({kGiB, 2 * kGiB}).first == 2 * kGiB - kGapBelowSecond);
static_assert(Rounded({8 * kGiB, 4 * kGiB}).first == 8 * kGiB - kGapBelowSecond);
static_assert(Rounded({8 * kGiB, 4 * kGiB}).second == 8 * kGiB);
static_assert(Rounded({kGiB, 16 * kGiB}).first == 4 * kGiB);
static_assert(Rounded({0, 1}).first == 4 * kGiB);

}  // namespace

std::uint64_t Up_DefaultThreshold()
{
    return Up_FromDouble(static_cast<double>(zvkcore::utility::TotalPhysicalMemory()) * 0.7);
}

Err U_SetMemUsageLimits(unsigned long long first, unsigned long long second)
{
    const Limits limits = Rounded({first, second});
    return MEM_SetMemUsageLimits(limits.first, limits.second);
}

Err U_SetMemUsageLimitsOverride(unsigned long long first, unsigned long long second)
{
    const Limits limits = Rounded({first, second});
    return MEM_SetMemUsageLimitsOverride(limits.first, limits.second);
}

Err U_GetMemUsageLimits(unsigned long long* first, unsigned long long* second)
{
    Limits limits{};
    Limits override{};
    if (first) *first = 0;
    if (second) *second = 0;
    if (const Err error = MEM_GetMemUsageLimits(&limits.first, &limits.second)) return error;
    if (const Err error = MEM_GetMemUsageLimitsOverride(&override.first, &override.second)) return error;
    if (override.first != 0) limits.first = override.first;
    if (override.second != 0) limits.second = override.second;
    if (limits.first == 0) {
        limits.first = Up_DefaultThreshold();
        limits.second = Up_FromDouble(static_cast<double>(zvkcore::utility::TotalPhysicalMemory()));
    }
    if (first) *first = limits.first;
    if (second) *second = limits.second;
    return U_Err_NONE;
}
