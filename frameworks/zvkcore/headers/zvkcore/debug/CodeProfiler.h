/// How often a stretch of code ran and how long it took, for stretches that somebody wants to know about.
///
/// A stretch has a log with a name and a level. The profiling volume, 0 unless the host sets it, says up to
/// which level stretches are measured; above it a profiler does nothing and reads no clock.
///
///     static const auto s_log = CodeProfilerManager::Get().CreateNewProfileDataLog("App.Decode", 1);
///     CodeProfiler profiler(s_log);
#ifndef ZVKCORE_DEBUG_CODEPROFILER_H
#define ZVKCORE_DEBUG_CODEPROFILER_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "zvkcore/config/Export.h"

namespace zvkcore::debug {

/// What has been measured of one stretch. Times are in nanoseconds, 0 while nothing was measured.
struct ProfileSummary {
    std::string name;
    int level = 0;
    uint64_t count = 0;
    uint64_t total = 0;
    uint64_t shortest = 0;
    uint64_t longest = 0;
};

/// The measurements of one stretch.
///
/// threads  any
class ZVKCORE_EXPORT ProfileDataLog {
  public:
    ProfileDataLog(std::string name, int level);
    ProfileDataLog(const ProfileDataLog&) = delete;
    ProfileDataLog& operator=(const ProfileDataLog&) = delete;

    int Level() const noexcept { return m_level; }
    void Add(std::chrono::nanoseconds time) noexcept;
    /// The figures of one moment; a measurement that arrives meanwhile may be in some of them only.
    ProfileSummary Summary() const;
    void Reset() noexcept;

  private:
    const std::string m_name;
    const int m_level;
    std::atomic<uint64_t> m_count{0};
    std::atomic<uint64_t> m_total{0};
    std::atomic<uint64_t> m_shortest{UINT64_MAX};
    std::atomic<uint64_t> m_longest{0};
};

namespace detail {
ZVKCORE_EXPORT extern std::atomic<int> g_profilingVolume;
}

/// Knows all logs, and how much is to be measured.
///
/// threads  any
class ZVKCORE_EXPORT CodeProfilerManager {
  public:
    static CodeProfilerManager& Get();

    int GetProfilingVolume() const noexcept
    {
        return detail::g_profilingVolume.load(std::memory_order_relaxed);
    }
    /// Measures stretches of this level and below from now on; 0 measures nothing. Returns the former volume.
    int SetProfilingVolume(int volume) noexcept;

    /// Makes a log, also where one of the same name exists. It lives as long as its holders.
    ///
    /// level    1 and above
    std::shared_ptr<ProfileDataLog> CreateNewProfileDataLog(const std::string& name, int level);

    /// The figures of all living logs, in the order in which they were made.
    std::vector<ProfileSummary> Summaries() const;
    /// Starts all living logs anew.
    void Reset() noexcept;

  private:
    CodeProfilerManager();
    ~CodeProfilerManager();

    mutable std::mutex m_mutex;                         // guards the list
    std::vector<std::weak_ptr<ProfileDataLog>> m_logs;  // the holders of a log keep it alive, not the manager
};

/// Measures from its construction to its destruction.
class ZVKCORE_EXPORT CodeProfiler {
  public:
    /// log      may be empty: nothing is measured then
    explicit CodeProfiler(const std::shared_ptr<ProfileDataLog>& log) noexcept
    {
        if (log != nullptr && log->Level() <= detail::g_profilingVolume.load(std::memory_order_relaxed))
            Start(log);
    }
    CodeProfiler(const CodeProfiler&) = delete;
    CodeProfiler& operator=(const CodeProfiler&) = delete;
    ~CodeProfiler()
    {
        if (m_log) Stop();
    }

    /// Small blocks of the thread, so that a profiler on the heap costs little.
    static void* operator new(size_t size);
    static void operator delete(void* block, size_t size) noexcept;

  private:
    void Start(const std::shared_ptr<ProfileDataLog>& log) noexcept;
    void Stop() noexcept;

    std::shared_ptr<ProfileDataLog> m_log;  // empty when the volume was below its level at the start
    std::chrono::steady_clock::time_point m_start;
};

}  // namespace zvkcore::debug

#endif
