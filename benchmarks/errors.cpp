// Posted errors: posting from two threads, the drain, and the state that every report asks for.
#include <boost/thread/tss.hpp>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#include "Ratio.h"
#include "U.h"
#include "U_ErrState.h"
#include "Up_ErrState.h"
#include "Up_Posted.h"
#include "zvkcore/string/Convert.h"
#include "zvkcore/threads/ThreadID.h"
#include "zvkui/dialogs/MessageBox.h"

namespace {

U_UTF16String Text(const std::string& text)
{
    return zvkcore::string::AsciiToUTF16(text.c_str());
}

// --- Posting ---------------------------------------------------------------------------------------------

const U_UTF16String& Message()
{
    static const U_UTF16String message = Text("Host warning: the footage of layer 7 is missing, frame 112");
    return message;
}
const U_UTF16String& Location()
{
    static const U_UTF16String location = Text("( 18 :: 3 )");
    return location;
}

// Both keep what was posted until the repetition ends; its first thread then throws it away.
void PostOurs(benchmark::State& state)
{
    for (auto _ : state) Up_PostError(Location(), U_Sev_WARNING, Message(), true);
    if (state.thread_index() != 0) return;
    Up_DeathErrorStorage();
    Up_BirthErrorStorage();
}

std::mutex g_peer_mutex;
std::vector<Up_PostErrorData> g_peer_list;

void PostPeer(benchmark::State& state)
{
    for (auto _ : state) {
        Up_PostErrorData entry{Message(), U_Sev_WARNING, Location(), {}, false, true};
        const std::lock_guard lock(g_peer_mutex);
        g_peer_list.push_back(std::move(entry));
    }
    if (state.thread_index() == 0) std::vector<Up_PostErrorData>().swap(g_peer_list);
}

// --- Drain -----------------------------------------------------------------------------------------------

struct CountingPresenter final : zvkui::dialogs::Presenter {
    int ShowMessagebox(const zvkui::dialogs::messagebox::Request&) override { return 1; }
    void ShowAlert(const zvkui::dialogs::Alert& alert) override
    {
        ++dialogs;
        units += alert.message.size();
    }
    size_t dialogs = 0;
    size_t units = 0;
};

constexpr int kGroups = 16;

void PostGrouped(int errors)
{
    static const auto messages = [] {
        std::vector<U_UTF16String> made;
        for (int i = 0; i < 1000; ++i) {
            const auto identifier = Text("Files are missing.|||A file is missing.###@0 of kind " +
                                         std::to_string(i % kGroups) + ":");
            made.push_back(U_GroupErrorMessage(Text("take_" + std::to_string(i) + ".exr"), identifier));
        }
        return made;
    }();
    for (int i = 0; i < errors; ++i) {
        Up_PostError({}, U_Sev_WARNING, messages[static_cast<size_t>(i) % messages.size()], true);
    }
}

qlbench::Body DrainOf(int errors)
{
    return [errors](benchmark::State& state) {
        for (auto _ : state) {
            state.PauseTiming();
            PostGrouped(errors);
            state.ResumeTiming();
            U_DisplayPostedErrors();
        }
    };
}

// --- State -----------------------------------------------------------------------------------------------

void StateOurs(benchmark::State& state)
{
    const U_ScErrorDialogAggregation gather{Message(), Message()};
    for (auto _ : state) benchmark::DoNotOptimize(Up_GetPerThreadErrorFlags());
}

boost::thread_specific_ptr<Up_PerThreadErrorState> g_peer_state;

void StatePeer(benchmark::State& state)
{
    g_peer_state.reset(new Up_PerThreadErrorState{Up_ErrorState_Aggregate, {}, {}});
    for (auto _ : state) {
        const Up_PerThreadErrorState* top = g_peer_state.get();
        benchmark::DoNotOptimize(top ? top->flags : 0);
    }
}

bool OutputsAgree(CountingPresenter& presenter)
{
    PostGrouped(1000);
    if (U_GetNumPostedErrors() != 1000) return false;
    U_DisplayPostedErrors();
    // 1000 file names are listed: "take_" and ".exr" with one to three digits.
    return presenter.dialogs == kGroups && presenter.units > 1000 * 10 && U_GetNumPostedErrors() == 0;
}

}  // namespace

int main(int argc, char** argv)
{
    const auto presenter = std::make_shared<CountingPresenter>();
    zvkui::dialogs::SetPresenter(presenter);
    if (U_Birth("Host", 1) != 0 || !OutputsAgree(*presenter)) {
        std::fputs("the library does not do what is to be measured\n", stderr);
        return 1;
    }
    // No thread of the benchmark is the UI thread, so every post also looks for a repeat of the last error.
    zvkcore::threads::SetMainThreadID(~0ul / 2);
    qlbench::Pair("warning posted, 2 threads / vector under a mutex", 2, PostOurs, PostPeer, {2, true});
    qlbench::Pair("error state of the thread / boost::thread_specific_ptr", 3, StateOurs, StatePeer);
    for (int errors : {1000, 10000, 100000}) {
        qlbench::Alone("drain of " + std::to_string(errors) + " errors in 16 groups", DrainOf(errors));
    }
    const int result = qlbench::Main(argc, argv);
    zvkcore::threads::SetMainThreadID(0);
    U_Death();
    return result;
}
