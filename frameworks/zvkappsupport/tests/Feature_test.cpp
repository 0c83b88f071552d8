#include "zvkappsupport/feature/Feature.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace zvkappsupport::feature {
namespace {

TEST(Feature, IsOffUntilSomebodyTurnsItOn)
{
    EXPECT_FALSE(IsFeatureEnabled("QL.Test.One"));
    EXPECT_TRUE(IsFeatureEnabled("QL.Test.One", true));
    EXPECT_FALSE(SetFeatureEnabled("QL.Test.One", true));
    EXPECT_FALSE(IsFeatureEnabled("QL.Test.On"));
    EXPECT_FALSE(IsFeatureEnabled("QL.Test.One.More"));
    EXPECT_TRUE(SetFeatureEnabled("QL.Test.One", true));
    EXPECT_TRUE(SetFeatureEnabled("QL.Test.One", false));
    EXPECT_FALSE(IsFeatureEnabled("QL.Test.One", true));
}

TEST(Feature, MayBeAskedWhileOthersAreAdded)
{
    constexpr int kNames = 200;
    std::atomic<bool> done{false};
    SetFeatureEnabled("QL.Test.Steady", true);
    std::thread asker{[&] {
        while (!done) EXPECT_TRUE(IsFeatureEnabled("QL.Test.Steady"));
    }};
    std::vector<std::thread> setters;
    for (int t = 0; t < 2; ++t) {
        setters.emplace_back([] {
            for (int i = 0; i < kNames; ++i) SetFeatureEnabled("QL.Test.Shared" + std::to_string(i), true);
        });
    }
    for (auto& setter : setters) setter.join();
    done = true;
    asker.join();
    for (int i = 0; i < kNames; ++i) EXPECT_TRUE(IsFeatureEnabled("QL.Test.Shared" + std::to_string(i)));
}

}  // namespace
}  // namespace zvkappsupport::feature
