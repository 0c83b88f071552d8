#include "MVSuites.h"

#include "Stage.h"

namespace {

const int kFirst = 1, kSecond = 2;  // stand for tables of functions

class Suites : public Stage {
  public:
    static Err AddSuite(MVPlugin* host, const char* name, int32_t api, int32_t internal, const void* procs)
    {
        return MVAddSuite(nullptr, host, name, api, internal, procs, nullptr);
    }

    // Acquires internal version 0, the newest, of API version 1.
    Err Acquire(const char* name) { return MVAcquireSuite(nullptr, name, 1, 0, &procs); }
    static Err Release(const char* name) { return MVReleaseSuite(nullptr, name, 1, 0); }

    static MVSuite* Find(const char* name)
    {
        MVSuite* suite = nullptr;
        MVFindSuite(nullptr, name, 1, 0, &suite);
        return suite;
    }

    const void* procs = nullptr;
};

// --- Names and versions ------------------------------------------------------------------------------------

TEST_F(Suites, MatchNameAndApiVersionExactly)
{
    constexpr struct {
        const char* name;
        int32_t api, internal;
    } kAdded[] = {{"Paint", 1, 3}, {"Paint", 1, 7},  {"Paint", 1, 5},
                  {"Paint", 4, 2}, {"Paint", 4, -2}, {"Zap", 2, -9}};
    for (const auto& one : kAdded) ASSERT_EQ(AddSuite(nullptr, one.name, one.api, one.internal, &one), 0);
    constexpr struct {
        const char* name;
        int32_t api, internal;
        int found;  // which of those added; -1 for none
    } kRows[] = {{"Paint", 1, 0, 1},  {"Paint", 1, 3, 0},  {"Paint", 1, 5, 2},  {"Paint", 1, 4, -1},
                 {"Paint", 4, 0, 3},  {"Paint", 4, -2, 4}, {"Paint", 2, 0, -1}, {"Paint", 3, 0, -1},
                 {"Paint", 5, 0, -1}, {"Paint", 0, 0, -1}, {"Zap", 1, 0, -1},   {"Zap", 2, 0, 5},
                 {"Pain", 1, 0, -1},  {"paint", 1, 0, -1}, {"", 1, 0, -1}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(std::string(row.name) + ' ' + std::to_string(row.api) + ' ' +
                     std::to_string(row.internal));
        const std::string name = row.name;  // another address than the one it was added with
        const void* wanted = row.found < 0 ? nullptr : &kAdded[row.found];
        EXPECT_EQ(MVAcquireSuite(nullptr, name.c_str(), row.api, row.internal, &procs),
                  wanted ? 0 : MV_Err_SUITE_NOT_FOUND);
        EXPECT_EQ(procs, wanted);
    }
}

TEST_F(Suites, RefuseWhatCannotBeAdded)
{
    MVSuite* suite = nullptr;
    ASSERT_EQ(MVAddSuite(nullptr, nullptr, "Paint", 1, 2, &kFirst, &suite), 0);
    const size_t count = g_mvRuntime->suites->suites.size();
    EXPECT_EQ(MVAddSuite(nullptr, nullptr, "Paint", 1, 0, &kFirst, &suite), MV_Err_SUITE_VERSION);
    EXPECT_EQ(suite, nullptr);
    EXPECT_EQ(AddSuite(nullptr, "Paint", 1, 2, &kSecond), MV_Err_SUITE_EXISTS);
    EXPECT_EQ(AddSuite(nullptr, "Paint", 1, 2, nullptr), MV_Err_SUITE_EXISTS);
    EXPECT_EQ(AddSuite(nullptr, nullptr, 1, 1, &kFirst), MV_Err_PARAMETER);
    EXPECT_EQ(g_mvRuntime->suites->suites.size(), count);
    EXPECT_EQ(thrown, std::vector<Err>{MV_Err_SUITE_VERSION}) << "the others are only returned";
    EXPECT_EQ(MVAcquireSuite(nullptr, "Paint", 1, 2, nullptr), MV_Err_PARAMETER);
    EXPECT_EQ(MVFreeSuiteList(g_mvRuntime->suites), MV_Err_PARAMETER);
}

// An announcement is completed in place, a search is noted once, and each step tells whether it met a need.
TEST_F(Suites, AreAnnouncedSearchedAndCompleted)
{
    const auto took = [] {
        int32_t answer = -1;
        MVGetPluginListNeededSuiteAvailable(nullptr, &answer);
        return answer;
    };
    const size_t count = g_mvRuntime->suites->suites.size();
    MVPlugin* plugin = Add("Painter");
    for (int i = 0; i < 3; ++i) EXPECT_EQ(Find("Paint"), nullptr);
    MVSuite* suite = nullptr;
    MVFindSuite(nullptr, "Paint", 1, 8, &suite);
    ASSERT_NE(g_mvRuntime->suites->searches, nullptr);
    EXPECT_EQ(g_mvRuntime->suites->searches->next, nullptr);
    EXPECT_EQ(AddSuite(nullptr, "Paint", 2, 1, &kFirst), 0);
    EXPECT_EQ(took(), 0) << "another API version";
    EXPECT_EQ(AddSuite(nullptr, "Paint", 1, 1, nullptr), 0);
    EXPECT_EQ(took(), 1);
    EXPECT_EQ(AddSuite(nullptr, "Paint", 1, 1, nullptr), 0);
    EXPECT_EQ(took(), 0) << "nothing came";
    EXPECT_EQ(Acquire("Paint"), MV_Err_SUITE_NOT_FOUND) << "nobody is there to be started";
    EXPECT_EQ(thrown, std::vector<Err>{MV_Err_SUITE_NOT_FOUND});
    EXPECT_EQ(AddSuite(plugin, "Paint", 1, 1, &kFirst), 0);
    EXPECT_EQ(took(), 1) << "it got its functions";
    EXPECT_EQ(g_mvRuntime->suites->suites.size(), count + 2) << "of two API versions";
    MVPlugin* host = nullptr;
    MVGetSuiteHost(Find("Paint"), &host);
    EXPECT_EQ(host, plugin);
}

// --- Plug-ins that publish ---------------------------------------------------------------------------------

TEST_F(Suites, HoldTheirPluginWhileAcquired)
{
    MVPlugin* plugin = Add("Painter");
    AddSuite(plugin, "Paint", 1, 1, &kFirst);
    const struct {
        bool acquire;
        Err code;
        int32_t suiteCount, pluginCount;
    } steps[] = {{true, 0, 1, 1},
                 {true, 0, 2, 1},
                 {false, 0, 1, 1},
                 {false, 0, 0, 0},
                 {false, MV_Err_SUITE_RELEASED, 0, 0},
                 {true, 0, 1, 1}};
    for (const auto& step : steps) {
        EXPECT_EQ(step.acquire ? Acquire("Paint") : Release("Paint"), step.code);
        int32_t count = -1;
        MVGetSuiteAcquireCount(Find("Paint"), &count);
        EXPECT_EQ(count, step.suiteCount);
        EXPECT_EQ(CountOf(plugin), step.pluginCount);
    }
    EXPECT_EQ(thrown, std::vector<Err>{MV_Err_SUITE_RELEASED});
    EXPECT_EQ(log, Lines{"Painter Reload 0"});
    EXPECT_EQ(Release("Brush"), MV_Err_SUITE_NOT_FOUND);
}

TEST_F(Suites, WakeThePluginThatAnnouncedThem)
{
    AddSuite(Add("Painter", Publishes("Paint", &kFirst)), "Paint", 1, 1, nullptr);
    EXPECT_EQ(Acquire("Paint"), 0);
    EXPECT_EQ(procs, &kFirst);
    EXPECT_EQ(log, (Lines{"starts Painter", "Painter Reload 1", "Painter Startup"}));

    AddSuite(Add("Idler"), "Sleep", 1, 1, nullptr);
    EXPECT_EQ(Acquire("Sleep"), MV_Err_SUITE_EMPTY);
    EXPECT_EQ(Acquire("Sleep"), MV_Err_SUITE_EMPTY);
    EXPECT_EQ(procs, nullptr);
    EXPECT_EQ(Took("Startup"), (Lines{"Painter", "Idler"})) << "it had its chance";
}

TEST_F(Suites, PassOnWhyTheirPluginDoesNotLoad)
{
    MVPlugin* plugin = Add("Painter", On("Reload", 77));
    AddSuite(plugin, "Paint", 1, 1, &kFirst);
    procs = &kSecond;
    EXPECT_EQ(Acquire("Paint"), 77);
    EXPECT_EQ(procs, nullptr);
    EXPECT_EQ(Find("Paint")->acquireCount, 0);
    EXPECT_EQ(thrown, std::vector<Err>{77});
    EXPECT_EQ(CountOf(plugin), 1) << "the plug-in stays, counted";
    EXPECT_EQ(Acquire("Paint"), 0) << "and is asked no more";
}

TEST_F(Suites, HoldOnceWhenAcquiredWhileLoading)
{
    MVPlugin* plugin = Add("Painter", On("Reload", [&] { return Acquire("Paint"); }));
    AddSuite(plugin, "Paint", 1, 1, &kFirst);
    EXPECT_EQ(Acquire("Paint"), 0);
    EXPECT_EQ(Find("Paint")->acquireCount, 2);
    EXPECT_EQ(CountOf(plugin), 1);
}

TEST_F(Suites, SurviveAFlushThatTakesTheCodeAway)
{
    MVPlugin* plugin = AddServed(AddAdapter("Adapter"), "Painter");
    AddSuite(plugin, "Paint", 1, 1, &kFirst);
    ASSERT_EQ(Acquire("Paint"), 0);
    EXPECT_EQ(MVFlushAccesses(nullptr, nullptr, MV_Dispose_LEAVING), 0);
    EXPECT_EQ(Find("Paint")->access, nullptr);
    EXPECT_EQ(Acquire("Paint"), 0) << "loads it again";
    EXPECT_EQ(CountOf(plugin), 1);
    EXPECT_EQ(Release("Paint") | Release("Paint"), 0);
    EXPECT_EQ(CountOf(plugin), 0);
}

// --- Through a V1 adapter ----------------------------------------------------------------------------------

TEST_F(Suites, AskAV1Adapter)
{
    constexpr int kOwn = 55;
    const struct {
        int32_t found;
        const void* procs;
        int result;
        Err code;
    } answers[] = {{0, nullptr, 0, MV_Err_SUITE_NOT_FOUND},
                   {1, nullptr, 0, MV_Err_SUITE_EMPTY},
                   {0, nullptr, kOwn, kOwn},
                   {1, &kFirst, kOwn, kOwn},
                   {1, nullptr, 0, 0},  // it has them from the answer before
                   {1, &kSecond, 0, 0}};
    const auto* answer = answers;
    const auto acquire = [&](const Call& call) {
        auto& message = call.As<MVAdapterSuiteMessage>();
        EXPECT_TRUE(message.adapter && message.plugin && message.list && message.suite);
        message.found = answer->found;
        message.procs = answer->procs;
        return answer->result;
    };
    MVAdapter* adapter = AddAdapter("Old", MV_Adapter_V1, On("Acquire Suite", acquire));
    AddSuite(AddServed(adapter, "Painter"), "Paint", 1, 1, nullptr);
    for (; answer != std::end(answers); ++answer) {
        SCOPED_TRACE(answer - answers);
        EXPECT_EQ(Acquire("Paint"), answer->code);
        EXPECT_EQ(procs != nullptr, answer->code == 0);
    }
    EXPECT_EQ(procs, &kSecond);
    EXPECT_EQ(Release("Paint") | Release("Paint"), 0);
    EXPECT_EQ(Release("Paint"), MV_Err_SUITE_RELEASED);
    EXPECT_EQ(Took("Release Suite").size(), 2u);
    EXPECT_EQ(Took("Startup"), Lines{}) << "its plug-ins are not messaged";
}

}  // namespace
