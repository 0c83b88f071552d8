// How much to purge follows from the figures alone, whatever their size; and how the figures are gathered.
#include <gtest/gtest.h>

#include "MemoryFixture.h"
#include "zvkcore/utility/System.h"

namespace {

using qltest::kGiB;
using qltest::kMiB;
using qltest::Machine;

TEST(AmountToPurge, FollowsFromTheFigures)
{
    constexpr uint64_t kMost = UINT64_MAX;
    constexpr uint64_t kHalf = uint64_t{1} << 63;
    struct Row {
        const char* name;
        Up_PurgeInputs in;  // includeRecycled, allowed, request, used, threshold, total, resident, recycled
        uint64_t amount;
    };
    const Row rows[] = {
        // By the count.
        {"ExactlyAt", {true, false, 20, 80, 100, 999, 999, 0}, 0},
        {"OneOver", {true, false, 21, 80, 100, 999, 999, 0}, 1},
        {"AllowedButNoTotal", {true, true, 30, 80, 100, 0, 50, 0}, 10},
        {"NoTotalBesideThePool", {false, true, 30, 80, 100, 40, 50, 40}, 10},
        {"PoolBeyondTotal", {false, true, 30, 80, 100, 40, 50, 41}, 10},
        {"HugeThreshold", {true, false, kMost, 5, kHalf, 0, 0, 0}, kHalf + 4},
        {"BeyondSixtyFourBits", {true, false, kMost, kMost, 1, 0, 0, 0}, kMost},
        // By the system. Resident at or above the threshold: the footprint does not count.
        {"ResidentAtThreshold", {true, true, 7, 0, 100, 5000, 100, 0}, 7},
        {"ResidentAbove", {true, true, 7, 0, 100, 5000, 130, 0}, 37},
        // Below it: the slack is what is left up to the threshold, or a quarter of the threshold.
        {"FootprintWithin", {true, true, 0, 900, 100, 100, 20, 0}, 0},
        {"FootprintOver", {true, true, 5, 0, 100, 120, 20, 0}, 25},
        {"QuarterGranted", {true, true, 5, 0, 100, 115, 95, 0}, 0},
        {"QuarterPassed", {true, true, 6, 0, 100, 115, 95, 0}, 1},
        // Without the pool it is taken off both figures; resident stops at zero.
        {"PoolTakenOff", {false, true, 5, 0, 100, 150, 50, 30}, 25},
        {"PoolBeyondResident", {false, true, 5, 0, 100, 150, 20, 30}, 25},
        {"PoolCounts", {true, true, 5, 0, 100, 150, 50, 30}, 55},
        {"HugeThresholdIsNoNegativeNumber", {true, true, 10, 0, kHalf, kMost, 100, 0}, kHalf - 1 + 10},
        {"HugeSlack", {true, true, 10, 0, kMost, kMost, kMost - 1, 0}, 0},
    };
    for (const Row& row : rows) EXPECT_EQ(Up_AmountToPurgeFrom(row.in), row.amount) << row.name;
}

using Gathering = qltest::Memory;

TEST_F(Gathering, TakesOverrideThenLimitThenPhysicalMemory)
{
    const uint64_t former = zvkcore::utility::SetTotalPhysicalMemory(10 * kGiB);
    const auto expect = [](uint64_t first, uint64_t second) {
        unsigned long long seen[2] = {1, 1};
        EXPECT_EQ(U_GetMemUsageLimits(&seen[0], &seen[1]), 0);
        EXPECT_EQ(seen[0], first);
        EXPECT_EQ(seen[1], second);
        EXPECT_EQ(Up_AmountsFor(true, 0).threshold, first);
    };
    expect(7'516'192'768, 10 * kGiB);  // 70% and all of it
    U_SetMemUsageLimits(kGiB, 2 * kGiB);
    expect(2 * kGiB - kMiB, 2 * kGiB);
    U_SetMemUsageLimitsOverride(5 * kGiB, 6 * kGiB);
    expect(5 * kGiB, 6 * kGiB);
    MEM_SetMemUsageLimitsOverride(0, 7 * kGiB);
    expect(2 * kGiB - kMiB, 7 * kGiB);  // each half of the override stands for itself
    zvkcore::utility::SetTotalPhysicalMemory(former);
}

TEST_F(Gathering, TrustsTheSystemOnlyWhenPurgingIsAllowed)
{
    Machine::resident = Machine::footprint = 3 * kGiB;
    U_MemoryUsageAsPerOS::GetInstance().SyncToOS();
    SetRoom(kMiB);
    EXPECT_EQ(Up_AmountsFor(true, 3 * kMiB).amount, 2 * kMiB);
    U_AllowPurging();
    EXPECT_EQ(Up_AmountsFor(true, 5).amount, 3 * kGiB + 5 - Up_AmountsFor(true, 0).threshold);
    EXPECT_EQ(U_AmountToPurge(), 3 * kGiB + 1 - Up_AmountsFor(true, 0).threshold);
}

TEST_F(Gathering, TracesAPoolLargerThanTheProcess)
{
    const std::string pool = std::to_string(FillPool(4 * kMiB));
    Machine::footprint = kMiB;
    U_MemoryUsageAsPerOS::GetInstance().SyncToOS();
    qltest::TraceLines lines;
    Up_AmountsFor(true, 0);
    EXPECT_TRUE(lines.With("Recycler").empty());
    Up_AmountsFor(false, 0);
    EXPECT_EQ(lines.With("Recycler"),
              (std::vector<std::string>{"Recycler's free pool size(" + pool +
                                        ") spiked beyond approximate total memory usage(1048576)"}));
}

}  // namespace
