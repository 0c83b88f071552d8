// The words and the table at the end of a matte run.
#ifndef QLHOST_MATTESUMMARY_H
#define QLHOST_MATTESUMMARY_H

#include "MatteRun.h"

namespace qlhost {

void PrintMatteSummary(const MatteResult& result, const MemoryHistory& memory, const StrokeFile& strokes,
                       const Rate& rate);

/// A line a frame as comma-separated values. False when the file cannot be written.
bool WriteMatteTable(const MatteResult& result, const Rate& rate, const std::filesystem::path& file);

}  // namespace qlhost

#endif
