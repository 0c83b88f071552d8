// The matter of a span: a soft edge for what the span's segmenter found. The trimap is that of the host when
// it has one (a frozen frame brings its own), and otherwise a band around the segment's border. Plus and
// minus strokes of the frame settle the pixels of the band that they cover.
#ifndef SEGMATTE_SPANMATTER_H
#define SEGMATTE_SPANMATTER_H

#include <SegMatServices.h>

namespace segmatte {

/// Keeps nothing from one render to the next.
class SpanMatter : public tessaly::Matter {
  public:
    tessaly::Segmenter* Clone() override;
    int GetValidCachedFrameArray(tessaly::RenderFrameData& data, boost::shared_array<int>& frames, int first,
                                 int last) override;
    boost::shared_ptr<std::set<int>> GetValidCachedFrameSet(tessaly::RenderFrameData& data) override;
    /// Fills the trimap's output, and `index` with what `type` asks for: the trimap, or else the matte.
    bool Render(int frame, tessaly::Segmenter* segmenter, tessaly::RenderFrameData& data,
                tessaly::Segmenter const* other, boost::shared_ptr<tessaly::CrossRenderCache>& cache,
                unsigned char* status, tessaly::RenderFrameData::OutputType* type,
                tessaly::OutputIndex index) override;
    void Initialize(tessaly::RenderFrameData& data, tessaly::Segmenter const* other,
                    boost::shared_ptr<tessaly::CrossRenderCache>& cache) override;
    void ClearRFDPtr() override;
    void PurgeAll() override;
};

}  // namespace segmatte

#endif
