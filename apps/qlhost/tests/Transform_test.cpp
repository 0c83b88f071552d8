#include "Transform.h"

#include <algorithm>

#include "QLTest.h"

namespace {

using qlhost::Frame;
using qlhost::ParseTransform;

using FrameTransform = qltest::Library;

// A frame of 4 by 2 pixels whose red channel counts them from 10.
std::shared_ptr<Frame> Counting()
{
    auto frame = Frame::Allocate({4, 2});
    for (int i = 0; i < 8; ++i) {
        const int pixel[] = {10 + i, 100, 200, 255};
        std::copy(std::begin(pixel), std::end(pixel), frame->Pixels() + i * 4);
    }
    return frame;
}

TEST_F(FrameTransform, StepsMovePixels)
{
    struct Row {
        const char* steps;
        int red[8];
    };
    for (const Row& row : {Row{"translate 0 0", {10, 11, 12, 13, 14, 15, 16, 17}},
                           Row{"translate 1 -1", {0, 14, 15, 16, 0, 0, 0, 0}},
                           Row{" rotate  180 ;", {17, 16, 15, 14, 13, 12, 11, 10}},
                           Row{"rotate 90 about 1 1; rotate -90 about 1 1", {10, 11, 12, 13, 14, 15, 16, 17}},
                           Row{"scale -1 1", {13, 12, 11, 10, 17, 16, 15, 14}},
                           Row{"scale 0.5 1 about 0 0", {11, 13, 0, 0, 15, 17, 0, 0}},
                           Row{"scale 2 2 about 0 0", {10, 10, 11, 11, 11, 11, 12, 12}}}) {
        std::string why;
        const auto transform = ParseTransform(row.steps, why);
        ASSERT_TRUE(transform) << row.steps << ": " << why;
        const auto redrawn = Redraw(*Counting(), *transform);
        for (int i = 0; i < 8; ++i) {
            EXPECT_NEAR(redrawn->Pixels()[i * 4], row.red[i], 1) << row.steps << " at " << i;
            EXPECT_EQ(redrawn->Pixels()[i * 4 + 3], 255);
        }
    }
}

TEST_F(FrameTransform, RefusesWhatHasNoWayBack)
{
    for (const char* steps :
         {"", ";", "spin 3", "scale 0 1", "scale 1", "rotate x", "rotate 1 2", "rotate inf",
          "translate 1 2 about 0 0", "rotate 1 about 0", "scale 1 nan", "scale 1e300 1", "translate 1,5 2",
          "rotate 1;rotate 1;rotate 1;rotate 1;rotate 1;rotate 1;rotate 1;"
          "rotate 1;rotate 1"}) {
        std::string why;
        EXPECT_FALSE(ParseTransform(steps, why)) << steps;
        EXPECT_FALSE(why.empty());
    }
}

}  // namespace
