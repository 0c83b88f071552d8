// An object under a lock that is made at its first use and ends with the library, after which it is not there.
//
// Reports come from any thread at any time, also while the process exits and static objects die in an order that
// nobody chose. The lock itself never dies; a `Closer` beside it takes the object away.
#ifndef ZVKCORE_DEBUG_EXITSAFE_H
#define ZVKCORE_DEBUG_EXITSAFE_H

#include <mutex>
#include <type_traits>

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

    // Runs `body` on the object under the lock; false, and `body` does not run, when the object has ended.
    template <class Body>
    bool With(Body&& body)
    {
        const std::lock_guard lock(m_mutex);
        if (m_closed) return false;
        if (m_object == nullptr) m_object = new T();
        body(*m_object);
        return true;
    }

  private:
    void Close() noexcept
    {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
        delete m_object;
        m_object = nullptr;
    }

    std::mutex m_mutex;
    T* m_object = nullptr;
    bool m_closed = false;
};

}  // namespace zvkcore::debug

#endif
