// A hog that still holds memory is reported by its name, when it ends or when the library does; nobody else is.
#include <gtest/gtest.h>

#include "MemoryFixture.h"

namespace {

using Hogs = qltest::Memory;

TEST_F(Hogs, AreReportedWhenTheyStillHoldMemory)
{
    uint32_t clean = 0, leaking = 0, forgotten = 0;
    EXPECT_EQ(U_AddHog("thumbnails", &clean), 0);
    EXPECT_EQ(U_AddHog("waveforms", &leaking), 0);
    EXPECT_EQ(U_AddHog("proxies", &forgotten), 0);
    EXPECT_EQ(U_AccountHog(clean, INT64_MAX), 0);
    EXPECT_EQ(U_AccountHog(clean, 1), 10);
    EXPECT_EQ(U_AccountHog(clean, -INT64_MAX), 0) << "the sum that did not fit changed nothing";
    EXPECT_EQ(U_AccountHog(leaking, 1234), 0);
    EXPECT_EQ(U_AccountHog(forgotten, 5), 0);
    EXPECT_EQ(U_RemoveHog(leaking), 0);
    EXPECT_EQ(U_RemoveHog(leaking), 3);
    EXPECT_EQ(U_AccountHog(leaking, 1), 3);
    Up_TerminateHogs();
    ASSERT_EQ(Reports().size(), 4u);
    EXPECT_EQ(Reports()[0].severity, U_Sev_LEAK);
    EXPECT_NE(Reports()[0].text.find("waveforms still holds 1234 bytes."), std::string::npos);
    EXPECT_NE(Reports()[3].text.find("proxies still holds 5 bytes."), std::string::npos);
    EXPECT_EQ(U_AddHog("late", &clean), U_Err_UNBORN);
    EXPECT_EQ(U_AddHog(nullptr, &clean), 3);
    EXPECT_EQ(U_AddHog("x", nullptr), 3);
}

}  // namespace
