// The host's side as the services reach it.
//
// State, made on first use and never destroyed, so that a render thread that outlives `main` finds it:
//   S_callbacksP   the callbacks; no guard, as the contract has it: they are replaced while nothing renders
//   TheIndex()     the global cache index and the recursive mutex that guards it and every use of it
#include "SegMatServices.h"

#include <cstdlib>

#include "Up_Err.h"
#include "zvkcore/threads/RecursiveMutex.h"

namespace tessaly {
namespace {

constexpr uint32_t kLockTimeout = 60000;  // milliseconds

boost::shared_ptr<HostCallbacks>& TheCallbacks()
{
    static auto* const callbacks = new boost::shared_ptr<HostCallbacks>;
    return *callbacks;
}

struct GlobalIndex {
    zvkcore::threads::RecursiveMutex mutex{"SegMatServices.GlobalCacheIndex"};
    boost::shared_ptr<CacheIndex> index;
};

GlobalIndex& TheIndex()
{
    static auto* const index = new GlobalIndex;
    return *index;
}

using Scope = zvkcore::threads::RecursiveMutex::ScopedLock;

// The callbacks, or null after an assertion of the function that cannot do without them.
HostCallbacks* NeededCallbacks(const char* function, int line)
{
    const auto& S_callbacksP = TheCallbacks();
    if (!S_callbacksP) {
        Up_SimpleAssert("SegMatServices/indep/SegMatServices", line, function, "S_callbacksP.get()", "");
    }
    return S_callbacksP.get();
}

}  // namespace

void RegisterCallbacks(boost::shared_ptr<HostCallbacks> callbacks)
{
    TheCallbacks().swap(callbacks);
}

// The former index goes after the lock is free: its destructor is the host's.
void RegisterGlobalCacheIndex(boost::shared_ptr<CacheIndex> index)
{
    GlobalIndex& global = TheIndex();
    const Scope lock{global.mutex, nullptr, kLockTimeout};
    global.index.swap(index);
}

// A copy of the pointer is held: the computation may register another index on this thread.
boost::shared_ptr<Value> CheckoutOrRender(zvkcore::utility::Guid identity, Computator& computator)
{
    GlobalIndex& global = TheIndex();
    const Scope lock{global.mutex, nullptr, kLockTimeout};
    if (!global.index) global.index.reset(new NopCacheIndex);
    const auto index = global.index;
    return index->CheckoutOrRender(identity, computator);
}

void* Allocate(std::size_t size)
{
    HostCallbacks* const callbacks = TheCallbacks().get();
    return callbacks != nullptr ? callbacks->Allocate(size) : std::malloc(size);
}

void Dispose(void* pointer, std::size_t size)
{
    HostCallbacks* const callbacks = TheCallbacks().get();
    if (callbacks != nullptr) {
        callbacks->Dispose(pointer, size);
    } else {
        std::free(pointer);
    }
}

bool AreExperimentalParametersEnabled()
{
    HostCallbacks* const callbacks =
        NeededCallbacks("bool tessaly::AreExperimentalParametersEnabled()", __LINE__);
    return callbacks != nullptr && callbacks->AreExperimentalParametersEnabled();
}

bool GetPreferenceBool(const char* name, bool defaultValue)
{
    HostCallbacks* const callbacks =
        NeededCallbacks("bool tessaly::GetPreferenceBool(const char *, bool)", __LINE__);
    return callbacks != nullptr ? callbacks->GetPreferenceBool(name, defaultValue) : defaultValue;
}

boost::shared_ptr<CacheIndex> NewCacheIndex(const char* name)
{
    HostCallbacks* const callbacks =
        NeededCallbacks("boost::shared_ptr<CacheIndex> tessaly::NewCacheIndex(const char *)", __LINE__);
    if (callbacks != nullptr) return callbacks->NewCacheIndex(name);
    return boost::shared_ptr<CacheIndex>(new NopCacheIndex);
}

}  // namespace tessaly
