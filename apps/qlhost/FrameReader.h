// Reads the bytes of files on one thread of its own, so that render threads block there and not on the disk. The
// contexts of a render go along: what is reported or asked for on the reader's thread belongs to that render.
#ifndef QLHOST_FRAMEREADER_H
#define QLHOST_FRAMEREADER_H

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "zvkcore/threads/Executors.h"

namespace qlhost {

class FrameReader {
  public:
    /// The whole file, or null with one line in `why`. Blocks the calling render thread, whose contexts are lent
    /// meanwhile.
    std::shared_ptr<const std::vector<std::uint8_t>> Read(const std::filesystem::path& file,
                                                          std::string& why);

  private:
    std::shared_ptr<zvkcore::threads::AsyncThreadedExecutor> m_executor =
        std::make_shared<zvkcore::threads::AsyncThreadedExecutor>("frame reader");
};

}  // namespace qlhost

#endif
