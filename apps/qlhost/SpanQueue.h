// The frames to render, by the span that covers them. A span's objects serve one thread at a time, so a
// thread takes the next frame of a span that nobody renders; while it writes the result down, another thread
// may go on in that span.
#ifndef QLHOST_SPANQUEUE_H
#define QLHOST_SPANQUEUE_H

#include <SMS_SpanManager.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <vector>

namespace qlhost {

class SpanQueue {
  public:
    /// Of the frames from 0 to `frames` those that a span covers and that `wanted` asks for, each span from
    /// its manual frame outward.
    SpanQueue(const tessaly::SpanManager& spans, int frames, const std::vector<bool>& wanted);

    /// A frame, and the only leave to render its span until `End` or the end of its life.
    class Turn {
      public:
        Turn(SpanQueue& queue, std::size_t span, int frame) : m_queue{&queue}, m_span{span}, m_frame{frame} {}
        Turn(Turn&& other) noexcept : m_queue{other.m_queue}, m_span{other.m_span}, m_frame{other.m_frame}
        {
            other.m_queue = nullptr;
        }
        Turn& operator=(Turn&&) = delete;
        ~Turn() { End(); }

        int Frame() const { return m_frame; }
        void End();

      private:
        SpanQueue* m_queue;
        std::size_t m_span;
        int m_frame;
    };

    /// Waits while every span with frames left is being rendered; nothing when no frame is left.
    std::optional<Turn> Take();
    std::size_t Count() const { return m_count; }

  private:
    struct Span {
        std::vector<int> frames;
        std::size_t next = 0;
        bool taken = false;
    };
    std::mutex m_mutex;  // guards m_spans
    std::condition_variable m_freed;
    std::vector<Span> m_spans;
    std::size_t m_count = 0;
};

}  // namespace qlhost

#endif
