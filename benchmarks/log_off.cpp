// What logging costs where nobody listens: no console log file on our side, a level that is off on the
// peer's.
#include <memory>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include "ALOG.h"
#include "Ratio.h"

namespace {

void Ours(benchmark::State& state)
{
    int frame = 0;
    for (auto _ : state) {
        benchmark::ClobberMemory();
        ALOG_sprintf(0, "RENDER", "5", "frame %d of %s", ++frame, "Layer 7");
    }
}

void OursPlain(benchmark::State& state)
{
    for (auto _ : state) {
        benchmark::ClobberMemory();
        ALOG_Log(0, "RENDER", "5", "frame done");
    }
}

void Peer(benchmark::State& state)
{
    spdlog::logger logger(
        "off", std::make_shared<spdlog::sinks::basic_file_sink_mt>("bench_log_off.peer.log", true));
    logger.set_level(spdlog::level::warn);
    int frame = 0;
    for (auto _ : state) {
        benchmark::ClobberMemory();
        logger.info("RENDER 5 frame {} of {}", ++frame, "Layer 7");
    }
}

}  // namespace

int main(int argc, char** argv)
{
    qlbench::Pair("log call without a log file / spdlog level test", 0.2, Ours, Peer);
    qlbench::Pair("plain log call without a log file / spdlog level test", 0.2, OursPlain, Peer);
    return qlbench::Main(argc, argv);
}
