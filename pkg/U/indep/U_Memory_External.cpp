// Memory managers of others, whose bytes count as in use.
//
// State: the list of managers under a recursive mutex, held while they are asked, so that one which has been
// uninstalled is not called any more; the lock is recursive because a manager may allocate. A count beside the list
// spares the common case, no manager at all, the lock. Never destroyed: use may be asked for at process exit.
#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

#include "Up_Memory.h"
#include "Up_Saturate.h"
#include "zvkcore/threads/RecursiveMutex.h"

using zvkcore::threads::RecursiveMutex;
using zvkcore::utility::Guid;

namespace {

struct Manager {
    Guid identity;
    std::function<unsigned long()> size;
};

struct Managers {
    RecursiveMutex mutex{"U_ExternalMemoryManagers"};
    std::vector<std::shared_ptr<const Manager>>
        list;  // shared, so that one may uninstall itself while it is asked
};

constinit std::atomic<std::size_t> g_count{0};

Managers& TheManagers()
{
    static auto& managers = *new Managers;
    return managers;
}

auto Find(Managers& managers, const Guid& identity)
{
    return std::find_if(managers.list.begin(), managers.list.end(),
                        [&](const auto& manager) { return manager->identity == identity; });
}

}  // namespace

void U_InstallExternalMemoryManager(const Guid& identity, std::function<unsigned long()> size)
{
    if (!size) return U_UnInstallExternalMemoryManager(identity);
    auto manager = std::make_shared<const Manager>(Manager{identity, std::move(size)});
    Managers& managers = TheManagers();
    RecursiveMutex::ScopedLock lock(managers.mutex);
    if (auto found = Find(managers, identity); found != managers.list.end()) {
        found->swap(manager);
    } else {
        managers.list.push_back(std::move(manager));
    }
    g_count = managers.list.size();
}

void U_UnInstallExternalMemoryManager(const Guid& identity)
{
    Managers& managers = TheManagers();
    RecursiveMutex::ScopedLock lock(managers.mutex);
    if (auto found = Find(managers, identity); found != managers.list.end()) {
        const auto kept = *found;  // the function object ends behind the change of the list
        managers.list.erase(found);
        g_count = managers.list.size();
    }
}

unsigned long long U_GetSizeOfExternalMemoryManagers()
{
    if (g_count.load(std::memory_order_acquire) == 0) return 0;
    Managers& managers = TheManagers();
    RecursiveMutex::ScopedLock lock(managers.mutex);
    std::uint64_t sum = 0;
    // By number, since a manager that is asked may install or uninstall.
    for (std::size_t i = 0; i < managers.list.size(); ++i) {
        const auto manager = managers.list[i];
        sum = Up_Sum(sum, manager->size());
    }
    return sum;
}
