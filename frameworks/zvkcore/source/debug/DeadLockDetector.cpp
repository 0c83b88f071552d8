// State: the installed detector, and beside it the flag that every lock reads first. Both live as long as the
// process.
#include "zvkcore/debug/DeadLockDetector.h"

#include <utility>

#include "SharedSlot.h"
#include "zvkcore/utility/ImmutableString.h"

namespace zvkcore::debug::deadlocks {
namespace detail {
constinit std::atomic<bool> g_detectorInstalled{false};
}

namespace {

constinit SharedSlot<DeadLockDetector> g_detector;

// A detector that fails must not leave a lock half taken, so its exceptions end here.
template <class Notification>
void Notify(Notification notification) noexcept
{
    if (!IsDetectorInstalled()) return;
    try {
        if (const auto detector = g_detector.Load()) notification(*detector);
    } catch (...) {
    }
}

const utility::ImmutableString& NameOf(const utility::ImmutableString* name)
{
    static constexpr utility::ImmutableString kNullName;
    return name != nullptr ? *name : kNullName;
}

}  // namespace

DeadLockDetector::~DeadLockDetector() = default;

std::shared_ptr<DeadLockDetector> InstallDeadLockDetector(std::shared_ptr<DeadLockDetector> detector) noexcept
{
    const bool installed = detector != nullptr;
    return g_detector.Exchange(std::move(detector), [installed] {
        detail::g_detectorInstalled.store(installed, std::memory_order_release);
    });
}

void NotifyMutexAboutToLock(const void* mutex, const utility::ImmutableString* name,
                            const char* text) noexcept
{
    Notify([&](DeadLockDetector& detector) { detector.OnMutexAboutToLock(mutex, NameOf(name), text); });
}

void NotifyMutexLocked(const void* mutex, const utility::ImmutableString* name, const char* text) noexcept
{
    Notify([&](DeadLockDetector& detector) { detector.OnMutexLocked(mutex, NameOf(name), text); });
}

void NotifyMutexTryLockFailed(const void* mutex, const utility::ImmutableString* name,
                              const char* text) noexcept
{
    Notify([&](DeadLockDetector& detector) { detector.OnMutexTryLockFailed(mutex, NameOf(name), text); });
}

void NotifyMutexUnlocked(const void* mutex) noexcept
{
    Notify([&](DeadLockDetector& detector) { detector.OnMutexUnlocked(mutex); });
}

void NotifyGateWaitStarted(const void* gate) noexcept
{
    Notify([&](DeadLockDetector& detector) { detector.OnGateWaitStarted(gate); });
}

void NotifyGateWaitEnded(const void* gate) noexcept
{
    Notify([&](DeadLockDetector& detector) { detector.OnGateWaitEnded(gate); });
}

}  // namespace zvkcore::debug::deadlocks
