#include "MemoryHistory.h"

#include <U_Memory.h>

#include <algorithm>

namespace qlhost {

void MemoryHistory::Take(std::uint64_t purges)
{
    Sample sample{};
    sample.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    U_GetMemoryStat(U_MemStat_IN_USE, &sample.inUse);
    U_GetMemoryStat(U_MemStat_RESIDENT, &sample.resident);
    sample.purges = purges;
    m_peakInUse = std::max(m_peakInUse, sample.inUse);
    m_peakResident = std::max(m_peakResident, sample.resident);
    m_samples.push_back(sample);
}

}  // namespace qlhost
