// A table of the rendered frames as comma-separated values. Deliberately not safe for threads, as old writers are:
// it has one line buffer for all. Renders take the big mutex around it.
#ifndef QLHOST_FRAMETABLE_H
#define QLHOST_FRAMETABLE_H

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

namespace qlhost {

class FrameTable {
  public:
    explicit FrameTable(const std::filesystem::path& file);
    bool IsOpen() const { return m_file != nullptr; }

    /// Call under the big mutex.
    void Add(std::size_t pass, std::size_t frame, const std::string& timecode, double luma);

  private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_file;
    char m_line[128] = "";
};

}  // namespace qlhost

#endif
