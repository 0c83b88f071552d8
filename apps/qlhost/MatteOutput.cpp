#include "MatteOutput.h"

#include <M_Polygon.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "Canvas.h"
#include "Messages.h"

namespace qlhost {
namespace {

struct Kind {
    const char *folder, *stem;
    std::shared_ptr<GrayImage> MattePlanes::*plane;
};
constexpr Kind kKinds[] = {{"segments", "segment", &MattePlanes::segment},
                           {"trimaps", "trimap", &MattePlanes::trimap},
                           {"mattes", "matte", &MattePlanes::matte}};
constexpr Kind kComposites = {"composites", "frame", nullptr};

std::filesystem::path FileOf(const std::filesystem::path& folder, const char* stem, int frame)
{
    char name[48];
    std::snprintf(name, sizeof name, "%s_%04d.png", stem, frame);
    return folder / name;
}

// The first channel of a picture of this size; empty for any other.
std::vector<std::uint8_t> ReadGray(const std::filesystem::path& file, const PngSize& size)
{
    std::ifstream stream{file, std::ios::binary};
    const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>{stream}, {}};
    std::vector<std::uint8_t> rgba;
    std::string why;
    const auto room = [&](const PngSize& found) -> std::uint8_t* {
        if (found.width != size.width || found.height != size.height) return nullptr;
        rgba.resize(found.Bytes());
        return rgba.data();
    };
    if (!ReadPng(bytes, room, why)) return {};
    std::vector<std::uint8_t> gray(rgba.size() / 4);
    for (std::size_t i = 0; i < gray.size(); ++i) gray[i] = rgba[4 * i];
    return gray;
}

std::uint8_t Over(std::uint8_t from, std::uint8_t to, std::uint8_t share)
{
    return static_cast<std::uint8_t>((from * (255 - share) + to * share + 127) / 255);
}

// A stage of warm paper with a coarse check, on which a wrong edge shows, be it dark or light.
std::array<std::uint8_t, 3> Stage(std::size_t x, std::size_t y, const PngSize& size)
{
    const std::size_t cell = std::max<std::size_t>(size.height / 18, 1);
    const bool dark = (x / cell + y / cell) % 2 != 0;
    return dark ? std::array<std::uint8_t, 3>{206, 200, 188} : std::array<std::uint8_t, 3>{232, 228, 218};
}

std::shared_ptr<qlhost::Frame> Compose(const Frame& input, const GrayImage& matte)
{
    auto composite = Frame::Allocate(input.Size());
    if (!composite) return nullptr;
    const std::uint8_t *from = input.Pixels(), *share = matte.Pixels();
    std::uint8_t* to = composite->Pixels();
    for (std::size_t y = 0; y < input.Size().height; ++y) {
        for (std::size_t x = 0; x < input.Size().width; ++x, from += 4, to += 4, ++share) {
            const auto stage = Stage(x, y, input.Size());
            for (std::size_t c = 0; c < 3; ++c) to[c] = Over(stage[c], from[c], *share);
            to[3] = 255;
        }
    }
    return composite;
}

std::shared_ptr<qlhost::Frame> AsColour(const GrayImage& gray)
{
    auto colour = Frame::Allocate(gray.Size());
    if (!colour) return nullptr;
    std::uint8_t* to = colour->Pixels();
    for (std::size_t i = 0; i < gray.Size().Bytes() / 4; ++i, to += 4) {
        std::fill_n(to, 3, gray.Pixels()[i]);
        to[3] = 255;
    }
    return colour;
}

// The corners of the first and the last pixel of each row that is at least half covered: no other can lie on
// the hull.
std::vector<M_Vector2> OutlineOf(const GrayImage& matte)
{
    std::vector<M_Vector2> corners;
    const std::size_t width = matte.Size().width;
    for (std::size_t y = 0; y < matte.Size().height; ++y) {
        const std::uint8_t* row = matte.Pixels() + y * width;
        const auto covered = [](std::uint8_t share) { return share >= 128; };
        const std::uint8_t* first = std::find_if(row, row + width, covered);
        if (first == row + width) continue;
        const auto last =
            std::find_if(std::make_reverse_iterator(row + width), std::make_reverse_iterator(row), covered);
        for (const double edge : {0.0, 1.0}) {
            corners.push_back({static_cast<double>(first - row), static_cast<double>(y) + edge});
            corners.push_back({static_cast<double>(last.base() - row), static_cast<double>(y) + edge});
        }
    }
    return corners;
}

void MeasureHull(const GrayImage& matte, MatteMeasures& measures)
{
    std::vector<M_Vector2> hull = OutlineOf(matte);
    M_ComputeConvexHull(hull.begin(), hull.end(), hull);
    measures.hullCorners = hull.size();
    measures.hullArea = std::abs(M_SignedPolygonArea2D(hull.data(), static_cast<int>(hull.size())));
}

}  // namespace

MatteOutput::MatteOutput(std::filesystem::path folder, std::filesystem::path truth, const Rate& rate)
    : m_folder{std::move(folder)}, m_truth{std::move(truth)}, m_rate{rate}
{
}

bool MatteOutput::Prepare(std::string& why) const
{
    std::error_code error;
    for (const char* folder : {kKinds[0].folder, kKinds[1].folder, kKinds[2].folder, kComposites.folder}) {
        std::filesystem::create_directories(m_folder / folder, error);
        if (!error) continue;
        why = (m_folder / folder).string() + ": " + error.message();
        return false;
    }
    return true;
}

bool MatteOutput::Write(int frame, const Frame& input, const MattePlanes& planes, MatteMeasures& measures,
                        std::string& why) const
{
    for (const Kind& kind : kKinds) {
        const GrayImage& image = *(planes.*kind.plane);
        const auto file = FileOf(m_folder / kind.folder, kind.stem, frame);
        if (WriteGrayPng(file, image.Size(), image.Pixels(), why)) continue;
        why = file.string() + ": " + why;
        return false;
    }
    const GrayImage& matte = *planes.matte;
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < matte.Size().Bytes() / 4; ++i) sum += matte.Pixels()[i];
    measures.area = static_cast<double>(sum) / 255;
    MeasureHull(matte, measures);
    measures.overlap = Overlap(frame, matte);
    if (const auto colour = AsColour(matte)) measures.matte = Reduce(*colour);
    return WriteComposite(frame, input, matte, measures, why);
}

bool MatteOutput::WriteComposite(int frame, const Frame& input, const GrayImage& matte,
                                 MatteMeasures& measures, std::string& why) const
{
    const auto composite = Compose(input, matte);
    if (!composite) {
        why = Text("$$$/QLHost/Matte/NoMemory=no memory for the composite");
        return false;
    }
    measures.composite = Reduce(*composite);
    const auto file = FileOf(m_folder / kComposites.folder, kComposites.stem, frame);
    const auto width = static_cast<int>(input.Size().width), height = static_cast<int>(input.Size().height);
    Canvas canvas{width, height};
    canvas.Place(0, 0, width, height, composite->Pixels());
    const double letters = std::max(9.0, height / 30.0);
    canvas.Colour(kInk);
    canvas.Write(letters, height - letters, Timecode(m_rate, frame), Canvas::Align::Left, letters);
    canvas.Read(composite->Pixels());
    if (WritePng(file, input.Size(), composite->Pixels(), why)) return true;
    why = file.string() + ": " + why;
    return false;
}

std::optional<double> MatteOutput::Overlap(int frame, const GrayImage& matte) const
{
    if (m_truth.empty()) return std::nullopt;
    const std::vector<std::uint8_t> truth = ReadGray(FileOf(m_truth, "matte", frame), matte.Size());
    if (truth.empty()) return std::nullopt;
    std::uint64_t least = 0, greatest = 0;
    for (std::size_t i = 0; i < truth.size(); ++i) {
        least += std::min(truth[i], matte.Pixels()[i]);
        greatest += std::max(truth[i], matte.Pixels()[i]);
    }
    return greatest > 0 ? static_cast<double>(least) / static_cast<double>(greatest) : 1.0;
}

bool MatteOutput::IsWritten(int frame, const MattePlanes& planes, std::string& why) const
{
    for (const Kind& kind : kKinds) {
        const GrayImage& image = *(planes.*kind.plane);
        const auto file = FileOf(m_folder / kind.folder, kind.stem, frame);
        const std::vector<std::uint8_t> written = ReadGray(file, image.Size());
        if (!written.empty() && std::equal(written.begin(), written.end(), image.Pixels())) continue;
        why = Text("$$$/QLHost/Matte/Differs=served otherwise than it was rendered: @0",
                   {file.filename().string()});
        return false;
    }
    return true;
}

bool MatteOutput::DrawContactSheet(const std::vector<MatteMeasures>& frames) const
{
    constexpr int kColumns = 4, kMost = 24, kGap = 16, kLabel = 24, kCell = 2 * Thumbnail::kWidth;
    std::vector<int> shown;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if (frames[i].matte && frames[i].composite) shown.push_back(static_cast<int>(i));
    }
    const auto all = static_cast<int>(shown.size()), count = std::min(all, kMost),
               rows = (count + kColumns - 1) / kColumns;
    Canvas canvas{kGap + std::max(1, std::min(count, kColumns)) * (kCell + kGap),
                  kGap + std::max(1, rows) * (Thumbnail::kHeight + kLabel + kGap)};
    for (int i = 0; i < count; ++i) {
        const int index =
            shown[count == 1 ? 0 : static_cast<std::size_t>(std::int64_t{i} * (all - 1) / (count - 1))];
        const double x = kGap + i % kColumns * (kCell + kGap),
                     y = kGap + i / kColumns * (Thumbnail::kHeight + kLabel + kGap);
        const MatteMeasures& frame = frames[static_cast<std::size_t>(index)];
        canvas.Place(x, y, Thumbnail::kWidth, Thumbnail::kHeight, frame.matte->rgba.data());
        canvas.Place(x + Thumbnail::kWidth, y, Thumbnail::kWidth, Thumbnail::kHeight,
                     frame.composite->rgba.data());
        canvas.Colour(kInk);
        canvas.Write(x, y + Thumbnail::kHeight + 17, Timecode(m_rate, index), Canvas::Align::Left, 13);
    }
    return canvas.Save(ContactSheet());
}

}  // namespace qlhost
