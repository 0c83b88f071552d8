#include "FrameReader.h"

#include <U_SuspendContext.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace qlhost {
namespace {

// A file is read in steps of this many bytes, so that no size has to be believed beforehand.
constexpr std::size_t kStep = 1 << 18;

int ReadAll(const std::filesystem::path& path, std::vector<std::uint8_t>& bytes)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file{std::fopen(path.c_str(), "rb"), std::fclose};
    if (!file) return errno;
    for (std::size_t used = 0;;) {
        bytes.resize(used + kStep);
        const std::size_t read = std::fread(bytes.data() + used, 1, kStep, file.get());
        used += read;
        if (read == kStep) continue;
        bytes.resize(used);
        return std::ferror(file.get()) ? errno : 0;
    }
}

}  // namespace

std::shared_ptr<const std::vector<std::uint8_t>> FrameReader::Read(const std::filesystem::path& file,
                                                                   std::string& why)
{
    // Shared with the reader's thread, which may outlast this call when the host ends early. The system's error
    // numbers travel beside the result, whose numbers are the library's.
    struct Answer {
        std::vector<std::uint8_t> bytes;
        int systemError = 0;
    };
    const auto answer = std::make_shared<Answer>();
    U_SuspendContext lending;
    const Err err = lending.CallOnThreadedExecutor(m_executor, [file, answer] {
        answer->systemError = ReadAll(file, answer->bytes);
        return U_Err_NONE;
    });
    if (err != 0) {
        why = err == U_SuspendContext::kTerminated ? "stopped" : "error " + std::to_string(err);
    } else if (answer->systemError != 0) {
        why = std::strerror(answer->systemError);
    } else {
        return {answer, &answer->bytes};
    }
    return nullptr;
}

}  // namespace qlhost
