// Plays a clip: registered render threads take frames in order, get them through the cache and look at every
// pixel, while the calling thread watches memory and keys and shows progress.
#ifndef QLHOST_RENDERRUN_H
#define QLHOST_RENDERRUN_H

#include <cstdint>
#include <optional>
#include <vector>

#include "Clip.h"
#include "FrameCache.h"
#include "FrameTable.h"
#include "Labels.h"
#include "MemoryHistory.h"
#include "Options.h"
#include "Thumbnail.h"
#include "Timeline.h"

namespace qlhost {

struct RunResult {
    std::vector<std::optional<Thumbnail>> frames;  // empty for a frame that could not be read
    std::uint64_t rendered = 0;                    // over all passes
    double seconds = 0;
    bool interrupted = false;
    FrameCache::Counts cache;
};

/// Call on the thread that the library was born on. Faulty frames become posted reports. The timeline has a row for
/// each thread to start.
RunResult PlayClip(const Clip& clip, const RenderOptions& options, const Rate& rate, FrameTable& table,
                   MemoryHistory& memory, Timeline& timeline);

}  // namespace qlhost

#endif
