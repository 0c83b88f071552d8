// A hog that still holds memory is reported by its name, when it ends or when the library does; nobody else is.
#include <gtest/gtest.h>

#include "MemoryFixture.h"

namespace {

class Hogs : public qltest::Memory {};

TEST_F(Hogs, AreReportedWhenTheyStillHoldMemory)
{
    uint32_t clean = 0;
    uint32_t leaking = 0;
    uint32_t forgotten = 0;
    EXPECT_EQ(U_AddHog("thumbnails", &clean), 0);
    EXPECT_EQ(U_AddHog("waveforms", &leaking), 0);
    EXPECT_EQ(U_AddHog("proxies", &forgotten), 0);
    EXPECT_EQ(U_AccountHog(clean, 100), 0);
    EXPECT_EQ(U_AccountHog(clean, -100), 0);
    EXPECT_EQ(U_AccountHog(leaking, 1234), 0);
    EXPECT_EQ(U_AccountHog(forgotten, 5), 0);
    EXPECT_EQ(U_RemoveHog(leaking), 0);
    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0].severity, U_Sev_LEAK);
    EXPECT_NE(Reports()[0].text.find("waveforms still holds 1234 bytes."), std::string::npos);
    Up_TerminateHogs();
    ASSERT_EQ(Reports().size(), 2u);
    EXPECT_NE(Reports()[1].text.find("proxies still holds 5 bytes."), std::string::npos);
    EXPECT_EQ(U_AddHog("late", &clean), U_Err_UNBORN);
}

TEST_F(Hogs, RefuseWhatCannotBe)
{
    uint32_t id = 0;
    EXPECT_EQ(U_AddHog(nullptr, &id), 3);
    EXPECT_EQ(U_AddHog("x", nullptr), 3);
    EXPECT_EQ(U_AddHog("x", &id), 0);
    EXPECT_EQ(U_AccountHog(id, INT64_MAX), 0);
    EXPECT_EQ(U_AccountHog(id, 1), 10);
    EXPECT_EQ(U_AccountHog(id, -INT64_MAX), 0) << "the sum that did not fit changed nothing";
    EXPECT_EQ(U_RemoveHog(id), 0);
    EXPECT_TRUE(Reports().empty());
    EXPECT_EQ(U_RemoveHog(id), 3);
    EXPECT_EQ(U_AccountHog(id, 1), 3);
    EXPECT_EQ(Reports().size(), 2u);
}

}  // namespace
