// A host's life with the sample plug-ins: order, retries, messages, code that comes and goes, and plug-ins that
// break the rules.
#include <algorithm>

#include "PluginHost.h"
#include "RND.h"
#include "SampleMessages.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

const fs::path kSamples = fs::path{QL_PLUGINS_DIR} / "samples";
const fs::path kUnruly = fs::path{QL_PLUGINS_DIR} / "unruly";

class SamplePlugins : public PluginHost {
  protected:
    void Start(const char* leftOut = "")
    {
        keptBack = leftOut;
        Begin(kSamples);
        const auto entry = [](const char*, const char*, void*) { return 0; };
        ASSERT_EQ(MVAddHostPlugin(nullptr, entry, nullptr, "Host", nullptr, nullptr), 0);
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

    static int32_t Bit(Err (*reader)(const MVPlugin*, int32_t*), const std::string& name)
    {
        int32_t bit = -1;
        reader(Named(name.c_str()), &bit);
        return bit;
    }
};

TEST_F(SamplePlugins, StartInOrderAndAgainWhenASuiteHasCome)
{
    Start();
    EXPECT_EQ(Names(),
              (Texts{"Host", "Bounce", "Grain", "Sticky", "hello", "Ease", "Failing", "Text Adapter"}));
    EXPECT_EQ(started, (Texts{"Text Adapter", "Host", "Bounce", "Grain", "Sticky", "hello", "Ease", "Bounce",
                              "Failing"}));
    for (const auto& name : Names()) {
        EXPECT_EQ(Bit(MVGetPluginStarted, name), 1) << name;
        EXPECT_EQ(Bit(MVGetPluginBroken, name), name == "Failing") << name;
        EXPECT_EQ(Bit(MVGetPluginSkipShutdown, name), name == "Failing" || name == "Grain") << name;
    }
    double height = 0;
    EXPECT_EQ(Bounce(0.5 / 3.0, &height), 0);
    EXPECT_DOUBLE_EQ(height, 1.0);
    EXPECT_EQ(Bounce(1.5, &height), U_Err_BAD_PARAMETER);  // its own result, apart from the call's code
}

TEST_F(SamplePlugins, HaveCodeThatComesAndGoes)
{
    Start();
    EXPECT_EQ(AccessCount("Ease"), 1) << "held by the suite that Bounce has";
    EXPECT_EQ(AccessCount("Bounce"), 0);
    int32_t flushed = 0;
    ASSERT_EQ(MVFlushCaches(nullptr, &flushed), 0);
    EXPECT_EQ(flushed, 6) << "of eight: one is held, and one refuses";
    EXPECT_TRUE(InMemory(kSamples / "ease.so") && InMemory(kSamples / "sticky.so"));
    EXPECT_FALSE(InMemory(kSamples / "bounce.so"));
    double height = 0;
    EXPECT_EQ(Bounce(0.5, &height), 0) << "loaded again, with the globals that it left";
    EXPECT_DOUBLE_EQ(height, 0.25);

    ASSERT_EQ(MVShutdownPlugins(), 0);
    for (const char* name : {"ease", "bounce", "grain"})
        EXPECT_FALSE(InMemory(kSamples / name += ".so")) << name;
    EXPECT_TRUE(InMemory(kSamples / "sticky.so"));
    // The functions that "Bounce" needs went with the code of "Ease", which starts behind it.
    started.clear();
    ASSERT_EQ(MVStartupPlugins(), 0);
    EXPECT_EQ(started, (Texts{"Text Adapter", "Host", "Bounce", "Ease", "Grain", "Sticky", "hello"}));
    EXPECT_EQ(Bounce(0.5, &height), 0);
    End();
    EXPECT_FALSE(InMemory(kSamples / "sticky.so"));
}

TEST_F(SamplePlugins, PublishSuitesAgainAfterAFlush)
{
    Start("Bounce");
    for (int round = 0; round < 2; ++round) {
        const void *newest = nullptr, *former = nullptr;
        ASSERT_EQ(MVAcquireSuite(nullptr, EASE_SUITE, 1, 0, &newest), 0);
        ASSERT_EQ(MVAcquireSuite(nullptr, EASE_SUITE, 1, 1, &former), 0);
        EXPECT_DOUBLE_EQ(static_cast<const EaseSuite*>(newest)->EaseOut(0.5), 0.75);
        EXPECT_EQ(static_cast<const EaseSuite*>(former)->EaseOut, nullptr);
        for (const int32_t internalVersion : {0, 1}) {
            ASSERT_EQ(MVFlushCaches(nullptr, nullptr), 0);
            EXPECT_TRUE(InMemory(kSamples / "ease.so")) << "one of its suites is held";
            EXPECT_EQ(MVReleaseSuite(nullptr, EASE_SUITE, 1, internalVersion), 0);
        }
        ASSERT_EQ(MVFlushCaches(nullptr, nullptr), 0);
        EXPECT_FALSE(InMemory(kSamples / "ease.so"));
    }
}

TEST_F(SamplePlugins, StartForAnExport)
{
    Start("Grain");
    int32_t found = -1, result = -1;
    ASSERT_EQ(MVStartupExport(nullptr, GRAIN_EXPORT, kGrainVersion + 1, &found), 0);
    EXPECT_EQ(found, 0);
    EXPECT_EQ(std::count(started.begin(), started.end(), "Grain"), 0);
    ASSERT_EQ(MVStartupExport(nullptr, GRAIN_EXPORT, kGrainVersion, &found), 0);
    EXPECT_EQ(found, 1);
    EXPECT_EQ(started.back(), "Grain");
    double drawn = 0.0, expected = 0.0;  // it calls the library like anybody
    RND_FloatState state;
    RND_InitFloatState(42, &state);
    RND_GetNextRandomFloats(&state, 1, &expected, -1.0, 1.0);
    GrainMessage message{{}, 42, 1, &drawn};
    ASSERT_EQ(MVSendMessage(Named("Grain"), GRAIN_CALLER, GRAIN_DRAW, &message, &result), 0);
    EXPECT_EQ(drawn, expected);
}

TEST_F(SamplePlugins, OfAnotherKindAnswerThroughTheirAdapter)
{
    Start();
    HostMessage message{};
    int32_t result = -1;
    for (const auto& [selector, words] : {std::pair{HOST_RUN_BEGINS, "Hello from a text file"},
                                          std::pair{HOST_RUN_ENDED, "Goodbye"}, std::pair{"Run", ""}}) {
        ASSERT_EQ(MVSendMessage(Named("hello"), HOST_CALLER, selector, &message, &result), 0);
        EXPECT_EQ(result, 0);
        EXPECT_STREQ(message.words, words);
        MVFlushCaches(nullptr, nullptr);
        EXPECT_EQ(AccessCount("hello"), -1);
    }
    // What the adapter allocated must be told of without its code.
    MVAccess* held = nullptr;
    ASSERT_EQ(MVAcquirePlugin(Named("hello"), &held) | MVFlushCaches(nullptr, nullptr), 0);
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
        MVFlushAccesses(nullptr, nullptr, round % 3);
        ASSERT_EQ(MVShutdownPlugins(), 0);
        End();
        for (const auto& entry : fs::directory_iterator{kSamples})
            ASSERT_FALSE(InMemory(entry.path())) << entry;
    }
}

// --- Plug-ins that break rules -----------------------------------------------------------------------------

TEST_F(SamplePlugins, ThatBreakRulesHarmNobody)
{
    Begin(kUnruly);
    ASSERT_EQ(MVStartupPlugins(), 0);
    EXPECT_EQ(started, (Texts{"noentry", "Unresolved", "Unruly"}));
    // From its "Startup" it has messaged itself, and started and shut down all: it is well only when that was refused.
    EXPECT_EQ(Bit(MVGetPluginBroken, "Unruly"), 0);
    const auto breakRule = [](const char* rule) {
        int32_t result = -1;
        const Err error = MVSendMessage(Named("Unruly"), "Unruly", rule, nullptr, &result);
        EXPECT_EQ(result, 0);
        return error;
    };
    EXPECT_EQ(breakRule("Message itself"), 0) << "other messages may nest";
    EXPECT_EQ(breakRule("Start all"), 0) << "nothing is under way";

    // The table that it publishes as the host's goes with its code.
    const void* procs = nullptr;
    EXPECT_EQ(breakRule("Publish for the host"), 0);
    EXPECT_EQ(MVAcquireSuite(nullptr, "Unruly Suite", 1, 1, &procs), 0);
    ASSERT_EQ(MVFlushCaches(nullptr, nullptr), 0);
    EXPECT_EQ(MVAcquireSuite(nullptr, "Unruly Suite", 1, 1, &procs), MV_Err_SUITE_NOT_FOUND);

    EXPECT_EQ(breakRule("Throw"), U_Err_UNKNOWN);
    EXPECT_FALSE(Reports().empty());
    ASSERT_EQ(MVFlushCaches(nullptr, nullptr), 0);
    EXPECT_TRUE(InMemory(kUnruly / "unruly.so")) << "held by its failure";
    EXPECT_EQ(MVShutdownPlugins(), 0);
}

TEST_F(SamplePlugins, ThatCannotBeLoadedAreBrokenAndSayWhy)
{
    Begin(kUnruly);
    ASSERT_EQ(MVStartupPlugins(), 0);
    const std::pair<const char*, const char*> rows[] = {{"noentry", "it has no function MVPluginMain"},
                                                        {"Unresolved", "AFunctionOfAnotherHost"}};
    for (const auto& [name, reason] : rows) {
        MVAccess* access = nullptr;
        EXPECT_EQ(MVAcquirePlugin(Named(name), &access), MV_Err_NOT_ACQUIRED) << name;
        EXPECT_EQ(Bit(MVGetPluginBroken, name), 1) << name;
        const auto said = [&, reason = reason](const auto& report) {
            return report.text.find(reason) != std::string::npos;
        };
        EXPECT_EQ(std::count_if(Reports().begin(), Reports().end(), said), 1) << name;
    }
    EXPECT_FALSE(InMemory(kUnruly / "noentry.so"));
}

}  // namespace
