#include "U.h"

#include <atomic>
#include <barrier>
#include <thread>

#include "FailingAllocator.h"
#include "QLTest.h"
#include "Up_ThreadRoles.h"
#include "zvkcore/debug/Assert.h"
#include "zvkcore/debug/Trace.h"
#include "zvkcore/debug/Trailmark.h"

namespace {

struct Role {
    const char* name;
    bool (*isOn)();
    void (*enter)();
    void (*leave)();
    const char* text;
    bool many;  // any number of threads, and entries add up
};

const Role kRoles[] = {
    {"U_RegisterMainThread", U_IsOnMainThread, [] { U_RegisterMainThread(~0ul); }, U_DeregisterMainThread,
     " as a main thread", true},
    {"U_RegisterRenderThread", U_IsOnRenderThread, U_RegisterRenderThread, U_DeregisterRenderThread,
     " as a render thread", true},
    {"U_RegisterInterFrameRenderThread", U_IsOnInterFrameRenderThread, U_RegisterInterFrameRenderThread,
     U_DeregisterInterFrameRenderThread, " as a interFrame render thread", true},
    {"U_RegisterPSLThread", U_IsOnPSLThread, U_RegisterPSLThread, U_DeregisterPSLThread, " as the psl thread",
     false},
    {"U_RegisterPRThread", U_IsOnPRThread, U_RegisterPRThread, U_DeregisterPRThread, " as the pr thread",
     false},
};

bool OnAnotherThread(bool (*question)())
{
    bool answer = false;
    std::thread([&] { answer = question(); }).join();
    return answer;
}

TEST(ThreadRoles, AreTheCallersAndAddUp)
{
    for (const Role& role : kRoles) {
        EXPECT_FALSE(role.isOn()) << role.name;
        role.enter();
        role.enter();
        EXPECT_TRUE(role.isOn()) << role.name;
        EXPECT_FALSE(OnAnotherThread(role.isOn)) << role.name;
        role.leave();
        EXPECT_EQ(role.isOn(), role.many) << role.name;
        if (role.many) role.leave();
        EXPECT_FALSE(role.isOn()) << role.name;
    }
    EXPECT_EQ(U_PSLThreadID(), ~0ul);
    EXPECT_TRUE(U_IsOnUIThread());
}

TEST(ThreadRoles, ALaterPSLThreadReplacesTheFormer)
{
    U_RegisterPSLThread();
    std::thread([] { U_RegisterPSLThread(); }).join();
    EXPECT_FALSE(U_IsOnPSLThread());
    EXPECT_NE(U_PSLThreadID(), ~0ul);
    U_DeregisterPSLThread();
}

TEST(ThreadRoles, OthersAreRegisteredByIdAndTheTopTwoIdsMeanTheCaller)
{
    U_RegisterMainThread(4242);
    EXPECT_TRUE(U_IsMainThreadID(4242));
    EXPECT_FALSE(U_IsOnMainThread());
    U_RegisterMainThread(~0ul - 1);
    EXPECT_TRUE(U_IsOnMainThread());
    U_DeregisterMainThread();
    EXPECT_TRUE(U_IsMainThreadID(4242));
    std::mutex mutex;
    std::vector<unsigned long> threads;
    Up_RegisterThread(mutex, threads, ~0ul);
    EXPECT_EQ(threads, std::vector<unsigned long>{U_GetCurrentThreadID()});
}

TEST(ThreadRoles, TraceUnderTheRegisteringFunctionsName)
{
    static std::vector<std::string> s_lines;
    zvkcore::debug::SetTraceLevel("U_THREADS", 6);
    zvkcore::debug::SetTraceSink([](int level, std::string_view channel, std::string_view text) {
        s_lines.push_back(std::to_string(level) + " " + std::string(channel) + " " + std::string(text));
    });
    const std::string id = std::to_string(U_GetCurrentThreadID());
    for (const Role& role : kRoles) {
        s_lines.clear();
        role.enter();
        role.leave();
        const std::string head = std::string("6 U_THREADS ") + role.name;
        EXPECT_EQ(s_lines, (std::vector<std::string>{head + " registered " + id + role.text + "\n",
                                                     head + " removed " + id + role.text + "\n"}));
    }
    zvkcore::debug::SetTraceSink({});
    zvkcore::debug::ResetTraceLevels();
}

TEST(ThreadRoles, OnlyAnAbsentRenderThreadTripsTheAssertion)
{
    static std::vector<std::string> s_asserts;
    const auto former = zvkcore::debug::SetSimpleAssertHandler(
        [](const char* file, int line, const char* function, const char* expression, const char* message) {
            s_asserts.push_back(std::string(file) + ":" + std::to_string(line) + " " + function + " " +
                                expression + " " + message);
            return false;
        });
    for (const Role& role : kRoles) role.leave();
    EXPECT_EQ(s_asserts,
              std::vector<std::string>{"U/indep/U:301 void U_DeregisterRenderThread() threadRegistered == "
                                       "true WARNING: Trying to unregister a thread that is not in the "
                                       "Render Thread list. This should not happen."});
    zvkcore::debug::SetSimpleAssertHandler(former);
}

// The new handler asks for the caller's role: running out of memory while registering must not wait for
// itself.
using ThreadRolesOfTheBorn = qltest::Library;
TEST_F(ThreadRolesOfTheBorn, RegisteringSurvivesFailedAllocations)
{
    qltest::EveryAllocationFails([this] {
        Forget();
        zvkcore::debug::trailmark::ClearTrail();
        std::mutex mutex;
        std::vector<unsigned long> threads;
        for (unsigned long id = 1; id <= 40; ++id) Up_RegisterThread(mutex, threads, id);
        return threads.size() == 40;
    });
}

TEST(ThreadRoles, HoldUnderContention)
{
    constexpr int kThreads = 8;
    std::barrier start(kThreads);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int at = 0; at < kThreads; ++at) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int round = 0; round < 300; ++round) {
                U_RenderThreadRegistration outer;
                {
                    U_RenderThreadRegistration inner;
                    U_InterFrameRenderThreadRegistration interFrame;
                    wrong += !U_IsOnInterFrameRenderThread();
                }
                wrong += !U_IsOnRenderThread() || U_IsOnInterFrameRenderThread();
            }
            wrong += U_IsOnRenderThread();
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST(MaxNumThreads, ScalesTruncatesAndCaps)
{
    EXPECT_EQ(Up_ScaleThreadCount(3, 50), 1);
    EXPECT_EQ(Up_ScaleThreadCount(3, -50), -1);
    EXPECT_EQ(Up_ScaleThreadCount(8, INT32_MAX),
              static_cast<int32_t>(8u * INT32_MAX) / 100);  // wraps, no fault
    EXPECT_EQ(Up_CapThreadCount(32), 32);
    EXPECT_GE(U_GetMaxNumThreads(), 1);
    EXPECT_GE(U_GetMaxNumThreadsLegacy(), 1);
}

}  // namespace
