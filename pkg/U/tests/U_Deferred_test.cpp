#include "ErrorsTest.h"
#include "Up_Globals.h"
#include "Up_Interact.h"

namespace {

using namespace errorstest;

using Reported = std::vector<qltest::Report>;

class Deferred : public Errors {
  protected:
    // Runs `work` deferred, and checks that nothing of it got out and no mask stays behind.
    template <class Work>
    Err Defer(Work work, bool report, const char* fallback = nullptr, bool async = false)
    {
        U_DeferredReportingState state{};
        EXPECT_EQ(U_DeferredReportingStart(0, &state), 0);
        work();
        EXPECT_TRUE(Reports().empty() && Dialogs().empty());
        const Err err = U_DeferredReportingEndAsync(report, async, fallback, &state);
        EXPECT_EQ(state.saved_text, nullptr);
        EXPECT_EQ(Up_GetInteract(), Up_kBirthInteract);
        return err;
    }

    // What is reported in the end.
    template <class Work>
    Reported AtTheEnd(Work work, const char* fallback = nullptr, bool async = false)
    {
        EXPECT_EQ(Defer(work, true, fallback, async), 0);
        const Reported reports = Reports();
        Forget();
        return reports;
    }
};

TEST_F(Deferred, TheLastErrorIsReportedOnceOrItsFallback)
{
    const auto report = [](U_Severity severity, const char* text) {
        return [=] { U_ReportError(0x120000u + severity, severity, Text16(text)); };
    };
    EXPECT_EQ(AtTheEnd([] {}, "nothing failed"), Reported{});
    EXPECT_EQ(AtTheEnd([&] { report(U_Sev_PROBLEM, "first")(), report(U_Sev_WARNING, "last")(); }),
              (Reported{{0x120004, U_Sev_WARNING, "QLTest warning: last"}}));
    EXPECT_EQ(AtTheEnd(report(U_Sev_WARNING, ""), "said instead"),
              (Reported{{0x120004, U_Sev_WARNING, "QLTest warning: said instead"}}));
    EXPECT_EQ(AtTheEnd(report(U_Sev_PROBLEM, "")),
              (Reported{{0x120008, U_Sev_PROBLEM, "QLTest error: missing deferred error information."}}));
    // The count is that of the process, the last error that of the thread.
    EXPECT_EQ(AtTheEnd([&] { OnAnotherThread(report(U_Sev_WARNING, "theirs")); }).size(), 1u);
    EXPECT_EQ(AtTheEnd(report(U_Sev_WARNING, "later"), nullptr, true), Reported{});
    EXPECT_EQ(U_GetNumPostedErrors(), 1);
}

TEST_F(Deferred, ForgettingPutsCountAndTextBack)
{
    U_ReportError(1, U_Sev_WARNING, Text16("before"));
    Forget();
    EXPECT_EQ(Defer([] { U_ReportError(2, U_Sev_PROBLEM, Text16("forgotten")); }, false), 0);
    EXPECT_EQ(CountedErrors(), 1);
    EXPECT_EQ(Text(U_GetLastError(nullptr, nullptr, nullptr)), "before");
}

TEST_F(Deferred, AnswerOfACallbackIsTheResultAndNullIsRefused)
{
    const U_LoggingFunc refuse = [](void*, unsigned, U_Severity, const char*) { return 77; };
    ASSERT_EQ(U_AddLoggingCallback(refuse, nullptr), 0);
    EXPECT_EQ(Defer([] { U_ReportError(9, U_Sev_WARNING, Text16("refused")); }, true), 77);
    EXPECT_EQ(U_RemoveLoggingCallback(refuse, nullptr), 0);
    EXPECT_EQ(U_DeferredReportingStart(0, nullptr), 3);
    EXPECT_EQ(U_DeferredReportingEnd(true, nullptr, nullptr), 3);
}

}  // namespace
