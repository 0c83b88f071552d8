/// One value a thread, kept by thread id: what a thread-local variable cannot be, a member of an object that is
/// born and dies while threads go on.
///
/// A thread reaches its own value only, so the value needs no lock. A value outlives its thread and dies with
/// the object; ids are never used twice, so no later thread finds it.
#ifndef ZVKCORE_THREADS_PERTHREADDATA_H
#define ZVKCORE_THREADS_PERTHREADDATA_H

#include <utility>

#include "zvkcore/threads/ThreadID.h"
#include "zvkcore/threads/ThreadSafeMap.h"

namespace zvkcore::threads {

/// threads  any, at the same time, but for the destructor
template <class Value, class Map = ThreadSafeMap<unsigned long, Value, 256>>
class PerThreadData {
  public:
    constexpr PerThreadData() noexcept = default;

    /// The calling thread's value, or null when it has none yet. Takes no lock.
    Value* Find() const noexcept { return m_map.Find(GetCurrentThreadID()); }

    /// The calling thread's value, made with the default constructor at its first call; lock-free after it.
    ///
    /// throws   `std::bad_alloc`, and what the constructor throws
    Value* FindOrCreate() { return m_map.FindOrCreate(GetCurrentThreadID()); }

    /// Gives the calling thread a value made of `arguments`, unless it has one, which then stays.
    template <class... Arguments>
    Value* Add(Arguments&&... arguments)
    {
        return m_map.Add(GetCurrentThreadID(), std::forward<Arguments>(arguments)...);
    }

  private:
    Map m_map;
};

}  // namespace zvkcore::threads

#endif
