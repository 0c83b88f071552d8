// The limit test and the purge loop with its end conditions, in both ways of purging, and hosts that misbehave.
#include <gtest/gtest.h>

#include <stdexcept>

#include "MemoryFixture.h"

namespace {

using qltest::kGiB;
using qltest::kMiB;
using qltest::TraceLines;

class Purging : public qltest::Memory {
  protected:
    static void AllocateLarge() { U_FreePtr(U_AllocatePtr(1, "frame", kMiB)); }

    // Makes the signal of an asynchronous purge call `function`.
    static void OnSignal(std::function<void()> function)
    {
        SetAsync(true);
        U_SetAsyncPurgeRequestCallback(std::move(function));
    }
};

// Every way in which a purge ends: what the host was asked for on the way, and the last words.
TEST_F(Purging, EndsInItsWay)
{
    TraceLines lines;
    const auto lastWords = [&](uint64_t request, bool recycled) {
        Up_MakeRoomForBlock(request, recycled);
        return lines.With("MAKE_ROOM_FOR_BLOCK ").back().substr(sizeof "MAKE_ROOM_FOR_BLOCK");
    };
    const std::string under = "DONE. Under threshold with inUse=";
    const std::string nothing = "DONE. Purge not freeing anything (but maybe recycled memory), recycled=";
    HostHas(10 * kMiB, 2 * kMiB);
    SetRoom(0);
    const std::string words = lastWords(5 * kMiB, true);
    EXPECT_TRUE(words.starts_with(under) && words.ends_with("request=5242880, recycled=1"));
    EXPECT_EQ(m_asked, (std::vector<Asked>{{5 * kMiB, 5 * kMiB}, {5 * kMiB, 3 * kMiB}, {5 * kMiB, kMiB}}));

    HostHas(kMiB, 0);
    SetRoom(0);
    EXPECT_EQ(lastWords(kMiB, false), nothing + "0");
    EXPECT_EQ(m_asked.size(), 1u);

    HostHas(10 * kMiB, kMiB, 5);  // its answer ends the purge
    SetRoom(0);
    EXPECT_EQ(lastWords(4 * kMiB, false),
              "Issuing Purge Request\tblock_request:\t4194304\tamt_to_purge:\t4194304");

    // A recycled block counts the pool as free, so there is nothing in it to take.
    const uint64_t pool = FillPool(8 * kMiB);
    HostHas(0, 0, 0, true);
    SetRoom(0);
    EXPECT_EQ(lastWords(kMiB, true), nothing + "1");
    EXPECT_EQ(U_GetRecycledMemorySize(), pool);

    // For others it counts as used. The cache goes in the first round; the second asks again, frees nothing, and
    // leaves the rest to the pool, whose blocks go whole.
    HostHas(10 * kMiB, 10 * kMiB, 0, true);
    SetRoom(pool);
    EXPECT_TRUE(lastWords(12 * kMiB, false).starts_with(under));
    EXPECT_EQ(m_asked, (std::vector<Asked>{{12 * kMiB, 12 * kMiB}, {12 * kMiB, 2 * kMiB}}));
    EXPECT_EQ(U_GetRecycledMemorySize(), 0u);
    EXPECT_EQ(lastWords(kGiB, false), "DONE. Purge recycled not freeing anything");
}

TEST_F(Purging, AimsPastTheRequest)
{
    HostHas(0, 0);
    SetRoom(kMiB - 1);
    const auto threshold = static_cast<double>(U_GetMemUsage() + kMiB - 1);
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
    const uint64_t pool = FillPool(4 * kMiB);
    HostHas(0, 0);
    // Without the pool there is room for the block; with it the limit is passed by a megabyte.
    SetRoom(pool - kMiB);
    TraceLines lines;
    unsigned char ok = 0;
    EXPECT_EQ(Up_OkayToAllocBlock(2 * kMiB, &ok, true), 0);
    EXPECT_EQ(ok, 1);
    EXPECT_TRUE(m_asked.empty()) << "below the limit without the pool, the host is not asked";
    EXPECT_LT(U_GetRecycledMemorySize(), pool) << "the pool gives what is over the limit";

    // The limit is reached without the pool: all of it is over the limit, and the host is asked for it instead.
    U_PurgeRecycledMemory(UINT64_MAX);
    const uint64_t over = FillPool(kMiB);
    SetRoom(0);
    EXPECT_EQ(Up_OkayToAllocBlock(0, &ok, true), 0);
    EXPECT_EQ(m_asked, (std::vector<Asked>{{over, over}, {1, over + 1}}));
    EXPECT_EQ(U_GetRecycledMemorySize(), over);
    const std::string amount = "amoutToPurge=" + std::to_string(over) + "";
    EXPECT_TRUE(lines.With("MEM Amount").back().ends_with(amount));
}

TEST_F(Purging, IsSuspendedByCount)
{
    HostHas(0, 0);
    SetRoom(-1);
    {
        U_ScDisableProactivePrePurging outer;
        {
            U_ScDisableProactivePrePurging inner;
        }
        AllocateLarge();
        EXPECT_TRUE(m_asked.empty());
        Up_MakeRoomForBlock(kMiB, false);
        EXPECT_EQ(m_asked.size(), 1u) << "only the limit test looks at it";
        OnSignal([] { ADD_FAILURE() << "a signal"; });
        AllocateLarge();
        SetAsync(false);
    }
    AllocateLarge();
    EXPECT_EQ(m_asked.size(), 2u);
}

TEST_F(Purging, SurvivesHostsThatThrow)
{
    SetRoom(-1);
    int calls = 0;
    bool throwsCode = true;
    const auto host = [&](uint64_t, uint64_t, bool*) -> int {
        ++calls;
        if (throwsCode) throw 9;
        throw std::bad_alloc();
    };
    for (const bool async : {false, true}) {
        async ? OnSignal([&] { host(0, 0, nullptr); }) : OnPurge(host);
        for (throwsCode = false, calls = 0; calls < 4; throwsCode = !throwsCode) {
            const int before = calls;
            void* block = U_AllocatePtr(1, "frame", kMiB);
            EXPECT_NE(block, nullptr);
            U_FreePtr(block);
            ASSERT_EQ(calls, before + 1) << "a purge that threw does not bar the next";
        }
    }
    EXPECT_TRUE(Reports().empty());
}

TEST_F(Purging, DoesNotRecurse)
{
    SetRoom(-1);
    int calls = 0;
    OnPurge([&](uint64_t, uint64_t, bool*) {
        ++calls;
        AllocateLarge();
        bool exceeded = false;
        EXPECT_EQ(U_CheckRAMPurgeLimit(&exceeded, kMiB, nullptr, true), 0);
        EXPECT_TRUE(exceeded);
        return 0;
    });
    AllocateLarge();
    EXPECT_EQ(calls, 1);
    OnSignal([&] {
        ++calls;
        AllocateLarge();
        U_MakeAsyncPurgeRequest();
        U_SetAsyncPurgeRequestCallback([&] { calls += 100; });
    });
    AllocateLarge();
    EXPECT_EQ(calls, 2);
    AllocateLarge();
    EXPECT_EQ(calls, 102) << "what was set inside is in force";
    U_SetAsyncPurgeRequestCallback({});
    U_MakeAsyncPurgeRequest();
    EXPECT_EQ(calls, 102);
}

TEST_F(Purging, SignalsWhateverTheRequestIs)
{
    int signals = 0;
    OnSignal([&] { ++signals; });
    for (const int room : {1, 0}) {  // with the one byte that is asked for: exactly at the limit, and over it
        SetRoom(room);
        for (const uint64_t request : {uint64_t{0}, kGiB, UINT64_MAX})
            Up_MakeRoomForBlockWithAsyncPurging(request);
        EXPECT_EQ(signals, room == 1 ? 0 : 3);
    }
}

// --- The preview range ---

class Preview : public Purging {
  protected:
    void SetUp() override
    {
        Purging::SetUp();
        HostHas(4 * kGiB, 0);  // far from zero, so that a limit a gigabyte below use is none below zero
    }

    // Over the limit by `amount` for a render of a megabyte.
    static void SetOver(uint64_t amount) { SetRoom(kMiB - amount); }

    static U_PurgeableMemStatus Status() { return s_status; }
    static inline U_PurgeableMemStatus s_status = 0;
};

TEST_F(Preview, ForgetsTheHostAtTheEnd)
{
    U_PurgeRequestCallback request = nullptr;
    EXPECT_EQ(U_GetPurgeRequestCallback(&request), 0);
    ASSERT_NE(request, nullptr);
    U_SetPurgeStatusCallback(Status);
    U_PurgeStatusCallback status = Status;
    EXPECT_EQ(Up_TerminateMemorySubsystem(), 0);
    EXPECT_EQ(U_GetPurgeRequestCallback(&request), 0);
    U_GetPurgeStatusCallback(&status);
    EXPECT_FALSE(request || status);
    unsigned long long size = 0;
    EXPECT_EQ(U_PresumedAppSize(&size) + U_PresumedAppSize(nullptr), 0);
    EXPECT_EQ(size, 141'557'760u);
    U_AccountAllocationEx(size, true);  // the death of the fixture takes it off again
}

TEST_F(Preview, AsksTheHostLast)
{
    struct Row {
        const char* name;
        uint64_t over, frees;
        bool askHost;
        int status;  // -1: no callback
        bool exceeded, hit;
        const char* words;
    };
    const Row rows[] = {
        {"Fits", 0, 0, true, 2, false, false, ""},
        {"FitsAfterAPurge", kMiB, 2 * kMiB, true, 1, false, true, ""},
        {"HostNotAsked", kMiB, 0, false, 2, true, true, ""},
        {"NoHost", kMiB, 0, true, -1, true, true, ""},
        {"Available", kMiB, 0, true, 2, false, true, "available because purgeable memory is available."},
        {"Exhausted", kMiB, 0, true, 1, true, true, "exhausted because purgeable memory has exhausted."},
        {"UnknownValue", kMiB, 0, true, 77, true, true, "exhausted because purgeable memory has exhausted."},
        {"UnknownBelowOverage", kGiB - 1, 0, true, 0, false, true,
         "available because purgeable memory status is unknown and overage(1024.00 MB) is below "
         "maximum(1.00 GB)."},
        {"UnknownAtOverage", kGiB, 0, true, 0, true, true,
         "exhausted because purgeable memory status is unknown and overage(1.00 GB) is above "
         "maximum(1.00 GB)."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        HostHas(4 * kGiB, row.frees);
        SetOver(row.over);
        s_status = row.status;
        U_SetPurgeStatusCallback(row.status < 0 ? nullptr : Status);
        TraceLines lines;
        bool exceeded = !row.exceeded;
        bool hit = !row.hit;
        EXPECT_EQ(U_CheckRAMPurgeLimit(&exceeded, kMiB, &hit, row.askHost), 0);
        EXPECT_EQ(exceeded, row.exceeded);
        EXPECT_EQ(hit, row.hit);
        EXPECT_EQ(m_asked.size(), !row.hit ? 0u : row.frees ? 1u : 3u) << "three rounds at most";
        if (!m_asked.empty()) {
            EXPECT_EQ(m_asked[0].request, kMiB + 1);
        }
        const auto said = lines.With("Preview range is ");
        EXPECT_EQ(said.empty() ? "" : said[0].substr(sizeof "Preview range is " - 1), row.words);
        EXPECT_EQ(U_CheckRAMPurgeLimit(&exceeded, kMiB, nullptr, row.askHost), 0);
    }
    EXPECT_EQ(U_CheckRAMPurgeLimit(nullptr, 1, nullptr, true), 3);
}

TEST_F(Preview, CountsFailedPurgesWhenPurgingBySignal)
{
    SetAsync(true);
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
    const std::string head = "Preview range is exhausted because ";
    EXPECT_EQ(lines.With(head).size(), 2u);
    EXPECT_EQ(lines.With(head + "purgeable memory has exhausted. Current memory usage is ").size(), 1u);
    EXPECT_EQ(
        lines.With(head + "overage(2.00 GB) is above maximum(1.00 GB). Current memory usage is ").size(), 1u);
    status.Update(U_PurgeableMem_AVAILABLE);
}

}  // namespace
