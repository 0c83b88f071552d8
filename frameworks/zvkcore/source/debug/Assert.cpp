// State: the two handlers in their slots, for the life of the process.
#include "zvkcore/debug/Assert.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <utility>

#include "SharedSlot.h"
#include "zvkcore/debug/Trace.h"

namespace zvkcore::debug {
namespace {

constinit SharedSlot<const SimpleAssertHandler> g_simpleHandler;
constinit SharedSlot<const AssertDialogHandler> g_dialogHandler;

template <class Handler>
Handler Install(SharedSlot<const Handler>& slot, Handler handler)
{
    auto next = handler ? std::make_shared<const Handler>(std::move(handler)) : nullptr;
    const auto former = slot.Exchange(std::move(next), [] {});
    return former ? *former : Handler();
}

void TraceAssertion(const char* file, int line, const char* function, const char* expression,
                    const char* message)
{
    const auto text = [](const char* given) { return given != nullptr ? given : "?"; };
    std::string traced = "Assertion failed: ";
    traced.append(text(message)).append(" [").append(text(expression)).append("] in ").append(text(function));
    traced.append(", ").append(text(file)).append(":").append(std::to_string(line)).append("\n");
    Trace(traced);
}

}  // namespace

bool DoSimpleAssert(const char* file, int line, const char* function, const char* expression,
                    const char* message) noexcept
{
    try {
        if (const auto handler = g_simpleHandler.Load()) {
            return (*handler)(file, line, function, expression, message);
        }
        TraceAssertion(file, line, function, expression, message);
    } catch (...) {
        // An assertion is a debugging aid: what it reports goes on, whatever happens to the report.
    }
    return false;
}

bool BreakAfterAssertDialog(bool* ignore, const char* message, const char* expression, const char* file,
                            int line, const char* function) noexcept
{
    try {
        if (const auto handler = g_dialogHandler.Load()) {
            return (*handler)(ignore, message, expression, file, line, function);
        }
    } catch (...) {
        return false;
    }
    return DoSimpleAssert(file, line, function, expression, message);
}

SimpleAssertHandler SetSimpleAssertHandler(SimpleAssertHandler handler)
{
    return Install(g_simpleHandler, std::move(handler));
}

AssertDialogHandler SetAssertDialogHandler(AssertDialogHandler handler)
{
    return Install(g_dialogHandler, std::move(handler));
}

// The kernel names the tracing process in the line "TracerPid:\t<pid>", 0 for none, within the first half
// kilobyte of the file.
bool IsDebuggerAttached() noexcept
{
    const int file = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    char status[1024];
    const ssize_t size = read(file, status, sizeof(status) - 1);
    close(file);
    if (size <= 0) return false;
    status[size] = 0;
    constexpr char kField[] = "\nTracerPid:\t";
    const char* field = std::strstr(status, kField);
    return field != nullptr && field[sizeof(kField) - 1] != '0';
}

}  // namespace zvkcore::debug
