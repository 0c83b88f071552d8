// Blocks keep their bytes and their counts balance, whatever fails and whichever thread frees.
#include "MEM.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <barrier>
#include <cstring>
#include <thread>
#include <vector>

#include "FailingAllocator.h"
#include "MEMp_Heap.h"

namespace {

class Heaps : public testing::Test {
  protected:
    void TearDown() override
    {
        EXPECT_EQ(MEM_GetMemUsage(), m_atStart);
        delete m_heap;
    }

    MEM_Heap* m_heap = MEM_NewHeap();
    int64_t m_atStart = MEM_GetMemUsage();
};

constexpr int64_t kHeader = 16;

TEST_F(Heaps, CountAPointerWithItsHeader)
{
    for (const uint64_t size : {0ul, 1ul, 64ul, 100000ul}) {
        void* block = MEM_NewPtrDebug(m_heap, size, "test", nullptr, 0);
        ASSERT_NE(block, nullptr);
        std::memset(block, 0xA5, size);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u);
        EXPECT_EQ(MEM_GetPtrSize(m_heap, block), size);
        EXPECT_EQ(MEM_GetMemUsage() - m_atStart, static_cast<int64_t>(size) + kHeader);
        MEM_DisposePtr(m_heap, block);
        EXPECT_EQ(MEM_GetMemUsage(), m_atStart);
    }
}

TEST_F(Heaps, ResizeAPointer)
{
    void* block = MEM_ResizePtr(m_heap, nullptr, 10);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(MEM_GetMemUsage() - m_atStart, 10 + kHeader);
    std::memcpy(block, "0123456789", 10);
    block = MEM_ResizePtr(m_heap, block, 100000);
    EXPECT_EQ(std::memcmp(block, "0123456789", 10), 0);
    EXPECT_EQ(MEM_GetMemUsage() - m_atStart, 100000 + kHeader);
    {
        qltest::FailingAllocator failing(1);
        EXPECT_EQ(MEM_ResizePtr(m_heap, block, 200000), nullptr);
    }
    EXPECT_EQ(MEM_ResizePtr(m_heap, block, UINT64_MAX), nullptr) << "the header must not wrap the size";
    EXPECT_EQ(MEM_GetPtrSize(m_heap, block), 100000u) << "the old block stands";
    EXPECT_EQ(std::memcmp(block, "0123456789", 10), 0);
    MEM_DisposePtr(m_heap, block);
}

TEST_F(Heaps, ResizeAHandle)
{
    struct Row {
        uint64_t from, to;
        bool moves;
    };
    for (const Row& row : {Row{0, 0, false}, Row{0, 8, true}, Row{8, 0, true}, Row{8, 8, false},
                           Row{8, 64, true}, Row{64, 8, true}}) {
        SCOPED_TRACE(testing::Message() << row.from << " to " << row.to);
        char** handle = MEM_NewHandle(m_heap, row.from);
        ASSERT_NE(handle, nullptr);
        EXPECT_EQ(*handle == nullptr, row.from == 0);
        if (row.from != 0) std::memset(*handle, 'q', row.from);
        char* before = *handle;
        EXPECT_EQ(MEM_SetHandleSize(m_heap, handle, row.to), 0);
        EXPECT_EQ(*handle != before, row.moves);
        EXPECT_EQ(MEM_GetHandleSize(m_heap, handle), static_cast<int64_t>(row.to));
        for (uint64_t i = 0; i < std::min(row.from, row.to); ++i) EXPECT_EQ((*handle)[i], 'q');
        MEM_DisposeHandle(m_heap, handle);
        EXPECT_EQ(MEM_GetMemUsage(), m_atStart);
    }
}

TEST_F(Heaps, TolerateNothing)
{
    EXPECT_EQ(MEM_NewPtrDebug(nullptr, 8, nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(MEM_ResizePtr(nullptr, nullptr, 8), nullptr);
    EXPECT_EQ(MEM_NewHandle(nullptr, 8), nullptr);
    EXPECT_EQ(MEM_GetHandleSize(nullptr, nullptr), 0);
    EXPECT_EQ(MEM_SetHandleSize(nullptr, nullptr, 8), 3);
    EXPECT_EQ(MEM_SetHandleSize(m_heap, nullptr, 8), 3);
    EXPECT_EQ(MEM_CheckHandleFromHeap(nullptr, nullptr), 3);
    EXPECT_EQ(MEM_CheckHandleFromHeap(m_heap, nullptr), 0);
    EXPECT_EQ(MEM_GetPtrSize(m_heap, nullptr), 0u);
    EXPECT_EQ(MEM_GetHandleSize(m_heap, nullptr), 0);
    EXPECT_EQ(MEM_NewPtrDebug(m_heap, UINT64_MAX, nullptr, nullptr, 0), nullptr);
    MEM_DisposePtr(m_heap, nullptr);
    MEM_DisposePtr(nullptr, nullptr);
    MEM_DisposeHandle(m_heap, nullptr);
    MEM_Report(m_heap, [](const char*, const char*, unsigned, unsigned long, int, void*) { FAIL(); });
}

TEST_F(Heaps, LeaveNothingBehindWhenAllocationsFail)
{
    const uint64_t calls = qltest::EveryAllocationFails([] {
        MEM_Heap* heap = MEM_NewHeap();
        char** handle = MEM_NewHandle(heap, 100);
        const int64_t before = MEM_GetHandleSize(heap, handle);
        const int32_t error = MEM_SetHandleSize(heap, handle, 50000);
        const bool stands = error == 0 || MEM_GetHandleSize(heap, handle) == before;
        MEM_DisposeHandle(heap, handle);
        delete heap;
        return stands && error == 0;
    });
    // Heap, cell, data, new cell, new data; a compiler may see through the new cell, which is freed at once.
    EXPECT_GE(calls, 4u);
    EXPECT_LE(calls, 5u);
}

TEST_F(Heaps, CountTheirOwnObjects)
{
    MEM_Heap* heap = MEM_NewHeap();
    EXPECT_EQ(MEM_GetMemUsage() - m_atStart, 8);
    delete heap;
}

TEST(Usage, NeverFallsBelowZero)
{
    const int64_t atStart = MEM_GetMemUsage();
    MEM_AccountAllocation(1000);
    MEM_AccountSystemAllocation(500);
    EXPECT_EQ(MEM_GetMemUsage(), atStart + 1500);
    MEM_AccountAllocation(-5000);
    EXPECT_EQ(MEM_GetMemUsage(), atStart + 500) << "one count's debt is not taken from another";
    MEM_AccountSystemAllocation(INT64_MIN);
    EXPECT_EQ(MEM_GetMemUsage(), atStart);
    MEM_AccountAllocation(INT64_MAX);
    MEM_AccountSystemAllocation(INT64_MAX);
    EXPECT_EQ(MEM_GetMemUsage(), INT64_MAX);
    MEM_AccountAllocation(-INT64_MAX);
    MEM_AccountSystemAllocation(-INT64_MAX);
    EXPECT_EQ(MEM_GetMemUsage(), atStart);
}

TEST(Limits, AreKeptInPairs)
{
    MEM_SetMemUsageLimits(1, UINT64_MAX);
    MEM_SetMemUsageLimitsOverride(3, 4);
    uint64_t first = 0;
    uint64_t second = 0;
    EXPECT_EQ(MEM_GetMemUsageLimits(&first, nullptr), 0);
    EXPECT_EQ(MEM_GetMemUsageLimits(nullptr, &second), 0);
    EXPECT_EQ(first, 1u);
    EXPECT_EQ(second, UINT64_MAX);
    EXPECT_EQ(MEM_GetMemUsageLimitsOverride(&first, &second), 0);
    EXPECT_EQ(first, 3u);
    EXPECT_EQ(second, 4u);
    MEM_SetMemUsageLimits(0, 0);
    MEM_SetMemUsageLimitsOverride(0, 0);
}

// Blocks wander: each thread frees what its neighbour made. The count must come back to the byte.
TEST_F(Heaps, BalanceAcrossThreads)
{
    constexpr int kThreads = 8;
    constexpr int kRounds = 200;
    std::vector<void*> blocks(kThreads);
    std::barrier meet(kThreads);
    std::vector<std::thread> threads;
    for (int me = 0; me < kThreads; ++me) {
        threads.emplace_back([&, me] {
            for (int round = 0; round < kRounds; ++round) {
                const auto size = static_cast<uint64_t>(64 + me * 100 + round);
                blocks[me] = MEM_NewPtrDebug(m_heap, size, nullptr, nullptr, 0);
                MEM_AccountAllocation(me + 1);
                meet.arrive_and_wait();
                MEM_DisposePtr(m_heap, blocks[(me + 1) % kThreads]);
                MEM_AccountAllocation(-(me + 1));
                meet.arrive_and_wait();
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(MEM_GetMemUsage(), m_atStart);
}

}  // namespace
