#include "RenderRun.h"

#include <U.h>
#include <U_BigMutex.h>
#include <U_Memory.h>

#include <atomic>
#include <thread>

#include "FrameReader.h"
#include "Messages.h"
#include "RenderThread.h"
#include "Transform.h"

namespace qlhost {
namespace {

// The purge callback carries no reference of its own, so the cache that answers it stands here, from before the
// render threads start until after they have ended.
std::atomic<FrameCache*> g_purgeable{nullptr};

constexpr std::chrono::milliseconds kWatchEvery{25};

int PurgeFrames(unsigned long long /*blockRequest*/, unsigned long long amount, bool* purgeRecycled)
{
    FrameCache* cache = g_purgeable;
    if (!cache) return 1;
    // Frames dropped here wait in the library's pool of freed blocks, where the next frame of the same size
    // finds them; when all that is left is held, the pool itself may go.
    if (cache->Purge(amount) < amount) *purgeRecycled = true;
    return 0;
}

// The steps have been checked with the other arguments.
Transform TransformOf(const RenderOptions& options)
{
    std::string why;
    return options.transform.empty() ? Transform{} : ParseTransform(options.transform, why).value();
}

class Player {
  public:
    Player(const Clip& clip, const RenderOptions& options, const Rate& rate, FrameTable& table,
           Timeline& timeline)
        : m_clip{clip},
          m_options{options},
          m_rate{rate},
          m_transform{TransformOf(options)},
          m_table{table},
          m_timeline{timeline},
          m_running{static_cast<int>(timeline.Rows().size())},
          m_cache{clip.frames.size()},
          m_frames(clip.frames.size()),
          m_steps{clip.frames.size() * static_cast<std::size_t>(options.passes)}
    {
    }

    /// The body of a render thread.
    void Render(std::size_t thread)
    {
        const U_RenderThreadRegistration registration;
        // Whatever leaves a render by an exception is reported like any failure, and the other threads go on.
        const Err err = U_TrySection([&] {
            const RenderScope render;
            const GatherScope gather{m_options.gatherTitle};
            for (std::size_t step = m_next++; step < m_steps && !IsInterrupted(); step = m_next++) {
                RenderFrame(thread, step);
                ++m_done;
            }
        });
        if (err != 0) ReportEndedRender(err);
        --m_running;
    }

    FrameCache& Cache() { return m_cache; }
    std::size_t Steps() const { return m_steps; }
    std::size_t Done() const { return m_done; }
    std::uint64_t Rendered() const { return m_rendered; }
    bool IsRunning() const { return m_running > 0; }
    std::vector<std::optional<Thumbnail>> TakeFrames() { return std::move(m_frames); }

  private:
    using Work = Timeline::Work;

    void RenderFrame(std::size_t thread, std::size_t step)
    {
        const std::size_t pass = step / m_clip.frames.size(), place = step % m_clip.frames.size();
        // Every second pass plays backwards, so that it begins with the frames that are in the cache.
        const std::size_t index = pass % 2 == 0 ? place : m_clip.frames.size() - 1 - place;
        auto frame = m_cache.Get(index, [&](std::size_t i) { return Decode(thread, i); });
        if (!frame) return;
        Thumbnail small;
        {
            const TimelineScope look{m_timeline, thread, Work::Look};
            if (!m_transform.empty()) frame = Redraw(*frame, m_transform);
            if (!frame) return;
            small = Reduce(*frame);
        }
        WriteDown(thread, pass, index, small.luma);
        ++m_rendered;
        const std::lock_guard lock{m_mutex};
        if (!m_frames[index]) m_frames[index] = std::move(small);
    }

    FrameCache::FramePtr Decode(std::size_t thread, std::size_t index)
    {
        std::shared_ptr<Frame> frame;
        std::string why;
        const auto room = [&frame](const PngSize& size) {
            frame = Frame::Allocate(size);
            return frame ? frame->Pixels() : nullptr;
        };
        std::shared_ptr<const std::vector<std::uint8_t>> bytes;
        {
            const TimelineScope read{m_timeline, thread, Work::Read};
            bytes = m_reader.Read(m_clip.frames[index], why);
        }
        const TimelineScope decode{m_timeline, thread, Work::Decode};
        if (bytes && ReadPng(*bytes, room, why)) return frame;
        if (!why.empty()) ReportUnreadableFrame(m_clip.frames[index], why, !m_options.gatherTitle.empty());
        return nullptr;
    }

    void WriteDown(std::size_t thread, std::size_t pass, std::size_t index, double luma)
    {
        const std::string timecode = Timecode(m_rate, static_cast<std::int64_t>(index));
        std::optional<TimelineScope> wait;
        wait.emplace(m_timeline, thread, Work::WaitForWriter);
        const U::BigMutexLock lock{{}};
        wait.reset();
        const TimelineScope write{m_timeline, thread, Work::Write};
        m_table.Add(pass, index, timecode, luma);
    }

    const Clip& m_clip;
    const RenderOptions& m_options;
    const Rate& m_rate;
    const Transform m_transform;  // empty: none
    FrameTable& m_table;          // under the big mutex
    Timeline& m_timeline;
    std::atomic<int> m_running;
    FrameReader m_reader;
    FrameCache m_cache;
    std::mutex m_mutex;  // guards m_frames
    std::vector<std::optional<Thumbnail>> m_frames;
    const std::size_t m_steps;
    std::atomic<std::size_t> m_next{0};
    std::atomic<std::size_t> m_done{0};
    std::atomic<std::uint64_t> m_rendered{0};
};

}  // namespace

RunResult PlayClip(const Clip& clip, const RenderOptions& options, const Rate& rate, FrameTable& table,
                   MemoryHistory& memory, Timeline& timeline)
{
    const InterruptScope interrupt;
    Player player{clip, options, rate, table, timeline};
    g_purgeable = &player.Cache();
    U_SetPurgeRequestCallback(&PurgeFrames);
    U_AllowPurging();

    const auto start = std::chrono::steady_clock::now();
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < timeline.Rows().size(); ++i)
        threads.emplace_back([&player, i] { player.Render(i); });
    {
        Progress progress{options.quiet};
        while (player.IsRunning()) {
            memory.Take(player.Cache().Read().purgeRequests);
            progress.Show(ProgressText(player.Done(), player.Steps(), memory.Samples().back().inUse));
            WatchKeys();
            std::this_thread::sleep_for(kWatchEvery);
        }
    }
    for (auto& thread : threads) thread.join();
    memory.Take(player.Cache().Read().purgeRequests);
    U_SetPurgeRequestCallback(nullptr);
    g_purgeable = nullptr;

    RunResult result;
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    result.cache = player.Cache().Read();
    result.rendered = player.Rendered();
    result.interrupted = IsInterrupted();
    result.frames = player.TakeFrames();
    return result;
}

}  // namespace qlhost
