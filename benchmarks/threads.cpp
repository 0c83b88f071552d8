// Locks, the hand-over between threads, per-thread state and stack crawls, each beside what a user would take
// instead.
#include <execinfo.h>

#include <boost/thread/tss.hpp>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

#include "Ratio.h"
#include "zvkcore/debug/StackTrace.h"
#include "zvkcore/threads/Executors.h"
#include "zvkcore/threads/Gate.h"
#include "zvkcore/threads/PerThreadData.h"
#include "zvkcore/threads/RecursiveMutex.h"

namespace {

using namespace std::chrono_literals;
using namespace zvkcore;

// --- Locks -----------------------------------------------------------------------------------------------------

constinit threads::RecursiveMutex g_ours("Benchmark");
std::recursive_mutex g_peer;

void OursLock(benchmark::State& state)
{
    for (auto _ : state) {
        const threads::RecursiveMutex::ScopedLock lock(g_ours, nullptr, 60000);
        benchmark::ClobberMemory();
    }
}

void PeerLock(benchmark::State& state)
{
    for (auto _ : state) {
        const std::lock_guard lock(g_peer);
        benchmark::ClobberMemory();
    }
}

void OursNestedLock(benchmark::State& state)
{
    const threads::RecursiveMutex::ScopedLock outer(g_ours);
    OursLock(state);
}

void PeerNestedLock(benchmark::State& state)
{
    const std::lock_guard outer(g_peer);
    PeerLock(state);
}

// --- Hand-over: a piece of work runs on the other thread while this one waits ----------------------------------

void WaitInSlices(threads::OpenOnceGate& gate)
{
    while (!gate.PassThroughUntil(std::chrono::steady_clock::now() + 50ms)) {
    }
}

void OursHandOver(benchmark::State& state)
{
    threads::AsyncThreadedExecutor executor;
    long done = 0;
    long rounds = 0;
    for (auto _ : state) {
        const auto gate = std::make_shared<threads::OpenOnceGate>();
        executor.CallAsynchronously([gate, &done] {
            ++done;
            gate->Open();
        });
        WaitInSlices(*gate);
        ++rounds;
    }
    if (done != rounds) state.SkipWithError("work was lost");
}

void PeerHandOver(benchmark::State& state)
{
    std::mutex mutex;
    std::condition_variable changed;
    int turn = 0;
    long done = 0;
    long rounds = 0;
    std::thread other([&] {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [&] { return turn != 0; });
            if (turn < 0) return;
            ++done;
            turn = 0;
            changed.notify_all();
        }
    });
    for (auto _ : state) {
        std::unique_lock lock(mutex);
        turn = 1;
        changed.notify_all();
        changed.wait(lock, [&] { return turn == 0; });
        ++rounds;
    }
    {
        const std::lock_guard lock(mutex);
        turn = -1;
    }
    changed.notify_all();
    other.join();
    if (done != rounds) state.SkipWithError("work was lost");
}

// --- Per-thread state -------------------------------------------------------------------------------------------

void OursPerThread(benchmark::State& state)
{
    static threads::PerThreadData<int> s_data;
    for (auto _ : state) benchmark::DoNotOptimize(++*s_data.FindOrCreate());
}

void PeerPerThread(benchmark::State& state)
{
    static boost::thread_specific_ptr<int> s_data;
    if (s_data.get() == nullptr) s_data.reset(new int(0));
    for (auto _ : state) benchmark::DoNotOptimize(++*s_data);
}

// --- Stack crawls -----------------------------------------------------------------------------------------------

constexpr size_t kDepth = 24;

size_t OursCrawl(char* text, size_t size)
{
    void* frames[kDepth];
    const size_t count = debug::GenerateStackTrace(frames, kDepth, 0);
    size_t used = 0;
    for (size_t i = 0; i < count && used + 1 < size; ++i) {
        debug::StackFrameFunctionName(frames[i], text + used, std::min<size_t>(512, size - used));
        used += std::strlen(text + used);
        if (used + 1 < size) text[used++] = '\n';
    }
    return count;
}

size_t PeerCrawl(char* text, size_t size)
{
    void* frames[kDepth];
    const int count = backtrace(frames, kDepth);
    char** names = backtrace_symbols(frames, count);
    size_t used = 0;
    for (int i = 0; names != nullptr && i < count && used + 1 < size; ++i) {
        used += static_cast<size_t>(std::snprintf(text + used, size - used, "%s\n", names[i]));
        used = std::min(used, size - 1);
    }
    std::free(names);
    return static_cast<size_t>(count);
}

template <size_t (*Crawl)(char*, size_t)>
__attribute__((noinline)) int Deep(benchmark::State& state, int depth)
{
    if (depth > 0) {
        const int result = Deep<Crawl>(state, depth - 1);
        benchmark::DoNotOptimize(depth);
        return result + 1;
    }
    char text[16384];
    // Ours may keep the names that it has found once, which is what a program that reports often sees.
    if (Crawl(text, sizeof(text)) != kDepth) state.SkipWithError("the stack is too short");
    for (auto _ : state) benchmark::DoNotOptimize(Crawl(text, sizeof(text)));
    return 0;
}

void OursCrawlDeep(benchmark::State& state)
{
    Deep<OursCrawl>(state, kDepth);
}
void PeerCrawlDeep(benchmark::State& state)
{
    Deep<PeerCrawl>(state, kDepth);
}

}  // namespace

int main(int argc, char** argv)
{
    qlbench::Pair("RecursiveMutex scope / std::recursive_mutex", 1.2, OursLock, PeerLock);
    qlbench::Pair("RecursiveMutex nested scope / std::recursive_mutex", 1.2, OursNestedLock, PeerNestedLock);
    qlbench::Pair("RecursiveMutex scope, 2 threads / std::recursive_mutex", 0, OursLock, PeerLock,
                  {.threads = 2, .wall = true});
    qlbench::Pair("executor there and back / condition variable", 1.0, OursHandOver, PeerHandOver,
                  {.wall = true});
    qlbench::Pair("PerThreadData look-up / boost::thread_specific_ptr", 1.2, OursPerThread, PeerPerThread);
    qlbench::Pair("crawl of 24 named frames / backtrace_symbols", 1.3, OursCrawlDeep, PeerCrawlDeep);
    return qlbench::Main(argc, argv);
}
