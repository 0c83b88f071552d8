#include "zvkcore/threads/RecursiveMutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <system_error>

#include "Contend.h"
#include "zvkcore/threads/Gate.h"

using namespace zvkcore::threads;
using namespace std::chrono_literals;
using zvktest::Contend;
using zvktest::OnAnotherThread;
using zvktest::TraceRecorder;

namespace {

constexpr auto kForEver = std::chrono::steady_clock::time_point::max();

bool FreeForOthers(RecursiveMutex& mutex)
{
    bool free = false;
    OnAnotherThread([&] {
        RecursiveMutex::ScopedLock lock(mutex, std::defer_lock);
        free = lock.TryLock();
    });
    return free;
}

// Holds a mutex on a thread of its own until it is told to let go.
struct Holder {
    explicit Holder(RecursiveMutex& mutex)
        : thread([this, &mutex] {
              const RecursiveMutex::ScopedLock lock(mutex);
              held.Open();
              letGo.PassThroughUntil(kForEver);
          })
    {
        held.PassThroughUntil(kForEver);
    }
    ~Holder() { letGo.Open(); }

    OpenOnceGate held;
    OpenOnceGate letGo;
    std::jthread thread;
};

}  // namespace

TEST(RecursiveMutex, ExcludesThreadsThroughEveryWayOfLocking)
{
    RecursiveMutex mutex("Test.Counter");
    long counter = 0;
    Contend(8, [&](int index) {
        for (int round = 0; round < 2000; ++round) {
            const RecursiveMutex::ScopedLock outer(mutex);
            if (index % 2 == 0) mutex.LockPatiently("Test.Inner");
            RecursiveMutex::ScopedLock inner(mutex, std::defer_lock);
            ASSERT_TRUE(inner.TryLock());
            ++counter;
            inner.Unlock();
            if (index % 2 == 0) mutex.Unlock();
        }
    });
    EXPECT_EQ(counter, 8 * 2000);
    EXPECT_TRUE(FreeForOthers(mutex));
}

TEST(RecursiveMutex, ThrowsAndTracesItsNameWhenTheTimeHasPassed)
{
    struct Row {
        const char* own;
        const char* given;
        uint32_t timeout;
        const char* traced;
    };
    for (const Row& row :
         {Row{"Test.Own", nullptr, 1, "RecursiveMutex Test.Own: not free within 1 ms\n"},
          Row{"Test.Own", "Test.Given", 0, "RecursiveMutex Test.Given: not free within 0 ms\n"},
          Row{nullptr, nullptr, 2, "RecursiveMutex (unnamed): not free within 2 ms\n"}}) {
        RecursiveMutex mutex(row.own);
        Holder holder(mutex);
        TraceRecorder trace;
        try {
            mutex.Lock(row.given, row.timeout);
            FAIL() << row.traced;
        } catch (const std::system_error& failure) {
            EXPECT_EQ(failure.code(), std::errc::timed_out);
        }
        EXPECT_EQ(trace.Text(), row.traced);
    }
}

TEST(RecursiveMutex, PatientLockKeepsWaitingAndTracesEachRound)
{
    RecursiveMutex mutex("Test.Patient");
    Holder holder(mutex);
    int rounds = 0;
    const auto former = zvkcore::debug::SetTraceSink([&](int, std::string_view, std::string_view) {
        if (++rounds == 3) holder.letGo.Open();
    });
    mutex.LockPatiently(nullptr, 1);
    zvkcore::debug::SetTraceSink(former);
    EXPECT_GE(rounds, 3);
    EXPECT_FALSE(FreeForOthers(mutex));
    mutex.Unlock();
}

TEST(RecursiveMutex, ScopeUnlocksOnlyWhatItLocked)
{
    RecursiveMutex mutex;
    mutex.Lock();
    {
        RecursiveMutex::ScopedLock scope(mutex, std::defer_lock);
        EXPECT_FALSE(scope.OwnsLock());
        scope.Unlock();
    }
    EXPECT_FALSE(FreeForOthers(mutex));
    {
        RecursiveMutex::ScopedLock scope(mutex);
        scope.Lock();
        EXPECT_TRUE(scope.OwnsLock());
    }
    EXPECT_FALSE(FreeForOthers(mutex));
    mutex.Unlock();
    EXPECT_TRUE(FreeForOthers(mutex));
}

TEST(RecursiveMutex, StaysLockedWhenAStrangerUnlocksIt)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer reports this mistake itself, and rightly";
#endif
    RecursiveMutex mutex("Test.Mine");
    const RecursiveMutex::ScopedLock lock(mutex);
    TraceRecorder trace;
    OnAnotherThread([&] { mutex.Unlock(); });
    EXPECT_EQ(trace.Text(), "RecursiveMutex Test.Mine: unlocked by a thread that does not hold it\n");
    EXPECT_FALSE(FreeForOthers(mutex));
}

TEST(Gate, PassesByStateAndTime)
{
    OpenOnceGate gate;
    const auto now = std::chrono::steady_clock::now();
    EXPECT_FALSE(gate.PassThroughUntil(now + 1ms));
    EXPECT_FALSE(gate.PassThroughUntil(now - 1h));
    EXPECT_FALSE(gate.PassThroughUntil({}));
    EXPECT_FALSE(gate.PassThroughUntil(std::chrono::steady_clock::time_point::min()));
    gate.Open();
    gate.Open();
    EXPECT_TRUE(gate.IsOpen());
    EXPECT_TRUE(gate.PassThroughUntil(std::chrono::steady_clock::time_point::min()));
}

TEST(Gate, LetsEverybodyThroughWhoCameBeforeOrAfterTheOpening)
{
    for (int round = 0; round < 300; ++round) {
        OpenOnceGate gate;
        int message = 0;
        std::atomic<int> seen{0};
        Contend(4, [&](int index) {
            if (index == 0) {
                message = round + 1;
                gate.Open();
            } else if (gate.PassThroughUntil(kForEver)) {
                seen += message;
            }
        });
        ASSERT_EQ(seen, 3 * (round + 1));
    }
}
