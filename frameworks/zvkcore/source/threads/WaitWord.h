// Waiting for a word to change: the one primitive that the gate takes from the system.
#ifndef ZVKCORE_THREADS_WAITWORD_H
#define ZVKCORE_THREADS_WAITWORD_H

#include <atomic>
#include <chrono>
#include <cstdint>

namespace zvkcore::threads {

// Blocks while `word` holds `expected`, until a wake or the deadline on the monotonic clock; may also return
// without a cause. False when the deadline has passed.
bool WaitWhile(const std::atomic<uint32_t>& word, uint32_t expected,
               std::chrono::steady_clock::time_point deadline) noexcept;

// Wakes everybody who waits for `word`. The word is not read, so it may be gone already.
void WakeAll(const std::atomic<uint32_t>& word) noexcept;

}  // namespace zvkcore::threads

#endif
