// The order of the steps; each is in a file of its own. Everything that can go wrong with one frame or one
// stroke is a problem that is shown at the end, in groups; what makes the whole run useless ends it with one
// sentence.
#include "Matte.h"

#include <U_ErrState.h>
#include <U_Memory.h>
#include <U_TrySection.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "Host.h"
#include "MatteRun.h"
#include "MatteSummary.h"
#include "Messages.h"
#include "Plugins.h"
#include "RenderThread.h"
#include "zvkcore/config/Config.h"

namespace qlhost {
namespace {

int Fail(ExitCode code, const std::string& why)
{
    U_DisplayPostedErrors();
    std::fprintf(stderr, "qlhost: %s\n", why.c_str());
    return code;
}

std::filesystem::path BesideProgram(const char* name)
{
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path() / name;
}

void CutSpan(ManualFrame& manual, std::uint32_t frames)
{
    const auto backward = std::min(manual.backward, static_cast<std::uint32_t>(manual.frame) + 1),
               forward = std::min(manual.forward, frames - static_cast<std::uint32_t>(manual.frame));
    if (backward != manual.backward || forward != manual.forward) {
        ReportMatteProblem(manual.frame, Text("$$$/QLHost/Matte/SpanCut=its span reaches past the clip and "
                                              "was cut to @0 backward, @1 forward",
                                              {std::to_string(backward), std::to_string(forward)}));
    }
    manual.backward = backward;
    manual.forward = forward;
}

void CheckStrokes(const ManualFrame& manual, const PngSize& meant, const PngSize& size)
{
    std::vector<std::uint8_t> gray(size.Bytes() / 4);
    for (const Stroke& stroke : manual.strokes) {
        const ManualFrame alone{manual.frame, 0, 0, {stroke}};
        std::fill(gray.begin(), gray.end(), std::uint8_t{0});
        if (DrawStrokes(alone, stroke.subject, meant, size, gray.data()) > 0) continue;
        ReportMatteProblem(
            manual.frame, Text("$$$/QLHost/Matte/StrokeOutside=a stroke from @0,@1 lies outside of the frame",
                               {std::to_string(std::lround(stroke.places.front().x)),
                                std::to_string(std::lround(stroke.places.front().y))}));
    }
    if (std::none_of(manual.strokes.begin(), manual.strokes.end(), [](const Stroke& s) { return s.subject; }))
        ReportMatteProblem(manual.frame, Text("$$$/QLHost/Matte/NoSubject=it has no stroke on the subject"));
}

// Takes what the clip has no frame for out of the strokes.
void FitStrokes(StrokeFile& strokes, std::uint32_t frames, const PngSize& size)
{
    std::erase_if(strokes.frames, [&](const ManualFrame& manual) {
        if (static_cast<std::uint32_t>(manual.frame) < frames) return false;
        ReportMatteProblem(
            manual.frame,
            Text("$$$/QLHost/Matte/NoSuchFrame=the clip has only @0 frames; its strokes were left out",
                 {std::to_string(frames)}));
        return true;
    });
    for (ManualFrame& manual : strokes.frames) {
        CutSpan(manual, frames);
        CheckStrokes(manual, strokes.size, size);
    }
}

// Without the plug-in that offers the segmenter no span can be made; the library's own words say so.
void Begin(MatteRun& run)
{
    try {
        run.Begin();
    } catch (const zvkcore::config::Error& error) {
        ReportMatteProblem(-1, error.what());
        throw int{U_Err_UNKNOWN};
    }
}

// The steps of a run; those that cannot be stopped by one frame throw.
Err RunAll(MatteRun& run)
{
    return U_TrySection([&] {
        Begin(run);
        run.Render();
        if (IsInterrupted()) return;
        run.Freeze();
        if (IsInterrupted()) return;
        run.Save();
        run.Restore();
        run.Serve();
    });
}

ExitCode ExitOf(const MatteResult& result)
{
    if (result.interrupted) return kExitInterrupted;
    const std::size_t all = result.covered;
    const bool complete =
        all > 0 && result.Rendered() == all && result.Frozen() == all && result.identical == all;
    return complete ? kExitDone : kExitSomeFramesFailed;
}

}  // namespace

int MakeMattes(const MatteOptions& options)
{
    std::string why;
    const Clip clip = ListClip(options.render.clip, why);
    if (clip.frames.empty()) return Fail(kExitUnusableFolder, why);
    const Rate& rate = *FindRate(options.render.rate);
    const MatteOutput output{options.render.out, options.truth, rate};
    if (!output.Prepare(why)) return Fail(kExitUnusableFolder, why);

    LibraryLife life{options.render, why};
    if (!life.Born()) return Fail(kExitLibraryFailed, why);
    StrokeFile strokes;
    if (!ReadStrokes(options.strokes.empty() ? options.render.clip / "strokes.txt" : options.strokes, strokes,
                     why))
        return Fail(kExitUnusableFolder, why);
    const PluginLife plugins{
        options.render.plugins.empty() ? BesideProgram("plugins") : options.render.plugins, why};
    if (!plugins.Started()) return Fail(kExitUnusableFolder, why);

    const InterruptScope interrupt;
    MatteSource source{clip};
    if (!source.FindSize())
        return Fail(kExitUnusableFolder, Text("$$$/QLHost/Matte/NoFrame=@0 has no frame that can be read",
                                              {options.render.clip.string()}));
    FitStrokes(strokes, static_cast<std::uint32_t>(clip.frames.size()), source.Size());
    source.TakeStrokes(strokes);

    unsigned long long first = 0, second = 0;
    U_GetMemUsageLimits(&first, &second);
    MemoryHistory memory{first};
    MatteRun run{source, strokes, options, output, memory};
    const Err err = RunAll(run);
    const MatteResult result = run.End();
    U_DisplayPostedErrors();
    if (err != 0 && result.Rendered() == 0) return kExitLibraryFailed;

    const bool drawn = output.DrawContactSheet(result.frames) &&
                       WriteMatteTable(result, rate, options.render.out / "mattes.csv");
    PrintMatteSummary(result, memory, strokes, rate);
    if (!drawn)
        return Fail(kExitUnusableFolder,
                    Text("$$$/QLHost/Matte/CannotWrite=@0 cannot be written", {options.render.out.string()}));
    std::printf("%s\n",
                Text("$$$/QLHost/Matte/Summary/Wrote=Wrote     mattes, composites and contact.png to @0",
                     {options.render.out.string()})
                    .c_str());
    return err != 0 ? kExitSomeFramesFailed : ExitOf(result);
}

}  // namespace qlhost
