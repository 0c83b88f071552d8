/// The identity of one activity: a unit of work that may move between threads but runs on one at a time.
///
/// Code anywhere below asks for the current context instead of carrying it through every call, and hangs data
/// on it by name.
///
///     const auto context = U_Context::MakeNewContext();
///     context->Activate();
///     ...
///     const auto here = U_Context::GetCurrent(false);
///     const auto state = here->GetState(kStateName);
///     ...
///     context->Deactivate();
///
/// Ground rules. A context is owned by `boost::shared_ptr`s and held weakly by the thread that it is current
/// on: the last owner's release ends it, whichever thread that is. A thread has at most one current context,
/// and beside it at most one const context, for activities that only read. Misuse is reported as a failed
/// verification and thrown as the `int` 3. To lend a context to another thread across a blocking call see
/// U_SuspendContext.h; for renders see U_RenderContext.h.
#ifndef U_CONTEXT_H
#define U_CONTEXT_H

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "U_Types.h"
#include "zvkcore/utility/ImmutableString.h"

using zvkcore::utility::ImmutableString;

template <class Context>
struct Up_ContextCore;

/// Base of everything that hangs on a context.
class U_EXPORT U_State {
  public:
    virtual ~U_State();
};

/// threads  `GetCurrent` and its kin speak of the calling thread. A context's own functions belong to the
///          thread that it is current on; registration of states is for any thread
class U_EXPORT U_Context : public boost::enable_shared_from_this<U_Context> {
  public:
    /// What a thread holds weakly: dropping the token from the context ends the thread's view of it at once.
    struct ActivationToken {
        boost::weak_ptr<U_Context> context;
    };
    using State = U_State;
    using StateFactory = std::function<boost::shared_ptr<U_State>(U_Context*)>;
    using States = std::map<ImmutableString, boost::shared_ptr<U_State>>;

    /// Makes a context that is current nowhere, with a state from every registered factory.
    ///
    /// throws   `std::bad_function_call` for an empty factory; what a factory throws
    static boost::shared_ptr<U_Context> MakeNewContext();

    /// Ends the states. A context that is still active leaves the calling thread, if it is current there; the
    /// record of another thread stays and names a dead context.
    virtual ~U_Context();

    /// Makes this context current on the calling thread. Nested calls on one thread only count.
    ///
    /// throws   the `int` 3, after a report: the thread's context is gone, another one is active here, or
    ///          this one is active on another thread
    virtual void Activate();
    /// The same for the thread's const context. One context may be the const context of several threads.
    virtual void ActivateConst() const;
    /// Takes one `Activate` back; the last one removes the context from the thread.
    virtual void Deactivate();
    virtual void DeactivateConst() const;

    /// The calling thread's current context.
    ///
    /// allow_none  true gives an empty pointer where there is none; false reports that and throws the `int` 3
    static boost::shared_ptr<U_Context> GetCurrent(bool allow_none);
    /// The const context if there is a living one, else `GetCurrent(allow_none)`.
    static boost::shared_ptr<const U_Context> GetCurrentConst(bool allow_none);
    /// Whether the thread has a current context that lives. The argument has no effect.
    static bool HasCurrent(bool allow_none);
    static bool HasCurrentConst();

    /// Registers what makes a state of this name for each context made from now on. A name that is registered
    /// keeps its first factory. A factory runs while factories cannot be registered, and must register none.
    static void RegisterState(const ImmutableString& name, StateFactory factory);
    /// Takes a factory out; an unknown name is ignored. Living contexts keep their states.
    static void UnregisterState(const ImmutableString& name);

    /// The state of that name, or an empty pointer. Takes no lock: which states there are never changes once
    /// made. A const context gives them for writing too: it is the set of states that is const, not a state.
    boost::shared_ptr<U_State> GetState(const ImmutableString& name);
    boost::shared_ptr<U_State> GetState(const ImmutableString& name) const;

    /// The token, made first if `create` is set and there is none.
    std::shared_ptr<ActivationToken> GetActivationToken(bool create);
    void ClearActivationToken();

    /// Looks, without waiting, at the oldest pending key event and takes it from its queue.
    ///
    /// returns  true for the Escape key; then all other pending key events go too. Any other key is lost
    static bool CheckAbortAndFlushCompletionRoutines();

  private:
    friend struct Up_ContextCore<U_Context>;
    U_Context();

    std::atomic<int64_t> activation_count{0};
    std::shared_ptr<ActivationToken> activation_token;
    int64_t context_id;
    std::atomic<int64_t> active_thread_id{-1};
    States m_states;

    static std::atomic<int64_t> S_ctxt_id;
};

/// Lends a context to a thread that has none, for a scope; harmless on a thread that has one.
class U_EXPORT U_WeakContextSetter {
  public:
    explicit U_WeakContextSetter(const boost::shared_ptr<U_Context>& context);
    virtual ~U_WeakContextSetter();
    U_WeakContextSetter(const U_WeakContextSetter&) = delete;
    U_WeakContextSetter& operator=(const U_WeakContextSetter&) = delete;

  private:
    boost::weak_ptr<U_Context> m_context;
};

/// The code of the Escape key, as key events carry it.
constexpr uint16_t kU_KeyCode_Escape = 53;

/// Where `CheckAbortAndFlushCompletionRoutines` looks for key events.
///
/// when     on the thread that asks
/// must     not wait and not throw. `next` takes the oldest key-down event from its queue, writes its key
///          code and returns true; false without an event. `flush` drops all pending key events
/// default  standard input, when it is a terminal and the process is in its foreground; its modes are as
///          before on every way out
struct U_KeyEventSource {
    bool (*next)(void* refcon, uint16_t* key_code);
    void (*flush)(void* refcon);
    void* refcon;
};

/// Sets the source and returns the previous one; null functions restore the default.
U_EXPORT U_KeyEventSource U_SetKeyEventSource(const U_KeyEventSource& source);

#endif
