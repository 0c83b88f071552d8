#include "SpanQueue.h"

#include <algorithm>
#include <map>

namespace qlhost {

SpanQueue::SpanQueue(const tessaly::SpanManager& spans, int frames, const std::vector<bool>& wanted)
{
    using Manager = tessaly::SpanManager;
    std::map<std::pair<int, Manager::SpanDirection>, std::vector<int>> found;
    for (int frame = 0; frame < frames; ++frame) {
        if (!wanted[static_cast<std::size_t>(frame)]) continue;
        // As a render chooses: forward first.
        for (const auto direction : {Manager::SpanDirection_Forward, Manager::SpanDirection_Backward}) {
            if (!spans.IsActiveFrame(frame, direction)) continue;
            found[{spans.GetActiveManualFrameIndex(frame, direction), direction}].push_back(frame);
            ++m_count;
            break;
        }
    }
    for (auto& [key, list] : found) {
        if (key.second == Manager::SpanDirection_Backward) std::reverse(list.begin(), list.end());
        m_spans.push_back({std::move(list)});
    }
}

std::optional<SpanQueue::Turn> SpanQueue::Take()
{
    std::unique_lock lock{m_mutex};
    for (;;) {
        // The span with most left goes first, so that the threads end together.
        std::size_t most = 0, chosen = m_spans.size();
        bool left = false;
        for (std::size_t i = 0; i < m_spans.size(); ++i) {
            const std::size_t rest = m_spans[i].frames.size() - m_spans[i].next;
            left = left || rest > 0;
            if (m_spans[i].taken || rest <= most) continue;
            most = rest;
            chosen = i;
        }
        if (chosen < m_spans.size()) {
            m_spans[chosen].taken = true;
            return std::optional<Turn>{std::in_place, *this, chosen,
                                       m_spans[chosen].frames[m_spans[chosen].next++]};
        }
        if (!left) return std::nullopt;
        m_freed.wait(lock);
    }
}

void SpanQueue::Turn::End()
{
    if (!m_queue) return;
    {
        const std::lock_guard lock{m_queue->m_mutex};
        m_queue->m_spans[m_span].taken = false;
    }
    m_queue->m_freed.notify_all();
    m_queue = nullptr;
}

}  // namespace qlhost
