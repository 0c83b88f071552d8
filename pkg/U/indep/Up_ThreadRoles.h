/// What thread registration is made of.
#ifndef UP_THREADROLES_H
#define UP_THREADROLES_H

#include <cstdint>
#include <mutex>
#include <vector>

/// Appends a thread to a role's list; the two highest numbers stand for the caller. Duplicates are wanted.
void Up_RegisterThread(std::mutex& mutex, std::vector<unsigned long>& threads, unsigned long id);

/// The CPU count times `multiplier` over 100, in 32-bit arithmetic, truncated toward zero.
constexpr int32_t Up_ScaleThreadCount(int32_t cpus, int32_t multiplier)
{
    return static_cast<int32_t>(static_cast<uint32_t>(cpus) * static_cast<uint32_t>(multiplier)) / 100;
}

/// The CPU count, at most what a table of 32 places holds.
constexpr int32_t Up_CapThreadCount(int32_t cpus)
{
    return cpus < 32 ? cpus : 32;
}

static_assert(Up_ScaleThreadCount(8, 160) == 12 && Up_ScaleThreadCount(10, 160) == 16);
static_assert(Up_ScaleThreadCount(64, 160) == 102 && Up_CapThreadCount(64) == 32);
static_assert(Up_ScaleThreadCount(3, -50) == -1, "truncates toward zero");
static_assert(Up_ScaleThreadCount(8, INT32_MAX) == 0, "-8 over 100: a hostile key wraps and is no fault");

#endif
