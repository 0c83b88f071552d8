// Trace sites: the cached answer, and the two forms that a line has.
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "Up_TraceLine.h"
#include "zvkcore/threads/ThreadID.h"

// The channel whose lines go out bare, with level and channel beside them instead of in front of the text.
static constexpr std::string_view kBareChannel = "U_Memory";

void U_TraceLine::Refresh() noexcept
{
    bool enabled = false;
    try {
        enabled = zvkcore::debug::TraceEnabled(m_channel, m_level, true);
    } catch (const std::exception&) {
        m_changeCount.store(0);  // no answer, for lack of memory say: this line is lost, the next one asks again
    }
    m_enabled.store(enabled, std::memory_order_release);
}

void U_TraceLine::Write(const U_UTF8String& text) const
{
    const std::string_view words = zvkcore::string::View(text);
    if (m_channel == kBareChannel) {
        zvkcore::debug::Trace(m_level, m_channel, words);
        return;
    }
    std::string line;
    line.append("<").append(std::to_string(zvkcore::threads::GetCurrentThreadID())).append("> <");
    line.append(m_channel).append("> <").append(std::to_string(m_level)).append("> ");
    line.append(words).append("\n");
    zvkcore::debug::Trace(line);
}
