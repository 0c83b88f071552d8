/// The seam to the host's user interface: its nodes and the manager that owns the input.
///
/// The host derives from both classes and installs its manager. When: before each dialog, on the UI thread.
/// Must: tell whether a capture of the input is running and end it when asked. Default: no manager, and
/// nothing is captured.
#ifndef ZVKUI_UI_NODEMANAGER_H
#define ZVKUI_UI_NODEMANAGER_H

#include <atomic>
#include <boost/intrusive_ptr.hpp>

#include "zvkcore/config/Export.h"

namespace zvkui::ui {

/// One window or control; counted, and destroyed with the last `boost::intrusive_ptr` to it.
class ZVKCORE_EXPORT UI_Node {
  public:
    UI_Node() = default;
    virtual ~UI_Node();

    UI_Node(const UI_Node&) = delete;
    UI_Node& operator=(const UI_Node&) = delete;

  private:
    friend void intrusive_ptr_add_ref(UI_Node* node) noexcept
    {
        node->m_references.fetch_add(1, std::memory_order_relaxed);
    }
    friend void intrusive_ptr_release(UI_Node* node) noexcept
    {
        if (node->m_references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete node;
    }

    std::atomic<int> m_references{0};
};

using UI_NodePtr = boost::intrusive_ptr<UI_Node>;

class ZVKCORE_EXPORT UI_NodeManager {
  public:
    UI_NodeManager() = default;
    virtual ~UI_NodeManager();

    UI_NodeManager(const UI_NodeManager&) = delete;
    UI_NodeManager& operator=(const UI_NodeManager&) = delete;

    /// The installed manager or null. `required` only tells the reader that the caller expects one: a host
    /// without a user interface has none, and nothing here can make one.
    static UI_NodeManager* Get(bool required) noexcept;

    /// Installs `manager`, which the host keeps, and returns the former one; null takes the manager away. The
    /// host does so while no other thread may show a dialog.
    static UI_NodeManager* Set(UI_NodeManager* manager) noexcept;

    /// The node that holds the input now; empty if none does.
    virtual UI_NodePtr GetInputCapture() = 0;

    /// Ends that capture; `cancel` drops what it was about to do.
    virtual void EndInputCapture(bool cancel) = 0;

    /// Above 0 while no dialog may interrupt the manager. Any thread may read it.
    int GetUninterruptibleCount() const noexcept { return m_uninterruptible.load(std::memory_order_acquire); }
    void BeginUninterruptible() noexcept { m_uninterruptible.fetch_add(1, std::memory_order_acq_rel); }
    void EndUninterruptible() noexcept { m_uninterruptible.fetch_sub(1, std::memory_order_acq_rel); }

  private:
    std::atomic<int> m_uninterruptible{0};
};

}  // namespace zvkui::ui

#endif
