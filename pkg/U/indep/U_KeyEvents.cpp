// The source of key events. State: one record for the process, under its mutex, from load to exit.
#include "Up_KeyEvents.h"

#include <mutex>
#include <utility>

namespace {

constinit std::mutex g_sourceMutex;
constinit U_KeyEventSource g_source = {nullptr, nullptr, nullptr};  // null functions: the terminal

}  // namespace

U_KeyEventSource Up_CurrentKeyEventSource()
{
    const std::lock_guard lock{g_sourceMutex};
    return g_source.next && g_source.flush ? g_source : Up_TerminalKeyEventSource();
}

U_KeyEventSource U_SetKeyEventSource(const U_KeyEventSource& source)
{
    const std::lock_guard lock{g_sourceMutex};
    return std::exchange(g_source, source);
}
