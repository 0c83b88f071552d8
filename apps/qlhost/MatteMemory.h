// The host's side of the segmentation services: memory that counts under the library's limit, and the global
// index of computed values, which gives them up when the library asks for room.
#ifndef QLHOST_MATTEMEMORY_H
#define QLHOST_MATTEMEMORY_H

#include <SegMatServices.h>

#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <mutex>

namespace qlhost {

class MatteCallbacks : public tessaly::HostCallbacks {
  public:
    void* Allocate(std::size_t size) override;
    void Dispose(void* pointer, std::size_t size) override;
    boost::shared_ptr<tessaly::CacheIndex> NewCacheIndex(const char* name) override;
    bool AreExperimentalParametersEnabled() override;
    bool GetPreferenceBool(const char* name, bool defaultValue) override;

    /// Bytes that are out.
    std::uint64_t InUse() const { return m_inUse; }

  private:
    std::atomic<std::uint64_t> m_inUse{0};
};

/// Keeps values until `Purge` takes them, the least recently used first. Safe on any thread: a purge may come
/// on every thread that allocates, whatever lock of the library another one holds.
class MatteIndex : public tessaly::CacheIndex {
  public:
    struct Counts {
        std::uint64_t found = 0, stored = 0, dropped = 0;
        double seconds = 0;  // that the stored values took to compute
    };

    MatteIndex(const char* name, boost::shared_ptr<const MatteCallbacks> callbacks);

    boost::shared_ptr<tessaly::Value> Find(zvkcore::utility::Guid identity, long long key,
                                           tessaly::SearchTolerance tolerance) override;
    void Store(zvkcore::utility::Guid identity, long long key, boost::shared_ptr<tessaly::Value> value,
               float cost) override;
    boost::shared_ptr<tessaly::Value> Delete(zvkcore::utility::Guid identity, long long key) override;
    void PurgeAll() override;

    /// Drops values until the callbacks have `bytes` back or none is left; gives the bytes freed. A value
    /// that a render holds leaves the index, and its memory follows when that render is done.
    std::uint64_t Purge(std::uint64_t bytes);
    Counts Read() const;

  private:
    using Key = std::pair<zvkcore::utility::Guid, long long>;
    struct Entry {
        Key key;
        boost::shared_ptr<tessaly::Value> value;
    };
    boost::shared_ptr<tessaly::Value> TakeOldest();

    const boost::shared_ptr<const MatteCallbacks> m_callbacks;
    mutable std::mutex m_mutex;  // guards everything below; never held while a value goes
    std::list<Entry> m_recent;   // most recently used first
    std::map<Key, std::list<Entry>::iterator> m_places;
    Counts m_counts;
};

}  // namespace qlhost

#endif
