#include "zvkcore/threads/Executors.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <array>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "../Contend.h"
#include "zvkcore/threads/Gate.h"

using namespace zvkcore::threads;
using zvktest::Contend;
using zvktest::OnAnotherThread;

namespace {

std::error_condition Refusal(AsyncExecutor& executor)
{
    try {
        executor.CallAsynchronously([] { ADD_FAILURE() << "ran after the end"; });
    } catch (const std::system_error& failure) {
        return failure.code().default_error_condition();
    }
    return {};
}

void WaitFor(OpenOnceGate& gate)
{
    gate.PassThroughUntil(std::chrono::steady_clock::time_point::max());
}

}  // namespace

TEST(ThreadedExecutor, RunsEverythingOnItsThreadInTheOrderOfEachCaller)
{
    AsyncThreadedExecutor executor("a name of more than fifteen bytes");
    std::array<std::vector<int>, 4> ran;  // touched on the executor's thread only
    Contend(4, [&](int caller) {
        EXPECT_FALSE(executor.IsCurrentThreadExecutorThread());
        for (int piece = 0; piece < 500; ++piece) {
            executor.CallAsynchronously([&, caller, piece] {
                EXPECT_TRUE(executor.IsCurrentThreadExecutorThread());
                ran[caller].push_back(piece);
            });
        }
    });
    executor.Terminate();
    for (const auto& pieces : ran) {
        ASSERT_EQ(pieces.size(), 500u);
        EXPECT_TRUE(std::is_sorted(pieces.begin(), pieces.end()));
    }
}

TEST(ThreadedExecutor, EitherRefusesWorkOrRunsItWhileItEnds)
{
    for (int round = 0; round < 50; ++round) {
        AsyncThreadedExecutor executor;
        std::atomic<int> accepted{0};
        std::atomic<int> ran{0};
        Contend(4, [&](int index) {
            if (index == 0) return executor.Terminate();
            for (int piece = 0; piece < 50; ++piece) {
                try {
                    executor.CallAsynchronously([&] { ++ran; });
                    ++accepted;
                } catch (const std::system_error&) {
                    return;
                }
            }
        });
        executor.Terminate();
        ASSERT_EQ(ran, accepted);
        EXPECT_EQ(Refusal(executor), std::errc::operation_canceled);
    }
}

TEST(ThreadedExecutor, GoesOnBehindAnExceptionAndRefusesEmptyWork)
{
    zvktest::TraceRecorder trace;
    AsyncThreadedExecutor executor;
    int ran = 0;
    executor.CallAsynchronously([] { throw std::runtime_error("the piece failed"); });
    executor.CallAsynchronously([] { throw 17; });
    executor.CallAsynchronously([&] { ++ran; });
    EXPECT_THROW(executor.CallAsynchronously({}), boost::bad_function_call);
    executor.Terminate();
    EXPECT_EQ(ran, 1);
    EXPECT_NE(trace.Text().find("the piece failed"), std::string::npos);
}

TEST(ThreadedExecutor, MayBeReleasedByItsOwnWork)
{
    OpenOnceGate released;
    OpenOnceGate last;
    auto executor = std::make_shared<AsyncThreadedExecutor>();
    executor->CallAsynchronously([&released, executor]() mutable {
        WaitFor(released);
        executor->CallAsynchronously([] {});
        executor->Terminate();
    });
    executor->CallAsynchronously([&last] { last.Open(); });
    executor.reset();
    released.Open();
    WaitFor(last);
}

TEST(ThreadedExecutor, LeavesTheSignalsOfTheProcessToTheHost)
{
    sigset_t blocked;
    sigemptyset(&blocked);
    AsyncThreadedExecutor executor;
    executor.CallAsynchronously([&] { pthread_sigmask(SIG_SETMASK, nullptr, &blocked); });
    executor.Terminate();
    EXPECT_TRUE(sigismember(&blocked, SIGINT));
    EXPECT_FALSE(sigismember(&blocked, SIGSEGV));
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_FALSE(sigismember(&blocked, SIGINT));
}

TEST(EventLoopAdaptor, RunsWhatIsThereOnTheLoopsThreadOnly)
{
    std::atomic<int> woken{0};
    AsyncEventLoopAdaptor adaptor([&] { ++woken; });
    int ran = 0;
    Contend(4, [&](int) {
        EXPECT_FALSE(adaptor.IsCurrentThreadExecutorThread());
        EXPECT_THROW(adaptor.RunPending(), std::system_error);
        for (int piece = 0; piece < 100; ++piece) {
            adaptor.CallAsynchronously([&] {
                ++ran;
                adaptor.CallAsynchronously([&] { ++ran; });
            });
        }
    });
    EXPECT_TRUE(adaptor.IsCurrentThreadExecutorThread());
    EXPECT_EQ(adaptor.RunPending(), 400u);
    EXPECT_EQ(ran, 400);
    EXPECT_EQ(adaptor.RunPending(), 400u);
    EXPECT_EQ(adaptor.RunPending(), 0u);
    EXPECT_EQ(woken, 800);
    OnAnotherThread([&] {
        adaptor.BindToCurrentThread();
        EXPECT_EQ(adaptor.RunPending(), 0u);
    });
    EXPECT_THROW(adaptor.RunPending(), std::system_error);
}

TEST(EventLoopAdaptor, KeepsWhatStandsBehindAnException)
{
    AsyncEventLoopAdaptor adaptor;
    int ran = 0;
    adaptor.CallAsynchronously([] { throw std::runtime_error("the piece failed"); });
    adaptor.CallAsynchronously([&] { ++ran; });
    EXPECT_THROW(adaptor.RunPending(), std::runtime_error);
    EXPECT_EQ(ran, 0);
    EXPECT_EQ(adaptor.RunPending(), 1u);
    EXPECT_EQ(ran, 1);
}

TEST(EventLoopAdaptor, DropsWhatHasNotBegunAndReleasesItWithItself)
{
    const auto held = std::make_shared<OpenOnceGate>();
    {
        AsyncEventLoopAdaptor adaptor;
        const auto opener = std::make_shared<ScopedGateOpener<OpenOnceGate>>(held);
        adaptor.CallAsynchronously([opener] { ADD_FAILURE() << "ran after the end"; });
        OnAnotherThread([&] { adaptor.Terminate(); });
        EXPECT_EQ(adaptor.RunPending(), 0u);
        EXPECT_EQ(Refusal(adaptor), std::errc::operation_canceled);
    }
    EXPECT_TRUE(held->IsOpen());
}
