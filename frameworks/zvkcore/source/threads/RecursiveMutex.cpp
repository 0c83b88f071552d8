// The half of the lock that waits or is watched. It rests on a recursive mutex of the system, tried first and
// waited for with `pthread_mutex_timedlock` after that. The standard library's timed mutex reads the clock at
// every lock, and waits in a way that the thread sanitizer does not understand.
#include "zvkcore/threads/RecursiveMutex.h"

#include <time.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <string>
#include <system_error>

#include "zvkcore/debug/Trace.h"
#include "zvkcore/utility/ImmutableString.h"

namespace zvkcore::threads {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

timespec WallClockAfter(milliseconds time)
{
    constexpr long kSecond = 1'000'000'000;
    timespec moment{};
    clock_gettime(CLOCK_REALTIME, &moment);
    const long nanos = moment.tv_nsec + static_cast<long>(time.count() % 1000) * 1'000'000;
    moment.tv_sec += time.count() / 1000 + nanos / kSecond;
    moment.tv_nsec = nanos % kSecond;
    return moment;
}

// The system measures the wait by the wall clock, which somebody may set. So the wait goes in slices of a second,
// and the monotonic clock decides whether the time has passed.
int WaitFor(pthread_mutex_t* mutex, uint32_t timeout)
{
    const auto deadline = steady_clock::now() + milliseconds(timeout);
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - steady_clock::now());
        if (left <= milliseconds(0)) return ETIMEDOUT;
        const timespec end = WallClockAfter(std::min(left, milliseconds(1000)));
        const int code = pthread_mutex_timedlock(mutex, &end);
        if (code != ETIMEDOUT) return code;
    }
}

const char* Shown(const char* name)
{
    return name != nullptr && *name != 0 ? name : "(unnamed)";
}

template <class... Values>
void TraceLine(const char* format, Values... values)
{
    char line[512];
    std::snprintf(line, sizeof(line), format, values...);
    debug::Trace(line);
}

// Gives 0 with the mutex held, ETIMEDOUT after tracing the name, or another error of the system.
int Acquire(const void* self, pthread_mutex_t* mutex, const char* name,
            const utility::ImmutableString* interned, uint32_t timeout)
{
    debug::deadlocks::NotifyMutexAboutToLock(self, interned, name);
    int code = pthread_mutex_trylock(mutex);
    if (code == EBUSY) code = WaitFor(mutex, timeout);
    if (code == 0) {
        debug::deadlocks::NotifyMutexLocked(self, interned, name);
        return 0;
    }
    debug::deadlocks::NotifyMutexTryLockFailed(self, interned, name);
    if (code == ETIMEDOUT) TraceLine("RecursiveMutex %s: not free within %u ms\n", Shown(name), timeout);
    return code;
}

}  // namespace

void RecursiveMutex::LockWatched(const char* name, const utility::ImmutableString* interned, uint32_t timeout)
{
    if (interned != nullptr) name = interned->GetText();
    if (name == nullptr) name = m_name;
    const int code = Acquire(this, &m_mutex, name, interned, timeout);
    if (code != 0) {
        throw std::system_error(code, std::generic_category(), std::string("RecursiveMutex ") + Shown(name));
    }
}

void RecursiveMutex::LockPatiently(const char* name, uint32_t timeout) noexcept
{
    if (name == nullptr) name = m_name;
    const uint32_t slice = std::max<uint32_t>(timeout, 1);
    while (Acquire(this, &m_mutex, name, nullptr, slice) == ETIMEDOUT) {
    }
}

bool RecursiveMutex::TryLockWatched(const char* name)
{
    if (name == nullptr) name = m_name;
    debug::deadlocks::NotifyMutexAboutToLock(this, nullptr, name);
    const bool locked = pthread_mutex_trylock(&m_mutex) == 0;
    (locked ? debug::deadlocks::NotifyMutexLocked : debug::deadlocks::NotifyMutexTryLockFailed)(this, nullptr,
                                                                                                name);
    return locked;
}

void RecursiveMutex::TraceForeignUnlock() const noexcept
{
    TraceLine("RecursiveMutex %s: unlocked by a thread that does not hold it\n", Shown(m_name));
}

}  // namespace zvkcore::threads
