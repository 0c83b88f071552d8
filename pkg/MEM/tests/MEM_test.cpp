// Blocks keep their bytes and their counts balance, whatever fails and whichever thread frees.
#include "MEM.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "Contend.h"
#include "FailingAllocator.h"
#include "MEMp_Counters.h"
#include "MEMp_Heap.h"

namespace {

class Heaps : public testing::Test {
  protected:
    Heaps() { EXPECT_EQ(MEM_GetMemUsage() - m_atStart, 8) << "a heap counts itself"; }
    ~Heaps() override
    {
        delete m_heap;
        EXPECT_EQ(MEM_GetMemUsage(), m_atStart);
    }

    const int64_t m_atStart = MEM_GetMemUsage();
    MEM_Heap* m_heap = MEM_NewHeap();

    // Bytes in use beside the heap itself.
    int64_t InUse() const { return MEM_GetMemUsage() - m_atStart - 8; }
};

constexpr int64_t kHeader = 16;

TEST_F(Heaps, MakeAndResizePointers)
{
    for (const bool fresh : {false, true}) {
        void* block =
            fresh ? MEM_ResizePtr(m_heap, nullptr, 10) : MEM_NewPtrDebug(m_heap, 10, "test", nullptr, 0);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u);
        EXPECT_EQ(MEM_GetPtrSize(m_heap, block), 10u);
        EXPECT_EQ(InUse(), 10 + kHeader);
        std::memcpy(block, "0123456789", 10);
        block = MEM_ResizePtr(m_heap, block, 100000);
        EXPECT_EQ(InUse(), 100000 + kHeader);
        {
            qltest::FailingAllocator failing(1);
            EXPECT_EQ(MEM_ResizePtr(m_heap, block, 200000), nullptr);
        }
        EXPECT_EQ(MEM_ResizePtr(m_heap, block, UINT64_MAX), nullptr) << "the header must not wrap the size";
        EXPECT_EQ(MEM_GetPtrSize(m_heap, block), 100000u) << "the old block stands";
        EXPECT_EQ(std::memcmp(block, "0123456789", 10), 0);
        MEM_DisposePtr(m_heap, block);
        EXPECT_EQ(InUse(), 0);
    }
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
        {
            qltest::FailingAllocator failing(1);
            failing.OnlyFrom(100);  // the new cell can be had, the new data not
            EXPECT_EQ(MEM_SetHandleSize(m_heap, handle, 100), 4);
        }
        EXPECT_EQ(MEM_GetHandleSize(m_heap, handle), static_cast<int64_t>(row.to)) << "the old data stands";
        MEM_DisposeHandle(m_heap, handle);
        EXPECT_EQ(InUse(), 0);
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
    EXPECT_EQ(MEM_GetMemUsageLimits(nullptr, nullptr), 0);
    EXPECT_EQ(MEM_GetMemUsageLimitsOverride(nullptr, nullptr), 0);
    MEM_Report(m_heap, [](const char*, const char*, unsigned, unsigned long, int, void*) { FAIL(); });
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

    MEMp_SpreadCounter spread;
    spread.Add(INT64_MIN);
    EXPECT_EQ(spread.Get(), 0);
    spread.Add(INT64_MAX);
    spread.Add(8);
    EXPECT_EQ(spread.Get(), 7);
}

// More threads than the count of heap bytes has parts make blocks at once, and end; others free what they made,
// so that parts fall below zero. The count is right to the byte in between and behind it, and never negative.
TEST_F(Heaps, BalanceAcrossThreads)
{
    constexpr int kThreads = 24;
    constexpr int kBlocks = 200;
    std::vector<void*> blocks(kThreads * kBlocks);
    zvktest::Contend(kThreads, [&](int me) {
        for (int i = 0; i < kBlocks; ++i) {
            blocks[me * kBlocks + i] = MEM_NewPtrDebug(m_heap, 100 + me + i, nullptr, nullptr, 0);
            MEM_AccountAllocation(me + 1);
        }
        EXPECT_GE(MEM_GetMemUsage(), 0);
    });
    int64_t made = 0;
    for (void* block : blocks) made += static_cast<int64_t>(MEM_GetPtrSize(m_heap, block)) + kHeader;
    const int64_t accounted = kBlocks * kThreads * (kThreads + 1) / 2;
    EXPECT_EQ(InUse(), made + accounted);
    zvktest::Contend(kThreads, [&](int me) {
        for (int i = 0; i < kBlocks; ++i) {
            MEM_DisposePtr(m_heap, blocks[(me + 1) % kThreads * kBlocks + i]);
            MEM_AccountAllocation(-(me + 1));
        }
        EXPECT_GE(MEM_GetMemUsage(), 0);
    });
    EXPECT_EQ(InUse(), 0);
}

}  // namespace
