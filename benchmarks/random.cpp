// Streams of 4096 values a round beside std::mt19937 and the standard's distributions, and beside a bare loop
// of the generator, which is the limit. The peers draw other values, so what is compared is their moments.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "RND.h"
#include "Ratio.h"

namespace {

constexpr int kCount = 4096;
constexpr uint32_t kSeed = 5;

// Fills the buffer with the next values of a stream.
template <class Value>
using Fill = std::function<void(std::vector<Value>&)>;

template <class Value>
struct Moments {
    double mean = 0;
    double deviation = 0;

    explicit Moments(const Fill<Value>& fill)
    {
        constexpr int kRounds = 64;
        std::vector<Value> values(kCount);
        double sum = 0;
        double squares = 0;
        for (int round = 0; round < kRounds; ++round) {
            fill(values);
            for (const double value : values) {
                sum += value;
                squares += value * value;
            }
        }
        mean = sum / (kRounds * kCount);
        deviation = std::sqrt(squares / (kRounds * kCount) - mean * mean);
    }
};

template <class Value>
qlbench::Body BodyOf(Fill<Value> fill)
{
    return [fill](benchmark::State& state) {
        std::vector<Value> values(kCount);
        for (auto _ : state) {
            fill(values);
            benchmark::DoNotOptimize(values.data());
            benchmark::ClobberMemory();
        }
    };
}

template <class Value>
void PairOf(const std::string& row, double bound, Fill<Value> ours, Fill<Value> peer)
{
    const Moments<Value> our_moments(ours);
    const Moments<Value> peer_moments(peer);
    const double tolerance = 0.02 * peer_moments.deviation;
    if (std::fabs(our_moments.mean - peer_moments.mean) > tolerance ||
        std::fabs(our_moments.deviation - peer_moments.deviation) > tolerance) {
        std::fprintf(stderr, "%s: the moments of ours and the peer disagree\n", row.c_str());
        std::exit(1);
    }
    qlbench::Pair(row, bound, BodyOf(ours), BodyOf(peer));
}

template <class Value, class Distribution>
Fill<Value> Standard(Distribution distribution)
{
    return [engine = std::mt19937(kSeed), distribution](std::vector<Value>& values) mutable {
        for (Value& value : values) value = distribution(engine);
    };
}

Fill<double> Floats(double low, double high)
{
    RND_FloatState state;
    RND_InitFloatState(kSeed, &state);
    return [=](std::vector<double>& values) mutable {
        RND_GetNextRandomFloats(&state, kCount, values.data(), low, high);
    };
}

Fill<int32_t> Integers(int32_t low, int32_t high)
{
    RND_LongState state;
    RND_InitLongState(kSeed, UINT32_MAX, &state);
    return [=](std::vector<int32_t>& values) mutable {
        RND_GetNextRandomLongs(&state, low, high, kCount, values.data());
    };
}

Fill<double> Gaussian()
{
    RND_GaussianState state;
    RND_InitGaussianState(kSeed, &state);
    return [=](std::vector<double>& values) mutable {
        RND_GetNextGaussianFloats(&state, kCount, values.data());
    };
}

// One step after the other: what a stream costs that does nothing but generate.
Fill<double> BareLoop(double low, double high)
{
    return [=, x = kSeed](std::vector<double>& values) mutable {
        for (double& value : values) {
            x = x * 1664525u + 1013904223u;
            value = (high - low) * (x * 2.3283064370807974e-10) + low;
        }
    };
}

Fill<int32_t> BareIntegers()
{
    return [x = kSeed](std::vector<int32_t>& values) mutable {
        for (int32_t& value : values) value = static_cast<int32_t>(x = x * 1664525u + 1013904223u);
    };
}

}  // namespace

int main(int argc, char** argv)
{
    const auto uniform = std::uniform_real_distribution<double>(-1, 2);
    PairOf<double>("floats in a range / std::mt19937, uniform_real", 0.1, Floats(-1, 2),
                   Standard<double>(uniform));
    PairOf<int32_t>("integers in a range / std::mt19937, uniform_int", 0.3, Integers(0, 999),
                    Standard<int32_t>(std::uniform_int_distribution<int32_t>(0, 999)));
    PairOf<double>("Gaussian / std::mt19937, normal", 0.35, Gaussian(),
                   Standard<double>(std::normal_distribution<double>()));
    PairOf<double>("floats in a range / bare generator loop", 0, Floats(-1, 2), BareLoop(-1, 2));
    qlbench::Alone("limit: bare generator loop, integers", BodyOf(BareIntegers()));
    return qlbench::Main(argc, argv);
}
