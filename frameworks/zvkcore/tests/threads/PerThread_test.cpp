#include "zvkcore/threads/PerThreadData.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <set>
#include <stdexcept>

#include "Contend.h"

using namespace zvkcore::threads;
using zvktest::Contend;
using zvktest::OnAnotherThread;

namespace {

// A key whose home slot is always the same: every entry has to look for another place.
struct Clumsy {
    explicit Clumsy(int v) : value(v) {}
    int value;
    bool operator==(const Clumsy&) const = default;
};

}  // namespace

template <>
struct std::hash<Clumsy> {
    size_t operator()(const Clumsy&) const noexcept { return 7; }
};

TEST(ThreadID, IsNeverGivenTwice)
{
    std::mutex mutex;
    std::multiset<unsigned long> ids{GetCurrentThreadID()};
    for (int round = 0; round < 4; ++round) {
        Contend(8, [&](int) {
            const unsigned long id = GetCurrentThreadID();
            const std::lock_guard lock(mutex);
            ids.insert(id);
            EXPECT_EQ(id, GetCurrentThreadID());
        });
    }
    EXPECT_EQ(std::set(ids.begin(), ids.end()).size(), 33u);
    EXPECT_EQ(*ids.begin(), kInitialThreadID);
}

TEST(ThreadID, UserInterfaceThreadIsTheInitialOneUnlessTheHostNamesAnother)
{
    EXPECT_TRUE(CurrentThreadIsMainThread());
    OnAnotherThread([] {
        EXPECT_FALSE(CurrentThreadIsMainThread());
        EXPECT_EQ(SetMainThreadID(GetCurrentThreadID()), kInitialThreadID);
        EXPECT_TRUE(CurrentThreadIsMainThread());
    });
    EXPECT_FALSE(CurrentThreadIsMainThread());
    EXPECT_NE(SetMainThreadID(0), kInitialThreadID);
    EXPECT_TRUE(CurrentThreadIsMainThread());
}

template <class Map>
class ThreadSafeMapTest : public testing::Test {
};

using Maps = testing::Types<ThreadSafeMap<unsigned long, int, 256>, ThreadSafeMap<unsigned long, int, 1>,
                            ThreadSafeMap<unsigned long, int, 3>, ThreadSafeMap<Clumsy, int, 16>>;
TYPED_TEST_SUITE(ThreadSafeMapTest, Maps);

TYPED_TEST(ThreadSafeMapTest, FindsWhatWasEnteredAndNothingElse)
{
    using Key = typename TypeParam::key_type;
    TypeParam map;
    std::array<int*, 1000> values;
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(map.Find(Key(i * 16)), nullptr);
        values[i] = map.Add(Key(i * 16), i);
    }
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(map.Find(Key(i * 16)), values[i]);
        EXPECT_EQ(*values[i], i);
        EXPECT_EQ(map.Add(Key(i * 16), -1), values[i]);
        EXPECT_EQ(map.FindOrCreate(Key(i * 16)), values[i]);
        EXPECT_EQ(*values[i], i);
        EXPECT_EQ(map.Find(Key(i * 16 + 1)), nullptr);
    }
}

TYPED_TEST(ThreadSafeMapTest, GivesContendingThreadsOneValueAKey)
{
    using Key = typename TypeParam::key_type;
    TypeParam map;
    std::array<std::array<int*, 200>, 8> seen;
    Contend(8, [&](int thread) {
        for (int i = 0; i < 200; ++i) {
            const int key = thread % 2 == 0 ? i : 199 - i;
            seen[thread][key] = map.FindOrCreate(Key(key));
            ASSERT_EQ(map.Find(Key(key)), seen[thread][key]);
        }
    });
    for (const auto& row : seen) EXPECT_EQ(row, seen[0]);
    EXPECT_EQ(std::set(seen[0].begin(), seen[0].end()).size(), 200u);
}

TEST(ThreadSafeMap, IsAsBeforeWhenAConstructorThrows)
{
    struct Fragile {
        explicit Fragile(std::shared_ptr<int> t = nullptr) : token(std::move(t))
        {
            if (token == nullptr) throw std::runtime_error("no token");
        }
        std::shared_ptr<int> token;
    };
    const auto token = std::make_shared<int>(0);
    {
        ThreadSafeMap<unsigned long, Fragile, 2> map;
        EXPECT_THROW(map.FindOrCreate(1), std::runtime_error);
        EXPECT_EQ(map.Find(1), nullptr);
        for (unsigned long key = 1; key <= 5; ++key) map.Add(key, token);
        EXPECT_THROW(map.FindOrCreate(6), std::runtime_error);
        EXPECT_EQ(map.Find(6), nullptr);
        EXPECT_EQ(token.use_count(), 6);
    }
    EXPECT_EQ(token.use_count(), 1);
}

TEST(PerThreadData, KeepsThreadsApart)
{
    PerThreadData<int> data;
    EXPECT_EQ(data.Find(), nullptr);
    *data.Add(40) += 2;
    Contend(8, [&](int index) {
        EXPECT_EQ(data.Find(), nullptr);
        for (int round = 0; round < 1000; ++round) *data.FindOrCreate() += index;
        EXPECT_EQ(*data.Find(), 1000 * index);
    });
    EXPECT_EQ(*data.FindOrCreate(), 42);
}
