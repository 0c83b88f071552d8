/// Threads that meet at a barrier and then contend, and a trace sink that remembers.
///
///     Contend(8, [&](int index) { Work(index); });   // back when all eight are through
#ifndef QL_TEST_CONTEND_H
#define QL_TEST_CONTEND_H

#include <barrier>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "zvkcore/debug/Trace.h"

namespace zvktest {

/// Runs body(0) to body(count - 1) on threads of their own that start together, and waits for all.
template <class Body>
void Contend(int count, Body body)
{
    std::barrier start(count);
    std::vector<std::jthread> threads;
    for (int index = 0; index < count; ++index) {
        threads.emplace_back([&, index] {
            start.arrive_and_wait();
            body(index);
        });
    }
}

template <class Body>
void OnAnotherThread(Body body)
{
    std::jthread thread(std::move(body));
}

/// Everything that is traced while it lives.
class TraceRecorder {
  public:
    TraceRecorder()
    {
        m_former = zvkcore::debug::SetTraceSink([this](int, std::string_view, std::string_view text) {
            const std::lock_guard lock(m_mutex);
            m_text += text;
        });
    }
    ~TraceRecorder() { zvkcore::debug::SetTraceSink(m_former); }

    std::string Text()
    {
        const std::lock_guard lock(m_mutex);
        return m_text;
    }

  private:
    std::mutex m_mutex;
    std::string m_text;
    zvkcore::debug::TraceSink m_former;
};

}  // namespace zvktest

#endif
