/// The big mutex: one recursive mutex of the process that renders take around what is not safe for threads.
///
/// The lock is held on behalf of a render context, not of a thread: nested scopes of one render do nothing,
/// and a render can give the lock up around a wait and take it back. The main thread never takes it.
///
///     {
///         U::BigMutexLock lock{{}};  // for the current render
///         WriteWithOldCode();
///         {
///             U::BigMutexSuspender wait{U_RenderContext::GetCurrent(false)};
///             WaitForSomethingElse();  // another render may have the mutex meanwhile
///         }
///     }
///
/// Only the thread that took the mutex can give it back. While a render is lent to another thread
/// (U_SuspendContext.h) its lock stays held, and a suspender there gives nothing up. A lock whose render dies
/// on another thread goes back at the end of the scope that took it.
///
/// The wait for the mutex ends after 60 seconds with a `std::system_error` (timed out). The debug key
/// "QL.UseBigMutexR" (default true, read once a process) switches all of this off.
#ifndef U_BIGMUTEX_H
#define U_BIGMUTEX_H

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <memory>

#include "U_RenderContext.h"
#include "zvkcore/debug/CodeProfiler.h"
#include "zvkcore/threads/RecursiveMutex.h"

namespace U {

/// Where a render context keeps its lock. It needs no lock: a render context is on one thread at a time.
class U_EXPORT BigMutexState : public U_RenderState {
  public:
    static const ImmutableString S_StateName;  ///< "BigMutexState"

    /// The factory that the library registers between `U_Birth` and `U_Death`.
    static boost::shared_ptr<U_RenderState> Create(U_RenderContext* context);

    ImmutableString GetStateName() const override;
    ~BigMutexState() override;

    /// Takes the mutex, waiting for it. Returns false, and takes nothing, when the state has it already.
    bool SetLock();
    /// Gives the mutex back, if this thread took it.
    void ClearLock();
    bool HasLock() const;

  private:
    std::shared_ptr<zvkcore::threads::RecursiveMutex::ScopedLock> lock;
};

/// Holds the big mutex for a scope, on behalf of a render.
class U_EXPORT BigMutexLock {
  public:
    /// render_context  the render; empty for the thread's current one. Without any render the thread holds it
    explicit BigMutexLock(boost::shared_ptr<U_RenderContext> render_context);
    ~BigMutexLock();
    BigMutexLock(const BigMutexLock&) = delete;
    BigMutexLock& operator=(const BigMutexLock&) = delete;

  private:
    std::shared_ptr<zvkcore::threads::RecursiveMutex::ScopedLock> own_lock;
    boost::weak_ptr<U_RenderContext> render_context;  // set only if this scope put the lock into its state
    std::unique_ptr<zvkcore::debug::CodeProfiler> total_profiler;
};

/// Gives up the lock of a render for a scope, if it has one that the calling thread took.
class U_EXPORT BigMutexSuspender {
  public:
    /// render_context  must not be empty: that is reported and thrown as the `int` 3
    explicit BigMutexSuspender(const boost::shared_ptr<U_RenderContext>& render_context);
    /// `RestoreLock`, waiting as long as it takes.
    ~BigMutexSuspender();
    BigMutexSuspender(const BigMutexSuspender&) = delete;
    BigMutexSuspender& operator=(const BigMutexSuspender&) = delete;

    /// Takes the mutex again, once; a second call does nothing.
    void RestoreLock();

  private:
    boost::weak_ptr<U_RenderContext> render_context;
};

// --- Overrides of multi-threaded rendering -----------------------------------------------------------------
//
// Any thread; a reader sees the latest values.

/// Overrides the user's preference. The percent becomes 100 when `enabled` is false; else 0 leaves it open,
/// and what is above 100 becomes 100.
U_EXPORT void SetMultiThreadedRenderingOverrides(bool enabled, unsigned char max_cpu_percent);
/// What is in force: the override, or `default_value` without one.
U_EXPORT bool GetMultiThreadedRenderingState(bool default_value);
U_EXPORT unsigned char GetMultiThreadedMaximumCPUPercent(unsigned char default_value);
U_EXPORT void ResetMultiThreadedRenderingOverrides();

}  // namespace U

#endif
