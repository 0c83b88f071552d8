#include "U_ErrState.h"

#include "ErrorsTest.h"
#include "Up_ErrState.h"

namespace {

using namespace errorstest;

bool Has(const char* letters, char letter)
{
    return std::string_view(letters).find(letter) != std::string_view::npos;
}

// Under the mask of the birth: l is logged, s with a stack crawl, c reaches the callbacks, n is counted, u
// reaches the user.
constexpr struct Severity {
    U_Severity value;
    const char *does, *prefix;
    const char* word = "";  // in the log
} kSeverities[] = {{U_Sev_NONE, "cnu", ""},
                   {U_Sev_PLAIN, "cnu", "QLTest: "},
                   {U_Sev_WARNING, "lcnu", "QLTest warning: ", "U_Sev_WARNING"},
                   {U_Sev_PROBLEM, "lscnu", "QLTest error: ", "U_Sev_PROBLEM"},
                   {U_Sev_CONTINUED, "c", "  "},
                   {U_Sev_DEBUG, "n", "QLTest debug info: "},
                   {U_Sev_LEAK, "cnu", "QLTest warning: "},
                   {3, "cnu", "QLTest invalid severity code: "},
                   {U_Sev_FATAL, "lscnu", "QLTest can’t continue: ", "U_Sev_FATAL"}};

// Scopes from the outside in: k quiet that keeps the log, q quiet, a aggregation; deferred with a mask that
// keeps nothing (d), its high half (h) or its low half (w). What is left: l log, c callbacks, r last error and
// count, d dialog or post.
struct Mode {
    const char *name, *scopes, *leaves;
};

class Modes : public Errors, public testing::WithParamInterface<Mode> {
  protected:
    static bool Defers(char scope) { return scope == 'd' || scope == 'h' || scope == 'w'; }

    // A state does not hold a fatal error, but a mask does.
    static bool IsFree(const Severity& severity)
    {
        return severity.value == U_Sev_FATAL && !Defers(*GetParam().scopes);
    }

    Err Enter(char scope)
    {
        if (scope == 'a') return Up_StartErrorStateOnCurrentThread(Up_ErrorState_Aggregate, Text16("T"), {});
        if (!Defers(scope)) return U_StartQuietErrorsOnCurrentThread(scope == 'k');
        const unsigned mask = scope == 'h' ? 0xffff0000 : scope == 'w' ? 0xffff : 0;
        return U_DeferredReportingStart(mask, &m_deferred);
    }

    Err Leave(char scope)
    {
        return Defers(scope) ? U_DeferredReportingEnd(true, nullptr, &m_deferred)
                             : U_EndQuietErrorsOnCurrentThread();
    }

    void EnterAll()
    {
        for (const char* scope = GetParam().scopes; *scope; ++scope) ASSERT_EQ(Enter(*scope), 0);
    }

    void LeaveAll()
    {
        const std::string_view scopes = GetParam().scopes;
        for (size_t scope = scopes.size(); scope-- > 0;) ASSERT_EQ(Leave(scopes[scope]), 0);
    }

    // What a report of this text leaves in the log, of which only the beginning of a stack crawl is compared.
    void ExpectLog(bool logs, const Severity& severity, const std::string& text, const std::string& location)
    {
        for (std::string& line : log) {
            if (line.starts_with("ReportError StackCrawl ")) line = "crawl";
        }
        Texts expected;
        if (logs) expected.push_back("U " + std::string(severity.word) + " " + text + "\t" + location + "\n");
        if (logs && Has(severity.does, 's')) expected.push_back("crawl");
        EXPECT_EQ(log, expected);
    }

    // One report inside the scopes, and what came of it there and at their end.
    void Try(const Severity& severity, bool on_ui_thread)
    {
        const auto [value, does, prefix, word] = severity;
        const auto [name, scopes, leaves] = GetParam();
        const bool defers = Defers(*scopes), gathers = Has(scopes, 'a'), is_fatal = value == U_Sev_FATAL;
        const bool is_free = IsFree(severity);
        const bool logs = (Has(leaves, 'l') || is_free) && Has(does, 'l');
        const bool is_heard = (Has(leaves, 'c') || is_free) && Has(does, 'c');
        const bool records = Has(leaves, 'r') || is_fatal;
        const bool displays = (Has(leaves, 'd') || is_free) && Has(does, 'u');
        const bool shows = displays && on_ui_thread && !gathers, posts = displays && !shows;
        const unsigned number = value + (on_ui_thread ? 0x1000 : 0), location = 0x120000 + number;
        const std::string location_text = "( 18 :: " + std::to_string(number) + " )";
        const std::string text = prefix + std::string("text");
        const std::vector<qltest::Report> heard{{location, value, text}}, nothing;

        EnterAll();
        const int before = CountedErrors();
        U_ReportError(location, value, Text16("text"));
        EXPECT_EQ(Text(U_ReportFormatError(value, Text16("text"))), text);
        U_Severity last = 0;
        unsigned last_location = 0;
        EXPECT_EQ(Text(U_GetLastError(&last, &last_location, nullptr)), "text");
        ExpectLog(logs, severity, text, location_text);
        EXPECT_EQ(Reports(), is_heard ? heard : nothing);
        EXPECT_EQ(CountedErrors() - before, records && Has(does, 'n'));
        EXPECT_EQ(last_location == location && last == value, records);
        EXPECT_EQ(Dialogs().size(), shows);
        EXPECT_EQ(U_GetNumPostedErrors(), posts);
        EXPECT_EQ(assertions.size(), posts && (is_fatal || (value == U_Sev_PROBLEM && !gathers)));

        Forget();
        LeaveAll();
        const bool reports_at_end = defers && Has(does, 'n') && Has(does, 'u');
        ExpectLog(reports_at_end && Has(does, 'l'), severity, text, location_text);
        EXPECT_EQ(Reports(), reports_at_end && !is_heard ? heard : nothing);  // once is enough
        EXPECT_EQ(Dialogs().size(), reports_at_end && on_ui_thread);
        EXPECT_EQ(U_GetNumPostedErrors(), posts + (reports_at_end && !on_ui_thread));
        U_DisplayPostedErrors();
        Forget();
    }

    // A report that only posts, and does so wherever a dialog would be allowed.
    void TryToPost(const Severity& severity)
    {
        const bool displays = (Has(GetParam().leaves, 'd') || IsFree(severity)) && Has(severity.does, 'u');
        EnterAll();
        U_AsyncReport(0x110000u, severity.value, Text16("later"));
        EXPECT_EQ(U_GetNumPostedErrors(), displays);
        LeaveAll();
        EXPECT_TRUE(log.empty() && Reports().empty() && Dialogs().empty());
        unsigned last_location = 0;
        U_GetLastError(nullptr, &last_location, nullptr);
        EXPECT_NE(last_location, 0x110000u);
        U_DisplayPostedErrors();
        Forget();
    }

  private:
    U_DeferredReportingState m_deferred{};
};

TEST_P(Modes, EverySeverityOnBothKindsOfThread)
{
    for (const Severity& severity : kSeverities) {
        SCOPED_TRACE("severity " + std::to_string(severity.value));
        Try(severity, true);
        TryToPost(severity);
        OnAnotherThread([&] { Try(severity, false); });
        EXPECT_EQ(U_IsDeadWithFatalError() != 0, severity.value == U_Sev_FATAL);
    }
    U_ReportError(0, U_Sev_LEAK, Text16("follows from what was fatal"));
    EXPECT_TRUE(Dialogs().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Table, Modes,
    testing::Values(Mode{"Normal", "", "lcrd"}, Mode{"QuietKeepsLog", "k", "lc"}, Mode{"Quiet", "q", ""},
                    Mode{"Aggregation", "a", "lcrd"}, Mode{"AggregationInQuietThatKeepsLog", "ka", "lc"},
                    Mode{"AggregationInQuiet", "qa", ""}, Mode{"QuietInAggregation", "aq", ""},
                    Mode{"NothingLoosensQuiet", "qk", ""}, Mode{"Deferred", "d", "r"},
                    Mode{"DeferredThatKeepsLog", "h", "lcr"}, Mode{"DeferredThatShows", "w", "lrd"}),
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
        OnAnotherThread([&] {
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
    const std::string start = "QLTest error: internal verification failure, sorry! {";
    const std::string not_set_up = start + "Per thread quiet data not set up yet!}";
    EXPECT_EQ(TakeShown(), (Texts{start + "Unbalanced U_EndQuietErrorsOnCurrentThread() (2)}", not_set_up,
                                  not_set_up, not_set_up}));
    Up_BirthErrorStates();
    EXPECT_EQ(U_StartQuietErrorsOnCurrentThread(0), 0);
    Up_BirthErrorStates();  // a second birth keeps the scopes that are open
    EXPECT_EQ(U_EndQuietErrorsOnCurrentThread(), 0);
}

}  // namespace
