/// A gate that starts shut, opens once, and stays open: the hand-over point between two threads.
///
/// What the opening thread did before `Open` is seen by every thread that has passed. A gate is shared through
/// a `std::shared_ptr`, so that it lives until the last of opener and waiters is through with it.
///
///     auto gate = std::make_shared<OpenOnceGate>();
///     executor.CallAsynchronously([gate] { Work(); gate->Open(); });
///     while (!gate->PassThroughUntil(std::chrono::steady_clock::now() + 50ms)) KeepAlive();
#ifndef ZVKCORE_THREADS_GATE_H
#define ZVKCORE_THREADS_GATE_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <utility>

#include "zvkcore/config/Export.h"

namespace zvkcore::threads {

/// threads  any, any number of openers and waiters
class ZVKCORE_EXPORT OpenOnceGate {
  public:
    OpenOnceGate() noexcept = default;
    OpenOnceGate(const OpenOnceGate&) = delete;
    OpenOnceGate& operator=(const OpenOnceGate&) = delete;

    /// Opens the gate and wakes everybody who waits at it. A second call does nothing.
    void Open() noexcept;

    bool IsOpen() const noexcept { return m_state.load(std::memory_order_acquire) == kOpen; }

    /// Waits until the gate is open or `deadline` has passed. A deadline in the past only asks;
    /// `time_point::max()` waits without a limit.
    ///
    /// returns  true when the gate is open, false when the time has passed
    bool PassThroughUntil(std::chrono::steady_clock::time_point deadline) noexcept;

  private:
    static constexpr uint32_t kShut = 0;
    static constexpr uint32_t kShutWithWaiters = 1;
    static constexpr uint32_t kOpen = 2;

    std::atomic<uint32_t> m_state{kShut};
};

/// Opens a gate at the end of a scope, on every way out of it.
template <class Gate>
class ScopedGateOpener {
  public:
    /// An empty pointer is allowed: nothing is opened then.
    explicit ScopedGateOpener(std::shared_ptr<Gate> gate) noexcept : m_gate(std::move(gate)) {}
    ScopedGateOpener(const ScopedGateOpener&) = delete;
    ScopedGateOpener& operator=(const ScopedGateOpener&) = delete;
    ~ScopedGateOpener()
    {
        if (m_gate) m_gate->Open();
    }

  private:
    std::shared_ptr<Gate> m_gate;
};

}  // namespace zvkcore::threads

#endif
