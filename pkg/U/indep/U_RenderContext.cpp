// Render contexts: the shared core under the names of renders, and the temporary clone.
#include "U_RenderContext.h"

#include "Up_ContextCore.h"

using Core = Up_ContextCore<U_RenderContext>;

std::atomic<int64_t> U_RenderContext::S_ctxt_id{0};

U_RenderState::~U_RenderState() = default;

U_RenderContext::U_RenderContext(bool is_temp_clone)
    : context_id{Core::NextId()}, m_is_temp_clone{is_temp_clone}
{
    Core::MakeStates(*this);
}

U_RenderContext::~U_RenderContext()
{
    Core::End(*this);
}

boost::shared_ptr<U_RenderContext> U_RenderContext::MakeNewContext()
{
    return boost::shared_ptr<U_RenderContext>{new U_RenderContext{false}};
}

boost::shared_ptr<U_RenderContext> U_RenderContext::MakeNewTempContext(void (*deleter)(U_RenderContext*))
{
    if (!deleter) Up_FailContext(0, "deleter is null");
    // The constructor of the shared pointer calls the deleter itself when it fails.
    return boost::shared_ptr<U_RenderContext>{new U_RenderContext{true}, deleter};
}

bool U_RenderContext::GetIsTempCloneContext() const
{
    return m_is_temp_clone;
}

void U_RenderContext::Activate()
{
    Core::Activate(*this);
}
void U_RenderContext::Deactivate()
{
    Core::Deactivate(*this);
}

boost::shared_ptr<U_RenderContext> U_RenderContext::GetCurrent(bool allow_none)
{
    return Core::GetCurrent(allow_none);
}

bool U_RenderContext::HasCurrent()
{
    return Core::HasCurrent();
}

void U_RenderContext::RegisterState(const ImmutableString& name, const StateFactory& factory)
{
    Core::Register(name, factory);
}

void U_RenderContext::UnregisterState(const ImmutableString& name)
{
    Core::Unregister(name);
}

boost::shared_ptr<U_RenderState> U_RenderContext::GetState(const ImmutableString& name)
{
    return Core::FindState(*this, name);
}

boost::shared_ptr<U_RenderState> U_RenderContext::GetState(const ImmutableString& name) const
{
    return Core::FindState(*this, name);
}

std::shared_ptr<U_RenderContext::ActivationToken> U_RenderContext::GetActivationToken(bool create)
{
    return Core::GetToken(*this, create);
}

void U_RenderContext::ClearActivationToken()
{
    Core::ClearToken(*this);
}

void Up_AttachRenderContextTLS(const boost::shared_ptr<U_RenderContext>& context)
{
    Core::Attach(context);
}

void Up_DetachRenderContextTLS(const char* caller, long long expected_id)
{
    Core::Detach(caller, expected_id);
}

U_WeakRenderContextSetter::U_WeakRenderContextSetter(const boost::shared_ptr<U_RenderContext>& context)
{
    if (!context || U_RenderContext::HasCurrent()) return;
    m_context = context;
    context->Activate();
}

U_WeakRenderContextSetter::~U_WeakRenderContextSetter()
{
    if (const auto context = m_context.lock()) context->Deactivate();
}
