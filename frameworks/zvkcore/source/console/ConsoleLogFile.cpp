// The file layer of spdlog, used as an object of our own: its registry is one a shared object and dies at
// exit. The text comes finished, so nothing above that layer (time, pattern, level) is wanted.
//
// State: the one instance and its file, made in place at first use, so that asking for them never lacks
// memory, and never destroyed; guard: the file's, held across a write. The C library flushes the buffer when
// the process ends normally.
#include "zvkcore/console/ConsoleLogFile.h"

#include <spdlog/details/file_helper.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "zvkcore/debug/Trace.h"

namespace zvkcore::console {
namespace {

// Stands in front of the sink that the host had before, so that opening the file takes nothing from it.
struct FileSink {
    debug::TraceSink former;

    void operator()(int level, std::string_view channel, std::string_view text) const
    {
        ConsoleLogFile::GetInstance()->Write(text);
        if (former) former(level, channel, text);
    }
};

struct File {
    std::mutex guard;
    std::unique_ptr<spdlog::details::file_helper> helper;
    std::atomic<bool> exists{false};
};

File& TheFile()
{
    alignas(File) static unsigned char s_room[sizeof(File)];
    static File* const s_file = new (s_room) File;
    return *s_file;
}

std::unique_ptr<spdlog::details::file_helper> OpenHelper(const char* path, bool append)
{
    auto helper = std::make_unique<spdlog::details::file_helper>();
    helper->open(path, !append);
    return helper;
}

// A sink that the host has installed since then stays.
void LeaveTrace()
{
    debug::TraceSink current = debug::SetTraceSink({});
    if (const auto* ours = current.target<FileSink>()) {
        debug::SetTraceSink(ours->former);
    } else {
        debug::SetTraceSink(std::move(current));
    }
}

}  // namespace

ConsoleLogFile* ConsoleLogFile::GetInstance() noexcept
{
    static constinit ConsoleLogFile s_instance;
    return &s_instance;
}

bool ConsoleLogFile::Open(const char* path, bool append) noexcept
{
    Close();
    if (path == nullptr || *path == 0) return false;
    try {
        File& file = TheFile();
        {
            const std::lock_guard lock{file.guard};
            file.helper = OpenHelper(path, append);
            file.exists.store(true, std::memory_order_release);
        }
        debug::TraceSink former = debug::SetTraceSink({});
        debug::SetTraceSink(FileSink{std::move(former)});
        return true;
    } catch (const std::exception&) {
        Close();
        return false;
    }
}

void ConsoleLogFile::Close() noexcept
{
    File& file = TheFile();
    if (!file.exists.exchange(false)) return;
    LeaveTrace();
    const std::lock_guard lock{file.guard};
    file.helper.reset();
}

bool ConsoleLogFile::Exists() const noexcept
{
    return TheFile().exists.load(std::memory_order_acquire);
}

void ConsoleLogFile::Write(std::string_view text) noexcept
{
    File& file = TheFile();
    const std::lock_guard lock{file.guard};
    if (file.helper == nullptr) return;
    try {
        spdlog::memory_buf_t bytes;
        bytes.append(text.data(), text.data() + text.size());
        file.helper->write(bytes);
    } catch (const std::exception&) {
        // The log is the last place that could tell of it.
    }
}

void ConsoleLogFile::Flush() noexcept
{
    File& file = TheFile();
    const std::lock_guard lock{file.guard};
    if (file.helper == nullptr) return;
    try {
        file.helper->flush();
    } catch (const std::exception&) {
        // As above.
    }
}

}  // namespace zvkcore::console
