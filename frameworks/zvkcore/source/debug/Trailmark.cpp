// State: the ring of checkpoints, made at the first one and gone when the library ends.
#include "zvkcore/debug/Trailmark.h"

#include <array>
#include <memory>
#include <utility>

#include "ExitSafe.h"
#include "zvkcore/threads/ThreadID.h"

namespace zvkcore::debug::trailmark {
namespace {

// Checkpoints are made and destroyed outside the lock, which is held for exchanging pointers only.
struct Trail {
    std::array<std::shared_ptr<const Checkpoint>, kTrailLength> ring;  // number n stands at n % kTrailLength
    uint64_t count = 0;
};

constinit ExitSafe<Trail> g_trail;
ExitSafe<Trail>::Closer g_trailCloser(g_trail);

}  // namespace

void LeaveTrail(utility::Dictionary texts, std::vector<void*> callstack) noexcept
try {
    const auto checkpoint = std::make_shared<Checkpoint>(Checkpoint{0, threads::GetCurrentThreadID(),
                                                                    std::chrono::system_clock::now(),
                                                                    std::move(texts), std::move(callstack)});
    std::shared_ptr<const Checkpoint> forgotten = checkpoint;
    g_trail.With([&](Trail& trail) {
        checkpoint->number = ++trail.count;
        trail.ring[trail.count % kTrailLength].swap(forgotten);
    });
} catch (...) {
    // A report that leaves a trail has more important things to do than to fail for it.
}

std::vector<Checkpoint> GetTrail()
{
    Trail copy;
    g_trail.With([&](Trail& trail) { copy = trail; });
    std::vector<Checkpoint> checkpoints;
    for (size_t i = 1; i <= kTrailLength; ++i) {
        const auto& checkpoint = copy.ring[(copy.count + i) % kTrailLength];
        if (checkpoint) checkpoints.push_back(*checkpoint);
    }
    return checkpoints;
}

void ClearTrail() noexcept
try {
    Trail forgotten;
    g_trail.With([&](Trail& trail) { trail.ring.swap(forgotten.ring); });
} catch (...) {
    // Only making the ring can fail, and then there is nothing in it.
}

}  // namespace zvkcore::debug::trailmark
