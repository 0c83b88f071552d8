/// The identity of one render, as a `U_Context` (U_Context.h) is that of an activity: a current one per
/// thread, held weakly, an activation count, and named states made by registered factories.
///
/// A thread can have a current context and a current render context at once, or either alone. There is no
/// const form. A render context can be a temporary clone, whose owner supplies its deleter.
///
/// Misuse is reported as a failed verification and thrown as the `int` 3.
#ifndef U_RENDERCONTEXT_H
#define U_RENDERCONTEXT_H

#include <boost/enable_shared_from_this.hpp>
#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>

#include "U_Types.h"
#include "zvkcore/utility/ImmutableString.h"

using zvkcore::utility::ImmutableString;

template <class Context>
struct Up_ContextCore;

/// Base of everything that hangs on a render context.
class U_EXPORT U_RenderState {
  public:
    virtual ImmutableString GetStateName() const = 0;
    virtual ~U_RenderState();
};

/// threads  as `U_Context`
class U_EXPORT U_RenderContext : public boost::enable_shared_from_this<U_RenderContext> {
  public:
    struct ActivationToken {
        boost::weak_ptr<U_RenderContext> context;
    };
    using State = U_RenderState;
    using StateFactory = boost::function<boost::shared_ptr<U_RenderState>(U_RenderContext*)>;
    using States = std::map<ImmutableString, boost::shared_ptr<U_RenderState>>;

    /// Makes a render context that is current nowhere, with a state from every registered factory. It needs a
    /// `boost::shared_ptr` as owner before it is activated.
    explicit U_RenderContext(bool is_temp_clone);
    virtual ~U_RenderContext();

    static boost::shared_ptr<U_RenderContext> MakeNewContext();
    /// A temporary clone. The deleter runs when the last owner goes, and also when the making of the first one
    /// fails.
    ///
    /// throws   the `int` 3, after a report, for a null deleter; what a factory throws
    static boost::shared_ptr<U_RenderContext> MakeNewTempContext(void (*deleter)(U_RenderContext*));
    bool GetIsTempCloneContext() const;

    /// As `U_Context::Activate` and `Deactivate`.
    virtual void Activate();
    virtual void Deactivate();

    /// As `U_Context::GetCurrent` and `HasCurrent`.
    static boost::shared_ptr<U_RenderContext> GetCurrent(bool allow_none);
    static bool HasCurrent();

    /// As `U_Context::RegisterState` and `UnregisterState`.
    static void RegisterState(const ImmutableString& name, const StateFactory& factory);
    static void UnregisterState(const ImmutableString& name);
    boost::shared_ptr<U_RenderState> GetState(const ImmutableString& name);
    boost::shared_ptr<U_RenderState> GetState(const ImmutableString& name) const;

    std::shared_ptr<ActivationToken> GetActivationToken(bool create);
    void ClearActivationToken();

  private:
    friend struct Up_ContextCore<U_RenderContext>;

    std::atomic<int64_t> activation_count{0};
    std::shared_ptr<ActivationToken> activation_token;
    int64_t context_id;
    std::atomic<int64_t> active_thread_id{-1};
    bool m_is_temp_clone;
    States m_states;

    static std::atomic<int64_t> S_ctxt_id;
};

/// Lends a render context to a thread that has none, for a scope; harmless on a thread that has one.
class U_EXPORT U_WeakRenderContextSetter {
  public:
    explicit U_WeakRenderContextSetter(const boost::shared_ptr<U_RenderContext>& context);
    virtual ~U_WeakRenderContextSetter();
    U_WeakRenderContextSetter(const U_WeakRenderContextSetter&) = delete;
    U_WeakRenderContextSetter& operator=(const U_WeakRenderContextSetter&) = delete;

  private:
    boost::weak_ptr<U_RenderContext> m_context;
};

#endif
