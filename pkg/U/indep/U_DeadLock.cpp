// The detector of lock order. All of its records are per thread and the order never changes, so no
// notification locks anything of its own.
//
// State: the name of the mutex without a name, from load; the count of ScNotifyHoldingMutexLock, per thread.
#include "Up_DeadLock.h"

#include <algorithm>
#include <new>
#include <utility>

#include "U.h"
#include "Up_LockOrder.h"
#include "Up_StackCrawl.h"
#include "zvkcore/debug/StackTrace.h"
#include "zvkcore/threads/PerThreadData.h"

using zvkcore::utility::ImmutableString;

namespace U {
namespace {

const ImmutableString kUnnamedMutex = ImmutableString::Create("!!@@##$$%% UnnamedMutex ^^&&**(())");

// The frames between a lock and this file: what is stored begins at whoever locked.
constexpr std::size_t kFramesOfLocking = 6;

std::vector<ImmutableString> MakeOrder()
{
    std::vector<ImmutableString> order;
    order.reserve(std::size(kUp_LockOrder));
    for (const char* name : kUp_LockOrder) order.push_back(ImmutableString::Create(name));
    return order;
}

std::string CaptureCallstack()
{
    std::vector<void*> frames(zvkcore::debug::GetDefaultCallstackDepth());
    frames.resize(zvkcore::debug::GenerateStackTrace(frames.data(), frames.size(), kFramesOfLocking));
    char text[8192];
    Up_FramesText(frames.data(), frames.size(), text, sizeof text);
    return text;
}

struct BusyScope {
    explicit BusyScope(bool& flag) : busy{flag} { busy = true; }
    ~BusyScope() { busy = false; }
    BusyScope(const BusyScope&) = delete;
    BusyScope& operator=(const BusyScope&) = delete;
    bool& busy;
};

}  // namespace

DeadLockDreadNot::DeadLockDreadNot() : m_order{MakeOrder()} {}
DeadLockDreadNot::~DeadLockDreadNot() = default;

std::size_t DeadLockDreadNot::Position(const Name& name) const
{
    return static_cast<std::size_t>(std::find(m_order.begin(), m_order.end(), name) - m_order.begin());
}

// Walks the held mutexes and counts an entry of the same mutex. The walk stops at another mutex of the same
// name and at a breach of the order, a held lock whose place is not before the new one's.
//
// Wanted: stopping is all that a breach does, with no message and no exception. So an entry of the same mutex
// behind the stopping point is not found, and the caller overwrites it with a count of 1.
bool DeadLockDreadNot::CountAgain(ThreadMutexInfo& thread, const void* mutex, const Name& name,
                                  std::size_t position) const
{
    bool found = false;
    for (auto& [held, info] : thread.held) {
        if (held == mutex) {
            ++info.lock_count;
            found = true;
        } else if (Name::Compare(info.name, name) == 0 || Position(info.name) >= position) {
            break;
        }
    }
    return found;
}

void DeadLockDreadNot::OnMutexLocked(const void* mutex, const Name& given, const char* name_text)
{
    if (!m_threads.get()) m_threads.reset(new ThreadMutexInfo);
    ThreadMutexInfo& thread = *m_threads;
    if (thread.busy) return;
    const BusyScope scope{thread.busy};

    Name name = given;
    if (name.IsNull()) name = name_text && *name_text ? Name::Create(name_text) : kUnnamedMutex;
    const std::size_t position = Position(name);
    if (position == m_order.size()) return;  // outside the order, the unnamed ones among them: not tracked
    if (CountAgain(thread, mutex, name, position)) return;
    thread.held[mutex] = MutexLockInfo{name, 1, CaptureCallstack()};
}

void DeadLockDreadNot::OnMutexUnlocked(const void* mutex)
{
    ThreadMutexInfo* thread = m_threads.get();
    if (!thread || thread->busy) return;
    const BusyScope scope{thread->busy};
    const auto held = thread->held.find(mutex);
    if (held != thread->held.end() && --held->second.lock_count <= 0) thread->held.erase(held);
}

// A main thread that waits at a gate while it holds a lock is the moment to look at its record in a debugger;
// the detector itself has nothing to do there.
void DeadLockDreadNot::OnGateWaitStarted(const void* /*gate*/)
{
    if (U_IsOnMainThread()) [[maybe_unused]]
        const ThreadMutexInfo* thread = m_threads.get();
}

void DeadLockDreadNot::OnMutexAboutToLock(const void* /*mutex*/, const Name& /*name*/,
                                          const char* /*name_text*/)
{
}
void DeadLockDreadNot::OnMutexTryLockFailed(const void* /*mutex*/, const Name& /*name*/,
                                            const char* /*name_text*/)
{
}
void DeadLockDreadNot::OnGateWaitEnded(const void* /*gate*/) {}

std::shared_ptr<zvkcore::debug::deadlocks::DeadLockDetector> CreateDeadLockDetector()
{
    return std::make_shared<DeadLockDreadNot>();
}

// --- Helpers -----------------------------------------------------------------------------------------------

namespace {

zvkcore::threads::PerThreadData<int>& ScNotifyHoldingMutexLock_GetPerThreadData()
{
    static auto& sPerThreadData = *new zvkcore::threads::PerThreadData<int>;
    return sPerThreadData;
}

}  // namespace

ScNotifyHoldingMutexLock::ScNotifyHoldingMutexLock(const char* /*name*/)
{
    ++*ScNotifyHoldingMutexLock_GetPerThreadData().FindOrCreate();
}

ScNotifyHoldingMutexLock::~ScNotifyHoldingMutexLock()
{
    --*ScNotifyHoldingMutexLock_GetPerThreadData().FindOrCreate();
}

bool ScNotifyHoldingMutexLock::IsHoldingLock()
{
    try {
        return *ScNotifyHoldingMutexLock_GetPerThreadData().FindOrCreate() > 0;
    } catch (const std::bad_alloc&) {
        return true;  // wanted, the careful answer: nobody knows whether this thread holds a lock
    }
}

std::shared_ptr<std::shared_ptr<GateOpener>> WrapGateOpener(const std::shared_ptr<GateOpener>& opener)
{
    return std::make_shared<std::shared_ptr<GateOpener>>(opener);
}

std::shared_ptr<GateOpener> UnwrapGateOpener(std::shared_ptr<std::shared_ptr<GateOpener>>& wrapper)
{
    return wrapper ? std::exchange(*wrapper, nullptr) : nullptr;
}

}  // namespace U
