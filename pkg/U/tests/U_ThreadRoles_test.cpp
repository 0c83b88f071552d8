// Every role is entered, counted, traced and left by the same rules, but for those that are wanted otherwise.
#include "U.h"

#include "Contend.h"
#include "FailingAllocator.h"
#include "QLTest.h"
#include "Up_ThreadRoles.h"
#include "zvkcore/debug/Assert.h"
#include "zvkcore/debug/Trace.h"
#include "zvkcore/debug/Trailmark.h"
#include "zvkcore/utility/System.h"

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

TEST(ThreadRoles, AreTheCallersAndAddUpAndAreTraced)
{
    static std::vector<std::string> s_lines;
    zvkcore::debug::SetTraceLevel("U_THREADS", 6);
    zvkcore::debug::SetTraceSink([](int level, std::string_view channel, std::string_view text) {
        s_lines.push_back(std::to_string(level) + " " + std::string(channel) + " " + std::string(text));
    });
    for (const Role& role : kRoles) {
        SCOPED_TRACE(role.name);
        s_lines.clear();
        EXPECT_FALSE(role.isOn());
        role.enter();
        role.enter();
        EXPECT_TRUE(role.isOn());
        zvktest::OnAnotherThread([&] { EXPECT_FALSE(role.isOn()) << "another thread"; });
        role.leave();
        EXPECT_EQ(role.isOn(), role.many);
        if (role.many) role.leave();
        EXPECT_FALSE(role.isOn());
        // A deregistration is traced under the registering function's name.
        const std::string id = std::to_string(U_GetCurrentThreadID());
        EXPECT_EQ(s_lines.front(),
                  std::string("6 U_THREADS ") + role.name + " registered " + id + role.text + "\n");
        EXPECT_EQ(s_lines.back(),
                  std::string("6 U_THREADS ") + role.name + " removed " + id + role.text + "\n");
    }
    zvkcore::debug::SetTraceSink({});
    zvkcore::debug::ResetTraceLevels();
    EXPECT_TRUE(U_IsOnUIThread());
}

TEST(ThreadRoles, OthersAreRegisteredByIdOrReplaceTheFormer)
{
    EXPECT_EQ(U_PSLThreadID() & U_PRThreadID(), ~0ul);
    U_RegisterPSLThread();
    zvktest::OnAnotherThread(U_RegisterPSLThread);
    EXPECT_FALSE(U_IsOnPSLThread());
    EXPECT_NE(U_PSLThreadID(), ~0ul);
    U_DeregisterPSLThread();

    U_RegisterMainThread(4242);
    EXPECT_TRUE(U_IsMainThreadID(4242));
    EXPECT_FALSE(U_IsOnMainThread());
    for (const unsigned long caller : {~0ul, ~0ul - 1}) {
        U_RegisterMainThread(caller);
        EXPECT_TRUE(U_IsOnMainThread());
        U_DeregisterMainThread();
    }
    EXPECT_TRUE(U_IsMainThreadID(4242));
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
    zvktest::Contend(8, [](int) {
        for (int round = 0; round < 300; ++round) {
            U_RenderThreadRegistration outer;
            {
                U_RenderThreadRegistration inner;
                U_InterFrameRenderThreadRegistration interFrame;
                EXPECT_TRUE(U_IsOnInterFrameRenderThread());
            }
            EXPECT_TRUE(U_IsOnRenderThread() && !U_IsOnInterFrameRenderThread());
        }
        EXPECT_FALSE(U_IsOnRenderThread());
    });
}

TEST(MaxNumThreads, FollowTheCPUs)
{
    const int cpus = zvkcore::utility::CPUCount();
    EXPECT_EQ(U_GetMaxNumThreads(), Up_ScaleThreadCount(cpus, 160));
    EXPECT_EQ(U_GetMaxNumThreadsLegacy(), Up_CapThreadCount(cpus));
}

}  // namespace
