#include "RND.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include "FailingAllocator.h"
#include "QLTest.h"
#include "RNDp_Generator.h"
#include "RNDp_Lanes.h"

namespace {

using Streams = qltest::Library;

constexpr uint32_t kSeed = 12345;

// --- Streams, however they are cut -------------------------------------------------------------------------

// A stream of any kind, read by some values at a time.
using Reader = std::function<void(int32_t count, double* out)>;

Reader Floats()
{
    RND_FloatState state;
    RND_InitFloatState(kSeed, &state);
    return [state](auto count, auto* out) mutable { RND_GetNextRandomFloats(&state, count, out, -1, 2); };
}

Reader Integers()
{
    RND_LongState state;
    RND_InitLongState(kSeed, 1000000, &state);
    return [state](int32_t count, double* out) mutable {
        std::vector<int32_t> values(static_cast<size_t>(count));
        RND_GetNextRandomLongs(&state, -500, 499, count, values.data());
        std::copy(values.begin(), values.end(), out);
    };
}

Reader Gaussian()
{
    RND_GaussianState state;
    RND_InitGaussianState(kSeed, &state);
    return [state](auto count, auto* out) mutable { RND_GetNextGaussianFloats(&state, count, out); };
}

Reader MovingMean(int32_t size, bool is_clipped, double confidence, double low, double high)
{
    RND_BandLimitedHandle handle = nullptr;
    EXPECT_EQ(RND_NewBandLimitedState(kSeed, is_clipped, size, &handle, confidence, low, high), 0);
    const std::shared_ptr<RND_BandLimitedState*> owner(handle, RND_DisposeBandLimitedState);
    return [owner](auto count, auto* out) { RND_GetNextBLFloats(owner.get(), count, out); };
}

Reader MeanOfSeven()
{
    return MovingMean(7, false, 1, 0, 1);
}

// The window is filled without the gain, and a few of the means are clipped.
Reader InDoubt()
{
    return MovingMean(3, true, 0.5, -1, 3);
}

struct Kind {
    const char* name;
    Reader (*make)();
    double first, second, last;
};

class EveryStream : public Streams, public testing::WithParamInterface<Kind> {};

TEST_P(EveryStream, IsPinnedAndCutsAnywhere)
{
    constexpr int32_t kCount = 400000;
    const Kind& kind = GetParam();
    std::vector<double> whole(kCount), cut(kCount);
    kind.make()(kCount, whole.data());
    const Reader reader = kind.make();
    for (int32_t at = 0, step = 0; at < kCount; at += step) {
        step = std::min(kCount - at, at % 37);
        reader(step, cut.data() + at);
        if (step == 0) reader(step = 1, cut.data() + at);
    }
    EXPECT_TRUE(whole == cut);
    EXPECT_EQ(std::tuple(whole[0], whole[1], whole[kCount - 1]),
              std::tuple(kind.first, kind.second, kind.last))
        << std::hexfloat << whole[0] << ' ' << whole[1] << ' ' << whole[kCount - 1];
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, EveryStream,
    testing::Values(
        Kind{"Floats", Floats, -0x1.e0a95667e0a95p-1, -0x1.e6951f0de6952p-1, 0x1.dee9e161deeap-3},
        Kind{"Integers", Integers, -107, -149, -241},
        Kind{"Gaussian", Gaussian, 0x1.5e67dd42771a9p-1, 0x1.11d7127ec2646p+1, 0x1.bc059cde0f4b8p+0},
        Kind{"BandLimited", MeanOfSeven, 0x1.8fdb2627d8ffbp-2, 0x1.dd1647b8b884p-2, 0x1.4e116318bbc99p-1},
        Kind{"InDoubt", InDoubt, -0x1.cfec48c47a97p-3, 0x1.3b4bebae19dd8p-1, 0x1.382bb862b1d86p+0}),
    [](const auto& kind) { return std::string(kind.param.name); });

// --- Integers ----------------------------------------------------------------------------------------------

TEST_F(Streams, DrawsFollowTheGenerator)
{
    RND_LongState state;
    std::vector<uint32_t> draws(1000), none(3, 9);
    for (const auto& [max, mask, shift] : {std::tuple(5u, 0xE0000000u, 29u), std::tuple(1u, 0x80000000u, 31u),
                                           std::tuple(8u, 0xF0000000u, 28u), std::tuple(~0u, ~0u, 0u)}) {
        ASSERT_EQ(RND_InitLongState(kSeed, max, &state), 0);
        EXPECT_EQ(std::tuple(state.count, state.seed, state.mask, state.shift),
                  std::tuple(0u, kSeed, mask, shift));
        RND_GetNextRandomMaskedLongs(&state, 1000, draws.data());
        uint32_t x = kSeed;
        for (const uint32_t draw : draws) ASSERT_EQ(draw, ((x = RNDp_Next(x)) & mask) >> shift);
        EXPECT_EQ(state.seed, x);
    }
    EXPECT_EQ(RND_InitLongState(kSeed, 0, &state), 3);
    RND_GetNextRandomMaskedLongs(&state, 3, none.data());
    EXPECT_EQ(none, std::vector<uint32_t>(3, 0));
    EXPECT_EQ(RND_GetNextRandomMaskedLongs(&state, -4, nullptr), 0);
    state = {0, 1, ~0u, 99};  // out of a damaged project
    EXPECT_EQ(RND_GetNextRandomMaskedLongs(&state, 3, none.data()), 0);
}

TEST_F(Streams, RangesTakeTheRemainder)
{
    std::vector<int32_t> values(500);
    std::vector<uint32_t> draws(500);
    for (const auto& [low, high] :
         {std::pair(0, 999), std::pair(-5, 5), std::pair(3, 3), std::pair(INT32_MIN, INT32_MAX),
          std::pair(7, 2), std::pair(INT32_MIN, -1), std::pair(0, INT32_MAX)}) {
        RND_LongState state, same;
        RND_InitLongState(kSeed, ~0u, &state);
        same = state;
        RND_GetNextRandomLongs(&state, low, high, 500, values.data());
        RND_GetNextRandomMaskedLongs(&same, 500, draws.data());
        const auto base = static_cast<uint32_t>(low), range = static_cast<uint32_t>(high) - base + 1;
        for (size_t i = 0; i < values.size(); ++i) {
            const uint32_t part = range == 0 ? draws[i] : draws[i] % range;
            ASSERT_EQ(static_cast<uint32_t>(values[i]), part + base) << low << ' ' << high;
        }
    }
    for (const uint32_t divisor : {1u, 2u, 3u, 1000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        for (const uint32_t value : {0u, 1u, divisor - 1, divisor, divisor + 1, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
            EXPECT_EQ(RNDp_Remainder(divisor)(value), value % divisor) << value << " by " << divisor;
        }
    }
}

TEST_F(Streams, TheTableAndTheHash)
{
    const uint32_t* table = nullptr;
    int32_t size = 0;
    EXPECT_EQ(RND_Birth() + RND_Birth(), 0);
    RND_GetPrimeSizedTable(&table, &size);
    ASSERT_EQ(size, 4093);
    uint32_t x = 1785686885;
    for (int32_t i = 0; i < size; ++i) ASSERT_EQ(table[i], x = RNDp_Next(x)) << i;
    RND_GetPrimeSizedTable(nullptr, nullptr);
    EXPECT_EQ(RND_Death(), 0);
    EXPECT_EQ(RND_HashInt(3), 0xDAA66D2Bu);
}

// --- Ends and failures -------------------------------------------------------------------------------------

TEST_F(Streams, FloatsReachBothEnds)
{
    // The draws 0xFFFFFFFF and 0 come out of these seeds.
    constexpr uint32_t kInverse = 4276115653u;  // of the multiplier, modulo 2^32
    static_assert(kInverse * RNDp_kMultiplier == 1);
    for (const auto& [draw, end] : {std::pair(0xFFFFFFFFu, 5.0), std::pair(0u, -3.0)}) {
        RND_FloatState state;
        RND_InitFloatState((draw - RNDp_kIncrement) * kInverse, &state);
        double value = 0;
        RND_GetNextRandomFloats(&state, 1, &value, -3, 5);
        EXPECT_EQ(value, end);
    }
}

TEST_F(Streams, GaussianEndsInADamagedState)
{
    RND_GaussianState state = {0, 0, 0, 0, kSeed, 0x80000000, 31};  // leaves no pair inside the circle
    std::vector<double> values(4);
    EXPECT_EQ(RND_GetNextGaussianFloats(&state, 4, values.data()), 3);
}

TEST_F(Streams, BandLimitedGainIsTheSameForEveryDoubt)
{
    for (const auto& [size, confidence, gain] :
         {std::tuple(50, 1.0, 1.0), std::tuple(50, 0.5, std::log(51) / 1.3),
          std::tuple(50, 0.01, std::log(51) / 1.3), std::tuple(1, 0.5, 1.0)}) {  // log(2) / 1.3 is raised
        RND_BandLimitedHandle handle = nullptr;
        ASSERT_EQ(RND_NewBandLimitedState(kSeed, true, size, &handle, confidence, -1, 3), 0);
        EXPECT_EQ((*handle)->gain, gain) << size << ' ' << confidence;
        EXPECT_EQ(RND_DisposeBandLimitedState(handle), 0);
    }
    std::vector<double> values(400000);
    InDoubt()(400000, values.data());
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    EXPECT_EQ(std::pair(*least, *most), std::pair(-1.0, 3.0));
}

TEST_F(Streams, BandLimitedRefusesWhatItDidNotMake)
{
    RND_BandLimitedHandle handle = nullptr;
    double value = 7;
    for (const auto& [size, confidence] : {std::pair(0, 1.0), std::pair(-1, 1.0), std::pair(5, 0.0),
                                           std::pair(5, 1.1), std::pair(5, double{NAN})}) {
        handle = reinterpret_cast<RND_BandLimitedHandle>(&value);
        EXPECT_EQ(RND_NewBandLimitedState(1, false, size, &handle, confidence, 0, 1), 3);
        EXPECT_EQ(handle, nullptr);
    }
    EXPECT_EQ(RND_GetNextBLFloats(nullptr, 1, &value), 3);
    EXPECT_EQ(RND_DisposeBandLimitedState(nullptr), 3);
    ASSERT_EQ(RND_NewBandLimitedState(1, false, 5, &handle, 1, 0, 1), 0);
    EXPECT_EQ(RND_GetNextBLFloats(handle, 0, nullptr), 0);
    (*handle)->signature ^= 1;
    EXPECT_EQ(RND_GetNextBLFloats(handle, 1, &value), 3);
    EXPECT_EQ(RND_DisposeBandLimitedState(handle), 3);
    (*handle)->signature ^= 1;
    EXPECT_EQ(RND_DisposeBandLimitedState(handle), 0);
    EXPECT_EQ(value, 7);
    ASSERT_EQ(Reports().size(), 9u);
    EXPECT_EQ(Reports()[2].text, "QLTest error: internal verification failure, sorry! {bad confidence}");
}

TEST_F(Streams, BandLimitedSurvivesMissingMemory)
{
    RND_BandLimitedHandle handle = nullptr;
    // More than any request may be.
    EXPECT_EQ(RND_NewBandLimitedState(1, false, INT32_MAX, &handle, 1, 0, 1), 4);
    EXPECT_EQ(handle, nullptr);
    qltest::EveryAllocationFails([] {
        RND_BandLimitedHandle made = nullptr;
        const Err err = RND_NewBandLimitedState(1, false, 100, &made, 1, 0, 1);
        if (err == 0) RND_DisposeBandLimitedState(made);
        return err == 0 && made != nullptr;
    });
}

}  // namespace
