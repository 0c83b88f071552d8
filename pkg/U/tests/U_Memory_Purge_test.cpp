// The limit test and the purge loop with its end conditions, in both ways of purging, and hosts that misbehave.
#include <gtest/gtest.h>

#include <stdexcept>

#include "MemoryFixture.h"

namespace {

using qltest::kGiB;
using qltest::kMiB;
using qltest::Machine;
using qltest::TraceLines;

class Purging : public qltest::Memory {
  protected:
    struct Asked {
        uint64_t request;
        uint64_t amount;
        bool operator==(const Asked&) const = default;
    };

    void SetUp() override
    {
        Memory::SetUp();
        U_AccountAllocation(static_cast<long long>(m_cache));
    }

    void TearDown() override
    {
        U_AccountAllocation(-static_cast<long long>(m_cache));
        Memory::TearDown();
    }

    // A host whose cache gives `step` bytes a purge while it lasts.
    void HostFrees(uint64_t step)
    {
        OnPurge([this, step](uint64_t request, uint64_t amount, bool* purgeRecycled) {
            m_asked.push_back({request, amount});
            const uint64_t freed = std::min(step, m_cache);
            m_cache -= freed;
            U_AccountAllocation(-static_cast<long long>(freed));
            if (m_cache == 0 && m_givesUpPool) *purgeRecycled = true;
            return m_answer;
        });
    }

    // Leaves about `bytes` in the recycler's pool.
    static void FillPool(uint64_t bytes) { U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, bytes)); }

    uint64_t m_cache = 10 * kMiB;
    bool m_givesUpPool = false;
    int m_answer = 0;
    std::vector<Asked> m_asked;
};

constexpr const char* kTag = "MAKE_ROOM_FOR_BLOCK";

TEST_F(Purging, EndsUnderTheThreshold)
{
    HostFrees(2 * kMiB);
    SetRoom(0);
    TraceLines lines;
    Up_MakeRoomForBlock(5 * kMiB, true);
    EXPECT_EQ(m_asked, (std::vector<Asked>{{5 * kMiB, 5 * kMiB}, {5 * kMiB, 3 * kMiB}, {5 * kMiB, kMiB}}));
    const auto traced = lines.With(kTag);
    ASSERT_EQ(traced.size(), 4u);
    EXPECT_EQ(traced[0],
              "MAKE_ROOM_FOR_BLOCK Issuing Purge Request\tblock_request:\t5242880\tamt_to_purge:\t5242880\n");
    EXPECT_EQ(traced[3].find("MAKE_ROOM_FOR_BLOCK DONE. Under threshold with inUse="), 0u);
    EXPECT_NE(traced[3].find("request=5242880, recycled=1\n"), std::string::npos);
}

TEST_F(Purging, EndsWhenAPurgeFreesNothing)
{
    HostFrees(0);
    SetRoom(0);
    TraceLines lines;
    Up_MakeRoomForBlock(kMiB, false);
    EXPECT_EQ(m_asked.size(), 1u);
    EXPECT_EQ(
        lines.With(kTag).back(),
        "MAKE_ROOM_FOR_BLOCK DONE. Purge not freeing anything (but maybe recycled memory), recycled=0\n");
    m_givesUpPool = true;
    m_cache = 0;
    Up_MakeRoomForBlock(kMiB, true);
    EXPECT_EQ(
        lines.With(kTag).back(),
        "MAKE_ROOM_FOR_BLOCK DONE. Purge not freeing anything (but maybe recycled memory), recycled=1\n");
    m_cache = 10 * kMiB;
}

TEST_F(Purging, EndsWhenTheHostSaysSo)
{
    HostFrees(kMiB);
    m_answer = 5;
    SetRoom(0);
    Up_MakeRoomForBlock(4 * kMiB, false);
    EXPECT_EQ(m_asked.size(), 1u);
}

TEST_F(Purging, TakesThePoolWhenTheHostHasGivenItUp)
{
    FillPool(8 * kMiB);
    m_givesUpPool = true;
    HostFrees(10 * kMiB);
    const auto pool = static_cast<int64_t>(U_GetRecycledMemorySize());
    SetRoom(pool);  // the pool counts as used, so the limit is reached exactly
    TraceLines lines;
    // The cache goes in the first round. The second round asks again, frees nothing, and leaves the rest to the
    // pool, whose blocks go whole.
    Up_MakeRoomForBlock(12 * kMiB, false);
    EXPECT_EQ(m_asked, (std::vector<Asked>{{12 * kMiB, 12 * kMiB}, {12 * kMiB, 2 * kMiB}}));
    EXPECT_EQ(U_GetRecycledMemorySize(), 0u);
    EXPECT_NE(lines.With(kTag).back().find("DONE. Under threshold"), std::string::npos);

    m_asked.clear();
    Up_MakeRoomForBlock(kGiB, false);
    EXPECT_EQ(m_asked.size(), 1u);
    EXPECT_EQ(lines.With(kTag).back(), "MAKE_ROOM_FOR_BLOCK DONE. Purge recycled not freeing anything\n");
}

TEST_F(Purging, AimsPastTheRequest)
{
    HostFrees(0);
    SetRoom(static_cast<int64_t>(kMiB) - 1);
    const auto threshold = static_cast<double>(U_GetMemUsage() + static_cast<int64_t>(kMiB) - 1);
    unsigned char ok = 0;
    EXPECT_EQ(Up_OkayToAllocBlock(kMiB - 1, &ok, false), 0);
    EXPECT_EQ(ok, 1);
    EXPECT_TRUE(m_asked.empty()) << "exactly at the limit";
    EXPECT_EQ(Up_OkayToAllocBlock(kMiB, &ok, false), 0);
    EXPECT_EQ(ok, 1) << "never refused for its size";
    const auto target = static_cast<uint64_t>(static_cast<double>(kMiB) + 0.02 * threshold);
    EXPECT_EQ(m_asked, (std::vector<Asked>{{target, target - kMiB + 1}}));
    EXPECT_EQ(Up_OkayToAllocBlock(UINT64_MAX, &ok, false), 0);
    EXPECT_EQ(m_asked.back().request, UINT64_MAX);
}

TEST_F(Purging, LooksAtThePoolForARecycledBlock)
{
    FillPool(4 * kMiB);
    const uint64_t pool = U_GetRecycledMemorySize();
    HostFrees(0);
    // Without the pool there is room for the block; with it the limit is passed by a megabyte.
    SetRoom(static_cast<int64_t>(pool - kMiB));
    TraceLines lines;
    unsigned char ok = 0;
    EXPECT_EQ(Up_OkayToAllocBlock(2 * kMiB, &ok, true), 0);
    EXPECT_EQ(ok, 1);
    ASSERT_EQ(lines.With("amoutToPurge=1048576").size(), 1u);
    EXPECT_TRUE(m_asked.empty()) << "below the limit without the pool, the host is not asked";
    EXPECT_LT(U_GetRecycledMemorySize(), pool) << "the pool gives what is over the limit";

    // A pool that is smaller than what is over the limit: the host is asked for it instead.
    FillPool(kMiB);
    U_PurgeRecycledMemory(UINT64_MAX);
    FillPool(kMiB);
    const uint64_t small = U_GetRecycledMemorySize();
    SetRoom(-static_cast<int64_t>(kMiB));
    EXPECT_EQ(Up_OkayToAllocBlock(0, &ok, true), 0);
    EXPECT_FALSE(m_asked.empty());
    EXPECT_EQ(U_GetRecycledMemorySize(), small);
}

TEST_F(Purging, IsSuspendedByCount)
{
    HostFrees(0);
    SetRoom(-1);
    {
        U_ScDisableProactivePrePurging outer;
        {
            U_ScDisableProactivePrePurging inner;
        }
        U_FreePtr(U_AllocatePtrQuiet(kMiB));
        EXPECT_TRUE(m_asked.empty());
        Up_MakeRoomForBlock(kMiB, false);
        EXPECT_EQ(m_asked.size(), 1u) << "only the limit test looks at it";
        SetAsync(true);
        int signals = 0;
        U_SetAsyncPurgeRequestCallback([&] { ++signals; });
        U_FreePtr(U_AllocatePtrQuiet(kMiB));
        EXPECT_EQ(signals, 0);
        U_SetAsyncPurgeRequestCallback({});
        SetAsync(false);
    }
    U_FreePtr(U_AllocatePtrQuiet(kMiB));
    EXPECT_EQ(m_asked.size(), 2u);
}

TEST_F(Purging, SurvivesHostsThatThrow)
{
    SetRoom(-1);
    for (int kind = 0; kind < 2; ++kind) {
        int calls = 0;
        OnPurge([&](uint64_t, uint64_t, bool*) -> int {
            ++calls;
            if (kind == 0) throw 9;
            throw std::bad_alloc();
        });
        for (int round = 1; round <= 2; ++round) {
            void* block = U_AllocatePtr(1, "frame", kMiB);
            EXPECT_NE(block, nullptr);
            U_FreePtr(block);
            EXPECT_EQ(calls, round) << "a purge that threw does not bar the next";
        }
        SetAsync(true);
        U_SetAsyncPurgeRequestCallback([&] {
            ++calls;
            throw 9;
        });
        U_FreePtr(U_AllocatePtr(1, "frame", kMiB));
        U_FreePtr(U_AllocatePtr(1, "frame", kMiB));
        EXPECT_EQ(calls, 4);
        SetAsync(false);
    }
    EXPECT_TRUE(Reports().empty());
}

TEST_F(Purging, DoesNotRecurse)
{
    SetRoom(-1);
    int calls = 0;
    OnPurge([&](uint64_t, uint64_t, bool*) {
        ++calls;
        void* block = U_AllocatePtr(1, "inside", kMiB);
        EXPECT_NE(block, nullptr);
        U_FreePtr(block);
        bool exceeded = false;
        EXPECT_EQ(U_CheckRAMPurgeLimit(&exceeded, kMiB, nullptr, true), 0);
        EXPECT_TRUE(exceeded);
        return 0;
    });
    U_FreePtr(U_AllocatePtr(1, "outside", kMiB));
    EXPECT_EQ(calls, 1);

    SetAsync(true);
    int signals = 0;
    U_SetAsyncPurgeRequestCallback([&] {
        ++signals;
        U_FreePtr(U_AllocatePtr(1, "inside", kMiB));
        U_MakeAsyncPurgeRequest();
        U_SetAsyncPurgeRequestCallback([&] { signals += 100; });
    });
    U_FreePtr(U_AllocatePtr(1, "outside", kMiB));
    EXPECT_EQ(signals, 1);
    U_FreePtr(U_AllocatePtr(1, "outside", kMiB));
    EXPECT_EQ(signals, 101) << "what was set inside is in force";
    U_SetAsyncPurgeRequestCallback({});
    U_MakeAsyncPurgeRequest();
    EXPECT_EQ(signals, 101);
}

TEST_F(Purging, SignalsWhateverTheRequestIs)
{
    int signals = 0;
    U_SetAsyncPurgeRequestCallback([&] { ++signals; });
    SetRoom(1);  // with the one byte that is asked for, exactly at the limit
    for (const uint64_t request : {uint64_t{0}, kGiB, UINT64_MAX})
        Up_MakeRoomForBlockWithAsyncPurging(request);
    EXPECT_EQ(signals, 0);
    SetRoom(0);
    for (const uint64_t request : {uint64_t{0}, kGiB, UINT64_MAX})
        Up_MakeRoomForBlockWithAsyncPurging(request);
    EXPECT_EQ(signals, 3);
}

TEST_F(Purging, ForgetsTheHostAtTheEnd)
{
    HostFrees(0);
    U_SetPurgeStatusCallback([]() -> U_PurgeableMemStatus { return 0; });
    EXPECT_EQ(Up_TerminateMemorySubsystem(), 0);
    U_PurgeRequestCallback request = [](unsigned long long, unsigned long long, bool*) { return 0; };
    U_PurgeStatusCallback status = []() -> U_PurgeableMemStatus { return 0; };
    EXPECT_EQ(U_GetPurgeRequestCallback(&request), 0);
    U_GetPurgeStatusCallback(&status);
    EXPECT_EQ(request, nullptr);
    EXPECT_EQ(status, nullptr);
    unsigned long long size = 0;
    EXPECT_EQ(U_PresumedAppSize(&size), 0);
    EXPECT_EQ(U_PresumedAppSize(nullptr), 0);
    EXPECT_EQ(size, 141'557'760u);
    U_AccountAllocationEx(size, true);  // the death of the fixture takes it off again
}

// --- The preview range ---

class Preview : public Purging {
  protected:
    // Over the limit by `amount` for a render of a megabyte.
    static void SetOver(uint64_t amount)
    {
        SetRoom(static_cast<int64_t>(kMiB) - static_cast<int64_t>(amount));
    }

    static U_PurgeableMemStatus Status() { return s_status; }
    static inline U_PurgeableMemStatus s_status = 0;
};

TEST_F(Preview, AsksTheHostLast)
{
    struct Row {
        const char* name;
        uint64_t over, frees;
        bool askHost;
        int status;  // -1: no callback
        bool exceeded, hit;
        size_t purges;
    };
    const Row rows[] = {
        {"Fits", 0, 0, true, 2, false, false, 0},
        {"FitsAfterAPurge", kMiB, 2 * kMiB, true, 1, false, true, 1},
        {"ThreeRoundsAtMost", kMiB, 0, false, 2, true, true, 3},
        {"HostNotAsked", kMiB, 0, false, 2, true, true, 3},
        {"NoHost", kMiB, 0, true, -1, true, true, 3},
        {"Available", kMiB, 0, true, 2, false, true, 3},
        {"Exhausted", kMiB, 0, true, 1, true, true, 3},
        {"UnknownValue", kMiB, 0, true, 77, true, true, 3},
        {"UnknownBelowOverage", kGiB - 1, 0, true, 0, false, true, 3},
        {"UnknownAtOverage", kGiB, 0, true, 0, true, true, 3},
    };
    // Far from zero, so that a limit a gigabyte below use is none below zero.
    U_AccountAllocation(static_cast<long long>(4 * kGiB));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        m_asked.clear();
        U_AccountAllocation(static_cast<long long>(10 * kMiB - m_cache));
        m_cache = 10 * kMiB;
        HostFrees(row.frees);
        SetOver(row.over);
        s_status = row.status;
        U_SetPurgeStatusCallback(row.status < 0 ? nullptr : Status);
        bool exceeded = !row.exceeded;
        bool hit = !row.hit;
        EXPECT_EQ(U_CheckRAMPurgeLimit(&exceeded, kMiB, &hit, row.askHost), 0);
        EXPECT_EQ(exceeded, row.exceeded);
        EXPECT_EQ(hit, row.hit);
        EXPECT_EQ(m_asked.size(), row.purges);
        if (!m_asked.empty()) {
            EXPECT_EQ(m_asked[0].request, kMiB + 1);
        }
        EXPECT_EQ(U_CheckRAMPurgeLimit(&exceeded, kMiB, nullptr, row.askHost), 0);
    }
    U_AccountAllocation(-static_cast<long long>(4 * kGiB));
    EXPECT_EQ(U_CheckRAMPurgeLimit(nullptr, 1, nullptr, true), 3);
}

TEST_F(Preview, CountsFailedPurgesWhenPurgingBySignal)
{
    SetAsync(true);
    U_AccountAllocation(static_cast<long long>(4 * kGiB));
    U_PurgeStatus& status = U_PurgeStatus::GetInstance();
    status.Update(U_PurgeableMem_AVAILABLE);
    for (int i = 0; i < 10; ++i) status.Update(i % 2 ? U_PurgeableMem_UNKNOWN : U_PurgeableMem_EXHAUSTED);
    EXPECT_EQ(status.Get(), U_PurgeableMem_AVAILABLE) << "at the threshold";

    bool hit = true;
    const auto exceeds = [&](uint64_t over) {
        SetOver(over);
        bool exceeded = false;
        EXPECT_EQ(U_CheckRAMPurgeLimit(&exceeded, kMiB, &hit, true), 0);
        EXPECT_TRUE(hit) << "left alone";
        return exceeded;
    };
    EXPECT_FALSE(exceeds(0));
    EXPECT_FALSE(exceeds(kGiB)) << "an overage equal to the maximum is within it here";
    EXPECT_TRUE(exceeds(kGiB + 1));
    status.Update(U_PurgeableMem_EXHAUSTED);
    EXPECT_EQ(status.Get(), U_PurgeableMem_EXHAUSTED);
    EXPECT_FALSE(exceeds(0));
    TraceLines lines;
    EXPECT_TRUE(exceeds(1));
    EXPECT_TRUE(exceeds(2 * kGiB));
    ASSERT_EQ(lines.With("Preview").size(), 2u);
    EXPECT_EQ(
        lines.With("Preview")[0].find("Preview range is exhausted because purgeable memory has exhausted. "
                                      "Current memory usage is "),
        0u);
    EXPECT_EQ(lines.With("Preview")[1].find("Preview range is exhausted because overage(2.00 GB) is above "
                                            "maximum(1.00 GB). Current memory usage is "),
              0u);
    status.Update(U_PurgeableMem_AVAILABLE);
    U_AccountAllocation(-static_cast<long long>(4 * kGiB));
}

}  // namespace
