// What a thread remembers of its latest report: the text in its logging buffer, and the last-error record.
//
// Both are made at the thread's first report and freed at its end. The thread-local words themselves need no
// destruction, so that a report made while the thread ends finds them, if empty.
#include <cstring>
#include <functional>
#include <new>
#include <utility>

#include "U_String.h"
#include "Up_Err.h"
#include "zvkcore/string/Convert.h"
#include "zvkcore/string/Truncate.h"

namespace {

// Owned by the thread; null before its first report.
thread_local constinit char* s_thread_logging_buffer = nullptr;
thread_local constinit Up_LastErrorState* s_thread_last_error = nullptr;
thread_local constinit bool t_hasEnded = false;  // nothing is made any more

// Shared by all threads that could not have a buffer of their own; its last byte stays 0, so it is a
// terminated text whatever two such threads write into it.
char s_fallback_logging_buffer[Up_kLoggingBufferSize];

struct ThreadEnd {
    ~ThreadEnd()
    {
        t_hasEnded = true;
        Up_CleanupThreadLoggingBuffer(std::exchange(s_thread_logging_buffer, nullptr));
        Up_CleanupThreadLastErrorState(std::exchange(s_thread_last_error, nullptr));
    }
};

/// The thread's record of a kind, made when it is missing and `create` says so; null when that fails.
template <class T, class Make>
T* ThreadRecord(T*& record, bool create, Make&& make) noexcept
{
    if (record || !create || t_hasEnded) return record;
    try {
        static thread_local ThreadEnd t_end;
        static_cast<void>(&t_end);
        record = make();
    } catch (...) {
        // Reported by the new handler; the caller has a way to go on.
    }
    return record;
}

Up_LastErrorState* LastErrorState(bool create) noexcept
{
    return ThreadRecord(s_thread_last_error, create, [] { return new Up_LastErrorState{}; });
}

}  // namespace

void Up_CleanupThreadLastErrorState(Up_LastErrorState* state)
{
    delete state;
}
void Up_CleanupThreadLoggingBuffer(char* buffer)
{
    delete[] buffer;
}

char* Up_GetThreadLoggingBufferEx(bool do_not_create)
{
    char* buffer = ThreadRecord(s_thread_logging_buffer, !do_not_create, [] {
        char* made = new char[Up_kLoggingBufferSize];
        made[0] = 0;
        return made;
    });
    return buffer || do_not_create ? buffer : s_fallback_logging_buffer;
}

char* Up_GetThreadLoggingBuffer()
{
    return Up_GetThreadLoggingBufferEx(false);
}

void Up_CopyToThreadLoggingBuffer(const char* text)
{
    char* buffer = Up_GetThreadLoggingBuffer();
    const std::less<const char*> before;
    if (!before(text, buffer) && before(text, buffer + Up_kLoggingBufferSize)) {
        // The buffer's own text, or its tail: it fits, and the two overlap.
        std::memmove(buffer, text, std::strlen(text) + 1);
    } else {
        U_CopyString(text ? text : "", Up_kLoggingBufferSize, buffer);
    }
}

void Up_CopyToThreadLoggingBuffer(const U_UTF16String& text)
{
    U_UTF8String bytes = zvkcore::string::GetUTF8BOM_String();
    bytes += zvkcore::string::UTF16to8(text);
    zvkcore::string::TruncateStringToNumBytes(bytes, Up_kLoggingBufferSize - 1);
    std::memcpy(Up_GetThreadLoggingBuffer(), bytes.c_str(), bytes.size() + 1);
}

U_UTF16String Up_GetGlobal_UBUF16()
{
    const char* buffer = Up_GetThreadLoggingBuffer();
    const std::string_view text(buffer, strnlen(buffer, Up_kLoggingBufferSize));
    if (!zvkcore::string::StringBeginsWithUTF8BOM(text)) return U_MBToUTF16String(buffer);
    U_UTF8String bytes{zvkcore::string::Units(text)};
    zvkcore::string::RemoveUTF8BOM_IfPresent(bytes);
    return zvkcore::string::UTF8to16(bytes);
}

int Up_GetThreadLastError()
{
    const Up_LastErrorState* last = LastErrorState(false);
    return last ? last->last_error : 0;
}

U_Severity Up_GetThreadLastSeverity()
{
    const Up_LastErrorState* last = LastErrorState(false);
    return last ? last->severity : 0;
}

uint32_t Up_GetThreadLastLocation()
{
    const Up_LastErrorState* last = LastErrorState(false);
    return last ? last->location : 0;
}

int Up_SetThreadLastError(int error)
{
    if (Up_LastErrorState* last = LastErrorState(true)) last->last_error = error;
    return error;
}

void Up_SetThreadLastReport(U_Severity severity, uint32_t location)
{
    Up_LastErrorState* last = LastErrorState(true);
    if (!last) return;
    last->severity = severity;
    last->location = location;
}
