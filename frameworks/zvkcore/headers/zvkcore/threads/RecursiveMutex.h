/// A recursive lock with a name and a limit on every wait.
///
/// A thread that already holds the mutex may lock it again and unlocks it as often. No wait is endless: when
/// the limit has passed, the mutex's name goes to the trace and `Lock` throws, so that nothing ever runs
/// unprotected. Every lock and unlock is told to an installed dead-lock detector (DeadLockDetector.h).
///
///     zvkcore::threads::RecursiveMutex g_tableMutex{"App.Table"};
///
///     zvkcore::threads::RecursiveMutex::ScopedLock lock(g_tableMutex);
///
/// Uncontended it costs what `std::recursive_mutex` costs: the clock is read only when there is a wait. A
/// mutex needs no code to run at load time, so that static initialisers of other files may lock it.
#ifndef ZVKCORE_THREADS_RECURSIVEMUTEX_H
#define ZVKCORE_THREADS_RECURSIVEMUTEX_H

#include <pthread.h>

#include <cstdint>
#include <mutex>

#include "zvkcore/config/Export.h"
#include "zvkcore/debug/DeadLockDetector.h"

namespace zvkcore::threads {

class ZVKCORE_EXPORT RecursiveMutex {
  public:
    class ScopedLock;

    /// The limit of a wait where the caller gives none, in milliseconds.
    static constexpr uint32_t kDefaultTimeout = 60000;

    /// `name` is not copied: a literal, or a text that outlives the mutex. Null for a mutex without a name.
    constexpr explicit RecursiveMutex(const char* name = nullptr) noexcept : m_name(name) {}
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;
#ifdef __SANITIZE_THREAD__
    ~RecursiveMutex()
    {
        pthread_mutex_destroy(&m_mutex);
    }  // the sanitizer must forget the address
#else
    ~RecursiveMutex() =
        default;  // trivial: a thread that runs while the process exits may still lock a global one
#endif

    /// Locks, waiting at most `timeout` milliseconds; 0 does not wait.
    ///
    /// name     what the detector and the trace are told; null for the name of the mutex itself
    /// throws   `std::system_error` with `std::errc::timed_out` when the time has passed, after tracing the
    ///          name; with `std::errc::resource_unavailable_try_again` when one thread holds it too often
    void Lock(const char* name = nullptr, uint32_t timeout = kDefaultTimeout)
    {
        if (debug::deadlocks::IsDetectorInstalled() || pthread_mutex_trylock(&m_mutex) != 0) {
            LockWatched(name, nullptr, timeout);
        }
    }

    /// The same with an interned name, which spares a detector the interning.
    void Lock(const utility::ImmutableString& name, uint32_t timeout = kDefaultTimeout)
    {
        LockWatched(nullptr, &name, timeout);
    }

    /// Locks however long it takes, for destructors that must hold the mutex again and cannot throw. Traces
    /// the name each time `timeout` milliseconds have passed, and keeps waiting.
    void LockPatiently(const char* name = nullptr, uint32_t timeout = kDefaultTimeout) noexcept;

    /// Locks if that needs no wait, and tells whether it did.
    bool TryLock(const char* name = nullptr)
    {
        return debug::deadlocks::IsDetectorInstalled() ? TryLockWatched(name)
                                                       : pthread_mutex_trylock(&m_mutex) == 0;
    }

    /// Takes one lock back. A thread that does not hold the mutex changes nothing; its mistake is traced.
    void Unlock() noexcept
    {
        if (pthread_mutex_unlock(&m_mutex) != 0) return TraceForeignUnlock();
        if (debug::deadlocks::IsDetectorInstalled()) debug::deadlocks::NotifyMutexUnlocked(this);
    }

    /// The name given at construction, or null.
    const char* Name() const noexcept
    {
        return m_name;
    }

  private:
    void LockWatched(const char* name, const utility::ImmutableString* interned, uint32_t timeout);
    bool TryLockWatched(const char* name);
    void TraceForeignUnlock() const noexcept;

    pthread_mutex_t m_mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
    const char* m_name;
};

/// Holds a `RecursiveMutex` for a scope. It unlocks what it locked and nothing else: locks that the thread
/// took in another way stay. A scope belongs to the thread that locked through it.
class RecursiveMutex::ScopedLock {
  public:
    /// Locks at once; see `RecursiveMutex::Lock`.
    explicit ScopedLock(RecursiveMutex& mutex, const char* name = nullptr, uint32_t timeout = kDefaultTimeout)
        : m_mutex(mutex)
    {
        Lock(name, timeout);
    }

    /// Holds nothing until `Lock` or `TryLock`.
    ScopedLock(RecursiveMutex& mutex, std::defer_lock_t) noexcept : m_mutex(mutex) {}

    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

    ~ScopedLock()
    {
        while (m_count != 0) Unlock();
    }

    void Lock(const char* name = nullptr, uint32_t timeout = kDefaultTimeout)
    {
        m_mutex.Lock(name, timeout);
        ++m_count;
    }

    bool TryLock(const char* name = nullptr)
    {
        const bool locked = m_mutex.TryLock(name);
        m_count += locked ? 1 : 0;
        return locked;
    }

    /// Takes back one lock of this scope; does nothing when it holds none.
    void Unlock() noexcept
    {
        if (m_count == 0) return;
        --m_count;
        m_mutex.Unlock();
    }

    bool OwnsLock() const noexcept { return m_count != 0; }

  private:
    RecursiveMutex& m_mutex;
    uint32_t m_count = 0;
};

}  // namespace zvkcore::threads

#endif
