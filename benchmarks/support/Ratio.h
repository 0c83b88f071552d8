/// Rows of "ours beside the peer": two bodies that do the same work on the same data, timed in one run with
/// their repetitions interleaved, and the ratio of the medians printed beside the bound that we hold.
///
///     int main(int argc, char** argv)
///     {
///         qlbench::Pair("pointer of 64 B / malloc", 1.5, OursSmall, PeerSmall);
///         return qlbench::Main(argc, argv);
///     }
///
/// A body is a Google Benchmark body. Compare the outputs of both before calling `Main`.
#ifndef QL_BENCH_RATIO_H
#define QL_BENCH_RATIO_H

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace qlbench {

using Body = std::function<void(benchmark::State&)>;

struct Shape {
    int threads = 1;
    bool wall = false;  ///< compare wall time; CPU time of the measured thread otherwise
};

/// Registers a row. `bound` is the largest ratio of our time to the peer's that we accept; 0 shows a curve only.
void Pair(const std::string& row, double bound, Body ours, Body peer, Shape shape = {});

/// Registers a body without a peer, for limits and curves.
void Alone(const std::string& row, Body body, Shape shape = {});

/// Runs everything and prints the table. Takes Google Benchmark's arguments.
int Main(int argc, char** argv);

}  // namespace qlbench

#endif
