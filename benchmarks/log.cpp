// A log line, a report with its stack crawl, and a try section, each beside what a user would write
// instead. Both sides keep their file open and buffered; both keep what they have learned about the names
// of frames.
#include <execinfo.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include "ALOG.h"
#include "Ratio.h"
#include "U.h"
#include "U_Err.h"
#include "U_ErrState.h"
#include "U_String.h"
#include "zvkcore/console/ConsoleLogFile.h"

namespace {

constexpr char kOursFile[] = "bench_log.ours.log";
constexpr char kPeerFile[] = "bench_log.peer.log";
constexpr int kFrames = 24;

spdlog::logger& PeerLog()
{
    static const auto s_logger = [] {
        auto logger = std::make_unique<spdlog::logger>(
            "peer", std::make_shared<spdlog::sinks::basic_file_sink_mt>(kPeerFile, true));
        logger->set_pattern("%v");
        return logger;
    }();
    return *s_logger;
}

// --- A line ----------------------------------------------------------------------------------------------

void OurLine(int frame)
{
    ALOG_sprintf(0, "RENDER", "5", "frame %d of %s took %.3f ms", frame, "Layer 7", 12.5);
}
void PeerLine(int frame)
{
    PeerLog().info("RENDER 5 frame {} of {} took {:.3f} ms", frame, "Layer 7", 12.5);
}

template <void (*Write)(int)>
void Lines(benchmark::State& state)
{
    int frame = 0;
    for (auto _ : state) Write(++frame);
}

// --- A report --------------------------------------------------------------------------------------------

U_UTF16String g_text;

void OurReport()
{
    U_ReportError(0x00120003, U_Sev_PROBLEM, g_text);
}

// The text of the report and its crawl, by the means of the C library.
void PeerReport()
{
    void* frames[50];
    const int count = backtrace(frames, 50);
    char** symbols = backtrace_symbols(frames, count);
    benchmark::DoNotOptimize(symbols);
    PeerLog().info("U U_Sev_PROBLEM {} error: {}\t( {} :: {} )", "Bench", "the footage is missing", 0x12, 3);
    std::free(symbols);
}

/// Runs `body` where the stack is at least 24 frames deep.
template <class Body>
[[gnu::noinline]] void InTheDeep(int missing, Body&& body)
{
    if (missing > 0) {
        InTheDeep(missing - 1, body);
    } else {
        body();
    }
    benchmark::ClobberMemory();  // no tail call
}

template <void (*Report)()>
void Reports(benchmark::State& state)
{
    void* frames[50];
    const int missing = kFrames - backtrace(frames, 50);
    U_StartQuietErrorsOnCurrentThread(1);
    InTheDeep(missing, [&] {
        Report();  // the names of the frames are looked up once a process
        for (auto _ : state) Report();
    });
    U_EndQuietErrorsOnCurrentThread();
}

// --- A try section ---------------------------------------------------------------------------------------

[[gnu::noinline]] Err Bare(int* value)
{
    benchmark::DoNotOptimize(++*value);
    return U_Err_NONE;
}
[[gnu::noinline]] Err Guarded(int* value)
{
    return U_TrySection([&] { benchmark::DoNotOptimize(++*value); });
}

template <Err (*Call)(int*)>
void Calls(benchmark::State& state)
{
    int value = 0;
    for (auto _ : state) benchmark::DoNotOptimize(Call(&value));
}

std::string FirstLine(const char* path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

bool WritesTheSame()
{
    OurLine(1);
    PeerLine(1);
    zvkcore::console::ConsoleLogFile::GetInstance()->Flush();
    PeerLog().flush();
    return FirstLine(kOursFile) == FirstLine(kPeerFile) && !FirstLine(kOursFile).empty();
}

}  // namespace

int main(int argc, char** argv)
{
    if (!zvkcore::console::ConsoleLogFile::GetInstance()->Open(kOursFile, false)) return 1;
    if (!WritesTheSame()) {
        std::fprintf(stderr, "the two log files differ\n");
        return 1;
    }
    if (U_Birth("Bench", 1) != 0) return 1;
    g_text = U_AsciiToUTF16String("the footage is missing");
    qlbench::Pair("log line / spdlog line", 1.2, Lines<OurLine>, Lines<PeerLine>);
    qlbench::Pair("logged report, 24 frames / backtrace, symbols, spdlog line", 1.3, Reports<OurReport>,
                  Reports<PeerReport>);
    qlbench::Pair("try section / bare return code", 1.5, Calls<Guarded>, Calls<Bare>);
    const int result = qlbench::Main(argc, argv);
    return U_Death() == 0 ? result : 1;
}
