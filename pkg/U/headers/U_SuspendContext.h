/// Lending the calling thread's contexts to another thread across a blocking call.
///
///     U_SuspendContext lending;  // the contexts leave this thread
///     const Err err = lending.CallOnThreadedExecutor(reader, [&] { return ReadFile(); });
///                                // ReadFile ran on that thread, under these contexts and error state
///     ...                        // at the end of the scope the contexts are this thread's again
///
/// The contexts stay active throughout: only the thread that they sit on changes.
///
///   state of a context      count     token   active thread
///   made                    0         none    none, or the last one
///   active on a thread      above 0   set     that thread
///   suspended               above 0   none    none
///
/// Misuse is reported as a failed verification and thrown as the `int` 3.
#ifndef U_SUSPENDCONTEXT_H
#define U_SUSPENDCONTEXT_H

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <functional>
#include <memory>

#include "U_Context.h"
#include "U_RenderContext.h"
#include "zvkcore/threads/Executors.h"
#include "zvkcore/threads/Gate.h"

struct Up_PerThreadErrorState;

class U_EXPORT U_SuspendContext {
  public:
    /// The result of a call that was given up because of `TerminateAndFailAllSuspendedContexts`.
    static constexpr int kTerminated = 517;

    /// Takes the current context, or else the const one, and the render context off the calling thread; a
    /// const context stays attached. Without any the object lends nothing, and calls still work.
    U_SuspendContext();
    /// Takes the contexts back on the calling thread.
    virtual ~U_SuspendContext();
    U_SuspendContext(const U_SuspendContext&) = delete;
    U_SuspendContext& operator=(const U_SuspendContext&) = delete;

    static std::shared_ptr<U_SuspendContext> NewSuspendContext();

    boost::shared_ptr<U_RenderContext> GetRenderContext() const;

    /// Runs `function` on the executor's thread under the suspended contexts and the caller's error state,
    /// and waits for it. On the executor's own thread it takes the contexts back and runs it in place.
    ///
    /// One call at a time; when it has returned, another may follow.
    ///
    /// returns  what the function returned, or the code of what it threw; 517 after a termination, and then
    ///          the function may be running still: what it touches must be held by shared pointers
    /// throws   the `int` 3, after a report, for an empty executor; what the executor throws when it takes no
    ///          work. In place: what the function throws; `std::bad_function_call` for an empty function
    int CallOnEventLoopAdaptorExecutor(
        const std::shared_ptr<zvkcore::threads::AsyncEventLoopAdaptor>& executor,
        const std::function<int()>& function);
    int CallOnThreadedExecutor(const std::shared_ptr<zvkcore::threads::AsyncThreadedExecutor>& executor,
                               const std::function<int()>& function);

    /// The body that runs on the executor's thread.
    static void ExecuteStatic(const std::function<int()>& function,
                              const std::shared_ptr<zvkcore::threads::OpenOnceGate>& gate,
                              const boost::shared_ptr<U_Context>& context,
                              const boost::shared_ptr<const U_Context>& const_context,
                              const boost::shared_ptr<U_RenderContext>& render_context,
                              const boost::shared_ptr<Up_PerThreadErrorState>& error_state,
                              const boost::shared_ptr<int>& result);

    /// For the end of the process: no lent function starts any more, and every waiter gives up within 50
    /// milliseconds. There is no way back. Any thread.
    static void TerminateAndFailAllSuspendedContexts();

    /// The scope in which a borrowing thread has the contexts.
    class U_EXPORT U_ResumeContext {
      public:
        /// At least one of the first two must be given.
        U_ResumeContext(const boost::shared_ptr<U_Context>& context,
                        const boost::shared_ptr<const U_Context>& const_context,
                        const boost::shared_ptr<U_RenderContext>& render_context);
        virtual ~U_ResumeContext();
        U_ResumeContext(const U_ResumeContext&) = delete;
        U_ResumeContext& operator=(const U_ResumeContext&) = delete;

      private:
        void Take(const boost::shared_ptr<U_Context>& context,
                  const boost::shared_ptr<const U_Context>& const_context,
                  const boost::shared_ptr<U_RenderContext>& render_context);
        void GiveBack();

        boost::shared_ptr<U_Context> m_context;
        boost::shared_ptr<const U_Context> m_const_context;
        boost::shared_ptr<U_RenderContext> m_render_context;
    };

  private:
    template <class Executor>
    int CallOnExecutor(const std::shared_ptr<Executor>& executor, const std::function<int()>& function);
    void SuspendContext();
    void SuspendRenderContext();
    void TakeBack();

    boost::shared_ptr<U_Context> m_context;
    boost::shared_ptr<const U_Context> m_const_context;
    boost::shared_ptr<U_RenderContext> m_render_context;
    int64_t m_owning_thread = -1;
    std::shared_ptr<zvkcore::threads::OpenOnceGate> m_gate;
    boost::shared_ptr<int> m_result;

    static std::atomic<bool> S_terminated;
};

#endif
