/// The seam through which a host watches every mutex and gate of the library.
///
/// A host derives from `DeadLockDetector` and installs the object. From then on each `RecursiveMutex` and each
/// `OpenOnceGate` tells it what happens, on the thread on which it happens. While none is installed a lock
/// pays one read of a flag.
///
/// A detector may lock, allocate and trace inside a notification; it will then be notified of its own locks, so
/// it keeps a flag a thread against its own echo. An exception out of a notification is dropped: watching never
/// changes what is watched.
#ifndef ZVKCORE_DEBUG_DEADLOCKDETECTOR_H
#define ZVKCORE_DEBUG_DEADLOCKDETECTOR_H

#include <atomic>
#include <memory>

#include "zvkcore/config/Export.h"

namespace zvkcore::utility {
class ImmutableString;
}

namespace zvkcore::debug::deadlocks {

/// The order of the operations is part of the interface: hosts are compiled against it.
///
/// mutex, gate  the identity of the object; not to be dereferenced, and used again by a later object
/// name         the interned name that the lock was taken with; the null name when there is none
/// name_text    the name as plain text, or null when there is none
class ZVKCORE_EXPORT DeadLockDetector {
  public:
    virtual ~DeadLockDetector();

    /// Before the first attempt to take the mutex.
    virtual void OnMutexAboutToLock(const void* mutex, const utility::ImmutableString& name,
                                    const char* name_text) = 0;
    /// The calling thread holds the mutex, perhaps not for the first time.
    virtual void OnMutexLocked(const void* mutex, const utility::ImmutableString& name,
                               const char* name_text) = 0;
    /// The mutex was not free and the caller did not wait, or its time has passed.
    virtual void OnMutexTryLockFailed(const void* mutex, const utility::ImmutableString& name,
                                      const char* name_text) = 0;
    /// The calling thread has given back one of its locks.
    virtual void OnMutexUnlocked(const void* mutex) = 0;
    /// The calling thread is about to block at a gate that is shut.
    virtual void OnGateWaitStarted(const void* gate) = 0;
    /// It goes on: the gate is open or the time has passed.
    virtual void OnGateWaitEnded(const void* gate) = 0;
};

/// Installs a detector for the whole process; an empty pointer takes the present one out. A notification that
/// is under way on another thread may still reach the former one, and keeps it alive until it returns.
///
/// returns  the detector that was installed before
/// threads  any
ZVKCORE_EXPORT std::shared_ptr<DeadLockDetector> InstallDeadLockDetector(
    std::shared_ptr<DeadLockDetector> detector) noexcept;

namespace detail {
ZVKCORE_EXPORT extern std::atomic<bool> g_detectorInstalled;
}

inline bool IsDetectorInstalled() noexcept
{
    return detail::g_detectorInstalled.load(std::memory_order_acquire);
}

/// What locks and gates call when a detector is installed; harmless when it has just been taken out. A lock of
/// a host's own may call them as well.
///
/// name       the interned name, or null
/// name_text  the plain name, or null
ZVKCORE_EXPORT void NotifyMutexAboutToLock(const void* mutex, const utility::ImmutableString* name,
                                           const char* name_text) noexcept;
ZVKCORE_EXPORT void NotifyMutexLocked(const void* mutex, const utility::ImmutableString* name,
                                      const char* name_text) noexcept;
ZVKCORE_EXPORT void NotifyMutexTryLockFailed(const void* mutex, const utility::ImmutableString* name,
                                             const char* name_text) noexcept;
ZVKCORE_EXPORT void NotifyMutexUnlocked(const void* mutex) noexcept;
ZVKCORE_EXPORT void NotifyGateWaitStarted(const void* gate) noexcept;
ZVKCORE_EXPORT void NotifyGateWaitEnded(const void* gate) noexcept;

}  // namespace zvkcore::debug::deadlocks

#endif
