// The gate is one word: shut, shut with somebody asleep at it, or open. Opening wakes only if there is a sleeper,
// and passing an open gate is one read.
#include "zvkcore/threads/Gate.h"

#include "WaitWord.h"
#include "zvkcore/debug/DeadLockDetector.h"

namespace zvkcore::threads {

void OpenOnceGate::Open() noexcept
{
    if (m_state.exchange(kOpen, std::memory_order_acq_rel) == kShutWithWaiters) WakeAll(m_state);
}

bool OpenOnceGate::PassThroughUntil(std::chrono::steady_clock::time_point deadline) noexcept
{
    if (IsOpen()) return true;
    debug::deadlocks::NotifyGateWaitStarted(this);
    bool inTime = true;
    while (inTime) {
        uint32_t state = kShut;
        m_state.compare_exchange_strong(state, kShutWithWaiters, std::memory_order_acquire);
        if (state == kOpen) break;
        inTime = WaitWhile(m_state, kShutWithWaiters, deadline);
    }
    debug::deadlocks::NotifyGateWaitEnded(this);
    return IsOpen();
}

}  // namespace zvkcore::threads
