/// Watches in which order named locks are taken, and tells of every circle.
///
/// An order "B was taken while A was held" is an edge of a graph of names, kept with the stack that showed it
/// first. A circle in the graph means that threads can lock one another out, even if no run ever did. Two locks
/// of one name that are held together are a circle of one.
///
///     LockOrders orders([](const std::string& circle) { ADD_FAILURE() << circle; });
///
/// Watching allocates nothing, so that a test in which allocations fail one by one sees what it would see alone.
/// A lock without a name is not seen, and a lock that is held already makes no order: taking it cannot block.
#ifndef QL_TEST_LOCKORDERS_H
#define QL_TEST_LOCKORDERS_H

#include <bitset>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "zvkcore/debug/DeadLockDetector.h"

namespace qltest {

class LockOrders final : public zvkcore::debug::deadlocks::DeadLockDetector {
  public:
    /// An order as text: both names, and where it was seen, one line a frame.
    struct Line {
        std::string held;
        std::string taken;
        std::string where;
    };

    /// report  is called once for each new order that closes a circle, on the thread that takes the lock and
    ///         before it blocks, with the stacks of all orders of the circle
    explicit LockOrders(std::function<void(const std::string& circle)> report);

    /// Adds an order that was seen elsewhere, unless it is known.
    void Add(const Line& line);

    /// What was seen or added from the `first` order on.
    std::vector<Line> Lines(size_t first = 0) const;
    size_t Count() const;

    /// True once there were more names or orders than there is room for; later ones are not seen.
    bool IsFull() const;

    /// Drops what the calling thread is thought to hold: it may have let go while another detector watched.
    static void ForgetThread();

    void OnMutexAboutToLock(const void* mutex, const zvkcore::utility::ImmutableString& name,
                            const char* text) override;
    void OnMutexLocked(const void* mutex, const zvkcore::utility::ImmutableString& name,
                       const char* text) override;
    void OnMutexTryLockFailed(const void*, const zvkcore::utility::ImmutableString&, const char*) override {}
    void OnMutexUnlocked(const void* mutex) override;
    void OnGateWaitStarted(const void*) override {}
    void OnGateWaitEnded(const void*) override {}

  private:
    static constexpr int kNone = -1;
    static constexpr size_t kNames = 256, kNameSize = 192, kOrders = 1024, kFrames = 24;

    struct Order {
        int held = kNone, taken = kNone;
        size_t depth = 0;
        void* frames[kFrames];
        std::string where;  // of an order that was added
    };

    // A way through the graph, and the names it has come by.
    struct Road {
        std::bitset<kNames> seen;
        int orders[kNames + 1];
        size_t length = 0;
    };

    int NameOf(const char* text);
    int Enter(int held, int taken);
    std::string Circle(int closing) const;
    bool Reaches(int from, int target, Road& road) const;
    Line Describe(const Order& order) const;

    const std::function<void(const std::string&)> m_report;
    mutable std::mutex m_mutex;  // guards what follows
    char m_names[kNames][kNameSize];
    size_t m_nameCount = 0;
    Order m_orders[kOrders];
    size_t m_orderCount = 0;
    bool m_full = false;
};

}  // namespace qltest

#endif
