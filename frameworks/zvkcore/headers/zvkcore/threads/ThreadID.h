/// Which thread is this, and is it the one that may show a user interface?
///
/// Ids are handed out by the library, not by the operating system: an id is never given to a second thread, so
/// state that is kept by id cannot be inherited from a thread that has ended.
///
/// threads  any, for everything in this header
#ifndef ZVKCORE_THREADS_THREADID_H
#define ZVKCORE_THREADS_THREADID_H

#include "zvkcore/config/Export.h"

namespace zvkcore::threads {

/// The id of the process's initial thread, the one that `main` runs on.
inline constexpr unsigned long kInitialThreadID = 1;

/// Gives the calling thread's id: 1 for the initial thread, 2 and above for the others, in the order in which
/// they asked first. Never 0, and never near the top of the range. Costs one thread-local read.
ZVKCORE_EXPORT unsigned long GetCurrentThreadID() noexcept;

/// Tells whether the caller is the user-interface thread: the initial thread, unless the host named another.
ZVKCORE_EXPORT bool CurrentThreadIsMainThread() noexcept;

/// Names the user-interface thread; 0 restores the initial thread.
///
/// returns  the id of the thread that was named before
ZVKCORE_EXPORT unsigned long SetMainThreadID(unsigned long id) noexcept;

}  // namespace zvkcore::threads

#endif
