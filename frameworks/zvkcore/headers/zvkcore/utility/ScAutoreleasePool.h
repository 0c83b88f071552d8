/// A scope at whose end is given back what was handed over inside it, the newest first.
///
///     const ScAutoreleasePool pool;
///     ShowAlert(alert);                        // somewhere below: Autorelease([box] { box->Close(); })
///                                              // the box is closed here, whichever way the scope was left
///
/// For code between two owners: it takes something of a toolkit or of a system interface, gives it on, and
/// has no scope of its own that lasts long enough to give it back. Where there is such a scope, an ordinary
/// owner in it is better.
///
/// Pools of a thread nest, and the newest one receives. Linux itself puts nothing into a pool, since none of
/// its interfaces hands out objects that somebody else releases later: here a pool gives back what the
/// process's own code has handed over, and an empty one costs the change of one thread-local pointer.
///
/// threads  a pool belongs to the thread that made it; threads do not see one another's pools
#ifndef ZVKCORE_UTILITY_SCAUTORELEASEPOOL_H
#define ZVKCORE_UTILITY_SCAUTORELEASEPOOL_H

#include <cstddef>
#include <functional>
#include <vector>

#include "zvkcore/config/Export.h"

namespace zvkcore::utility {

/// Belongs on the stack: pools end in the opposite order of their beginning.
class ZVKCORE_EXPORT ScAutoreleasePool {
  public:
    ScAutoreleasePool() noexcept;
    ~ScAutoreleasePool();

    ScAutoreleasePool(const ScAutoreleasePool&) = delete;
    ScAutoreleasePool& operator=(const ScAutoreleasePool&) = delete;
    static void* operator new(std::size_t) = delete;

    /// Hands `release` to the newest pool of the calling thread, which runs it at its end, or at once if it
    /// is ending. It must not throw; it may hand over more.
    ///
    /// returns  false if the thread has no pool: then nothing was taken, and the caller still owns
    /// throws   `std::bad_alloc`, and then the caller still owns too
    static bool Autorelease(std::function<void()> release);

  private:
    ScAutoreleasePool* m_outer;
    std::vector<std::function<void()>> m_releases;
};

}  // namespace zvkcore::utility

#endif
