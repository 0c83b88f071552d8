// Which span renders a frame, and the road of one render through it. The span's objects are copies that the
// render shares, and everything else it needs stands on its stack.
//
// State: the answer of one feature flag, kept for the life of the process.
#include <array>
#include <boost/make_shared.hpp>
#include <limits>

#include "SMSp_FreezingSegmenter.h"
#include "SMSp_FrozenFrames.h"
#include "SMSp_SpanIdentity.h"
#include "SMSp_SpanRenderFrameData.h"
#include "zvkappsupport/feature/Feature.h"

namespace tessaly {
namespace {

constexpr int32_t kForwardStep = 1;
constexpr int32_t kBackwardStep = -1;

constexpr SpanManager::SpanDirection DirectionOf(int32_t step)
{
    return step == kForwardStep ? SpanManager::SpanDirection_Forward : SpanManager::SpanDirection_Backward;
}

// The span that answers for a frame, and the other one of the same manual frame. Without a span, step is 0.
struct Choice {
    SpanManager::SingleSpan active;
    SpanManager::SingleSpan other;
    int32_t step = 0;
};

Choice ChooseSpan(const SpanManager& spans, FrameIndex frame)
{
    Choice choice;
    for (const int32_t step : {kForwardStep, kBackwardStep}) {
        if (!spans.GetActiveSpan(frame, DirectionOf(step), &choice.active)) continue;
        choice.step = step;
        spans.GetActiveSpan(choice.active.baseFrame, DirectionOf(-step), &choice.other);
        return choice;
    }
    return choice;
}

int LocalFrame(FrameIndex frame, FrameIndex base, int32_t step)
{
    return CutToFrame((int64_t{frame} - base) * step);
}

// Initialises, renders and lets go of the frame data, whatever is thrown on the way: the data ends with this
// render, and the segmenter lives on.
void RenderSegmenter(Segmenter& segmenter, const Segmenter* other, int local, RenderFrameData& data,
                     boost::shared_ptr<CrossRenderCache>& cache)
{
    try {
        segmenter.Initialize(data, other, cache);
        unsigned char status = 0;
        segmenter.Render(local, nullptr, data, other, cache, &status, nullptr, OutputIndex_Segmentation);
    } catch (...) {
        try {
            segmenter.ClearRFDPtr();
        } catch (...) {
            // The first failure is the one to tell.
        }
        throw;
    }
    segmenter.ClearRFDPtr();
}

// Replaces a set by what a full check finds.
void CheckInFull(Segmenter& segmenter, RenderFrameData& data, std::set<int>& valid)
{
    boost::shared_array<int> frames;
    const int count = segmenter.GetValidCachedFrameArray(data, frames, 0, std::numeric_limits<int>::max());
    valid.clear();
    if (frames && count > 0) valid.insert(frames.get(), frames.get() + count);
}

}  // namespace

bool IsFastHBCacheMarkingsEnabled()
{
    static const bool enabled = zvkappsupport::feature::IsFeatureEnabled("HB.OptimizedCacheMarks", true);
    return enabled;
}

bool SpanManager::Render(RenderFrameData& data, boost::shared_ptr<CrossRenderCache>& cache)
{
    return AskSpansToRender(data, cache);
}

bool SpanManager::RenderHair(RenderFrameData& data, boost::shared_ptr<CrossRenderCache>& cache,
                             RenderFrameData::OutputType& type)
{
    return AskSpansToRenderHair(data, cache, type);
}

bool SpanManager::AskSpansToRender(RenderFrameData& data, boost::shared_ptr<CrossRenderCache>& cache)
{
    const FrameIndex frame = data.GetCurrentFrame();
    const Choice choice = ChooseSpan(*this, frame);
    if (choice.step != 0) {
        SpanRenderFrameData spanData(choice.active.baseFrame, choice.step, data, *this);
        const FreezingSegmenter::FrozenSpanRedirector redirector(*this, choice.active, choice.other);
        RenderSegmenter(*redirector.Active().segmenter, redirector.Other().segmenter.get(),
                        LocalFrame(frame, choice.active.baseFrame, choice.step), spanData, cache);
        return true;
    }
    if (!data.HasInteractiveStroke()) return false;

    // The stroke has no span yet: a segmenter for this one render shows it, and nothing of it is stored.
    SpanRenderFrameData spanData(frame, kForwardStep, data, *this);
    const boost::shared_ptr<Segmenter> temporary(
        GetCreator<Segmenter>(segmenterName, false)->Create(SpanIdentity("temp", guid, 0)));
    if (!temporary) return false;
    RenderSegmenter(*temporary, temporary.get(), 0, spanData, cache);
    return true;
}

bool SpanManager::AskSpansToRenderHair(RenderFrameData& data, boost::shared_ptr<CrossRenderCache>& cache,
                                       RenderFrameData::OutputType& type)
{
    const FrameIndex frame = data.GetCurrentFrame();
    const Choice choice = ChooseSpan(*this, frame);
    if (choice.step == 0) return false;
    SpanRenderFrameData spanData(choice.active.baseFrame, choice.step, data, *this);
    const FreezingSegmenter::FrozenSpanRedirector redirector(*this, choice.active, choice.other);
    // Wanted: the matter is not initialised, and is not told that the frame data goes.
    return redirector.Active().matter->Render(
        LocalFrame(frame, choice.active.baseFrame, choice.step), redirector.Active().segmenter.get(),
        spanData, redirector.Other().segmenter.get(), cache, nullptr, &type, OutputIndex_Segmentation);
}

void SpanManager::GetValidCachedFrameSet(bool force, RenderFrameData& data, std::set<int>& frames, int, int)
{
    const bool inFull = force || !IsFastHBCacheMarkingsEnabled();
    for (const auto& [base, pair] : i_spans_map) {
        struct Side {
            SpanRenderFrameData data;
            boost::shared_ptr<Segmenter> segmenter;
            FrameCount duration;
            int32_t step;
            boost::shared_ptr<std::set<int>> valid;
        };
        std::array<Side, 2> sides{Side{{base, kBackwardStep, data, *this},
                                       pair.backwardSegmenter,
                                       pair.backwardDuration,
                                       kBackwardStep,
                                       {}},
                                  Side{{base, kForwardStep, data, *this},
                                       pair.forwardSegmenter,
                                       pair.forwardDuration,
                                       kForwardStep,
                                       {}}};
        for (Side& side : sides) {
            if (side.segmenter) side.valid = side.segmenter->GetValidCachedFrameSet(side.data);
        }
        for (Side& side : sides) {
            if (!side.segmenter) continue;
            if (!side.valid) side.valid = boost::make_shared<std::set<int>>();
            if (inFull) CheckInFull(*side.segmenter, side.data, *side.valid);
            for (const int local : *side.valid) {
                if (local < 0 || local >= int64_t{side.duration}) continue;
                frames.insert(CutToFrame(base + int64_t{side.step} * local));
            }
        }
    }
}

}  // namespace tessaly
