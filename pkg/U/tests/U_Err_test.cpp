#include "U_Err.h"

#include <cstring>

#include "ErrorsTest.h"
#include "FailingAllocator.h"
#include "Up_Err.h"
#include "Up_StackCrawl.h"
#include "zvkcore/debug/Trailmark.h"

namespace {

using namespace errorstest;
using ReportRoad = Errors;

// What becomes of a report by its severity is the subject of U_ErrState_test.cpp.

TEST_F(ReportRoad, CrawlsNameTheFramesAroundTheReport)
{
    Up_ReportErrString(0, U_Sev_PROBLEM, "text");
    ASSERT_EQ(log.size(), 2u);
    // The front functions may end in a jump, so only who called them is sure to be there.
    EXPECT_NE(log[1].find("CrawlsNameTheFramesAroundTheReport"), std::string::npos) << log[1];
    // Without a name the address stands there.
    void* const frames[] = {nullptr, nullptr};
    char text[20];
    Up_FramesText(frames, 2, text, sizeof text);
    EXPECT_STREQ(text, "??? <(nil)>\n??? <(\n");
    Up_FramesText(frames, 2, text, 2);
    EXPECT_STREQ(text, "");
}

// --- Callbacks and dialogs -------------------------------------------------------------------------------

TEST_F(ReportRoad, AReportFromInsideAReportVanishes)
{
    int calls = 0;
    const U_LoggingFunc report_again = [](void* count, unsigned, U_Severity, const char*) {
        ++*static_cast<int*>(count);
        return int{Up_ReportErrString(0, U_Sev_PROBLEM, "from inside")};
    };
    ASSERT_EQ(U_AddLoggingCallback(report_again, &calls), 0);
    Presenter().whileShown = [] { Up_ReportErrString(0, U_Sev_WARNING, "from a dialog"); };
    Up_ReportErrString(0, U_Sev_WARNING, "outer");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(log, Texts{"U U_Sev_WARNING QLTest warning: outer\t\n"});
    EXPECT_EQ(TakeShown(), Texts{"QLTest warning: outer"});
    EXPECT_EQ(CountedErrors(), 1);
}

TEST_F(ReportRoad, TheLastCallbacksAnswerEndsTheReport)
{
    int first = 5, last = 0;
    const U_LoggingFunc give = [](void* code, unsigned, U_Severity, const char*) {
        return *static_cast<int*>(code);
    };
    ASSERT_EQ(U_AddLoggingCallback(give, &first), 0);
    ASSERT_EQ(U_AddLoggingCallback(give, &last), 0);
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_WARNING, "a"), 0);
    last = 77;
    EXPECT_EQ(Up_ReportErrString(0x10001, U_Sev_WARNING, "b"), 77);
    EXPECT_THROW(U_ReportError(0x10001, U_Sev_WARNING, Text16("c")), int);
    EXPECT_EQ(CountedErrors(), 1);
    EXPECT_EQ(Up_GetThreadLastLocation(), 0u);
    last = 0;
    // An exception out of a dialog passes on too, and the next report works.
    Presenter().whileShown = [] { throw 9; };
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_WARNING, "d"), 9);
    Presenter().whileShown = nullptr;
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_WARNING, "e"), 0);
    EXPECT_EQ(TakeShown(), (Texts{"QLTest warning: a", "QLTest warning: d", "QLTest warning: e"}));
}

// --- The buffer and the last error -----------------------------------------------------------------------

TEST_F(ReportRoad, TextsLongerThanTheBufferAreCutThereAndShownWhole)
{
    // Three bytes a character: 2044 bytes behind the mark hold 681 of them.
    std::string wide;
    for (int at = 0; at < 1000; ++at) wide += "€";
    U_ReportError(0, U_Sev_WARNING, Text16(wide));
    EXPECT_EQ(Text(U_GetLastError(nullptr, nullptr, nullptr)), wide.substr(0, 681 * 3));
    EXPECT_EQ(TakeShown(), Texts{"QLTest warning: " + wide});

    const std::string narrow(5000, 'x');
    Up_ReportErrString(0, U_Sev_WARNING, narrow.c_str());
    EXPECT_EQ(Text(U_GetLastError(nullptr, nullptr, nullptr)), narrow.substr(0, 2047));
    Up_ReportErrString(0, U_Sev_WARNING, Up_GetThreadLoggingBuffer() + 2040);
    EXPECT_STREQ(Up_GetThreadLoggingBuffer(), "xxxxxxx");
    Up_ReportErrString(0, U_Sev_WARNING, nullptr);
    EXPECT_STREQ(Up_GetThreadLoggingBuffer(), "");
}

TEST_F(ReportRoad, AThreadWithoutARecordReadsZerosAndOneWithoutMemoryUsesTheSharedBuffer)
{
    OnAnotherThread([] {
        EXPECT_EQ(Up_GetThreadLoggingBufferEx(true), nullptr);
        U_Severity severity = 1;
        unsigned location = 1;
        char* shared = nullptr;
        int error = 1, stored = 0;
        {
            qltest::FailingAllocator fail(1, qltest::FailingAllocator::kFromThereOn);
            shared = Up_GetThreadLoggingBuffer();
            stored = Up_SetThreadLastError(5);
        }
        EXPECT_EQ(stored, 5);
        U_GetLastError(&severity, &location, &error);
        EXPECT_TRUE(severity == 0 && location == 0 && error == 0);
        ASSERT_NE(shared, nullptr);
        EXPECT_NE(shared, Up_GetThreadLoggingBuffer());
    });
}

TEST_F(ReportRoad, NumberedErrorsAreReportedOnceAndGiveZero)
{
    EXPECT_EQ(Up_ReportSyserrString(0, U_Sev_PROBLEM, 0, "text"), 0);
    EXPECT_EQ(Up_ReportTolmErrString(0, U_Sev_PROBLEM, 0, "text"), 0);
    EXPECT_TRUE(Reports().empty());
    EXPECT_EQ(Up_ReportSyserrString(0, U_Sev_PROBLEM, -43, "opening."), 0);
    EXPECT_EQ(Up_ReportTolmErrString(0, U_Sev_PROBLEM, 3, "opening."), 0);
    EXPECT_EQ(TakeShown(), (Texts{"QLTest error: opening — file not found (-43).",
                                  "QLTest error: opening — a bad parameter was passed."}));
}

TEST_F(ReportRoad, ChecksThatFailReportAndGoOn)
{
    std::string asked;
    const auto former = zvkcore::debug::SetAssertDialogHandler(
        [&](bool* ignore, const char* a, const char* b, const char* file, int line, const char* function) {
            asked = std::string(a) + b + file + std::to_string(line) + function;
            return !(*ignore = true);
        });
    unsigned char ignored = 0;
    EXPECT_EQ(Up_AssertImpl("a", "b", "f", 7, &ignored), 0);
    zvkcore::debug::SetAssertDialogHandler(former);
    EXPECT_EQ(asked,
              "abf7std::int32_t Up_AssertImpl(const char *, const char *, const char *, int, Boolean *)");
    EXPECT_EQ(ignored, 1);
    EXPECT_EQ(Up_AssertFailed("a == b", "file.cpp", 12), 0);
    U_ReportFailedVerification(0, 33, "file.cpp", "broken");
    U_ReportFailedVerification(0, 33, "file.cpp", nullptr);
    U_ReportFailedVerification(0, 33, nullptr, nullptr);
    EXPECT_EQ(TakeShown(), (Texts{"QLTest error: assertion failed\na == b\nline: 12 of file: file.cpp.",
                                  "QLTest error: Verification failure: file.cpp {broken}",
                                  "QLTest error: Verification failure: file.cpp {33}",
                                  "QLTest error: internal verification failure, sorry! {33}"}));
    U_ReportFailedVerification(0x170015, 33, nullptr, std::string(4000, 'x').c_str());
    EXPECT_EQ(std::strlen(Up_GetThreadLoggingBuffer()), 511u);
    EXPECT_EQ(Up_GetThreadLastLocation(), 0x170015u);
}

TEST_F(ReportRoad, EveryReportThatReachesTheUserLeavesATrail)
{
    using namespace zvkcore::debug::trailmark;
    ClearTrail();
    for (const U_Severity severity : {U_Sev_WARNING, U_Sev_FATAL, U_Sev_PLAIN, U_Sev_DEBUG}) {
        Up_ReportErrString(0x120003, severity, "text");
    }
    std::string levels, last;
    for (const auto& checkpoint : GetTrail()) {
        last.clear();
        for (const auto& [key, text] : checkpoint.texts.GetEntries()) {
            last.append(key).append("=").append(zvkcore::string::View(text)).append(";");
        }
        levels.append(zvkcore::string::View(*checkpoint.texts.Find(kCheckpointLevel))).append(" ");
        EXPECT_FALSE(checkpoint.callstack.empty());
    }
    EXPECT_EQ(levels, "Warning Error Debug ");
    EXPECT_EQ(last,
              "CheckpointLevel=Debug;CheckpointCategory=QLErrorDialog;CheckpointName=Up_DlgShowC16;"
              "DebugSourceLocation=( 18 :: 3 );DebugMessage=QLTest: text;");
}

}  // namespace
