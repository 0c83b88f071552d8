// Every allocation of a run fails in turn: the right code, the count where it was, nothing leaked. And many threads
// at once. Both end in counters that stand exactly where they began.
#include <gtest/gtest.h>

#include <barrier>
#include <cstring>
#include <thread>

#include "FailingAllocator.h"
#include "MemoryFixture.h"

namespace {

using qltest::kMiB;

// The library is born by the scenarios themselves here.
class Faults : public testing::Test {
  protected:
    void SetUp() override
    {
        Up_ResetMemoryForTests();
        qltest::Machine::Install();
    }
    void TearDown() override { qltest::Machine::Remove(); }
};

TEST_F(Faults, LeaveTheSubsystemUnborn)
{
    const long long atStart = U_GetMemUsage();
    for (uint64_t nth = 1;; ++nth) {
        const int64_t alive = qltest::LiveAllocations();
        qltest::FailingAllocator failing(nth);
        const Err error = Up_InitializeMemorySubsystem();
        if (failing.Failed() == 0) {
            EXPECT_EQ(error, 0);
            EXPECT_GE(nth, 3u) << "the entry of the list, the heap, and what a process makes at its first birth";
            break;
        }
        if (error == 0) break;  // what failed was a trace line, which is lost and takes nothing along
        EXPECT_EQ(error, 4);
        EXPECT_EQ(U_GetMemUsage(), atStart);
        EXPECT_EQ(qltest::LiveAllocations(), alive);
    }
    EXPECT_EQ(Up_TerminateMemorySubsystem(), 0);
    EXPECT_EQ(U_GetMemUsage() - atStart, 8);
}

class FaultsOfALife : public qltest::Memory {};

// One of each kind, with a host that is asked to purge: all of it comes back, whatever fails.
bool AllocateOneOfEach()
{
    void* small = U_AllocatePtr(1, "small", 100);
    void* large = U_AllocatePtrClear(1, "large", 100000);
    char** handle = U_AllocateHandle(1, "handle", 50000);
    char** empty = U_AllocateHandleQuiet(0);
    void* recycled = nullptr;
    try {
        recycled = U_AllocateRecycledPtr(1, "recycled", 300000);
    } catch (const std::bad_alloc&) {
        recycled = nullptr;
    }
    char** copy = nullptr;
    const Err duplicated = handle ? U_DuplicateHandle(handle, "copy", &copy) : 4;
    void* resized = small;
    const Err grown = small ? U_ResizePtr(1, 40000, "resized", &resized) : 4;
    if (small && grown != 0) resized = small;  // nulled by the failure, while the block stands
    const bool all = small && large && handle && empty && recycled && duplicated == 0 && grown == 0;
    U_FreePtr(resized);
    U_FreePtr(large);
    U_FreeHandle(handle);
    U_FreeHandle(empty);
    U_FreeHandle(copy);
    U_FreeRecycledPtr(recycled);
    return all;
}

TEST_F(FaultsOfALife, LeaveTheCountWhereItWas)
{
    for (const bool async : {false, true}) {
        SetAsync(async);
        SetRoom(-1);
        OnPurge([](uint64_t, uint64_t, bool*) {
            U_FreePtr(U_AllocatePtrQuiet(70000));
            return 0;
        });
        const long long atStart = U_GetMemUsage();
        for (const auto mode : {qltest::FailingAllocator::kOnce, qltest::FailingAllocator::kFromThereOn}) {
            qltest::EveryAllocationFails(
                [&] {
                    // The pool would serve the second run without an allocation.
                    U_PurgeRecycledMemory(UINT64_MAX);
                    const bool all = AllocateOneOfEach();
                    Forget();
                    return all;
                },
                mode);
            EXPECT_EQ(U_GetMemUsage(), atStart);
            EXPECT_EQ(Up_GetAccountFrameSize(), 0);
        }
    }
}

TEST_F(FaultsOfALife, HogsAndManagersSurvive)
{
    const auto manager = zvkcore::utility::Guid::CreateRandom();
    qltest::EveryAllocationFails([&] {
        uint32_t hog = 0;
        Forget();
        const Err added = U_AddHog("a name that does not fit into a small string object", &hog);
        if (added != 0) {
            Forget();
            return false;
        }
        U_AccountHog(hog, 10);
        U_AccountHog(hog, -10);
        U_RemoveHog(hog);
        U_InstallExternalMemoryManager(manager, [] { return 1ul; });
        U_UnInstallExternalMemoryManager(manager);
        return true;
    });
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 0u);
    U_UnInstallExternalMemoryManager(manager);
}

// Eight threads allocate each kind under a limit that all of them pass, hand blocks to their neighbours, fail
// and report; the host purges and signals meanwhile. The counters end exactly where they began.
class Contention : public qltest::Memory {};

TEST_F(Contention, EndsWhereItBegan)
{
    constexpr int kThreads = 8;
    constexpr int kRounds = 40;
    SetRoom(-static_cast<int64_t>(kMiB));
    U_AllowPurging();
    std::atomic<long long> cache{static_cast<long long>(64 * kMiB)};
    U_AccountAllocation(cache);
    OnPurge([&](uint64_t, uint64_t amount, bool* purgeRecycled) {
        // Gives what is there, at most what is asked, each byte once.
        long long seen = cache;
        long long taken = 0;
        do {
            taken = std::min<long long>(seen, static_cast<long long>(std::min<uint64_t>(amount, kMiB)));
        } while (!cache.compare_exchange_weak(seen, seen - taken));
        U_AccountAllocation(-taken);
        *purgeRecycled = seen == taken;
        return 0;
    });
    std::atomic<int> signals{0};
    U_SetAsyncPurgeRequestCallback([&] { ++signals; });
    const long long atStart = U_GetMemUsage() - cache;
    const auto manager = zvkcore::utility::Guid::CreateRandom();

    std::vector<void*> blocks(kThreads);
    std::vector<void*> frames(kThreads);
    std::barrier meet(kThreads);
    std::vector<std::thread> threads;
    for (int me = 0; me < kThreads; ++me) {
        threads.emplace_back([&, me] {
            for (int round = 0; round < kRounds; ++round) {
                if (me == 0) SetAsync(round % 2 == 1);
                if (me == 1) U_InstallExternalMemoryManager(manager, [round] { return round * 1000ul; });
                if (me == 2) U_MemoryUsageAsPerOS::GetInstance().SyncToOS();
                if (me == 3) qltest::Machine::Pass(1500);
                meet.arrive_and_wait();
                blocks[me] = U_AllocatePtrClear(1, "block", static_cast<uint64_t>(20000 * (me + 1)));
                frames[me] = U_AllocateRecycledPtr(1, "frame", 100000);
                char** handle = U_AllocateHandleQuiet(static_cast<uint64_t>(9000 * (me + 1)));
                U_AccountFrameAllocation(me);
                if (round % 10 == 0) {
                    EXPECT_EQ(U_AllocatePtr(1, "too large", uint64_t{1} << 31), nullptr);
                }
                bool exceeded = false;
                U_CheckRAMPurgeLimit(&exceeded, 1000, nullptr, true);
                U_ResizeHandle(1, 60000, "handle", &handle);
                meet.arrive_and_wait();
                const int neighbour = (me + 1) % kThreads;
                EXPECT_NE(blocks[neighbour], nullptr);
                U_FreePtr(blocks[neighbour]);
                U_FreeRecycledPtr(frames[neighbour]);
                U_FreeHandle(handle);
                U_AccountFrameAllocation(-me);
            }
        });
    }
    for (auto& thread : threads) thread.join();
    U_UnInstallExternalMemoryManager(manager);
    EXPECT_EQ(U_GetMemUsage() - cache, atStart);
    EXPECT_EQ(Up_GetAccountFrameSize(), 0);
    EXPECT_GT(signals, 0);
    U_AccountAllocation(-cache);
}

}  // namespace
