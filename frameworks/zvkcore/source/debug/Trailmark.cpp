// State: the ring of checkpoints, made at the first one and gone when the library ends.
#include "zvkcore/debug/Trailmark.h"

#include <deque>
#include <utility>

#include "ExitSafe.h"
#include "zvkcore/threads/ThreadID.h"

namespace zvkcore::debug::trailmark {
namespace {

struct Trail {
    std::deque<Checkpoint> checkpoints;
    uint64_t count = 0;
};

constinit ExitSafe<Trail> g_trail;
ExitSafe<Trail>::Closer g_trailCloser(g_trail);

}  // namespace

void LeaveTrail(utility::Dictionary texts, std::vector<void*> callstack) noexcept
try {
    Checkpoint checkpoint{0, threads::GetCurrentThreadID(), std::chrono::system_clock::now(),
                          std::move(texts), std::move(callstack)};
    g_trail.With([&](Trail& trail) {
        checkpoint.number = ++trail.count;
        trail.checkpoints.push_back(std::move(checkpoint));
        if (trail.checkpoints.size() > kTrailLength) trail.checkpoints.pop_front();
    });
} catch (...) {
    // A report that leaves a trail has more important things to do than to fail for it.
}

std::vector<Checkpoint> GetTrail()
{
    std::vector<Checkpoint> copy;
    g_trail.With([&](Trail& trail) { copy.assign(trail.checkpoints.begin(), trail.checkpoints.end()); });
    return copy;
}

void ClearTrail() noexcept
try {
    g_trail.With([](Trail& trail) { trail.checkpoints.clear(); });
} catch (...) {
    // Only making the ring can fail, and then there is nothing in it.
}

}  // namespace zvkcore::debug::trailmark
