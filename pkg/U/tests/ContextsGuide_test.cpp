// The examples of docs/guides/contexts.md.
#include "Contend.h"
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

TEST_F(ContextsGuide, AnActivityWithItsDataAndABlockingCall)
{
    static const auto kName = ImmutableString::Create("MyApp.ExportState");
    U_Context::RegisterState(kName, [](U_Context*) { return boost::shared_ptr<U_State>{new ExportState}; });

    const auto context = U_Context::MakeNewContext();
    const U_WeakContextSetter setter{context};
    auto state = boost::dynamic_pointer_cast<ExportState>(U_Context::GetCurrent(false)->GetState(kName));
    ++state->frames;

    const auto reader = std::make_shared<AsyncThreadedExecutor>("reader");
    U_SuspendContext lending;
    const int err = lending.CallOnThreadedExecutor(reader, [state] { return state->frames; });
    EXPECT_EQ(err, 1);
    U_Context::UnregisterState(kName);
}

TEST_F(ContextsGuide, OneRenderAtATimeUnderAWatch)
{
    const auto former = InstallDeadLockDetector(U::CreateDeadLockDetector());
    int written = 0;
    zvktest::Contend(2, [&written](int) {
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
    });
    InstallDeadLockDetector(former);
    EXPECT_EQ(written, 4);
}

}  // namespace
