// A host's life with the sample plug-ins: order, retries, messages, code that comes and goes, and plug-ins that
// break the rules.
#include <algorithm>
#include <string_view>
#include <tuple>

#include "PluginHost.h"
#include "RND.h"
#include "SampleMessages.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

const fs::path kSamples = fs::path{QL_PLUGINS_DIR} / "samples";
const fs::path kUnruly = fs::path{QL_PLUGINS_DIR} / "unruly";

int HostPlugin(const char*, const char*, void*)
{
    return 0;
}

class SamplePlugins : public PluginHost {
  protected:
    void Start(const char* leftOut = "")
    {
        keptBack = leftOut;
        Begin(kSamples);
        ASSERT_EQ(MVAddHostPlugin(nullptr, HostPlugin, nullptr, "Host", nullptr, nullptr), 0);
        ASSERT_EQ(MVStartupPlugins(), 0);
    }

    static int32_t Bounce(double t, double* height)
    {
        BounceMessage message{};
        message.t = t;
        int32_t result = -1;
        EXPECT_EQ(MVSendMessage(Named("Bounce"), BOUNCE_CALLER, BOUNCE_HEIGHT, &message, &result), 0);
        *height = message.height;
        return result;
    }

    static Err Acquire(const void** procs) { return MVAcquireSuite(nullptr, EASE_SUITE, 1, 0, procs); }
    static Err Release() { return MVReleaseSuite(nullptr, EASE_SUITE, 1, 0); }
};

TEST_F(SamplePlugins, StartInOrderAndAgainWhenASuiteHasCome)
{
    Start();
    EXPECT_EQ(Names(),
              (Texts{"Host", "Bounce", "Grain", "Sticky", "hello", "Ease", "Failing", "Text Adapter"}));
    EXPECT_EQ(started, (Texts{"Text Adapter", "Host", "Bounce", "Grain", "Sticky", "hello", "Ease", "Bounce",
                              "Failing"}));
    for (const auto& name : Names()) {
        int32_t isStarted = 0, broken = 0, skips = 0;
        MVGetPluginStarted(Named(name.c_str()), &isStarted);
        MVGetPluginBroken(Named(name.c_str()), &broken);
        MVGetPluginSkipShutdown(Named(name.c_str()), &skips);
        EXPECT_EQ(isStarted, 1) << name;
        EXPECT_EQ(broken, name == "Failing") << name;
        EXPECT_EQ(skips, name == "Failing" || name == "Grain") << name;
    }
    double height = 0;
    EXPECT_EQ(Bounce(0.5 / 3.0, &height), 0);
    EXPECT_DOUBLE_EQ(height, 1.0);
    EXPECT_EQ(Bounce(1.5, &height), U_Err_BAD_PARAMETER);  // its own result, apart from the call's code
}

TEST_F(SamplePlugins, ShutDownAllButTheOneThatRefuses)
{
    Start();
    double height = 0;
    ASSERT_EQ(Bounce(0.1, &height), 0);
    ASSERT_EQ(MVShutdownPlugins(), 0);
    for (const char* name : {"ease", "bounce", "grain"}) {
        EXPECT_FALSE(InMemory(kSamples / name += ".so")) << name;
    }
    EXPECT_TRUE(InMemory(kSamples / "sticky.so"));
    End();
    EXPECT_FALSE(InMemory(kSamples / "sticky.so"));
}

// "Bounce" needs the suite of "Ease", whose functions went with its code and which starts behind it.
TEST_F(SamplePlugins, StartAgainBehindAShutdown)
{
    Start();
    ASSERT_EQ(MVShutdownPlugins(), 0);
    started.clear();
    ASSERT_EQ(MVStartupPlugins(), 0);
    EXPECT_EQ(started, (Texts{"Text Adapter", "Host", "Bounce", "Ease", "Grain", "Sticky", "hello"}));
    double height = 0;
    EXPECT_EQ(Bounce(0.5, &height), 0);
    EXPECT_DOUBLE_EQ(height, 0.25);
}

TEST_F(SamplePlugins, AreFlushedWhenNobodyHoldsThem)
{
    Start();
    EXPECT_EQ(AccessCount("Ease"), 1);  // held by the suite that "Bounce" has
    EXPECT_EQ(AccessCount("Bounce"), 0);
    int32_t flushed = 0;
    ASSERT_EQ(MVFlushCaches(nullptr, &flushed), 0);
    EXPECT_EQ(flushed, 6);  // of eight: one is held, and one refuses
    EXPECT_TRUE(InMemory(kSamples / "ease.so") && InMemory(kSamples / "sticky.so"));
    EXPECT_FALSE(InMemory(kSamples / "bounce.so"));
    double height = 0;
    ASSERT_EQ(Bounce(0.5, &height), 0);  // loaded again, with the globals that it left
    EXPECT_DOUBLE_EQ(height, 0.25);
}

// The one plug-in that a flush may take.
const char* g_leaving = "";

Err OnlyLeaving(const char*, void* access, int32_t* should)
{
    MVPlugin* plugin = nullptr;
    const char* name = "";
    MVGetAccessPlugin(static_cast<MVAccess*>(access), &plugin);
    MVGetPluginName(plugin, &name);
    *should = std::string_view{name} == g_leaving;
    return 0;
}

TEST_F(SamplePlugins, AreFlushedByKindWhateverHoldsThem)
{
    Start();
    const struct {
        const char* name;
        int32_t disposeType, flushed;
    } rows[] = {{"Ease", MV_Dispose_UNUSED, 0},    {"Ease", MV_Dispose_STAYING, 0},
                {"Ease", MV_Dispose_LEAVING, 1},   {"Bounce", MV_Dispose_LEAVING, 0},
                {"Bounce", MV_Dispose_STAYING, 1}, {"Host", MV_Dispose_LEAVING, 0}};
    for (const auto& row : rows) {
        int32_t flushed = -1;
        g_leaving = row.name;
        ASSERT_EQ(MVFlushAccesses(OnlyLeaving, &flushed, row.disposeType), 0);
        EXPECT_EQ(flushed, row.flushed) << row.name << " " << row.disposeType;
    }
    EXPECT_FALSE(InMemory(kSamples / "ease.so"));
}

TEST_F(SamplePlugins, PublishSuitesAgainAfterAFlush)
{
    Start("Bounce");
    int32_t flushed = 0;
    g_leaving = "Ease";
    for (int round = 0; round < 2; ++round) {
        const void *newest = nullptr, *former = nullptr;
        ASSERT_EQ(Acquire(&newest), 0);
        ASSERT_EQ(MVAcquireSuite(nullptr, EASE_SUITE, 1, 1, &former), 0);
        EXPECT_DOUBLE_EQ(static_cast<const EaseSuite*>(newest)->EaseOut(0.5), 0.75);
        EXPECT_EQ(static_cast<const EaseSuite*>(former)->EaseOut, nullptr);
        for (const int32_t internalVersion : {0, 1}) {
            ASSERT_EQ(MVFlushCaches(OnlyLeaving, &flushed), 0);
            EXPECT_EQ(flushed, 0);
            EXPECT_EQ(MVReleaseSuite(nullptr, EASE_SUITE, 1, internalVersion), 0);
            EXPECT_EQ(MVReleaseSuite(nullptr, EASE_SUITE, 1, internalVersion), MV_Err_SUITE_RELEASED);
        }
        EXPECT_TRUE(InMemory(kSamples / "ease.so"));  // a release never unloads
        ASSERT_EQ(MVFlushCaches(OnlyLeaving, &flushed), 0);
        EXPECT_EQ(flushed, 1);
        EXPECT_FALSE(InMemory(kSamples / "ease.so"));
    }
}

TEST_F(SamplePlugins, MatchSuitesByNameAndVersion)
{
    Start();
    const EaseSuite ours{};
    MVPlugin* ease = Named("Ease");
    const void* procs = &ours;
    EXPECT_EQ(MVAddSuite(nullptr, ease, EASE_SUITE, 1, 0, &ours, nullptr), MV_Err_SUITE_VERSION);
    EXPECT_EQ(MVAddSuite(nullptr, ease, EASE_SUITE, 1, 2, &ours, nullptr), MV_Err_SUITE_EXISTS);
    for (const auto& [api, internal] : {std::pair{0, 0}, std::pair{2, 0}, std::pair{1, 3}}) {
        EXPECT_EQ(MVAcquireSuite(nullptr, EASE_SUITE, api, internal, &procs), MV_Err_SUITE_NOT_FOUND);
        EXPECT_EQ(procs, nullptr);
    }
    ASSERT_EQ(MVAddSuite(nullptr, ease, EASE_SUITE, 1, 9, nullptr, nullptr), 0);
    EXPECT_EQ(Acquire(&procs), MV_Err_SUITE_EMPTY);  // announced, and "Ease" has finished its startup
    ASSERT_EQ(MVAddSuite(nullptr, ease, EASE_SUITE, 1, 9, &ours, nullptr), 0);
    ASSERT_EQ(Acquire(&procs), 0);
    EXPECT_EQ(procs, &ours);
    EXPECT_EQ(Release(), 0);
}

TEST_F(SamplePlugins, OfAV1AdapterHearAboutAlone)
{
    Start();
    MVAdapter* adapter = nullptr;
    MVPlugin* plugin = nullptr;
    MVAccess* access = nullptr;
    int32_t result = -1;
    ASSERT_EQ(MVAddAdapter(Named("Text Adapter"), "Old", 1, MV_Adapter_V1, nullptr, &adapter), 0);
    ASSERT_EQ(MVAddPlugin(nullptr, nullptr, nullptr, "old one", adapter, nullptr, &plugin), 0);
    EXPECT_EQ(MVSendMessage(plugin, MV_Caller_INTERFACE, MV_Selector_STARTUP, nullptr, &result),
              MV_Err_V1_PLUGIN);
    EXPECT_EQ(MVAcquirePlugin(plugin, &access), MV_Err_V1_PLUGIN);
    EXPECT_EQ(MVSendMessage(plugin, MV_Caller_INTERFACE, MV_Selector_ABOUT, nullptr, &result), 0);
    EXPECT_EQ(result, 0);
}

TEST_F(SamplePlugins, StartForAnExport)
{
    Start("Grain");
    EXPECT_EQ(std::count(started.begin(), started.end(), "Grain"), 0);
    int32_t found = -1;
    ASSERT_EQ(MVStartupExport(nullptr, GRAIN_EXPORT, kGrainVersion + 1, &found), 0);
    EXPECT_EQ(found, 0);
    ASSERT_EQ(MVStartupExport(nullptr, GRAIN_EXPORT, kGrainVersion, &found), 0);
    EXPECT_EQ(found, 1);
    EXPECT_EQ(started.back(), "Grain");

    double drawn[8], expected[8];
    RND_FloatState state;
    RND_InitFloatState(42, &state);
    RND_GetNextRandomFloats(&state, 8, expected, -1.0, 1.0);
    GrainMessage message{{}, 42, 8, drawn};
    int32_t result = -1;
    ASSERT_EQ(MVSendMessage(Named("Grain"), GRAIN_CALLER, GRAIN_DRAW, &message, &result), 0);
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(std::equal(drawn, drawn + 8, expected));
}

TEST_F(SamplePlugins, OfAnotherKindAnswerThroughTheirAdapter)
{
    Start();
    HostMessage message{};
    int32_t result = -1, flushed = 0;
    for (const auto& [selector, words] : {std::pair{HOST_RUN_BEGINS, "Hello from a text file"},
                                          std::pair{HOST_RUN_ENDED, "Goodbye"}, std::pair{"Run", ""}}) {
        ASSERT_EQ(MVSendMessage(Named("hello"), HOST_CALLER, selector, &message, &result), 0);
        EXPECT_EQ(result, 0);
        EXPECT_STREQ(message.words, words);
        MVFlushCaches(nullptr, &flushed);
        EXPECT_EQ(AccessCount("hello"), -1);
    }
    // What the adapter allocated must be told of without its code.
    MVAccess* held = nullptr;
    ASSERT_EQ(MVAcquirePlugin(Named("hello"), &held) | MVFlushCaches(nullptr, &flushed), 0);
    ASSERT_FALSE(InMemory(kSamples / "textadapter.so"));
    Texts blocks;
    MVReportBlocks([](void* told, const char* what, uint64_t) { static_cast<Texts*>(told)->push_back(what); },
                   &blocks);
    EXPECT_EQ(std::count(blocks.begin(), blocks.end(), "a plug-in's block"), 1);
}

TEST_F(SamplePlugins, LeaveNothingInAHundredRounds)
{
    for (int round = 0; round < 100; ++round) {
        Start();
        double height = 0;
        ASSERT_EQ(Bounce(0.5, &height), 0);
        int32_t flushed = 0;
        MVFlushAccesses(nullptr, &flushed, round % 3);
        ASSERT_EQ(MVShutdownPlugins(), 0);
        End();
        for (const auto& entry : fs::directory_iterator{kSamples})
            ASSERT_FALSE(InMemory(entry.path())) << entry;
    }
}

// From its own "Startup" and "Shutdown" "Unruly" starts and shuts down all, and is well only when it is refused.
TEST_F(SamplePlugins, CannotStartAllInsideAStart)
{
    Begin(kUnruly);
    ASSERT_EQ(MVStartupPlugins(), 0);
    EXPECT_EQ(started, (Texts{"noentry", "Unresolved", "Unruly"}));
    int32_t broken = 1, result = 0;
    MVGetPluginBroken(Named("Unruly"), &broken);
    EXPECT_EQ(broken, 0);
    ASSERT_EQ(MVSendMessage(Named("Unruly"), "Unruly", "Start all", nullptr, &result), 0);
    EXPECT_EQ(result, 0) << "any other message may";
    EXPECT_EQ(MVShutdownPlugins(), 0);
}

TEST_F(SamplePlugins, LeaveNoTableBehindThatTheyPublishForTheHost)
{
    Begin(kUnruly);
    ASSERT_EQ(MVAddPluginFolder(nullptr, kUnruly.c_str()), 0);
    int32_t result = -1;
    const void* procs = nullptr;
    ASSERT_EQ(MVSendMessage(Named("Unruly"), "Unruly", "Publish for the host", nullptr, &result), 0);
    EXPECT_EQ(MVAcquireSuite(nullptr, "Unruly Suite", 1, 1, &procs), 0);
    ASSERT_EQ(MVFlushCaches(nullptr, &result), 0);
    EXPECT_EQ(MVAcquireSuite(nullptr, "Unruly Suite", 1, 1, &procs), MV_Err_SUITE_NOT_FOUND);
}

TEST_F(SamplePlugins, ThatThrowAreCaughtAndStayLoaded)
{
    Begin(kUnruly);
    ASSERT_EQ(MVStartupPlugins(), 0);
    const std::tuple<const char*, Err, int32_t> rows[] = {
        {"Throw code", 77, 0},
        {"Throw exception", U_Err_UNKNOWN, 0},
        {"Throw anything", U_Err_UNKNOWN, 0},
        {"Message itself", 0, 0},
    };
    int32_t count = 0;
    for (const auto& [rule, code, ownResult] : rows) {
        Forget();
        int32_t result = -1;
        EXPECT_EQ(MVSendMessage(Named("Unruly"), "Unruly", rule, nullptr, &result), code) << rule;
        EXPECT_EQ(result, ownResult) << rule;
        EXPECT_EQ(!Reports().empty(), code != 0) << rule;
        EXPECT_EQ(AccessCount("Unruly"), count += code != 0) << rule;
    }
    int32_t flushed = 0;
    ASSERT_EQ(MVFlushCaches(nullptr, &flushed), 0);
    EXPECT_TRUE(InMemory(kUnruly / "unruly.so"));
}

TEST_F(SamplePlugins, ThatCannotBeLoadedAreBrokenAndSayWhy)
{
    Begin(kUnruly);
    ASSERT_EQ(MVStartupPlugins(), 0);
    const std::pair<const char*, const char*> rows[] = {{"noentry", "it has no function MVPluginMain"},
                                                        {"Unresolved", "AFunctionOfAnotherHost"}};
    for (const auto& [name, reason] : rows) {
        int32_t broken = 0;
        MVAccess* access = nullptr;
        EXPECT_EQ(MVAcquirePlugin(Named(name), &access), MV_Err_NOT_ACQUIRED) << name;
        MVGetPluginBroken(Named(name), &broken);
        EXPECT_EQ(broken, 1) << name;
        const auto said = [&, reason = reason](const auto& report) {
            return report.text.find(reason) != std::string::npos;
        };
        EXPECT_EQ(std::count_if(Reports().begin(), Reports().end(), said), 1) << name;
    }
    EXPECT_FALSE(InMemory(kUnruly / "noentry.so"));
}

}  // namespace
