// The examples of docs/guides/random.md, run.
#include <algorithm>

#include "QLTest.h"
#include "RND.h"

namespace {

using RandomGuide = qltest::Library;

TEST_F(RandomGuide, Streams)
{
    constexpr uint32_t layer_id = 7, seed = 9;
    double jitter[100], again[100], values[240];
    int32_t throws[10];
    RND_GaussianState stream;
    RND_InitGaussianState(RND_HashInt(layer_id), &stream);
    const RND_GaussianState start = stream;
    RND_GetNextGaussianFloats(&stream, 100, jitter);
    stream = start;
    RND_GetNextGaussianFloats(&stream, 100, again);
    EXPECT_TRUE(std::equal(jitter, jitter + 100, again));

    RND_LongState dice;
    RND_InitLongState(seed, UINT32_MAX, &dice);
    RND_GetNextRandomLongs(&dice, 1, 6, 10, throws);
    EXPECT_TRUE(std::all_of(throws, throws + 10, [](int32_t eyes) { return eyes >= 1 && eyes <= 6; }));

    RND_BandLimitedHandle drift;
    ASSERT_EQ(RND_NewBandLimitedState(seed, true, 24, &drift, 0.5, 0.0, 1.0), 0);
    RND_GetNextBLFloats(drift, 240, values);
    RND_DisposeBandLimitedState(drift);
    EXPECT_TRUE(std::all_of(values, values + 240, [](double value) { return value >= 0 && value <= 1; }));
}

}  // namespace
