// The words at the end of a run, on standard output.
#ifndef QLHOST_SUMMARY_H
#define QLHOST_SUMMARY_H

#include "Labels.h"
#include "MemoryHistory.h"
#include "RenderRun.h"

namespace qlhost {

void PrintSummary(const RunResult& run, const MemoryHistory& memory, const Timeline& timeline,
                  const Rate& rate);

}  // namespace qlhost

#endif
