// The segmenter of one span: strokes at local frame 0, and from there outward frame by frame. What one frame
// hands to the next is small and lies in the host's global cache index, in the host's memory; what a host
// purged is computed again from the nearest frame that is left. The mask at full size is kept for one frame,
// in the cache that the host carries from render to render.
//
// The stroke that a user is drawing takes part in the render of its frame at once, and nothing of that is
// kept: it looks otherwise at the next movement, and no parameter tells of it. It is one on the subject,
// unless the host's value "Segmatte.InteractiveStroke" is "background".
//
// threads  as the interface says: one thread at a time calls an object. The cached frames may be asked for on
//          any.
#ifndef SEGMATTE_SPANSEGMENTER_H
#define SEGMATTE_SPANSEGMENTER_H

#include <SegMatServices.h>

#include <boost/weak_ptr.hpp>
#include <map>
#include <mutex>

#include "Segmentation.h"

namespace segmatte {

class SpanSegmenter : public tessaly::Segmenter {
  public:
    explicit SpanSegmenter(const zvkcore::utility::Guid& identity) : m_identity{identity} {}

    tessaly::Segmenter* Clone() override;
    int GetValidCachedFrameArray(tessaly::RenderFrameData& data, boost::shared_array<int>& frames, int first,
                                 int last) override;
    boost::shared_ptr<std::set<int>> GetValidCachedFrameSet(tessaly::RenderFrameData& data) override;
    bool Render(int frame, tessaly::Segmenter* segmenter, tessaly::RenderFrameData& data,
                tessaly::Segmenter const* other, boost::shared_ptr<tessaly::CrossRenderCache>& cache,
                unsigned char* status, tessaly::RenderFrameData::OutputType* type,
                tessaly::OutputIndex index) override;
    void Initialize(tessaly::RenderFrameData& data, tessaly::Segmenter const* other,
                    boost::shared_ptr<tessaly::CrossRenderCache>& cache) override;
    void ClearRFDPtr() override;
    void PurgeAll() override;

  private:
    class Step;
    struct Cached {
        zvkcore::utility::Guid state;
        boost::weak_ptr<tessaly::Value> value;  // gone when the host's index has dropped it
    };

    zvkcore::utility::Guid StateAt(int frame, tessaly::RenderFrameData& data) const;
    boost::shared_ptr<tessaly::Value> Reach(int frame, tessaly::RenderFrameData& data, bool& computed);
    bool RenderDrawn(int frame, tessaly::RenderFrameData& data, unsigned char* status,
                     tessaly::OutputIndex index);
    boost::shared_ptr<tessaly::Value> Find(int frame, const zvkcore::utility::Guid& state) const;

    const zvkcore::utility::Guid m_identity;
    mutable std::mutex m_mutex;      // guards what follows
    std::uint32_t m_generation = 0;  // counts purges: part of the keys, so nothing older is found again
    std::map<int, Cached> m_cached;
};

}  // namespace segmatte

#endif
