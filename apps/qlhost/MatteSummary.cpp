#include "MatteSummary.h"

#include <algorithm>
#include <fstream>

#include "Messages.h"
#include "SummaryText.h"

namespace qlhost {
namespace {

void PrintMattes(const MatteResult& result, const Rate& rate)
{
    for (std::size_t i = 0; i < result.frames.size(); ++i) {
        if (!result.rendered[i]) continue;
        const MatteMeasures& frame = result.frames[i];
        std::string line =
            Text("$$$/QLHost/Matte/Summary/Matte=  @0  area @1 pixels, hull of @2 corners around @3",
                 {Timecode(rate, static_cast<std::int64_t>(i)), Fixed(frame.area, 0),
                  std::to_string(frame.hullCorners), Fixed(frame.hullArea, 0)});
        if (frame.overlap)
            line += Text("$$$/QLHost/Matte/Summary/Overlap=, overlap with the true matte @0",
                         {Fixed(*frame.overlap, 4)});
        Print(line);
    }
}

void PrintOverlap(const MatteResult& result, const Rate& rate)
{
    double sum = 0, least = 2;
    std::size_t count = 0, worst = 0;
    for (std::size_t i = 0; i < result.frames.size(); ++i) {
        if (!result.frames[i].overlap) continue;
        ++count;
        sum += *result.frames[i].overlap;
        if (*result.frames[i].overlap >= least) continue;
        least = *result.frames[i].overlap;
        worst = i;
    }
    if (count == 0) return;
    Print(
        Text("$$$/QLHost/Matte/Summary/Truth=Truth     @0 mattes compared: overlap @1 on the average, @2 at "
             "the least, at @3",
             {std::to_string(count), Fixed(sum / static_cast<double>(count), 4), Fixed(least, 4),
              Timecode(rate, static_cast<std::int64_t>(worst))}));
}

}  // namespace

void PrintMatteSummary(const MatteResult& result, const MemoryHistory& memory, const StrokeFile& strokes,
                       const Rate& rate)
{
    Print(Text("$$$/QLHost/Matte/Summary/Mattes=Mattes"));
    PrintMattes(result, rate);
    Print(Text("$$$/QLHost/Matte/Summary/Spans=Spans     @0 manual frames cover @1 of @2 frames",
               {std::to_string(strokes.frames.size()), std::to_string(result.covered),
                std::to_string(result.frames.size())}));
    Print(Text(
        "$$$/QLHost/Matte/Summary/Rendered=Rendered  @0 frames on @1 threads in @2 s: @3 frames a second",
        {std::to_string(result.Rendered()), std::to_string(result.threads), Fixed(result.renderSeconds, 2),
         Fixed(static_cast<double>(result.Rendered()) / std::max(result.renderSeconds, 1e-9), 2)}));
    Print(Text("$$$/QLHost/Matte/Summary/Segments=Segments  @0 computed in @1 s, @2 found in the cache",
               {std::to_string(result.index.stored), Fixed(result.index.seconds, 2),
                std::to_string(result.index.found)}));
    PrintOverlap(result, rate);
    Print(Text(
        "$$$/QLHost/Matte/Summary/Frozen=Frozen    @0 frames on one thread in @1 s; the text has @2 bytes",
        {std::to_string(result.Frozen()), Fixed(result.freezeSeconds, 2), std::to_string(result.textBytes)}));
    Print(
        Text("$$$/QLHost/Matte/Summary/Served=Served    @0 frozen frames from the restored text in @1 s, @2 "
             "of them bit for bit as rendered; @3 segments computed meanwhile",
             {std::to_string(result.served), Fixed(result.serveSeconds, 2), std::to_string(result.identical),
              std::to_string(result.computedWhileServing)}));
    Print(
        Text("$$$/QLHost/Matte/Summary/Memory=Memory    limit @0, peak @1 in use, @2 resident, @3 purge "
             "requests took @4 frames and @5 segments",
             {MebiBytes(memory.Limit()), MebiBytes(memory.PeakInUse()), MebiBytes(memory.PeakResident()),
              std::to_string(result.purgeRequests), std::to_string(result.cache.dropped),
              std::to_string(result.index.dropped)}));
}

bool WriteMatteTable(const MatteResult& result, const Rate& rate, const std::filesystem::path& path)
{
    std::ofstream file{path};
    file << "frame,timecode,area,hull corners,hull area,overlap\n";
    for (std::size_t i = 0; i < result.frames.size(); ++i) {
        if (!result.rendered[i]) continue;
        const MatteMeasures& frame = result.frames[i];
        file << i << ',' << Timecode(rate, static_cast<std::int64_t>(i)) << ',' << Fixed(frame.area, 1) << ','
             << frame.hullCorners << ',' << Fixed(frame.hullArea, 1) << ','
             << (frame.overlap ? Fixed(*frame.overlap, 5) : "") << '\n';
    }
    return static_cast<bool>(file.flush());
}

}  // namespace qlhost
