// The command `matte`: cuts a stroked subject out of every frame of a clip with the segmenter of a plug-in,
// freezes the result, and serves it again from what it saved.
#ifndef QLHOST_MATTE_H
#define QLHOST_MATTE_H

#include "Options.h"

namespace qlhost {

/// Gives the program's exit code.
int MakeMattes(const MatteOptions& options);

}  // namespace qlhost

#endif
