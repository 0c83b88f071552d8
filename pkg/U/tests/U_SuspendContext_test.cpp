#include "U_SuspendContext.h"

#include <gtest/gtest.h>

#include <boost/algorithm/string/replace.hpp>
#include <thread>

#include "Contend.h"
#include "ContextTest.h"
#include "FailingAllocator.h"
#include "U_ErrState.h"
#include "Up_ContextCore.h"
#include "Up_ErrState.h"

using zvkcore::threads::AsyncEventLoopAdaptor;
using zvkcore::threads::AsyncThreadedExecutor;
using zvkcore::threads::OpenOnceGate;
using Core = Up_ContextCore<U_Context>;
using RenderCore = Up_ContextCore<U_RenderContext>;

namespace {

class Lending : public ContextTest {
  protected:
    /// Lends what this thread has, for one call on the executor.
    int Call(const std::function<int()>& function)
    {
        U_SuspendContext lending;
        return lending.CallOnThreadedExecutor(m_executor, function);
    }

    std::shared_ptr<AsyncThreadedExecutor> m_executor = std::make_shared<AsyncThreadedExecutor>("lending");
};

TEST_F(Lending, ContextsMoveThereAndBack)
{
    const Active<U_Context> context;
    const Active<U_RenderContext> render;
    {
        U_SuspendContext lending;
        EXPECT_EQ(render, lending.GetRenderContext());
        EXPECT_FALSE(U_Context::HasCurrent(true));
        EXPECT_FALSE(U_RenderContext::HasCurrent());
        EXPECT_EQ(1, Core::ActivationCount(*context));
        EXPECT_EQ(-1, Core::ActiveThread(*context));
        EXPECT_FALSE(context->GetActivationToken(false));
        EXPECT_EQ(42, lending.CallOnThreadedExecutor(m_executor, [&] {
            const bool there =
                U_Context::GetCurrent(false) == context && U_RenderContext::GetCurrent(false) == render;
            const bool counted =
                Core::ActivationCount(*context) == 2 && Core::ActiveThread(*context) == Core::ThisThread();
            return there && counted ? 42 : 1;
        }));
        EXPECT_EQ(1, Core::ActivationCount(*context));
        EXPECT_EQ(-1, RenderCore::ActiveThread(*render));
    }
    EXPECT_EQ(context, U_Context::GetCurrent(true));
    EXPECT_EQ(render, U_RenderContext::GetCurrent(true));
    EXPECT_EQ(Core::ThisThread(), Core::ActiveThread(*context));
}

TEST_F(Lending, WhatTheFunctionSeesDependsOnWhatIsLent)
{
    const auto seen = [this] {
        return Call([] {
            return U_Context::HasCurrent(true) | U_Context::HasCurrentConst() << 1 |
                   U_RenderContext::HasCurrent() << 2;
        });
    };
    EXPECT_EQ(0, seen());
    const Active<U_RenderContext> render;
    EXPECT_EQ(0, seen());  // a render context alone opens no scope there
    EXPECT_TRUE(U_RenderContext::HasCurrent());
    const auto reading = U_Context::MakeNewContext();
    reading->ActivateConst();
    EXPECT_EQ(2 | 4, seen());
    EXPECT_TRUE(U_Context::HasCurrentConst());  // a const context stays attached here
    reading->DeactivateConst();
}

TEST_F(Lending, EveryMoveIsTraced)
{
    zvktest::TraceRecorder trace;
    for (const char* channel : {"U_Context", "U_RenderContext"}) zvkcore::debug::SetTraceLevel(channel, 6);
    auto render = U_RenderContext::MakeNewContext();
    const auto context = U_Context::MakeNewContext();
    const std::string id = std::to_string(Core::Id(*context)),
                      renderID = std::to_string(RenderCore::Id(*render));
    context->Activate();
    Call([] { return 0; });
    context->Deactivate();
    render->Activate();
    render.reset();
    zvkcore::debug::ResetTraceLevels();
    const std::string attached = "sThreadContext unset -1 from AttachContextTLS\nsThreadContext set #\n";
    const std::string expected = attached + "sThreadContext unset # from U_SuspendContext\n" +  //
                                 attached + "sThreadContext unset # from ~U_ResumeContext\n" +
                                 "sThreadContext unset -1 from ~U_ResumeContext\n" +  // the render's side
                                 "inGate opened for #\n" +                            //
                                 attached + "~U_SuspendContext for #\n" +
                                 "sThreadContext unset # from Deactivate\n";
    const std::string rendered =
        "sThreadContext unset -1 from AttachRenderContextTLS\nsThreadContext set #\n"
        "sThreadContext unset # from ~U_RenderContext\n";
    EXPECT_EQ(trace.Text(),
              boost::replace_all_copy(expected, "#", id) + boost::replace_all_copy(rendered, "#", renderID));
}

TEST_F(Lending, HoweverTheFunctionEndsItsCodeTravelsAsTheResult)
{
    struct Row {
        const char* name;
        std::function<int()> function;
        int result;
    };
    const Active<U_Context> context;
    {
        U_SuspendContext lending;  // each call has a result of its own
        for (const Row& row :
             {Row{"returned", [] { return 5; }, 5}, Row{"thrown int", []() -> int { throw 9; }, 9},
              Row{"thrown zero", []() -> int { throw 0; }, 0},
              Row{"out of memory", []() -> int { throw std::bad_alloc{}; }, 4},
              Row{"bad cast", []() -> int { throw std::bad_cast{}; }, 3},
              Row{"unknown", []() -> int { throw "of no known kind"; }, 0}, Row{"empty", {}, 14}}) {
            EXPECT_EQ(row.result, lending.CallOnThreadedExecutor(m_executor, row.function)) << row.name;
        }
    }
    EXPECT_EQ(context, U_Context::GetCurrent(true));
}

TEST_F(Lending, OnTheExecutorsOwnThreadItRunsInPlace)
{
    const auto loop = std::make_shared<AsyncEventLoopAdaptor>();
    const Active<U_Context> context;
    {
        U_SuspendContext lending;
        EXPECT_EQ(6, lending.CallOnEventLoopAdaptorExecutor(
                         loop, [&] { return U_Context::GetCurrent(true) == context ? 6 : 1; }));
        EXPECT_EQ(context, U_Context::GetCurrent(true));
        EXPECT_THROW(lending.CallOnEventLoopAdaptorExecutor(loop, {}), std::bad_function_call);
    }
    EXPECT_EQ(context, U_Context::GetCurrent(true));
}

TEST_F(Lending, TheErrorStateGoesAlongAndIsNotLeftThere)
{
    const auto failing = []() -> int {
        U_ReportFailedVerification(0, 1, nullptr, "lent");
        throw std::runtime_error{"lent"};
    };
    U_StartQuietErrorsOnCurrentThread(0);
    EXPECT_EQ(14, Call(failing));
    U_EndQuietErrorsOnCurrentThread();
    EXPECT_TRUE(Reports().empty());  // neither by the function nor of what it threw
    EXPECT_EQ(14, Call(failing));
    EXPECT_EQ(2u, Reports().size());
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
    std::atomic<int> right{0}, next{0};
    zvktest::Contend(kThreads, [&](int thread) {
        // Registering takes its turn with the making of contexts.
        const auto name = ImmutableString::Create(std::to_string(thread).c_str());
        const auto make = [](auto*) { return boost::shared_ptr<U_State>{new U_State}; };
        for (int n = next++; n < kContexts; n = next++) {
            U_Context::RegisterState(name, make);
            const Active<U_Context> context;
            U_Context::UnregisterState(name);
            right += context->GetState(name) != nullptr;
            const Active<U_RenderContext> render;
            {
                U_SuspendContext lending;
                right +=
                    lending.CallOnThreadedExecutor(executors[static_cast<std::size_t>(n % kExecutors)], [&] {
                        return U_Context::GetCurrent(true) == context &&
                               U_RenderContext::GetCurrent(true) == render;
                    });
            }
            right += U_Context::GetCurrent(true) == context;
        }
    });
    EXPECT_EQ(3 * kContexts, right);
}

// Termination has no way back, so it happens in a process of its own.
TEST_F(Lending, TerminationFailsWaitersAndStartsNothing)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a fresh process, with no threads but its own
    const auto terminate = [this] {
        OpenOnceGate release;
        m_executor->CallAsynchronously(
            [&release] { release.PassThroughUntil(std::chrono::steady_clock::time_point::max()); });
        std::atomic<bool> ran{false};
        const auto run = [&ran] { return ran.exchange(true) ? 1 : 0; };
        std::thread ender{U_SuspendContext::TerminateAndFailAllSuspendedContexts};
        const int result = Call(run);
        ender.join();
        const auto gate = std::make_shared<OpenOnceGate>();
        U_SuspendContext::ExecuteStatic(run, gate, {}, {}, {}, {}, {});
        release.Open();
        m_executor->Terminate();  // behind the function that was still queued
        _exit(result == U_SuspendContext::kTerminated && !gate->IsOpen() && !ran ? 0 : 1);
    };
    EXPECT_EXIT(terminate(), testing::ExitedWithCode(0), "");
}

}  // namespace
