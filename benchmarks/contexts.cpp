// Contexts, the big mutex, lending and the detector of lock order, each beside the plain means it is made of.
#include <U.h>
#include <U_BigMutex.h>
#include <U_Context.h>
#include <U_DeadLock.h>
#include <U_SuspendContext.h>

#include <boost/thread/tss.hpp>
#include <execinfo.h>

#include <condition_variable>
#include <cstdlib>
#include <map>
#include <mutex>
#include <thread>

#include "Ratio.h"
#include "zvkcore/debug/StackTrace.h"

namespace {

// --- The current context -------------------------------------------------------------------------------------

void CurrentOurs(benchmark::State& state)
{
    const auto context = U_Context::MakeNewContext();
    context->Activate();
    for (auto _ : state) benchmark::DoNotOptimize(U_Context::GetCurrent(false));
    context->Deactivate();
}

void CurrentPeer(benchmark::State& state)
{
    struct Token {
        boost::weak_ptr<int> context;
    };
    const boost::shared_ptr<int> context{new int{1}};
    const auto token = std::make_shared<Token>(Token{context});
    static boost::thread_specific_ptr<std::weak_ptr<Token>> record;
    record.reset(new std::weak_ptr<Token>{token});
    for (auto _ : state) {
        const auto alive = record->lock();
        benchmark::DoNotOptimize(alive->context.lock());
    }
    record.reset();
}

// --- States --------------------------------------------------------------------------------------------------

const char* const kNames[] = {"Comp", "Footage", "Cache", "Colour", "Effects", "Masks", "Audio", "Proxy"};

std::vector<ImmutableString> Names()
{
    std::vector<ImmutableString> names;
    for (const char* name : kNames) names.push_back(ImmutableString::Create(name));
    return names;
}

void StateOurs(benchmark::State& state)
{
    const auto names = Names();
    const auto context = U_Context::MakeNewContext();
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(context->GetState(names[i++ % names.size()]));
}

void StatePeer(benchmark::State& state)
{
    const auto names = Names();
    std::map<ImmutableString, boost::shared_ptr<U_State>> states;
    for (const auto& name : names) states.emplace(name, boost::shared_ptr<U_State>{new U_State});
    std::size_t i = 0;
    for (auto _ : state) {
        const auto found = states.find(names[i++ % names.size()]);
        benchmark::DoNotOptimize(found == states.end() ? boost::shared_ptr<U_State>{} : found->second);
    }
}

// --- The big mutex -------------------------------------------------------------------------------------------

void BigMutexOurs(benchmark::State& state)
{
    const auto render = U_RenderContext::MakeNewContext();
    for (auto _ : state) {
        const U::BigMutexLock lock{render};
        benchmark::ClobberMemory();
    }
}

void BigMutexPeer(benchmark::State& state)
{
    static std::recursive_mutex mutex;
    std::map<ImmutableString, int> states{{ImmutableString::Create("BigMutexState"), 1}};
    const auto name = ImmutableString::Create("BigMutexState");
    for (auto _ : state) {
        benchmark::DoNotOptimize(states.find(name));
        const std::lock_guard lock{mutex};
        benchmark::ClobberMemory();
    }
}

void BigMutexNested(benchmark::State& state)
{
    const auto render = U_RenderContext::MakeNewContext();
    const U::BigMutexLock outer{render};
    for (auto _ : state) {
        const U::BigMutexLock lock{render};
        benchmark::ClobberMemory();
    }
}

// --- Lending -------------------------------------------------------------------------------------------------

void LendOurs(benchmark::State& state)
{
    const auto executor = std::make_shared<zvkcore::threads::AsyncThreadedExecutor>("bench");
    const auto context = U_Context::MakeNewContext();
    context->Activate();
    for (auto _ : state) {
        U_SuspendContext lending;
        benchmark::DoNotOptimize(lending.CallOnThreadedExecutor(executor, [] { return 1; }));
    }
    context->Deactivate();
}

void LendPeer(benchmark::State& state)
{
    std::mutex mutex;
    std::condition_variable there, back;
    int turn = 0;  // 0 nobody's, 1 the worker's, 2 done, -1 the end
    std::thread worker{[&] {
        std::unique_lock lock{mutex};
        for (;;) {
            there.wait(lock, [&] { return turn == 1 || turn == -1; });
            if (turn == -1) return;
            turn = 2;
            back.notify_one();
        }
    }};
    for (auto _ : state) {
        std::unique_lock lock{mutex};
        turn = 1;
        there.notify_one();
        back.wait(lock, [&] { return turn == 2; });
    }
    {
        const std::lock_guard lock{mutex};
        turn = -1;
    }
    there.notify_one();
    worker.join();
}

// --- The detector --------------------------------------------------------------------------------------------

void DetectorOurs(benchmark::State& state)
{
    zvkcore::debug::deadlocks::InstallDeadLockDetector(U::CreateDeadLockDetector());
    zvkcore::threads::RecursiveMutex mutex{"MediaMap::Find"};
    // The first stack reads the names of its frames from the file's debug data, and they are kept. The peer reads
    // the loader's tables each time.
    mutex.Lock();
    mutex.Unlock();
    for (auto _ : state) {
        mutex.Lock();
        mutex.Unlock();
    }
    zvkcore::debug::deadlocks::InstallDeadLockDetector({});
}

void DetectorPeer(benchmark::State& state)
{
    std::vector<void*> frames(zvkcore::debug::GetDefaultCallstackDepth());
    for (auto _ : state) {
        const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
        char** names = backtrace_symbols(frames.data(), count);
        benchmark::DoNotOptimize(names);
        std::free(names);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    // Born elsewhere: the big mutex is not for main threads, and the rows run on this one.
    std::thread{[] {
        if (U_Birth("bench", true) != 0) std::abort();
    }}.join();
    for (const auto& name : Names()) {
        U_Context::RegisterState(name, [](U_Context*) { return boost::shared_ptr<U_State>{new U_State}; });
    }
    if (!U_Context::MakeNewContext()->GetState(Names().back())) return 1;

    qlbench::Pair("current context / slot and two weak locks", 1.2, CurrentOurs, CurrentPeer);
    qlbench::Pair("state by name / map find", 1.1, StateOurs, StatePeer);
    qlbench::Pair("big mutex scope / recursive mutex and map find", 5, BigMutexOurs, BigMutexPeer);
    qlbench::Alone("big mutex scope, nested", BigMutexNested);
    qlbench::Pair("lend there and back / condition variable", 1.0, LendOurs, LendPeer, {1, true});
    qlbench::Pair("tabled lock, detector on / backtrace_symbols", 1.3, DetectorOurs, DetectorPeer);
    return qlbench::Main(argc, argv);
}
