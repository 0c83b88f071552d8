#include "SummaryJson.h"

#include <unistd.h>

#include <algorithm>

#include "zvkcore/string/UTFString.h"

namespace qlhost {

U_AnyTreeWrapper SummaryTree(const RunResult& run, const MemoryHistory& memory, const Timeline& timeline,
                             const Rate& rate, const LockWatch* watch,
                             const std::vector<std::filesystem::path>& files)
{
    const auto seen =
        std::count_if(run.frames.begin(), run.frames.end(), [](const auto& f) { return f.has_value(); });
    U_AnyTreeWrapper tree;
    tree.put("clip.frames", run.frames.size());
    tree.put("clip.readable", seen);
    tree.put("clip.rate", std::string(rate.name));
    tree.put("clip.first", Timecode(rate, 0));
    tree.put("clip.last", Timecode(rate, static_cast<std::int64_t>(run.frames.size()) - 1));
    tree.put("run.rendered", run.rendered);
    tree.put("run.threads", timeline.Rows().size());
    tree.put("run.seconds", run.seconds);
    tree.put("run.parallel-share", timeline.ParallelShare());
    tree.put("run.writer-overlap", timeline.WriterOverlap());
    tree.put("run.interrupted", run.interrupted);
    tree.put("cache.decoded", run.cache.decoded);
    tree.put("cache.served", run.cache.hits);
    tree.put("cache.failed", run.cache.failed);
    tree.put("cache.dropped", run.cache.dropped);
    tree.put("cache.dropped-bytes", run.cache.droppedBytes);
    tree.put("cache.purge-requests", run.cache.purgeRequests);
    tree.put("memory.limit", memory.Limit());
    tree.put("memory.peak-in-use", memory.PeakInUse());
    tree.put("memory.peak-resident", memory.PeakResident());
    if (watch) {
        tree.put("locks.orders", watch->Orders());
        tree.put("locks.inversions", watch->Inversions());
    }
    tree.with_child_array("files", [&](U_AnyTreeWrapper& list) {
        for (const auto& file : files) list.put(U_Any(file.string()));
    });
    return tree;
}

StandardOutput::StandardOutput() : m_true(dup(STDOUT_FILENO))
{
    std::fflush(stdout);
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

StandardOutput::~StandardOutput()
{
    std::fflush(stdout);
    dup2(m_true, STDOUT_FILENO);
    close(m_true);
}

void StandardOutput::Print(const U_AnyTreeWrapper& tree) const
{
    const U_UTF8String text = tree.GetAs_JSON8();
    dprintf(m_true, "%.*s\n", static_cast<int>(text.size()), zvkcore::string::View(text).data());
}

}  // namespace qlhost
