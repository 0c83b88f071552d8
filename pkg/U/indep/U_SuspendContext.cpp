// Lending contexts. The suspended object and the function that runs elsewhere share a gate and a result cell,
// and nothing else: either side may be gone before the other is through.
//
// State: one flag for the process, which only ever turns true.
#include "U_SuspendContext.h"

#include <boost/make_shared.hpp>

#include <chrono>

#include "U_TrySection.h"
#include "Up_ContextCore.h"
#include "Up_ErrState.h"

using zvkcore::threads::OpenOnceGate;
using ContextCore = Up_ContextCore<U_Context>;
using RenderCore = Up_ContextCore<U_RenderContext>;

namespace {

constexpr std::chrono::nanoseconds kWaitSlice{50'000'000};

void TraceFor(const char* format, const boost::shared_ptr<U_Context>& context) noexcept
{
    static constinit U_TraceLine s_line("U_Context", 6);
    if (!s_line.Enabled()) return;
    Up_TraceContextLine("U_Context", format, context ? ContextCore::Id(*context) : -1);
}

}  // namespace

std::atomic<bool> U_SuspendContext::S_terminated{false};

U_SuspendContext::U_SuspendContext()
    : m_gate{std::make_shared<OpenOnceGate>()}, m_result{boost::make_shared<int>(0)}
{
    SuspendContext();
    try {
        SuspendRenderContext();
    } catch (...) {
        // No destructor follows: a context that has been taken off this thread goes back.
        TakeBack();
        throw;
    }
}

void U_SuspendContext::SuspendContext()
{
    if (U_Context::HasCurrent(false)) {
        const auto context = U_Context::GetCurrent(false);
        if (!context) Up_FailContext(697, "suspended context is null");
        if (ContextCore::ActivationCount(*context) <= 0) Up_FailContext(698, "suspended context not active");
        m_owning_thread = ContextCore::SetActiveThread(*context, -1);
        DetachNonConstContextTLS("U_SuspendContext", ContextCore::Id(*context));
        context->ClearActivationToken();
        m_context = context;
    } else if (U_Context::HasCurrentConst()) {
        m_const_context = U_Context::GetCurrentConst(false);
        if (!m_const_context) Up_FailContext(708, "suspended context is null");
    }
}

void U_SuspendContext::SuspendRenderContext()
{
    const auto render = U_RenderContext::GetCurrent(true);
    if (!render) return;
    if (RenderCore::ActivationCount(*render) <= 0) Up_FailContext(722, "suspended render context not active");
    const int64_t thread = RenderCore::ActiveThread(*render);
    if (m_context && m_owning_thread != thread) {
        Up_FailContext(726, "suspended context and render context do not show the same threadID");
    }
    m_owning_thread = thread;
    RenderCore::SetActiveThread(*render, -1);
    Up_DetachRenderContextTLS("U_SuspendContext", RenderCore::Id(*render));
    m_render_context = render;
}

void U_SuspendContext::TakeBack()
{
    if (m_context) {
        ContextCore::SetActiveThread(*m_context, m_owning_thread);
        AttachNonConstContextTLS(m_context);
    }
    if (m_render_context) {
        RenderCore::SetActiveThread(*m_render_context, m_owning_thread);
        Up_AttachRenderContextTLS(m_render_context);
    }
}

U_SuspendContext::~U_SuspendContext()
{
    // Without memory a context cannot be made current again; its thread then has none, and learns it.
    U_TrySection([this] { TakeBack(); });
    TraceFor("~U_SuspendContext for %lld\n", m_context);
}

std::shared_ptr<U_SuspendContext> U_SuspendContext::NewSuspendContext()
{
    return std::make_shared<U_SuspendContext>();
}

boost::shared_ptr<U_RenderContext> U_SuspendContext::GetRenderContext() const
{
    return m_render_context;
}

void U_SuspendContext::TerminateAndFailAllSuspendedContexts()
{
    bool terminated = false;
    S_terminated.compare_exchange_strong(terminated, true);
}

template <class Executor>
int U_SuspendContext::CallOnExecutor(const std::shared_ptr<Executor>& executor,
                                     const std::function<int()>& function)
{
    if (!executor) Up_FailContext(0, "executor is null");
    if (executor->IsCurrentThreadExecutorThread()) {
        // Wanted: the contexts stay attached here, and the destructor attaches them once more.
        TakeBack();
        return function();
    }
    const auto error_state = boost::make_shared<Up_PerThreadErrorState>(Up_GetPerThreadErrorState());
    // A gate opens once, so a further call of this object has one of its own, and a result cell with it.
    if (m_gate->IsOpen()) {
        m_gate = std::make_shared<OpenOnceGate>();
        m_result = boost::make_shared<int>(0);
    }
    executor->CallAsynchronously([function, gate = m_gate, context = m_context,
                                  const_context = m_const_context, render_context = m_render_context,
                                  error_state, result = m_result] {
        ExecuteStatic(function, gate, context, const_context, render_context, error_state, result);
    });
    for (;;) {
        if (S_terminated) return kTerminated;
        if (m_gate->PassThroughUntil(std::chrono::steady_clock::now() + kWaitSlice)) return *m_result;
    }
}

int U_SuspendContext::CallOnEventLoopAdaptorExecutor(
    const std::shared_ptr<zvkcore::threads::AsyncEventLoopAdaptor>& executor,
    const std::function<int()>& function)
{
    return CallOnExecutor(executor, function);
}

int U_SuspendContext::CallOnThreadedExecutor(
    const std::shared_ptr<zvkcore::threads::AsyncThreadedExecutor>& executor,
    const std::function<int()>& function)
{
    return CallOnExecutor(executor, function);
}

void U_SuspendContext::ExecuteStatic(const std::function<int()>& function,
                                     const std::shared_ptr<OpenOnceGate>& gate,
                                     const boost::shared_ptr<U_Context>& context,
                                     const boost::shared_ptr<const U_Context>& const_context,
                                     const boost::shared_ptr<U_RenderContext>& render_context,
                                     const boost::shared_ptr<Up_PerThreadErrorState>& error_state,
                                     const boost::shared_ptr<int>& result)
{
    // The gate stays shut: the waiter watches the flag itself.
    if (S_terminated) return;

    // Opens the gate on every way out, exceptions of unknown kind included, behind everything else here.
    struct OpenAtEnd {
        const std::shared_ptr<OpenOnceGate>& gate;
        const boost::shared_ptr<U_Context>& context;
        ~OpenAtEnd()
        {
            TraceFor("inGate opened for %lld\n", context);
            gate->Open();
        }
    } const open_at_end{gate, context};

    *result = 0;
    int value = 0;
    const auto call = [&] {
        // Wanted: a render context alone opens no scope, and the function runs without it.
        if (context || const_context) {
            const U_ResumeContext resumed{context, const_context, render_context};
            value = function();
        } else {
            value = function();
        }
    };
    const int code = U_TrySection([&] {
        // Around the inner section too, so that the caller's state also rules the report of what was thrown.
        const Up_ScCloneErrorState cloned{*error_state};
        return U_TrySection(call);
    });
    *result = code != 0 ? code : value;
}

U_SuspendContext::U_ResumeContext::U_ResumeContext(const boost::shared_ptr<U_Context>& context,
                                                   const boost::shared_ptr<const U_Context>& const_context,
                                                   const boost::shared_ptr<U_RenderContext>& render_context)
{
    if (!context && !const_context) Up_FailContext(867, "resumed context is null");
    try {
        Take(context, const_context, render_context);
    } catch (...) {
        // No destructor follows: what has been taken so far goes back.
        GiveBack();
        throw;
    }
}

U_SuspendContext::U_ResumeContext::~U_ResumeContext()
{
    GiveBack();
}

// Activating raises the count above what the suspended owner left, so that nested activations of the
// borrowing thread balance and the context cannot fall to zero here. The members name what has been taken.
void U_SuspendContext::U_ResumeContext::Take(const boost::shared_ptr<U_Context>& context,
                                             const boost::shared_ptr<const U_Context>& const_context,
                                             const boost::shared_ptr<U_RenderContext>& render_context)
{
    if (context) {
        ContextCore::SetActiveThread(*context, ContextCore::ThisThread());
        AttachNonConstContextTLS(context);
        context->Activate();
        m_context = context;
    } else {
        AttachConstContextTLS(const_context);
        const_context->ActivateConst();
        m_const_context = const_context;
    }
    if (render_context) {
        RenderCore::SetActiveThread(*render_context, RenderCore::ThisThread());
        Up_AttachRenderContextTLS(render_context);
        render_context->Activate();
        m_render_context = render_context;
    }
}

// Wanted: whatever the thread has as its current contexts by now goes, also what is not the lent ones.
void U_SuspendContext::U_ResumeContext::GiveBack()
{
    if (m_context) {
        m_context->Deactivate();
        ContextCore::SetActiveThread(*m_context, -1);
        DetachNonConstContextTLS("~U_ResumeContext", -1);
        m_context->ClearActivationToken();
    } else if (m_const_context) {
        m_const_context->DeactivateConst();
        DetachConstContextTLS("~U_ResumeContext", -1);
    }
    if (m_render_context) {
        m_render_context->Deactivate();
        RenderCore::SetActiveThread(*m_render_context, -1);
    }
    Up_DetachRenderContextTLS("~U_ResumeContext", -1);
}
