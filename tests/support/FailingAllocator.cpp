// The allocation functions of a test program, taken over by the linker (`--wrap`) and by replacing the global
// operator new, so that the same source works in plain builds and under the sanitizers, whose own functions stand
// behind the real ones.
//
// State: what is armed belongs to the thread; the count of living blocks is one for the process.
#include "FailingAllocator.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

struct Armed {
    bool active;
    bool fromThereOn;
    uint64_t nth;
    uint64_t smallest;
    uint64_t count;
    uint64_t failed;
};

constinit thread_local Armed t_armed{};
constinit std::atomic<int64_t> g_live{0};

bool ShouldFail(size_t size)
{
    Armed& armed = t_armed;
    if (!armed.active || size < armed.smallest) return false;
    ++armed.count;
    const bool fail =
        armed.nth != 0 && (armed.fromThereOn ? armed.count >= armed.nth : armed.count == armed.nth);
    if (fail) {
        ++armed.failed;
        errno = ENOMEM;
    }
    return fail;
}

template <class T>
T* Counted(T* block)
{
    if (block) g_live.fetch_add(1, std::memory_order_relaxed);
    return block;
}

}  // namespace

extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void* __real_aligned_alloc(size_t alignment, size_t size);
int __real_posix_memalign(void** block, size_t alignment, size_t size);
char* __real_strdup(const char* text);
void* __real_mmap(void* address, size_t size, int protection, int flags, int file, off_t offset);
void __real_free(void* block);

void* __wrap_malloc(size_t size)
{
    return ShouldFail(size) ? nullptr : Counted(__real_malloc(size));
}

void* __wrap_calloc(size_t count, size_t size)
{
    return ShouldFail(count * size) ? nullptr : Counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, size_t size)
{
    if (ShouldFail(size)) return nullptr;
    void* moved = __real_realloc(block, size);
    return block ? moved : Counted(moved);
}

void* __wrap_aligned_alloc(size_t alignment, size_t size)
{
    return ShouldFail(size) ? nullptr : Counted(__real_aligned_alloc(alignment, size));
}

int __wrap_posix_memalign(void** block, size_t alignment, size_t size)
{
    if (ShouldFail(size)) return ENOMEM;
    const int error = __real_posix_memalign(block, alignment, size);
    if (error == 0) Counted(*block);
    return error;
}

char* __wrap_strdup(const char* text)
{
    return ShouldFail(std::strlen(text) + 1) ? nullptr : Counted(__real_strdup(text));
}

// Mappings fail, and are not counted as alive: they are the stock of pools.
void* __wrap_mmap(void* address, size_t size, int protection, int flags, int file, off_t offset)
{
    return ShouldFail(size) ? MAP_FAILED : __real_mmap(address, size, protection, flags, file, offset);
}

void __wrap_free(void* block)
{
    if (block) g_live.fetch_sub(1, std::memory_order_relaxed);
    __real_free(block);
}

}  // extern "C"

namespace {

void* NewOrNull(size_t size, size_t alignment)
{
    const size_t wanted = size == 0 ? 1 : size;
    if (alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__) return __wrap_malloc(wanted);
    return __wrap_aligned_alloc(alignment, (wanted + alignment - 1) / alignment * alignment);
}

// As the standard asks: the new handler may find memory, or throw; without one it is over.
void* NewOrThrow(size_t size, size_t alignment)
{
    for (;;) {
        if (void* block = NewOrNull(size, alignment)) return block;
        const std::new_handler handler = std::get_new_handler();
        if (!handler) throw std::bad_alloc{};
        handler();
    }
}

void* NewQuietly(size_t size, size_t alignment) noexcept
{
    try {
        return NewOrThrow(size, alignment);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

constexpr size_t kPlain = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

}  // namespace

// Every form is replaced, not the ones that the others rest on alone: under a sanitizer the others are its own.
#define QL_REPLACE_NEW(PARAMETERS, CALL) \
    void* operator new PARAMETERS        \
    {                                    \
        return CALL;                     \
    }                                    \
    void* operator new[] PARAMETERS      \
    {                                    \
        return CALL;                     \
    }
#define QL_REPLACE_DELETE(PARAMETERS)          \
    void operator delete PARAMETERS noexcept   \
    {                                          \
        __wrap_free(block);                    \
    }                                          \
    void operator delete[] PARAMETERS noexcept \
    {                                          \
        __wrap_free(block);                    \
    }

QL_REPLACE_NEW((size_t size), NewOrThrow(size, kPlain))
QL_REPLACE_NEW((size_t size, std::align_val_t alignment), NewOrThrow(size, size_t(alignment)))
QL_REPLACE_NEW((size_t size, const std::nothrow_t&) noexcept, NewQuietly(size, kPlain))
QL_REPLACE_NEW((size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept,
               NewQuietly(size, size_t(alignment)))
QL_REPLACE_DELETE((void* block))
QL_REPLACE_DELETE((void* block, size_t))
QL_REPLACE_DELETE((void* block, std::align_val_t))
QL_REPLACE_DELETE((void* block, size_t, std::align_val_t))
QL_REPLACE_DELETE((void* block, const std::nothrow_t&))
QL_REPLACE_DELETE((void* block, std::align_val_t, const std::nothrow_t&))

namespace qltest {

FailingAllocator::FailingAllocator(uint64_t nth, Mode mode)
{
    t_armed = {true, mode == kFromThereOn, nth, 0, 0, 0};
}

FailingAllocator::~FailingAllocator()
{
    t_armed.active = false;
}

uint64_t FailingAllocator::Count() const
{
    return t_armed.count;
}

uint64_t FailingAllocator::Failed() const
{
    return t_armed.failed;
}

void FailingAllocator::OnlyFrom(uint64_t bytes)
{
    t_armed.smallest = bytes;
}

int64_t LiveAllocations()
{
    return g_live.load(std::memory_order_relaxed);
}

namespace {

constexpr int kRunsUntilSteady = 300;

struct Run {
    bool completed = false;
    uint64_t count = 0;
    uint64_t failed = 0;
    int64_t left = 0;  // blocks that it left behind
};

Run RunOnce(const std::function<bool()>& scenario, uint64_t nth, FailingAllocator::Mode mode)
{
    Run run;
    const int64_t before = LiveAllocations();
    {
        FailingAllocator failing(nth, mode);
        try {
            run.completed = scenario();
        } catch (const std::bad_alloc&) {  // not completed
        } catch (int) {                    // nor here
        }
        run.count = failing.Count();
        run.failed = failing.Failed();
    }
    run.left = LiveAllocations() - before;
    return run;
}

}  // namespace

uint64_t EveryAllocationFails(const std::function<bool()>& scenario, FailingAllocator::Mode mode,
                              uint64_t limit)
{
    EXPECT_TRUE(RunOnce(scenario, 0, mode).completed) << "the scenario fails with all the memory it wants";
    for (uint64_t nth = 1; nth <= limit; ++nth) {
        Run run = RunOnce(scenario, nth, mode);
        // What is made once and kept is there after some runs, a ring of recent reports after many; a leak comes
        // again with each.
        for (int again = 0; again < kRunsUntilSteady && run.left > 0; ++again)
            run = RunOnce(scenario, nth, mode);
        EXPECT_LE(run.left, 0) << "leaks when allocation " << nth << " fails";
        if (run.failed == 0) {
            EXPECT_TRUE(run.completed) << "fails though every allocation worked";
            return run.count;
        }
        if (testing::Test::HasFailure()) return run.count;
    }
    ADD_FAILURE() << "the scenario makes more than " << limit << " allocations";
    return limit;
}

}  // namespace qltest
