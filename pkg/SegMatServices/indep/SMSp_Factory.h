// The creators that plug-ins offered, by name.
#ifndef SMSP_FACTORY_H
#define SMSP_FACTORY_H

#include "SegMatServices.h"
#include "zvkcore/threads/RecursiveMutex.h"

namespace tessaly {

// Any thread may use it: render threads look creators up while a plug-in starts.
template <class Product>
class Factory {
  public:
    using Properties = typename ProductProperties<Product>::type;

    // Built on first use, destroyed at exit. It owns no creator, so nothing of a plug-in runs then.
    static Factory& Instance();

    void Register(Creator<Product>* creator, const Properties& properties);
    void Unregister(const Creator<Product>* creator);
    Creator<Product>* LookupCreator(const U_UTF8String& name, bool quiet) const;

  private:
    struct Record {
        Creator<Product>* creator;
        Properties properties;
    };

    Creator<Product>* Find(const U_UTF8String& name) const;

    mutable zvkcore::threads::RecursiveMutex m_mutex{"SegMatServices.Factory"};  // guards what follows
    std::map<U_UTF8String, Record> creators;
    U_UTF8String defaultName;  // the first name ever registered; stays when its creator goes
};

extern template class Factory<Segmenter>;

}  // namespace tessaly

#endif
