// Starting and shutting down: the order, the retries, adapters, exports, and the host's say.
#include "Stage.h"

namespace {

using Startup = Stage;

TEST_F(Startup, GoesInTheOrderOfMarks)
{
    MVAdapter* adapter = AddAdapter("Text");
    AddServed(adapter, "exports and stays", {}, kExports | kStays);
    AddServed(adapter, "plain");
    AddServed(adapter, "early", {}, kEarly);
    AddServed(adapter, "stays", {}, kStays);
    AddServed(adapter, "skip only", {}, kSkip);
    Add("host", {}, kEarly);
    AddServed(adapter, "early and exports", {}, kEarly | kExports);
    AddServed(adapter, "exports", {}, kExports);
    mvSet(AddServed(adapter, "held back"), kStateHeldBack, true);
    MVPlugin* kept = AddServed(adapter, "kept by the host");
    hold = [kept](MVPlugin* plugin) { return plugin == kept; };
    const MVProperty* property = nullptr;
    EXPECT_EQ(MVFindPluginProperty(kept, MV_VENDOR, MV_Key_STAYS, 0, &property), MV_Err_NO_PROPERTY);
    ASSERT_EQ(MVStartupPlugins(), 0);
    // Each pass moves to the head and turns round what it moves; the last added stood first.
    EXPECT_EQ(Took("Startup"), (Lines{"Text", "host", "stays", "exports and stays", "exports",
                                      "early and exports", "early", "held back", "skip only", "plain"}));
}

TEST_F(Startup, AsksTheHostBeforeThePlainOnesAndAtTheEnd)
{
    for (const int refusal : {0, 1, 2}) {
        SCOPED_TRACE(refusal);
        Restart();
        log.clear();
        MVAdapter* adapter = AddAdapter("Text");
        AddServed(adapter, "plain");
        AddServed(adapter, "marked", {}, kStays);
        int asked = 0;
        filter = [&] { return ++asked != refusal; };
        EXPECT_EQ(MVStartupPlugins(), refusal ? MV_Err_HOST_STOPPED : 0);
        EXPECT_EQ(Took("Startup"),
                  refusal == 1 ? (Lines{"Text", "marked"}) : (Lines{"Text", "marked", "plain"}));
    }
    EXPECT_EQ(Took("3"), (Lines{"event", "event"}));
    addPlugins = [] { return 99; };
    EXPECT_EQ(MVStartupPlugins(), 99);
    Restart(nullptr);
    EXPECT_EQ(MVStartupPlugins(), 0) << "no plug-ins, no folder, default procs";
}

// --- Failures and retries ----------------------------------------------------------------------------------

TEST_F(Startup, TriesAgainWhenANeededSuiteAppears)
{
    const auto both = [](Act first, Act second) {
        return [=](const Call& call) {
            const int missing = first(call);
            return missing ? missing : second(call);
        };
    };
    const auto tolerant = [](Act act) { return [=](const Call& call) { return act(call), 0; }; };
    MVAdapter* adapter = AddAdapter("Text");
    const auto announced = [&](const char* suite, const char* name, Act act) {
        MVPlugin* plugin = AddServed(adapter, name, act);
        MVAddSuite(nullptr, plugin, suite, 1, 1, nullptr, nullptr);
        return plugin;
    };
    AddServed(adapter, "provides B", Publishes("B"));
    AddServed(adapter, "provides C", Publishes("C"));
    // Announced by those that have to wait, or are in the middle of their start: not now, but no failure either.
    MVPlugin* const fine[] = {
        AddServed(adapter, "needs C", Needs("C")),
        announced("A", "needs B, gives A", both(Needs("B"), Publishes("A"))),
        AddServed(adapter, "needs A", Needs("A")), announced("Y", "needs X, announced Y", Needs("X")),
        announced("X", "may use Y, gives X", both(tolerant(Needs("Y")), Publishes("X")))};
    MVPlugin* needsNever = AddServed(adapter, "needs another version of C", Needs("C", 9));
    ASSERT_EQ(MVStartupPlugins(), 0);
    for (MVPlugin* plugin : fine) EXPECT_EQ(plugin->state, kStateStarted | kStateComplete) << plugin->name;
    EXPECT_EQ(needsNever->state, 0) << "neither started nor broken";
    EXPECT_LE(log.size(), 100u);
}

TEST_F(Startup, EndsThoughOnePublishesAtEachTry)
{
    int32_t version = 0;
    Add("endless", On("Startup", [&](const Call& call) {
            const int missing = Needs("A", ++version)(call);
            MVAddSuite(nullptr, call.Data().self, "A", 1, version, "table", nullptr);
            return missing;
        }));
    EXPECT_EQ(MVStartupPlugins(), 0);
    EXPECT_EQ(version, 2);
}

TEST_F(Startup, BreaksWhatFailsOtherwise)
{
    const struct {
        const char* name;
        std::function<int()> start;
        int state;
        bool told;
        int marks = kPlain;
    } rows[] = {
        {"fine", [] { return 0; }, kStateStarted | kStateComplete, false},
        {"skips", [] { return 0; }, kStateStarted | kStateComplete | kStateSkipShutdown, false, kSkip},
        {"starts all", [] { return MVStartupPlugins() - kAISC; }, kStateStarted | kStateComplete, false},
        {"ends all", [] { return MVShutdownPlugins() - kAISC; }, kStateStarted | kStateComplete, false},
        {"result", [] { return 5; }, kStateStarted | kStateBroken | kStateSkipShutdown, false},
        {"code", []() -> int { throw 5; }, kStateStarted | kStateBroken | kStateSkipShutdown, true},
        {"missing suite", [] { return MV_Err_SUITE_NOT_FOUND; }, 0, false},
        {"missing suite as a code", []() -> int { throw int{MV_Err_SUITE_NOT_FOUND}; }, 0, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        log.clear();
        MVPlugin* plugin = Add(row.name, On("Startup", row.start), row.marks);
        startupMarshVetchPlugin(plugin);
        EXPECT_EQ(plugin->state, row.state);
        EXPECT_EQ(log.front(), std::string("starts ") + row.name);
        EXPECT_EQ(log.back().starts_with("failed"), row.told);
    }
}

// --- Adapters ----------------------------------------------------------------------------------------------

TEST_F(Startup, LetsAdaptersRegisterFirst)
{
    Add("Text", On("Register plugins", [this] { return AddServed(AddAdapter("Served"), "Poem") == nullptr; }),
        kAdapts);
    Add("Broken adapter", On("Startup", 3), kAdapts);
    Add("Throwing adapter", On("Register plugins", []() -> int { throw 4; }), kAdapts);
    ASSERT_EQ(MVStartupPlugins(), 0);
    EXPECT_EQ(Took("Register plugins"), (Lines{"Throwing adapter", "Text"}));
    EXPECT_EQ(Took("4"), Lines{"failed"});
    EXPECT_EQ(Took("Startup"), (Lines{"Throwing adapter", "Broken adapter", "Text", "Served", "Poem"}));
}

TEST_F(Startup, TellsV1AdaptersAtTheEnd)
{
    MVAdapter* good = AddAdapter("Old", MV_Adapter_V1);
    MVAdapter* bad = AddAdapter("Older", MV_Adapter_V1, On("Start up", 6));
    MVPlugin* plugin = AddServed(good, "Grain", {}, kStays | kExports);
    int32_t started = 1;
    ASSERT_EQ(MVStartupPlugins(), 0);
    EXPECT_EQ(MVStartupExport(nullptr, "Export", 3, &started), 0);
    EXPECT_EQ(started, 0);
    EXPECT_EQ(plugin->state, 0);
    EXPECT_EQ(good->count, 1);
    EXPECT_EQ(bad->count, 0);
    EXPECT_EQ(log.back(), "Old Start up");
    EXPECT_EQ(MVShutdownPlugins(), 0);
    EXPECT_EQ(Took("Shut down"), Lines{"Old"}) << "only those that starts went through";
}

// --- Exports -----------------------------------------------------------------------------------------------

TEST_F(Startup, ReadsExportsWithinTheirData)
{
    // Two exports: "ab" 7, and "exports" 9.
    const uint32_t good[] = {
        2, 8, 'a' | 'b' << 8, 7, 12, 'e' | 'x' << 8 | 'p' << 16 | 'o' << 24, 'r' | 't' << 8 | 's' << 16, 9};
    EXPECT_TRUE(mvHasExport(good, sizeof(good), "ab", 7));
    EXPECT_TRUE(mvHasExport(good, sizeof(good), "exports", 9));
    for (uint32_t size = 0; size < sizeof(good); ++size)
        EXPECT_FALSE(mvHasExport(good, size, "exports", 9)) << size;
    for (size_t word = 0; word < std::size(good); ++word)
        for (const uint32_t lie : {0u, 1u, 3u, 0x7fffffffu, 0xffffffffu}) {
            auto bad = std::to_array(good);
            bad[word] = lie;
            mvHasExport(bad.data(), sizeof(bad), "exports", 9);  // within its data, whatever it says
        }
}

// --- Shutting down -----------------------------------------------------------------------------------------

TEST_F(Startup, IsUndoneByShutdown)
{
    MVAdapter* adapter = AddAdapter("Text");
    MVPlugin* held = AddServed(adapter, "held");
    AddServed(adapter, "idle");
    AddServed(adapter, "skips", {}, kSkip);
    AddServed(adapter, "broken", On("Startup", 1));
    AddServed(adapter, "waits", Needs("Nothing"));
    ASSERT_EQ(MVStartupPlugins(), 0);
    MVAccess* access = nullptr;
    ASSERT_EQ(MVAcquirePlugin(held, &access), 0);
    log.clear();
    EXPECT_EQ(MVShutdownPlugins(), 0);
    EXPECT_EQ(Took("Shut down"), Lines{"Text"}) << "the adapter";
    EXPECT_EQ(Took("Shutdown"), (Lines{"Text", "idle", "held"}));
    EXPECT_EQ(Took("Unload 2"), (Lines{"Text", "skips", "idle"})) << "nobody holds these";
    EXPECT_EQ(CountOf(held), 1);
    EXPECT_FALSE(mvHas(held, kStateStarted));
    log.clear();
    EXPECT_EQ(MVStartupPlugins(), 0) << "and may start again";
    EXPECT_EQ(Took("Startup"), (Lines{"Text", "waits", "skips", "idle", "held"}));
}

TEST_F(Startup, ShutsDownBehindAnAdapterThatFails)
{
    Err code = 0;
    const Act end = On("Shut down", [&] { return code ? throw code : 0; });
    AddServed(AddAdapter("Text", 0, end), "Poem");
    const auto shutDown = [&](Err itsCode) {
        code = itsCode;
        EXPECT_EQ(MVStartupPlugins(), 0);
        log.clear();
        return MVShutdownPlugins();
    };
    for (const auto& [itsCode, given] : {std::pair{0, 0}, {kAISC, 0}, {13, 13}}) {
        EXPECT_EQ(shutDown(itsCode), given);
        EXPECT_EQ(Took("Shutdown"), (Lines{"Text", "Poem"}));
    }
    // A code of a plug-in's own call ends the walk.
    Add("Thrower", On("Shutdown", []() -> int { throw 14; }));
    EXPECT_EQ(shutDown(0), 14);
}

}  // namespace
