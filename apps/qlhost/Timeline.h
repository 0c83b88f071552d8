// What each render thread did and when, for the picture that shows where renders overlap and where they wait for
// one another.
#ifndef QLHOST_TIMELINE_H
#define QLHOST_TIMELINE_H

#include <chrono>
#include <vector>

namespace qlhost {

class Timeline {
  public:
    enum class Work { Read, Decode, Look, WaitForWriter, Write };
    struct Span {
        Work work;
        double from, to;  // seconds since the timeline was made
    };

    explicit Timeline(std::size_t threads) : m_spans(threads) {}

    /// One row a render thread; a row is written by its own thread and read when all have ended.
    const std::vector<std::vector<Span>>& Rows() const { return m_spans; }
    double Now() const
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    }
    void Add(std::size_t thread, Work work, double from) { m_spans[thread].push_back({work, from, Now()}); }

    /// The longest time for which two threads were inside the writer at once: 0 when the big mutex did its work.
    double WriterOverlap() const;
    /// How much of the run two or more threads worked at once, outside the writer, from 0 to 1.
    double ParallelShare() const;

  private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::vector<std::vector<Span>> m_spans;
};

/// Adds what its thread does from here to the end of the scope.
class TimelineScope {
  public:
    TimelineScope(Timeline& timeline, std::size_t thread, Timeline::Work work)
        : m_timeline{timeline}, m_thread{thread}, m_work{work}, m_from{timeline.Now()}
    {
    }
    ~TimelineScope() { m_timeline.Add(m_thread, m_work, m_from); }
    TimelineScope(const TimelineScope&) = delete;
    TimelineScope& operator=(const TimelineScope&) = delete;

  private:
    Timeline& m_timeline;
    std::size_t m_thread;
    Timeline::Work m_work;
    double m_from;
};

}  // namespace qlhost

#endif
