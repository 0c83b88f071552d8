// Starting and shutting down: the order, the retries, adapters, exports, and the host's say.
#include <cstring>

#include "Stage.h"

namespace {

class Startup : public Stage {
  public:
    static bool Has(MVPlugin* plugin, int bits) { return (plugin->state & bits) == bits; }

    // A plug-in that needs a suite of API version 1 to start.
    MVPlugin* AddNeedy(MVAdapter* adapter, const char* name, const char* suite, int32_t internal = 0)
    {
        return AddServed(adapter, name, [suite, internal](const Call& call) {
            const void* procs = nullptr;
            return call.Is("Startup") ? MVAcquireSuite(nullptr, suite, 1, internal, &procs) : 0;
        });
    }

    MVPlugin* AddProvider(MVAdapter* adapter, const char* name, const char* suite)
    {
        return AddServed(adapter, name, [suite](const Call& call) {
            return call.Is("Startup") ? MVAddSuite(nullptr, call.Data().self, suite, 1, 1, "table", nullptr)
                                      : 0;
        });
    }
};

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
    MVPlugin* held = AddServed(adapter, "held back");
    mvSet(held, kStateHeldBack, true);
    ASSERT_EQ(MVStartupPlugins(), 0);
    // Each pass moves to the head and turns round what it moves; the last added stood first.
    EXPECT_EQ(Took("Startup"), (Lines{"Text", "host", "stays", "exports and stays", "exports",
                                      "early and exports", "early", "held back", "skip only", "plain"}));
}

TEST_F(Startup, AsksTheHostBeforeThePlainOnesAndAtTheEnd)
{
    for (const int refusal : {0, 1, 2}) {
        SCOPED_TRACE(refusal);
        MVTerm();
        ASSERT_EQ(MVInit(&kProcs, this, nullptr), 0);
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
}

TEST_F(Startup, CanBeHeldByTheHost)
{
    Add("first");
    Add("second");
    hold = [](MVPlugin* plugin) { return std::strcmp(plugin->name, "first") == 0; };
    EXPECT_EQ(MVStartupPlugins(), 0);
    EXPECT_EQ(Took("Startup"), Lines{"second"});
    addPlugins = [] { return 99; };
    EXPECT_EQ(MVStartupPlugins(), 99);
    MVTerm();
    ASSERT_EQ(MVInit(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(MVStartupPlugins(), 0) << "no plug-ins, no folder, default procs";
}

// --- Failures and retries ----------------------------------------------------------------------------------

TEST_F(Startup, TriesAgainWhenANeededSuiteAppears)
{
    MVAdapter* adapter = AddAdapter("Text");
    AddProvider(adapter, "provides B", "B");
    AddProvider(adapter, "provides C", "C");
    MVPlugin* needsC = AddNeedy(adapter, "needs C", "C");
    MVPlugin* chain = AddServed(adapter, "needs B, gives A", [](const Call& call) {
        const void* procs = nullptr;
        if (!call.Is("Startup")) return 0;
        const Err error = MVAcquireSuite(nullptr, "B", 1, 0, &procs);
        return error ? error : MVAddSuite(nullptr, call.Data().self, "A", 1, 1, "table", nullptr);
    });
    MVPlugin* needsA = AddNeedy(adapter, "needs A", "A");
    // Announced by those that have to wait, or are in the middle of their start: not now, but no failure either.
    MVAddSuite(nullptr, chain, "A", 1, 1, nullptr, nullptr);
    MVPlugin* needsX = AddNeedy(adapter, "needs X, announced Y", "X");
    MVAddSuite(nullptr, needsX, "Y", 1, 1, nullptr, nullptr);
    MVPlugin* givesX = AddServed(adapter, "may use Y, gives X", [](const Call& call) {
        const void* procs = nullptr;
        if (!call.Is("Startup")) return 0;
        MVAcquireSuite(nullptr, "Y", 1, 0, &procs);
        return MVAddSuite(nullptr, call.Data().self, "X", 1, 1, "table", nullptr);
    });
    MVAddSuite(nullptr, givesX, "X", 1, 1, nullptr, nullptr);
    MVPlugin* needsNever = AddNeedy(adapter, "needs another version of C", "C", 9);
    ASSERT_EQ(MVStartupPlugins(), 0);
    for (MVPlugin* plugin : {needsC, chain, needsA, needsX, givesX})
        EXPECT_EQ(plugin->state, kStateStarted | kStateComplete) << plugin->name;
    EXPECT_EQ(needsNever->state, 0) << "neither started nor broken";
    EXPECT_LE(log.size(), 100u);
}

TEST_F(Startup, EndsThoughOnePublishesAtEachTry)
{
    int32_t version = 0;
    Add("endless", [&](const Call& call) {
        const void* procs = nullptr;
        if (!call.Is("Startup")) return 0;
        const Err missing = MVAcquireSuite(nullptr, "A", 1, ++version, &procs);
        MVAddSuite(nullptr, call.Data().self, "A", 1, version, "table", nullptr);
        return missing;
    });
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
    } rows[] = {{"fine", [] { return 0; }, kStateStarted | kStateComplete, false},
                {"result", [] { return 5; }, kStateStarted | kStateBroken | kStateSkipShutdown, false},
                {"code", []() -> int { throw 5; }, kStateStarted | kStateBroken | kStateSkipShutdown, true},
                {"missing suite", [] { return MV_Err_SUITE_NOT_FOUND; }, 0, false},
                {"missing suite as a code", []() -> int { throw static_cast<int>(MV_Err_SUITE_NOT_FOUND); },
                 0, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        log.clear();
        MVPlugin* plugin =
            Add(row.name, [&row](const Call& call) { return call.Is("Startup") ? row.start() : 0; });
        startupMarshVetchPlugin(plugin);
        EXPECT_EQ(plugin->state, row.state);
        EXPECT_EQ(log.front(), std::string("starts ") + row.name);
        EXPECT_EQ(log.back().starts_with("failed"), row.told);
    }
    MVPlugin* skipping = Add("skipping", {}, kSkip);
    startupMarshVetchPlugin(skipping);
    EXPECT_EQ(skipping->state, kStateStarted | kStateComplete | kStateSkipShutdown);
}

// --- Adapters ----------------------------------------------------------------------------------------------

TEST_F(Startup, LetsAdaptersRegisterFirst)
{
    Add(
        "Text",
        [this](const Call& call) {
            if (!call.Is("Register plugins")) return 0;
            MVAdapter* served = AddAdapter("Served");
            AddServed(served, "Poem");
            return 0;
        },
        kAdapts);
    Add(
        "Broken adapter", [](const Call& call) { return call.Is("Startup") ? 3 : 0; }, kAdapts);
    Add(
        "Throwing adapter", [](const Call& call) { return call.Is("Register plugins") ? throw 4 : 0; },
        kAdapts);
    ASSERT_EQ(MVStartupPlugins(), 0);
    EXPECT_EQ(Took("Register plugins"), (Lines{"Throwing adapter", "Text"}));
    EXPECT_EQ(Took("4"), Lines{"failed"});
    EXPECT_EQ(Took("Startup"), (Lines{"Throwing adapter", "Broken adapter", "Text", "Served", "Poem"}));
}

TEST_F(Startup, TellsV1AdaptersAtTheEnd)
{
    MVAdapter* good = AddAdapter("Old", MV_Adapter_V1);
    MVAdapter* bad =
        AddAdapter("Older", MV_Adapter_V1, [](const Call& call) { return call.Is("Start up") ? 6 : 0; });
    MVPlugin* plugin = AddServed(good, "Grain", {}, kStays | kExports);
    int32_t started = 1;
    ASSERT_EQ(MVStartupPlugins(), 0);
    EXPECT_EQ(MVStartupExport(nullptr, "Export", 3, &started), 0);
    EXPECT_EQ(started, 0);
    EXPECT_EQ(plugin->state, 0);
    EXPECT_EQ(good->count, 1);
    EXPECT_EQ(bad->count, 0);
    EXPECT_EQ(log.back(), "Old Start up");
    log.clear();
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
    AddServed(adapter, "broken", [](const Call& call) { return call.Is("Startup") ? 1 : 0; });
    AddNeedy(adapter, "waits", "Nothing");
    ASSERT_EQ(MVStartupPlugins(), 0);
    MVAccess* access = nullptr;
    ASSERT_EQ(MVAcquirePlugin(held, &access), 0);
    log.clear();
    EXPECT_EQ(MVShutdownPlugins(), 0);
    EXPECT_EQ(Took("Shut down"), Lines{"Text"}) << "the adapter";
    EXPECT_EQ(Took("Shutdown"), (Lines{"Text", "idle", "held"}));
    EXPECT_EQ(Took("Unload 2"), (Lines{"Text", "skips", "idle"})) << "nobody holds these";
    EXPECT_EQ(CountOf(held), 1);
    EXPECT_FALSE(Has(held, kStateStarted));
    log.clear();
    EXPECT_EQ(MVStartupPlugins(), 0) << "and may start again";
    EXPECT_EQ(Took("Startup"), (Lines{"Text", "waits", "skips", "idle", "held"}));
}

TEST_F(Startup, ShutsDownBehindAnAdapterThatFails)
{
    Err code = 0;
    MVAdapter* adapter = AddAdapter(
        "Text", 0, [&](const Call& call) { return call.Is("Shut down") && code ? throw code : 0; });
    const struct {
        Err thrown, given;
        size_t shutDown;
    } rows[] = {{0, 0, 2}, {MV_Err_IN_ACCESS_CALL, 0, 2}, {13, 13, 2}};
    AddServed(adapter, "Poem");
    for (const auto& row : rows) {
        ASSERT_EQ(MVStartupPlugins(), 0);
        log.clear();
        code = row.thrown;
        EXPECT_EQ(MVShutdownPlugins(), row.given);
        EXPECT_EQ(Took("Shutdown").size(), row.shutDown);
    }
    // A code of a plug-in's own call ends the walk.
    Add(
        "Thrower", [](const Call& call) { return call.Is("Shutdown") ? throw 14 : 0; }, kPlain);
    ASSERT_EQ(MVStartupPlugins(), 0);
    code = 0;
    EXPECT_EQ(MVShutdownPlugins(), 14);
}

}  // namespace
