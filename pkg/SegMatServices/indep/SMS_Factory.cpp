// Creators of segmenters by name. State: the one factory, in `Factory::Instance`, guarded by its own mutex.
#include "SMSp_Factory.h"
#include "Up_Err.h"
#include "zvkcore/config/Config.h"

namespace tessaly {

using Scope = zvkcore::threads::RecursiveMutex::ScopedLock;

template <class Product>
Factory<Product>& Factory<Product>::Instance()
{
    static Factory factory;
    return factory;
}

template <class Product>
void Factory<Product>::Register(Creator<Product>* creator, const Properties& properties)
{
    if (creator == nullptr) {
        return Up_SimpleAssert("SegMatServices/indep/SMS_Factory", __LINE__, "tessaly::RegisterCreator",
                               "creator != nullptr", "");
    }
    const Scope lock{m_mutex};
    U_UTF8String name = defaultName.empty() ? properties.name : defaultName;
    creators.try_emplace(properties.name, Record{creator, properties});
    defaultName.swap(name);
}

template <class Product>
void Factory<Product>::Unregister(const Creator<Product>* creator)
{
    const Scope lock{m_mutex};
    std::erase_if(creators, [&](const auto& entry) { return entry.second.creator == creator; });
}

template <class Product>
Creator<Product>* Factory<Product>::Find(const U_UTF8String& name) const
{
    const Scope lock{m_mutex};
    const auto found = creators.find(name.empty() ? defaultName : name);
    return found == creators.end() ? nullptr : found->second.creator;
}

// The error is thrown without the lock: the host's thrower runs in it.
template <class Product>
Creator<Product>* Factory<Product>::LookupCreator(const U_UTF8String& name, bool quiet) const
{
    Creator<Product>* const found = Find(name);
    if (found == nullptr && !quiet) {
        zvkcore::config::ThrowError(
            U_Sev_PROBLEM, "$$$/QL/SegMatServices/MissingHaloBrushPlugin=The Halo Brush plug-in is missing.");
    }
    return found;
}

template class Factory<Segmenter>;

template <>
void RegisterCreator<Segmenter>(Creator<Segmenter>* creator, const SegmenterProperties& properties)
{
    Factory<Segmenter>::Instance().Register(creator, properties);
}

template <>
void UnregisterCreator<Segmenter>(Creator<Segmenter>* creator)
{
    Factory<Segmenter>::Instance().Unregister(creator);
}

template <>
Creator<Segmenter>* GetCreator<Segmenter>(const U_UTF8String& name, bool quiet)
{
    return Factory<Segmenter>::Instance().LookupCreator(name, quiet);
}

}  // namespace tessaly
