// A file sink of spdlog's, used as an object of our own: its registry is one a shared object and dies at exit.
// The text comes finished, so the sink formats nothing.
//
// State: the one instance and g_file, made at first use and never destroyed; guard: g_file.guard, held across a
// write. The C library flushes the buffer when the process ends normally.
#include "zvkcore/console/ConsoleLogFile.h"

#include <spdlog/formatter.h>
#include <spdlog/sinks/basic_file_sink.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

#include "zvkcore/debug/Trace.h"

namespace zvkcore::console {
namespace {

class PlainFormatter : public spdlog::formatter {
  public:
    void format(const spdlog::details::log_msg& message, spdlog::memory_buf_t& out) override
    {
        out.append(message.payload.data(), message.payload.data() + message.payload.size());
    }
    std::unique_ptr<spdlog::formatter> clone() const override { return std::make_unique<PlainFormatter>(); }
};

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
    std::unique_ptr<spdlog::sinks::basic_file_sink_st> sink;
    std::atomic<bool> exists{false};
};

File& TheFile()
{
    static File* const file = new File;
    return *file;
}

std::unique_ptr<spdlog::sinks::basic_file_sink_st> MakeSink(const char* path, bool append)
{
    auto sink = std::make_unique<spdlog::sinks::basic_file_sink_st>(path, !append);
    sink->set_formatter(std::make_unique<PlainFormatter>());
    return sink;
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
    static ConsoleLogFile* const instance = new ConsoleLogFile;
    return instance;
}

bool ConsoleLogFile::Open(const char* path, bool append) noexcept
{
    Close();
    if (path == nullptr || *path == 0) return false;
    try {
        File& file = TheFile();
        {
            const std::lock_guard lock{file.guard};
            file.sink = MakeSink(path, append);
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
    file.sink.reset();
}

bool ConsoleLogFile::Exists() const noexcept
{
    return TheFile().exists.load(std::memory_order_acquire);
}

void ConsoleLogFile::Write(std::string_view text) noexcept
{
    File& file = TheFile();
    const std::lock_guard lock{file.guard};
    if (file.sink == nullptr) return;
    try {
        // Nothing prints the time of the line, so the clock is not asked.
        file.sink->log(spdlog::details::log_msg{spdlog::log_clock::time_point{}, spdlog::source_loc{},
                                                spdlog::string_view_t{}, spdlog::level::info,
                                                spdlog::string_view_t{text.data(), text.size()}});
    } catch (const std::exception&) {
        // The log is the last place that could tell of it.
    }
}

void ConsoleLogFile::Flush() noexcept
{
    File& file = TheFile();
    const std::lock_guard lock{file.guard};
    if (file.sink == nullptr) return;
    try {
        file.sink->flush();
    } catch (const std::exception&) {
        // As above.
    }
}

}  // namespace zvkcore::console
