// What contexts and render contexts share: the thread's record of the current one, activation, and states.
//
// The two differ in the words and line numbers of their reports, which stand in one table of two rows below,
// and in the const form, which only U_Context has (U_Context.cpp).
//
// State: one record a thread and class, a weak token on the heap, touched by its own thread alone; one map of
// factories a class, for the life of the process, under its own shared mutex.
#ifndef UP_CONTEXTCORE_H
#define UP_CONTEXTCORE_H

#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>

#include "U.h"
#include "U_Context.h"
#include "U_Err.h"
#include "U_RenderContext.h"
#include "Up_TraceLine.h"

struct Up_ContextWords {
    const char* traceChannel;
    const char* attachCaller;
    const char* destructorCaller;
    int lineNoCurrent;       // GetCurrent: "no current context"
    int lineCurrentGone;     // GetCurrent: "current context is gone"
    int lineActivateGone;    // Activate: "current context is gone"
    int lineActivateOther;   // Activate: "another context is already active"
    int lineActivateThread;  // Activate: "context already active in another thread"
};

template <class Context>
inline constexpr Up_ContextWords kUp_ContextWords{};
template <>
inline constexpr Up_ContextWords kUp_ContextWords<U_Context>{
    "U_Context", "AttachContextTLS", "~U_Context", 232, 242, 313, 314, 315};
template <>
inline constexpr Up_ContextWords kUp_ContextWords<U_RenderContext>{
    "U_RenderContext", "AttachRenderContextTLS", "~U_RenderContext", 182, 191, 223, 224, 225};

/// Reports a misuse as a failed verification and throws the `int` 3.
[[noreturn]] void Up_FailContext(int line, const char* text);

/// Traces a line at level 6; `format` takes the context's id and, if it wants one, a caller.
void Up_TraceContextLine(const char* channel, const char* format, long long id,
                         const char* caller = "") noexcept;

// --- The thread's records, as lending a context needs them -------------------------------------------------

void AttachNonConstContextTLS(const boost::shared_ptr<U_Context>& context);
/// `expected_id` -1 detaches whatever is there; another id only that context or one that is gone.
void DetachNonConstContextTLS(const char* caller, long long expected_id);
void AttachConstContextTLS(const boost::shared_ptr<const U_Context>& context);
void DetachConstContextTLS(const char* caller, long long expected_id);
void Up_AttachRenderContextTLS(const boost::shared_ptr<U_RenderContext>& context);
void Up_DetachRenderContextTLS(const char* caller, long long expected_id);

// --- The shared core ---------------------------------------------------------------------------------------

template <class Context>
struct Up_ContextCore {
    using Pointer = boost::shared_ptr<Context>;
    using Token = typename Context::ActivationToken;
    using Record = std::weak_ptr<Token>;
    using Name = ImmutableString;
    static constexpr const Up_ContextWords& kWords = kUp_ContextWords<Context>;

    // --- What a context knows of itself

    static int64_t NextId() { return ++Context::S_ctxt_id; }
    static int64_t Id(const Context& context) { return context.context_id; }
    static int64_t ActivationCount(const Context& context) { return context.activation_count; }
    static int64_t ActiveThread(const Context& context) { return context.active_thread_id; }
    static int64_t SetActiveThread(Context& context, int64_t thread)
    {
        return context.active_thread_id.exchange(thread);
    }
    static int64_t ThisThread() { return static_cast<int64_t>(U_GetCurrentThreadID()); }

    // --- The thread's record

    /// The record of the calling thread, null while it has none. A plain pointer reads as fast as
    /// thread-local data can; who frees it at the thread's end is the keeper, which only an attach touches.
    static Record*& ThreadRecord()
    {
        static constinit thread_local Record* s_current_token = nullptr;
        return s_current_token;
    }

    static void DropRecord()
    {
        delete ThreadRecord();
        ThreadRecord() = nullptr;
    }

    static void KeepRecord(std::unique_ptr<Record> record)
    {
        struct Keeper {
            ~Keeper() { DropRecord(); }
            void Touch() const {}
        };
        static thread_local const Keeper keeper;
        keeper.Touch();
        DropRecord();
        ThreadRecord() = record.release();
    }

    static Pointer Named(const Record* record)
    {
        const auto token = record ? record->lock() : nullptr;
        return token ? token->context.lock() : Pointer{};
    }

    static void Attach(const Pointer& context)
    {
        // All that may run out of memory comes first, so that a failure changes nothing.
        auto record = std::make_unique<Record>();
        *record = context->GetActivationToken(true);
        Detach(kWords.attachCaller, -1);
        TraceSet(context->context_id);
        KeepRecord(std::move(record));
    }

    static void Detach(const char* caller, long long expected_id)
    {
        const Record* record = ThreadRecord();
        const Pointer current = Named(record);
        if (expected_id != -1 && (!record || (current && current->context_id != expected_id))) return;
        TraceUnset(current ? current->context_id : expected_id, caller);
        DropRecord();
    }

    // The texts are made on the stack: detaching happens in destructors, where nothing may throw.

    static void TraceSet(int64_t id) noexcept
    {
        static constinit U_TraceLine s_line(kWords.traceChannel, 6);
        if (s_line.Enabled()) Up_TraceContextLine(kWords.traceChannel, "sThreadContext set %lld\n", id);
    }

    static void TraceUnset(int64_t id, const char* caller) noexcept
    {
        static constinit U_TraceLine s_line(kWords.traceChannel, 6);
        if (!s_line.Enabled()) return;
        Up_TraceContextLine(kWords.traceChannel, "sThreadContext unset %lld from %s\n", id, caller);
    }

    // --- Activation

    static void Activate(Context& context)
    {
        const Record* record = ThreadRecord();
        const int64_t thread = ThisThread();
        if (const auto token = record ? record->lock() : nullptr) {
            const Pointer current = token->context.lock();
            if (!current) Up_FailContext(kWords.lineActivateGone, "current context is gone");
            if (current->context_id != context.context_id) {
                Up_FailContext(kWords.lineActivateOther, "another context is already active");
            }
            if (context.active_thread_id != thread) {
                Up_FailContext(kWords.lineActivateThread, "context already active in another thread");
            }
        } else {
            Attach(context.shared_from_this());
            // Wanted: whichever thread it was on before is not looked at here.
            context.active_thread_id.exchange(thread);
        }
        ++context.activation_count;
    }

    static void Deactivate(Context& context)
    {
        const int64_t former = context.activation_count.fetch_sub(1);
        if (const Pointer current = Named(ThreadRecord())) {
            // Wanted: the count stays lowered when the context is not this thread's to leave.
            if (current.get() != &context || context.active_thread_id != ThisThread()) return;
        }
        if (former != 1) return;
        Detach("Deactivate", context.context_id);
        ClearToken(context);
    }

    static void End(Context& context)
    {
        if (context.activation_count >= 1) Detach(kWords.destructorCaller, context.context_id);
        context.m_states.clear();
    }

    // --- Questions

    static Pointer GetCurrent(bool allow_none)
    {
        const Record* record = ThreadRecord();
        if (!record && !allow_none) Up_FailContext(kWords.lineNoCurrent, "no current context");
        Pointer current = Named(record);
        if (!current && !allow_none) Up_FailContext(kWords.lineCurrentGone, "current context is gone");
        return current;
    }

    static bool HasCurrent()
    {
        const Record* record = ThreadRecord();
        const auto token = record ? record->lock() : nullptr;
        return token && !token->context.expired();
    }

    // --- The token
    //
    // It is read and written atomically: when a lent call is given up at the end of the process, the thread
    // that takes its context back and the one that still borrows it both come here.

    static std::shared_ptr<Token> GetToken(Context& context, bool create)
    {
        auto token = std::atomic_load(&context.activation_token);
        if (token || !create) return token;
        auto made = std::make_shared<Token>(Token{context.weak_from_this()});
        return std::atomic_compare_exchange_strong(&context.activation_token, &token, made) ? made : token;
    }

    static void ClearToken(Context& context)
    {
        std::atomic_store(&context.activation_token, std::shared_ptr<Token>{});
    }

    // --- States

    struct Factories {
        boost::shared_mutex s_states_mutex;
        std::map<Name, typename Context::StateFactory> S_states_factory;
    };

    /// Made at the first use and never destroyed, so that contexts may be made and states registered by
    /// static objects of other files, at load as at exit.
    static Factories& AllFactories()
    {
        static auto& factories = *new Factories;
        return factories;
    }

    static void MakeStates(Context& context)
    {
        Factories& all = AllFactories();
        const boost::shared_lock lock{all.s_states_mutex};
        for (const auto& [name, factory] : all.S_states_factory)
            context.m_states.emplace(name, factory(&context));
    }

    static void Register(const Name& name, typename Context::StateFactory factory)
    {
        Factories& all = AllFactories();
        const boost::unique_lock lock{all.s_states_mutex};
        all.S_states_factory.emplace(name, std::move(factory));
    }

    static void Unregister(const Name& name)
    {
        Factories& all = AllFactories();
        const boost::unique_lock lock{all.s_states_mutex};
        all.S_states_factory.erase(name);
    }

    static boost::shared_ptr<typename Context::State> FindState(const Context& context, const Name& name)
    {
        const auto found = context.m_states.find(name);
        return found == context.m_states.end() ? nullptr : found->second;
    }

    /// The same without a share in the state, for a caller that holds the context.
    static typename Context::State* PeekState(const Context& context, const Name& name)
    {
        const auto found = context.m_states.find(name);
        return found == context.m_states.end() ? nullptr : found->second.get();
    }
};

#endif
