// Every allocation of a run fails in turn: the right code, the count where it was, nothing leaked. And many threads
// at once. Both end in counters that stand exactly where they began.
#include <gtest/gtest.h>

#include <barrier>

#include "Contend.h"
#include "FailingAllocator.h"
#include "MemoryFixture.h"

namespace {

using qltest::kMiB;
using zvkcore::utility::Guid;

using Faults = qltest::Memory;

TEST(FaultsOfABirth, LeaveTheSubsystemUnborn)
{
    const long long atStart = U_GetMemUsage();
    uint64_t nth = 0;
    for (Err error = 4; error == 4;) {
        const int64_t alive = qltest::LiveAllocations();
        qltest::FailingAllocator failing(++nth);
        error = Up_InitializeMemorySubsystem();
        if (error == 0) break;
        EXPECT_EQ(error, 4);
        EXPECT_EQ(U_GetMemUsage(), atStart);
        EXPECT_EQ(qltest::LiveAllocations(), alive);
    }
    EXPECT_GE(nth, 3u) << "the entry of the list and the heap";
    EXPECT_EQ(Up_TerminateMemorySubsystem(), 0);
    EXPECT_EQ(U_GetMemUsage() - atStart, 8);
}

// One of each kind, with a host that is asked to purge: all of it comes back, whatever fails.
bool AllocateOneOfEach(const Guid& manager)
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
    uint32_t hog = 0;
    const Err added = U_AddHog("a name that does not fit into a small string object", &hog);
    if (added == 0) U_RemoveHog(hog);
    U_FreePtr(resized);
    U_FreePtr(large);
    U_FreeHandle(handle);
    U_FreeHandle(empty);
    U_FreeHandle(copy);
    U_FreeRecycledPtr(recycled);
    if (!small || !large || !handle || !empty || !recycled || duplicated || grown || added) return false;
    U_InstallExternalMemoryManager(manager, [] { return 1ul; });
    U_UnInstallExternalMemoryManager(manager);
    return true;
}

TEST_F(Faults, LeaveTheCountWhereItWas)
{
    const Guid manager = Guid::CreateRandom();
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
                    U_PurgeRecycledMemory(UINT64_MAX);  // the pool would serve the second run
                    Forget();
                    return AllocateOneOfEach(manager);
                },
                mode);
            EXPECT_EQ(U_GetMemUsage(), atStart);
            EXPECT_EQ(Up_GetAccountFrameSize(), 0);
            EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 0u);
        }
    }
}

// Eight threads allocate each kind under a limit that all of them pass, hand blocks to their neighbours, fail
// and report; the host purges and signals meanwhile. The counters end exactly where they began.
TEST_F(Faults, OfManyThreadsEndWhereTheyBegan)
{
    constexpr int kThreads = 8;
    SetRoom(-kMiB);
    U_AllowPurging();
    std::atomic<long long> cache{64 * kMiB};
    U_AccountAllocation(cache);
    OnPurge([&](uint64_t, uint64_t amount, bool* purgeRecycled) {
        // Gives what is there, at most what is asked, each byte once.
        long long seen = cache;
        long long taken = 0;
        do {
            taken = std::min<long long>(seen, std::min(amount, kMiB));
        } while (!cache.compare_exchange_weak(seen, seen - taken));
        U_AccountAllocation(-taken);
        *purgeRecycled = seen == taken;
        return 0;
    });
    std::atomic<int> signals{0};
    U_SetAsyncPurgeRequestCallback([&] { ++signals; });
    const long long atStart = U_GetMemUsage() - cache;
    const Guid manager = Guid::CreateRandom();

    void* blocks[kThreads];
    void* frames[kThreads];
    std::barrier meet(kThreads);
    zvktest::Contend(kThreads, [&](int me) {
        for (int round = 0; round < 40; ++round) {
            if (me == 0) SetAsync(round % 2 == 1);
            if (me == 1) U_InstallExternalMemoryManager(manager, [round] { return round * 1000ul; });
            if (me == 2) U_MemoryUsageAsPerOS::GetInstance().SyncToOS();
            if (me == 3) qltest::Machine::Pass(1500);
            meet.arrive_and_wait();
            blocks[me] = U_AllocatePtrClear(1, "block", 20000 * (me + 1));
            frames[me] = U_AllocateRecycledPtr(1, "frame", 100000);
            char** handle = U_AllocateHandleQuiet(9000 * (me + 1));
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
        }
    });
    U_UnInstallExternalMemoryManager(manager);
    EXPECT_EQ(U_GetMemUsage() - cache, atStart);
    EXPECT_EQ(Up_GetAccountFrameSize(), 0);
    EXPECT_GT(signals, 0);
    U_AccountAllocation(-cache);
}

}  // namespace
