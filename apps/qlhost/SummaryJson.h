// The end of a run as one line of JSON on standard output, for scripts.
#ifndef QLHOST_SUMMARYJSON_H
#define QLHOST_SUMMARYJSON_H

#include <U_AnyTree.h>

#include <cstdio>
#include <filesystem>
#include <vector>

#include "Labels.h"
#include "LockWatch.h"
#include "MemoryHistory.h"
#include "RenderRun.h"

namespace qlhost {

/// Sizes are bytes, times seconds. `watch` may be null; `files` are those that were written.
U_AnyTreeWrapper SummaryTree(const RunResult& run, const MemoryHistory& memory, const Timeline& timeline,
                             const Rate& rate, const LockWatch* watch,
                             const std::vector<std::filesystem::path>& files);

/// While one lives, everything that is printed to standard output goes to standard error instead, so that the
/// summary stands there alone.
class StandardOutput {
  public:
    StandardOutput();
    ~StandardOutput();
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

    /// One line on the true standard output.
    void Print(const U_AnyTreeWrapper& tree) const;

  private:
    int m_true;
};

}  // namespace qlhost

#endif
