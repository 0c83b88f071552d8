// Collects every repetition of both bodies of a row and compares medians, so that one disturbed repetition on
// a shared machine moves nothing.
#include "Ratio.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <vector>

namespace qlbench {
namespace {

struct Row {
    std::string name;
    double bound;
    bool paired;
    bool wall;
};

std::vector<Row> g_rows;  // filled by main before Main runs; never touched by a second thread

class Collector : public benchmark::BenchmarkReporter {
 public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.iterations == 0) continue;
            const double seconds = IsWall(run) ? run.real_accumulated_time : run.cpu_accumulated_time;
            const auto rounds = static_cast<double>(run.iterations);
            // Google Benchmark adds up the iterations and the times of all threads of a run.
            m_samples[run.run_name.function_name].push_back(seconds / rounds * 1e9);
            if (run.error_occurred) m_failed = true;
        }
    }

    double Median(const std::string& name)
    {
        auto& samples = m_samples[name];
        if (samples.empty()) return 0;
        std::sort(samples.begin(), samples.end());
        return samples[samples.size() / 2];
    }

    bool Failed() const { return m_failed; }

 private:
    static bool IsWall(const Run& run)
    {
        for (const Row& row : g_rows) {
            if (run.run_name.function_name.rfind(row.name, 0) == 0) return row.wall;
        }
        return false;
    }

    std::map<std::string, std::vector<double>> m_samples;
    bool m_failed = false;
};

void Register(const std::string& name, Body body, const Shape& shape)
{
    auto* entry = benchmark::RegisterBenchmark(
        name.c_str(), [body = std::move(body)](benchmark::State& state) { body(state); });
    entry->Threads(shape.threads);
    if (shape.wall) entry->UseRealTime();
}

}  // namespace

void Pair(const std::string& row, double bound, Body ours, Body peer, Shape shape)
{
    g_rows.push_back({row, bound, true, shape.wall});
    Register(row + " (ours)", std::move(ours), shape);
    Register(row + " (peer)", std::move(peer), shape);
}

void Alone(const std::string& row, Body body, Shape shape)
{
    g_rows.push_back({row, 0, false, shape.wall});
    Register(row + " (ours)", std::move(body), shape);
}

int Main(int argc, char** argv)
{
    std::vector<char*> arguments{argv, argv + argc};
    std::vector<std::string> defaults{"--benchmark_repetitions=7", "--benchmark_min_time=0.05",
                                      "--benchmark_enable_random_interleaving=true"};
    for (auto& text : defaults) arguments.insert(arguments.begin() + 1, text.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());

    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);

    std::printf("%-58s %12s %12s %8s %6s\n", "row", "ours ns", "peer ns", "ratio", "bound");
    for (const Row& row : g_rows) {
        const double ours = collector.Median(row.name + " (ours)");
        const double peer = row.paired ? collector.Median(row.name + " (peer)") : 0;
        if (ours == 0) continue;
        if (!row.paired) {
            std::printf("%-58s %12.2f\n", row.name.c_str(), ours);
        } else if (row.bound > 0) {
            std::printf("%-58s %12.2f %12.2f %8.3f %6.2f%s\n", row.name.c_str(), ours, peer, ours / peer, row.bound,
                        ours / peer <= row.bound ? "" : "  over");
        } else {
            std::printf("%-58s %12.2f %12.2f %8.3f\n", row.name.c_str(), ours, peer, ours / peer);
        }
    }
    return collector.Failed() ? 1 : 0;
}

}  // namespace qlbench
