// Ids are counted, not taken from the system, which gives a dead thread's id to a new one. A thread's id stands
// in one thread-local word; the word is read with the initial-exec model, so that it costs no call.
//
// State: the counter and the named user-interface thread, both atomic, both for the life of the process.
#include "zvkcore/threads/ThreadID.h"

#include <unistd.h>

#include <atomic>

namespace zvkcore::threads {
namespace {

__attribute__((tls_model("initial-exec"))) constinit thread_local unsigned long t_id = 0;  // 0: not asked yet

constinit std::atomic<unsigned long> g_nextID{kInitialThreadID + 1};
constinit std::atomic<unsigned long> g_mainThreadID{kInitialThreadID};

unsigned long FirstAsked() noexcept
{
    const bool initial = gettid() == getpid();
    t_id = initial ? kInitialThreadID : g_nextID.fetch_add(1, std::memory_order_relaxed);
    return t_id;
}

}  // namespace

unsigned long GetCurrentThreadID() noexcept
{
    return t_id != 0 ? t_id : FirstAsked();
}

bool CurrentThreadIsMainThread() noexcept
{
    return GetCurrentThreadID() == g_mainThreadID.load(std::memory_order_acquire);
}

unsigned long SetMainThreadID(unsigned long id) noexcept
{
    return g_mainThreadID.exchange(id != 0 ? id : kInitialThreadID, std::memory_order_acq_rel);
}

}  // namespace zvkcore::threads
