// Facts from the kernel and the processor. State: the two replacements, 0 for none; atomic.
#include "zvkcore/utility/System.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <utility>

namespace zvkcore::utility {
namespace {

constinit std::atomic<std::int32_t> g_cpuCount{0};
constinit std::atomic<std::uint64_t> g_physicalMemory{0};

// A physical core is a pair of package and core number. 0 if the kernel tells nothing.
std::int32_t CountPhysicalCores()
{
    std::ifstream file{"/proc/cpuinfo"};
    std::set<std::pair<int, int>> cores;
    int package = 0;
    for (std::string line; std::getline(file, line);) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) continue;
        if (line.starts_with("physical id")) package = std::atoi(line.c_str() + colon + 1);
        if (line.starts_with("core id")) cores.emplace(package, std::atoi(line.c_str() + colon + 1));
    }
    return static_cast<std::int32_t>(cores.size());
}

void ReadInstructionSets([[maybe_unused]] CPUStatistics& statistics)
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();
    const auto flag = [](int supported) { return std::int32_t{supported != 0}; };
    statistics.mmx = flag(__builtin_cpu_supports("mmx"));
    statistics.sse = flag(__builtin_cpu_supports("sse"));
    statistics.sse2 = flag(__builtin_cpu_supports("sse2"));
    statistics.sse3 = flag(__builtin_cpu_supports("sse3"));
    statistics.ssse3 = flag(__builtin_cpu_supports("ssse3"));
    statistics.sse41 = flag(__builtin_cpu_supports("sse4.1"));
    statistics.sse42 = flag(__builtin_cpu_supports("sse4.2"));
#endif
}

}  // namespace

std::int32_t CPUCount() noexcept
{
    const std::int32_t replaced = g_cpuCount.load(std::memory_order_relaxed);
    if (replaced > 0) return replaced;
    return std::max(1, static_cast<std::int32_t>(std::thread::hardware_concurrency()));
}

std::int32_t SetCPUCount(std::int32_t count) noexcept
{
    return g_cpuCount.exchange(std::max(count, 0));
}

std::uint64_t TotalPhysicalMemory() noexcept
{
    const std::uint64_t replaced = g_physicalMemory.load(std::memory_order_relaxed);
    if (replaced != 0) return replaced;
    static const std::uint64_t installed = static_cast<std::uint64_t>(std::max(0L, sysconf(_SC_PHYS_PAGES))) *
                                           static_cast<std::uint64_t>(std::max(0L, sysconf(_SC_PAGESIZE)));
    return installed;
}

std::uint64_t SetTotalPhysicalMemory(std::uint64_t bytes) noexcept
{
    return g_physicalMemory.exchange(bytes);
}

CPUStatistics GetCPUStatistics() noexcept
{
    CPUStatistics statistics{};
    statistics.logicalCores = statistics.physicalCores = CPUCount();
    try {
        if (const std::int32_t physical = CountPhysicalCores(); physical > 0)
            statistics.physicalCores = physical;
    } catch (const std::exception&) {
        // Without memory for the count the logical cores stand for the physical ones.
    }
    ReadInstructionSets(statistics);
    return statistics;
}

}  // namespace zvkcore::utility
