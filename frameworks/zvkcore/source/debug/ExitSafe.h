// An object under a lock that is made at its first use and ends with the library, after which it is not
// there.
//
// Reports come from any thread at any time. They come while the process exits and static objects die in an
// order that nobody chose: the lock itself never dies, and a `Closer` beside it takes the object away. And
// they come out of an allocation that fails, perhaps inside a body: for a thread that is in a body already
// the object is not there, so it cannot wait for itself.
#ifndef ZVKCORE_DEBUG_EXITSAFE_H
#define ZVKCORE_DEBUG_EXITSAFE_H

#include <atomic>
#include <memory>
#include <mutex>
#include <type_traits>

#include "zvkcore/threads/ThreadID.h"

namespace zvkcore::debug {

template <class T>
class ExitSafe {
    static_assert(std::is_trivially_destructible_v<std::mutex>);

  public:
    class Closer {
      public:
        explicit Closer(ExitSafe& owner) noexcept : m_owner(owner) {}
        Closer(const Closer&) = delete;
        Closer& operator=(const Closer&) = delete;
        ~Closer() { m_owner.Close(); }

      private:
        ExitSafe& m_owner;
    };

    // Runs `body` on the object under the lock; false, and `body` does not run, when the object is not there.
    template <class Body>
    bool With(Body&& body)
    {
        const unsigned long caller = threads::GetCurrentThreadID();
        if (m_inside.load(std::memory_order_relaxed) == caller) return false;
        auto spare = m_made.load(std::memory_order_relaxed) ? nullptr : std::make_unique<T>();
        const std::lock_guard lock(m_mutex);
        if (m_closed) return false;
        if (m_object == nullptr) {
            m_object = spare.release();
            m_made.store(true, std::memory_order_relaxed);
        }
        const Inside inside(m_inside, caller);
        body(*m_object);
        return true;
    }

  private:
    struct Inside {
        Inside(std::atomic<unsigned long>& w, unsigned long caller) : who(w) { who.store(caller, kRelaxed); }
        ~Inside() { who.store(0, kRelaxed); }
        std::atomic<unsigned long>& who;
        static constexpr auto kRelaxed = std::memory_order_relaxed;
    };

    void Close() noexcept
    {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
        delete m_object;
        m_object = nullptr;
    }

    std::mutex m_mutex;  // guards all but the two atomics, which are only compared with what a thread knows
    T* m_object = nullptr;
    bool m_closed = false;
    std::atomic<bool> m_made{false};
    std::atomic<unsigned long> m_inside{0};  // the thread in a body, 0 for none
};

}  // namespace zvkcore::debug

#endif
