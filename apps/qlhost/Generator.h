// Makes the sample clip, so that nothing has to be downloaded or committed: a lit figure that walks across a
// textured, slowly panning ground. The same arguments give the same bytes.
#ifndef QLHOST_GENERATOR_H
#define QLHOST_GENERATOR_H

#include <string>

#include "Options.h"

namespace qlhost {

/// Writes frame_0000.png and so on, and last an empty file `complete`, so that a broken run is noticed.
bool GenerateClip(const GenerateOptions& options, std::string& why);

}  // namespace qlhost

#endif
