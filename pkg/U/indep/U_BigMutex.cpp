// The big mutex, the state in which a render context keeps its lock, and the overrides of parallel rendering.
//
// State: the mutex, from its first use to the end of the process; whether it is used at all, read once; the
// locks whose state died on another thread, under a mutex of their own; two profiling logs; the overrides.
#include "U_BigMutex.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <system_error>
#include <typeinfo>
#include <utility>

#include "U.h"
#include "Up_ContextCore.h"
#include "zvkcore/allocator/RecyclingAllocator.h"
#include "zvkcore/debug/DebugDatabase.h"
#include "zvkcore/threads/ThreadID.h"

using zvkcore::debug::CodeProfiler;
using zvkcore::debug::CodeProfilerManager;
using zvkcore::threads::RecursiveMutex;

namespace U {
namespace {

constexpr const char* kMutexName = "QL.U.BigMutex";
constexpr uint32_t kTimeout = 60000;

// Never destroyed: a lock may still be held by a state that outlives static objects.
RecursiveMutex& TheBigMutex()
{
    static auto& mutex = *new RecursiveMutex{kMutexName};
    return mutex;
}

bool IsBigMutexEnabled()
{
    static const bool enabled =
        zvkcore::debug::DebugDatabase::Instance().GetEntryAs<bool>("QL.UseBigMutexR", true);
    return enabled;
}

// The system lets only the thread that took the mutex give it back. So a lock knows its thread.
struct HeldLock final : RecursiveMutex::ScopedLock {
    HeldLock() : ScopedLock{TheBigMutex(), std::defer_lock} {}

    const unsigned long thread = zvkcore::threads::GetCurrentThreadID();
    std::shared_ptr<HeldLock> next;  // while it waits for its thread
};

// TakeMutex makes every lock, so each is a HeldLock.
bool IsOfThisThread(const RecursiveMutex::ScopedLock& lock)
{
    return static_cast<const HeldLock&>(lock).thread == zvkcore::threads::GetCurrentThreadID();
}

// Locks of states that died on another thread than their own. They are all of one thread, that which has the
// mutex, and wait here until it passes by.
constinit std::atomic<bool> g_anyAbandoned{false};  // so that who passes by without one pays a read

struct AbandonedLocks {
    std::mutex mutex;
    std::shared_ptr<HeldLock> first;
};

AbandonedLocks& Abandoned()
{
    static auto& abandoned = *new AbandonedLocks;
    return abandoned;
}

void Abandon(const std::shared_ptr<RecursiveMutex::ScopedLock>& lock)
{
    AbandonedLocks& abandoned = Abandoned();
    const std::lock_guard guard{abandoned.mutex};
    auto held = std::static_pointer_cast<HeldLock>(lock);
    held->next = std::exchange(abandoned.first, held);
    g_anyAbandoned = true;
}

void ReleaseAbandoned()
{
    if (!g_anyAbandoned) return;
    AbandonedLocks& abandoned = Abandoned();
    std::shared_ptr<HeldLock> mine;
    {
        const std::lock_guard guard{abandoned.mutex};
        if (!abandoned.first || !IsOfThisThread(*abandoned.first)) return;
        mine.swap(abandoned.first);
        g_anyAbandoned = false;
    }
    while (mine) mine = std::exchange(mine->next, nullptr);
}

std::shared_ptr<RecursiveMutex::ScopedLock> TakeMutex()
{
    ReleaseAbandoned();
    // One block from the list of the thread, for the lock and its counts.
    auto lock = std::allocate_shared<HeldLock>(zvkcore::allocator::RecyclingAllocator<HeldLock>{});
    lock->Lock(kMutexName, kTimeout);
    return lock;
}

BigMutexState* StateOf(const boost::shared_ptr<U_RenderContext>& context)
{
    if (!context) return nullptr;
    U_RenderState* state = Up_ContextCore<U_RenderContext>::PeekState(*context, BigMutexState::S_StateName);
    if (!state) return nullptr;
    // Nearly always the library's own class, and comparing types is much cheaper than the cast.
    if (typeid(*state) == typeid(BigMutexState)) return static_cast<BigMutexState*>(state);
    return dynamic_cast<BigMutexState*>(state);
}

constinit const std::shared_ptr<zvkcore::debug::ProfileDataLog> kNoLog;

// Logs live for the process, so that a profiler of a late scope still has one.
const std::shared_ptr<zvkcore::debug::ProfileDataLog>& WaitingLog()
{
    static const auto& log =
        *new auto(CodeProfilerManager::Get().CreateNewProfileDataLog("QL.U.BigMutexLock_Waiting", 1));
    return log;
}

const std::shared_ptr<zvkcore::debug::ProfileDataLog>& TotalLog()
{
    static const auto& log =
        *new auto(CodeProfilerManager::Get().CreateNewProfileDataLog("QL.BigMutexLock_Total", 5));
    return log;
}

}  // namespace

// --- The state of a render ---------------------------------------------------------------------------------

const ImmutableString BigMutexState::S_StateName = ImmutableString::Create("BigMutexState");

boost::shared_ptr<U_RenderState> BigMutexState::Create(U_RenderContext* /*context*/)
{
    return boost::shared_ptr<U_RenderState>{new BigMutexState};
}

ImmutableString BigMutexState::GetStateName() const
{
    return S_StateName;
}

BigMutexState::~BigMutexState()
{
    if (lock && !IsOfThisThread(*lock)) Abandon(lock);
}

bool BigMutexState::SetLock()
{
    if (lock) return false;
    lock = TakeMutex();
    return true;
}

void BigMutexState::ClearLock()
{
    if (lock && IsOfThisThread(*lock)) lock.reset();
}

bool BigMutexState::HasLock() const
{
    return lock != nullptr;
}

// --- The scopes --------------------------------------------------------------------------------------------

BigMutexLock::BigMutexLock(boost::shared_ptr<U_RenderContext> context)
{
    if (!IsBigMutexEnabled() || U_IsOnMainThread()) return;
    if (!context) context = U_RenderContext::GetCurrent(true);
    BigMutexState* state = StateOf(context);
    if (state && state->HasLock()) return;

    const bool timeWait = CodeProfilerManager::Get().GetProfilingVolume() >= 1;
    const CodeProfiler waiting{timeWait ? WaitingLog() : kNoLog};
    total_profiler = std::make_unique<CodeProfiler>(TotalLog());
    if (state && state->SetLock()) {
        render_context = context;
    } else {
        own_lock = TakeMutex();
    }
}

BigMutexLock::~BigMutexLock()
{
    if (BigMutexState* state = StateOf(render_context.lock())) state->ClearLock();
    ReleaseAbandoned();  // the render may have died elsewhere meanwhile
    total_profiler.reset();
    own_lock.reset();
}

BigMutexSuspender::BigMutexSuspender(const boost::shared_ptr<U_RenderContext>& context)
{
    if (!context) Up_FailContext(0, "suspended render context is null");
    BigMutexState* state = StateOf(context);
    if (!state || !state->HasLock()) return;
    state->ClearLock();
    if (state->HasLock())
        return;  // it is another thread's, which has lent the render: nothing to give up here
    render_context = context;
}

void BigMutexSuspender::RestoreLock()
{
    if (BigMutexState* state = StateOf(render_context.lock())) state->SetLock();
    render_context.reset();
}

BigMutexSuspender::~BigMutexSuspender()
{
    // A destructor cannot report that the time ran out, and what follows it must not run unprotected: each
    // failed wait has been traced, and the next one begins.
    for (bool restored = false; !restored;) {
        try {
            RestoreLock();
            restored = true;
        } catch (const std::system_error&) {
            restored = false;
        }
    }
}

// --- Overrides ---------------------------------------------------------------------------------------------

namespace {

constexpr unsigned char kNoEnabledOverride = 255;
constexpr unsigned char kNoPercentOverride = 0;

struct {
    std::atomic<unsigned char> enabled{kNoEnabledOverride};
    std::atomic<unsigned char> max_cpu_percent{kNoPercentOverride};
} S_mfr_pref_override;

}  // namespace

void SetMultiThreadedRenderingOverrides(bool enabled, unsigned char max_cpu_percent)
{
    const auto percent =
        enabled ? std::min<unsigned char>(max_cpu_percent, 100) : static_cast<unsigned char>(100);
    S_mfr_pref_override.enabled.store(enabled, std::memory_order_release);
    S_mfr_pref_override.max_cpu_percent.store(percent, std::memory_order_release);
}

bool GetMultiThreadedRenderingState(bool default_value)
{
    const unsigned char enabled = S_mfr_pref_override.enabled.load(std::memory_order_acquire);
    return enabled == kNoEnabledOverride ? default_value : enabled == 1;
}

unsigned char GetMultiThreadedMaximumCPUPercent(unsigned char default_value)
{
    const unsigned char percent = S_mfr_pref_override.max_cpu_percent.load(std::memory_order_acquire);
    return percent == kNoPercentOverride ? default_value : percent;
}

void ResetMultiThreadedRenderingOverrides()
{
    S_mfr_pref_override.enabled.store(kNoEnabledOverride, std::memory_order_release);
    S_mfr_pref_override.max_cpu_percent.store(kNoPercentOverride, std::memory_order_release);
}

}  // namespace U
