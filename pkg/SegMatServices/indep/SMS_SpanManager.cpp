// Manual frames and the spans around them: which span covers a frame, and how far one may reach.
//
// Frames and durations are added in 64 bits: a frame may be negative and a duration is unsigned, and neither
// may wrap because it met the other. No state beyond the objects.
#include "SMS_SpanManager.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <limits>

#include "Up_Err.h"

namespace tessaly {
namespace {

constexpr char kSource[] = "SegMatServices/indep/SMS_SpanManager";

FrameCount DurationOf(const SpanManager::SpanPair& pair, SpanManager::SpanDirection direction)
{
    return direction == SpanManager::SpanDirection_Forward ? pair.forwardDuration : pair.backwardDuration;
}

// The first frame behind a forward span, and the last before a backward one.
int64_t EndOf(const SpanManager::SpanMap::value_type& entry)
{
    return int64_t{entry.first} + entry.second.forwardDuration;
}
int64_t FrontOf(const SpanManager::SpanMap::value_type& entry)
{
    return int64_t{entry.first} - entry.second.backwardDuration;
}

// The last stop at or before a frame; the first one if all are behind it. Written so that no step waits for a
// guess of the processor: which half is next is as good as random.
template <class Stop>
const Stop* LastUpTo(const Stop* first, std::size_t count, FrameIndex frame)
{
    while (count > 1) {
        const std::size_t half = count / 2;
        first += first[half].frame <= frame ? half : 0;
        count -= half;
    }
    return first;
}

// Wanted: a negative need turns into a large count, as the comparison is one of unsigned numbers. It comes up
// where the neighbour's span already reaches over the base frame; hosts see it and clip it. What is too long
// for a count is held at the longest.
FrameCount AsCount(int64_t need)
{
    return static_cast<FrameCount>(std::min<int64_t>(need, std::numeric_limits<FrameCount>::max()));
}

}  // namespace

// --- Life --------------------------------------------------------------------------------------------------

SpanManager::SpanManager(const zvkcore::utility::Guid& identity, bool isName, const U_UTF8String& text,
                         const boost::rational<int>& duration)
    : guid(identity)
{
    Init(duration);
    if (isName) {
        segmenterName = text;
    } else {
        ReadText(text);
    }
}

SpanManager::~SpanManager() = default;

void SpanManager::Init(const boost::rational<int>& duration)
{
    frozenData.reset(new FrozenResultCache);
    retainActive = false;
    renderingMode = RenderingMode_Normal;
    frameDuration = duration;
}

void SpanManager::SetFrameDuration(const boost::rational<int>& duration)
{
    frameDuration = duration;
}

void SpanManager::RetainSegmentationRange(FrameIndex start, FrameIndex end)
{
    retainActive = true;
    retainStart = start;
    retainEnd = end;
}

// --- Manual frames -----------------------------------------------------------------------------------------

// Wanted: the objects are numbered by how many frames there are now, not by the rank of this one, until all
// are made anew. Caches are keyed by the identities that come of it.
SpanManager::SpanPair SpanManager::MakePair(FrameCount backward, FrameCount forward)
{
    SpanPair pair;
    CreateBothSegmenters(static_cast<int32_t>(i_spans_map.size()), &pair);
    pair.backwardDuration = backward;
    pair.forwardDuration = forward;
    return pair;
}

void SpanManager::SetManualFrame(FrameIndex frame, FrameCount backward, FrameCount forward)
{
    const auto [entry, added] = i_spans_map.try_emplace(frame, MakePair(backward, forward));
    if (!added) return;
    try {
        m_stops.insert(std::ranges::lower_bound(m_stops, frame, {}, &Stop::frame), {frame, entry});
    } catch (...) {
        i_spans_map.erase(entry);
        throw;
    }
}

void SpanManager::ClearManualFrame(FrameIndex frame)
{
    const auto entry = i_spans_map.find(frame);
    if (entry == i_spans_map.end()) return;
    m_stops.erase(std::ranges::lower_bound(m_stops, frame, {}, &Stop::frame));
    i_spans_map.erase(entry);
}

// For many frames at once, which in their own order would be moved again and again.
void SpanManager::IndexManualFrames()
{
    m_stops.clear();
    m_stops.reserve(i_spans_map.size());
    for (auto entry = i_spans_map.begin(); entry != i_spans_map.end(); ++entry) {
        m_stops.push_back({entry->first, entry});
    }
}

bool SpanManager::IsManualFrame(FrameIndex frame) const
{
    return i_spans_map.contains(frame);
}

// Wanted: only forward spans count here, unlike in `GetActiveSpanRef`. A manual frame without a forward span
// has no answer even if it has a backward one, and nobody looks at the manual frame behind.
bool SpanManager::GetManualFrame(FrameIndex frame, FrameCount& backward, FrameCount& forward) const
{
    const auto covering = GetActiveSpanRef(frame, SpanDirection_Forward);
    const bool found = covering != i_spans_map.end();
    backward = found ? covering->second.backwardDuration : 0;
    forward = found ? covering->second.forwardDuration : 0;
    return found;
}

std::vector<SpanManager::SpanInfo> SpanManager::GetSpanInfo() const
{
    std::vector<SpanInfo> info;
    info.reserve(i_spans_map.size());
    for (const auto& [frame, pair] : i_spans_map) {
        info.push_back({frame, pair.forwardDuration, pair.backwardDuration});
    }
    return info;
}

// --- Spans -------------------------------------------------------------------------------------------------

// Wanted: on a manual frame its own duration decides, though a neighbour's span may reach it; and only the
// nearest manual frame is asked, though a longer span may reach across it.
SpanManager::SpanMap::const_iterator SpanManager::GetActiveSpanRef(FrameIndex frame,
                                                                   SpanDirection direction) const
{
    const SpanMap::const_iterator none = i_spans_map.end();
    if (m_stops.empty()) return none;
    const Stop* const stop = LastUpTo(m_stops.data(), m_stops.size(), frame);
    if (stop->frame == frame) return DurationOf(stop->entry->second, direction) != 0 ? stop->entry : none;
    if (direction == SpanDirection_Forward) {
        return stop->frame < frame && EndOf(*stop->entry) > frame ? stop->entry : none;
    }
    const Stop* const next = stop->frame < frame ? stop + 1 : stop;
    if (next == m_stops.data() + m_stops.size()) return none;
    return FrontOf(*next->entry) < frame ? next->entry : none;
}

bool SpanManager::IsActiveFrame(FrameIndex frame, SpanDirection direction) const
{
    return GetActiveSpanRef(frame, direction) != i_spans_map.end();
}

bool SpanManager::GetActiveSpan(FrameIndex frame, SpanDirection direction, SingleSpan* span) const
{
    const auto covering = GetActiveSpanRef(frame, direction);
    const bool found = covering != i_spans_map.end();
    if (span == nullptr) return found;
    if (!found) {
        *span = SingleSpan{};
    } else if (const auto& [base, pair] = *covering; direction == SpanDirection_Forward) {
        *span = {base, pair.forwardSegmenter, pair.forwardMatter, pair.forwardDuration};
    } else {
        *span = {base, pair.backwardSegmenter, pair.backwardMatter, pair.backwardDuration};
    }
    return found;
}

FrameIndex SpanManager::GetActiveManualFrameIndex(FrameIndex frame, SpanDirection direction) const
{
    const auto covering = GetActiveSpanRef(frame, direction);
    if (covering != i_spans_map.end()) return covering->first;
    Up_SimpleAssert(kSource, __LINE__,
                    "FrameIndex tessaly::SpanManager::GetActiveManualFrameIndex(FrameIndex, SpanDirection)",
                    "IsActiveFrame(frame, dir)", "GetActiveManualFrameIndex called with non-active frame");
    return 0;
}

FrameCount SpanManager::SetSpanDuration(FrameIndex frame, SpanDirection direction, FrameCount duration)
{
    const auto covering = GetActiveSpanRef(frame, direction);
    if (covering == i_spans_map.end()) return 0;
    SpanPair& pair = i_spans_map.find(covering->first)->second;
    return std::exchange(direction == SpanDirection_Forward ? pair.forwardDuration : pair.backwardDuration,
                         duration);
}

FrameCount SpanManager::GetSpanDuration(FrameIndex frame, SpanDirection direction) const
{
    const auto covering = GetActiveSpanRef(frame, direction);
    return covering == i_spans_map.end() ? 0 : DurationOf(covering->second, direction);
}

FrameCount SpanManager::CalcActiveRangeExtension(FrameIndex frame, SpanDirection direction,
                                                 FrameCount extension) const
{
    const auto covering = GetActiveSpanRef(frame, direction);
    if (covering == i_spans_map.end()) {
        Up_SimpleAssert(
            kSource, __LINE__,
            "FrameCount tessaly::SpanManager::CalcActiveRangeExtension(FrameIndex, SpanDirection, "
            "FrameCount)",
            "IsActiveFrame(frame, dir)", "");
        return 1;
    }
    // A neighbour without an opposite span is itself covered: its end is one before its frame, its front one
    // behind.
    const int64_t base = covering->first;
    int64_t need;
    if (direction == SpanDirection_Forward) {
        int64_t target = int64_t{frame} + extension;
        const auto next = std::next(covering);
        if (next != i_spans_map.end()) target = std::min(target, FrontOf(*next) + 1);
        need = target - base;
    } else {
        int64_t target = int64_t{frame} - extension;
        if (covering != i_spans_map.begin()) target = std::max(target, EndOf(*std::prev(covering)) - 1);
        need = base - target;
    }
    return std::max(DurationOf(covering->second, direction), AsCount(need));
}

void SpanManager::DumpSpanDataToConsole() const
{
    std::puts("  SpanManager i_spans_map");
    for (const auto& [frame, pair] : i_spans_map) {
        std::printf("   base frame @ %d, backward duration %d, forward duration %d\n", frame,
                    static_cast<int>(pair.backwardDuration), static_cast<int>(pair.forwardDuration));
    }
}

}  // namespace tessaly
