// The shared path against an allocator that follows a script, under both ways of purging.
#include <gtest/gtest.h>

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
    // Fails as often as it is told, then gives a dirty buffer.
    char* Allocate(int failures, const char* caller, uint64_t size = kSize, bool clear = false)
    {
        m_calls = 0;
        Forget();
        m_asked.clear();
        char* result = m_buffer;
        const auto call = [&]() -> char* {
            if (++m_calls <= failures) return nullptr;
            return static_cast<char*>(std::memset(m_buffer, 'd', kSize));
        };
        Up_AllocateShared(call, kCode, caller, size, clear, &result, false);
        return result;
    }

    int m_calls = 0;
    char m_buffer[kSize];
};

TEST_F(Shared, TriesAgainWhilePurgingFreesSomething)
{
    HostHas(3 * kMiB, kMiB, 1);
    SetRoom(100 * kMiB);
    qltest::TraceLines lines;
    EXPECT_NE(Allocate(3, "frame"), nullptr);
    EXPECT_EQ(m_calls, 4);
    // It asks for all the room below the limit and the request.
    EXPECT_EQ(m_asked,
              (std::vector<Asked>{
                  {100 * kMiB + kSize, kSize}, {101 * kMiB + kSize, kSize}, {102 * kMiB + kSize, kSize}}));
    EXPECT_EQ(lines.With("ALLOC_OP_FAILED OpName:frame").size(), 3u);
    EXPECT_EQ(lines.With("ALLOC_OP_FAILED Frag"),
              std::vector<std::string>(
                  3, "ALLOC_OP_FAILED Fragmentation or other resource constraint\treqsize Kb:64"));
    EXPECT_EQ(lines.With("ALLOC_OP_FAILED_RECOVERY"),
              (std::vector<std::string>{"ALLOC_OP_FAILED_RECOVERY_STAT success:t, retries:3"}));
    EXPECT_TRUE(Reports().empty());
}

TEST_F(Shared, GivesUpWhenPurgingFreesNothing)
{
    qltest::TraceLines lines;
    EXPECT_EQ(Allocate(99, "frame"), nullptr);
    EXPECT_EQ(Allocate(99, nullptr), nullptr);
    EXPECT_EQ(m_calls, 2) << "the first failure always earns a second attempt, also without a host";
    const std::string lost = "ALLOC_FAILED_UNABLE_TO_RECOVER what:";
    EXPECT_EQ(lines.With(lost), (std::vector<std::string>{lost + "frame", lost + "Unidentified caller."}));
    EXPECT_EQ(lines.With("ALLOC_OP_FAILED_RECOVERY").at(0),
              "ALLOC_OP_FAILED_RECOVERY_STAT success:f, retries:1");
    EXPECT_EQ(lines.With("POSS_FRAGMENTATION").size(), 1u);
}

TEST_F(Shared, NeitherReportsNorClearsAfterAFailedStatistic)
{
    EXPECT_EQ(Allocate(1, "frame", kSize, true)[5], 0) << "a retry alone does not keep it from being cleared";
    const auto manager = zvkcore::utility::Guid::CreateRandom();
    U_InstallExternalMemoryManager(manager, []() -> unsigned long { throw 9; });
    EXPECT_EQ(Allocate(0, "frame"), nullptr) << "the limit test failed";
    EXPECT_EQ(m_calls, 0);
    EXPECT_TRUE(Reports().empty());
    U_ScDisableProactivePrePurging disable;  // so that the limit test asks for no statistic
    char* block = Allocate(1, "frame", kSize, true);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[5], 'd');
    U_UnInstallExternalMemoryManager(manager);
}

// The feature is asked for each request, so both ways may alternate in one run.
TEST_F(Shared, PurgesInBothWaysInTurn)
{
    HostHas(0, 0);
    SetRoom(-1);
    int signals = 0;
    U_SetAsyncPurgeRequestCallback([&] { ++signals; });
    for (int round = 0; round < 3; ++round) {
        SetAsync(true);
        signals = 0;
        EXPECT_EQ(Allocate(99, nullptr), nullptr);
        EXPECT_EQ(m_calls, 1) << "one attempt";
        EXPECT_EQ(signals, 1);
        ASSERT_EQ(Reports().size(), 1u) << "a quiet request reports here";
        EXPECT_EQ(Reports()[0].location, kCode);
        EXPECT_NE(Reports()[0].text.find("(12803 / Unidentified caller.)"), std::string::npos);
        EXPECT_EQ(Allocate(0, nullptr, 2 * kGiB), nullptr);
        EXPECT_EQ(Reports().size(), 1u) << "as does one that is too large";
        EXPECT_EQ(m_calls, 0);
        EXPECT_EQ(Allocate(0, "frame", kSize, true)[7], 0);
        EXPECT_EQ(Allocate(0, "frame")[7], 'd');
        EXPECT_TRUE(m_asked.empty());

        SetAsync(false);
        signals = 0;
        EXPECT_NE(Allocate(1, "frame"), nullptr);
        EXPECT_EQ(m_calls, 2);
        EXPECT_FALSE(m_asked.empty());
        EXPECT_EQ(signals, 0);
    }
}

}  // namespace
