#include "LockOrders.h"

#include <gtest/gtest.h>

#include <memory>
#include <string_view>
#include <utility>

#include "FailingAllocator.h"
#include "zvkcore/threads/RecursiveMutex.h"

namespace {

using qltest::LockOrders;
using zvkcore::debug::deadlocks::InstallDeadLockDetector;
using zvkcore::threads::RecursiveMutex;

class LockOrdersTest : public testing::Test {
  protected:
    LockOrdersTest() { m_former = InstallDeadLockDetector(m_orders); }
    ~LockOrdersTest() override { InstallDeadLockDetector(m_former); }

    // A capital locks that mutex, its small letter unlocks it. A, B and C have names, D is a namesake of A, and E
    // has no name.
    void Play(std::string_view steps)
    {
        for (const char step : steps) {
            if (step >= 'a') {
                m_mutexes[step - 'a'].Unlock();
            } else {
                m_mutexes[step - 'A'].Lock();
            }
        }
    }

    RecursiveMutex m_mutexes[5] = {RecursiveMutex("A"), RecursiveMutex("B"), RecursiveMutex("C"),
                                   RecursiveMutex("A"), RecursiveMutex()};
    std::vector<std::string> m_circles;
    const std::shared_ptr<LockOrders> m_orders =
        std::make_shared<LockOrders>([this](const std::string& circle) { m_circles.push_back(circle); });

  private:
    std::shared_ptr<zvkcore::debug::deadlocks::DeadLockDetector> m_former;
};

struct Row {
    const char* name;
    const char* steps;
    size_t orders;
    size_t circles;
};

class LockOrdersRow : public LockOrdersTest, public testing::WithParamInterface<Row> {};

TEST_P(LockOrdersRow, TellsOfCirclesOnly)
{
    Play(GetParam().steps);
    EXPECT_EQ(m_orders->Count(), GetParam().orders);
    EXPECT_EQ(m_circles.size(), GetParam().circles);
}

INSTANTIATE_TEST_SUITE_P(
    Steps, LockOrdersRow,
    testing::Values(Row{"OneOrderTwice", "ABbaABba", 1, 0}, Row{"AnInversion", "ABbaBAab", 2, 1},
                    Row{"AnInversionIsToldOnce", "ABbaBAabBAab", 2, 1},
                    Row{"ACircleOfThree", "ABbaBCcbCAac", 3, 1},
                    Row{"ADiamondIsNoCircle", "ABbaACcaBCcb", 3, 0},
                    Row{"NamesakesHeldTogether", "ADda", 1, 1}, Row{"TakenAgainCannotBlock", "ABAaba", 1, 0},
                    Row{"UnlockedOutOfTurn", "ABabBCcb", 2, 0}, Row{"WithoutANameUnseen", "AEeaEAae", 0, 0}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(LockOrdersTest, TellsEveryStackOfACircleEvenOfOrdersSeenElsewhere)
{
    m_orders->Add({"B", "C", "    elsewhere\n"});
    m_orders->Add({"B", "C", "    known by then\n"});
    Play("ABbaCA");
    ASSERT_EQ(m_circles.size(), 1u);
    const std::string& circle = m_circles[0];
    for (const char* part : {"\"B\" while \"A\" is held\n", "\"C\" while \"B\" is held\n    elsewhere\n",
                             "\"A\" while \"C\" is held\n", "RecursiveMutex::LockWatched"}) {
        EXPECT_NE(circle.find(part), std::string::npos) << part << "\n" << circle;
    }
    Play("ac");
}

TEST_F(LockOrdersTest, WatchingAllocatesNothing)
{
    Play("ABba");
    const qltest::FailingAllocator counting;
    Play("ABCcbaEBbe");
    EXPECT_EQ(counting.Count(), 0u);
}

TEST_F(LockOrdersTest, SaysWhenItsRoomIsFull)
{
    for (int i = 0; i < 300; ++i) m_orders->Add({"A", std::to_string(i), ""});
    EXPECT_TRUE(m_orders->IsFull());
    EXPECT_TRUE(m_circles.empty());
}

}  // namespace
