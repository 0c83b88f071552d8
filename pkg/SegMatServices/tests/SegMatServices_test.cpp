#include "SegMatServices.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <cstdlib>
#include <thread>

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

struct Number : Value {
    explicit Number(long long n) : number(n) {}
    long long number;
};

// The n-th triangular number, of the one before it: each computation asks for another value on its thread.
class Triangle : public Computator {
  public:
    Triangle(long long n, std::atomic<int>& computed) : m_n(n), m_computed(computed) {}

    long long GetCacheKey() override { return m_n; }
    boost::shared_ptr<Value> Compute() override
    {
        ++m_computed;
        if (m_n == 0) return boost::shared_ptr<Value>(new Number(0));
        Triangle before{m_n - 1, m_computed};
        const auto value = CheckoutOrRender(Guid(), before);
        return boost::shared_ptr<Value>(new Number(dynamic_cast<Number&>(*value).number + m_n));
    }

  private:
    long long m_n;
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
    Triangle first{0, computed};
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

// Every thread wants every value, in an order of its own; each is computed once, whoever came first.
TEST(CheckoutOrRender, ContendingThreadsComputeEachValueOnce)
{
    constexpr int kThreads = 4;
    constexpr int kValues = 200;
    RegisterGlobalCacheIndex(boost::shared_ptr<CacheIndex>(new CacheIndex("shared")));
    std::atomic<int> computed{0};
    std::atomic<long long> sum{0};
    std::barrier start{kThreads};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            start.arrive_and_wait();
            for (int at = 0; at < kValues; ++at) {
                Triangle wanted{(at * 7 + thread * 50) % kValues, computed};
                sum += dynamic_cast<Number&>(*CheckoutOrRender(Guid(), wanted)).number;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(computed, kValues);
    EXPECT_EQ(sum, kThreads * (kValues - 1LL) * kValues * (kValues + 1) / 6);
    RegisterGlobalCacheIndex({});
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
