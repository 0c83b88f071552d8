#include "U_BigMutex.h"

#include <gtest/gtest.h>

#include <barrier>
#include <thread>

#include "ContextTest.h"
#include "U_DeadLock.h"
#include "Up_DeadLock.h"
#include "Up_LockOrder.h"

namespace {

class BigMutex : public ContextTest {
  protected:
    /// The born library's main thread never takes the mutex, so what is tested runs on another one.
    template <class Body>
    static void OnRenderThread(Body body)
    {
        std::thread{body}.join();
    }

    static U::BigMutexState& StateOf(const boost::shared_ptr<U_RenderContext>& render)
    {
        return dynamic_cast<U::BigMutexState&>(*render->GetState(U::BigMutexState::S_StateName));
    }
};

TEST_F(BigMutex, TheStateFollowsTheTable)
{
    OnRenderThread([] {
        const auto render = U_RenderContext::MakeNewContext();
        auto& state = StateOf(render);
        EXPECT_STREQ("BigMutexState", state.GetStateName().GetText());
        {
            const U::BigMutexLock outer{render};
            EXPECT_TRUE(state.HasLock());
            {
                const U::BigMutexLock nested{render};
                EXPECT_TRUE(state.HasLock());
            }
            EXPECT_TRUE(state.HasLock());  // the nested scope held nothing
            {
                U::BigMutexSuspender suspender{render};
                EXPECT_FALSE(state.HasLock());
                U::BigMutexSuspender again{render};  // nothing to give up
                again.RestoreLock();
                EXPECT_FALSE(state.HasLock());
                suspender.RestoreLock();
                EXPECT_TRUE(state.HasLock());
                state.ClearLock();
                suspender.RestoreLock();
                EXPECT_FALSE(state.HasLock());
            }
        }
        EXPECT_FALSE(state.HasLock());
        EXPECT_TRUE(state.SetLock());
        EXPECT_FALSE(state.SetLock());
        state.ClearLock();
    });
}

TEST_F(BigMutex, TheCurrentRenderIsTheDefault)
{
    OnRenderThread([] {
        const auto render = U_RenderContext::MakeNewContext();
        render->Activate();
        {
            const U::BigMutexLock lock{{}};
            EXPECT_TRUE(StateOf(render).HasLock());
        }
        EXPECT_FALSE(StateOf(render).HasLock());
        render->Deactivate();
    });
}

TEST_F(BigMutex, TheMainThreadHoldsNothing)
{
    const auto render = U_RenderContext::MakeNewContext();
    const U::BigMutexLock lock{render};
    EXPECT_FALSE(StateOf(render).HasLock());
}

TEST_F(BigMutex, ALockDiesWithItsRender)
{
    OnRenderThread([] {
        auto render = U_RenderContext::MakeNewContext();
        StateOf(render).SetLock();
        render.reset();
    });
    OnRenderThread([] { const U::BigMutexLock lock{U_RenderContext::MakeNewContext()}; });
}

TEST_F(BigMutex, ALockGoesBackOnItsOwnThread)
{
    std::barrier step{2};
    auto render = U_RenderContext::MakeNewContext();
    std::thread owner{[&] {
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
    OnRenderThread([] { const U::BigMutexLock lock{U_RenderContext::MakeNewContext()}; });
}

TEST_F(BigMutex, RendersSerialiseAndSuspendersLetOthersIn)
{
    constexpr int kThreads = 8, kRounds = 300;
    std::barrier start{kThreads};
    int inside = 0, total = 0;  // only under the mutex
    std::vector<std::thread> threads;
    std::atomic<int> crowded{0};
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            const auto render = i % 2 ? U_RenderContext::MakeNewContext() : nullptr;
            start.arrive_and_wait();
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
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(0, crowded);
    EXPECT_EQ(kThreads * kRounds, total);
}

struct Override {
    const char* name;
    bool enabled;
    unsigned char percent;
    bool state;
    unsigned char result;
};

class Overrides : public testing::TestWithParam<Override> {};

TEST_P(Overrides, StoreThePercentByTheState)
{
    U::SetMultiThreadedRenderingOverrides(GetParam().enabled, GetParam().percent);
    EXPECT_EQ(GetParam().state, U::GetMultiThreadedRenderingState(!GetParam().state));
    EXPECT_EQ(GetParam().result, U::GetMultiThreadedMaximumCPUPercent(77));
    U::ResetMultiThreadedRenderingOverrides();
    EXPECT_TRUE(U::GetMultiThreadedRenderingState(true));
    EXPECT_FALSE(U::GetMultiThreadedRenderingState(false));
    EXPECT_EQ(77, U::GetMultiThreadedMaximumCPUPercent(77));
}

INSTANTIATE_TEST_SUITE_P(Rows, Overrides,
                         testing::Values(Override{"OffIsAll", false, 50, false, 100},
                                         Override{"ZeroIsOpen", true, 0, true, 77},
                                         Override{"AsGiven", true, 60, true, 60},
                                         Override{"Capped", true, 200, true, 100}),
                         [](const auto& row) { return std::string{row.param.name}; });

// --- The detector of lock order ----------------------------------------------------------------------------

class LockOrder : public ContextTest {
  protected:
    using Name = zvkcore::utility::ImmutableString;
    const U::DeadLockDreadNot::MutexLockInfo* Held(const void* mutex) const
    {
        const auto* thread = m_detector.ThisThread();
        if (!thread) return nullptr;
        const auto found = thread->held.find(mutex);
        return found == thread->held.end() ? nullptr : &found->second;
    }
    std::size_t Held() const { return m_detector.ThisThread() ? m_detector.ThisThread()->held.size() : 0; }

    U::DeadLockDreadNot m_detector;
    const char m_mutexes[4] = {};  // places in ascending order, as the walk goes
    const Name m_first = Name::Create("QL.U.BigMutex"), m_fifth = Name::Create("MLFoundation::Initialize"),
               m_ninth = Name::Create("CVL::Foundation::Initialize");
};

TEST_F(LockOrder, OnlyNamedLocksOfTheOrderAreTracked)
{
    m_detector.OnMutexLocked(&m_mutexes[0], Name::Create("nobody's lock"), nullptr);
    m_detector.OnMutexLocked(&m_mutexes[0], {}, nullptr);
    m_detector.OnMutexLocked(&m_mutexes[0], {}, "");
    EXPECT_EQ(0u, Held());
    m_detector.OnMutexLocked(&m_mutexes[0], {}, "QL.U.BigMutex");
    ASSERT_TRUE(Held(&m_mutexes[0]));
    EXPECT_EQ(m_first, Held(&m_mutexes[0])->name);
    EXPECT_NE(std::string::npos, Held(&m_mutexes[0])->callstack.find('\n'));
}

TEST_F(LockOrder, RecursiveLocksCount)
{
    m_detector.OnMutexLocked(&m_mutexes[0], m_first, nullptr);
    m_detector.OnMutexLocked(&m_mutexes[0], m_first, nullptr);
    EXPECT_EQ(2, Held(&m_mutexes[0])->lock_count);
    m_detector.OnMutexUnlocked(&m_mutexes[0]);
    EXPECT_EQ(1, Held(&m_mutexes[0])->lock_count);
    m_detector.OnMutexUnlocked(&m_mutexes[0]);
    m_detector.OnMutexUnlocked(&m_mutexes[0]);
    EXPECT_EQ(0u, Held());
}

TEST_F(LockOrder, ABreachIsSilentAndStopsTheWalk)
{
    m_detector.OnMutexLocked(&m_mutexes[1], m_fifth, nullptr);
    m_detector.OnMutexLocked(&m_mutexes[1], m_fifth, nullptr);
    m_detector.OnMutexLocked(&m_mutexes[0], m_ninth, nullptr);
    // Taking the fifth while holding the ninth: the walk stops there and does not find the entry behind it.
    m_detector.OnMutexLocked(&m_mutexes[1], m_fifth, nullptr);
    EXPECT_EQ(1, Held(&m_mutexes[1])->lock_count);
    EXPECT_EQ(2u, Held());
    EXPECT_TRUE(Reports().empty());
}

TEST_F(LockOrder, TwoMutexesOfOneNameAreTwoEntries)
{
    m_detector.OnMutexLocked(&m_mutexes[0], m_first, nullptr);
    m_detector.OnMutexLocked(&m_mutexes[1], m_first, nullptr);
    m_detector.OnMutexLocked(&m_mutexes[1], m_first, nullptr);  // the walk stops at the namesake in front
    EXPECT_EQ(1, Held(&m_mutexes[1])->lock_count);
    EXPECT_EQ(2u, Held());
}

TEST_F(LockOrder, AnInstalledDetectorHearsOfTheBigMutex)
{
    const auto detector = std::make_shared<U::DeadLockDreadNot>();
    const auto former = zvkcore::debug::deadlocks::InstallDeadLockDetector(detector);
    std::thread{[&] {
        {
            const auto render = U_RenderContext::MakeNewContext();
            const U::BigMutexLock lock{render};
            EXPECT_EQ(1u, detector->ThisThread()->held.size());
        }
        EXPECT_TRUE(detector->ThisThread()->held.empty());
    }}.join();
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
    std::thread{[] { EXPECT_FALSE(U::ScNotifyHoldingMutexLock::IsHoldingLock()); }}.join();
}

TEST(ThreadHelpers, AWrappedGateOpenerHasOneTaker)
{
    const auto gate = std::make_shared<zvkcore::threads::OpenOnceGate>();
    auto wrapper = U::WrapGateOpener(std::make_shared<U::GateOpener>(gate));
    auto copy = wrapper;
    auto taken = U::UnwrapGateOpener(wrapper);
    EXPECT_TRUE(taken);
    EXPECT_FALSE(U::UnwrapGateOpener(copy));
    EXPECT_FALSE(gate->IsOpen());
    taken.reset();
    EXPECT_TRUE(gate->IsOpen());
}

}  // namespace
