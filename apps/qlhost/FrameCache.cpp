#include "FrameCache.h"

#include <U_Memory.h>

namespace qlhost {
namespace {

constexpr std::uint32_t kFrameAllocation = 0x00010001;  // where this host's reports say they come from

}  // namespace

std::shared_ptr<Frame> Frame::Allocate(const PngSize& size)
{
    auto* pixels = static_cast<std::uint8_t*>(U_AllocateRecycledPtr(kFrameAllocation, "frame", size.Bytes()));
    if (!pixels) return nullptr;
    return std::shared_ptr<Frame>{new Frame{size, pixels}};
}

Frame::~Frame()
{
    U_FreeRecycledPtr(m_pixels);
}

FrameCache::FramePtr FrameCache::Get(std::size_t index, const Load& load)
{
    std::unique_lock lock{m_mutex};
    Entry& entry = m_entries.at(index);
    m_loaded.wait(lock, [&] { return entry.state != State::Loading; });
    if (entry.state == State::Ready) {
        ++m_counts.hits;
        m_recent.splice(m_recent.begin(), m_recent, entry.place);
        return entry.frame;
    }
    if (entry.state == State::Failed) return nullptr;
    entry.state = State::Loading;
    lock.unlock();

    FramePtr frame;
    try {
        frame = load(index);
    } catch (...) {
        Finish(index, nullptr);
        throw;
    }
    return Finish(index, std::move(frame));
}

FrameCache::FramePtr FrameCache::Finish(std::size_t index, FramePtr frame)
{
    {
        const std::lock_guard lock{m_mutex};
        Entry& entry = m_entries[index];
        entry.state = frame ? State::Ready : State::Failed;
        ++(frame ? m_counts.decoded : m_counts.failed);
        if (frame) {
            entry.frame = frame;
            entry.place = m_recent.insert(m_recent.begin(), index);
        }
    }
    m_loaded.notify_all();
    return frame;
}

std::uint64_t FrameCache::Purge(std::uint64_t bytes)
{
    std::vector<FramePtr> dropped;  // freed behind the lock
    std::uint64_t freed = 0;
    const std::lock_guard lock{m_mutex};
    ++m_counts.purgeRequests;
    for (auto place = m_recent.end(); place != m_recent.begin() && freed < bytes;) {
        --place;
        Entry& entry = m_entries[*place];
        if (entry.frame.use_count() > 1) continue;
        freed += entry.frame->Size().Bytes();
        dropped.push_back(std::move(entry.frame));
        entry.state = State::Empty;
        place = m_recent.erase(place);
    }
    m_counts.dropped += dropped.size();
    m_counts.droppedBytes += freed;
    return freed;
}

void FrameCache::Clear()
{
    const std::lock_guard lock{m_mutex};
    m_recent.clear();
    for (Entry& entry : m_entries) entry = {};
}

FrameCache::Counts FrameCache::Read() const
{
    const std::lock_guard lock{m_mutex};
    return m_counts;
}

}  // namespace qlhost
