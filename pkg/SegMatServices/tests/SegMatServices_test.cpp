#include "SegMatServices.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "Contend.h"
#include "FailingAllocator.h"
#include "FakePlugin.h"
#include "SMSp_Factory.h"
#include "zvkcore/config/Config.h"

namespace {

using namespace smstest;

TEST(Factory, FindsByNameAndTheFirstOneByNone)
{
    Factory<Segmenter> factory;
    Script script;
    FakeCreator first{script}, second{script};
    EXPECT_EQ(factory.LookupCreator(""_utf8, true), nullptr);
    factory.Register(&first, Named("first"));
    factory.Register(&second, Named("second"));
    factory.Register(&second, Named("first"));
    EXPECT_EQ(factory.LookupCreator(""_utf8, false), &first);
    EXPECT_EQ(factory.LookupCreator("first"_utf8, false), &first);
    EXPECT_EQ(factory.LookupCreator("second"_utf8, false), &second);
    EXPECT_EQ(factory.LookupCreator("First"_utf8, true), nullptr);
    EXPECT_THROW(factory.LookupCreator("First"_utf8, false), zvkcore::config::Error);

    factory.Unregister(&first);
    EXPECT_EQ(factory.LookupCreator(""_utf8, true), nullptr) << "the default name stays";
    factory.Register(&second, Named("first"));
    EXPECT_EQ(factory.LookupCreator(""_utf8, true), &second);
}

// Sums 1 to a key, each sum from the one before it.
class Sum : public Computator {
  public:
    struct Result : Value {
        explicit Result(int64_t s) : sum(s) {}
        int64_t sum;
    };

    Sum(int64_t key, std::atomic<int>& computed) : m_key(key), m_computed(computed) {}
    long long GetCacheKey() override { return m_key; }
    boost::shared_ptr<Value> Compute() override
    {
        ++m_computed;
        return boost::make_shared<Result>(m_key == 0 ? 0 : m_key + Of(m_key - 1, m_computed));
    }
    static int64_t Of(int64_t key, std::atomic<int>& computed)
    {
        Sum sum(key, computed);
        return boost::static_pointer_cast<Result>(CheckoutOrRender({}, sum))->sum;
    }

  private:
    int64_t m_key;
    std::atomic<int>& m_computed;
};

class CostIndex : public CacheIndex {
  public:
    CostIndex() : CacheIndex("costs") {}
    void Store(Guid identity, long long key, boost::shared_ptr<Value> value, float cost) override
    {
        costs.push_back(cost);
        CacheIndex::Store(identity, key, value, cost);
    }
    std::vector<float> costs;
};

TEST(CheckoutOrRender, ComputesEveryTimeWithoutAnIndexAndOnceWithOne)
{
    std::atomic<int> computed{0};
    EXPECT_EQ(Sum::Of(3, computed), 6);
    EXPECT_EQ(Sum::Of(3, computed), 6);
    EXPECT_EQ(computed, 8);

    const auto index = boost::make_shared<CostIndex>();
    RegisterGlobalCacheIndex(index);
    EXPECT_EQ(Sum::Of(3, computed), Sum::Of(3, computed));
    EXPECT_EQ(computed, 12);
    ASSERT_EQ(index->costs.size(), 4u);
    EXPECT_TRUE(index->costs[0] >= 0 && index->costs[0] < 30) << "seconds, not nanoseconds";

    const Guid other = Guid::CreateFromBytes("x", 1);
    EXPECT_EQ(index->Find(other, 0, SearchTolerance_Exact), nullptr) << "keys belong to an identity";
    EXPECT_EQ(index->Delete(other, 0), nullptr);
    EXPECT_NE(index->Delete(Guid(), 0), nullptr);
    Sum::Of(0, computed);
    EXPECT_EQ(computed, 13);
    index->PurgeAll();
    EXPECT_EQ(index->Find(Guid(), 0, SearchTolerance_Exact), nullptr);
    RegisterGlobalCacheIndex({});
}

TEST(CheckoutOrRender, ComputesNothingTwiceOnManyThreads)
{
    constexpr int kThreads = 4, kKeys = 40;
    std::atomic<int> computed{0};
    RegisterGlobalCacheIndex(boost::make_shared<CacheIndex>("sums"));
    std::atomic<int> wrong{0};
    zvktest::Contend(kThreads, [&](int thread) {
        for (int key = kKeys - 1; key >= 0; key -= 1 + thread)
            wrong += Sum::Of(key, computed) != key * (key + 1) / 2;
    });
    RegisterGlobalCacheIndex({});
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(computed, kKeys);
}

TEST(CheckoutOrRender, SurvivesEveryFailedAllocation)
{
    std::atomic<int> computed{0};
    Sum wanted{0, computed};
    bool whole = true;
    qltest::EveryAllocationFails([&] {
        CacheIndex index("short of memory");
        try {
            index.CheckoutOrRender(Guid(), wanted);
        } catch (const std::bad_alloc&) {
            whole = whole && !index.Find(Guid(), 0, SearchTolerance_Exact) && !index.Delete(Guid(), 0);
            throw;
        }
        return index.Find(Guid(), 0, SearchTolerance_Exact) != nullptr;
    });
    EXPECT_TRUE(whole);
}

// Counts the bytes it lent, and says yes where the library by itself says no.
class Host : public HostCallbacks {
  public:
    void* Allocate(std::size_t size) override { return inUse += size, std::malloc(size); }
    void Dispose(void* pointer, std::size_t size) override { inUse -= size, std::free(pointer); }
    boost::shared_ptr<CacheIndex> NewCacheIndex(const char*) override { return {}; }
    bool AreExperimentalParametersEnabled() override { return true; }
    bool GetPreferenceBool(const char*, bool value) override { return !value; }

    std::size_t inUse = 0;
};

TEST(Callbacks, AssertWithoutAHostAndAskOne)
{
    Assertions assertions;
    Dispose(Allocate(8), 8);
    EXPECT_TRUE(assertions.heard.empty());
    EXPECT_TRUE(!AreExperimentalParametersEnabled() && GetPreferenceBool("x", true) && NewCacheIndex("x"));
    EXPECT_EQ(assertions.heard, Log(3, "S_callbacksP.get()|"));

    const auto host = boost::make_shared<Host>();
    RegisterCallbacks(host);
    void* const block = Allocate(100);
    EXPECT_EQ(host->inUse, 100u);
    Dispose(block, 100);
    EXPECT_EQ(host->inUse, 0u);
    EXPECT_TRUE(AreExperimentalParametersEnabled() && !GetPreferenceBool("x", true) && !NewCacheIndex("x"));
    EXPECT_EQ(assertions.heard.size(), 3u);
    RegisterCallbacks({});
}

}  // namespace
