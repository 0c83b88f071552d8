// What a matte run reads from: the decoded frames of the clip and the strokes on them, as the segmentation
// services hand them out.
#ifndef QLHOST_MATTESOURCE_H
#define QLHOST_MATTESOURCE_H

#include <SegMatServices.h>

#include <map>
#include <memory>
#include <string>

#include "Clip.h"
#include "FrameCache.h"
#include "FrameReader.h"
#include "Strokes.h"

namespace qlhost {

/// Rows of gray in the library's memory.
class GrayImage {
  public:
    /// Null when memory is out; the library has reported it then.
    static std::shared_ptr<GrayImage> Allocate(const PngSize& size);
    ~GrayImage();
    GrayImage(const GrayImage&) = delete;
    GrayImage& operator=(const GrayImage&) = delete;

    const PngSize& Size() const { return m_size; }
    std::uint8_t* Pixels() const { return m_pixels; }
    tessaly::AnyImageView View() const;

  private:
    GrayImage(const PngSize& size, std::uint8_t* pixels) : m_size{size}, m_pixels{pixels} {}
    PngSize m_size;
    std::uint8_t* m_pixels;
};

class MatteSource {
  public:
    /// `clip` and what is given to `TakeStrokes` outlive this.
    explicit MatteSource(const Clip& clip);
    /// Call before frames are rendered; until then there are no strokes.
    void TakeStrokes(const StrokeFile& strokes);

    /// Reads the first frame that can be read and takes its size as the clip's. False when there is none.
    bool FindSize();
    const PngSize& Size() const { return m_size; }
    std::size_t Frames() const { return m_clip.frames.size(); }
    FrameCache& Cache() { return m_cache; }

    /// The frame, decoded on this thread when it is not at hand. Null for a frame outside of the clip, one
    /// that cannot be read, or one of another size; the latter two are reported once.
    FrameCache::FramePtr Frame(int frame);
    /// The same as a receipt, or an empty pointer.
    boost::shared_ptr<tessaly::CheckoutReceipt> Input(int frame);
    /// The strokes of one kind on a frame, or an empty pointer when it has none.
    boost::shared_ptr<tessaly::CheckoutReceipt> Strokes(int frame, bool subject) const;
    bool HasStrokes(int first, int last, bool subject) const;
    /// An identity of the strokes on `count` frames from `start` on, and of where they are.
    zvkcore::utility::Guid State(int start, unsigned count) const;

  private:
    FrameCache::FramePtr Decode(std::size_t index);

    const Clip& m_clip;
    PngSize m_meant;  // the size that strokes are meant for
    std::map<int, const ManualFrame*> m_manual;
    FrameReader m_reader;
    FrameCache m_cache;
    PngSize m_size;
};

}  // namespace qlhost

#endif
