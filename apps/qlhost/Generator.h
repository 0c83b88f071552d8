// Makes the sample clip, so that nothing has to be downloaded or committed: its frames, and beside them the
// true mattes of its subject and a file of strokes. The same arguments give the same bytes.
#ifndef QLHOST_GENERATOR_H
#define QLHOST_GENERATOR_H

#include <string>

#include "Options.h"

namespace qlhost {

/// Whether the folder holds the whole clip of these arguments, made by this version of the scene.
bool IsGenerated(const GenerateOptions& options);

/// Writes frame_0000.png and so on, truth/matte_0000.png and so on, strokes.txt, and last a file `complete`
/// that names version and arguments, so that a broken run or a clip of an older version is noticed.
bool GenerateClip(const GenerateOptions& options, std::string& why);

}  // namespace qlhost

#endif
