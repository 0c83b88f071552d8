#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <tuple>

#include "../../source/debug/ExitSafe.h"
#include "Contend.h"
#include "zvkcore/debug/Assert.h"
#include "zvkcore/debug/CodeProfiler.h"
#include "zvkcore/debug/DebugDatabase.h"
#include "zvkcore/debug/Trailmark.h"

using namespace zvkcore::debug;
using zvktest::Contend;

namespace {

// Stores a value under a key of its own for the time of one question.
template <class T, class Stored>
T AskedAs(Stored stored, T fallback)
{
    auto& database = DebugDatabase::Instance();
    database.SetEntry("Test.Asked", stored);
    const T answer = database.GetEntryAs<T>("Test.Asked", fallback);
    database.RemoveEntry("Test.Asked");
    return answer;
}

}  // namespace

TEST(DebugDatabase, AnswersInTheAskedTypeOrWithTheDefault)
{
    EXPECT_EQ(DebugDatabase::Instance().GetEntryAs("Test.Absent", 7), 7);
    EXPECT_EQ(AskedAs<bool>(true, false), true);
    EXPECT_EQ(AskedAs<int>(-5, 1), -5);
    EXPECT_EQ(AskedAs<int>(INT64_C(1) << 40, 1), 1);
    EXPECT_EQ(AskedAs<unsigned>(-5, 1u), 1u);
    EXPECT_EQ(AskedAs<uint64_t>(UINT64_MAX, 1u), UINT64_MAX);
    EXPECT_EQ(AskedAs<int64_t>(UINT64_MAX, 1), 1);
    EXPECT_EQ(AskedAs<int64_t>(5u, 1), 5);
    EXPECT_EQ(AskedAs<double>(3, 0.5), 3.0);
    EXPECT_EQ(AskedAs<float>(2.5, 0.5f), 2.5f);
    EXPECT_EQ(AskedAs<int>(2.5, 1), 1);
    EXPECT_EQ(AskedAs<int>(true, 9), 9);
    EXPECT_EQ(AskedAs<bool>(1, false), false);
    EXPECT_EQ(AskedAs<std::string>("text", std::string("default")), "text");
    EXPECT_EQ(AskedAs<int>("12", 1), 1);
    EXPECT_EQ(AskedAs<std::string>(12, std::string("default")), "default");
    EXPECT_FALSE(DebugDatabase::Instance().RemoveEntry("Test.Asked"));
}

TEST(Assert, TracesAndGoesOnByDefault)
{
    zvktest::TraceRecorder trace;
    EXPECT_FALSE(DoSimpleAssert("file.cpp", 12, "void F()", "x == 1", "the message"));
    EXPECT_EQ(trace.Text(), "Assertion failed: the message [x == 1] in void F(), file.cpp:12\n");
    bool ignore = false;
    EXPECT_FALSE(BreakAfterAssertDialog(&ignore, nullptr, nullptr, nullptr, 0, nullptr));
    EXPECT_FALSE(ignore);
    EXPECT_NE(trace.Text().find("Assertion failed: ? [?] in ?, ?:0\n"), std::string::npos);
}

TEST(Assert, HandlersDecideAndMayFail)
{
    EXPECT_FALSE(SetSimpleAssertHandler([](const char*, int line, const char*, const char*, const char*) {
        if (line == 0) throw std::runtime_error("the handler failed");
        return line == 12;
    }));
    EXPECT_TRUE(DoSimpleAssert("", 12, "", "", ""));
    EXPECT_FALSE(DoSimpleAssert("", 0, "", "", ""));
    bool ignore = false;
    EXPECT_TRUE(BreakAfterAssertDialog(&ignore, "", "", "", 12, ""));
    EXPECT_FALSE(SetAssertDialogHandler(
        [](bool* mark, const char*, const char*, const char*, int, const char*) { return !(*mark = true); }));
    EXPECT_FALSE(BreakAfterAssertDialog(&ignore, "", "", "", 12, ""));
    EXPECT_TRUE(ignore);
    EXPECT_TRUE(SetAssertDialogHandler({}));
    EXPECT_TRUE(SetSimpleAssertHandler({}));
    EXPECT_FALSE(DoSimpleAssert("", 12, "", "", ""));
}

TEST(Assert, NoticesADebugger)
{
    EXPECT_FALSE(IsDebuggerAttached());
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);  // the parent becomes the tracer
        _exit(IsDebuggerAttached() ? 42 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 42);
}

TEST(ExitSafe, IsNotThereForWhoIsInsideOrComesBehindTheEnd)
{
    static ExitSafe<int> s_number;
    bool again = true;
    {
        const ExitSafe<int>::Closer closer(s_number);
        EXPECT_TRUE(s_number.With([&](int& number) {
            number = 42;
            again = s_number.With([](int&) {});
        }));
        EXPECT_FALSE(again);
        zvktest::OnAnotherThread(
            [] { EXPECT_TRUE(s_number.With([](int& number) { EXPECT_EQ(number, 42); })); });
    }
    EXPECT_FALSE(s_number.With([](int&) {}));
}

TEST(Trailmark, KeepsTheLastCheckpointsInOrder)
{
    using namespace trailmark;
    ClearTrail();
    Contend(8, [&](int) {
        for (int round = 0; round < 100; ++round) {
            zvkcore::utility::Dictionary texts;
            texts.Set(kCheckpointLevel, zvkcore::string::Units(kCheckpointLevel_Error));
            LeaveTrail(std::move(texts), {reinterpret_cast<void*>(8)});
        }
    });
    const auto trail = GetTrail();
    ASSERT_EQ(trail.size(), kTrailLength);
    for (size_t i = 1; i < trail.size(); ++i) EXPECT_EQ(trail[i].number, trail[i - 1].number + 1);
    EXPECT_GE(trail.back().number, 800u);
    EXPECT_NE(trail.back().thread, 0u);
    EXPECT_EQ(trail.back().callstack.size(), 1u);
    ASSERT_NE(trail.back().texts.Find(kCheckpointLevel), nullptr);
    EXPECT_EQ(zvkcore::string::View(*trail.back().texts.Find(kCheckpointLevel)), "Error");
    ClearTrail();
    EXPECT_TRUE(GetTrail().empty());
    LeaveTrail({}, {});
    EXPECT_EQ(GetTrail().at(0).number, trail.back().number + 1);
}

TEST(CodeProfiler, MeasuresUpToTheVolume)
{
    auto& manager = CodeProfilerManager::Get();
    const auto log = manager.CreateNewProfileDataLog("Test.Stretch", 5);
    struct Row {
        int volume;
        uint64_t count;
    };
    for (const Row& row : {Row{0, 0}, Row{4, 0}, Row{5, 4 * 250}, Row{9, 4 * 250}}) {
        log->Reset();
        manager.SetProfilingVolume(row.volume);
        Contend(4, [&](int) {
            for (int round = 0; round < 250; ++round) {
                const CodeProfiler profiler(log);
                const CodeProfiler none(nullptr);
            }
        });
        EXPECT_EQ(log->Summary().count, row.count) << row.volume;
    }
    const CodeProfiler started(log);
    EXPECT_EQ(manager.SetProfilingVolume(0), 9);
}

TEST(CodeProfiler, SumsUpPerLogAndForgetsLogsWithoutAHolder)
{
    auto& manager = CodeProfilerManager::Get();
    const size_t before = manager.Summaries().size();
    auto first = manager.CreateNewProfileDataLog("Test.Same", 1);
    const auto second = manager.CreateNewProfileDataLog("Test.Same", 2);
    for (const int nanos : {30, 10, 20}) second->Add(std::chrono::nanoseconds(nanos));
    EXPECT_EQ(manager.Summaries().at(before).count + manager.Summaries().at(before).shortest, 0u);
    first.reset();
    const auto summaries = manager.Summaries();
    ASSERT_EQ(summaries.size(), before + 1);
    const auto& [name, level, count, total, shortest, longest] = summaries.back();
    EXPECT_EQ(std::tie(name, level), std::make_tuple("Test.Same", 2));
    EXPECT_EQ(std::tie(count, total, shortest, longest), std::make_tuple(3u, 60u, 10u, 30u));
}
