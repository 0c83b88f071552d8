// A clip: the PNG files of a folder, in the order of their names.
#ifndef QLHOST_CLIP_H
#define QLHOST_CLIP_H

#include <filesystem>
#include <string>
#include <vector>

namespace qlhost {

struct Clip {
    std::vector<std::filesystem::path> frames;
};

/// Lists the frames of a folder. On failure the clip is empty and `why` says in one line what is wrong.
Clip ListClip(const std::filesystem::path& folder, std::string& why);

}  // namespace qlhost

#endif
