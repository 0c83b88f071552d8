#include "MatteRun.h"

#include <U.h>
#include <U_Memory.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <chrono>
#include <fstream>
#include <iterator>

#include "MatteFrameData.h"
#include "Messages.h"
#include "RenderThread.h"

namespace qlhost {
namespace {

using namespace zvkcore::string::literals;
using Cache = boost::shared_ptr<tessaly::CrossRenderCache>;

constexpr const char kSegmenter[] = "Segmatte";

// The purge callback carries no reference of its own, so what answers it stands here for the length of a run.
std::atomic<FrameCache*> g_frames{nullptr};
std::atomic<MatteIndex*> g_index{nullptr};

// Frames go first: they are large, and decoding them is cheap beside computing a segment. Segments go when no
// frame is left to give; without one that is lost a whole way from the manual frame is computed again.
int PurgeForMattes(unsigned long long /*blockRequest*/, unsigned long long amount, bool* purgeRecycled)
{
    FrameCache* const frames = g_frames;
    MatteIndex* const index = g_index;
    if (!frames || !index) return 1;
    const std::uint64_t freed = frames->Purge(amount);
    if (freed == 0) index->Purge(amount);
    if (freed < amount) *purgeRecycled = true;
    return 0;
}

// The same spans have the same identity in every run, which is all that this host asks of it.
zvkcore::utility::Guid ManagerIdentity()
{
    constexpr char kName[] = "qlhost matte";
    return zvkcore::utility::Guid::CreateFromBytes(kName, sizeof kName - 1);
}

double Seconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

std::size_t MatteResult::Rendered() const
{
    return static_cast<std::size_t>(std::count(rendered.begin(), rendered.end(), true));
}

std::size_t MatteResult::Frozen() const
{
    return static_cast<std::size_t>(std::count(frozen.begin(), frozen.end(), true));
}

MatteRun::MatteRun(MatteSource& source, const StrokeFile& strokes, const MatteOptions& options,
                   const MatteOutput& output, MemoryHistory& memory)
    : m_source{source},
      m_strokes{strokes},
      m_options{options},
      m_output{output},
      m_memory{memory},
      m_callbacks{boost::make_shared<MatteCallbacks>()},
      m_index{boost::make_shared<MatteIndex>("qlhost mattes", m_callbacks)}
{
    m_result.frames.resize(source.Frames());
    m_result.rendered.resize(source.Frames());
    m_result.frozen.resize(source.Frames());
    m_result.threads = options.render.threads > 0 ? options.render.threads : U_GetMaxNumThreads();
    tessaly::RegisterCallbacks(m_callbacks);
    tessaly::RegisterGlobalCacheIndex(m_index);
    g_frames = &source.Cache();
    g_index = m_index.get();
    U_SetPurgeRequestCallback(&PurgeForMattes);
    U_AllowPurging();
}

MatteRun::~MatteRun()
{
    m_spans.reset();
    U_SetPurgeRequestCallback(nullptr);
    g_frames = nullptr;
    g_index = nullptr;
    m_index->PurgeAll();  // while the callbacks that gave the memory are still registered
    tessaly::RegisterGlobalCacheIndex(nullptr);
    tessaly::RegisterCallbacks(nullptr);
}

void MatteRun::Begin()
{
    const T_Time duration = FrameDuration(*FindRate(m_options.render.rate));
    m_spans = std::make_unique<tessaly::SpanManager>(
        ManagerIdentity(), true, U_UTF8String{reinterpret_cast<const unsigned char*>(kSegmenter)},
        boost::rational<int>{duration.value, static_cast<int>(duration.scale)});
    for (const ManualFrame& manual : m_strokes.frames)
        m_spans->SetManualFrame(manual.frame, manual.backward, manual.forward);
}

void MatteRun::Render()
{
    m_result.covered =
        SpanQueue{*m_spans, static_cast<int>(m_source.Frames()), std::vector<bool>(m_source.Frames(), true)}
            .Count();
    const double start = Seconds();
    RunSpans("$$$/QLHost/Matte/Rendering=rendering", std::vector<bool>(m_source.Frames(), true),
             [this](SpanQueue::Turn& turn, Cache& cache) {
                 const auto frame = static_cast<std::size_t>(turn.Frame());
                 const bool rendered = RenderFrame(turn, cache);
                 const std::lock_guard lock{m_mutex};
                 m_result.rendered[frame] = rendered;
             });
    m_result.renderSeconds = Seconds() - start;
}

void MatteRun::RunSpans(const char* key, const std::vector<bool>& wanted,
                        const std::function<void(SpanQueue::Turn&, Cache&)>& job)
{
    SpanQueue queue{*m_spans, static_cast<int>(m_source.Frames()), wanted};
    Pass(key, queue.Count(), m_result.threads, [&] {
        Cache cache;
        while (auto turn = IsInterrupted() ? std::nullopt : queue.Take()) {
            job(*turn, cache);
            ++m_done;
        }
    });
}

void MatteRun::Pass(const char* key, std::size_t steps, int threads, const std::function<void()>& body)
{
    Progress progress{m_options.render.quiet};
    m_done = 0;
    RunRenderThreads(threads, body, [&] {
        m_memory.Take(m_source.Cache().Read().purgeRequests);
        progress.Show(Text(key) + ": " + ProgressText(m_done, steps, m_memory.Samples().back().inUse));
    });
}

// Renders the segment, takes a copy of it before the matter writes the matte into the same output, and then
// the matte.
bool MatteRun::RenderPlanes(int frame, Cache& cache, MattePlanes& planes)
{
    MatteFrameData data{m_source, frame};
    if (!m_spans->Render(data, cache)) return false;
    const auto output = data.Output(tessaly::OutputIndex_Segmentation);
    planes.segment = GrayImage::Allocate(m_source.Size());
    if (!output || !planes.segment) return false;
    std::copy_n(output->Pixels(), output->Size().Bytes() / 4, planes.segment->Pixels());

    auto type = tessaly::RenderFrameData::OutputType_Matte;
    if (!m_spans->RenderHair(data, cache, type) || type != tessaly::RenderFrameData::OutputType_Matte)
        return false;
    planes.matte = output;
    planes.trimap = data.Output(tessaly::OutputIndex_Trimap);
    return planes.trimap != nullptr;
}

bool MatteRun::RenderFrame(SpanQueue::Turn& turn, Cache& cache)
{
    MattePlanes planes;
    MatteMeasures measures;
    bool rendered = false;
    const int frame = turn.Frame();
    // A frame that fails is one problem; the next one goes on.
    U_TrySection([&] {
        const auto input = m_source.Frame(frame);
        if (!input) return;
        if (!RenderPlanes(frame, cache, planes)) {
            if (!IsInterrupted())
                ReportMatteProblem(frame, Text("$$$/QLHost/Matte/NotRendered=it was not rendered"));
            return;
        }
        turn.End();
        std::string why;
        rendered = m_output.Write(frame, *input, planes, measures, why);
        if (!rendered) ReportMatteProblem(frame, why);
    });
    const std::lock_guard lock{m_mutex};
    m_result.frames[static_cast<std::size_t>(frame)] = std::move(measures);
    return rendered;
}

void MatteRun::Freeze()
{
    const double start = Seconds();
    m_spans->SetRenderingMode(tessaly::SpanManager::RenderingMode_Freezing);
    Pass("$$$/QLHost/Matte/Freezing=freezing", m_result.Rendered(), 1, [this] {
        Cache cache;
        for (std::size_t frame = 0; frame < m_result.rendered.size() && !IsInterrupted(); ++frame) {
            if (!m_result.rendered[frame]) continue;
            U_TrySection([&] { FreezeFrame(static_cast<int>(frame), cache); });
            ++m_done;
        }
    });
    m_spans->SetRenderingMode(tessaly::SpanManager::RenderingMode_Frozen);
    std::set<int> frozen;
    MatteFrameData data{m_source, 0};
    m_spans->GetFrozenFrameSet(data, frozen, 0, static_cast<int>(m_source.Frames()));
    for (const int frame : frozen) m_result.frozen[static_cast<std::size_t>(frame)] = true;
    m_result.freezeSeconds = Seconds() - start;
}

// What is stored are segment and trimap; the matte follows from them, so it is not asked for.
void MatteRun::FreezeFrame(int frame, Cache& cache)
{
    MatteFrameData data{m_source, frame};
    auto type = tessaly::RenderFrameData::OutputType_Trimap;
    if (m_spans->Render(data, cache)) m_spans->RenderHair(data, cache, type);
}

void MatteRun::Save()
{
    const U_UTF8String text = m_spans->SerializeToXMLSnippet();
    std::ofstream file{m_output.TextFile(), std::ios::binary};
    file.write(reinterpret_cast<const char*>(text.data()), static_cast<std::streamsize>(text.size()));
    if (!file.flush()) {
        ReportMatteProblem(
            -1, Text("$$$/QLHost/Matte/CannotWrite=@0 cannot be written", {m_output.TextFile().string()}));
        throw int{U_Err_UNKNOWN};
    }
    m_result.textBytes = text.size();
}

void MatteRun::Restore()
{
    m_spans.reset();
    std::ifstream file{m_output.TextFile(), std::ios::binary};
    const std::string bytes{std::istreambuf_iterator<char>{file}, {}};
    m_spans = std::make_unique<tessaly::SpanManager>(
        ManagerIdentity(), false,
        U_UTF8String{reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()},
        boost::rational<int>{0, 1});
}

void MatteRun::Serve()
{
    const double start = Seconds();
    const std::uint64_t before = m_index->Read().stored;
    RunSpans("$$$/QLHost/Matte/Serving=serving again", m_result.frozen,
             [this](SpanQueue::Turn& turn, Cache& cache) { ServeFrame(turn, cache); });
    m_result.computedWhileServing = m_index->Read().stored - before;
    m_result.serveSeconds = Seconds() - start;
}

void MatteRun::ServeFrame(SpanQueue::Turn& turn, Cache& cache)
{
    const int frame = turn.Frame();
    U_TrySection([&] {
        MattePlanes planes;
        if (!RenderPlanes(frame, cache, planes)) return;
        turn.End();
        std::string why;
        const bool identical = m_output.IsWritten(frame, planes, why);
        if (!identical) ReportMatteProblem(frame, why);
        const std::lock_guard lock{m_mutex};
        ++m_result.served;
        m_result.identical += identical;
    });
}

MatteResult MatteRun::End()
{
    m_spans.reset();
    m_memory.Take(m_source.Cache().Read().purgeRequests);
    m_result.index = m_index->Read();
    m_result.cache = m_source.Cache().Read();
    m_result.purgeRequests = m_result.cache.purgeRequests;
    m_result.interrupted = IsInterrupted();
    return std::move(m_result);
}

}  // namespace qlhost
