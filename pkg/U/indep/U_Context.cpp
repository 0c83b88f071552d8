// Contexts: the shared core under the names of activities, and the const form that only they have.
//
// The const context of a thread is a record of its own: a weak pointer and a count, its thread's alone.
#include "U_Context.h"

#include <cstdio>

#include "Up_ContextCore.h"
#include "Up_KeyEvents.h"

using Core = Up_ContextCore<U_Context>;

std::atomic<int64_t> U_Context::S_ctxt_id{0};

namespace {

constexpr int kLineConstGone = 343;
constexpr int kLineConstOther = 344;

struct ConstContextData {
    boost::weak_ptr<const U_Context> context;
    std::atomic<int32_t> activation_count{0};
};

constinit thread_local ConstContextData* s_current_const = nullptr;

void DropConstRecord()
{
    delete s_current_const;
    s_current_const = nullptr;
}

ConstContextData& MakeConstRecord()
{
    struct Keeper {
        ~Keeper() { DropConstRecord(); }
        void Touch() const {}
    };
    static thread_local const Keeper keeper;
    keeper.Touch();
    s_current_const = new ConstContextData;
    return *s_current_const;
}

}  // namespace

void Up_FailContext(int line, const char* text)
{
    U_ReportFailedVerification(0, line, nullptr, text);
    throw int{U_Err_BAD_PARAMETER};
}

void Up_TraceContextLine(const char* channel, const char* format, long long id, const char* caller) noexcept
{
    char line[160];
    std::snprintf(line, sizeof line, format, id, caller);
    zvkcore::debug::Trace(6, channel, line);
}

U_State::~U_State() = default;

U_Context::U_Context() : context_id{Core::NextId()}
{
    Core::MakeStates(*this);
}

U_Context::~U_Context()
{
    Core::End(*this);
}

boost::shared_ptr<U_Context> U_Context::MakeNewContext()
{
    return boost::shared_ptr<U_Context>{new U_Context};
}

void U_Context::Activate()
{
    Core::Activate(*this);
}
void U_Context::Deactivate()
{
    Core::Deactivate(*this);
}

void U_Context::ActivateConst() const
{
    if (s_current_const) {
        const auto current = s_current_const->context.lock();
        if (!current) Up_FailContext(kLineConstGone, "current context is gone");
        if (current->context_id != context_id)
            Up_FailContext(kLineConstOther, "another context is already active");
    } else {
        AttachConstContextTLS(shared_from_this());
    }
    ++s_current_const->activation_count;
}

void U_Context::DeactivateConst() const
{
    if (!s_current_const) return;
    const int32_t former = s_current_const->activation_count.fetch_sub(1);
    if (former == 1 && s_current_const->context.lock().get() == this)
        DetachConstContextTLS("Deactivate", context_id);
}

boost::shared_ptr<U_Context> U_Context::GetCurrent(bool allow_none)
{
    return Core::GetCurrent(allow_none);
}

boost::shared_ptr<const U_Context> U_Context::GetCurrentConst(bool allow_none)
{
    if (s_current_const) {
        if (auto current = s_current_const->context.lock()) return current;
    }
    return GetCurrent(allow_none);
}

bool U_Context::HasCurrent(bool /*allow_none*/)
{
    return Core::HasCurrent();
}

bool U_Context::HasCurrentConst()
{
    return (s_current_const && !s_current_const->context.expired()) || HasCurrent(false);
}

void U_Context::RegisterState(const ImmutableString& name, StateFactory factory)
{
    Core::Register(name, std::move(factory));
}

void U_Context::UnregisterState(const ImmutableString& name)
{
    Core::Unregister(name);
}

boost::shared_ptr<U_State> U_Context::GetState(const ImmutableString& name)
{
    return Core::FindState(*this, name);
}

boost::shared_ptr<U_State> U_Context::GetState(const ImmutableString& name) const
{
    return Core::FindState(*this, name);
}

std::shared_ptr<U_Context::ActivationToken> U_Context::GetActivationToken(bool create)
{
    return Core::GetToken(*this, create);
}

void U_Context::ClearActivationToken()
{
    Core::ClearToken(*this);
}

bool U_Context::CheckAbortAndFlushCompletionRoutines()
{
    const U_KeyEventSource source = Up_CurrentKeyEventSource();
    uint16_t key_code = 0;
    if (!source.next(source.refcon, &key_code) || key_code != kU_KeyCode_Escape) return false;
    source.flush(source.refcon);
    return true;
}

// --- The thread's records ----------------------------------------------------------------------------------

void AttachNonConstContextTLS(const boost::shared_ptr<U_Context>& context)
{
    Core::Attach(context);
}

void DetachNonConstContextTLS(const char* caller, long long expected_id)
{
    Core::Detach(caller, expected_id);
}

void AttachConstContextTLS(const boost::shared_ptr<const U_Context>& context)
{
    DetachConstContextTLS(Core::kWords.attachCaller, -1);
    Core::TraceSet(Core::Id(*context));
    MakeConstRecord().context = context;
}

void DetachConstContextTLS(const char* caller, long long expected_id)
{
    const auto current = s_current_const ? s_current_const->context.lock() : nullptr;
    if (expected_id != -1 && (!s_current_const || (current && Core::Id(*current) != expected_id))) return;
    Core::TraceUnset(current ? Core::Id(*current) : expected_id, caller);
    DropConstRecord();
}

U_WeakContextSetter::U_WeakContextSetter(const boost::shared_ptr<U_Context>& context)
{
    if (!context || U_Context::HasCurrent(false)) return;
    m_context = context;
    context->Activate();
}

U_WeakContextSetter::~U_WeakContextSetter()
{
    if (const auto context = m_context.lock()) context->Deactivate();
}
