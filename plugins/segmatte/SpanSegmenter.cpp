#include "SpanSegmenter.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstring>
#include <new>

#include "Pixels.h"

namespace segmatte {
namespace {

using namespace zvkcore::string::literals;
using zvkcore::utility::Guid;

/// Pixels in the host's memory, which counts them and asks its caches for room when they become many.
template <class T>
class HostPixels {
  public:
    explicit HostPixels(const Plane<T>& plane)
        : m_width{plane.width}, m_height{plane.height}, m_bytes{plane.pixels.size() * sizeof(T)}
    {
        if (m_bytes == 0) return;
        m_data = tessaly::Allocate(m_bytes);
        if (!m_data) throw std::bad_alloc{};
        std::memcpy(m_data, plane.pixels.data(), m_bytes);
    }
    ~HostPixels()
    {
        if (m_data) tessaly::Dispose(m_data, m_bytes);
    }
    HostPixels(const HostPixels&) = delete;
    HostPixels& operator=(const HostPixels&) = delete;

    Plane<T> Copy() const
    {
        Plane<T> plane{m_width, m_height};
        if (m_data) std::memcpy(plane.pixels.data(), m_data, m_bytes);
        return plane;
    }

  private:
    int m_width, m_height;
    std::size_t m_bytes;
    void* m_data = nullptr;
};

struct SegmentValue : tessaly::Value {
    SegmentValue(const Segment& segment, const Image& coarse)
        : mask{segment.mask}, image{coarse}, models{segment.models}
    {
    }
    Segment ToSegment() const { return {mask.Copy(), models}; }

    HostPixels<std::uint8_t> mask;
    HostPixels<Colour> image;
    std::shared_ptr<const Models> models;
};

struct LastMask : tessaly::CrossRenderCache {
    Guid state;
    int frame = 0;
    Mask mask;
};

Image InputAt(int frame, tessaly::RenderFrameData& data)
{
    const auto receipt = data.CheckoutInputImage(frame);
    return receipt ? ImageOf(receipt->GetView()) : Image{};
}

Strokes StrokesAt(int frame, tessaly::RenderFrameData& data, Size size)
{
    return {StrokesOf(data.CheckoutForegroundStrokesImage(frame), size),
            StrokesOf(data.CheckoutBackgroundStrokesImage(frame), size)};
}

// Adds the stroke that the user is drawing, which wins over those that it crosses.
Strokes WithDrawn(Strokes strokes, tessaly::RenderFrameData& data, Size size)
{
    const bool ground = data.GetRenderingParamBagValue("Segmatte.InteractiveStroke") == "background"_utf8;
    const Mask drawn = StrokesOf(data.GetInteractiveStrokeBuffer(), size);
    for (std::size_t i = 0; i < drawn.pixels.size(); ++i) {
        if (!drawn.pixels[i]) continue;
        strokes.subject.pixels[i] = !ground;
        strokes.ground.pixels[i] = ground;
    }
    return strokes;
}

// The segment of a frame: carried on from the former frame's value, or found by the strokes alone.
Segment SegmentOf(const Image& image, const Strokes& strokes, const boost::shared_ptr<tessaly::Value>& value)
{
    const auto former = boost::dynamic_pointer_cast<SegmentValue>(value);
    if (!former) return SegmentStroked(image, strokes);
    const Image formerImage = former->image.Copy();
    if (formerImage.width != image.width || formerImage.height != image.height)
        return SegmentStroked(image, strokes);
    return Propagate(former->ToSegment(), formerImage, image, strokes);
}

bool WriteMask(Mask mask, const tessaly::AnyImageView& view)
{
    for (auto& pixel : mask.pixels) pixel = pixel ? 255 : 0;
    return Write(mask, view);
}

Guid Mix(std::initializer_list<Guid> guids, std::uint32_t number)
{
    std::vector<std::uint8_t> bytes;
    for (const Guid& guid : guids)
        bytes.insert(bytes.end(), guid.GuidToBytes(), guid.GuidToBytes() + Guid::kSize);
    const auto* raw = reinterpret_cast<const std::uint8_t*>(&number);
    bytes.insert(bytes.end(), raw, raw + sizeof number);
    return Guid::CreateFromBytes(bytes.data(), bytes.size());
}

}  // namespace

/// One step outward: strokes at frame 0, else from the former frame's value. A frame without an input image
/// hands on what it got.
class SpanSegmenter::Step : public tessaly::Computator {
  public:
    Step(int frame, tessaly::RenderFrameData& data, boost::shared_ptr<tessaly::Value> former)
        : m_frame{frame}, m_data{data}, m_former{std::move(former)}
    {
    }
    long long GetCacheKey() override { return m_frame; }
    boost::shared_ptr<tessaly::Value> Compute() override
    {
        m_computed = true;
        const Image full = InputAt(m_frame, m_data);
        if (full.pixels.empty()) return m_former;
        const Size size = FitWithin({full.width, full.height}, kCoarse);
        const Image image = Reduce(full, size);
        const Segment segment = SegmentOf(image, StrokesAt(m_frame, m_data, size), m_former);
        return boost::make_shared<SegmentValue>(segment, image);
    }
    bool Computed() const { return m_computed; }

  private:
    const int m_frame;
    tessaly::RenderFrameData& m_data;
    const boost::shared_ptr<tessaly::Value> m_former;
    bool m_computed = false;
};

tessaly::Segmenter* SpanSegmenter::Clone()
{
    return new SpanSegmenter{m_identity};
}

boost::shared_ptr<std::set<int>> SpanSegmenter::GetValidCachedFrameSet(tessaly::RenderFrameData&)
{
    auto valid = boost::make_shared<std::set<int>>();
    const std::lock_guard lock{m_mutex};
    for (const auto& [frame, cached] : m_cached) {
        if (!cached.value.expired()) valid->insert(frame);
    }
    return valid;
}

int SpanSegmenter::GetValidCachedFrameArray(tessaly::RenderFrameData& data, boost::shared_array<int>& frames,
                                            int first, int last)
{
    std::vector<int> valid;
    for (const int frame : *GetValidCachedFrameSet(data)) {
        if (frame >= first && frame <= last && Find(frame, StateAt(frame, data))) valid.push_back(frame);
    }
    frames.reset(valid.empty() ? nullptr : new int[valid.size()]);
    std::copy(valid.begin(), valid.end(), frames.get());
    return static_cast<int>(valid.size());
}

bool SpanSegmenter::Render(int frame, tessaly::Segmenter*, tessaly::RenderFrameData& data,
                           tessaly::Segmenter const*, boost::shared_ptr<tessaly::CrossRenderCache>& cache,
                           unsigned char* status, tessaly::RenderFrameData::OutputType*,
                           tessaly::OutputIndex index)
{
    if (frame < 0) return false;
    if (data.HasInteractiveStroke() && frame == data.GetCurrentFrame())
        return RenderDrawn(frame, data, status, index);
    const Guid state = StateAt(frame, data);
    auto last = boost::dynamic_pointer_cast<LastMask>(cache);
    const bool atHand = last && last->state == state && last->frame == frame;
    bool computed = false;
    if (!atHand) {
        const auto value = boost::dynamic_pointer_cast<SegmentValue>(Reach(frame, data, computed));
        if (!value) return false;
        const Image image = InputAt(frame, data);
        if (image.pixels.empty()) return false;
        last = boost::make_shared<LastMask>();
        last->state = state;
        last->frame = frame;
        last->mask = RefineEdge(value->ToSegment(), image);
        cache = last;
    }
    if (status) *status = computed ? 0 : 1;
    return WriteMask(last->mask, data.AllocateOutput(index));
}

bool SpanSegmenter::RenderDrawn(int frame, tessaly::RenderFrameData& data, unsigned char* status,
                                tessaly::OutputIndex index)
{
    bool computed = false;
    const auto former = frame > 0 ? Reach(frame - 1, data, computed) : nullptr;
    const Image image = InputAt(frame, data);
    if (image.pixels.empty() || data.AbortRenderCheck()) return false;
    const Size full{image.width, image.height}, size = FitWithin(full, kCoarse);
    const Segment segment =
        SegmentOf(Reduce(image, size), WithDrawn(StrokesAt(frame, data, size), data, size), former);
    const Mask none{full.width, full.height};
    const Strokes drawn = WithDrawn({none, none}, data, full);
    if (status) *status = 0;
    return WriteMask(RefineEdge(segment, image, &drawn), data.AllocateOutput(index));
}

// Frame data is handed to every call that needs it, so there is nothing to keep and to forget.
void SpanSegmenter::Initialize(tessaly::RenderFrameData&, tessaly::Segmenter const*,
                               boost::shared_ptr<tessaly::CrossRenderCache>&)
{
}

void SpanSegmenter::ClearRFDPtr() {}

void SpanSegmenter::PurgeAll()
{
    const std::lock_guard lock{m_mutex};
    ++m_generation;
    m_cached.clear();
}

// The identity of everything that a frame's result depends on: the parameters of all frames up to it.
Guid SpanSegmenter::StateAt(int frame, tessaly::RenderFrameData& data) const
{
    const Guid parameters = data.GetCurrentParamState(0, static_cast<unsigned>(frame) + 1);
    const std::lock_guard lock{m_mutex};
    return Mix({m_identity, parameters}, m_generation);
}

boost::shared_ptr<tessaly::Value> SpanSegmenter::Find(int frame, const Guid& state) const
{
    const std::lock_guard lock{m_mutex};
    const auto found = m_cached.find(frame);
    return found != m_cached.end() && found->second.state == state ? found->second.value.lock() : nullptr;
}

// The global index holds its lock while a value is computed. So each frame is a computation of its own, and
// the way goes up from the nearest frame that is still there instead of down by recursion.
boost::shared_ptr<tessaly::Value> SpanSegmenter::Reach(int frame, tessaly::RenderFrameData& data,
                                                       bool& computed)
{
    boost::shared_ptr<tessaly::Value> value;
    int next = frame;
    while (next > 0 && !(value = Find(next - 1, StateAt(next - 1, data)))) --next;
    for (; next <= frame; ++next) {
        if (data.AbortRenderCheck()) return {};
        const Guid state = StateAt(next, data);
        Step step{next, data, value};
        value = tessaly::CheckoutOrRender(state, step);
        if (!value) return {};
        computed = computed || step.Computed();
        data.RenderProgressUpdate(static_cast<float>(next + 1) / static_cast<float>(frame + 2));
        const std::lock_guard lock{m_mutex};
        m_cached[next] = {state, value};
    }
    return value;
}

}  // namespace segmatte
