#include "Pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "Canvas.h"
#include "Messages.h"

namespace qlhost {
namespace {

// The plot's frame on the canvas and the scales that take seconds and bytes into it.
struct Plot {
    double left = 90, top = 50, right = 1150, bottom = 430;
    double seconds, bytes;
    double X(double s) const { return left + (right - left) * s / seconds; }
    double Y(std::uint64_t b) const { return bottom - (bottom - top) * static_cast<double>(b) / bytes; }
};

// A step of 1, 2 or 5 times a power of ten that gives about `count` ticks.
double TickStep(double range, int count)
{
    const double raw = range / count, power = std::pow(10.0, std::floor(std::log10(raw)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (raw <= factor * power) return factor * power;
    }
    return 10.0 * power;
}

void DrawAxes(Canvas& canvas, const Plot& plot)
{
    constexpr double kMiB = 1048576.0;
    const double byteStep = TickStep(plot.bytes / kMiB, 6) * kMiB;
    for (double b = 0; b <= plot.bytes; b += byteStep) {
        const double y = plot.Y(static_cast<std::uint64_t>(b));
        canvas.Colour(kFaint);
        canvas.Line(plot.left, y, plot.right, y);
        canvas.Colour(kInk);
        canvas.Write(plot.left - 10, y + 5, MebiBytes(static_cast<std::uint64_t>(b)), Canvas::Align::Right,
                     12);
    }
    const double timeStep = TickStep(plot.seconds, 10);
    for (double s = 0; s <= plot.seconds; s += timeStep) {
        char text[24];
        std::snprintf(text, sizeof text, "%g s", s);
        canvas.Write(plot.X(s), plot.bottom + 20, text, Canvas::Align::Centre, 12);
    }
}

template <class Value>
void DrawCurve(Canvas& canvas, const Plot& plot, const MemoryHistory& memory, const Rgb& colour, Value value)
{
    canvas.Colour(colour);
    for (std::size_t i = 1; i < memory.Samples().size(); ++i) {
        const auto &from = memory.Samples()[i - 1], &to = memory.Samples()[i];
        canvas.Line(plot.X(from.seconds), plot.Y(value(from)), plot.X(to.seconds), plot.Y(value(to)));
    }
}

void DrawPurges(Canvas& canvas, const Plot& plot, const MemoryHistory& memory)
{
    canvas.Colour(kPurge);
    std::uint64_t former = 0;
    for (const auto& sample : memory.Samples()) {
        if (sample.purges > former) {
            const double height = std::min(40.0, 4.0 + 2.0 * static_cast<double>(sample.purges - former));
            canvas.Line(plot.X(sample.seconds), plot.bottom, plot.X(sample.seconds), plot.bottom - height);
        }
        former = sample.purges;
    }
}

void DrawLegend(Canvas& canvas, const Plot& plot)
{
    const struct {
        Rgb colour;
        std::string text;
    } rows[] = {{kInUse, Text("$$$/QLHost/Picture/InUse=memory in use, pool included")},
                {kResident, Text("$$$/QLHost/Picture/Resident=resident, by the system")},
                {kLimit, Text("$$$/QLHost/Picture/Limit=limit")},
                {kPurge, Text("$$$/QLHost/Picture/Purges=purge requests")}};
    double x = plot.left;
    for (const auto& row : rows) {
        canvas.Colour(row.colour);
        canvas.Fill(x, plot.bottom + 42, 14, 14);
        canvas.Colour(kInk);
        canvas.Write(x + 20, plot.bottom + 54, row.text);
        x += 265;
    }
}

constexpr struct {
    Timeline::Work work;
    Rgb colour;
    const char* text;
} kWorks[] = {
    {Timeline::Work::Read, {0.60, 0.62, 0.66}, "$$$/QLHost/Timeline/Read=contexts lent to the reader"},
    {Timeline::Work::Decode, kInUse, "$$$/QLHost/Timeline/Decode=decoding"},
    {Timeline::Work::Look, kResident, "$$$/QLHost/Timeline/Look=looking at pixels"},
    {Timeline::Work::WaitForWriter, kFaint, "$$$/QLHost/Timeline/Wait=waiting for the big mutex"},
    {Timeline::Work::Write, kLimit, "$$$/QLHost/Timeline/Write=in the unsafe writer"},
};

const Rgb& ColourOf(Timeline::Work work)
{
    return std::find_if(std::begin(kWorks), std::end(kWorks),
                        [&](const auto& row) { return row.work == work; })
        ->colour;
}

}  // namespace

bool DrawTimeline(const Timeline& timeline, double seconds, const std::filesystem::path& file)
{
    constexpr double kRow = 34, kBar = 24, kLeft = 60, kWidth = 1100, kTop = 60;
    const double bottom = kTop + kRow * static_cast<double>(timeline.Rows().size());
    const double shown = std::min(seconds, 1.5);
    Canvas canvas{1200, static_cast<int>(bottom) + 80};
    const auto x = [&](double at) { return kLeft + kWidth * at / shown; };

    canvas.Colour(kInk);
    canvas.Write(kLeft, 32, Text("$$$/QLHost/Timeline/Title=What each render thread did at first"),
                 Canvas::Align::Left, 18);
    for (std::size_t row = 0; row < timeline.Rows().size(); ++row) {
        const double y = kTop + kRow * static_cast<double>(row);
        canvas.Colour(kInk);
        canvas.Write(kLeft - 12, y + 17, std::to_string(row + 1), Canvas::Align::Right);
        for (const auto& span : timeline.Rows()[row]) {
            if (span.from >= shown) continue;
            canvas.Colour(ColourOf(span.work));
            canvas.Fill(x(span.from), y, std::max(1.0, x(std::min(span.to, shown)) - x(span.from)), kBar);
        }
    }
    canvas.Colour(kInk);
    for (int tick = 0; tick <= 6; ++tick) {
        char text[24];
        std::snprintf(text, sizeof text, "%.2f s", shown * tick / 6);
        canvas.Write(x(shown * tick / 6), bottom + 16, text, Canvas::Align::Centre, 12);
    }
    double left = kLeft;
    for (const auto& row : kWorks) {
        canvas.Colour(row.colour);
        canvas.Fill(left, bottom + 42, 14, 14);
        canvas.Colour(kInk);
        canvas.Write(left + 20, bottom + 54, Text(row.text), Canvas::Align::Left, 12);
        left += 220;
    }
    return canvas.Save(file);
}

bool DrawMemory(const MemoryHistory& memory, const std::filesystem::path& file)
{
    Canvas canvas{1200, 520};
    Plot plot;
    plot.seconds = std::max(memory.Samples().back().seconds, 0.001);
    plot.bytes =
        1.15 * static_cast<double>(std::max({memory.Limit(), memory.PeakInUse(), memory.PeakResident()}));

    canvas.Colour(kInk);
    canvas.Write(plot.left, 30, Text("$$$/QLHost/Picture/Title=Memory over the run"), Canvas::Align::Left,
                 18);
    DrawAxes(canvas, plot);
    DrawPurges(canvas, plot, memory);
    canvas.Colour(kLimit);
    canvas.Line(plot.left, plot.Y(memory.Limit()), plot.right, plot.Y(memory.Limit()));
    DrawCurve(canvas, plot, memory, kResident, [](const auto& sample) { return sample.resident; });
    DrawCurve(canvas, plot, memory, kInUse, [](const auto& sample) { return sample.inUse; });
    DrawLegend(canvas, plot);
    return canvas.Save(file);
}

bool DrawContactSheet(const RunResult& run, const Rate& rate, const std::filesystem::path& file)
{
    constexpr int kColumns = 6, kMost = 24, kGap = 16, kLabel = 24;
    const auto frames = static_cast<int>(run.frames.size());
    const int shown = std::min(frames, kMost), rows = (shown + kColumns - 1) / kColumns;
    Canvas canvas{kGap + std::min(shown, kColumns) * (Thumbnail::kWidth + kGap),
                  kGap + rows * (Thumbnail::kHeight + kLabel + kGap)};
    for (int i = 0; i < shown; ++i) {
        const int index = shown == 1 ? 0 : static_cast<int>(std::int64_t{i} * (frames - 1) / (shown - 1));
        const double x = kGap + i % kColumns * (Thumbnail::kWidth + kGap);
        const double y = kGap + i / kColumns * (Thumbnail::kHeight + kLabel + kGap);
        const auto& small = run.frames[static_cast<std::size_t>(index)];
        if (small) {
            canvas.Place(x, y, Thumbnail::kWidth, Thumbnail::kHeight, small->rgba.data());
        } else {
            canvas.Colour(kFaint);
            canvas.Fill(x, y, Thumbnail::kWidth, Thumbnail::kHeight);
        }
        canvas.Colour(kInk);
        canvas.Write(x, y + Thumbnail::kHeight + 17, Timecode(rate, index), Canvas::Align::Left, 13);
    }
    return canvas.Save(file);
}

}  // namespace qlhost
