#include "U_Err.h"

#include <atomic>
#include <barrier>
#include <cstring>
#include <thread>

#include "FailingAllocator.h"
#include "QLTest.h"
#include "U_ErrState.h"
#include "Up_Err.h"
#include "Up_ErrText.h"
#include "Up_Interact.h"
#include "zvkcore/console/ConsoleLogFile.h"
#include "zvkcore/debug/Assert.h"
#include "zvkcore/debug/Trace.h"
#include "zvkcore/debug/Trailmark.h"

namespace {

using qltest::Text;
using qltest::Text16;

// The log asks once a process whether its file exists, so the file is there before the first test of the
// program.
class LogFile : public testing::Environment {
    void SetUp() override
    {
        const std::string path = testing::TempDir() + "U_Err_test.log";
        ASSERT_TRUE(zvkcore::console::ConsoleLogFile::GetInstance()->Open(path.c_str(), false));
    }
};
[[maybe_unused]] testing::Environment* const g_logFile = testing::AddGlobalTestEnvironment(new LogFile);

class ReportRoad : public qltest::Library {
  protected:
    void SetUp() override
    {
        Library::SetUp();
        m_former = zvkcore::debug::SetTraceSink([this](int, std::string_view channel, std::string_view text) {
            if (channel == "ALOG") m_log.emplace_back(text);
        });
        // A post outside an aggregation trips a debug assertion, which is not what these tests are about.
        m_formerAssert = zvkcore::debug::SetSimpleAssertHandler(
            [](const char*, int, const char*, const char*, const char*) { return false; });
    }
    void TearDown() override
    {
        zvkcore::debug::SetTraceSink(m_former);
        zvkcore::debug::SetSimpleAssertHandler(m_formerAssert);
        Library::TearDown();
    }

    static int CountedErrors()
    {
        int errors = -1;
        U_GetHowManyErrors(&errors);
        return errors;
    }

    std::vector<std::string> m_log;

  private:
    zvkcore::debug::TraceSink m_former;
    zvkcore::debug::SimpleAssertHandler m_formerAssert;
};

// --- What becomes of a report ----------------------------------------------------------------------------

struct SeverityRow {
    U_Severity severity;
    const char* prefix;
    const char* logWord;  // empty: no log line
    bool crawl;
    bool heard;  // by the logging callbacks
    bool counted;
    bool shown;
};

const SeverityRow kSeverities[] = {
    {U_Sev_NONE, "", "", false, true, true, true},
    {U_Sev_PLAIN, "QLTest: ", "", false, true, true, true},
    {U_Sev_WARNING, "QLTest warning: ", "U_Sev_WARNING", false, true, true, true},
    {U_Sev_PROBLEM, "QLTest error: ", "U_Sev_PROBLEM", true, true, true, true},
    {U_Sev_FATAL, "QLTest can’t continue: ", "U_Sev_FATAL", true, true, true, true},
    {U_Sev_CONTINUED, "  ", "", false, true, false, false},
    {U_Sev_DEBUG, "QLTest debug info: ", "", false, false, true, false},
    {U_Sev_LEAK, "QLTest warning: ", "", false, true, true, true},
    {3, "QLTest invalid severity code: ", "", false, true, true, true},
};

// What quiet errors, masks and posting change in this is the subject of U_ErrState_test.cpp.
TEST_F(ReportRoad, EverySeverityTakesItsRoad)
{
    for (const SeverityRow& row : kSeverities) {
        SCOPED_TRACE(row.severity);
        // A life of its own, as a fatal report ends it.
        TearDown();
        SetUp();
        Forget();
        m_log.clear();
        Up_ReportErrString(0x120003, row.severity, "text");

        const std::string text = row.prefix + std::string("text");
        EXPECT_EQ(Text(U_ReportFormatError(row.severity, Text16("text"))), text);
        EXPECT_EQ(Reports().size(), row.heard);
        if (!Reports().empty()) {
            EXPECT_EQ(Reports()[0], (qltest::Report{0x120003, row.severity, text}));
        }
        ASSERT_EQ(m_log.size(), row.logWord[0] ? 1u + row.crawl : 0u);
        if (!m_log.empty()) {
            EXPECT_EQ(m_log[0], "U " + std::string(row.logWord) + " " + text + "\t( 18 :: 3 )\n");
        }
        if (m_log.size() > 1) {
            EXPECT_EQ(m_log[1].rfind("ReportError StackCrawl ", 0), 0u);
        }
        EXPECT_EQ(CountedErrors(), row.counted);
        EXPECT_EQ(Dialogs().size(), row.shown);
        EXPECT_EQ(U_IsDeadWithFatalError(), row.severity == U_Sev_FATAL);
        U_Severity severity = 0;
        unsigned location = 0;
        int error = -1;
        EXPECT_EQ(Text(U_GetLastError(&severity, &location, &error)), "text");
        EXPECT_TRUE(severity == row.severity && location == 0x120003 && error == 0);
    }
}

TEST_F(ReportRoad, LeaksAreNotShownAfterAFatalReport)
{
    Up_ReportErrString(0, U_Sev_FATAL, "the end");
    Forget();
    Up_ReportErrString(0, U_Sev_LEAK, "4 bytes");
    EXPECT_EQ(Reports().size(), 1u);
    EXPECT_TRUE(Dialogs().empty());
}

TEST_F(ReportRoad, TheMaskDecidesHowFarASeverityReaches)
{
    struct Row {
        uint32_t mask;
        size_t logged, heard, shown;
    };
    for (const Row& row : {Row{0, 0, 0, 0}, Row{U_Sev_WARNING, 1, 0, 1}, Row{U_Sev_WARNING << 16, 1, 1, 0}}) {
        Forget();
        m_log.clear();
        const int32_t receipt = Up_SetInteractTemp(row.mask);
        Up_ReportErrString(0, U_Sev_WARNING, "text");
        Up_SetInteractTempComplete(receipt);
        EXPECT_EQ(m_log.size(), row.logged) << row.mask;
        EXPECT_EQ(Reports().size(), row.heard) << row.mask;
        EXPECT_EQ(Dialogs().size(), row.shown) << row.mask;
        if (row.logged) {
            EXPECT_EQ(m_log[0], "U U_Sev_WARNING QLTest warning: text\t\n");
        }
    }
}

TEST_F(ReportRoad, TheCrawlNamesTheFramesAroundTheReport)
{
    Up_ReportErrString(0, U_Sev_PROBLEM, "text");
    ASSERT_EQ(m_log.size(), 2u);
    // The front functions may end in a jump, so only who called them is sure to be there.
    EXPECT_NE(m_log[1].find("TheCrawlNamesTheFramesAroundTheReport"), std::string::npos) << m_log[1];
    EXPECT_LE(m_log[1].size(), 2070u);
}

// --- Callbacks -------------------------------------------------------------------------------------------

int Answer(void* answer, unsigned, U_Severity, const char*)
{
    return *static_cast<int*>(answer);
}

int ReportAgain(void* count, unsigned, U_Severity, const char*)
{
    ++*static_cast<int*>(count);
    Up_ReportErrString(0, U_Sev_PROBLEM, "from inside");
    return 0;
}

TEST_F(ReportRoad, AReportFromInsideAReportVanishes)
{
    int calls = 0;
    ASSERT_EQ(U_AddLoggingCallback(ReportAgain, &calls), 0);
    Presenter().whileShown = [] { Up_ReportErrString(0, U_Sev_WARNING, "from a dialog"); };
    Up_ReportErrString(0, U_Sev_WARNING, "outer");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(m_log.size(), 1u);
    ASSERT_EQ(Dialogs().size(), 1u);
    EXPECT_NE(Dialogs()[0].text.find("outer"), std::string::npos);
    EXPECT_EQ(CountedErrors(), 1);
}

TEST_F(ReportRoad, TheLastCallbacksAnswerEndsTheReport)
{
    int first = 5, last = 0;
    ASSERT_EQ(U_AddLoggingCallback(Answer, &first), 0);
    ASSERT_EQ(U_AddLoggingCallback(Answer, &last), 0);
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_WARNING, "text"), 0);
    EXPECT_EQ(Dialogs().size(), 1u);
    last = 77;
    EXPECT_EQ(Up_ReportErrString(0x10001, U_Sev_WARNING, "text"), 77);
    EXPECT_THROW(U_ReportError(0x10001, U_Sev_WARNING, Text16("text")), int);
    EXPECT_EQ(Dialogs().size(), 1u);
    EXPECT_EQ(CountedErrors(), 1);
    EXPECT_EQ(Up_GetThreadLastLocation(), 0u);
    last = 0;
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_WARNING, "text"), 0);
    EXPECT_EQ(Dialogs().size(), 2u);
}

TEST_F(ReportRoad, AnExceptionOutOfADialogPassesOnAndTheNextReportWorks)
{
    Presenter().whileShown = [] { throw 9; };
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_WARNING, "text"), 9);
    EXPECT_THROW(U_ReportError(0, U_Sev_WARNING, Text16("text")), int);
    Presenter().whileShown = nullptr;
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_WARNING, "text"), 0);
    EXPECT_EQ(Dialogs().size(), 3u);
}

// --- The buffer and the last error -----------------------------------------------------------------------

TEST_F(ReportRoad, TextsLongerThanTheBufferAreCutThereAndShownWhole)
{
    // Three bytes a character: 2044 bytes behind the mark hold 681 of them.
    std::string wide;
    for (int at = 0; at < 1000; ++at) wide += "€";
    U_ReportError(0, U_Sev_WARNING, Text16(wide));
    EXPECT_EQ(Text(U_GetLastError(nullptr, nullptr, nullptr)), wide.substr(0, 681 * 3));
    EXPECT_NE(Dialogs().at(0).text.find(wide), std::string::npos);

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
    std::thread([] {
        EXPECT_EQ(Up_GetThreadLoggingBufferEx(true), nullptr);
        EXPECT_TRUE(Up_GetThreadLastError() == 0 && Up_GetThreadLastSeverity() == 0 &&
                    Up_GetThreadLastLocation() == 0);
        char* shared = nullptr;
        int stored = 0;
        {
            qltest::FailingAllocator fail(1, qltest::FailingAllocator::kFromThereOn);
            shared = Up_GetThreadLoggingBuffer();
            stored = Up_SetThreadLastError(5);
        }
        EXPECT_EQ(stored, 5);
        EXPECT_EQ(Up_GetThreadLastError(), 0);
        ASSERT_NE(shared, nullptr);
        EXPECT_NE(shared, Up_GetThreadLoggingBuffer());
    }).join();
}

TEST_F(ReportRoad, NumberedErrorsAreReportedOnceAndGiveZero)
{
    EXPECT_EQ(Up_ReportSyserrString(0, U_Sev_PROBLEM, 0, "text"), 0);
    EXPECT_EQ(Up_ReportTolmErrString(0, U_Sev_PROBLEM, 0, "text"), 0);
    EXPECT_TRUE(Reports().empty());
    EXPECT_EQ(Up_ReportSyserrString(0, U_Sev_PROBLEM, -43, "opening."), 0);
    EXPECT_EQ(Up_ReportTolmErrString(0, U_Sev_PROBLEM, 3, "opening."), 0);
    ASSERT_EQ(Reports().size(), 2u);
    EXPECT_EQ(Reports()[0].text, "QLTest error: opening — file not found (-43).");
    EXPECT_EQ(Reports()[1].text, "QLTest error: opening — a bad parameter was passed.");
}

TEST_F(ReportRoad, ChecksThatFailReportAndGoOn)
{
    bool asked = false;
    const auto former = zvkcore::debug::SetAssertDialogHandler(
        [&](bool* ignore, const char* a, const char* b, const char* file, int line, const char* function) {
            asked = std::string("a b f 7") ==
                        a + std::string(" ") + b + " " + file + " " + std::to_string(line) &&
                    std::strstr(function, "std::int32_t Up_AssertImpl(") == function;
            *ignore = true;
            return false;
        });
    unsigned char ignored = 0;
    EXPECT_EQ(Up_AssertImpl("a", "b", "f", 7, &ignored), 0);
    zvkcore::debug::SetAssertDialogHandler(former);
    EXPECT_TRUE(asked && ignored == 1);

    EXPECT_EQ(Up_AssertFailed("a == b", "file.cpp", 12), 0);
    EXPECT_EQ(Reports().back(),
              (qltest::Report{0, U_Sev_PROBLEM,
                              "QLTest error: assertion failed\na == b\nline: 12 of file: file.cpp."}));
    struct Row {
        const char *file, *message, *holds, *holdsToo;
    };
    const std::string longText(4000, 'x');
    for (const Row& row :
         {Row{"file.cpp", "broken", "Verification failure: ", "{"},
          Row{"file.cpp", nullptr, "file.cpp", "33"},
          Row{nullptr, nullptr, "internal verification failure, sorry! {", "33}"},
          Row{nullptr, longText.c_str(), "internal verification failure, sorry! {", "xxx"}}) {
        U_ReportFailedVerification(0x170015, 33, row.file, row.message);
        EXPECT_NE(Reports().back().text.find(row.holds), std::string::npos) << Reports().back().text;
        EXPECT_NE(Reports().back().text.find(row.holdsToo), std::string::npos) << Reports().back().text;
        EXPECT_EQ(Reports().back().location, 0x170015u);
    }
}

TEST_F(ReportRoad, EveryReportThatReachesTheUserLeavesATrail)
{
    zvkcore::debug::trailmark::ClearTrail();
    U_IncrementPostErrors();
    Up_ReportErrString(0x120003, U_Sev_WARNING, "text");
    Up_ReportErrString(0, U_Sev_DEBUG, "unseen");
    U_DecrementPostErrors();
    const auto trail = zvkcore::debug::trailmark::GetTrail();
    ASSERT_EQ(trail.size(), 1u);
    const auto field = [&](std::string_view key) {
        return std::string(zvkcore::string::View(*trail[0].texts.Find(key)));
    };
    using namespace zvkcore::debug::trailmark;
    EXPECT_EQ(field(kCheckpointLevel), kCheckpointLevel_Warning);
    EXPECT_EQ(field(kCheckpointCategory), "QLErrorDialog");
    EXPECT_EQ(field(kCheckpointName), "Up_DlgShowC16");
    EXPECT_EQ(field(kDebugSourceLocation), "( 18 :: 3 )");
    EXPECT_EQ(field(kDebugMessage), "QLTest warning: text");
    EXPECT_FALSE(trail[0].callstack.empty());
}

// --- Pressure --------------------------------------------------------------------------------------------

TEST_F(ReportRoad, AReportSurvivesEveryFailedAllocation)
{
    const auto scenario = [] {
        bool complete = Up_ReportErrString(0x120003, U_Sev_PROBLEM, "text") == 0;
        U_IncrementPostErrors();
        complete = Up_ReportErrString(0, U_Sev_WARNING, "posted") == 0 && complete;
        U_DecrementPostErrors();
        U_ReportError(0, U_Sev_WARNING, Text16("shows both"));
        return complete && U_GetNumPostedErrors() == 0;
    };
    for (const auto mode : {qltest::FailingAllocator::kOnce, qltest::FailingAllocator::kFromThereOn}) {
        qltest::EveryAllocationFails(
            [&] {
                Forget();
                m_log.clear();
                zvkcore::debug::trailmark::ClearTrail();
                return scenario();
            },
            mode);
    }
    Forget();
    EXPECT_TRUE(scenario());
    EXPECT_EQ(Dialogs().size(), 3u);
}

std::atomic<int> g_heard{0};

int CountAll(void*, unsigned, U_Severity, const char*)
{
    ++g_heard;
    return 0;
}

TEST_F(ReportRoad, EightThreadsReportAndRegisterAtOnce)
{
    constexpr int kThreads = 8, kRounds = 100;
    g_heard = 0;
    ASSERT_EQ(U_AddLoggingCallback(CountAll, nullptr), 0);
    zvkcore::debug::SetTraceSink({});
    std::barrier start(kThreads);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int at = 0; at < kThreads; ++at) {
        threads.emplace_back([&, at] {
            U_RenderThreadRegistration render;
            const U_UTF16String text = Text16("thread " + std::to_string(at));
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round) {
                U_ReportError(static_cast<unsigned>(at) << 16 | 1, U_Sev_WARNING, text);
                U_Severity severity = 0;
                unsigned location = 0;
                wrong +=
                    U_GetLastError(&severity, &location, nullptr) != text || location >> 16 != unsigned(at);
                // Refcons of its own, so that pairs of different threads do not meet; a full table is
                // refused.
                U_StartQuietErrorsOnCurrentThread(0);
                if (U_AddLoggingCallback(CountAll, &wrong + 1 + at) == 0)
                    U_RemoveLoggingCallback(CountAll, &wrong + 1 + at);
                const unsigned key =
                    U_RegisterExceptionTranslatorImpl([](std::exception*, int*) { return false; });
                wrong += U_TrySection([] { throw std::runtime_error("unknown"); }) != 14;
                U_UnregisterExceptionTranslator(key);
                U_EndQuietErrorsOnCurrentThread();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(CountedErrors(), kThreads * kRounds);
    EXPECT_EQ(U_GetNumPostedErrors(), kThreads * kRounds);
    EXPECT_GE(g_heard, kThreads * kRounds);
    EXPECT_EQ(U_RemoveLoggingCallback(CountAll, nullptr), 0);
    Forget();
}

}  // namespace
