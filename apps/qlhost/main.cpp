// The sample host: births the library, plays a clip under a memory limit, shows what went wrong and what was
// done, and ends the library. Each step is in its own file; this one is the order of them.
#include <U.h>
#include <U_ErrState.h>
#include <U_Memory.h>

#include <cstdio>
#include <optional>
#include <system_error>

#include "Generator.h"
#include "Host.h"
#include "Labels.h"
#include "LockWatch.h"
#include "Matte.h"
#include "Options.h"
#include "Pictures.h"
#include "Plugins.h"
#include "RenderRun.h"
#include "Summary.h"
#include "SummaryJson.h"

namespace qlhost {
namespace {

int Fail(ExitCode code, const std::string& why)
{
    std::fprintf(stderr, "qlhost: %s\n", why.c_str());
    return code;
}

int Generate(const GenerateOptions& options)
{
    std::string why;
    if (!IsGenerated(options) && !GenerateClip(options, why)) return Fail(kExitUnusableFolder, why);
    std::printf("%d frames of %dx%d in %s\n", options.frames, options.width, options.height,
                options.folder.c_str());
    return kExitDone;
}

int Render(const RenderOptions& options)
{
    std::optional<StandardOutput> json;
    if (options.json) json.emplace();
    std::string why;
    const Clip clip = ListClip(options.clip, why);
    if (clip.frames.empty()) return Fail(kExitUnusableFolder, why);
    std::error_code error;
    std::filesystem::create_directories(options.out, error);
    if (error) return Fail(kExitUnusableFolder, options.out.string() + ": " + error.message());

    LibraryLife life{options, why};
    if (!life.Born()) return Fail(kExitLibraryFailed, why);

    std::optional<PluginLife> plugins;
    if (!options.plugins.empty()) {
        plugins.emplace(options.plugins, why);
        if (!plugins->Started()) return Fail(kExitUnusableFolder, why);
        plugins->Tell(HOST_RUN_BEGINS, static_cast<int>(clip.frames.size()), 0);
    }

    FrameTable table{options.out / "frames.csv"};
    if (!table.IsOpen()) return Fail(kExitUnusableFolder, "cannot write to " + options.out.string());
    std::optional<LockWatch> watch;
    if (options.watchLocks) watch.emplace();

    unsigned long long first = 0, second = 0;
    U_GetMemUsageLimits(&first, &second);
    const Rate& rate = *FindRate(options.rate);
    MemoryHistory memory{first};
    Timeline timeline{static_cast<std::size_t>(options.threads > 0 ? options.threads : U_GetMaxNumThreads())};
    const RunResult run = PlayClip(clip, options, rate, table, memory, timeline);

    if (plugins)
        plugins->Tell(HOST_RUN_ENDED, static_cast<int>(clip.frames.size()),
                      static_cast<int>(run.cache.failed));
    U_DisplayPostedErrors();
    if (!json) PrintSummary(run, memory, timeline, rate);
    if (plugins) plugins->PrintCount();
    if (watch)
        std::printf("Locks     %d orders seen, %d both ways round\n", watch->Orders(), watch->Inversions());
    std::vector<std::filesystem::path> files;
    for (const auto& [name, written] :
         {std::pair{"memory.png", DrawMemory(memory, options.out / "memory.png")},
          std::pair{"timeline.png", DrawTimeline(timeline, run.seconds, options.out / "timeline.png")},
          std::pair{"contact.png", DrawContactSheet(run, rate, options.out / "contact.png")}}) {
        if (!written) return Fail(kExitUnusableFolder, "cannot write " + (options.out / name).string());
        files.push_back(options.out / name);
        std::printf("Wrote     %s\n", files.back().c_str());
    }
    if (json) json->Print(SummaryTree(run, memory, timeline, rate, watch ? &*watch : nullptr, files));
    if (run.interrupted) return kExitInterrupted;
    return run.cache.failed ? kExitSomeFramesFailed : kExitDone;
}

}  // namespace
}  // namespace qlhost

int main(int argc, char** argv)
{
    int exitCode = 0;
    const auto options = qlhost::ParseOptions(argc, argv, exitCode);
    if (!options) return exitCode;
    if (options->showPlugins) return qlhost::ShowPlugins(*options->showPlugins, options->render);
    if (options->generate) return qlhost::Generate(*options->generate);
    if (options->matte) return qlhost::MakeMattes(*options->matte);
    return qlhost::Render(options->render);
}
