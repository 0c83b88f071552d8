// State: the graph, in room that is there from the start; guard: the plain lock of the object, which is not held
// while a circle is told. Beside it what each thread holds, which only that thread touches.
#include "LockOrders.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "zvkcore/debug/StackTrace.h"
#include "zvkcore/utility/ImmutableString.h"

namespace qltest {
namespace {

using zvkcore::utility::ImmutableString;

struct Held {
    const void* mutex;
    int name;
};

// No destructor: a thread may lock while it ends.
struct Thread {
    Held held[64];
    size_t count;
    bool busy;
};
constinit thread_local Thread t_thread{};

// Locks that are taken while a circle is told are not seen.
struct Busy {
    Busy() { t_thread.busy = true; }
    ~Busy() { t_thread.busy = false; }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;
};

const char* TextOf(const ImmutableString& name, const char* text)
{
    return !name.IsNull() ? name.GetText() : text != nullptr ? text : "";
}

std::string FrameNames(void* const* frames, size_t depth)
{
    std::string lines;
    for (size_t i = 0; i < depth; ++i) {
        char name[512];
        if (!zvkcore::debug::StackFrameFunctionName(frames[i], name, sizeof name)) {
            std::snprintf(name, sizeof name, "??? <%p>", frames[i]);
        }
        lines.append("    ").append(name).append("\n");
    }
    return lines;
}

}  // namespace

LockOrders::LockOrders(std::function<void(const std::string&)> report) : m_report(std::move(report)) {}

void LockOrders::Add(const Line& line)
{
    std::string circle;
    {
        const std::lock_guard lock(m_mutex);
        const int order = Enter(NameOf(line.held.c_str()), NameOf(line.taken.c_str()));
        if (order == kNone) return;
        m_orders[order].where = line.where;
        circle = Circle(order);
    }
    if (!circle.empty()) m_report(circle);
}

std::vector<LockOrders::Line> LockOrders::Lines(size_t first) const
{
    const std::lock_guard lock(m_mutex);
    std::vector<Line> lines;
    for (size_t i = first; i < m_orderCount; ++i) lines.push_back(Describe(m_orders[i]));
    return lines;
}

size_t LockOrders::Count() const
{
    const std::lock_guard lock(m_mutex);
    return m_orderCount;
}

bool LockOrders::IsFull() const
{
    const std::lock_guard lock(m_mutex);
    return m_full;
}

void LockOrders::ForgetThread()
{
    t_thread.count = 0;
}

// Asked before the lock is taken, so that threads that do lock one another out are told of, too.
void LockOrders::OnMutexAboutToLock(const void* mutex, const ImmutableString& name, const char* text)
{
    const char* taken = TextOf(name, text);
    if (t_thread.busy || *taken == 0) return;
    const auto held = [mutex](const Held& h) { return h.mutex == mutex; };
    if (std::any_of(t_thread.held, t_thread.held + t_thread.count, held)) return;
    const Busy busy;
    for (size_t i = 0; i < t_thread.count; ++i) {
        std::string circle;
        {
            const std::lock_guard lock(m_mutex);
            const int order = Enter(t_thread.held[i].name, NameOf(taken));
            if (order == kNone) continue;
            m_orders[order].depth = zvkcore::debug::GenerateStackTrace(m_orders[order].frames, kFrames, 2);
            circle = Circle(order);
        }
        if (!circle.empty()) m_report(circle);
    }
}

void LockOrders::OnMutexLocked(const void* mutex, const ImmutableString& name, const char* text)
{
    const char* taken = TextOf(name, text);
    if (t_thread.busy || *taken == 0 || t_thread.count == std::size(t_thread.held)) return;
    const std::lock_guard lock(m_mutex);
    t_thread.held[t_thread.count++] = {mutex, NameOf(taken)};
}

void LockOrders::OnMutexUnlocked(const void* mutex)
{
    if (t_thread.busy) return;
    for (size_t i = t_thread.count; i-- > 0;) {
        if (t_thread.held[i].mutex != mutex) continue;
        std::copy(t_thread.held + i + 1, t_thread.held + t_thread.count, t_thread.held + i);
        --t_thread.count;
        return;
    }
}

int LockOrders::NameOf(const char* text)
{
    for (size_t i = 0; i < m_nameCount; ++i) {
        if (std::strncmp(m_names[i], text, kNameSize - 1) == 0) return static_cast<int>(i);
    }
    if (m_nameCount == kNames) return kNone;
    std::snprintf(m_names[m_nameCount], kNameSize, "%s", text);
    return static_cast<int>(m_nameCount++);
}

// Gives the new order; kNone for one that is known, and for one that finds no room.
int LockOrders::Enter(int held, int taken)
{
    if (held == kNone || taken == kNone || m_orderCount == kOrders) {
        m_full = true;
        return kNone;
    }
    for (size_t i = 0; i < m_orderCount; ++i) {
        if (m_orders[i].held == held && m_orders[i].taken == taken) return kNone;
    }
    m_orders[m_orderCount].held = held;
    m_orders[m_orderCount].taken = taken;
    return static_cast<int>(m_orderCount++);
}

// Empty when there is none; only the telling allocates.
std::string LockOrders::Circle(int closing) const
{
    const Order& last = m_orders[closing];
    Road road;
    if (last.held != last.taken && !Reaches(last.taken, last.held, road)) return {};
    road.orders[road.length++] = closing;
    std::string text = "Named locks are taken in a circle:\n";
    for (size_t i = 0; i < road.length; ++i) {
        const Line line = Describe(m_orders[road.orders[i]]);
        text += "  \"" + line.taken + "\" while \"" + line.held + "\" is held\n" + line.where;
    }
    return text;
}

bool LockOrders::Reaches(int from, int target, Road& road) const
{
    road.seen[from] = true;
    for (size_t i = 0; i < m_orderCount; ++i) {
        if (m_orders[i].held != from) continue;
        const int next = m_orders[i].taken;
        road.orders[road.length++] = static_cast<int>(i);
        if (next == target || (!road.seen[next] && Reaches(next, target, road))) return true;
        --road.length;
    }
    return false;
}

LockOrders::Line LockOrders::Describe(const Order& order) const
{
    return {m_names[order.held], m_names[order.taken],
            order.where.empty() ? FrameNames(order.frames, order.depth) : order.where};
}

}  // namespace qltest
