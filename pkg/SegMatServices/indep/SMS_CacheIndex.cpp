// Computed values by identity and key. No state beyond the objects.
#include "SegMatServices.h"
#include "zvkcore/utility/Timer.h"

namespace tessaly {
namespace {

constexpr double kNanosInASecond = 1e9;

}  // namespace

struct CacheIndex::Values {
    std::map<long long, boost::shared_ptr<Value>> byKey;
};

CacheIndex::CacheIndex(const char* name) : m_name(zvkcore::string::Units(name == nullptr ? "" : name)) {}

CacheIndex::~CacheIndex() = default;

boost::shared_ptr<Value> CacheIndex::Find(zvkcore::utility::Guid identity, long long key, SearchTolerance)
{
    const auto values = m_values.find(identity);
    if (values == m_values.end()) return {};
    const auto found = values->second->byKey.find(key);
    return found == values->second->byKey.end() ? boost::shared_ptr<Value>() : found->second;
}

void CacheIndex::Store(zvkcore::utility::Guid identity, long long key, boost::shared_ptr<Value> value, float)
{
    auto values = m_values.find(identity);
    if (values == m_values.end()) {
        values = m_values.emplace(identity, boost::shared_ptr<Values>(new Values)).first;
    }
    values->second->byKey[key] = std::move(value);
}

boost::shared_ptr<Value> CacheIndex::Delete(zvkcore::utility::Guid identity, long long key)
{
    const auto values = m_values.find(identity);
    if (values == m_values.end()) return {};
    const auto node = values->second->byKey.extract(key);
    if (values->second->byKey.empty()) m_values.erase(values);
    return node.empty() ? boost::shared_ptr<Value>() : node.mapped();
}

void CacheIndex::PurgeAll()
{
    m_values.clear();
}

boost::shared_ptr<Value> CacheIndex::CheckoutOrRender(zvkcore::utility::Guid identity, Computator& computator)
{
    const long long key = computator.GetCacheKey();
    if (auto found = Find(identity, key, SearchTolerance_Exact)) return found;
    const zvkcore::utility::Timer timer;
    auto value = computator.Compute();
    const auto cost = static_cast<float>(static_cast<double>(timer.Elapsed()) / kNanosInASecond);
    Store(identity, key, value, cost);
    return value;
}

NopCacheIndex::NopCacheIndex() : CacheIndex("") {}

NopCacheIndex::~NopCacheIndex() = default;

boost::shared_ptr<Value> NopCacheIndex::Find(zvkcore::utility::Guid, long long, SearchTolerance)
{
    return {};
}

void NopCacheIndex::Store(zvkcore::utility::Guid, long long, boost::shared_ptr<Value>, float) {}

boost::shared_ptr<Value> NopCacheIndex::Delete(zvkcore::utility::Guid, long long)
{
    return {};
}

void NopCacheIndex::PurgeAll() {}

}  // namespace tessaly
