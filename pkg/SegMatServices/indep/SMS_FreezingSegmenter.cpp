// A render through the wrapper has three steps: serve the frame from the store if it answers, else let the
// real object render, then keep what it made as the mode wants it. No state.
#include "SMSp_FreezingSegmenter.h"

#include <boost/make_shared.hpp>
#include <utility>

#include "SMSp_FrozenFrames.h"
#include "SMSp_SpanRenderFrameData.h"

namespace tessaly {

FreezingSegmenter::FreezingSegmenter(boost::shared_ptr<Segmenter> object, SpanManager& spans,
                                     bool matter) noexcept
    : wrapped(std::move(object)), manager(&spans), isMatter(matter)
{
}

FreezingSegmenter::~FreezingSegmenter() = default;

// Wanted: a clone shares the real object and never counts as a matter, even the clone of one that does.
Segmenter* FreezingSegmenter::Clone()
{
    return new FreezingSegmenter(wrapped, *manager, false);
}

int FreezingSegmenter::GetValidCachedFrameArray(RenderFrameData& data, boost::shared_array<int>& frames,
                                                int first, int last)
{
    if (wrapped) return wrapped->GetValidCachedFrameArray(data, frames, first, last);
    frames.reset();
    return 0;
}

boost::shared_ptr<std::set<int>> FreezingSegmenter::GetValidCachedFrameSet(RenderFrameData& data)
{
    return wrapped ? wrapped->GetValidCachedFrameSet(data) : boost::make_shared<std::set<int>>();
}

void FreezingSegmenter::Initialize(RenderFrameData& data, Segmenter const* other,
                                   boost::shared_ptr<CrossRenderCache>& cache)
{
    if (wrapped) wrapped->Initialize(data, other, cache);
}

void FreezingSegmenter::ClearRFDPtr()
{
    if (wrapped) wrapped->ClearRFDPtr();
}

void FreezingSegmenter::PurgeAll()
{
    if (wrapped) wrapped->PurgeAll();
}

bool FreezingSegmenter::Render(int frame, Segmenter* segmenter, RenderFrameData& data, Segmenter const* other,
                               boost::shared_ptr<CrossRenderCache>& cache, unsigned char* status,
                               RenderFrameData::OutputType* type, OutputIndex index)
{
    auto& spanData = dynamic_cast<SpanRenderFrameData&>(data);
    const FrameIndex global = spanData.LocalToGlobalFrameIndex(frame);
    if (!spanData.HasInteractiveStroke() && ServeFromStore(spanData, global, index)) return true;
    if (!wrapped) return false;

    const bool rendered = wrapped->Render(frame, segmenter, data, other, cache, status, type, index);
    const bool freezing = manager->renderingMode == SpanManager::RenderingMode_Freezing;
    if (isMatter) {
        if (freezing) KeepMatte(spanData, global);
    } else if (freezing) {
        KeepFrozen(spanData, global, index, rendered);
    } else if (manager->renderingMode == SpanManager::RenderingMode_Normal) {
        KeepRetained(spanData, global, index);
    }
    return rendered;
}

// A matter always renders: in the frozen mode it is its trimap that comes from the store. A frozen frame that
// is not there or damaged has nobody else to ask; a retained one has, and makes way for what is rendered now.
bool FreezingSegmenter::ServeFromStore(RenderFrameData& data, FrameIndex global, OutputIndex index)
{
    if (isMatter) return false;
    if (manager->renderingMode == SpanManager::RenderingMode_Frozen) {
        return manager->FrozenRender(data, global, index);
    }
    if (manager->renderingMode != SpanManager::RenderingMode_Normal || !manager->IsRetained(global))
        return false;
    const auto store = manager->frozenData;
    const StoredFrame stored = FindFrame(store->retainedSegmentation, global);
    if (!stored) return false;
    if (ShowOverInput(data, *store, global, stored, index)) return true;
    store->retainedSegmentation.erase(global);
    return false;
}

void FreezingSegmenter::KeepMatte(RenderFrameData& data, FrameIndex global)
{
    const auto store = manager->frozenData;
    manager->AddViewToMap(data, global, store->frozenTrimaps, data.AllocateOutput(OutputIndex_Trimap));
    manager->SetFrameSuccessfullyFrozen(global);
}

// Wanted: what a render left that did not finish is retained too, and only a finished one is frozen. Both
// entries share the bytes.
void FreezingSegmenter::KeepFrozen(RenderFrameData& data, FrameIndex global, OutputIndex index, bool rendered)
{
    const auto store = manager->frozenData;
    const StoredFrame stored = CompressView(data.AllocateOutput(index));
    const bool isTrimap = index == OutputIndex_Trimap;
    StoreFrame(data, *store, isTrimap ? store->frozenTrimaps : store->retainedSegmentation, global, stored);
    if (!rendered) return;
    if (!isTrimap) StoreFrame(data, *store, store->frozenSegmentation, global, stored);
    manager->SetFrameSuccessfullyFrozen(global);
}

// Wanted: a trimap of the retain range goes to the frozen trimaps, and whether the frame is retained already
// is asked of the segmentations alone.
void FreezingSegmenter::KeepRetained(RenderFrameData& data, FrameIndex global, OutputIndex index)
{
    const auto store = manager->frozenData;
    if (!manager->IsRetained(global) || store->retainedSegmentation.count(global) != 0) return;
    manager->AddViewToMap(data, global,
                          index == OutputIndex_Trimap ? store->frozenTrimaps : store->retainedSegmentation,
                          data.AllocateOutput(index));
}

FreezingSegmenter::FrozenSpanRedirector::FrozenSpanRedirector(SpanManager& spans,
                                                              const SpanManager::SingleSpan& active,
                                                              const SpanManager::SingleSpan& other)
    : m_active(active), m_other(other)
{
    const auto wrap = [&spans](const SpanManager::SingleSpan& span) {
        return SpanManager::SingleSpan{
            span.baseFrame, boost::make_shared<FreezingSegmenter>(span.segmenter, spans, false),
            boost::make_shared<FreezingSegmenter>(span.matter, spans, true), span.duration};
    };
    m_redirectedActive = wrap(m_active);
    m_redirectedOther = wrap(m_other);
}

}  // namespace tessaly
