#include "SegMatServices.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "FailingAllocator.h"
#include "FakePlugin.h"
#include "SMSp_Factory.h"
#include "zvkcore/config/Config.h"

namespace {

using namespace tessaly;
using namespace smstest;
using namespace zvkcore::string::literals;

SegmenterProperties Named(const U_UTF8String& name)
{
    SegmenterProperties properties;
    properties.name = name;
    return properties;
}

TEST(Factory, FirstNameIsTheDefaultAndFirstCreatorOfANameStays)
{
    Factory<Segmenter> factory;
    FakeCreator first, second;
    EXPECT_EQ(factory.LookupCreator(""_utf8, true), nullptr);
    factory.Register(&first, Named("first"_utf8));
    factory.Register(&second, Named("second"_utf8));
    factory.Register(&second, Named("first"_utf8));
    EXPECT_EQ(factory.LookupCreator(""_utf8, false), &first);
    EXPECT_EQ(factory.LookupCreator("first"_utf8, false), &first);
    EXPECT_EQ(factory.LookupCreator("second"_utf8, false), &second);
    EXPECT_EQ(factory.LookupCreator("First"_utf8, true), nullptr);

    factory.Unregister(&first);
    EXPECT_EQ(factory.LookupCreator(""_utf8, true), nullptr) << "the default name stays";
    factory.Register(&second, Named("first"_utf8));
    EXPECT_EQ(factory.LookupCreator(""_utf8, true), &second);
}

TEST(Factory, MissingPluginIsAnErrorUnlessQuiet)
{
    EXPECT_EQ(GetCreator<Segmenter>("nobody"_utf8, true), nullptr);
    try {
        GetCreator<Segmenter>("nobody"_utf8, false);
        FAIL();
    } catch (const zvkcore::config::Error& error) {
        EXPECT_STREQ(error.what(), "The Halo Brush plug-in is missing.");
    }
}

class Computed : public Computator {
  public:
    explicit Computed(int& computed) : m_computed(computed) {}

    long long GetCacheKey() override { return 0; }
    boost::shared_ptr<Value> Compute() override
    {
        ++m_computed;
        return boost::shared_ptr<Value>(new Value);
    }

  private:
    int& m_computed;
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
    int computed = 0;
    Computed first{computed};
    CheckoutOrRender(Guid(), first);
    CheckoutOrRender(Guid(), first);
    EXPECT_EQ(computed, 2);

    const boost::shared_ptr<CostIndex> index(new CostIndex);
    RegisterGlobalCacheIndex(index);
    EXPECT_EQ(CheckoutOrRender(Guid(), first), CheckoutOrRender(Guid(), first));
    EXPECT_EQ(computed, 3);
    ASSERT_EQ(index->costs.size(), 1u);
    EXPECT_TRUE(index->costs[0] >= 0 && index->costs[0] < 30) << "seconds, not nanoseconds";

    const Guid other = Guid::CreateFromBytes("x", 1);
    EXPECT_EQ(index->Find(other, 0, SearchTolerance_Exact), nullptr) << "keys belong to an identity";
    EXPECT_EQ(index->Delete(other, 0), nullptr);
    EXPECT_NE(index->Delete(Guid(), 0), nullptr);
    CheckoutOrRender(Guid(), first);
    EXPECT_EQ(computed, 4);
    index->PurgeAll();
    EXPECT_EQ(index->Find(Guid(), 0, SearchTolerance_Exact), nullptr);
    RegisterGlobalCacheIndex({});
}

TEST(CheckoutOrRender, SurvivesEveryFailedAllocation)
{
    int computed = 0;
    Computed wanted{computed};
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

    const boost::shared_ptr<Host> host(new Host);
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
