#include "Up_Posted.h"

#include <atomic>
#include <barrier>
#include <map>

#include "ErrorsTest.h"
#include "FailingAllocator.h"
#include "Up_ErrState.h"
#include "zvkcore/debug/Trailmark.h"

namespace {

using namespace errorstest;
using Posted = Errors;

void ReportOnWorker(const char* text, U_Severity severity = U_Sev_WARNING)
{
    OnWorker([&] { U_ReportError(0, severity, Text16(text)); });
}

TEST_F(Posted, WhatWaitsIsShownInOrderAndFirst)
{
    ReportOnWorker("a");
    ReportOnWorker("bad", U_Sev_PROBLEM);
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
    ReportOnWorker("same");
    U_DisplayPostedErrors();
    ReportOnWorker("same");
    EXPECT_EQ(U_GetNumPostedErrors(), 0);
    ReportOnWorker("same", U_Sev_PLAIN);               // of another severity
    U_AsyncReport(0u, U_Sev_WARNING, Text16("same"));  // of the UI thread
    EXPECT_EQ(U_GetNumPostedErrors(), 2);
    U_ClearLastReportedError();
    ReportOnWorker("same");
    EXPECT_EQ(U_GetNumPostedErrors(), 3);
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
    OnWorker(work);
    work();
    EXPECT_TRUE(Dialogs().empty());
    U_DisplayPostedErrors();
    EXPECT_EQ(TakeShown(), (Texts{"QLTest: plain", "QLTest: plain", "Problems\r\r1)   QLTest error: p",
                                  "Warnings\r\r1)   QLTest warning: w"}));
    EXPECT_TRUE(assertions.empty());
}

TEST_F(Posted, ADialogMayThrowPostAndDrain)
{
    for (const char* text : {"a", "b", "c"}) ReportOnWorker(text);
    Presenter().whileShown = [] { throw 7; };
    EXPECT_THROW(U_DisplayPostedErrors(), int);
    EXPECT_EQ(U_GetNumPostedErrors(), 2);
    Presenter().whileShown = [&] {
        Presenter().whileShown = nullptr;
        ReportOnWorker("meanwhile");
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
    return Text16(text + std::string(40000, 'x'));
}

class ShortOfMemory : public Errors {
  protected:
    void SetUp() override
    {
        Errors::SetUp();
        Up_DeathErrorStorage();
    }
    void TearDown() override
    {
        Up_BirthErrorStorage();
        Errors::TearDown();
    }

    // Runs `body` between a birth and a death of its own, on the UI thread, where missing memory is reported
    // from within, and on a worker, where it is not.
    void EveryAllocationFails(const std::function<bool()>& body)
    {
        const auto scenario = [&] {
            struct Life {
                Life() { Up_BirthErrorStorage(); }
                ~Life() { Up_DeathErrorStorage(); }
            };
            Forget();
            zvkcore::debug::trailmark::ClearTrail();
            const Life life;
            return body();
        };
        EXPECT_GT(qltest::EveryAllocationFails(scenario), 3u);
        OnWorker([&] { EXPECT_GT(qltest::EveryAllocationFails(scenario), 3u); });
    }

    bool ended_badly = false;  // assertions must wait until memory is back
};

TEST_F(ShortOfMemory, AStateIsPushedWholeAndAPostIsPostedWholeOrNotAtAll)
{
    const auto location = Long("location"), message = Long("message"), title = Long("title");
    EveryAllocationFails([&] {
        const Err pushed = Up_StartErrorStateOnCurrentThread(Up_ErrorState_Aggregate, title, title);
        if (pushed != 0) {
            ended_badly |= Up_GetPerThreadErrorFlags() != 0;
            return false;
        }
        const Err posted = Up_PostError(location, U_Sev_PROBLEM, message, true);
        ended_badly |= !U_IsOnUIThread() && U_GetNumPostedErrors() != (posted == 0);
        ended_badly |= Up_EndErrorStateOnCurrentThread() != 0;
        return posted == 0;
    });
    EXPECT_FALSE(ended_badly);
}

TEST_F(ShortOfMemory, ADrainEndsCleanlyWhereverItBreaks)
{
    const auto identifier = Long("many|||one###type");
    EveryAllocationFails([&] {
        for (const char* text : {"a", "b"}) {
            const auto message = U_GroupErrorMessage(Text16(text), identifier);
            if (Up_PostError({}, U_Sev_WARNING, message, false) != 0) return false;
        }
        U_DisplayPostedErrors();
        ended_badly |= U_GetNumPostedErrors() != 0;
        return true;
    });
    EXPECT_FALSE(ended_badly);
}

// --- Many threads ----------------------------------------------------------------------------------------

TEST_F(Posted, EveryDistinctPostOfEightThreadsIsShownOnce)
{
    constexpr int kThreads = 8, kPosts = 10000 / kThreads;
    std::barrier start(kThreads + 1);
    std::atomic<int> working{kThreads};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            // Plain posts, grouped ones and gathered ones; some threads change their state all the time.
            const auto group = Text16("many|||one###group " + std::to_string(t % 3));
            const auto title = Text16("title " + std::to_string(t % 2));
            start.arrive_and_wait();
            for (int i = 0; i < kPosts; ++i) {
                const auto text = Text16("<" + std::to_string(t) + ":" + std::to_string(i) + ">");
                if (i % 3 == 0) {
                    U_ReportError(0, U_Sev_WARNING, text);
                } else if (i % 3 == 1) {
                    U_AsyncReport(0u, U_Sev_WARNING, U_GroupErrorMessage(text, group));
                } else {
                    const U_ScErrorDialogAggregation gather{title, title};
                    U_AsyncReport(0u, U_Sev_PROBLEM, text);
                }
            }
            --working;
        });
    }
    start.arrive_and_wait();
    while (working != 0) U_DisplayPostedErrors();
    for (auto& thread : threads) thread.join();
    U_DisplayPostedErrors();

    std::map<std::string, int> seen;
    for (const std::string& text : TakeShown()) {
        for (size_t at = 0; (at = text.find('<', at)) != std::string::npos; ++at) {
            ++seen[text.substr(at, text.find('>', at) - at)];
        }
    }
    EXPECT_EQ(seen.size(), size_t{kThreads} * kPosts);
    for (const auto& [token, times] : seen) ASSERT_EQ(times, 1) << token;
    EXPECT_EQ(U_GetNumPostedErrors(), 0);
}

}  // namespace
