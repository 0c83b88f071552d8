// What a span's segmenter and matter are wrapped in for the length of a render: it serves stored frames in
// their place, and stores what they make.
#ifndef SMSP_FREEZINGSEGMENTER_H
#define SMSP_FREEZINGSEGMENTER_H

#include "SMS_SpanManager.h"

namespace tessaly {

class FreezingSegmenter final : public Matter {
  public:
    class FrozenSpanRedirector;

    // object  the real one; if it is empty the wrapper renders nothing and stores nothing
    FreezingSegmenter(boost::shared_ptr<Segmenter> object, SpanManager& spans, bool matter) noexcept;
    ~FreezingSegmenter() override;

    Segmenter* Clone() override;
    int GetValidCachedFrameArray(RenderFrameData& data, boost::shared_array<int>& frames, int first,
                                 int last) override;
    boost::shared_ptr<std::set<int>> GetValidCachedFrameSet(RenderFrameData& data) override;

    // Throws std::bad_cast unless `data` is a SpanRenderFrameData, since only that knows the frames of the
    // clip.
    bool Render(int frame, Segmenter* segmenter, RenderFrameData& data, Segmenter const* other,
                boost::shared_ptr<CrossRenderCache>& cache, unsigned char* status,
                RenderFrameData::OutputType* type, OutputIndex index) override;
    void Initialize(RenderFrameData& data, Segmenter const* other,
                    boost::shared_ptr<CrossRenderCache>& cache) override;
    void ClearRFDPtr() override;
    void PurgeAll() override;

  private:
    bool ServeFromStore(RenderFrameData& data, FrameIndex global, OutputIndex index);
    void KeepMatte(RenderFrameData& data, FrameIndex global);
    void KeepFrozen(RenderFrameData& data, FrameIndex global, OutputIndex index, bool rendered);
    void KeepRetained(RenderFrameData& data, FrameIndex global, OutputIndex index);

    boost::shared_ptr<Segmenter> wrapped;
    SpanManager* manager;
    bool isMatter;
};

// Both spans of a manual frame, as they are and with their objects wrapped. Lives for one render.
class FreezingSegmenter::FrozenSpanRedirector {
  public:
    FrozenSpanRedirector(SpanManager& spans, const SpanManager::SingleSpan& active,
                         const SpanManager::SingleSpan& other);

    // The wrapped spans. Their objects are there even where the plug-in gave none.
    const SpanManager::SingleSpan& Active() const noexcept { return m_redirectedActive; }
    const SpanManager::SingleSpan& Other() const noexcept { return m_redirectedOther; }

  private:
    SpanManager::SingleSpan m_active;
    SpanManager::SingleSpan m_other;
    SpanManager::SingleSpan m_redirectedActive;
    SpanManager::SingleSpan m_redirectedOther;
};

}  // namespace tessaly

#endif
