// Figures of the operating system, and how seldom it is asked for them.
//
// State: the probe in force, under its own mutex, and the one U_MemoryUsageAsPerOS of the process. Both live from
// load or first use to the end of the process and need no teardown.
#include <algorithm>
#include <cstring>

#include "ALOG.h"
#include "Up_Memory.h"
#include "Up_MemoryTuning.h"
#include "Up_Saturate.h"
#include "zvkcore/utility/Clock.h"

using zvkcore::utility::HighPrecisionTime;

namespace {

struct InstalledProbe {
    std::mutex mutex;       // guards the record
    U_MemoryProbe probe{};  // a size of 0 stands for the platform's
};

constinit InstalledProbe g_installed;

constexpr double kNanosInMillisecond = 1e6;

// Each figure falls back to the library's own count by itself.
std::uint64_t ResidentOr(std::uint64_t tracked)
{
    const U_MemoryProbe probe = Up_MemoryProbe();
    std::uint64_t virtualBytes = 0;
    std::uint64_t resident = 0;
    return probe.process && probe.process(probe.self, &virtualBytes, &resident) ? resident : tracked;
}

std::uint64_t TotalOr(std::uint64_t tracked)
{
    const U_MemoryProbe probe = Up_MemoryProbe();
    std::uint64_t total = 0;
    return probe.footprint && probe.footprint(probe.self, &total) ? total : tracked;
}

}  // namespace

Err U_SetMemoryProbe(const U_MemoryProbe* probe, U_MemoryProbe* former)
{
    if (probe && probe->recordSize == 0) return U_Err_BAD_PARAMETER;
    U_MemoryProbe copy{};
    // A record of an older host is shorter; what it lacks cannot tell.
    if (probe) std::memcpy(&copy, probe, std::min<std::size_t>(probe->recordSize, sizeof copy));
    std::lock_guard lock(g_installed.mutex);
    if (former) *former = g_installed.probe;
    g_installed.probe = copy;
    return U_Err_NONE;
}

U_MemoryProbe Up_MemoryProbe()
{
    std::lock_guard lock(g_installed.mutex);
    return g_installed.probe.recordSize == 0 ? Up_G_platformProbe : g_installed.probe;
}

U_MemoryUsageAsPerOS& U_MemoryUsageAsPerOS::GetInstance()
{
    static U_MemoryUsageAsPerOS instance;
    return instance;
}

U_MemoryUsageAsPerOS::U_MemoryUsageAsPerOS() : m_lastSync(HighPrecisionTime::GetCurrentTimeStamp()) {}

uint64_t U_MemoryUsageAsPerOS::GetCurrentResident()
{
    return ResidentOr(Up_TrackedBytes());
}

uint64_t U_MemoryUsageAsPerOS::GetCurrentTotal()
{
    return TotalOr(Up_TrackedBytes());
}

uint64_t U_MemoryUsageAsPerOS::GetApproximateResident()
{
    return SyncAndAdjust(kResident);
}

uint64_t U_MemoryUsageAsPerOS::GetApproximateTotal()
{
    return SyncAndAdjust(kTotal);
}

void U_MemoryUsageAsPerOS::SyncToOS()
{
    Sync(kTotal, false);
}

uint64_t U_MemoryUsageAsPerOS::Figure(OSUsageType type) const
{
    return type == kResident ? m_resident : m_total;
}

bool U_MemoryUsageAsPerOS::IsStale() const
{
    const std::uint64_t elapsed = HighPrecisionTime::GetCurrentTimeStamp() - m_lastSync;
    return static_cast<double>(HighPrecisionTime::ConvertToNanos(elapsed)) / kNanosInMillisecond >
           static_cast<double>(Up_G_syncFrequency.Get());
}

// Of threads that find the figures stale together, one asks the system. The own count is taken before the lock,
// as it asks memory managers of others, who may ask for a statistic in turn.
uint64_t U_MemoryUsageAsPerOS::Sync(OSUsageType type, bool onlyIfStale)
{
    const std::uint64_t tracked = Up_TrackedBytes();
    std::lock_guard lock(m_mutex);
    if (!onlyIfStale || IsStale()) {
        m_resident = ResidentOr(tracked);
        m_total = TotalOr(tracked);
        m_trackedAtSync = tracked;
        m_lastSync = HighPrecisionTime::GetCurrentTimeStamp();
    }
    return Figure(type);
}

uint64_t U_MemoryUsageAsPerOS::SyncAndAdjust(OSUsageType type)
{
    if (IsStale()) return Sync(type, true);
    std::uint64_t figure = 0;
    std::uint64_t trackedAtSync = 0;
    {
        std::lock_guard lock(m_mutex);
        figure = Figure(type);
        trackedAtSync = m_trackedAtSync;
    }
    const std::uint64_t tracked = Up_TrackedBytes();
    if (trackedAtSync < tracked) return Up_Sum(figure, tracked - trackedAtSync);
    const std::uint64_t freed = trackedAtSync - tracked;
    return figure >= freed ? figure - freed : Sync(type, false);
}

int U_GetFreeMemoryPoolSizes(long long& freeBytes, long long& inactiveBytes)
{
    freeBytes = 0;
    inactiveBytes = 0;
    const U_MemoryProbe probe = Up_MemoryProbe();
    std::uint64_t pageSize = 0;
    std::uint64_t freePages = 0;
    std::uint64_t inactivePages = 0;
    if (!probe.machine || !probe.machine(probe.self, &pageSize, &freePages, &inactivePages)) return 1;
    freeBytes = static_cast<long long>(pageSize * freePages);
    inactiveBytes = static_cast<long long>(pageSize * inactivePages);
    ALOG_sprintf(0, "EGG", "U_GetFreeMemoryPoolSizes", "pageSize=%llu, freeMem=%lld, inactiveMem=%lld",
                 static_cast<unsigned long long>(pageSize), freeBytes, inactiveBytes);
    return 0;
}
