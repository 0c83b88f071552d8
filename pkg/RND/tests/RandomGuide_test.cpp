// The examples of docs/guides/random.md, run.
#include "QLTest.h"
#include "RND.h"

namespace {

using RandomGuide = qltest::Library;

TEST_F(RandomGuide, Streams)
{
    constexpr uint32_t layer_id = 7, seed = 9;
    double jitter[100], values[240];
    int32_t throws[10];
    RND_GaussianState stream;
    RND_InitGaussianState(RND_HashInt(layer_id), &stream);
    const RND_GaussianState start = stream;
    RND_GetNextGaussianFloats(&stream, 100, jitter);
    stream = start;

    RND_LongState dice;
    RND_InitLongState(seed, UINT32_MAX, &dice);
    RND_GetNextRandomLongs(&dice, 1, 6, 10, throws);
    for (const int32_t eyes : throws) EXPECT_TRUE(eyes >= 1 && eyes <= 6);

    RND_BandLimitedHandle drift;
    ASSERT_EQ(RND_NewBandLimitedState(seed, true, 24, &drift, 0.5, 0.0, 1.0), 0);
    RND_GetNextBLFloats(drift, 240, values);
    EXPECT_EQ(RND_DisposeBandLimitedState(drift), 0);
}

}  // namespace
