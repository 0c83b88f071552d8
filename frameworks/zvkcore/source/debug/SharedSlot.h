// A place for something that a host installs and the library calls: a sink, a handler, a detector.
//
// A caller takes a share for the time of its call, so that what is installed can be exchanged at any moment.
// The slot is never destroyed: threads that still run while the process exits find it as it was.
#ifndef ZVKCORE_DEBUG_SHAREDSLOT_H
#define ZVKCORE_DEBUG_SHAREDSLOT_H

#include <memory>
#include <mutex>
#include <utility>

namespace zvkcore::debug {

template <class T>
class SharedSlot {
  public:
    constexpr SharedSlot() noexcept : m_installed() {}
    SharedSlot(const SharedSlot&) = delete;
    SharedSlot& operator=(const SharedSlot&) = delete;
    ~SharedSlot() {}

    std::shared_ptr<T> Load() noexcept
    {
        const std::lock_guard lock(m_mutex);
        return m_installed;
    }

    // `changed` runs before the next caller can load.
    template <class Changed>
    std::shared_ptr<T> Exchange(std::shared_ptr<T> next, Changed changed) noexcept
    {
        const std::lock_guard lock(m_mutex);
        m_installed.swap(next);
        changed();
        return next;
    }

  private:
    std::mutex m_mutex;  // guards the pointer; never held while what it points to is called
    union {
        std::shared_ptr<T> m_installed;
    };
};

}  // namespace zvkcore::debug

#endif
