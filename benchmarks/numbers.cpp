// Exact ratios beside boost::rational<std::int64_t>, the best ratio of a double beside av_d2q, drop-frame
// timecode beside snprintf of the same fields.
#include <algorithm>
#include <boost/rational.hpp>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "M_Ratio.h"
#include "Ratio.h"
#include "T_Format.h"

extern "C" {
#include <libavutil/rational.h>
}

namespace {

using Peer = boost::rational<int64_t>;

enum Terms { kSameScale, kMixedScale, kMustReduce };

struct Pairs {
    std::vector<std::pair<M_Ratio, M_Ratio>> ours;
    std::vector<std::pair<Peer, Peer>> peer;

    void Add(int32_t a_num, int32_t a_den, int32_t b_num, int32_t b_den)
    {
        ours.emplace_back(M_Ratio{a_num, static_cast<uint32_t>(a_den)},
                          M_Ratio{b_num, static_cast<uint32_t>(b_den)});
        peer.emplace_back(Peer(a_num, a_den), Peer(b_num, b_den));
    }
};

// Frame times on one scale, on the scales that meet in a timeline, and large terms that fit only reduced.
Pairs MakePairs(Terms terms)
{
    constexpr int32_t kScales[] = {24, 25, 30, 24000, 30000, 48000, 44100, 600};
    constexpr int kCount = 1024;
    Pairs pairs;
    uint32_t x = 7;
    const auto next = [&x] { return static_cast<int32_t>((x = x * 1664525u + 1013904223u) >> 8); };
    for (int i = 0; i < kCount; ++i) {
        const int32_t a = next();
        const int32_t b = next();
        if (terms == kSameScale) pairs.Add(a % 9000 * 1001, 30000, b % 9000 * 1001, 30000);
        if (terms == kMixedScale) {
            const int32_t a_scale = kScales[next() % 8];
            pairs.Add(a % 9000, a_scale, b % 9000, kScales[next() % 8]);
        }
        if (terms == kMustReduce) {
            pairs.Add((1 + a % 30) * 5005000, 30000 * 700, (1 + b % 30) * 3003000, 24000 * 500);
        }
    }
    return pairs;
}

struct Add {
    static M_Ratio Ours(const M_Ratio& a, const M_Ratio& b)
    {
        M_Ratio out;
        M_AddRatio(&a, &b, &out, M_ApproximateSilently);
        return out;
    }
    static Peer Theirs(const Peer& a, const Peer& b) { return a + b; }
    static bool Agree(const M_Ratio& ours, const Peer& peer) { return Peer(ours.num, ours.den) == peer; }
};

struct Multiply : Add {
    static M_Ratio Ours(const M_Ratio& a, const M_Ratio& b)
    {
        M_Ratio out;
        M_MulRatio(&a, &b, &out, M_ApproximateSilently);
        return out;
    }
    static Peer Theirs(const Peer& a, const Peer& b) { return a * b; }
    // Some products fit 32 bits in no form; ours is then the best ratio near single precision.
    static bool Agree(const M_Ratio& ours, const Peer& peer)
    {
        const double value = boost::rational_cast<double>(peer);
        const double difference = std::fabs(static_cast<double>(ours.num) / ours.den - value);
        return Add::Agree(ours, peer) || difference <= value * 0x1p-23;
    }
};

// By the operator, which asks for the order alone, as the peer's does.
struct Compare {
    static bool Ours(const M_Ratio& a, const M_Ratio& b)
    {
        return T_Time{a.num, a.den} < T_Time{b.num, b.den};
    }
    static bool Theirs(const Peer& a, const Peer& b) { return a < b; }
    static bool Agree(bool ours, bool peer) { return ours == peer; }
};

// By the function, which also gives the numerator of the difference.
struct CompareByDifference : Compare {
    static bool Ours(const M_Ratio& a, const M_Ratio& b)
    {
        int32_t order = 0;
        M_CompareRatio(&a, &b, &order);
        return order < 0;
    }
};

void Demand(bool agreed, const std::string& row)
{
    if (agreed) return;
    std::fprintf(stderr, "%s: ours and the peer disagree\n", row.c_str());
    std::exit(1);
}

template <class Operation>
void PairOf(const std::string& row, double bound, Terms terms)
{
    const auto pairs = std::make_shared<Pairs>(MakePairs(terms));
    for (size_t i = 0; i < pairs->ours.size(); ++i) {
        const auto& [a, b] = pairs->ours[i];
        const auto& [peer_a, peer_b] = pairs->peer[i];
        Demand(Operation::Agree(Operation::Ours(a, b), Operation::Theirs(peer_a, peer_b)), row);
    }
    qlbench::Pair(
        row, bound,
        [pairs](benchmark::State& state) {
            for (auto _ : state) {
                for (const auto& [a, b] : pairs->ours) benchmark::DoNotOptimize(Operation::Ours(a, b));
            }
        },
        [pairs](benchmark::State& state) {
            for (auto _ : state) {
                for (const auto& [a, b] : pairs->peer) benchmark::DoNotOptimize(Operation::Theirs(a, b));
            }
        });
}

// --- The best ratio of a double ----------------------------------------------------------------------------

M_Ratio BestOurs(double value)
{
    M_Ratio out;
    uint8_t overflow = 0;
    M_FpLong2Ratio(&out, &overflow, value);
    return out;
}

AVRational BestPeer(double value)
{
    return av_d2q(value, 1 << 30);
}

void PairOfBestRational()
{
    const std::string row = "best ratio of a double / av_d2q";
    constexpr double kFirst = 0.1;
    constexpr double kStep = 0.0137;
    for (int i = 0; i < 10000; ++i) {
        const double value = kFirst + i * kStep;
        const M_Ratio ours = BestOurs(value);
        const AVRational peer = BestPeer(value);
        const double difference =
            static_cast<double>(ours.num) / ours.den - static_cast<double>(peer.num) / peer.den;
        Demand(std::fabs(difference) < value * 0x1p-23, row);  // ours is that of single precision
    }
    const auto body = [=](auto best) {
        return [=](benchmark::State& state) {
            double value = kFirst;
            for (auto _ : state) {
                benchmark::DoNotOptimize(best(value));
                value += kStep;
            }
        };
    };
    qlbench::Pair(row, 0.6, body(BestOurs), body(BestPeer));
}

// --- Drop-frame timecode -----------------------------------------------------------------------------------

constexpr int32_t kFrames = 100000;

void TextOurs(int32_t frame, char* out)
{
    static const T_TimeFormatInfo info = {1, 0, 30, 0, 0, {0, 1}};
    const T_Time time = {frame * 100, 2997};
    T_GeneralFormatTime(&time, &info, T_TimeFormatType_PositionNoOffset, 1964114, true, out);
}

void TextPeer(int32_t frame, char* out)
{
    const int32_t tens = frame / 17982;
    const int32_t inTen = frame % 17982;
    const int32_t label = frame + 18 * tens + (inTen > 1 ? 2 * ((inTen - 2) / 1798) : 0);
    std::snprintf(out, T_kFormattedTimeSize, "%02d;%02d;%02d;%02d", label / 108000, label / 1800 % 60,
                  label / 30 % 60, label % 30);
}

void PairOfTimecode()
{
    const std::string row = "drop-frame timecode text / snprintf of the fields";
    for (int32_t frame = 0; frame < kFrames; ++frame) {
        char ours[T_kFormattedTimeSize];
        char peer[T_kFormattedTimeSize];
        TextOurs(frame, ours);
        TextPeer(frame, peer);
        Demand(std::strcmp(ours, peer) == 0, row);
    }
    const auto body = [](auto text) {
        return [=](benchmark::State& state) {
            int32_t frame = 0;
            char out[T_kFormattedTimeSize];
            for (auto _ : state) {
                text(frame, out);
                benchmark::DoNotOptimize(out);
                frame = frame + 1 < kFrames ? frame + 1 : 0;
            }
        };
    };
    qlbench::Pair(row, 1.2, body(TextOurs), body(TextPeer));
}

}  // namespace

int main(int argc, char** argv)
{
    PairOf<Add>("add, same scale / boost::rational<int64>", 0.3, kSameScale);
    PairOf<Add>("add, mixed scales / boost::rational<int64>", 0.6, kMixedScale);
    PairOf<Add>("add, terms that must reduce / boost::rational<int64>", 1.0, kMustReduce);
    PairOf<Multiply>("multiply, terms that overflow and are reduced / boost::rational<int64>", 1.3,
                     kSameScale);
    PairOf<Multiply>("multiply, mixed scales / boost::rational<int64>", 0.3, kMixedScale);
    PairOf<Multiply>("multiply, terms that must reduce / boost::rational<int64>", 1.3, kMustReduce);
    PairOf<Compare>("compare, same scale / boost::rational<int64>", 1.0, kSameScale);
    PairOf<Compare>("compare, mixed scales / boost::rational<int64>", 1.0, kMixedScale);
    PairOf<Compare>("compare, terms that must reduce / boost::rational<int64>", 1.0, kMustReduce);
    PairOf<CompareByDifference>("compare by M_CompareRatio, same scale / boost::rational<int64>", 1.0,
                                kSameScale);
    PairOf<CompareByDifference>("compare by M_CompareRatio, mixed scales / boost::rational<int64>", 1.0,
                                kMixedScale);
    PairOf<CompareByDifference>("compare by M_CompareRatio, must reduce / boost::rational<int64>", 1.0,
                                kMustReduce);
    PairOfBestRational();
    PairOfTimecode();
    return qlbench::Main(argc, argv);
}
