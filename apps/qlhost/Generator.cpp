#include "Generator.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <mutex>
#include <thread>
#include <vector>

#include "Png.h"
#include "Scene.h"

namespace qlhost {
namespace {

// Raised whenever the scene changes, so that a clip of another version is made anew.
constexpr int kSceneVersion = 3;

std::string CompleteMark(const GenerateOptions& options)
{
    return std::to_string(kSceneVersion) + " " + std::to_string(options.frames) + " " +
           std::to_string(options.width) + " " + std::to_string(options.height) + "\n";
}

std::string Numbered(const char* stem, int frame)
{
    char name[32];
    std::snprintf(name, sizeof name, "%s_%04d.png", stem, frame);
    return name;
}

bool WriteText(const std::filesystem::path& file, const std::string& text, std::string& why)
{
    if (std::ofstream{file} << text << std::flush) return true;
    why = "cannot write " + file.string();
    return false;
}

}  // namespace

bool IsGenerated(const GenerateOptions& options)
{
    std::ifstream file{options.folder / "complete"};
    return std::string{std::istreambuf_iterator<char>{file}, {}} == CompleteMark(options);
}

bool GenerateClip(const GenerateOptions& options, std::string& why)
{
    std::error_code error;
    const auto truthFolder = options.folder / "truth";
    std::filesystem::create_directories(truthFolder, error);
    if (error) {
        why = truthFolder.string() + ": " + error.message();
        return false;
    }
    const PngSize size{static_cast<std::uint32_t>(options.width), static_cast<std::uint32_t>(options.height)};
    std::atomic<int> next{0};
    std::mutex mutex;  // guards why

    auto work = [&] {
        std::vector<std::uint8_t> rgba(size.Bytes()), truth(size.Bytes() / 4);
        for (int frame = next++; frame < options.frames; frame = next++) {
            PaintScene(options, frame, rgba, truth);
            std::string fault;
            if (WritePng(options.folder / Numbered("frame", frame), size, rgba.data(), fault) &&
                WriteGrayPng(truthFolder / Numbered("matte", frame), size, truth.data(), fault)) {
                continue;
            }
            next = options.frames;
            const std::lock_guard lock{mutex};
            why = (options.folder / Numbered("frame", frame)).string() + ": " + fault;
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < std::max(1u, std::thread::hardware_concurrency()); ++i)
        threads.emplace_back(work);
    for (auto& thread : threads) thread.join();

    return why.empty() && WriteText(options.folder / "strokes.txt", SceneStrokes(options), why) &&
           WriteText(options.folder / "complete", CompleteMark(options), why);
}

}  // namespace qlhost
