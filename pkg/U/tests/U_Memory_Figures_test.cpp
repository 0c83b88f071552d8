// Figures of the system are asked for seldom, moved by the library's own count in between, and replaced by it
// one by one where the machine does not tell; statistics follow from them.
#include <gtest/gtest.h>

#include "MemoryFixture.h"
#include "zvkcore/debug/DebugDatabase.h"

namespace {

using qltest::kGiB;
using qltest::kMiB;
using qltest::Machine;
using zvkcore::utility::Guid;

class Figures : public qltest::Memory {
  protected:
    U_MemoryUsageAsPerOS& m_system = U_MemoryUsageAsPerOS::GetInstance();

    static uint64_t Stat(U_MemStat stat)
    {
        unsigned long long value = 1;
        EXPECT_EQ(U_GetMemoryStat(stat, &value), 0);
        return value;
    }
};

TEST_F(Figures, AreAskedForOnceAPeriodAndMovedInBetween)
{
    Machine::resident = kGiB;
    Machine::footprint = 2 * kGiB;
    m_system.SyncToOS();
    const int asked = Machine::asked;
    Machine::resident = 5 * kGiB;
    U_AccountAllocation(kMiB);
    EXPECT_EQ(m_system.GetApproximateResident(), kGiB + kMiB);
    U_AccountAllocation(-3 * kMiB);
    EXPECT_EQ(m_system.GetApproximateTotal(), 2 * kGiB - 2 * kMiB);
    Machine::Pass(2000);
    EXPECT_EQ(m_system.GetApproximateResident(), kGiB - 2 * kMiB) << "exactly a period is not more than one";
    EXPECT_EQ(Machine::asked, asked);

    Machine::Pass(1);
    EXPECT_EQ(m_system.GetApproximateResident(), 5 * kGiB);
    EXPECT_EQ(m_system.GetApproximateTotal(), 2 * kGiB);
    EXPECT_EQ(Machine::asked, asked + 1);
    EXPECT_EQ(m_system.GetCurrentResident(), 5 * kGiB);
    EXPECT_EQ(Machine::asked, asked + 2) << "the current figure is asked for each time";

    Machine::resident = 700;
    m_system.SyncToOS();
    U_AccountAllocation(-kMiB);
    EXPECT_EQ(m_system.GetApproximateResident(), 700u) << "asked again, as the estimate falls below zero";
    EXPECT_EQ(Machine::asked, asked + 4);
    U_AccountAllocation(3 * kMiB);
}

TEST_F(Figures, FallBackToTheCountOneByOne)
{
    Machine::resident = 77;
    Machine::tellsFootprint = false;
    EXPECT_EQ(m_system.GetCurrentResident(), 77u);
    EXPECT_EQ(m_system.GetCurrentTotal(), static_cast<uint64_t>(U_GetMemUsage()));
    Machine::tellsFootprint = true;
    Machine::tellsProcess = false;
    EXPECT_EQ(m_system.GetCurrentResident(), static_cast<uint64_t>(U_GetMemUsage()));
    EXPECT_EQ(m_system.GetCurrentTotal(), 0u);
}

TEST_F(Figures, GiveTheStatistics)
{
    const auto counted = static_cast<uint64_t>(U_GetMemUsage());
    const Guid manager = Guid::CreateRandom();
    U_InstallExternalMemoryManager(manager, [] { return 1000ul; });
    const uint64_t pool = FillPool(4 * kMiB);
    U_AccountFrameAllocation(5000);
    const uint64_t inUse = counted + 1000 + 5000;
    MEM_SetMemUsageLimits(inUse + pool + 7, inUse + pool + 9);
    Machine::resident = 6 * kMiB + pool;
    Machine::footprint = 9 * kMiB + pool;
    m_system.SyncToOS();

    struct Row {
        U_MemStat stat;
        uint64_t value;
    };
    for (const Row& row :
         {Row{0, inUse + pool}, Row{1, inUse + pool}, Row{2, 7}, Row{3, 9}, Row{4, 3'221'224'704},
          Row{5, pool + 7}, Row{6, counted + 5000}, Row{7, inUse + pool - 5000}, Row{8, 6 * kMiB + pool},
          Row{9, 9 * kMiB + pool}, Row{10, 0}, Row{UINT32_MAX, 0}}) {
        EXPECT_EQ(Stat(row.stat), row.value) << "statistic " << row.stat;
    }
    unsigned long long value = 1;
    EXPECT_EQ(Up_GetMemoryStat(5, &value, true), 0);
    EXPECT_EQ(value, 0u);
    EXPECT_EQ(Up_GetMemoryStat(8, &value, false), 0);
    EXPECT_EQ(value, 6 * kMiB);
    MEM_SetMemUsageLimits(1, 1);
    EXPECT_EQ(Stat(2) + Stat(3), 0u);
    EXPECT_EQ(U_GetMemoryStat(0, nullptr), 3);
    U_AccountFrameAllocation(-5000);
    U_UnInstallExternalMemoryManager(manager);
}

TEST_F(Figures, ManagersMayChangeTheListWhileTheyAreAsked)
{
    const Guid first = Guid::CreateRandom();
    const Guid second = Guid::CreateRandom();
    U_InstallExternalMemoryManager(first, [=] {
        U_UnInstallExternalMemoryManager(first);
        U_FreePtr(U_AllocatePtrQuiet(100000));  // asks for use in turn
        return 5ul;
    });
    U_InstallExternalMemoryManager(second, [] { return 7ul; });
    U_InstallExternalMemoryManager(second, [] { return 30ul; });
    EXPECT_GE(U_GetSizeOfExternalMemoryManagers(), 5u);
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 30u);
    U_InstallExternalMemoryManager(first, []() -> unsigned long { throw 42; });
    unsigned long long value = 0;
    EXPECT_EQ(U_GetMemoryStat(0, &value), 42);
    for (const Guid& manager : {first, second, second}) U_UnInstallExternalMemoryManager(manager);
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 0u);
}

// Under "MemoryAccountDirect2" the system says what is in use. The key is read once a process.
class DirectFigures : public Figures {
  protected:
    void SetUp() override
    {
        zvkcore::debug::DebugDatabase::Instance().SetEntry("MemoryAccountDirect2", true);
        Figures::SetUp();
        zvkcore::debug::DebugDatabase::Instance().RemoveEntry("MemoryAccountDirect2");
        Machine::virtualBytes = 9 * kGiB;
        Machine::resident = 2 * kGiB;
    }

    void TearDown() override
    {
        Figures::TearDown();
        Up_ResetMemoryForTests();
    }
};

TEST_F(DirectFigures, OfNothingInUseEndAPurgeThatFreesNothing)
{
    Machine::resident = 0;
    MEM_SetMemUsageLimits(kMiB, 2 * kMiB);
    OnPurge([calls = 0](uint64_t, uint64_t, bool*) mutable {
        EXPECT_EQ(++calls, 1);
        return calls < 100 ? 0 : 1;
    });
    Up_MakeRoomForBlock(4 * kMiB, false);
}

TEST_F(DirectFigures, StandForUseAndFollowTheVirtualSizeOnceAdjusted)
{
    EXPECT_EQ(Stat(0), 2 * kGiB);
    Machine::tellsProcess = false;
    EXPECT_EQ(Stat(0), static_cast<uint64_t>(U_GetMemUsage()));
    EXPECT_EQ(Up_TerminateMemorySubsystem(), 0);
    EXPECT_EQ(Up_InitializeMemorySubsystem(), 0);
    ++m_births;
    Machine::tellsProcess = true;
    EXPECT_EQ(Stat(0), 2 * kGiB) << "a later birth does not read the key again";

    U_EvaluateMemoryInUseAdjustment();
    EXPECT_EQ(Stat(0), 2 * kGiB);
    Machine::virtualBytes = 10 * kGiB;
    EXPECT_EQ(Stat(0), 3 * kGiB);
    Machine::virtualBytes = 6 * kGiB;
    EXPECT_EQ(Stat(0), 2 * kGiB) << "a negative sum gives way to the resident size";
    U_ClearMemoryInUseAdjustment();
    Machine::virtualBytes = 10 * kGiB;
    EXPECT_EQ(Stat(0), 2 * kGiB);
}

// The platform's own probe, on the machine that runs the test.
TEST(PlatformFigures, ArePlausible)
{
    uint64_t virtualBytes = 0, resident = 0, footprint = 0;
    ASSERT_TRUE(Up_G_platformProbe.process(nullptr, &virtualBytes, &resident));
    ASSERT_TRUE(Up_G_platformProbe.footprint(nullptr, &footprint));
    EXPECT_GT(resident, 100u << 10);
    EXPECT_GT(virtualBytes, resident);
    EXPECT_GT(footprint, resident / 2);
    long long freeBytes = 0, inactiveBytes = -1;
    EXPECT_EQ(U_GetFreeMemoryPoolSizes(freeBytes, inactiveBytes), 0);
    EXPECT_GT(freeBytes, 0);
    EXPECT_GE(inactiveBytes, 0);

    U_MemoryProbe mute{}, former{};
    EXPECT_EQ(U_SetMemoryProbe(&mute, nullptr), 3) << "a record without its size";
    mute.recordSize = sizeof mute.recordSize;
    EXPECT_EQ(U_SetMemoryProbe(&mute, nullptr), 0) << "a short record lacks the rest";
    EXPECT_EQ(U_GetFreeMemoryPoolSizes(freeBytes, inactiveBytes), 1);
    EXPECT_EQ(freeBytes, 0);
    EXPECT_EQ(U_SetMemoryProbe(nullptr, &former), 0);
    EXPECT_EQ(former.recordSize, sizeof mute.recordSize);
}

}  // namespace
