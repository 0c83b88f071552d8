#include "RenderThread.h"

#include <U.h>
#include <unistd.h>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

#include "Messages.h"

namespace qlhost {
namespace {

constexpr std::chrono::milliseconds kWatchEvery{25};

std::atomic<bool> g_interrupted{false};  // set by the signal handler and by the Escape key

}  // namespace

RenderScope::RenderScope()
{
    m_context->Activate();
    m_render->Activate();
}

RenderScope::~RenderScope()
{
    m_render->Deactivate();
    m_context->Deactivate();
}

bool IsInterrupted()
{
    return g_interrupted;
}

void WatchKeys()
{
    if (U_Context::CheckAbortAndFlushCompletionRoutines()) g_interrupted = true;
}

InterruptScope::InterruptScope()
{
    struct sigaction action = {};
    action.sa_handler = [](int) { g_interrupted = true; };
    sigaction(SIGINT, &action, &m_former);
}

InterruptScope::~InterruptScope()
{
    sigaction(SIGINT, &m_former, nullptr);
}

void RunRenderThreads(int count, const std::function<void()>& body, const std::function<void()>& watch)
{
    std::atomic<int> running{count};
    const auto run = [&] {
        const U_RenderThreadRegistration registration;
        const Err err = U_TrySection([&] {
            const RenderScope render;
            body();
        });
        if (err != 0) ReportEndedRender(err);
        --running;
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(run);
    while (running > 0) {
        watch();
        WatchKeys();
        std::this_thread::sleep_for(kWatchEvery);
    }
    for (auto& thread : threads) thread.join();
    watch();
}

Progress::Progress(bool quiet) : m_shown{!quiet && isatty(STDERR_FILENO) != 0} {}

Progress::~Progress()
{
    if (m_shown) std::fputs("\r\033[K", stderr);
}

void Progress::Show(const std::string& line)
{
    if (!m_shown) return;
    std::fprintf(stderr, "\r\033[K%s", line.c_str());
    std::fflush(stderr);
}

}  // namespace qlhost
