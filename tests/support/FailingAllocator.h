/// Makes the n-th allocation of a test fail, and counts what is alive.
///
///     TEST(Cache, SurvivesEveryFailedAllocation)
///     {
///         qltest::EveryAllocationFails([] {
///             Cache cache;
///             return cache.Fill() == 0;                  // true once nothing failed any more
///         });
///     }
///
/// The scenario is run with its first allocation failing, then with its second, and so on, until it runs through
/// without reaching the one that should fail. Every run must clean up behind itself: memory that it leaves behind
/// each time it is run is a leak and fails the test. What is made once and kept (a table, a thread's buffer) is
/// no leak.
///
/// A program that links `ql_test_support` (`ql_tests(... LIBS ql_test_support)`) has its `operator new`, `malloc`,
/// `calloc`, `realloc`, `aligned_alloc`, `posix_memalign`, `strdup` and `mmap` taken over, those of the library's objects
/// included; calls of C code inside other shared libraries are not seen. Failures are armed for the calling thread
/// only. Do not use test assertions while a failure is armed: keep results, and check them behind the scenario.
#ifndef QL_TEST_FAILINGALLOCATOR_H
#define QL_TEST_FAILINGALLOCATOR_H

#include <cstdint>
#include <functional>

namespace qltest {

/// While one lives, allocations of this thread are counted and those chosen fail. They do not nest.
class FailingAllocator {
  public:
    enum Mode {
        kOnce,        ///< the `nth` fails, later ones work again
        kFromThereOn  ///< the `nth` and all behind it fail
    };

    /// `nth` counts from 1; 0 only counts.
    explicit FailingAllocator(uint64_t nth = 0, Mode mode = kOnce);
    ~FailingAllocator();
    FailingAllocator(const FailingAllocator&) = delete;
    FailingAllocator& operator=(const FailingAllocator&) = delete;

    /// Allocations of this thread since the construction, failed ones included.
    uint64_t Count() const;

    /// How many of them failed.
    uint64_t Failed() const;

    /// Fails only requests of this size and above, in bytes; smaller ones are neither counted nor failed.
    void OnlyFrom(uint64_t bytes);
};

/// Blocks alive in the process, of those made by the functions above.
int64_t LiveAllocations();

/// Runs the scenario with each of its allocations failing in turn, and checks that none makes it leak.
///
/// scenario  true when it completed. It may also let a `std::bad_alloc` or an `int` out, which is a failure
/// mode      whether memory comes back behind the failure
/// limit     how many allocations it may make; more fail the test
/// returns   how many allocations the completed scenario made
uint64_t EveryAllocationFails(const std::function<bool()>& scenario,
                              FailingAllocator::Mode mode = FailingAllocator::kOnce, uint64_t limit = 20000);

}  // namespace qltest

#endif
