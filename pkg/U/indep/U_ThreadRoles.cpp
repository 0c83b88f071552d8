// Which thread has which role. The lists exist from load time, so that threads may register before a birth.
#include "U.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

#include "Up_Err.h"
#include "Up_ThreadRoles.h"
#include "Up_TraceLine.h"
#include "zvkcore/debug/DebugDatabase.h"
#include "zvkcore/threads/ThreadID.h"
#include "zvkcore/utility/System.h"

namespace {

/// What a role is called in the trace.
struct RoleName {
    const char* function;
    const char* role;
};

/// A role that any number of threads may have.
struct Role {
    RoleName name;
    std::mutex mutex;  // guards the list
    std::vector<unsigned long> threads;
    std::atomic<uint64_t> changes;  // from 1, counted behind each change of the list
};

/// What a thread was told of itself last, good until the list changes. Renders ask at every lock.
struct Answer {
    uint64_t changes;
    bool has;
};
__attribute__((tls_model("initial-exec"))) constinit thread_local Answer t_isMain{};
__attribute__((tls_model("initial-exec"))) constinit thread_local Answer t_isRender{};

/// A role of one thread. It is set before that thread does the role's work, so nothing orders it.
struct SingleRole {
    RoleName name;
    std::atomic<unsigned long> thread{kNobody};
    static constexpr unsigned long kNobody = ~0ul;
};

// Process-wide, from load to unload; births and deaths leave them alone.
constinit Role g_main{{"U_RegisterMainThread", " as a main thread"}, {}, {}, {1}};
constinit Role g_render{{"U_RegisterRenderThread", " as a render thread"}, {}, {}, {1}};
// "a interFrame": the words of the trace that people search for.
constinit Role g_interFrame{
    {"U_RegisterInterFrameRenderThread", " as a interFrame render thread"}, {}, {}, {1}};
constinit SingleRole g_psl{{"U_RegisterPSLThread", " as the psl thread"}};
constinit SingleRole g_pr{{"U_RegisterPRThread", " as the pr thread"}};

constexpr unsigned long kCaller = ~0ul;
constexpr unsigned long kFirstCallerAlias = ~0ul - 1;

// A deregistration is traced under the registering function's name, so that one search finds both.
void TraceRole(const RoleName& name, const char* what, unsigned long id)
{
    constexpr int kLevel = 6;
    static constexpr char kChannel[] = "U_THREADS";
    static constinit U_TraceLine s_line(kChannel, kLevel);
    if (!s_line.Enabled()) return;
    char text[128];
    std::snprintf(text, sizeof text, "%s%s%lu%s\n", name.function, what, id, name.role);
    zvkcore::debug::Trace(kLevel, kChannel, text);
}

bool Has(Role& role, unsigned long id)
{
    const std::lock_guard lock(role.mutex);
    return std::find(role.threads.begin(), role.threads.end(), id) != role.threads.end();
}

bool HasCaller(Role& role, Answer& answer)
{
    const uint64_t changes = role.changes.load(std::memory_order_acquire);
    if (answer.changes != changes) answer = {changes, Has(role, U_GetCurrentThreadID())};
    return answer.has;
}

bool RemoveFirst(Role& role, unsigned long id)
{
    const std::lock_guard lock(role.mutex);
    const auto found = std::find(role.threads.begin(), role.threads.end(), id);
    if (found == role.threads.end()) return false;
    role.threads.erase(found);
    role.changes.fetch_add(1, std::memory_order_release);
    return true;
}

void Register(Role& role, unsigned long id)
{
    const unsigned long thread = id >= kFirstCallerAlias ? U_GetCurrentThreadID() : id;
    Up_RegisterThread(role.mutex, role.threads, thread);
    role.changes.fetch_add(1, std::memory_order_release);
    TraceRole(role.name, " registered ", thread);
}

// The trace comes also for a thread that was not registered.
void Deregister(Role& role)
{
    const unsigned long caller = U_GetCurrentThreadID();
    RemoveFirst(role, caller);
    TraceRole(role.name, " removed ", caller);
}

void Register(SingleRole& role)
{
    const unsigned long caller = U_GetCurrentThreadID();
    role.thread.store(caller, std::memory_order_relaxed);
    TraceRole(role.name, " registered ", caller);
}

void Deregister(SingleRole& role)
{
    role.thread.store(SingleRole::kNobody, std::memory_order_relaxed);
    TraceRole(role.name, " removed ", U_GetCurrentThreadID());
}

unsigned long Thread(const SingleRole& role)
{
    return role.thread.load(std::memory_order_relaxed);
}

int32_t CachedCPUCount()
{
    static const int32_t s_count = zvkcore::utility::CPUCount();
    return s_count;
}

}  // namespace

void Up_RegisterThread(std::mutex& mutex, std::vector<unsigned long>& threads, unsigned long id)
{
    if (id >= kFirstCallerAlias) id = U_GetCurrentThreadID();
    // Room is made outside the lock: when memory runs out the new handler asks for the caller's role.
    std::vector<unsigned long> roomier;
    for (;;) {
        size_t wanted;
        {
            const std::lock_guard lock(mutex);
            if (threads.size() == threads.capacity() && roomier.capacity() > threads.size()) {
                roomier.assign(threads.begin(), threads.end());
                roomier.swap(threads);
            }
            if (threads.size() < threads.capacity()) {
                threads.push_back(id);
                return;
            }
            wanted = threads.size() * 2 + 8;
        }
        roomier.reserve(wanted);
    }
}

unsigned long U_GetCurrentThreadID()
{
    return zvkcore::threads::GetCurrentThreadID();
}
bool U_IsOnUIThread()
{
    return zvkcore::threads::CurrentThreadIsMainThread();
}

void U_RegisterMainThread(unsigned long id)
{
    Register(g_main, id);
}
void U_DeregisterMainThread()
{
    Deregister(g_main);
}
bool U_IsMainThreadID(unsigned long id)
{
    return Has(g_main, id);
}
bool U_IsOnMainThread()
{
    return HasCaller(g_main, t_isMain);
}

void U_RegisterRenderThread()
{
    Register(g_render, kCaller);
}
bool U_IsRenderThreadID(unsigned long id)
{
    return Has(g_render, id);
}
bool U_IsOnRenderThread()
{
    return HasCaller(g_render, t_isRender);
}

// Stricter than its neighbours, wanted so: an unbalanced render thread works under somebody else's rights.
void U_DeregisterRenderThread()
{
    if (!U_IsOnRenderThread()) {
        Up_SimpleAssert("U/indep/U", 301, "void U_DeregisterRenderThread()", "threadRegistered == true",
                        "WARNING: Trying to unregister a thread that is not in the Render Thread list. "
                        "This should not happen.");
    }
    Deregister(g_render);
}

void U_RegisterInterFrameRenderThread()
{
    Register(g_interFrame, kCaller);
}
void U_DeregisterInterFrameRenderThread()
{
    Deregister(g_interFrame);
}
bool U_IsInterFrameRenderThreadID(unsigned long id)
{
    return Has(g_interFrame, id);
}
bool U_IsOnInterFrameRenderThread()
{
    return Has(g_interFrame, U_GetCurrentThreadID());
}

unsigned long U_PSLThreadID()
{
    return Thread(g_psl);
}
bool U_IsOnPSLThread()
{
    return Thread(g_psl) == U_GetCurrentThreadID();
}
void U_RegisterPSLThread()
{
    Register(g_psl);
}
void U_DeregisterPSLThread()
{
    Deregister(g_psl);
}

unsigned long U_PRThreadID()
{
    return Thread(g_pr);
}
bool U_IsOnPRThread()
{
    return Thread(g_pr) == U_GetCurrentThreadID();
}
void U_RegisterPRThread()
{
    Register(g_pr);
}
void U_DeregisterPRThread()
{
    Deregister(g_pr);
}

int U_GetMaxNumThreads()
{
    static const int32_t s_multiplier = zvkcore::debug::DebugDatabase::Instance().GetEntryAs<int32_t>(
        "QL.MultiplierForMaxIntraThreadsR", 160);
    return Up_ScaleThreadCount(CachedCPUCount(), s_multiplier);
}

int U_GetMaxNumThreadsLegacy()
{
    return Up_CapThreadCount(CachedCPUCount());
}

U_RenderThreadRegistration::U_RenderThreadRegistration()
{
    U_RegisterRenderThread();
}
U_RenderThreadRegistration::~U_RenderThreadRegistration()
{
    U_DeregisterRenderThread();
}

U_InterFrameRenderThreadRegistration::U_InterFrameRenderThreadRegistration()
{
    U_RegisterInterFrameRenderThread();
}
U_InterFrameRenderThreadRegistration::~U_InterFrameRenderThreadRegistration()
{
    U_DeregisterInterFrameRenderThread();
}
