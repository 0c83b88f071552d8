// What every run on render threads needs around it: contexts on a thread, Ctrl-C and Escape as a wish to
// stop, and a line of progress.
#ifndef QLHOST_RENDERTHREAD_H
#define QLHOST_RENDERTHREAD_H

#include <U_Context.h>
#include <U_RenderContext.h>

#include <csignal>
#include <functional>
#include <string>

namespace qlhost {

/// Makes a context and a render context current on a thread, for a scope.
class RenderScope {
  public:
    RenderScope();
    ~RenderScope();
    RenderScope(const RenderScope&) = delete;
    RenderScope& operator=(const RenderScope&) = delete;

  private:
    const boost::shared_ptr<U_Context> m_context = U_Context::MakeNewContext();
    const boost::shared_ptr<U_RenderContext> m_render = U_RenderContext::MakeNewContext();
};

/// Whether the user wants the run to stop. Any thread.
bool IsInterrupted();

/// Notes that wish when Escape was pressed. Call now and then on the thread that the library was born on.
void WatchKeys();

/// Takes Ctrl-C as that wish, for a scope.
class InterruptScope {
  public:
    InterruptScope();
    ~InterruptScope();
    InterruptScope(const InterruptScope&) = delete;
    InterruptScope& operator=(const InterruptScope&) = delete;

  private:
    struct sigaction m_former = {};
};

/// Runs `body` on `count` registered render threads with contexts of their own, and `watch` on this one every
/// 25 milliseconds until they have ended, and once after. What leaves a body by an exception is reported like
/// any failure and ends that thread alone.
void RunRenderThreads(int count, const std::function<void()>& body, const std::function<void()>& watch);

/// One line on a terminal, gone at the end of its scope.
class Progress {
  public:
    explicit Progress(bool quiet);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(const std::string& line);

  private:
    bool m_shown;
};

}  // namespace qlhost

#endif
