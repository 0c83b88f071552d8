// State: g_manager, the host's manager, which the host owns; atomic.
#include "zvkui/ui/NodeManager.h"

#include "zvkui/sketchbot/Supplier.h"

namespace zvkui {
namespace {

constinit std::atomic<ui::UI_NodeManager*> g_manager{nullptr};

}  // namespace

namespace ui {

UI_Node::~UI_Node() = default;

UI_NodeManager::~UI_NodeManager()
{
    // A manager that dies while it is installed must not be called again.
    UI_NodeManager* self = this;
    g_manager.compare_exchange_strong(self, nullptr);
}

UI_NodeManager* UI_NodeManager::Get(bool) noexcept
{
    return g_manager.load(std::memory_order_acquire);
}

UI_NodeManager* UI_NodeManager::Set(UI_NodeManager* manager) noexcept
{
    return g_manager.exchange(manager);
}

}  // namespace ui

sketchbot::SupplierInterface::~SupplierInterface() = default;

}  // namespace zvkui
