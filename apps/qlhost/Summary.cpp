#include "Summary.h"

#include <algorithm>

#include "Messages.h"
#include "SummaryText.h"

namespace qlhost {

void PrintSummary(const RunResult& run, const MemoryHistory& memory, const Timeline& timeline,
                  const Rate& rate)
{
    const auto seen =
        std::count_if(run.frames.begin(), run.frames.end(), [](const auto& f) { return f.has_value(); });
    Print(Text("$$$/QLHost/Summary/Clip=Clip      @0 frames, @1 of them rendered, @2 to @3 at @4",
               {std::to_string(run.frames.size()), std::to_string(seen), Timecode(rate, 0),
                Timecode(rate, static_cast<std::int64_t>(run.frames.size()) - 1), std::string{rate.name}}));
    Print(Text("$$$/QLHost/Summary/Rendered=Rendered  @0 frames on @1 threads in @2 s: @3 frames a second",
               {std::to_string(run.rendered), std::to_string(timeline.Rows().size()), Fixed(run.seconds, 2),
                Fixed(static_cast<double>(run.rendered) / std::max(run.seconds, 1e-9), 1)}));
    Print(Text("$$$/QLHost/Summary/Cache=Cache     @0 decoded, @1 served again, @2 dropped (@3)",
               {std::to_string(run.cache.decoded), std::to_string(run.cache.hits),
                std::to_string(run.cache.dropped), MebiBytes(run.cache.droppedBytes)}));
    Print(Text("$$$/QLHost/Summary/Memory=Memory    limit @0, peak @1 in use, @2 resident, @3 purge requests",
               {MebiBytes(memory.Limit()), MebiBytes(memory.PeakInUse()), MebiBytes(memory.PeakResident()),
                std::to_string(run.cache.purgeRequests)}));
    Print(
        Text("$$$/QLHost/Summary/Threads=Threads   @0 % of the run two or more rendered at once, @1 ms two "
             "were in the writer",
             {Fixed(timeline.ParallelShare() * 100, 0), Fixed(timeline.WriterOverlap() * 1000, 3)}));
}

}  // namespace qlhost
