#include "U_SuspendContext.h"

#include <gtest/gtest.h>

#include <barrier>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "ContextTest.h"
#include "FailingAllocator.h"
#include "U_ErrState.h"
#include "Up_ContextCore.h"
#include "Up_ErrState.h"

using zvkcore::threads::AsyncEventLoopAdaptor;
using zvkcore::threads::AsyncThreadedExecutor;
using Core = Up_ContextCore<U_Context>;
using RenderCore = Up_ContextCore<U_RenderContext>;

namespace {

class Lending : public ContextTest {
  protected:
    std::shared_ptr<AsyncThreadedExecutor> m_executor = std::make_shared<AsyncThreadedExecutor>("lending");
};

TEST_F(Lending, ContextsMoveThereAndBack)
{
    const auto context = U_Context::MakeNewContext();
    const auto render = U_RenderContext::MakeNewContext();
    context->Activate();
    render->Activate();
    {
        U_SuspendContext lending;
        EXPECT_EQ(render, lending.GetRenderContext());
        EXPECT_FALSE(U_Context::HasCurrent(true));
        EXPECT_FALSE(U_RenderContext::HasCurrent());
        EXPECT_EQ(1, Core::ActivationCount(*context));
        EXPECT_EQ(-1, Core::ActiveThread(*context));
        EXPECT_FALSE(context->GetActivationToken(false));
        const int result = lending.CallOnThreadedExecutor(m_executor, [&] {
            const bool there =
                U_Context::GetCurrent(false) == context && U_RenderContext::GetCurrent(false) == render;
            const bool counted =
                Core::ActivationCount(*context) == 2 && Core::ActiveThread(*context) == Core::ThisThread();
            return there && counted ? 42 : 1;
        });
        EXPECT_EQ(42, result);
        EXPECT_EQ(1, Core::ActivationCount(*context));
        EXPECT_EQ(-1, RenderCore::ActiveThread(*render));
    }
    EXPECT_EQ(context, U_Context::GetCurrent(true));
    EXPECT_EQ(render, U_RenderContext::GetCurrent(true));
    EXPECT_EQ(Core::ThisThread(), Core::ActiveThread(*context));
    context->Deactivate();
    render->Deactivate();
}

TEST_F(Lending, WhatTheFunctionSeesDependsOnWhatIsLent)
{
    const auto seen = [this] {
        int bits = -1;
        U_SuspendContext lending;
        lending.CallOnThreadedExecutor(m_executor, [&] {
            bits = U_Context::HasCurrent(true) | U_Context::HasCurrentConst() << 1 |
                   U_RenderContext::HasCurrent() << 2;
            return 0;
        });
        return bits;
    };
    EXPECT_EQ(0, seen());

    const auto render = U_RenderContext::MakeNewContext();
    render->Activate();
    EXPECT_EQ(0, seen());  // a render context alone opens no scope there
    EXPECT_TRUE(U_RenderContext::HasCurrent());

    const auto reading = U_Context::MakeNewContext();
    reading->ActivateConst();
    EXPECT_EQ(2 | 4, seen());
    EXPECT_TRUE(U_Context::HasCurrentConst());  // a const context stays attached here
    reading->DeactivateConst();
    render->Deactivate();
}

struct Ending {
    const char* name;
    std::function<int()> function;
    int result;
};

class LendingEnds : public Lending, public testing::WithParamInterface<Ending> {};

TEST_P(LendingEnds, TravelAsTheResult)
{
    const auto context = U_Context::MakeNewContext();
    context->Activate();
    {
        U_SuspendContext lending;
        EXPECT_EQ(GetParam().result, lending.CallOnThreadedExecutor(m_executor, GetParam().function));
    }
    EXPECT_EQ(context, U_Context::GetCurrent(true));
    context->Deactivate();
}

INSTANTIATE_TEST_SUITE_P(Ways, LendingEnds,
                         testing::Values(Ending{"Returned", [] { return 5; }, 5},
                                         Ending{"ThrownInt", []() -> int { throw 9; }, 9},
                                         Ending{"ThrownZero", []() -> int { throw 0; }, 0},
                                         Ending{"OutOfMemory", []() -> int { throw std::bad_alloc{}; }, 4},
                                         Ending{"BadCast", []() -> int { throw std::bad_cast{}; }, 3},
                                         Ending{"Empty", {}, 14}),
                         [](const auto& row) { return std::string{row.param.name}; });

TEST_F(Lending, OnTheExecutorsOwnThreadItRunsInPlace)
{
    const auto loop = std::make_shared<AsyncEventLoopAdaptor>();
    const auto context = U_Context::MakeNewContext();
    context->Activate();
    U_StartQuietErrorsOnCurrentThread(0);
    {
        U_SuspendContext lending;
        EXPECT_EQ(6, lending.CallOnEventLoopAdaptorExecutor(loop, [&] {
            return U_Context::GetCurrent(true) == context && Up_GetPerThreadErrorState().flags ? 6 : 1;
        }));
        EXPECT_EQ(context, U_Context::GetCurrent(true));
        EXPECT_THROW(lending.CallOnEventLoopAdaptorExecutor(loop, {}), std::bad_function_call);
    }
    EXPECT_EQ(context, U_Context::GetCurrent(true));
    U_EndQuietErrorsOnCurrentThread();
    context->Deactivate();
}

TEST_F(Lending, TheErrorStateTravelsAlong)
{
    U_StartQuietErrorsOnCurrentThread(0);
    U_SuspendContext lending;
    const int flags = lending.CallOnThreadedExecutor(
        m_executor, [] { return static_cast<int>(Up_GetPerThreadErrorState().flags); });
    EXPECT_EQ(Up_ErrorState_NoLog | Up_ErrorState_NoDisplay, static_cast<uint32_t>(flags));
    U_EndQuietErrorsOnCurrentThread();

    U_SuspendContext again;
    EXPECT_EQ(0, again.CallOnThreadedExecutor(
                     m_executor, [] { return static_cast<int>(Up_GetPerThreadErrorState().flags); }));
}

TEST_F(Lending, TheErrorStateRulesTheReportOfWhatTheFunctionThrows)
{
    const auto thrown = [this] {
        U_SuspendContext lending;
        return lending.CallOnThreadedExecutor(m_executor, []() -> int { throw std::runtime_error{"lent"}; });
    };
    U_StartQuietErrorsOnCurrentThread(0);
    EXPECT_EQ(14, thrown());
    EXPECT_TRUE(Reports().empty());
    U_EndQuietErrorsOnCurrentThread();
    EXPECT_EQ(14, thrown());
    EXPECT_EQ(1u, Reports().size());
}

TEST_F(Lending, ASecondCallWaitsForItsOwnFunction)
{
    U_SuspendContext lending;
    for (const int value : {1, 2}) {
        EXPECT_EQ(value, lending.CallOnThreadedExecutor(m_executor, [value] { return value; }));
    }
}

// Wherever memory ends, the borrower is left without the contexts and their counts balance.
TEST_F(Lending, FailedAllocationsLeaveTheBorrowerAsItWas)
{
    const auto context = U_Context::MakeNewContext();
    const auto render = U_RenderContext::MakeNewContext();
    bool balanced = true;
    U_StartQuietErrorsOnCurrentThread(0);  // reports of missing memory would keep memory themselves
    qltest::EveryAllocationFails([&] {
        bool taken = false;
        try {
            const U_SuspendContext::U_ResumeContext resumed{context, {}, render};
            taken = true;
        } catch (const std::bad_alloc&) {
            taken = false;
        }
        balanced &= Core::ActivationCount(*context) == 0 && RenderCore::ActivationCount(*render) == 0;
        balanced &=
            !Core::ThreadRecord() && !RenderCore::ThreadRecord() && !context->GetActivationToken(false);
        return taken;
    });
    U_EndQuietErrorsOnCurrentThread();
    EXPECT_TRUE(balanced);
}

TEST_F(Lending, MisuseIsRefusedInWords)
{
    EXPECT_EQ("executor is null",
              FailureOf([] { U_SuspendContext{}.CallOnThreadedExecutor({}, [] { return 0; }); }));
    EXPECT_EQ("resumed context is null", FailureOf([] { U_SuspendContext::U_ResumeContext{{}, {}, {}}; }));

    const auto context = U_Context::MakeNewContext();
    AttachNonConstContextTLS(context);
    EXPECT_EQ("suspended context not active", FailureOf([] { U_SuspendContext{}; }));
    DetachNonConstContextTLS("test", -1);

    const auto render = U_RenderContext::MakeNewContext();
    Up_AttachRenderContextTLS(render);
    EXPECT_EQ("suspended render context not active", FailureOf([] { U_SuspendContext{}; }));
    Up_DetachRenderContextTLS("test", -1);
    render->Activate();
    RenderCore::SetActiveThread(*render, 999);
    context->Activate();
    EXPECT_EQ("suspended context and render context do not show the same threadID",
              FailureOf([] { U_SuspendContext{}; }));
    EXPECT_EQ(context, U_Context::GetCurrent(true));  // what had been suspended before the fault is back
    Up_DetachRenderContextTLS("test", -1);
    DetachNonConstContextTLS("test", -1);
}

TEST_F(Lending, EightThreadsLendAThousandContextsAround)
{
    constexpr int kThreads = 8, kContexts = 1000, kExecutors = 3;
    std::vector<std::shared_ptr<AsyncThreadedExecutor>> executors;
    for (int i = 0; i < kExecutors; ++i) executors.push_back(std::make_shared<AsyncThreadedExecutor>("lent"));
    std::barrier start{kThreads};
    std::atomic<int> right{0}, next{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int n = next++; n < kContexts; n = next++) {
                const auto context = U_Context::MakeNewContext();
                const auto render = U_RenderContext::MakeNewContext();
                context->Activate();
                render->Activate();
                {
                    U_SuspendContext lending;
                    right += lending.CallOnThreadedExecutor(
                        executors[static_cast<std::size_t>(n % kExecutors)], [&] {
                            return U_Context::GetCurrent(true) == context &&
                                   U_RenderContext::GetCurrent(true) == render;
                        });
                }
                right += U_Context::GetCurrent(true) == context;
                render->Deactivate();
                context->Deactivate();
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(2 * kContexts, right);
}

// Termination has no way back, so it ends in a process of its own.
TEST_F(Lending, TerminationFailsWaitersAndStartsNothing)
{
    GTEST_FLAG_SET(death_test_style,
                   "threadsafe");  // the child is a fresh process, with no threads but its own
    EXPECT_EXIT(
        {
            const auto executor = std::make_shared<AsyncThreadedExecutor>("stuck");
            auto release = std::make_shared<zvkcore::threads::OpenOnceGate>();
            executor->CallAsynchronously(
                [release] { release->PassThroughUntil(std::chrono::steady_clock::time_point::max()); });
            std::atomic<bool> ran{false};
            std::thread ender{[] { U_SuspendContext::TerminateAndFailAllSuspendedContexts(); }};
            U_SuspendContext lending;
            const int result = lending.CallOnThreadedExecutor(executor, [&ran] {
                ran = true;
                return 0;
            });
            ender.join();
            const auto gate = std::make_shared<zvkcore::threads::OpenOnceGate>();
            U_SuspendContext::ExecuteStatic(
                [&ran] {
                    ran = true;
                    return 0;
                },
                gate, {}, {}, {}, {}, {});
            const bool right = result == U_SuspendContext::kTerminated && !gate->IsOpen() && !ran;
            release->Open();
            executor->Terminate();
            _exit(right && !ran ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
