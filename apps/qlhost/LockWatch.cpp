// Which lock was taken while which was held is a graph of names with the first stack of each edge. An edge whose
// reverse is there already is printed, once.
#include "LockWatch.h"

#include <U_DeadLock.h>

#include <cstdio>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "zvkcore/debug/StackTrace.h"
#include "zvkcore/utility/ImmutableString.h"

namespace qlhost {
namespace {

using Name = zvkcore::utility::ImmutableString;
using Frames = std::vector<void*>;

// What a thread holds, and whether a notification runs on it: locks that are taken in there are not seen.
struct Thread {
    std::vector<std::pair<const void*, Name>> held;
    bool busy = false;
};
thread_local Thread t_thread;

struct Busy {
    Busy() { t_thread.busy = true; }
    ~Busy() { t_thread.busy = false; }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;
};

void PrintStack(const char* title, Name first, Name second, const Frames& frames)
{
    std::fprintf(stderr, "%s: \"%s\", then \"%s\"\n", title, first.GetText(), second.GetText());
    for (void* frame : frames) {
        char name[512];
        if (!zvkcore::debug::StackFrameFunctionName(frame, name, sizeof name)) {
            std::snprintf(name, sizeof name, "??? <%p>", frame);
        }
        std::fprintf(stderr, "    %s\n", name);
    }
}

}  // namespace

class LockWatch::Detector final : public zvkcore::debug::deadlocks::DeadLockDetector {
  public:
    void OnMutexAboutToLock(const void* mutex, const Name& name, const char* text) override
    {
        m_library->OnMutexAboutToLock(mutex, name, text);
    }

    void OnMutexLocked(const void* mutex, const Name& name, const char* text) override
    {
        m_library->OnMutexLocked(mutex, name, text);
        if (t_thread.busy) return;
        const Busy busy;
        const Name known = name.IsNull() && text ? Name::Create(text) : name;
        for (const auto& [other, heldName] : t_thread.held) {
            if (other != mutex && !known.IsNull() && !heldName.IsNull()) See(heldName, known);
        }
        t_thread.held.emplace_back(mutex, known);
    }

    void OnMutexTryLockFailed(const void* mutex, const Name& name, const char* text) override
    {
        m_library->OnMutexTryLockFailed(mutex, name, text);
    }

    void OnMutexUnlocked(const void* mutex) override
    {
        m_library->OnMutexUnlocked(mutex);
        if (t_thread.busy) return;
        for (auto held = t_thread.held.rbegin(); held != t_thread.held.rend(); ++held) {
            if (held->first != mutex) continue;
            t_thread.held.erase(std::next(held).base());
            return;
        }
    }

    void OnGateWaitStarted(const void* gate) override { m_library->OnGateWaitStarted(gate); }
    void OnGateWaitEnded(const void* gate) override { m_library->OnGateWaitEnded(gate); }

    int Inversions() const
    {
        const std::lock_guard lock{m_mutex};
        return static_cast<int>(m_inverted.size());
    }

    int Orders() const
    {
        const std::lock_guard lock{m_mutex};
        return static_cast<int>(m_orders.size());
    }

  private:
    void See(Name first, Name second)
    {
        const std::lock_guard lock{m_mutex};
        const auto [order, isNew] = m_orders.try_emplace({first, second});
        if (!isNew || first == second) return;
        order->second = zvkcore::debug::CaptureCallstack(zvkcore::debug::GetDefaultCallstackDepth(), 2);
        const auto reverse = m_orders.find({second, first});
        if (reverse == m_orders.end()) return;
        m_inverted.insert(std::minmax(first, second));
        PrintStack("Locks taken one way", second, first, reverse->second);
        PrintStack("and the other way", first, second, order->second);
    }

    const std::shared_ptr<DeadLockDetector> m_library = U::CreateDeadLockDetector();
    mutable std::mutex m_mutex;  // guards what follows
    std::map<std::pair<Name, Name>, Frames> m_orders;
    std::set<std::pair<Name, Name>> m_inverted;
};

LockWatch::LockWatch()
    : m_detector{std::make_shared<Detector>()},
      m_former{zvkcore::debug::deadlocks::InstallDeadLockDetector(m_detector)}
{
}

LockWatch::~LockWatch()
{
    zvkcore::debug::deadlocks::InstallDeadLockDetector(m_former);
}

int LockWatch::Inversions() const
{
    return m_detector->Inversions();
}
int LockWatch::Orders() const
{
    return m_detector->Orders();
}

}  // namespace qlhost
