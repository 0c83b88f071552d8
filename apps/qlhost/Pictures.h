// What a person can look at after a run: memory over time, what the render threads did, and a contact sheet labelled with timecode.
#ifndef QLHOST_PICTURES_H
#define QLHOST_PICTURES_H

#include "Clip.h"
#include "Labels.h"
#include "MemoryHistory.h"
#include "RenderRun.h"
#include "Timeline.h"

namespace qlhost {

/// Each gives false when the file cannot be written.
bool DrawMemory(const MemoryHistory& memory, const std::filesystem::path& file);
bool DrawTimeline(const Timeline& timeline, double seconds, const std::filesystem::path& file);
bool DrawContactSheet(const RunResult& run, const Rate& rate, const std::filesystem::path& file);

}  // namespace qlhost

#endif
