#include "zvkcore/debug/Trace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

#include "Contend.h"

using namespace zvkcore::debug;

namespace {

class TraceTest : public testing::Test {
  protected:
    ~TraceTest() override
    {
        SetTraceSink({});
        ResetTraceLevels();
    }
};

void Ignore(int, std::string_view, std::string_view) {}

}  // namespace

TEST_F(TraceTest, LinesAreWantedBySinkAndLevel)
{
    EXPECT_FALSE(TraceEnabled("Test.Levels", 1, true));
    SetTraceSink(Ignore);
    EXPECT_TRUE(TraceEnabled("Test.Levels", kDefaultTraceLevel, true));
    EXPECT_FALSE(TraceEnabled("Test.Levels", kDefaultTraceLevel + 1, true));
    EXPECT_EQ(SetTraceLevel("Test.Levels", 10), kDefaultTraceLevel);
    EXPECT_TRUE(TraceEnabled("Test.Levels", 10, true));
    EXPECT_FALSE(TraceEnabled("Test.Other", 10, false));
    EXPECT_EQ(SetTraceLevel("Test.Levels", 0), 10);
    EXPECT_FALSE(TraceEnabled("Test.Levels", 1, true));
    ResetTraceLevels();
    EXPECT_TRUE(TraceEnabled("Test.Levels", kDefaultTraceLevel, true));
    EXPECT_TRUE(TraceEnabled(nullptr, 1, false));
    const auto channels = TraceChannels();
    EXPECT_EQ(std::count(channels.begin(), channels.end(), "Test.Levels"), 1);
    EXPECT_EQ(std::count(channels.begin(), channels.end(), "Test.Other"), 0);
}

TEST_F(TraceTest, EveryChangeMovesTheCount)
{
    uint32_t seen = TraceChangeCount();
    EXPECT_NE(seen, 0u);
    const auto moved = [&] { return std::exchange(seen, TraceChangeCount()) != seen; };
    EXPECT_FALSE(moved());
    SetTraceSink(Ignore);
    EXPECT_TRUE(moved());
    SetTraceLevel("Test.Count", 7);
    EXPECT_TRUE(moved());
    ResetTraceLevels();
    EXPECT_TRUE(moved());
    TraceEnabled("Test.Count", 7, true);
    EXPECT_FALSE(moved());
}

TEST_F(TraceTest, SinkReceivesBothFormsAndNeverItsOwnTexts)
{
    std::string received;
    SetTraceSink([&](int level, std::string_view channel, std::string_view text) {
        received.append(std::to_string(level)).append("|").append(channel).append("|").append(text);
        Trace("from within\n");
        throw std::runtime_error("a full disk");
    });
    Trace("plain\n");
    Trace(7, "Test.Sink", "line\n");
    Trace(7, nullptr, std::string_view("", 0));
    EXPECT_EQ(received, "0||plain\n7|Test.Sink|line\n7||");
}

TEST_F(TraceTest, FormerSinkIsGivenBackAndDestroyedBehindItsLastLine)
{
    const auto token = std::make_shared<std::atomic<int>>(0);
    SetTraceSink([token](int, std::string_view, std::string_view) { ++*token; });
    zvktest::Contend(4, [&](int index) {
        for (int round = 0; round < 500; ++round) {
            if (index != 0) {
                Trace("line\n");
            } else if (round % 2 == 0) {
                SetTraceSink([lines = std::make_shared<std::atomic<int>>(0)](int, std::string_view,
                                                                             std::string_view) { ++*lines; });
            } else {
                SetTraceLevel("Test.Change", round);
                SetTraceSink({});
            }
        }
    });
    EXPECT_FALSE(SetTraceSink(Ignore));
    EXPECT_TRUE(SetTraceSink({}));
    EXPECT_EQ(token.use_count(), 1);
}
