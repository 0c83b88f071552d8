/// Watching the order of locks, and two small helpers for threads.
///
/// `CreateDeadLockDetector` makes an object that a host installs in the threading layer:
///
///     zvkcore::debug::deadlocks::InstallDeadLockDetector(U::CreateDeadLockDetector());
///
/// From then on it is told of every named mutex and gate, and keeps, for each thread, which mutexes of the
/// agreed order the thread holds and where each was taken. It reports nothing: its records are for a
/// debugger. A host that does not install it pays nothing.
#ifndef U_DEADLOCK_H
#define U_DEADLOCK_H

#include <memory>

#include "U_Types.h"
#include "zvkcore/debug/DeadLockDetector.h"
#include "zvkcore/threads/Gate.h"

namespace U {

/// Makes a detector over the agreed order of locks. Any thread; throws `std::bad_alloc`.
U_EXPORT std::shared_ptr<zvkcore::debug::deadlocks::DeadLockDetector> CreateDeadLockDetector();

/// Marks the calling thread as holding a mutex, for a scope. Scopes nest. The name is for the reader.
class U_EXPORT ScNotifyHoldingMutexLock {
  public:
    explicit ScNotifyHoldingMutexLock(const char* name);
    ~ScNotifyHoldingMutexLock();
    ScNotifyHoldingMutexLock(const ScNotifyHoldingMutexLock&) = delete;
    ScNotifyHoldingMutexLock& operator=(const ScNotifyHoldingMutexLock&) = delete;

    /// Whether the calling thread is inside such a scope.
    static bool IsHoldingLock();
};

using GateOpener = zvkcore::threads::ScopedGateOpener<zvkcore::threads::OpenOnceGate>;

/// Puts a gate opener into a wrapper that can travel through copies and still has exactly one taker.
U_EXPORT std::shared_ptr<std::shared_ptr<GateOpener>> WrapGateOpener(
    const std::shared_ptr<GateOpener>& opener);

/// Takes the opener out of the wrapper; whoever comes later gets an empty pointer.
U_EXPORT std::shared_ptr<GateOpener> UnwrapGateOpener(std::shared_ptr<std::shared_ptr<GateOpener>>& wrapper);

}  // namespace U

#endif
