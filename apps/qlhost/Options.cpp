#include "Options.h"

#include <CLI/CLI.hpp>

#include "Job.h"
#include "Labels.h"
#include "Transform.h"

namespace qlhost {
namespace {

constexpr const char* kAbout =
    "Sample host of the foundation library: plays a folder of PNG frames on several render threads through a "
    "frame cache that the library asks to purge when memory runs over the limit.";

constexpr const char* kExitCodes =
    "Exit codes: 0 every frame was rendered; 1 some frames could not be read; 2 bad arguments;\n"
    "3 a folder or file cannot be used; 4 the library or its plug-in could not start; 5 stopped by Escape or "
    "Ctrl-C.";

// What every command that renders a clip takes, but the clip itself.
void AddCommonOptions(CLI::App& app, RenderOptions& render)
{
    app.add_option("--out", render.out, "Folder for the log and the pictures")->capture_default_str();
    app.add_option("--log", render.log, "Log file (default: qlhost.log in the output folder)");
    app.add_option("--limit", render.limitMiB, "Memory limit in MiB, the library's own share included")
        ->check(CLI::Range(std::uint64_t{160}, std::uint64_t{1} << 20))
        ->capture_default_str();
    app.add_option("--threads", render.threads, "Render threads (0: as many as the library advises)")
        ->check(CLI::Range(0, 64))
        ->capture_default_str();
    app.add_option("--rate", render.rate, "Rate of the timecode labels: " + RateNames())
        ->check(CLI::Validator(
            [](std::string& text) {
                return FindRate(text) ? std::string() : "'" + text + "' is none of " + RateNames();
            },
            "RATE"))
        ->capture_default_str();
    auto* dictionary = app.add_option("--dictionary", render.dictionary, "Stored dictionary for all messages")
                           ->check(CLI::ExistingFile);
    app.add_flag("--english", render.english, "Speak English whatever the dictionary says")
        ->excludes(dictionary);
    app.add_flag("--quiet", render.quiet, "Show no progress");
}

void AddRenderOptions(CLI::App& app, RenderOptions& render)
{
    app.add_option("clip", render.clip, "Folder of PNG frames, played in the order of their names");
    AddCommonOptions(app, render);
    app.add_option("--passes", render.passes, "How often the clip is played, forwards and backwards in turn")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--plugins", render.plugins, "Folder of plug-ins that are told of the run");
    app.add_option(
           "--transform", render.transform,
           "Move, scale and turn the frames, as \"scale 0.5 0.5; rotate 30 about 0 0; translate 100 0\"")
        ->check(CLI::Validator(
            [](std::string& text) {
                std::string why;
                return ParseTransform(text, why) ? std::string() : why;
            },
            "STEPS"));
    app.add_option("--gather", render.gatherTitle, "Gather all problems under this title");
    app.add_flag("--watch-locks", render.watchLocks,
                 "Print both stacks when two locks are taken both ways round");
    app.add_flag("--json", render.json, "Print the summary as JSON, and all else to standard error");
}

void AddMatteOptions(CLI::App& command, MatteOptions& matte)
{
    command
        .add_option("clip", matte.render.clip,
                    "Folder of PNG frames of one size, in the order of their names")
        ->required();
    command.add_option("--strokes", matte.strokes,
                       "Strokes on the clip (default: strokes.txt in its folder)");
    command.add_option("--plugins", matte.render.plugins,
                       "Folder of plug-ins (default: plugins beside this program)");
    command.add_option("--truth", matte.truth,
                       "Folder of true mattes, matte_0000.png and so on, to compare with");
    AddCommonOptions(command, matte.render);
}

void AddGenerateOptions(CLI::App& command, GenerateOptions& generate)
{
    command.add_option("folder", generate.folder, "Where the frames go")->required();
    command.add_option("--frames", generate.frames, "Frames to make")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str();
    command.add_option("--width", generate.width, "Width in pixels")
        ->check(CLI::Range(16, 8192))
        ->capture_default_str();
    command.add_option("--height", generate.height, "Height in pixels")
        ->check(CLI::Range(16, 8192))
        ->capture_default_str();
}

}  // namespace

std::optional<Options> ParseOptions(int argc, char** argv, int& exitCode)
{
    Options options;
    GenerateOptions generate;
    MatteOptions matte;
    matte.render.limitMiB = 512;  // a segmenter's own pictures need room beside the caches
    CLI::App app{kAbout, "qlhost"};
    app.footer(kExitCodes);
    AddRenderOptions(app, options.render);
    AcceptJob(app);
    auto* command = app.add_subcommand("generate", "Makes the sample clip");
    AddGenerateOptions(*command, generate);
    auto* cut = app.add_subcommand("matte", "Cuts the stroked subject out of every frame of a clip");
    AddMatteOptions(*cut, matte);

    std::filesystem::path plugins;
    auto* show = app.add_subcommand("plugins", "Starts the plug-ins of a folder and prints a table of them");
    show->add_option("folder", plugins, "Folder of plug-ins")->required();

    try {
        app.parse(argc, argv);
        if (!*command && !*cut && !*show && options.render.clip.empty()) throw CLI::RequiredError("clip");
    } catch (const CLI::ParseError& fault) {
        exitCode = app.exit(fault) == 0 ? kExitDone : kExitBadArguments;
        return std::nullopt;
    }
    if (*command) options.generate = generate;
    if (*cut) options.matte = matte;
    if (*show) options.showPlugins = plugins;
    return options;
}

}  // namespace qlhost
