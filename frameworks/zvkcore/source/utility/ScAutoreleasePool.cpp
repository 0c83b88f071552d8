// See ScAutoreleasePool.h. No state.
#include "zvkcore/utility/ScAutoreleasePool.h"

#include <utility>

namespace zvkcore::utility {

ScAutoreleasePool::~ScAutoreleasePool()
{
    while (!m_releases.empty()) {
        const std::function<void()> release = std::move(m_releases.back());
        m_releases.pop_back();
        release();
    }
}

void ScAutoreleasePool::Add(std::function<void()> release)
{
    if (!release) return;
    try {
        m_releases.reserve(m_releases.size() + 1);
    } catch (...) {
        release();
        throw;
    }
    m_releases.push_back(std::move(release));
}

}  // namespace zvkcore::utility
