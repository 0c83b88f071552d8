// How much to purge follows from the figures alone, whatever their size; and how the figures are gathered.
#include <gtest/gtest.h>

#include "MemoryFixture.h"
#include "zvkcore/utility/System.h"

namespace {

using qltest::kGiB;
using qltest::kMiB;
using qltest::Machine;

struct Row {
    const char* name;
    Up_PurgeInputs in;  // includeRecycled, allowed, request, used, threshold, total, resident, recycled
    uint64_t amount;
};

constexpr uint64_t kMost = UINT64_MAX;
constexpr uint64_t kHalf = uint64_t{1} << 63;

class AmountToPurge : public testing::TestWithParam<Row> {};

TEST_P(AmountToPurge, FollowsFromTheFigures)
{
    EXPECT_EQ(Up_AmountToPurgeFrom(GetParam().in), GetParam().amount);
}

INSTANTIATE_TEST_SUITE_P(
    ByCounters, AmountToPurge,
    testing::Values(Row{"Below", {true, false, 10, 80, 100, 999, 999, 0}, 0},
                    Row{"ExactlyAt", {true, false, 20, 80, 100, 999, 999, 0}, 0},
                    Row{"OneOver", {true, false, 21, 80, 100, 999, 999, 0}, 1},
                    Row{"AllowedButNoTotal", {true, true, 30, 80, 100, 0, 50, 0}, 10},
                    Row{"NoTotalBesideThePool", {false, true, 30, 80, 100, 40, 50, 40}, 10},
                    Row{"PoolBeyondTotal", {false, true, 30, 80, 100, 40, 50, 41}, 10},
                    Row{"HugeThreshold", {true, false, kMost, 5, kHalf, 0, 0, 0}, kHalf + 4},
                    Row{"BeyondSixtyFourBits", {true, false, kMost, kMost, 1, 0, 0, 0}, kMost}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    ByTheSystem, AmountToPurge,
    testing::Values(
        // Resident at or above the threshold: the footprint does not count.
        Row{"ResidentAtThreshold", {true, true, 7, 0, 100, 5000, 100, 0}, 7},
        Row{"ResidentAbove", {true, true, 7, 0, 100, 5000, 130, 0}, 37},
        // Below it: the slack is what is left up to the threshold, or a quarter of the threshold.
        Row{"FootprintWithin", {true, true, 0, 900, 100, 100, 20, 0}, 0},
        Row{"FootprintOver", {true, true, 5, 0, 100, 120, 20, 0}, 25},
        Row{"QuarterGranted", {true, true, 5, 0, 100, 115, 95, 0}, 0},
        Row{"QuarterPassed", {true, true, 6, 0, 100, 115, 95, 0}, 1},
        // Without the pool it is taken off both figures; resident stops at zero.
        Row{"PoolTakenOff", {false, true, 5, 0, 100, 150, 50, 30}, 25},
        Row{"PoolBeyondResident", {false, true, 5, 0, 100, 150, 20, 30}, 25},
        Row{"PoolCounts", {true, true, 5, 0, 100, 150, 50, 30}, 55},
        Row{"HugeThresholdIsNoNegativeNumber", {true, true, 10, 0, kHalf, kMost, 100, 0}, kHalf - 1 + 10},
        Row{"HugeSlack", {true, true, 10, 0, kMost, kMost, kMost - 1, 0}, 0}),
    [](const auto& row) { return std::string(row.param.name); });

class Gathering : public qltest::Memory {
  protected:
    static Up_Amounts Ask(bool includeRecycled, uint64_t request)
    {
        return Up_AmountsFor(includeRecycled, request);
    }
};

TEST_F(Gathering, TakesOverrideThenLimitThenPhysicalMemory)
{
    const uint64_t former = zvkcore::utility::SetTotalPhysicalMemory(10 * kGiB);
    EXPECT_EQ(Ask(true, 0).threshold, 7'516'192'768u) << "70% of 10 GiB";
    unsigned long long first = 1;
    unsigned long long second = 1;
    EXPECT_EQ(U_GetMemUsageLimits(&first, &second), 0);
    EXPECT_EQ(first, 7'516'192'768u);
    EXPECT_EQ(second, 10 * kGiB);

    U_SetMemUsageLimits(kGiB, 2 * kGiB);
    EXPECT_EQ(Ask(true, 0).threshold, 2 * kGiB - kMiB);
    U_SetMemUsageLimitsOverride(5 * kGiB, 6 * kGiB);
    EXPECT_EQ(Ask(true, 0).threshold, 5 * kGiB);
    EXPECT_EQ(U_GetMemUsageLimits(&first, &second), 0);
    EXPECT_EQ(first, 5 * kGiB);
    EXPECT_EQ(second, 6 * kGiB);

    MEM_SetMemUsageLimitsOverride(0, 7 * kGiB);
    EXPECT_EQ(U_GetMemUsageLimits(nullptr, &second), 0);
    EXPECT_EQ(second, 7 * kGiB) << "each half of the override stands for itself";
    EXPECT_EQ(Ask(true, 0).threshold, 2 * kGiB - kMiB);
    zvkcore::utility::SetTotalPhysicalMemory(former);
}

TEST_F(Gathering, TrustsTheSystemOnlyWhenPurgingIsAllowed)
{
    Machine::resident = 3 * kGiB;
    Machine::footprint = 3 * kGiB;
    U_MemoryUsageAsPerOS::GetInstance().SyncToOS();
    SetRoom(static_cast<int64_t>(kMiB));
    EXPECT_EQ(Ask(true, 0).amount, 0u);
    EXPECT_EQ(Ask(true, 3 * kMiB).amount, 2 * kMiB);
    U_AllowPurging();
    EXPECT_EQ(Ask(true, 5).amount, 3 * kGiB + 5 - Ask(true, 0).threshold);
    EXPECT_EQ(U_AmountToPurge(), 3 * kGiB + 1 - Ask(true, 0).threshold);
}

TEST_F(Gathering, TracesAPoolLargerThanTheProcess)
{
    U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, 4 * kMiB));
    Machine::footprint = kMiB;
    U_MemoryUsageAsPerOS::GetInstance().SyncToOS();
    qltest::TraceLines lines;
    Ask(true, 0);
    EXPECT_TRUE(lines.With("spiked").empty());
    Ask(false, 0);
    const std::string pool = std::to_string(U_GetRecycledMemorySize());
    EXPECT_EQ(lines.With("spiked"),
              (std::vector<std::string>{"Recycler's free pool size(" + pool +
                                        ") spiked beyond approximate total memory usage(1048576)\n"}));
}

}  // namespace
