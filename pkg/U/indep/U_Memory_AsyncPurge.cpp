// Purging by signal: the allocating thread tells the host that the process is over its limit, and goes on.
//
// State: the host's callback under its own mutex, which is held during the call. A callback that sets another
// one from inside the call would wait for itself; what it sets is kept aside and put in force when it has returned.
#include <functional>
#include <mutex>
#include <optional>
#include <utility>

#include "U_TrySection.h"
#include "Up_Memory.h"
#include "Up_PurgeGuard.h"

namespace {

struct AsyncPurge {
    std::mutex mutex;  // guards all of it
    std::function<void()> callback;
    std::optional<std::function<void()>> next;  // set from inside the callback
};

// Never destroyed, for the sake of those who allocate while the process ends.
AsyncPurge& TheAsyncPurge()
{
    static auto& purge = *new AsyncPurge;
    return purge;
}

constinit thread_local bool t_holdsMutex = false;

class CallScope {
  public:
    explicit CallScope(AsyncPurge& purge) : m_purge(purge) { t_holdsMutex = true; }
    ~CallScope()
    {
        t_holdsMutex = false;
        if (!m_purge.next) return;
        m_purge.callback = std::move(*m_purge.next);
        m_purge.next.reset();
    }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;

  private:
    AsyncPurge& m_purge;
    Up_PurgeGuard m_guard;
};

}  // namespace

const char* GetAsyncPurgingFeatureID()
{
    return "QL.AsyncMemoryPurging";
}

void U_SetAsyncPurgeRequestCallback(std::function<void()> callback)
{
    AsyncPurge& purge = TheAsyncPurge();
    if (t_holdsMutex) {
        purge.next = std::move(callback);
        return;
    }
    // The former callback ends behind the lock, as its destructor is the host's.
    std::unique_lock lock(purge.mutex);
    purge.callback.swap(callback);
    lock.unlock();
}

void U_MakeAsyncPurgeRequest(void)
{
    if (Up_PurgeGuard::IsInside()) return;
    AsyncPurge& purge = TheAsyncPurge();
    std::lock_guard lock(purge.mutex);
    if (!purge.callback) return;
    CallScope scope(purge);
    purge.callback();
}

// Wanted: the request is not read. The only question is whether the process is over its limit now.
void Up_MakeRoomForBlockWithAsyncPurging(unsigned long long)
{
    if (Up_IsProactivePurgeDisabled()) return;
    // A signal that fails is nobody's failure: the allocation goes on with what is free.
    U_TrySection([] {
        const Up_Amounts amounts = Up_AmountsFor(true, 1);
        if (amounts.amount != 0) U_MakeAsyncPurgeRequest();
        Up_TraceMemoryUsage(amounts.threshold);
    });
}
