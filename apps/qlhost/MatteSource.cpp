#include "MatteSource.h"

#include <U_Memory.h>

#include <algorithm>
#include <boost/make_shared.hpp>

#include "Messages.h"

namespace qlhost {
namespace {

constexpr std::uint32_t kGrayAllocation = 0x00010005;  // where this host's reports say they come from

class FrameReceipt : public tessaly::CheckoutReceipt {
  public:
    explicit FrameReceipt(FrameCache::FramePtr frame) : m_frame{std::move(frame)} {}
    tessaly::AnyImageView GetView() const override
    {
        const auto width = static_cast<std::ptrdiff_t>(m_frame->Size().width),
                   height = static_cast<std::ptrdiff_t>(m_frame->Size().height);
        return boost::gil::interleaved_view(
            width, height, reinterpret_cast<boost::gil::rgba8_pixel_t*>(m_frame->Pixels()), width * 4);
    }

  private:
    const FrameCache::FramePtr m_frame;
};

class GrayReceipt : public tessaly::CheckoutReceipt {
  public:
    explicit GrayReceipt(std::shared_ptr<GrayImage> image) : m_image{std::move(image)} {}
    tessaly::AnyImageView GetView() const override { return m_image->View(); }

  private:
    const std::shared_ptr<GrayImage> m_image;
};

std::string SizeText(const PngSize& size)
{
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

template <class Number>
void Append(std::string& bytes, Number number)
{
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

}  // namespace

std::shared_ptr<GrayImage> GrayImage::Allocate(const PngSize& size)
{
    auto* pixels =
        static_cast<std::uint8_t*>(U_AllocateRecycledPtr(kGrayAllocation, "matte", size.Bytes() / 4));
    if (!pixels) return nullptr;
    std::fill_n(pixels, size.Bytes() / 4, std::uint8_t{0});
    return std::shared_ptr<GrayImage>{new GrayImage{size, pixels}};
}

GrayImage::~GrayImage()
{
    U_FreeRecycledPtr(m_pixels);
}

tessaly::AnyImageView GrayImage::View() const
{
    const auto width = static_cast<std::ptrdiff_t>(m_size.width),
               height = static_cast<std::ptrdiff_t>(m_size.height);
    return boost::gil::interleaved_view(width, height, reinterpret_cast<boost::gil::gray8_pixel_t*>(m_pixels),
                                        width);
}

MatteSource::MatteSource(const Clip& clip) : m_clip{clip}, m_cache{clip.frames.size()} {}

void MatteSource::TakeStrokes(const StrokeFile& strokes)
{
    m_meant = strokes.size;
    for (const ManualFrame& manual : strokes.frames) m_manual[manual.frame] = &manual;
}

bool MatteSource::FindSize()
{
    for (std::size_t i = 0; i < m_clip.frames.size(); ++i) {
        if (const auto frame = m_cache.Get(i, [this](std::size_t index) { return Decode(index); })) {
            m_size = frame->Size();
            return true;
        }
    }
    return false;
}

FrameCache::FramePtr MatteSource::Frame(int frame)
{
    if (frame < 0 || static_cast<std::size_t>(frame) >= m_clip.frames.size()) return nullptr;
    return m_cache.Get(static_cast<std::size_t>(frame), [this](std::size_t index) { return Decode(index); });
}

FrameCache::FramePtr MatteSource::Decode(std::size_t index)
{
    std::shared_ptr<qlhost::Frame> frame;
    std::string why;
    const auto room = [&](const PngSize& size) -> std::uint8_t* {
        if (m_size.Bytes() > 0 && (size.width != m_size.width || size.height != m_size.height)) {
            why = Text("$$$/QLHost/Matte/OtherSize=it is of @0, the clip of @1",
                       {SizeText(size), SizeText(m_size)});
            return nullptr;
        }
        frame = qlhost::Frame::Allocate(size);
        return frame ? frame->Pixels() : nullptr;
    };
    const auto bytes = m_reader.Read(m_clip.frames[index], why);
    if (bytes && ReadPng(*bytes, room, why)) return frame;
    if (!why.empty()) ReportUnreadableFrame(m_clip.frames[index], why, false);
    return nullptr;
}

boost::shared_ptr<tessaly::CheckoutReceipt> MatteSource::Input(int frame)
{
    auto pixels = Frame(frame);
    return pixels ? boost::make_shared<FrameReceipt>(std::move(pixels)) : nullptr;
}

boost::shared_ptr<tessaly::CheckoutReceipt> MatteSource::Strokes(int frame, bool subject) const
{
    const auto manual = m_manual.find(frame);
    if (manual == m_manual.end()) return nullptr;
    auto image = GrayImage::Allocate(m_size);
    if (!image) return nullptr;
    DrawStrokes(*manual->second, subject, m_meant, m_size, image->Pixels());
    return boost::make_shared<GrayReceipt>(std::move(image));
}

bool MatteSource::HasStrokes(int first, int last, bool subject) const
{
    const auto [from, to] = std::minmax(first, last);
    return std::any_of(m_manual.lower_bound(from), m_manual.upper_bound(to), [&](const auto& entry) {
        const auto& strokes = entry.second->strokes;
        return std::any_of(strokes.begin(), strokes.end(),
                           [&](const Stroke& stroke) { return stroke.subject == subject; });
    });
}

zvkcore::utility::Guid MatteSource::State(int start, unsigned count) const
{
    std::string bytes;
    const std::int64_t end = std::int64_t{start} + count;
    for (auto manual = m_manual.lower_bound(start); manual != m_manual.end() && manual->first < end;
         ++manual) {
        Append(bytes, manual->first);
        for (const Stroke& stroke : manual->second->strokes) {
            Append(bytes, stroke.subject);
            Append(bytes, stroke.radius);
            Append(bytes, stroke.places.size());
            for (const auto& place : stroke.places) {
                Append(bytes, place.x);
                Append(bytes, place.y);
            }
        }
    }
    return zvkcore::utility::Guid::CreateFromBytes(bytes.data(), bytes.size());
}

}  // namespace qlhost
