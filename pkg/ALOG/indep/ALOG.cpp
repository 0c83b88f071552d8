// One line a call: module, blank, level, blank, message, newline, given to the trace facility as one text.
//
// The line is made on the stack, in one buffer, and nothing is allocated here. Whether there is anybody to
// read it is asked in two steps: the console log file once a process, the trace whenever its settings have
// changed.
#define ALOG_NO_INLINE
#include "ALOG.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <exception>
#include <string_view>

#include "ALOGp.h"
#include "ALOGp_Format.h"
#include "zvkcore/console/ConsoleLogFile.h"
#include "zvkcore/debug/Trace.h"

// Set when the process's first log call found no file; never cleared.
unsigned char ALOG_g_isSilent = 0;

namespace {

constexpr int kTraceLevel = 5;
constexpr char kTraceName[] = "ALOG";

// State of the process, alive from load to unload. Two threads may both ask for the log file at first; they
// hear the same.
std::atomic<bool> g_hasLogFile{false};       // known once ALOG_g_isSilent or this is set
std::atomic<uint32_t> sTraceChangeCount{0};  // the count for which the next answer holds
std::atomic<bool> g_traceEnabled{false};

[[gnu::cold, gnu::noinline]] bool AskLogFile() noexcept
{
    const bool exists = zvkcore::console::ConsoleLogFile::GetInstance()->Exists();
    if (exists) {
        g_hasLogFile.store(true, std::memory_order_relaxed);
    } else {
        __atomic_store_n(&ALOG_g_isSilent, 1, __ATOMIC_RELAXED);
    }
    return exists;
}

inline bool HasLogFile() noexcept
{
    if (__atomic_load_n(&ALOG_g_isSilent, __ATOMIC_RELAXED)) return false;
    return g_hasLogFile.load(std::memory_order_relaxed) || AskLogFile();
}

// A question that fails, for lack of memory say, loses its line: logging never makes the logged work fail.
[[gnu::cold, gnu::noinline]] void AskTrace() noexcept
{
    bool enabled = false;
    try {
        enabled = zvkcore::debug::TraceEnabled(kTraceName, kTraceLevel, true);
    } catch (const std::exception&) {
        sTraceChangeCount.store(0, std::memory_order_release);  // the next line asks again
    }
    g_traceEnabled.store(enabled, std::memory_order_release);
}

bool IsTraceEnabled() noexcept
{
    const uint32_t now = zvkcore::debug::TraceChangeCount();
    // The plain read first, so that threads which log do not write to one word in turn.
    if (sTraceChangeCount.load(std::memory_order_acquire) != now &&
        sTraceChangeCount.exchange(now, std::memory_order_acq_rel) != now) {
        AskTrace();
    }
    return g_traceEnabled.load(std::memory_order_acquire);
}

/// A text that stops at a limit instead of growing. The newline has a place of its own behind the limit.
class Line {
  public:
    Line(const char* module, const char* level)
    {
        AppendWithBlank(module);
        AppendWithBlank(level);
    }

    void Append(std::string_view text)
    {
        const size_t count = std::min(text.size(), Room());
        std::memcpy(m_bytes + m_size, text.data(), count);
        m_size += count;
    }

    void AppendFormat(const char* format, va_list arguments) ALOG_FORMAT(2, 0)
    {
        m_size += ALOGp_Format(m_bytes + m_size, Room() + 1, format, arguments);
    }

    void Send()
    {
        if (!IsTraceEnabled()) return;
        m_bytes[m_size] = '\n';
        zvkcore::debug::Trace(kTraceLevel, kTraceName, std::string_view(m_bytes, m_size + 1));
    }

  private:
    void AppendWithBlank(const char* text)
    {
        Append(text ? text : "");
        Append(" ");
    }

    size_t Room() const { return ALOG_kLineSize - m_size; }

    size_t m_size = 0;
    char m_bytes[ALOG_kLineSize + 1];
};

// Kept apart, so that a call without a log file pays for no buffer.
[[gnu::noinline]] void WriteText(const char* module, const char* level, const char* text)
{
    Line line(module, level);
    if (text) line.Append(std::string_view(text, strnlen(text, ALOG_kLineSize)));
    line.Send();
}

[[gnu::noinline]] void WriteFormat(const char* module, const char* level, const char* format,
                                   va_list arguments) ALOG_FORMAT(3, 0);

void WriteFormat(const char* module, const char* level, const char* format, va_list arguments)
{
    Line line(module, level);
    if (format) line.AppendFormat(format, arguments);
    line.Send();
}

}  // namespace

bool ALOGp_HasLogFile() noexcept
{
    return HasLogFile();
}

int ALOG_Log(int, const char* module, const char* level, const char* text)
{
    if (HasLogFile()) WriteText(module, level, text);
    return 0;
}

int ALOG_sprintf(int, const char* module, const char* level, const char* format, ...)
{
    if (!HasLogFile()) return 0;
    va_list arguments;
    va_start(arguments, format);
    WriteFormat(module, level, format, arguments);
    va_end(arguments);
    return 0;
}

int ALOG_vsprintf(int, const char* module, const char* level, const char* format, va_list arguments)
{
    if (HasLogFile()) WriteFormat(module, level, format, arguments);
    return 0;
}

zvkcore::string::UTF8String ALOG_convertMesg(const char* prefix, const char* format, ...)
{
    char text[ALOG_kLineSize];
    size_t size = 0;
    if (prefix) {
        size = strnlen(prefix, sizeof text - 2);
        std::memcpy(text, prefix, size);
        text[size++] = ' ';
    }
    va_list arguments;
    va_start(arguments, format);
    if (format) size += ALOGp_Format(text + size, sizeof text - size, format, arguments);
    va_end(arguments);
    return zvkcore::string::UTF8String{zvkcore::string::Units(std::string_view(text, size))};
}
