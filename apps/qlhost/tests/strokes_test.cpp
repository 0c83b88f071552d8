// The form of stroke files: what it says, and that each fault is named with its line.
#include <gtest/gtest.h>

#include <algorithm>

#include "Scene.h"
#include "Strokes.h"

namespace {

using namespace qlhost;

TEST(Strokes, ReadsTheForm)
{
    StrokeFile file;
    std::string why;
    ASSERT_TRUE(
        ParseStrokes("# all of it\n\nstrokes 1\r\nsize 200 100\nframe 3 backward 4 forward 0 # one\n"
                     "foreground 2.5 10,20 30.5,-4\nbackground 1 0,0",
                     file, why))
        << why;
    EXPECT_EQ(file.size.width, 200u);
    ASSERT_EQ(file.frames.size(), 1u);
    EXPECT_EQ(file.frames[0].frame, 3);
    EXPECT_EQ(file.frames[0].backward, 4u);
    EXPECT_EQ(file.frames[0].forward, 0u);
    ASSERT_EQ(file.frames[0].strokes.size(), 2u);
    EXPECT_TRUE(file.frames[0].strokes[0].subject);
    EXPECT_EQ(file.frames[0].strokes[0].radius, 2.5);
    EXPECT_EQ(file.frames[0].strokes[0].places.at(1).y, -4);

    // What the generator writes for clips of any length covers every frame.
    for (const int frames : {1, 2, 10, 25, 37, 60, 200}) {
        GenerateOptions clip;
        clip.frames = frames;
        ASSERT_TRUE(ParseStrokes(SceneStrokes(clip), file, why)) << why;
        std::vector<int> covered(static_cast<std::size_t>(frames));
        for (const ManualFrame& manual : file.frames) {
            const int first = manual.frame - static_cast<int>(manual.backward) + 1,
                      last = manual.frame + static_cast<int>(manual.forward) - 1;
            ASSERT_GE(first, 0);
            ASSERT_LT(last, frames);
            for (int frame = first; frame <= last; ++frame) covered[static_cast<std::size_t>(frame)] = 1;
        }
        EXPECT_EQ(std::count(covered.begin(), covered.end(), 0), 0) << frames << " frames";
    }
}

TEST(Strokes, NamesLineAndWordOfAFault)
{
    const std::string head = "strokes 1\nframe 0 backward 1 forward 1\n";
    struct Row {
        std::string text, why;
    };
    for (const Row& row : {
             Row{"", "line 0: the file names no frame"},
             Row{"strokes 1\n", "line 1: the file names no frame"},
             Row{"frame 0 backward 1 forward 1\n", "line 1: 'frame' wants 1 words behind it"},
             Row{"stroke 1\n", "line 1: the first word is 'stroke', not strokes"},
             Row{"strokes 2\n", "line 1: '2' is no strokes that can be used"},
             Row{head + "foregruond 1 2,3\n",
                 "line 3: 'foregruond' is none of size, frame, foreground, background"},
             Row{"strokes 1\n\nforeground 1 2,3\n", "line 3: 'foreground' stands before any frame"},
             Row{head + "foreground 1\n", "line 3: 'foreground' wants a radius and at least one place"},
             Row{head + "foreground 0 1,2\n", "line 3: '0' is no radius that can be used"},
             Row{head + "foreground nan 1,2\n", "line 3: 'nan' is no radius that can be used"},
             Row{head + "foreground 1 1,2x\n", "line 3: '2x' is no place that can be used"},
             Row{head + "foreground 1 12\n", "line 3: '' is no place that can be used"},
             Row{head + "foreground 1 1,1e9\n", "line 3: '1e9' is no place that can be used"},
             Row{head + "frame 0 backward 2 forward 2\n", "line 3: frame 0 stands here for the second time"},
             Row{head + "frame -1 backward 2 forward 2\n", "line 3: '-1' is no frame that can be used"},
             Row{head + "frame 1 forward 2 backward 2\n",
                 "line 3: 'forward' stands where 'backward' belongs"},
             Row{head + "frame 1 backward 99999999999 forward 2\n",
                 "line 3: '99999999999' is no backward that can be used"},
             Row{head + "size 0 100\n", "line 3: '0' is no size that can be used"},
         }) {
        StrokeFile file;
        std::string why;
        EXPECT_FALSE(ParseStrokes(row.text, file, why)) << row.text;
        EXPECT_EQ(why, row.why) << row.text;
    }
}

TEST(Strokes, DrawsInsideTheFrameOnly)
{
    const ManualFrame manual{0, 1, 1, {{true, 2, {{10, 10}, {20, 10}}}, {false, 3, {{-50, -50}}}}};
    std::vector<std::uint8_t> gray(40 * 30);
    const std::uint64_t drawn = DrawStrokes(manual, true, {}, {40, 30}, gray.data());
    EXPECT_EQ(drawn, static_cast<std::uint64_t>(std::count(gray.begin(), gray.end(), 255)));
    EXPECT_NEAR(static_cast<double>(drawn), 10 * 4 + 3.14 * 4, 4);
    EXPECT_EQ(DrawStrokes(manual, false, {}, {40, 30}, gray.data()), 0u);

    // Meant for a frame of twice the size, it is half as long and half as wide.
    std::fill(gray.begin(), gray.end(), std::uint8_t{0});
    EXPECT_NEAR(static_cast<double>(DrawStrokes(manual, true, {80, 60}, {40, 30}, gray.data())), 5 * 2 + 3.14,
                3);
}

}  // namespace
