// The examples of docs/guides/contexts.md.
#include <thread>

#include "QLTest.h"
#include "U_BigMutex.h"
#include "U_DeadLock.h"
#include "U_SuspendContext.h"

namespace {

using zvkcore::debug::deadlocks::InstallDeadLockDetector;
using zvkcore::threads::AsyncThreadedExecutor;

class ContextsGuide : public qltest::Library {};

struct ExportState : U_State {
    int frames = 0;
};

TEST_F(ContextsGuide, AnActivityWithItsData)
{
    static const auto kName = ImmutableString::Create("MyApp.ExportState");
    U_Context::RegisterState(kName, [](U_Context*) { return boost::shared_ptr<U_State>{new ExportState}; });

    const auto context = U_Context::MakeNewContext();
    context->Activate();
    auto state = boost::dynamic_pointer_cast<ExportState>(U_Context::GetCurrent(false)->GetState(kName));
    ++state->frames;
    context->Deactivate();

    EXPECT_EQ(boost::dynamic_pointer_cast<ExportState>(context->GetState(kName)), state);
    EXPECT_FALSE(U_Context::GetCurrent(true));
    {
        const U_WeakContextSetter setter{context};
        EXPECT_EQ(U_Context::GetCurrent(false), context);
    }
    U_Context::UnregisterState(kName);
}

TEST_F(ContextsGuide, ABlockingCallElsewhere)
{
    const auto context = U_Context::MakeNewContext();
    context->Activate();
    const auto reader = std::make_shared<AsyncThreadedExecutor>("reader");
    const auto file = std::make_shared<int>(12);
    {
        U_SuspendContext lending;
        const int err = lending.CallOnThreadedExecutor(
            reader, [file, context] { return U_Context::GetCurrent(false) == context ? *file : 3; });
        EXPECT_EQ(err, 12);
    }
    EXPECT_EQ(U_Context::GetCurrent(false), context);
    context->Deactivate();
}

TEST_F(ContextsGuide, OneRenderAtATimeUnderAWatch)
{
    const auto former = InstallDeadLockDetector(U::CreateDeadLockDetector());
    int written = 0;
    const auto render = [&written] {
        const auto context = U_RenderContext::MakeNewContext();
        context->Activate();
        {
            const U::BigMutexLock lock{{}};
            ++written;
            U::BigMutexSuspender wait{U_RenderContext::GetCurrent(false)};
            wait.RestoreLock();
            ++written;
        }
        context->Deactivate();
    };
    std::thread one{render};
    std::thread two{render};
    one.join();
    two.join();
    InstallDeadLockDetector(former);
    EXPECT_EQ(written, 4);
}

}  // namespace
