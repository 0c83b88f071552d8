// Views become runs of bytes and runs become views, a row at a time; the coder behind the zip stream sees one
// run a frame. A gray 8-bit view whose rows follow one another is such a run itself, and is decoded in place.
// No state.
#include "SMS_Pixels.h"

#include "SMSp_PixelForms.h"

namespace tessaly {
namespace {

constexpr int kLevel = 5;

template <class View>
std::size_t PixelsOf(const View& view)
{
    if (view.width() <= 0 || view.height() <= 0) return 0;
    return static_cast<std::size_t>(view.width()) * static_cast<std::size_t>(view.height());
}

template <class View>
void ToBytes(const View& view, std::uint8_t* bytes)
{
    if (PixelsOf(view) == 0) return;
    const auto width = static_cast<std::size_t>(view.width());
    for (std::ptrdiff_t y = 0; y < view.height(); ++y, bytes += width) {
        RowToBytes<kPixelStep<View>>(FirstChannel(view, y), width, bytes);
    }
}

template <class View>
void FromBytes(const std::uint8_t* bytes, const View& view)
{
    if (PixelsOf(view) == 0) return;
    const auto width = static_cast<std::size_t>(view.width());
    for (std::ptrdiff_t y = 0; y < view.height(); ++y, bytes += width) {
        RowFromBytes<kPixelStep<View>>(bytes, width, FirstChannel(view, y));
    }
}

// The pixels themselves, if they are one run of bytes; otherwise an empty run.
std::span<std::uint8_t> OneRun(const AnyImageView& view)
{
    const auto* const gray = boost::variant2::get_if<Gray8View>(&view);
    if (gray == nullptr || PixelsOf(*gray) == 0 || !gray->is_1d_traversable()) return {};
    return {FirstChannel(*gray, 0), PixelsOf(*gray)};
}

}  // namespace

std::size_t CountPixels(const AnyImageView& view)
{
    return boost::variant2::visit([](const auto& form) { return PixelsOf(form); }, view);
}

void ViewToBytes(const AnyImageView& view, std::uint8_t* bytes)
{
    boost::variant2::visit([bytes](const auto& form) { ToBytes(form, bytes); }, view);
}

void BytesToView(const std::uint8_t* bytes, const AnyImageView& view)
{
    boost::variant2::visit([bytes](const auto& form) { FromBytes(bytes, form); }, view);
}

void zip_compressor::operator()(const AnyImageView& view) const
{
    const std::size_t pixels = CountPixels(view);
    if (pixels == 0) return;
    zvkcore::filesupport::OStringByteStream bytes(m_target);
    zvkcore::filesupport::OZipByteStream zip(bytes, kLevel);
    ViewToBytes(view, zip.PutRoom(pixels).data());
    zip.Flush();
}

void zip_decompressor::operator()(const AnyImageView& target) const
{
    const std::size_t pixels = CountPixels(target);
    if (pixels == 0) return;
    zvkcore::filesupport::IStringByteStream bytes(m_stored);
    zvkcore::filesupport::IZipByteStream zip(bytes, pixels);
    if (const auto run = OneRun(target); !run.empty()) {
        zip.Get(run);
        return;
    }
    zvkcore::filesupport::ByteRoom room;
    room.Reserve(pixels);
    zip.Get(std::span<std::uint8_t>(room.Data(), pixels));
    BytesToView(room.Data(), target);
}

}  // namespace tessaly
