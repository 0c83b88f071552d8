/// A scope that gives back, at its end, what was handed to it: the newest first.
///
/// For code that takes several things of a system interface in a row and may leave at any point. One thread
/// at a time uses an object.
#ifndef ZVKCORE_UTILITY_SCAUTORELEASEPOOL_H
#define ZVKCORE_UTILITY_SCAUTORELEASEPOOL_H

#include <functional>
#include <vector>

namespace zvkcore::utility {

class ScAutoreleasePool {
  public:
    ScAutoreleasePool() = default;
    ~ScAutoreleasePool();

    ScAutoreleasePool(const ScAutoreleasePool&) = delete;
    ScAutoreleasePool& operator=(const ScAutoreleasePool&) = delete;

    /// Runs `release` at the end of the scope; it must not throw. If there is no memory to remember it, runs
    /// it at once and throws `std::bad_alloc`.
    void Add(std::function<void()> release);

  private:
    std::vector<std::function<void()>> m_releases;
};

}  // namespace zvkcore::utility

#endif
