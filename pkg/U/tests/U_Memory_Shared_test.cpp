// The shared path against an allocator that follows a script, under both ways of purging.
#include <gtest/gtest.h>

#include <boost/function.hpp>
#include <cstring>

#include "MemoryFixture.h"
#include "Up_AllocateShared.h"

namespace {

using qltest::kGiB;
using qltest::kMiB;

constexpr unsigned kCode = 0x120009;
constexpr uint64_t kSize = 1 << 16;

class Shared : public qltest::Memory {
  protected:
    // Fails as often as it is told, then gives the buffer, which is dirty.
    char* Call()
    {
        ++m_calls;
        if (m_calls <= m_failures) return nullptr;
        m_buffer.assign(kSize, 'd');
        return m_buffer.data();
    }

    char* Allocate(const char* caller, uint64_t size = kSize, bool clear = false, bool recycled = false)
    {
        m_calls = 0;
        Forget();
        char* result = m_buffer.data();
        Up_AllocateShared([this] { return Call(); }, kCode, caller, size, clear, &result, recycled);
        return result;
    }

    // A host that frees a megabyte in each of `times` purges and ends each purge there.
    void FreeAMegabyte(int times)
    {
        U_AccountAllocation(static_cast<long long>(kMiB) * times);
        SetRoom(static_cast<int64_t>(100 * kMiB));
        m_left = times;
        OnPurge([this](uint64_t request, uint64_t, bool*) {
            m_requests.push_back(request);
            if (m_left == 0) return 1;
            --m_left;
            U_AccountAllocation(-static_cast<long long>(kMiB));
            return 1;
        });
    }

    void TearDown() override
    {
        U_AccountAllocation(-static_cast<long long>(kMiB) * m_left);
        Memory::TearDown();
    }

    int m_failures = 0;
    int m_calls = 0;
    int m_left = 0;
    std::vector<uint64_t> m_requests;
    std::vector<char> m_buffer = std::vector<char>(8);
};

TEST_F(Shared, TriesAgainWhilePurgingFreesSomething)
{
    FreeAMegabyte(3);
    qltest::TraceLines lines;
    m_failures = 3;
    EXPECT_NE(Allocate("frame"), nullptr);
    EXPECT_EQ(m_calls, 4);
    ASSERT_EQ(m_requests.size(), 3u);
    EXPECT_EQ(m_requests[0], 100 * kMiB + kSize) << "all the room below the limit, and the request";
    EXPECT_EQ(m_requests[1], 101 * kMiB + kSize);
    EXPECT_EQ(lines.With("OpName").size(), 3u);
    EXPECT_EQ(lines.With("ALLOC_OP_FAILED Frag"),
              std::vector<std::string>(
                  3, "ALLOC_OP_FAILED Fragmentation or other resource constraint\treqsize Kb:64\n"));
    EXPECT_EQ(lines.With("RECOVERY"),
              (std::vector<std::string>{"ALLOC_OP_FAILED_RECOVERY_STAT success:t, retries:3\n"}));
    EXPECT_TRUE(Reports().empty());
}

TEST_F(Shared, GivesUpWhenPurgingFreesNothing)
{
    FreeAMegabyte(0);
    qltest::TraceLines lines;
    m_failures = 99;
    EXPECT_EQ(Allocate("frame"), nullptr);
    EXPECT_EQ(m_calls, 2) << "the first failure always earns a second attempt";
    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0].location, kCode);
    EXPECT_NE(Reports()[0].text.find("(12803 / frame)"), std::string::npos);
    EXPECT_EQ(lines.With("RECOVERY"),
              (std::vector<std::string>{"ALLOC_OP_FAILED_RECOVERY_STAT success:f, retries:1\n"}));
    EXPECT_EQ(lines.With("UNABLE"),
              (std::vector<std::string>{"ALLOC_FAILED_UNABLE_TO_RECOVER what:frame\n"}));
    EXPECT_EQ(lines.With("POSS_FRAGMENTATION").size(), 1u);

    EXPECT_EQ(Allocate(nullptr), nullptr);
    EXPECT_TRUE(Reports().empty());
    EXPECT_EQ(lines.With("UNABLE").back(), "ALLOC_FAILED_UNABLE_TO_RECOVER what:Unidentified caller.\n");
}

TEST_F(Shared, GivesUpWithoutAHostToo)
{
    m_failures = 99;
    EXPECT_EQ(Allocate(nullptr), nullptr);
    EXPECT_EQ(m_calls, 2);
}

TEST_F(Shared, DoesNotClearAfterAFailedStatistic)
{
    m_failures = 1;
    EXPECT_EQ(Allocate("frame", kSize, true)[5], 0) << "a retry alone does not keep it from being cleared";
    const auto manager = zvkcore::utility::Guid::CreateRandom();
    U_InstallExternalMemoryManager(manager, []() -> unsigned long { throw 9; });
    U_ScDisableProactivePrePurging disable;  // so that the limit test asks for no statistic
    char* block = Allocate("frame", kSize, true);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[5], 'd');
    EXPECT_EQ(m_calls, 2);
    U_UnInstallExternalMemoryManager(manager);
}

TEST_F(Shared, IsSilentWhenTheLimitTestFails)
{
    const auto manager = zvkcore::utility::Guid::CreateRandom();
    U_InstallExternalMemoryManager(manager, []() -> unsigned long { throw 9; });
    EXPECT_EQ(Allocate("frame"), nullptr);
    EXPECT_EQ(m_calls, 0);
    EXPECT_TRUE(Reports().empty());
    U_UnInstallExternalMemoryManager(manager);
}

TEST_F(Shared, ClearsWhatAHandlePointsAt)
{
    std::vector<char> data(kSize, 'd');
    char* cell = data.data();
    char** result = nullptr;
    Up_AllocateShared([&] { return &cell; }, 0, nullptr, kSize, 1, &result, false);
    EXPECT_EQ(result, &cell);
    EXPECT_EQ(cell, data.data());
    EXPECT_EQ(data, std::vector<char>(kSize, 0));
}

TEST_F(Shared, ThrowsForANullCall)
{
    void* result = nullptr;
    for (const bool async : {false, true}) {
        SetAsync(async);
        EXPECT_THROW(Up_AllocateShared(boost::function<void*()>(), 0, nullptr, kSize, 0, &result, false),
                     boost::bad_function_call);
    }
}

// The feature is asked for each request, so both ways may alternate in one run.
TEST_F(Shared, PurgesInBothWaysInTurn)
{
    FreeAMegabyte(2);
    int signals = 0;
    U_SetAsyncPurgeRequestCallback([&] { ++signals; });
    for (int round = 0; round < 3; ++round) {
        m_requests.clear();
        m_failures = 99;
        SetAsync(true);
        SetRoom(-1);
        EXPECT_EQ(Allocate(nullptr), nullptr);
        EXPECT_EQ(m_calls, 1) << "one attempt";
        EXPECT_TRUE(m_requests.empty());
        EXPECT_EQ(signals, round + 1);
        ASSERT_EQ(Reports().size(), 1u) << "a quiet request reports here";
        EXPECT_NE(Reports()[0].text.find("(12803 / Unidentified caller.)"), std::string::npos);
        EXPECT_EQ(Allocate(nullptr, 2 * kGiB), nullptr);
        EXPECT_EQ(Reports().size(), 1u) << "as does one that is too large";
        EXPECT_EQ(m_calls, 0);
        m_failures = 0;
        EXPECT_EQ(Allocate("frame", kSize, true)[7], 0);
        EXPECT_EQ(Allocate("frame")[7], 'd');

        SetAsync(false);
        signals = round + 1;
        m_failures = 1;
        EXPECT_NE(Allocate("frame"), nullptr);
        EXPECT_EQ(m_calls, 2);
        EXPECT_FALSE(m_requests.empty());
        EXPECT_EQ(signals, round + 1);
    }
}

}  // namespace
