// The pools of a thread are a list from the newest to the oldest, linked through the pools themselves.
//
// State: the newest pool of each thread, which only that thread reads and writes; null outside of pools.
#include "zvkcore/utility/ScAutoreleasePool.h"

#include <utility>

namespace zvkcore::utility {
namespace {

thread_local constinit ScAutoreleasePool* t_newest = nullptr;

}  // namespace

ScAutoreleasePool::ScAutoreleasePool() noexcept : m_outer(std::exchange(t_newest, this)) {}

// While it ends it is still the newest one, so it also receives what a release hands over.
ScAutoreleasePool::~ScAutoreleasePool()
{
    while (!m_releases.empty()) {
        const std::function<void()> release = std::move(m_releases.back());
        m_releases.pop_back();
        release();
    }
    t_newest = m_outer;
}

bool ScAutoreleasePool::Autorelease(std::function<void()> release)
{
    if (!t_newest) return false;
    if (release) t_newest->m_releases.push_back(std::move(release));
    return true;
}

}  // namespace zvkcore::utility
