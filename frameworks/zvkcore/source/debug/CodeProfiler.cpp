// Figures are single atomics: a measurement takes no lock, and the four agree once the threads are done.
#include "zvkcore/debug/CodeProfiler.h"

#include <algorithm>
#include <utility>

#include "zvkcore/allocator/SmallBlockAllocator.h"

namespace zvkcore::debug {
namespace detail {
constinit std::atomic<int> g_profilingVolume{0};
}

namespace {

template <class Better>
void Improve(std::atomic<uint64_t>& best, uint64_t value, Better better)
{
    uint64_t current = best.load(std::memory_order_relaxed);
    while (better(value, current) && !best.compare_exchange_weak(current, value, std::memory_order_relaxed)) {
    }
}

}  // namespace

ProfileDataLog::ProfileDataLog(std::string name, int level) : m_name(std::move(name)), m_level(level) {}

void ProfileDataLog::Add(std::chrono::nanoseconds time) noexcept
{
    const auto nanos = static_cast<uint64_t>(std::max<int64_t>(time.count(), 0));
    m_count.fetch_add(1, std::memory_order_relaxed);
    m_total.fetch_add(nanos, std::memory_order_relaxed);
    Improve(m_shortest, nanos, std::less<>());
    Improve(m_longest, nanos, std::greater<>());
}

ProfileSummary ProfileDataLog::Summary() const
{
    const uint64_t shortest = m_shortest.load(std::memory_order_relaxed);
    return {m_name,
            m_level,
            m_count.load(std::memory_order_relaxed),
            m_total.load(std::memory_order_relaxed),
            shortest != UINT64_MAX ? shortest : 0,
            m_longest.load(std::memory_order_relaxed)};
}

void ProfileDataLog::Reset() noexcept
{
    m_count.store(0, std::memory_order_relaxed);
    m_total.store(0, std::memory_order_relaxed);
    m_shortest.store(UINT64_MAX, std::memory_order_relaxed);
    m_longest.store(0, std::memory_order_relaxed);
}

CodeProfilerManager::CodeProfilerManager() = default;
CodeProfilerManager::~CodeProfilerManager() = default;

CodeProfilerManager& CodeProfilerManager::Get()
{
    static CodeProfilerManager s_manager;
    return s_manager;
}

int CodeProfilerManager::SetProfilingVolume(int volume) noexcept
{
    return detail::g_profilingVolume.exchange(volume, std::memory_order_relaxed);
}

std::shared_ptr<ProfileDataLog> CodeProfilerManager::CreateNewProfileDataLog(const std::string& name,
                                                                             int level)
{
    auto log = std::make_shared<ProfileDataLog>(name, level);
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_logs, [](const auto& known) { return known.expired(); });
    m_logs.push_back(log);
    return log;
}

std::vector<ProfileSummary> CodeProfilerManager::Summaries() const
{
    std::vector<ProfileSummary> summaries;
    const std::lock_guard lock(m_mutex);
    for (const auto& known : m_logs) {
        if (const auto log = known.lock()) summaries.push_back(log->Summary());
    }
    return summaries;
}

void CodeProfilerManager::Reset() noexcept
{
    const std::lock_guard lock(m_mutex);
    for (const auto& known : m_logs) {
        if (const auto log = known.lock()) log->Reset();
    }
}

void CodeProfiler::Start(const std::shared_ptr<ProfileDataLog>& log) noexcept
{
    m_log = log;
    m_start = std::chrono::steady_clock::now();
}

void CodeProfiler::Stop() noexcept
{
    m_log->Add(std::chrono::steady_clock::now() - m_start);
}

void* CodeProfiler::operator new(size_t size)
{
    return allocator::SmallBlockAllocator::Allocate(size);
}

void CodeProfiler::operator delete(void* block, size_t size) noexcept
{
    allocator::SmallBlockAllocator::Dispose(block, size);
}

}  // namespace zvkcore::debug
