#include "Clip.h"

#include <algorithm>

namespace qlhost {

Clip ListClip(const std::filesystem::path& folder, std::string& why)
{
    namespace fs = std::filesystem;
    Clip clip;
    std::error_code error;
    for (fs::directory_iterator entry{folder, error}, end; !error && entry != end; entry.increment(error)) {
        if (entry->path().extension() == ".png") clip.frames.push_back(entry->path());
    }
    if (error) {
        why = folder.string() + ": " + error.message();
        clip.frames.clear();
    } else if (clip.frames.empty()) {
        why = folder.string() + " holds no .png file";
    }
    std::sort(clip.frames.begin(), clip.frames.end());
    return clip;
}

}  // namespace qlhost
