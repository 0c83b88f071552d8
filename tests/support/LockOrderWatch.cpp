// Makes every test of a program fail that takes named locks in a circle; linked into all test programs of a build
// with QL_WATCH_LOCK_ORDER.
//
// ctest runs each test in a process of its own, and a circle is often closed by another test than the one that
// began it. So the orders of a whole run meet in the file that QL_LOCK_ORDER_FILE names, which the run empties at
// its start: a test that saw a new order reads what others saw, and adds its own. Without the variable the tests
// of one program are watched together.
//
// A test that installs a detector of its own gives this one back before it ends.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "LockOrders.h"
#include "zvkcore/debug/DeadLockDetector.h"
#include "zvkcore/debug/StackTrace.h"

namespace qltest {
namespace {

using zvkcore::debug::deadlocks::InstallDeadLockDetector;

class ScFileLock {
  public:
    explicit ScFileLock(const std::string& path)
        : m_file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666))
    {
        if (m_file >= 0 && flock(m_file, LOCK_EX) == 0) return;
        ADD_FAILURE() << path << " cannot be opened and locked";
    }
    ScFileLock(const ScFileLock&) = delete;
    ScFileLock& operator=(const ScFileLock&) = delete;
    ~ScFileLock() { close(m_file); }

  private:
    const int m_file;
};

// How many circles the running test has been told of.
std::atomic<int> g_circles{0};

void Tell(const std::string& circle)
{
    std::fputs(circle.c_str(), stderr);
    ++g_circles;
}

class Watch final : public testing::EmptyTestEventListener {
    void OnTestProgramStart(const testing::UnitTest&) override
    {
        // The first stack may allocate, which no test is to see.
        void* frames[1];
        zvkcore::debug::GenerateStackTrace(frames, 1, 0);
        InstallDeadLockDetector(m_orders);
    }

    void OnTestStart(const testing::TestInfo&) override { LockOrders::ForgetThread(); }

    // A failure in here counts for the test that ends.
    void OnTestEnd(const testing::TestInfo& test) override
    {
        if (InstallDeadLockDetector(m_orders) != m_orders) {
            ADD_FAILURE() << "The test did not give back the watch over the order of locks.";
        }
        const char* path = std::getenv("QL_LOCK_ORDER_FILE");
        if (path != nullptr && m_orders->Count() != m_shared) Share(path, test);
        if (g_circles.exchange(0) != 0) ADD_FAILURE() << "Named locks are taken in a circle, see above.";
        if (m_orders->IsFull())
            ADD_FAILURE() << "More names or orders of locks than LockOrders has room for.";
    }

    // An order is both names and where it was seen, with tabs between them, and a zero behind it.
    void Share(const std::string& path, const testing::TestInfo& test)
    {
        const ScFileLock lock(path);
        std::set<std::pair<std::string, std::string>> known;
        std::ifstream in(path);
        for (LockOrders::Line line; std::getline(in, line.held, '\t') && std::getline(in, line.taken, '\t') &&
                                    std::getline(in, line.where, '\0');) {
            m_orders->Add(line);
            known.emplace(line.held, line.taken);
        }
        // An order that closes a circle is kept out, or every later test would fail for it.
        if (g_circles == 0) {
            std::ofstream out(path, std::ios::app);
            for (const auto& line : m_orders->Lines(m_shared)) {
                if (known.contains({line.held, line.taken})) continue;
                out << line.held << '\t' << line.taken << "\t    seen in " << test.test_suite_name() << "."
                    << test.name() << ":\n"
                    << line.where << '\0';
            }
        }
        m_shared = m_orders->Count();
    }

    size_t m_shared = 0;  // how many orders the file has been told of
    const std::shared_ptr<LockOrders> m_orders = std::make_shared<LockOrders>(Tell);
};

const bool g_watching = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new Watch);  // which takes it over
    return true;
}();

}  // namespace
}  // namespace qltest
