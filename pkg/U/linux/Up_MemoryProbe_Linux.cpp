// Memory figures of Linux: pages of this process from /proc/self/statm, its swapped part from /proc/self/status,
// and the machine's from /proc/meminfo.
//
// State: one kept descriptor a file, since opening costs five times what reading costs. A descriptor of
// /proc/self belongs to the process that opened it, so a forked child opens its own; the parent's are closed there.
#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <mutex>
#include <string_view>

#include "Up_Memory.h"

namespace {

// Reads a file of /proc from its beginning, as often as one likes.
class KeptFile {
  public:
    explicit constexpr KeptFile(const char* path) : m_path(path) {}
    ~KeptFile() { Close(); }

    /// Gives the first `size` bytes of it at most; empty when it cannot be read.
    std::string_view Read(char* buffer, std::size_t size)
    {
        std::lock_guard lock(m_mutex);
        if (m_descriptor < 0 || m_owner != getpid()) Open();
        if (m_descriptor < 0) return {};
        const ssize_t count = pread(m_descriptor, buffer, size, 0);
        return count > 0 ? std::string_view(buffer, static_cast<std::size_t>(count)) : std::string_view{};
    }

  private:
    void Open()
    {
        Close();
        m_descriptor = open(m_path, O_RDONLY | O_CLOEXEC);
        m_owner = getpid();
    }

    void Close()
    {
        if (m_descriptor >= 0) close(m_descriptor);
        m_descriptor = -1;
    }

    const char* m_path;
    std::mutex m_mutex;  // guards the descriptor
    int m_descriptor = -1;
    pid_t m_owner = 0;
};

// Closed when the library is unloaded; who asks behind that opens them again.
constinit KeptFile g_statm("/proc/self/statm");
constinit KeptFile g_status("/proc/self/status");
constinit KeptFile g_meminfo("/proc/meminfo");

constexpr std::uint64_t kBytesInKB = 1024;

std::uint64_t PageSize()
{
    static const long size = sysconf(_SC_PAGESIZE);
    return static_cast<std::uint64_t>(size > 0 ? size : 4096);
}

// Takes the next number off the text, skipping blanks.
bool TakeNumber(std::string_view& text, std::uint64_t* number)
{
    const std::size_t start = text.find_first_not_of(" \t");
    if (start == std::string_view::npos) return false;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + start, end, *number);
    if (error != std::errc{}) return false;
    text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
    return true;
}

// The figure of the line that begins with `label`, which ends in a colon; in kB.
bool FindFigure(std::string_view text, std::string_view label, std::uint64_t* figure)
{
    while (!text.empty()) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (!line.starts_with(label)) continue;
        line.remove_prefix(label.size());
        return TakeNumber(line, figure);
    }
    return false;
}

bool ReadProcess(void*, std::uint64_t* virtualBytes, std::uint64_t* residentBytes)
{
    char buffer[256];
    std::string_view text = g_statm.Read(buffer, sizeof buffer);
    std::uint64_t virtualPages = 0;
    std::uint64_t residentPages = 0;
    if (!TakeNumber(text, &virtualPages) || !TakeNumber(text, &residentPages)) return false;
    *virtualBytes = virtualPages * PageSize();
    *residentBytes = residentPages * PageSize();
    return true;
}

bool ReadFootprint(void*, std::uint64_t* bytes)
{
    char buffer[4096];
    const std::string_view text = g_status.Read(buffer, sizeof buffer);
    std::uint64_t resident = 0;
    std::uint64_t swapped = 0;
    if (!FindFigure(text, "VmRSS:", &resident)) return false;
    // A kernel without swap has no such line.
    if (!FindFigure(text, "VmSwap:", &swapped)) swapped = 0;
    *bytes = (resident + swapped) * kBytesInKB;
    return true;
}

bool ReadMachine(void*, std::uint64_t* pageSize, std::uint64_t* freePages, std::uint64_t* inactivePages)
{
    char buffer[4096];
    const std::string_view text = g_meminfo.Read(buffer, sizeof buffer);
    std::uint64_t free = 0;
    std::uint64_t inactive = 0;
    if (!FindFigure(text, "MemFree:", &free) || !FindFigure(text, "Inactive:", &inactive)) return false;
    *pageSize = PageSize();
    *freePages = free * kBytesInKB / PageSize();
    *inactivePages = inactive * kBytesInKB / PageSize();
    return true;
}

}  // namespace

constinit const U_MemoryProbe Up_G_platformProbe = {sizeof(U_MemoryProbe), nullptr, &ReadProcess,
                                                    &ReadFootprint, &ReadMachine};
