// A detector of this host's own: prints both stacks when an order of two locks has been seen both ways round. It
// hands everything on to the library's detector, so that both watch.
#ifndef QLHOST_LOCKWATCH_H
#define QLHOST_LOCKWATCH_H

#include <memory>

#include "zvkcore/debug/DeadLockDetector.h"

namespace qlhost {

/// Installs both detectors for its lifetime.
class LockWatch {
  public:
    LockWatch();
    ~LockWatch();
    LockWatch(const LockWatch&) = delete;
    LockWatch& operator=(const LockWatch&) = delete;

    /// How many pairs of locks were taken both ways round.
    int Inversions() const;
    /// How many orders of two locks have been seen.
    int Orders() const;

  private:
    class Detector;
    std::shared_ptr<Detector> m_detector;
    std::shared_ptr<zvkcore::debug::deadlocks::DeadLockDetector> m_former;
};

}  // namespace qlhost

#endif
