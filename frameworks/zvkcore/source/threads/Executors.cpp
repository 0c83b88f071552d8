// Both executors are an Asio context that one thread runs. A context that is closed takes no more work, and ends
// behind the last hand-over that came before the closing, so that work is either refused to the caller's face or
// dealt with as promised, and never lost in between.
//
// The state is shared with the thread, since the last owner of an executor may be a piece of its own work.
#include "zvkcore/threads/Executors.h"

// The queue's own lock orders a hand-over already, and the thread sanitizer does not know bare fences.
#define BOOST_ASIO_DISABLE_FENCED_BLOCK 1

#include <cxxabi.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <cstdint>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "zvkcore/logging/LogException.h"
#include "zvkcore/threads/ThreadID.h"

namespace zvkcore::threads {
namespace {

// Closing waits for nobody and no lock is held while work is handed over, since that takes memory, and who runs
// out of memory may hand over work on the way. Whoever is the last to be busy behind the closing lets the context
// end.
class WorkQueue {
  public:
    template <class Work>
    void Post(Work&& work)
    {
        const Busy busy(*this);
        boost::asio::post(context, std::forward<Work>(work));
    }

    void Close() noexcept
    {
        if (m_state.fetch_or(kClosed, std::memory_order_acq_rel) == 0) m_guard.reset();
    }

    boost::asio::io_context context{1};

  private:
    static constexpr uint64_t kClosed = 1;
    static constexpr uint64_t kBusy = 2;  // for each thread that is handing over

    struct Busy {
        explicit Busy(WorkQueue& q) : queue(q)
        {
            uint64_t state = queue.m_state.load(std::memory_order_relaxed);
            do {
                if ((state & kClosed) != 0) {
                    throw std::system_error(std::make_error_code(std::errc::operation_canceled), "executor");
                }
            } while (!queue.m_state.compare_exchange_weak(state, state + kBusy, std::memory_order_acq_rel));
        }
        ~Busy()
        {
            const uint64_t former = queue.m_state.fetch_sub(kBusy, std::memory_order_acq_rel);
            if (former == kBusy + kClosed) queue.m_guard.reset();
        }
        WorkQueue& queue;
    };

    std::atomic<uint64_t> m_state{0};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_guard{context.get_executor()};
};

void RefuseEmpty(const boost::function<void()>& work)
{
    if (work.empty()) throw boost::bad_function_call();
}

// Keeps signals of the process away from a thread that starts in this scope. Faults of the thread itself stay
// open: blocked, they would kill the process past every handler.
class SignalsBlocked {
  public:
    SignalsBlocked()
    {
        sigset_t blocked;
        sigfillset(&blocked);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) {
            sigdelset(&blocked, fault);
        }
        pthread_sigmask(SIG_BLOCK, &blocked, &m_former);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_former, nullptr); }

  private:
    sigset_t m_former;
};

}  // namespace

AsyncExecutor::~AsyncExecutor() = default;

// --- The host's event loop ------------------------------------------------------------------------------------

struct AsyncEventLoopAdaptor::State {
    explicit State(std::function<void()> wakeLoop) : wake(std::move(wakeLoop)) {}

    WorkQueue queue;
    std::atomic<uint64_t> handedOver{
        0};                // counted behind the hand-over, so it may be late but is never early
    uint64_t started = 0;  // touched on the loop's thread only
    std::atomic<unsigned long> thread{GetCurrentThreadID()};
    const std::function<void()> wake;
};

AsyncEventLoopAdaptor::AsyncEventLoopAdaptor(std::function<void()> wake)
    : m_state(std::make_shared<State>(std::move(wake)))
{
}

AsyncEventLoopAdaptor::~AsyncEventLoopAdaptor()
{
    Terminate();
}

bool AsyncEventLoopAdaptor::IsCurrentThreadExecutorThread() const
{
    return m_state->thread.load(std::memory_order_acquire) == GetCurrentThreadID();
}

void AsyncEventLoopAdaptor::BindToCurrentThread() noexcept
{
    m_state->thread.store(GetCurrentThreadID(), std::memory_order_release);
}

void AsyncEventLoopAdaptor::CallAsynchronously(const boost::function<void()>& work)
{
    RefuseEmpty(work);
    const std::shared_ptr<State> state = m_state;
    state->queue.Post([counter = &state->started, work] {
        ++*counter;
        work();
    });
    state->handedOver.fetch_add(1, std::memory_order_release);
    if (state->wake) state->wake();
}

size_t AsyncEventLoopAdaptor::RunPending()
{
    if (!IsCurrentThreadExecutorThread()) {
        throw std::system_error(std::make_error_code(std::errc::operation_not_permitted), "RunPending");
    }
    // Only what is there now: work that hands over more work must not keep the host's loop from its events.
    const std::shared_ptr<State> state = m_state;
    const uint64_t last = state->handedOver.load(std::memory_order_acquire);
    size_t ran = 0;
    while (state->started < last && state->queue.context.poll_one() != 0) ++ran;
    return ran;
}

void AsyncEventLoopAdaptor::Terminate() noexcept
{
    m_state->queue.Close();
    m_state->queue.context.stop();
}

// --- A thread of its own --------------------------------------------------------------------------------------

struct AsyncThreadedExecutor::State {
    // An exception must not end the thread, or whoever waits for the pieces behind it waits for ever. Only the
    // unwinding of a cancelled thread goes on, as the system insists on it.
    void Run()
    {
        id.store(GetCurrentThreadID(), std::memory_order_release);
        for (;;) {
            try {
                queue.context.run();
                return;
            } catch (const abi::__forced_unwind&) {
                throw;
            } catch (...) {
                logging::LogException(std::current_exception(), "AsyncThreadedExecutor");
            }
        }
    }

    bool IsCurrent() const { return id.load(std::memory_order_acquire) == GetCurrentThreadID(); }

    WorkQueue queue;
    std::atomic<unsigned long> id{0};
    std::mutex joining;  // guards `thread` once it runs
    std::thread thread;
};

AsyncThreadedExecutor::AsyncThreadedExecutor(const std::string& name) : m_state(std::make_shared<State>())
{
    const SignalsBlocked blocked;
    m_state->thread = std::thread([state = m_state] { state->Run(); });
    if (!name.empty()) pthread_setname_np(m_state->thread.native_handle(), name.substr(0, 15).c_str());
}

AsyncThreadedExecutor::~AsyncThreadedExecutor()
{
    Terminate();
    const std::lock_guard lock(m_state->joining);
    if (m_state->thread.joinable()) m_state->thread.detach();
}

bool AsyncThreadedExecutor::IsCurrentThreadExecutorThread() const
{
    return m_state->IsCurrent();
}

void AsyncThreadedExecutor::CallAsynchronously(const boost::function<void()>& work)
{
    RefuseEmpty(work);
    const std::shared_ptr<State> state =
        m_state;  // the work may release the executor before `Post` is through
    state->queue.Post(work);
}

void AsyncThreadedExecutor::Terminate() noexcept
{
    m_state->queue.Close();
    if (m_state->IsCurrent()) return;
    const std::lock_guard lock(m_state->joining);
    if (m_state->thread.joinable()) m_state->thread.join();
}

}  // namespace zvkcore::threads
