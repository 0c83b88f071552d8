#include "zvkcore/allocator/MemoryRecycler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <barrier>
#include <cstring>
#include <mutex>
#include <new>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "Contend.h"
#include "RecyclerPool.h"
#include "zvkcore/allocator/RecycledMemory.h"
#include "zvkcore/allocator/SmallBlockAllocator.h"
#include "zvkcore/string/UTFString.h"

namespace zvkcore::allocator {
namespace {

std::atomic<std::int64_t> g_taken{0};    // bytes that the counting system has handed out
std::atomic<std::int64_t> g_allowed{0};  // how many blocks it still hands out

constexpr SystemMemory kCountingSystem{[](std::size_t size) noexcept -> void* {
                                           if (g_allowed.fetch_sub(1) <= 0) return nullptr;
                                           g_taken += static_cast<std::int64_t>(size);
                                           return std::malloc(size);
                                       },
                                       [](void* block, std::size_t size) noexcept {
                                           g_taken -= static_cast<std::int64_t>(size);
                                           std::free(block);
                                       }};

class Pool : public testing::Test {
  protected:
    void SetUp() override
    {
        g_allowed = 1 << 30;
        g_taken = 0;
    }
    void TearDown() override
    {
        m_pool.PurgeBytes(~std::uint64_t{0});
        EXPECT_EQ(m_pool.GetSize(), 0u);
        EXPECT_EQ(g_taken, 0);
    }
    void* Take(std::size_t size)
    {
        std::size_t granted = 0;
        void* const block = m_pool.TryAllocate(size, granted);
        EXPECT_EQ(granted, block == nullptr ? 0 : RecyclerPool::GrantedSize(size));
        if (block != nullptr) std::memset(block, 0x5A, granted);
        return block;
    }
    RecyclerPool m_pool{kCountingSystem, 10000};
};

TEST(SizeClasses, HoldTheSizeWithASixteenthToSpare)
{
    std::size_t last = 0;
    for (std::size_t size = 1; size <= RecyclerPool::kLargest; size += 1 + size / 97) {
        const std::size_t granted = RecyclerPool::GrantedSize(size);
        ASSERT_GE(granted, size);
        ASSERT_LE(granted, std::max(size + size / 16 + 1, size + 63)) << size;
        ASSERT_EQ(RecyclerPool::GrantedSize(granted), granted) << size;
        ASSERT_GE(granted, last);
        last = granted;
    }
}

TEST_F(Pool, HandsOutTheNewestOfAClassAndGivesBackTheOldestOfAll)
{
    void* const small = Take(1000);
    void* const first = Take(5000);
    void* const second = Take(5000);
    void* const big = Take(100000);
    m_pool.Recycle(small, 1000);
    m_pool.Recycle(first, 5000);
    m_pool.Recycle(second, RecyclerPool::GrantedSize(5000));
    m_pool.Recycle(big, 100000);
    m_pool.Recycle(nullptr, 5000);
    ASSERT_TRUE(m_pool.IsConsistent());

    void* const again = Take(4999);
    EXPECT_EQ(again, second);
    m_pool.Recycle(again, 4999);

    // Waiting now, oldest first: small, first, big, second.
    EXPECT_EQ(m_pool.PurgeBytes(1), RecyclerPool::GrantedSize(1000));
    EXPECT_EQ(m_pool.PurgeBytes(5001), RecyclerPool::GrantedSize(5000));
    EXPECT_TRUE(m_pool.IsConsistent());
    m_pool.Reconcile();
    EXPECT_EQ(m_pool.GetSize(), RecyclerPool::GrantedSize(5000));
    EXPECT_EQ(m_pool.SetLimit(0), 10000u);
    m_pool.Reconcile();
    EXPECT_EQ(m_pool.GetSize(), 0u);
    EXPECT_EQ(m_pool.PurgeBytes(1), 0u);
}

TEST_F(Pool, EmptiesItselfBeforeItFails)
{
    void* const kept = Take(3000);
    m_pool.Recycle(Take(100), 100);
    g_allowed = 0;
    EXPECT_EQ(Take(20000), nullptr);
    EXPECT_EQ(m_pool.GetSize(), 0u);
    m_pool.Recycle(kept, 3000);
    EXPECT_EQ(Take(3000), kept) << "a pooled block needs no system";
    m_pool.Recycle(kept, 3000);
    EXPECT_EQ(Take(RecyclerPool::kLargest + 1), nullptr);
    EXPECT_EQ(m_pool.GetSize(), RecyclerPool::GrantedSize(3000)) << "no use in purging for what cannot be";
}

TEST_F(Pool, StaysConsistentThroughRandomUse)
{
    const unsigned seed = 20240611;
    SCOPED_TRACE(seed);
    std::mt19937 random{seed};
    std::vector<std::pair<void*, std::size_t>> live;
    for (int step = 0; step < 4000; ++step) {
        const std::size_t size = std::size_t{1} << random() % 18;
        switch (random() % 5) {
            case 0:
                m_pool.PurgeBytes(size);
                break;
            case 1:
            case 2:
                live.emplace_back(Take(size + size / 3), size + size / 3);
                break;
            default:
                if (live.empty()) break;
                std::swap(live[random() % live.size()], live.back());
                std::size_t granted = 0;
                if (void* const other = m_pool.TryAllocate(live.back().second, granted))
                    m_pool.Recycle(other, granted);
                m_pool.Recycle(live.back().first, live.back().second);
                live.pop_back();
        }
        if (step % 16 == 0) {
            ASSERT_TRUE(m_pool.IsConsistent()) << step;
        }
    }
    for (const auto& [block, size] : live) m_pool.Recycle(block, size);
    EXPECT_TRUE(m_pool.IsConsistent());
}

TEST_F(Pool, IsSharedByThreadsThatPurgeAndRecycle)
{
    zvktest::Contend(4, [&](int me) {
        for (int i = 0; i < 3000; ++i) {
            const std::size_t size = 200u << (i + me) % 8;
            std::size_t granted = 0;
            auto* const block = static_cast<char*>(m_pool.TryAllocate(size, granted));
            std::memset(block, me, granted);
            std::this_thread::yield();
            const bool mine = block[0] == me && block[granted - 1] == me;
            EXPECT_TRUE(mine);
            m_pool.Recycle(block, size);
            if (i % 64 == me) m_pool.PurgeBytes(size * 2);
            if (i % 256 == me) m_pool.Reconcile();
        }
    });
    EXPECT_TRUE(m_pool.IsConsistent());
    EXPECT_EQ(static_cast<std::uint64_t>(g_taken), m_pool.GetSize());
}

TEST(Recycler, OwnersReturnTheirBlocksToThePoolOfTheProcess)
{
    MemoryRecycler::PurgeBytes(~std::uint64_t{0});
    const std::uint64_t before = MemoryRecycler::GetCurrentPoolSize();
    void* block = nullptr;
    {
        RecycledMemory owner;
        EXPECT_EQ(owner.GetPointer(), nullptr);
        owner.Allocate(1 << 20);
        block = owner.GetPointer();
        std::memset(block, 1, owner.GetGrantedSize());
        EXPECT_THROW(owner.Allocate(~std::size_t{0}), std::bad_alloc);
        EXPECT_EQ(owner.GetPointer(), nullptr);
        EXPECT_EQ(owner.GetGrantedSize() + owner.GetRequestedSize(), 0u);
        owner.Allocate(1 << 20);
        EXPECT_EQ(owner.GetPointer(), block);
    }
    EXPECT_EQ(MemoryRecycler::GetCurrentPoolSize(), before + (1 << 20));
    EXPECT_GE(MemoryRecycler::PurgeBytes(1 << 20), 1u << 20);
}

// Every thread frees what its neighbour made. Loads change with thread and round, so that full batches go by the
// depot, and threads end with batches that are not full. What is lost on the way shows in the number of addresses.
TEST(SmallBlocks, TravelBetweenThreadsWithoutBeingSharedOrLost)
{
    constexpr int kThreads = 4;
    constexpr std::size_t kSizes[] = {0, 1, 16, 17, 48, 511, 512, 513};
    constexpr int kLoad = 30;    // blocks of a size, times 0 to 3
    constexpr int kBatches = 4;  // of 32: two that a thread keeps, one on the way, one being made
    std::mutex mutex;
    std::set<void*> seen;  // of 48 bytes
    for (int generation = 0; generation < 16; ++generation) {
        std::vector<std::vector<unsigned char*>> handed(kThreads);
        std::barrier exchange{kThreads};
        zvktest::Contend(kThreads, [&](int me) {
            for (int round = 0; round < 12; ++round) {
                for (std::size_t i = 0; i < std::size(kSizes) * kLoad * ((me + round) % kThreads); ++i) {
                    const std::size_t size = kSizes[i % std::size(kSizes)];
                    auto* const block = static_cast<unsigned char*>(SmallBlockAllocator::Allocate(size));
                    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
                    std::memset(block, me, size);
                    handed[me].push_back(block);
                    if (size != 48) continue;
                    const std::lock_guard lock{mutex};
                    seen.insert(block);
                }
                exchange.arrive_and_wait();
                const int giver = (me + 1) % kThreads;
                for (std::size_t i = 0; i < handed[giver].size(); ++i) {
                    const std::size_t size = kSizes[i % std::size(kSizes)];
                    unsigned char* const block = handed[giver][i];
                    EXPECT_EQ(std::count(block, block + size, giver), static_cast<std::ptrdiff_t>(size));
                    SmallBlockAllocator::Dispose(block, size);
                }
                handed[giver].clear();
                exchange.arrive_and_wait();
            }
        });
    }
    SmallBlockAllocator::Dispose(nullptr, 48);
    if (!kAddressesAreChecked) {
        EXPECT_LE(seen.size(), kLoad * (0 + 1 + 2 + 3) + kThreads * kBatches * 32);
    }
}

// Made before the thread's magazines, so it dies after them; its sister below lives to the end of the process.
struct LateText {
    ~LateText()
    {
        text.assign(40, 'x');
        text.assign(100, 'y');
    }
    string::UTF16String text;
};
thread_local LateText t_late;
LateText g_late;

TEST(SmallBlocks, ServeObjectsThatOutliveTheThreadsOwnStore)
{
    g_late.text.assign(50, 'z');
    for (int i = 0; i < 8; ++i) {
        std::thread{[] { t_late.text.assign(60, 'a'); }}.join();
    }
}

int g_handlerCalls = 0;

TEST(ContainerBlocks, AskTheNewHandlerBeforeTheyFail)
{
    std::vector<char, RecyclingAllocator<char>> bytes;
    for (const std::size_t size : {std::size_t{512}, std::size_t{513}, std::size_t{1} << 20}) {
        bytes.assign(size, 'b');
        bytes.shrink_to_fit();
        EXPECT_EQ(bytes.back(), 'b');
    }
    RecyclingAllocator<std::uint64_t> words;
    EXPECT_THROW((void)words.allocate(~std::size_t{0} / 4), std::bad_array_new_length);

    g_handlerCalls = 0;
    const std::new_handler former = std::set_new_handler([] {
        if (++g_handlerCalls == 2) std::set_new_handler(nullptr);
    });
    EXPECT_THROW(bytes.reserve(std::size_t{1} << 62), std::bad_alloc);
    std::set_new_handler(former);
    EXPECT_EQ(g_handlerCalls, 2);
    EXPECT_EQ(bytes.size(), std::size_t{1} << 20) << "a failed growth keeps what was there";
}

TEST(ContainerBlocks, KeepThePoolWithinItsLimit)
{
    const std::uint64_t former = MemoryRecycler::SetPoolLimit(1 << 20);
    for (std::size_t i = 1; i < 40; ++i) {
        std::vector<char, RecyclingAllocator<char>> bytes(i << 16);
    }
    EXPECT_LE(MemoryRecycler::GetCurrentPoolSize(), 1u << 20);
    EXPECT_EQ(MemoryRecycler::SetPoolLimit(former), 1u << 20);
}

}  // namespace
}  // namespace zvkcore::allocator
