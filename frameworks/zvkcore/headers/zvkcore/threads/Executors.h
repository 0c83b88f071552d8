/// Threads that take work from others: one that the executor owns, and one that belongs to a host's event loop.
///
/// Work is handed over as a callable, runs later on the executor's thread, one piece at a time, in the order in
/// which it was handed over. Who wants to wait for it passes a gate (Gate.h) along.
///
///     auto reader = std::make_shared<AsyncThreadedExecutor>("reader");
///     reader->CallAsynchronously([gate, file] { file->Read(); gate->Open(); });
#ifndef ZVKCORE_THREADS_EXECUTORS_H
#define ZVKCORE_THREADS_EXECUTORS_H

#include <boost/function.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "zvkcore/config/Export.h"

namespace zvkcore::threads {

/// What every executor can do. A host may bring executors of its own by deriving from one of the two kinds.
class ZVKCORE_EXPORT AsyncExecutor {
  public:
    virtual ~AsyncExecutor();

    /// Tells whether the caller runs on the executor's own thread.
    virtual bool IsCurrentThreadExecutorThread() const = 0;

    /// Hands over work and returns at once, on the executor's own thread too.
    ///
    /// throws   `std::system_error` with `std::errc::operation_canceled` after `Terminate`
    /// threads  any
    virtual void CallAsynchronously(const boost::function<void()>& work) = 0;
};

/// An executor whose thread is one of the host's, with an event loop of its own. The host calls `RunPending`
/// from that loop whenever `wake` has told it to.
class ZVKCORE_EXPORT AsyncEventLoopAdaptor : public AsyncExecutor {
  public:
    /// The constructing thread is the executor's thread until another one calls `BindToCurrentThread`.
    ///
    /// wake     called after each hand-over, on the thread that handed over; it makes the host's loop call
    ///          `RunPending` soon. Empty for a loop that calls it regularly. It must not throw
    explicit AsyncEventLoopAdaptor(std::function<void()> wake = {});
    ~AsyncEventLoopAdaptor() override;

    bool IsCurrentThreadExecutorThread() const override;
    void CallAsynchronously(const boost::function<void()>& work) override;

    /// Makes the calling thread the executor's thread.
    void BindToCurrentThread() noexcept;

    /// Runs what has been handed over and returns, without waiting, how many pieces ran. An exception of a piece
    /// comes out of this call; the pieces behind it stay for the next one.
    ///
    /// throws   `std::system_error` with `std::errc::operation_not_permitted` on another thread
    size_t RunPending();

    /// Takes no more work, and drops unrun what has been handed over and not yet begun. Any thread may call it;
    /// the destructor does.
    void Terminate() noexcept;

  private:
    struct State;
    std::shared_ptr<State> m_state;
};

/// An executor with a thread of its own, which starts with the object and receives no signals of the process.
class ZVKCORE_EXPORT AsyncThreadedExecutor : public AsyncExecutor {
  public:
    /// name     what a debugger calls the thread; cut to 15 bytes
    /// throws   `std::system_error` when no thread can be started
    explicit AsyncThreadedExecutor(const std::string& name = {});

    /// Calls `Terminate`.
    ~AsyncThreadedExecutor() override;

    bool IsCurrentThreadExecutorThread() const override;

    /// An exception that leaves the work is traced, and the thread goes on with the next piece.
    void CallAsynchronously(const boost::function<void()>& work) override;

    /// Takes no more work, runs what has been handed over, and waits for the thread to end. Called on the
    /// executor's own thread, it does not wait: the thread ends by itself behind the last piece.
    void Terminate() noexcept;

  private:
    struct State;
    std::shared_ptr<State> m_state;
};

}  // namespace zvkcore::threads

#endif
