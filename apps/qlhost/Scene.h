// The scene of the sample clip: a walker with a soft outline before a textured, slowly panning ground. Every
// pixel is a function of its place and frame, so the clip and its true mattes repeat from run to run.
#ifndef QLHOST_SCENE_H
#define QLHOST_SCENE_H

#include <cstdint>
#include <string>
#include <vector>

#include "Options.h"

namespace qlhost {

/// Paints a frame as RGBA, and beside it how much of each pixel the walker covers, 0 to 255: the true matte.
void PaintScene(const GenerateOptions& options, int frame, std::vector<std::uint8_t>& rgba,
                std::vector<std::uint8_t>& truth);

/// Strokes a person would draw on the clip, as the text that `ReadStrokes` reads: one or two manual frames
/// whose spans cover the whole clip.
std::string SceneStrokes(const GenerateOptions& options);

}  // namespace qlhost

#endif
