#include "U_ErrState.h"

#include "ErrorsTest.h"
#include "Up_ErrState.h"
#include "zvkcore/console/ConsoleLogFile.h"
#include "zvkcore/debug/Trace.h"

namespace {

using namespace errorstest;

// The log asks once in a process, at the first birth, whether there is a log file.
const bool g_has_log_file = zvkcore::console::ConsoleLogFile::GetInstance()->Open(
    (testing::TempDir() + "U_errors_tests.log").c_str(), false);

bool Has(const char* letters, char letter)
{
    return std::string_view(letters).find(letter) != std::string_view::npos;
}

// Under the mask of the birth: l is logged, c reaches the callbacks, n is counted, u reaches the user.
constexpr struct {
    U_Severity severity;
    const char* does;
} kSeverities[] = {{U_Sev_NONE, "cnu"},     {U_Sev_PLAIN, "cnu"},   {U_Sev_WARNING, "lcnu"},
                   {U_Sev_PROBLEM, "lcnu"}, {U_Sev_CONTINUED, "c"}, {U_Sev_DEBUG, "n"},
                   {U_Sev_LEAK, "cnu"},     {U_Sev_FATAL, "lcnu"}};

// Scopes from the outside in: k quiet that keeps the log, q quiet, a aggregation, d deferred with an empty
// mask, m deferred with a mask that keeps the log. What is left: l log and callbacks, r last error and count,
// d dialog or post.
struct Mode {
    const char *name, *scopes, *leaves;
};

class Modes : public Errors, public testing::WithParamInterface<Mode> {
  protected:
    void Enter(char scope)
    {
        if (scope == 'a') {
            ASSERT_EQ(Up_StartErrorStateOnCurrentThread(Up_ErrorState_Aggregate, Text16("T"), {}), 0);
        } else if (scope == 'd' || scope == 'm') {
            ASSERT_EQ(U_DeferredReportingStart(scope == 'm' ? 0xffff0000 : 0, &m_deferred), 0);
        } else {
            ASSERT_EQ(U_StartQuietErrorsOnCurrentThread(scope == 'k'), 0);
        }
    }

    void Leave(char scope)
    {
        const bool defers = scope == 'd' || scope == 'm';
        ASSERT_EQ(
            defers ? U_DeferredReportingEnd(true, nullptr, &m_deferred) : U_EndQuietErrorsOnCurrentThread(),
            0);
    }

    // One report inside the scopes, and what came of it there and at their end.
    void Try(U_Severity severity, const char* does, bool on_ui_thread)
    {
        const auto [name, scopes, leaves] = GetParam();
        const bool defers = Has(scopes, 'd') || Has(scopes, 'm'), gathers = Has(scopes, 'a');
        const bool is_fatal = severity == U_Sev_FATAL;
        const bool is_free = is_fatal && !defers;  // a mask holds a fatal error too, a state does not
        const bool logs = Has(leaves, 'l') || is_free, records = Has(leaves, 'r') || is_fatal;
        const bool displays = (Has(leaves, 'd') || is_free) && Has(does, 'u');
        const bool shows = displays && on_ui_thread && !gathers;
        const unsigned location = 0x120000u + severity + (on_ui_thread ? 0x1000 : 0);

        for (const char* scope = scopes; *scope; ++scope) Enter(*scope);
        int before = 0, after = 0;
        U_GetHowManyErrors(&before);
        U_ReportError(location, severity, Text16(on_ui_thread ? "ui" : "worker"));
        U_GetHowManyErrors(&after);
        U_Severity last = 0;
        unsigned last_location = 0;
        U_GetLastError(&last, &last_location, nullptr);
        EXPECT_EQ(log_lines, logs && Has(does, 'l'));
        EXPECT_EQ(Reports().size(), logs && Has(does, 'c'));
        EXPECT_EQ(after - before, records && Has(does, 'n'));
        EXPECT_EQ(last_location == location && last == severity, records);
        EXPECT_EQ(Dialogs().size(), shows);
        EXPECT_EQ(U_GetNumPostedErrors(), displays && !shows);
        const bool asserts = is_fatal || (severity == U_Sev_PROBLEM && !gathers);
        EXPECT_EQ(assertions.size(), displays && !shows && asserts);

        Forget();
        log_lines = 0;
        for (size_t scope = std::string_view(scopes).size(); scope-- > 0;) Leave(scopes[scope]);
        const bool reports_at_end = defers && Has(does, 'n') && Has(does, 'u');
        EXPECT_EQ(Reports().size(), reports_at_end && !logs);  // callbacks hear of an error once
        EXPECT_EQ(log_lines, reports_at_end && Has(does, 'l'));
        EXPECT_EQ(Dialogs().size(), reports_at_end && on_ui_thread);
        EXPECT_EQ(U_GetNumPostedErrors(), (displays && !shows) || (reports_at_end && !on_ui_thread));
        U_DisplayPostedErrors();
        Forget();
        log_lines = 0;
        assertions.clear();
    }

    int log_lines = 0;

  private:
    U_DeferredReportingState m_deferred{};
};

TEST_P(Modes, EverySeverityOnBothKindsOfThread)
{
    ASSERT_TRUE(g_has_log_file);
    const auto former =
        zvkcore::debug::SetTraceSink([&](int, std::string_view channel, std::string_view text) {
            if (channel == "ALOG" && text.starts_with("U U_Sev_")) ++log_lines;
        });
    for (const auto& [severity, does] : kSeverities) {
        SCOPED_TRACE("severity " + std::to_string(severity));
        Try(severity, does, true);
        OnWorker([&, severity = severity, does = does] { Try(severity, does, false); });
        EXPECT_EQ(U_IsDeadWithFatalError() != 0, severity == U_Sev_FATAL);
    }
    zvkcore::debug::SetTraceSink(former);
}

INSTANTIATE_TEST_SUITE_P(Table, Modes,
                         testing::Values(Mode{"Normal", "", "lrd"}, Mode{"QuietKeepsLog", "k", "l"},
                                         Mode{"Quiet", "q", ""}, Mode{"Aggregation", "a", "lrd"},
                                         Mode{"AggregationInQuietThatKeepsLog", "ka", "l"},
                                         Mode{"AggregationInQuiet", "qa", ""},
                                         Mode{"QuietInAggregation", "aq", ""},
                                         Mode{"NothingLoosensQuiet", "qk", ""}, Mode{"Deferred", "d", "r"},
                                         Mode{"DeferredThatKeepsLog", "m", "lr"}),
                         [](const auto& row) { return std::string(row.param.name); });

using ErrState = Errors;

TEST_F(ErrState, NestedScopesKeepTitlesAndTravelByClone)
{
    const U_ScErrorDialogAggregation outer{Text16("P"), Text16("W")};
    {
        const U_ScErrorDialogAggregation inner{Text16("P2"), {}};
        ASSERT_EQ(U_StartQuietErrorsOnCurrentThread(1), 0);
        const auto state = Up_GetPerThreadErrorState();
        EXPECT_EQ(std::to_string(state.flags) + Text(state.problem_title) + Text(state.warning_title),
                  "12P2W");
        OnWorker([&] {
            U_UTF16String problem = Text16("left over"), warning;
            EXPECT_FALSE(Up_HasErrorAggregationOnThisThread(&problem, nullptr));
            EXPECT_TRUE(problem.empty());
            const Up_ScCloneErrorState clone{state};
            EXPECT_TRUE(Up_HasErrorAggregationOnThisThread(&problem, &warning));
            EXPECT_EQ(Text(problem) + Text(warning), "P2W");
        });
        ASSERT_EQ(U_EndQuietErrorsOnCurrentThread(), 0);
    }
    EXPECT_TRUE(U_ScErrorDialogAggregation::HasErrorAggregationOnThisThread());
    EXPECT_EQ(Text(Up_GetPerThreadErrorState().problem_title), "P");
}

TEST_F(ErrState, UnbalancedEndsAndStatesOutsideBirthAreFailedVerifications)
{
    EXPECT_EQ(U_EndQuietErrorsOnCurrentThread(), 3);
    Up_DeathErrorStates();
    EXPECT_EQ(U_StartQuietErrorsOnCurrentThread(0), 3);
    EXPECT_EQ(U_EndQuietErrorsOnCurrentThread(), 3);
    EXPECT_THROW((U_ScErrorDialogAggregation{{}, {}}), int);
    ASSERT_EQ(Reports().size(), 4u);
    EXPECT_NE(Reports()[0].text.find("Unbalanced U_EndQuietErrorsOnCurrentThread() (2)"), std::string::npos);
    for (int i = 1; i < 4; ++i) {
        EXPECT_NE(Reports()[i].text.find("Per thread quiet data not set up yet!"), std::string::npos);
    }
    Up_BirthErrorStates();
    EXPECT_EQ(U_StartQuietErrorsOnCurrentThread(0), 0);
    Up_BirthErrorStates();  // a second birth keeps the scopes that are open
    EXPECT_EQ(U_EndQuietErrorsOnCurrentThread(), 0);
}

}  // namespace
