// What the command line asks for. Parsing is CLI11's; every fault there is one sentence on standard error and
// exit code 2.
#ifndef QLHOST_OPTIONS_H
#define QLHOST_OPTIONS_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace qlhost {

enum ExitCode {
    kExitDone = 0,
    kExitSomeFramesFailed = 1,
    kExitBadArguments = 2,
    kExitUnusableFolder = 3,
    kExitLibraryFailed = 4,
    kExitInterrupted = 5,
};

struct GenerateOptions {
    std::filesystem::path folder;
    int frames = 60;
    int width = 1920;
    int height = 1080;
};

struct RenderOptions {
    std::filesystem::path clip;
    std::filesystem::path out = "qlhost-out";
    std::filesystem::path log;         // empty: `out`/qlhost.log
    std::filesystem::path dictionary;  // empty: the keys' own English
    std::filesystem::path plugins;     // folder of plug-ins; empty: none
    std::string rate = "24";
    std::string transform;    // steps, readable by ParseTransform; empty: frames as they are
    std::string gatherTitle;  // empty: problems are grouped by their kind
    std::uint64_t limitMiB = 384;
    int threads = 0;  // 0: as many as the library advises
    int passes = 2;
    bool english = false;
    bool watchLocks = false;
    bool quiet = false;
    bool json = false;
};

struct MatteOptions {
    RenderOptions render;           // without plug-ins: those of the folder `plugins` beside the program
    std::filesystem::path strokes;  // empty: strokes.txt in the clip's folder
    std::filesystem::path truth;    // empty: nothing to compare with
};

struct Options {
    std::optional<GenerateOptions> generate;
    std::optional<MatteOptions> matte;
    std::optional<std::filesystem::path> showPlugins;  // of this folder
    RenderOptions render;
};

/// Reads the command line. Without a value the program ends at once with `exitCode`: help was asked for, or an
/// argument was wrong and has been explained.
std::optional<Options> ParseOptions(int argc, char** argv, int& exitCode);

}  // namespace qlhost

#endif
