#include "U_BigMutex.h"

#include <gtest/gtest.h>

#include <barrier>
#include <thread>

#include "Contend.h"
#include "ContextTest.h"
#include "U_DeadLock.h"
#include "Up_DeadLock.h"
#include "zvkcore/debug/DebugDatabase.h"

using zvktest::OnAnotherThread;  // the born library's main thread never takes the mutex

namespace {

class BigMutex : public ContextTest {
  protected:
    static U::BigMutexState& StateOf(const boost::shared_ptr<U_RenderContext>& render)
    {
        return dynamic_cast<U::BigMutexState&>(*render->GetState(U::BigMutexState::S_StateName));
    }
};

TEST_F(BigMutex, TheStateFollowsTheTable)
{
    OnAnotherThread([] {
        const Active<U_RenderContext> render;
        auto& state = StateOf(render);
        EXPECT_STREQ("BigMutexState", state.GetStateName().GetText());
        {
            const U::BigMutexLock outer{{}};  // for the current render
            EXPECT_TRUE(state.HasLock());
            {
                const U::BigMutexLock nested{render};
            }
            EXPECT_TRUE(state.HasLock());  // the nested scope held nothing
            {
                const U::BigMutexSuspender suspender{render};
                EXPECT_FALSE(state.HasLock());
            }
            EXPECT_TRUE(state.HasLock());
        }
        EXPECT_FALSE(state.HasLock());
        EXPECT_TRUE(state.SetLock());
        EXPECT_FALSE(state.SetLock());
        {
            U::BigMutexSuspender suspender{render};
            U::BigMutexSuspender again{render};  // nothing to give up, and nothing to take back
            again.RestoreLock();
            EXPECT_FALSE(state.HasLock());
            suspender.RestoreLock();
            EXPECT_TRUE(state.HasLock());
            state.ClearLock();
        }
        EXPECT_FALSE(state.HasLock());  // it was taken back before
    });
}

TEST_F(BigMutex, TheMainThreadHoldsNothing)
{
    const auto render = U_RenderContext::MakeNewContext();
    const U::BigMutexLock lock{render};
    EXPECT_FALSE(StateOf(render).HasLock());
    EXPECT_EQ("suspended render context is null", FailureOf([] { U::BigMutexSuspender{{}}; }));
}

// The key is read once a process, so this happens in one of its own.
TEST_F(BigMutex, TheKeySwitchesEveryScopeOff)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto look = [] {
        zvkcore::debug::DebugDatabase::Instance().SetEntry("QL.UseBigMutexR", false);
        OnAnotherThread([] {
            const auto render = U_RenderContext::MakeNewContext();
            const U::BigMutexLock lock{render};
            _exit(StateOf(render).HasLock() ? 1 : 0);
        });
    };
    EXPECT_EXIT(look(), testing::ExitedWithCode(0), "");
}

TEST_F(BigMutex, ALockGoesBackOnItsOwnThread)
{
    std::barrier step{2};
    auto render = U_RenderContext::MakeNewContext();
    std::jthread owner{[&] {
        auto gone = U_RenderContext::MakeNewContext();
        StateOf(gone).SetLock();
        gone.reset();  // with its render, as this is its thread
        const U::BigMutexLock lock{render};
        step.arrive_and_wait();
        step.arrive_and_wait();
    }};
    step.arrive_and_wait();
    {
        const U::BigMutexSuspender elsewhere{render};
        EXPECT_TRUE(StateOf(render).HasLock());
        StateOf(render).ClearLock();
        EXPECT_TRUE(StateOf(render).HasLock());
    }
    render.reset();  // the state dies on this thread, and its lock at the end of the owner's scope
    step.arrive_and_wait();
    owner.join();
    OnAnotherThread([] { const U::BigMutexLock lock{U_RenderContext::MakeNewContext()}; });
}

TEST_F(BigMutex, RendersSerialiseAndSuspendersLetOthersIn)
{
    constexpr int kThreads = 8, kRounds = 300;
    int inside = 0, total = 0;  // only under the mutex
    std::atomic<int> crowded{0};
    zvktest::Contend(kThreads, [&](int thread) {
        const auto render = thread % 2 ? U_RenderContext::MakeNewContext() : nullptr;
        for (int round = 0; round < kRounds; ++round) {
            const U::BigMutexLock lock{render};
            const U::BigMutexLock nested{render};
            if (++inside != 1) ++crowded;
            --inside;
            if (render) {
                const U::BigMutexSuspender wait{render};
            }
            if (++inside != 1) ++crowded;
            ++total;
            --inside;
        }
    });
    EXPECT_EQ(0, crowded);
    EXPECT_EQ(kThreads * kRounds, total);
}

TEST(Overrides, StoreThePercentByTheState)
{
    struct Row {
        const char* name;
        bool enabled;
        unsigned char percent, result;
    };
    for (const Row& row : {Row{"off is all", false, 50, 100}, Row{"zero leaves it open", true, 0, 77},
                           Row{"as given", true, 60, 60}, Row{"capped", true, 200, 100}}) {
        U::SetMultiThreadedRenderingOverrides(row.enabled, row.percent);
        EXPECT_EQ(row.enabled, U::GetMultiThreadedRenderingState(!row.enabled)) << row.name;
        EXPECT_EQ(row.result, U::GetMultiThreadedMaximumCPUPercent(77)) << row.name;
        U::ResetMultiThreadedRenderingOverrides();
        for (const bool state : {true, false}) EXPECT_EQ(state, U::GetMultiThreadedRenderingState(state));
        EXPECT_EQ(77, U::GetMultiThreadedMaximumCPUPercent(77));
    }
}

// --- The detector of lock order ----------------------------------------------------------------------------

class LockOrder : public ContextTest {
  protected:
    using Name = zvkcore::utility::ImmutableString;

    void Lock(int place, const Name& name) { m_detector.OnMutexLocked(&m_mutexes[place], name, nullptr); }
    const U::DeadLockDreadNot::MutexLockInfo* Held(int place) const
    {
        const auto& held = m_detector.ThisThread()->held;
        const auto found = held.find(&m_mutexes[place]);
        return found == held.end() ? nullptr : &found->second;
    }
    int Count(int place) const { return Held(place) ? Held(place)->lock_count : 0; }

    U::DeadLockDreadNot m_detector;
    const char m_mutexes[2] = {};  // places in ascending order, as the walk goes
    const Name m_first = Name::Create("QL.U.BigMutex"), m_fifth = Name::Create("MLFoundation::Initialize"),
               m_ninth = Name::Create("CVL::Foundation::Initialize");
};

TEST_F(LockOrder, OnlyNamedLocksOfTheOrderAreTracked)
{
    Lock(0, Name::Create("nobody's lock"));
    for (const char* text : {static_cast<const char*>(nullptr), "", "nobody's lock"}) {
        m_detector.OnMutexLocked(&m_mutexes[0], {}, text);
        EXPECT_FALSE(Held(0));
    }
    m_detector.OnMutexLocked(&m_mutexes[0], {}, "QL.U.BigMutex");
    ASSERT_TRUE(Held(0));
    EXPECT_EQ(m_first, Held(0)->name);
    EXPECT_NE(std::string::npos, Held(0)->callstack.find('\n'));
}

TEST_F(LockOrder, RecursiveLocksCountBehindEarlierOnesToo)
{
    Lock(0, m_first);
    for (const int count : {1, 2}) {
        Lock(1, m_fifth);
        EXPECT_EQ(count, Count(1));
    }
    for (const int count : {1, 0, 0}) {
        m_detector.OnMutexUnlocked(&m_mutexes[1]);
        EXPECT_EQ(count, Count(1));
    }
    EXPECT_FALSE(Held(1));
    EXPECT_EQ(1, Count(0));
}

TEST_F(LockOrder, TheWalkStopsSilentlyAtABreachAndAtANamesake)
{
    for (const Name& inFront : {m_ninth, m_fifth}) {
        for (const int count : {1, 2}) {
            Lock(1, m_fifth);
            EXPECT_EQ(count, Count(1));
        }
        Lock(0, inFront);
        // The fifth again: the walk stops at the one in front and does not find the entry behind it.
        Lock(1, m_fifth);
        EXPECT_EQ(1, Count(1));
        EXPECT_EQ(1, Count(0));
        for (const char& mutex : m_mutexes) m_detector.OnMutexUnlocked(&mutex);
    }
    EXPECT_TRUE(Reports().empty());
}

TEST_F(LockOrder, AnInstalledDetectorHearsOfTheBigMutex)
{
    const auto detector = std::make_shared<U::DeadLockDreadNot>();
    const auto former = zvkcore::debug::deadlocks::InstallDeadLockDetector(detector);
    OnAnotherThread([&] {
        {
            const auto render = U_RenderContext::MakeNewContext();
            const U::BigMutexLock lock{render};
            EXPECT_EQ(1u, detector->ThisThread()->held.size());
        }
        EXPECT_TRUE(detector->ThisThread()->held.empty());
    });
    zvkcore::debug::deadlocks::InstallDeadLockDetector(former);
}

TEST(ThreadHelpers, HoldingALockIsPerThreadAndNests)
{
    EXPECT_FALSE(U::ScNotifyHoldingMutexLock::IsHoldingLock());
    const U::ScNotifyHoldingMutexLock outer{"outer"};
    {
        const U::ScNotifyHoldingMutexLock inner{"inner"};
    }
    EXPECT_TRUE(U::ScNotifyHoldingMutexLock::IsHoldingLock());
    OnAnotherThread([] { EXPECT_FALSE(U::ScNotifyHoldingMutexLock::IsHoldingLock()); });
}

TEST(ThreadHelpers, AWrappedGateOpenerHasOneTaker)
{
    const auto gate = std::make_shared<zvkcore::threads::OpenOnceGate>();
    auto wrapper = U::WrapGateOpener(std::make_shared<U::GateOpener>(gate));
    auto copy = wrapper;
    auto taken = U::UnwrapGateOpener(wrapper);
    EXPECT_FALSE(U::UnwrapGateOpener(copy));
    EXPECT_FALSE(gate->IsOpen());
    taken.reset();
    EXPECT_TRUE(gate->IsOpen());
}

}  // namespace
