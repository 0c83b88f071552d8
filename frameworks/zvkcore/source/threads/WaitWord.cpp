// The wait word on Linux: a private futex with an absolute deadline, so that a wait that is taken up again does
// not grow longer.
#include "WaitWord.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

namespace zvkcore::threads {

static_assert(sizeof(std::atomic<uint32_t>) == sizeof(uint32_t), "the system waits for the plain word");

bool WaitWhile(const std::atomic<uint32_t>& word, uint32_t expected,
               std::chrono::steady_clock::time_point deadline) noexcept
{
    using namespace std::chrono;
    const auto since = duration_cast<nanoseconds>(deadline.time_since_epoch()).count();
    if (since <= 0) return false;
    const timespec end{since / 1'000'000'000, since % 1'000'000'000};
    const long result = syscall(SYS_futex, &word, FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG, expected, &end,
                                nullptr, FUTEX_BITSET_MATCH_ANY);
    return result == 0 || errno != ETIMEDOUT;
}

void WakeAll(const std::atomic<uint32_t>& word) noexcept
{
    syscall(SYS_futex, &word, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, INT_MAX, nullptr, nullptr, 0);
}

}  // namespace zvkcore::threads
