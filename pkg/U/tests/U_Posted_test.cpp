#include "Up_Posted.h"

#include <atomic>
#include <map>
#include <stdexcept>

#include "ErrorsTest.h"
#include "FailingAllocator.h"
#include "U_TrySection.h"
#include "Up_Err.h"
#include "Up_ErrState.h"
#include "zvkcore/debug/Trailmark.h"

namespace {

using namespace errorstest;
using Posted = Errors;

void ReportOnAnotherThread(const char* text, U_Severity severity = U_Sev_WARNING)
{
    OnAnotherThread([&] { U_ReportError(0, severity, Text16(text)); });
}

TEST_F(Posted, WhatWaitsIsShownInOrderAndFirst)
{
    ReportOnAnotherThread("a");
    ReportOnAnotherThread("bad", U_Sev_PROBLEM);
    EXPECT_TRUE(Dialogs().empty());
    EXPECT_EQ(assertions, Texts{"437 Up_PostError:  QLTest error: bad"});
    U_ReportError(0, U_Sev_WARNING, Text16("c"));
    EXPECT_EQ(TakeShown(), (Texts{"QLTest warning: a", "QLTest error: bad", "QLTest warning: c"}));
    // The UI thread posts what belongs to a group, and everything when it is told to.
    U_ReportError(0, U_Sev_WARNING, U_GroupErrorMessage(Text16("a"), Text16("group")));
    U_IncrementPostErrors();
    U_ReportError(0, U_Sev_WARNING, Text16("b"));
    U_DecrementPostErrors();
    EXPECT_TRUE(Dialogs().empty());
    EXPECT_EQ(U_GetNumPostedErrors(), 2);
}

TEST_F(Posted, WorkersRepeatOfWhatWasShownLastIsDropped)
{
    const auto post = [](const char* location, U_Severity severity, const char* text) {
        Up_PostError(Text16(location), severity, Text16(text), false);
        return U_GetNumPostedErrors();
    };
    post("here", U_Sev_WARNING, "same");
    U_DisplayPostedErrors();
    OnAnotherThread([&] {
        EXPECT_EQ(post("here", U_Sev_WARNING, "same"), 0);
        EXPECT_EQ(post("there", U_Sev_WARNING, "same"), 1);
        EXPECT_EQ(post("here", U_Sev_PLAIN, "same"), 2);
        EXPECT_EQ(post("here", U_Sev_WARNING, "other"), 3);
    });
    EXPECT_EQ(post("here", U_Sev_WARNING, "same"), 4);
    U_ClearLastReportedError();
    OnAnotherThread([&] { EXPECT_EQ(post("here", U_Sev_WARNING, "same"), 5); });
}

TEST_F(Posted, AggregationsOfTwoThreadsMeetUnderTheirTitles)
{
    const auto work = [] {
        const U_ScErrorDialogAggregation gather{Text16("Problems"), Text16("Warnings")};
        U_ReportError(0, U_Sev_WARNING, Text16("w"));
        U_ReportError(0, U_Sev_PROBLEM, Text16("p"));
        U_ReportError(0, U_Sev_PLAIN, Text16("plain"));
        U_DisplayPostedErrors();  // shows nothing here
    };
    OnAnotherThread(work);
    work();
    EXPECT_TRUE(Dialogs().empty());
    U_DisplayPostedErrors();
    EXPECT_EQ(TakeShown(), (Texts{"QLTest: plain", "QLTest: plain", "Problems\r\r1)   QLTest error: p",
                                  "Warnings\r\r1)   QLTest warning: w"}));
    EXPECT_TRUE(assertions.empty());
}

TEST_F(Posted, ADialogMayThrowPostAndDrain)
{
    for (const char* text : {"a", "b", "c"}) ReportOnAnotherThread(text);
    Presenter().whileShown = [] { throw 7; };
    EXPECT_THROW(U_DisplayPostedErrors(), int);
    EXPECT_EQ(U_GetNumPostedErrors(), 2);
    Presenter().whileShown = [&] {
        Presenter().whileShown = nullptr;
        ReportOnAnotherThread("meanwhile");
        U_DisplayPostedErrors();
        throw 7;
    };
    EXPECT_THROW(U_DisplayPostedErrors(), int);
    U_DisplayPostedErrors();
    EXPECT_EQ(TakeShown(), (Texts{"QLTest warning: a", "QLTest warning: b", "QLTest warning: meanwhile",
                                  "QLTest warning: c"}));
}

TEST_F(Posted, OutsideBirthAndDeathAPostIsRefused)
{
    Up_DeathErrorStorage();
    EXPECT_EQ(Up_PostError({}, U_Sev_WARNING, Text16("nowhere"), false), 0x1701);
    EXPECT_EQ(U_GetNumPostedErrors(), 0);
    U_DisplayPostedErrors();
    U_ClearLastReportedError();
    Up_BirthErrorStorage();
    EXPECT_EQ(Up_PostError({}, U_Sev_WARNING, Text16("kept"), false), 0);
    Up_BirthErrorStorage();  // a second birth loses nothing
    EXPECT_EQ(U_GetNumPostedErrors(), 1);
}

// --- Memory that runs out --------------------------------------------------------------------------------

// Long enough to need a block of its own for every copy.
U_UTF16String Long(const char* text)
{
    return Text16(text + std::string(17000, 'x'));
}

// Each run has a life of its own, on the UI thread, where missing memory is reported from within, and on a
// worker, where it is not.
TEST_F(Posted, ReportsStatesAndDrainsAreWholeWhereverMemoryEnds)
{
    struct Life {
        Life() { Up_BirthErrorStorage(); }
        ~Life() { Up_DeathErrorStorage(); }
    };
    const auto location = Long("location"), title = Long("title"), message = Long("message");
    const auto grouped = U_GroupErrorMessage(message, Long("many|||one###type"));
    bool ended_badly = false;  // assertions must wait until memory is back
    const auto scenario = [&] {
        Forget();
        zvkcore::debug::trailmark::ClearTrail();
        const Life life;
        const bool reported = Up_ReportErrString(0x120003, U_Sev_PROBLEM, "text") == 0;
        if (Up_StartErrorStateOnCurrentThread(Up_ErrorState_Aggregate, title, title) != 0) {
            ended_badly |= Up_GetPerThreadErrorFlags() != 0;
            return false;
        }
        int posted = 0;
        const int before = U_GetNumPostedErrors();
        for (const auto& text : {message, grouped, grouped}) {
            posted += Up_PostError(location, U_Sev_PROBLEM, text, true) == 0;
        }
        ended_badly |= !U_IsOnUIThread() && U_GetNumPostedErrors() - before != posted;
        ended_badly |= Up_EndErrorStateOnCurrentThread() != 0;
        U_DisplayPostedErrors();
        ended_badly |= U_GetNumPostedErrors() != 0;
        return reported && posted == 3;
    };
    Up_DeathErrorStorage();
    for (const auto mode : {qltest::FailingAllocator::kOnce, qltest::FailingAllocator::kFromThereOn}) {
        EXPECT_GT(qltest::EveryAllocationFails(scenario, mode), 9u);
        OnAnotherThread([&] { EXPECT_GT(qltest::EveryAllocationFails(scenario, mode), 9u); });
    }
    Up_BirthErrorStorage();
    EXPECT_FALSE(ended_badly);
}

// --- Many threads ----------------------------------------------------------------------------------------

// The callbacks and translators that a thread brings along for a moment; a full table refuses them.
Err RegisterForAMoment(int thread)
{
    static int s_refcons[8];
    const U_LoggingFunc hear = [](void*, unsigned, U_Severity, const char*) { return 0; };
    U_StartQuietErrorsOnCurrentThread(0);
    if (U_AddLoggingCallback(hear, &s_refcons[thread]) == 0)
        U_RemoveLoggingCallback(hear, &s_refcons[thread]);
    const unsigned key = U_RegisterExceptionTranslatorImpl([](std::exception*, int*) { return false; });
    const Err code = U_TrySection([] { throw std::runtime_error("unknown"); });
    U_UnregisterExceptionTranslator(key);
    U_EndQuietErrorsOnCurrentThread();
    return code;
}

// Plain posts, grouped ones and gathered ones.
void PostInTurn(int thread, int round)
{
    const auto text = Text16("<" + std::to_string(thread) + ":" + std::to_string(round) + ">");
    if (round % 3 == 0) {
        U_ReportError(static_cast<unsigned>(thread), U_Sev_WARNING, text);
    } else if (round % 3 == 1) {
        const auto group = Text16("many|||one###group " + std::to_string(thread % 3));
        U_AsyncReport(0u, U_Sev_WARNING, U_GroupErrorMessage(text, group));
    } else {
        const auto title = Text16("title " + std::to_string(thread % 2));
        const U_ScErrorDialogAggregation gather{title, title};
        U_AsyncReport(0u, U_Sev_PROBLEM, text);
    }
}

TEST_F(Posted, EveryDistinctPostOfEightThreadsIsShownOnce)
{
    constexpr int kThreads = 8, kRounds = 1200;
    std::atomic<int> wrong{0};
    std::atomic<bool> working{true};
    std::thread workers([&] {
        Contend(kThreads, [&](int thread) {
            for (int round = 0; round < kRounds; ++round) {
                PostInTurn(thread, round);
                unsigned location = 99;
                U_GetLastError(nullptr, &location, nullptr);
                wrong += location != static_cast<unsigned>(thread);
                if (round % 10 == 0) wrong += RegisterForAMoment(thread) != U_Err_UNKNOWN;
            }
        });
        working = false;
    });
    while (working) U_DisplayPostedErrors();
    workers.join();
    U_DisplayPostedErrors();
    std::map<std::string, int> seen;
    for (const std::string& text : TakeShown()) {
        for (size_t at = 0; (at = text.find('<', at)) != std::string::npos; ++at) {
            ++seen[text.substr(at, text.find('>', at) - at)];
        }
    }
    EXPECT_EQ(seen.size(), size_t{kThreads} * kRounds);
    for (const auto& [token, times] : seen) ASSERT_EQ(times, 1) << token;
    EXPECT_EQ(U_GetNumPostedErrors(), 0);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(Reports().size(), size_t{kThreads} * kRounds / 3);
    EXPECT_EQ(CountedErrors(), kThreads * kRounds / 3);
}

}  // namespace
