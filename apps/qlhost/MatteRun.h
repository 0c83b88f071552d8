// The passes of a matte run: every covered frame is rendered on render threads, then frozen on one thread in
// the order of the clip, and the manager goes into its text; a second manager made of that text serves the
// frozen frames, and what it serves is compared with what was written.
#ifndef QLHOST_MATTERUN_H
#define QLHOST_MATTERUN_H

#include <SMS_SpanManager.h>

#include <memory>

#include "MatteMemory.h"
#include "MatteOutput.h"
#include "MemoryHistory.h"
#include "Options.h"
#include "SpanQueue.h"

namespace qlhost {

struct MatteResult {
    std::vector<MatteMeasures> frames;
    std::vector<bool> rendered, frozen;
    int threads = 0;
    std::size_t covered = 0, served = 0, identical = 0;
    double renderSeconds = 0, freezeSeconds = 0, serveSeconds = 0;
    std::uint64_t textBytes = 0, purgeRequests = 0;
    std::uint64_t computedWhileServing =
        0;  // values that a segmenter computed for a frame served from the store
    MatteIndex::Counts index;
    FrameCache::Counts cache;
    bool interrupted = false;

    std::size_t Rendered() const;
    std::size_t Frozen() const;
};

class MatteRun {
  public:
    /// The global callbacks and the global index are this run's from here to its end, and so is the purge
    /// callback.
    MatteRun(MatteSource& source, const StrokeFile& strokes, const MatteOptions& options,
             const MatteOutput& output, MemoryHistory& memory);
    ~MatteRun();
    MatteRun(const MatteRun&) = delete;
    MatteRun& operator=(const MatteRun&) = delete;

    /// Makes the manager and its manual frames. Throws as the services do, when no plug-in has come, say.
    void Begin();
    void Render();
    void Freeze();
    /// Writes the manager's text. Throws an error code.
    void Save();
    /// Drops the manager, reads the text back and makes another manager of it.
    void Restore();
    void Serve();
    MatteResult End();

  private:
    bool RenderFrame(SpanQueue::Turn& turn, boost::shared_ptr<tessaly::CrossRenderCache>& cache);
    void FreezeFrame(int frame, boost::shared_ptr<tessaly::CrossRenderCache>& cache);
    void ServeFrame(SpanQueue::Turn& turn, boost::shared_ptr<tessaly::CrossRenderCache>& cache);
    bool RenderPlanes(int frame, boost::shared_ptr<tessaly::CrossRenderCache>& cache, MattePlanes& planes);
    void RunSpans(
        const char* key, const std::vector<bool>& wanted,
        const std::function<void(SpanQueue::Turn&, boost::shared_ptr<tessaly::CrossRenderCache>&)>& job);
    void Pass(const char* key, std::size_t steps, int threads, const std::function<void()>& body);

    MatteSource& m_source;
    const StrokeFile& m_strokes;
    const MatteOptions& m_options;
    const MatteOutput& m_output;
    MemoryHistory& m_memory;
    const boost::shared_ptr<MatteCallbacks> m_callbacks;
    const boost::shared_ptr<MatteIndex> m_index;
    std::unique_ptr<tessaly::SpanManager> m_spans;
    std::atomic<std::size_t> m_done{0};
    std::mutex m_mutex;  // guards m_result while threads run
    MatteResult m_result;
};

}  // namespace qlhost

#endif
