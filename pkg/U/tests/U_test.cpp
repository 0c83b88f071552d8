// The library is born and dies as often as a host likes; what cannot be is reported, and what is damaged found.
#include "U.h"

#include "FailingAllocator.h"
#include "QLTest.h"
#include "U_Memory.h"
#include "Up_Err.h"
#include "Up_Globals.h"
#include "Up_Interact.h"

namespace {

using Globals = qltest::Library;

// Without a library at first; a recording presenter keeps the reports of the unborn from the terminal.
class Unborn : public testing::Test {
  protected:
    Unborn() : m_former(zvkui::dialogs::SetPresenter(m_presenter)) {}
    ~Unborn() override
    {
        while (U_IsOnMainThread()) U_DeregisterMainThread();
        zvkui::dialogs::SetPresenter(m_former);
    }

    std::shared_ptr<qltest::RecordingPresenter> m_presenter = std::make_shared<qltest::RecordingPresenter>();
    std::shared_ptr<zvkui::dialogs::Presenter> m_former;
};

int Count(void* count, unsigned, U_Severity, const char*)
{
    ++*static_cast<int*>(count);
    return 0;
}

TEST_F(Unborn, DeathFailsWithAReportAndBeingDeadIsTrue)
{
    EXPECT_EQ(U_Death(), U_Err_UNBORN);
    EXPECT_EQ(qltest::Text(Up_GetGlobal_UBUF16()), "null internal structures.");
    EXPECT_EQ(U_IsDeadWithFatalError(), 1);
    char name[Up_kNameSize];
    char what[] = "the disk";
    EXPECT_EQ(U_GetName(name), U_Err_UNBORN);
    Up_SetInteract(Up_kBirthInteract);
    EXPECT_EQ(Up_CheckMagic(4, what), U_Err_UNBORN);
    ASSERT_EQ(m_presenter->dialogs.size(), 1u);
    EXPECT_EQ(m_presenter->dialogs[0].text, "( 23 :: 4 )\n\nError reporting error: the disk\n\n");
    EXPECT_EQ(U_RegisterExceptionTranslatorImpl({}), 0u);
}

TEST_F(Unborn, LivesSeveralTimesUnderANameOfThirtyBytes)
{
    const std::pair<const char*, const char*> rows[] = {
        {"Sample", "Sample"},
        {nullptr, ""},
        {"123456789012345678901234567890", "123456789012345678901234567890"},
        {"1234567890123456789012345678901", "123456789012345678901234567890"},
        // A character that would be cut in two goes whole.
        {"12345678901234567890123456789\u00e9", "12345678901234567890123456789"}};
    for (const auto& [given, kept] : rows) {
        ASSERT_EQ(U_Birth(given, 1), 0);
        char name[Up_kNameSize];
        EXPECT_EQ(U_GetName(name), 0);
        EXPECT_STREQ(name, kept);
        EXPECT_TRUE(U_IsQLRunningAsLibrary());
        EXPECT_TRUE(U_IsOnMainThread());
        EXPECT_EQ(U_IsDeadWithFatalError(), 0);
        EXPECT_EQ(Up_GetInteract(), 0xffbfff9fu);
        int errors = -1;
        EXPECT_EQ(U_GetHowManyErrors(&errors), 0);
        EXPECT_EQ(errors, 0);
        Up_ReportErrString(0, U_Sev_FATAL, "the end of this life");
        EXPECT_EQ(U_IsDeadWithFatalError(), 1);
        EXPECT_EQ(U_Death(), 0);
        EXPECT_EQ(Up_G_id, nullptr);
    }
}

TEST_F(Unborn, ASecondBirthWithoutADeathIsTakenAsTheFirst)
{
    ASSERT_EQ(U_Birth("First", 0), 0);
    U_GlobalsRecord** first = Up_G_id;
    const std::terminate_handler terminate = std::get_terminate();
    ASSERT_EQ(U_Birth("Second", 0), 0);
    EXPECT_NE(Up_G_id, first);
    EXPECT_EQ(U_Death(), 0);
    // The handlers of the process are again what they were before the first birth.
    EXPECT_NE(std::get_terminate(), terminate);
    EXPECT_EQ(std::get_new_handler(), nullptr);
    EXPECT_EQ(U_Death(), U_Err_UNBORN);
    delete (*first)->mutex;
    U_FreeHandle(reinterpret_cast<char**>(first));
}

// Not with the helper that counts what is left alive: a heap is never deleted, so every birth leaves one.
TEST_F(Unborn, BirthFailsCleanlyAtEveryAllocation)
{
    const std::new_handler newHandler = std::get_new_handler();
    for (const auto mode : {qltest::FailingAllocator::kOnce, qltest::FailingAllocator::kFromThereOn}) {
        bool hasFailed = true;
        for (uint64_t nth = 1; hasFailed; ++nth) {
            Err birth = 0, death = 0;
            {
                qltest::FailingAllocator fail(nth, mode);
                birth = U_Birth("Sample", 1);
                if (birth == 0) death = U_Death();
                hasFailed = fail.Failed() != 0;
            }
            // Nothing but memory is missing, and only a birth that went well has something to end.
            ASSERT_TRUE(birth == 0 || birth == U_Err_OUT_OF_MEMORY) << nth << " gives " << birth;
            ASSERT_EQ(death, 0) << nth;
            ASSERT_EQ(Up_G_id, nullptr) << nth;
            ASSERT_EQ(std::get_new_handler(), newHandler) << nth;
        }
    }
    ASSERT_FALSE(m_presenter->dialogs.empty());
    EXPECT_EQ(m_presenter->dialogs[0].text,
              "( 23 :: 3 )\n\nSample can\u2019t continue: out of memory while trying to U_Birth\n\n");
}

TEST_F(Globals, DamageIsReportedByEveryRoutineThatChecks)
{
    struct Row {
        unsigned routine;
        std::function<Err()> call;
    };
    int unused = 0;
    char name[Up_kNameSize];
    const Row rows[] = {
        {4, [] { return U_Death(); }},
        {9, [&] { return U_GetName(name); }},
        {12, [&] { return U_GetHowManyErrors(&unused); }},
        {21, [&] { return U_AddLoggingCallback(Count, &unused); }},
        {22, [&] { return U_RemoveLoggingCallback(Count, &unused); }},
        {29, [] { return Up_SetHowManyErrors(7), U_Err_DAMAGED; }},
    };
    for (uint32_t U_GlobalsRecord::*magic : {&U_GlobalsRecord::headMagic, &U_GlobalsRecord::tailMagic}) {
        for (const Row& row : rows) {
            Forget();
            (*Up_G_id)->*magic = 1;
            EXPECT_EQ(row.call(), U_Err_DAMAGED) << row.routine;
            EXPECT_EQ(U_IsDeadWithFatalError(), 1);
            (*Up_G_id)->*magic = Up_kMagic;
            ASSERT_EQ(Reports().size(), 1u) << row.routine;
            EXPECT_EQ(Reports()[0].location, 0x170000u | row.routine);
            EXPECT_EQ(Reports()[0].severity, U_Sev_FATAL);
            EXPECT_EQ(qltest::Text(U_GetLastError(nullptr, nullptr, nullptr)),
                      "Internal structures damaged.");
        }
    }
}

TEST_F(Globals, HoldsTenLoggingCallbacksByFunctionAndRefcon)
{
    int counts[11] = {};
    for (int at = 0; at < 9; ++at) ASSERT_EQ(U_AddLoggingCallback(Count, &counts[at]), 0) << at;
    EXPECT_EQ(U_AddLoggingCallback(Count, &counts[9]), U_Err_BAD_PARAMETER);
    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0].location, 0x170015u);
    EXPECT_NE(Reports()[0].text.find("can not add any more logging_funcs"), std::string::npos);

    EXPECT_EQ(U_RemoveLoggingCallback(Count, &counts[10]), 0);
    EXPECT_EQ(U_RemoveLoggingCallback(Count, &counts[4]), 0);
    EXPECT_EQ(U_AddLoggingCallback(nullptr, nullptr), U_Err_BAD_PARAMETER);
    EXPECT_EQ(U_RemoveLoggingCallback(nullptr, nullptr), U_Err_BAD_PARAMETER);
    EXPECT_NE(Reports().back().text.find("logging_func can not be NULL"), std::string::npos);
    EXPECT_EQ(Reports().back().location, 0x170016u);
    EXPECT_EQ(counts[3], 3);  // the full table and the two nulls
    EXPECT_EQ(counts[4], 1);  // removed before the nulls
    EXPECT_EQ(U_AddLoggingCallback(Count, &counts[4]), 0);
}

TEST(Interact, AnswersWithTheNewestMaskLeft)
{
    Up_SetInteract(1);
    const int32_t two = Up_SetInteractTemp(2);
    const int32_t three = Up_SetInteractTemp(3);
    EXPECT_EQ(Up_GetInteract(), 3u);
    Up_SetInteractTempComplete(two);
    Up_SetInteractTempComplete(12345);
    EXPECT_EQ(Up_GetInteract(), 3u);
    Up_SetInteractTempComplete(three);
    EXPECT_EQ(Up_GetInteract(), 1u);
    Up_SetInteractTempComplete(-1);
    EXPECT_EQ(Up_GetInteract(), 0u);
}

}  // namespace
