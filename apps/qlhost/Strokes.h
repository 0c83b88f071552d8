// The strokes of a user on a clip, as a text file:
//
//     # A remark reaches to the end of its line.
//     strokes 1                             the form's version, first
//     size 1920 1080                        of the frames that places are meant for; the clip's without it
//     frame 12 backward 13 forward 24       a manual frame, counted from 0, and how many frames its strokes
//                                           hold for in each direction, itself included
//     foreground 14  612,340 620,655        a line through these places, with a brush of this radius, over the
//     background 11  40,210 330,210         subject or over the ground of that frame
//
// Places and radii are in pixels and may be fractions; a place may lie outside of the frame. On a clip of
// another size they are scaled.
#ifndef QLHOST_STROKES_H
#define QLHOST_STROKES_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "Png.h"

namespace qlhost {

struct Stroke {
    struct Place {
        double x, y;
    };
    bool subject;
    double radius;
    std::vector<Place> places;  // at least one
};

struct ManualFrame {
    std::int32_t frame;
    std::uint32_t backward, forward;
    std::vector<Stroke> strokes;
};

struct StrokeFile {
    PngSize size;                     // 0 by 0 when the file names none
    std::vector<ManualFrame> frames;  // in the file's order, each frame once
};

/// Reads the form above. On failure `why` names the line and what is wrong with which word.
bool ParseStrokes(std::string_view text, StrokeFile& file, std::string& why);
bool ReadStrokes(const std::filesystem::path& path, StrokeFile& file, std::string& why);

/// Draws the strokes of one kind as 255 into rows of gray of a frame of `size`. `meant` is the size that the
/// strokes are meant for, or 0 by 0. Gives the pixels that were 0 before: none when all of it lies outside.
std::uint64_t DrawStrokes(const ManualFrame& manual, bool subject, const PngSize& meant, const PngSize& size,
                          std::uint8_t* gray);

}  // namespace qlhost

#endif
