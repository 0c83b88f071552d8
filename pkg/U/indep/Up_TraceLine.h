// A trace site: what stands where a line may be traced, so that a line which nobody wants costs next to
// nothing.
//
//     static constinit U_TraceLine s_line("U", 5);
//     s_line([&] { return ALOG_convertMesg("MEM", "request=%llu", size); });
//
// The text is built only when the channel is enabled for the level. The answer is cached and asked again when
// the trace settings have changed. A line that cannot be built, for lack of memory say, is dropped: tracing
// never makes the traced work fail.
#ifndef UP_TRACELINE_H
#define UP_TRACELINE_H

#include <atomic>
#include <cstdint>
#include <exception>

#include "U_Types.h"
#include "zvkcore/debug/Trace.h"

class U_TraceLine {
  public:
    constexpr U_TraceLine(const char* channel, int level) : m_channel(channel), m_level(level) {}

    /// `build` gives the text as a `U_UTF8String`.
    template <class Build>
    void operator()(Build&& build)
    {
        if (!Enabled()) return;
        try {
            Write(build());
        } catch (const std::exception&) {
            return;  // the line is lost, the work goes on
        } catch (int) {
            return;  // an error code of what the line asks for
        }
    }

    bool Enabled()
    {
        // The plain read first keeps sites that are off from writing to a line that all threads share.
        const std::uint32_t now = zvkcore::debug::TraceChangeCount();
        if (m_changeCount.load(std::memory_order_relaxed) != now && m_changeCount.exchange(now) != now)
            Refresh();
        return m_enabled.load(std::memory_order_acquire);
    }

  private:
    void Refresh() noexcept;
    void Write(const U_UTF8String& text) const;

    const char* m_channel;
    int m_level;
    std::atomic<std::uint32_t> m_changeCount{0};  // the settings that m_enabled was asked under; 0 is none
    std::atomic<bool> m_enabled{false};
};

#endif
