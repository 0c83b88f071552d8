#include "zvkcore/threads/Executors.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "Contend.h"
#include "zvkcore/threads/Gate.h"

using namespace zvkcore::threads;
using zvktest::Contend;
using zvktest::OnAnotherThread;

namespace {

void WaitFor(OpenOnceGate& gate)
{
    gate.PassThroughUntil(std::chrono::steady_clock::time_point::max());
}

}  // namespace

TEST(ThreadedExecutor, RunsInOrderWhatItHasNotRefusedWhileItEnds)
{
    for (int round = 0; round < 50; ++round) {
        AsyncThreadedExecutor executor("a name of more than fifteen bytes");
        std::array<std::vector<int>, 4> ran;  // touched on the executor's thread only
        std::array<int, 4> accepted{};
        Contend(4, [&](int caller) {
            if (caller == 0 && round != 0) return executor.Terminate();
            EXPECT_FALSE(executor.IsCurrentThreadExecutorThread());
            try {
                for (int& piece = accepted[caller]; piece < 100; ++piece) {
                    executor.CallAsynchronously([&, caller, number = piece] {
                        EXPECT_TRUE(executor.IsCurrentThreadExecutorThread());
                        ran[caller].push_back(number);
                    });
                }
            } catch (const std::system_error& refusal) {
                EXPECT_EQ(refusal.code(), std::errc::operation_canceled);
            }
        });
        executor.Terminate();
        for (int caller = 0; caller < 4; ++caller) {
            ASSERT_EQ(ran[caller].size(), static_cast<size_t>(accepted[caller]));
            EXPECT_TRUE(std::is_sorted(ran[caller].begin(), ran[caller].end()));
        }
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
    adaptor.CallAsynchronously([] { throw std::runtime_error("the piece failed"); });
    adaptor.CallAsynchronously([&] { ran = 0; });
    EXPECT_THROW(adaptor.RunPending(), std::runtime_error);
    EXPECT_EQ(adaptor.RunPending(), 1u);
    EXPECT_EQ(ran, 0);
    OnAnotherThread([&] {
        adaptor.BindToCurrentThread();
        EXPECT_EQ(adaptor.RunPending(), 0u);
    });
    EXPECT_THROW(adaptor.RunPending(), std::system_error);
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
        EXPECT_THROW(adaptor.CallAsynchronously([] {}), std::system_error);
    }
    EXPECT_TRUE(held->IsOpen());
}
