// Accesses and messages: what a plug-in gets, when its code comes and goes, and every code on the way.
#include "Stage.h"

namespace {

class Messages : public Stage {
  public:
    static Err Acquire(MVPlugin* plugin)
    {
        MVAccess* access = nullptr;
        return MVAcquirePlugin(plugin, &access);
    }
    static int32_t Flush(int32_t disposeType = MV_Dispose_UNUSED, MVFlushProc proc = nullptr)
    {
        int32_t flushed = -1;
        EXPECT_EQ(MVFlushAccesses(proc, &flushed, disposeType), 0);
        return flushed;
    }
};

// --- What a plug-in gets -----------------------------------------------------------------------------------

TEST_F(Messages, BeginWithTheHead)
{
    int kept = 0;
    const auto work = [&](const Call& call) {
        MVMessageData& data = call.Data();
        EXPECT_EQ(std::memcmp(&data.MVCheck, "kCVM", 4), 0);
        EXPECT_EQ(std::exchange(data.globals, &kept), nullptr);
        const void* suite = nullptr;
        EXPECT_EQ(data.basic->AcquireSuite(MV_BASIC_SUITE, 1, 0, &suite), 0);
        EXPECT_EQ(suite, data.basic);
        EXPECT_EQ(data.basic->ReleaseSuite(MV_BASIC_SUITE, 1, 0), 0);
        void* block = nullptr;
        EXPECT_EQ(data.basic->AllocateBlock(8, &block) | data.basic->ReallocateBlock(64, &block), 0);
        EXPECT_EQ(data.basic->FreeBlock(block), 0);
        MVPlugin* current = nullptr;
        MVGetCurrentPlugin(&current);
        EXPECT_EQ(current, data.self);
        return 42;
    };
    MVPlugin* plugin = Add("Grain", On("Work", work));
    EXPECT_EQ(Send(plugin, "Work"), 0);
    EXPECT_EQ(result, 42);
    EXPECT_EQ(plugin->globals, &kept);
    EXPECT_EQ(log, (Lines{"Grain Reload 0", "Grain Work"}));
    EXPECT_EQ(CountOf(plugin), 0) << "stays loaded, held by nobody";
    EXPECT_EQ(g_mvRuntime->current, nullptr);
}

// Whatever leaves the entry becomes the call's code, and the access keeps its count.
TEST_F(Messages, KeepExceptionsOfPluginsInside)
{
    struct Strange {};
    const struct {
        std::function<void()> leave;
        Err code;
        size_t reports;
    } rows[] = {{[] { throw 7; }, 7, 1},
                {[] { throw 0; }, U_Err_UNKNOWN, 1},
                {[] { throw std::runtime_error("oh"); }, U_Err_UNKNOWN, 1},
                {[] { throw std::bad_alloc(); }, U_Err_OUT_OF_MEMORY, 0},
                {[] { throw Strange(); }, U_Err_UNKNOWN, 1}};
    const auto* row = rows;
    MVPlugin* plugin = Add("Grain", [&](const Call& call) {
        call.Data().globals = &result;
        if (call.Is("Work")) row->leave();
        return 0;
    });
    for (int32_t count = 1; row != std::end(rows); ++row, ++count) {
        Forget();
        sentences.clear();
        EXPECT_EQ(Send(plugin, "Work"), row->code);
        EXPECT_EQ(result, 0);
        EXPECT_EQ(Reports().size(), row->reports);
        EXPECT_EQ(sentences.size(), 1u);
        EXPECT_EQ(CountOf(plugin), count);
        EXPECT_EQ(plugin->globals, &result) << "goes back all the same";
    }
    EXPECT_EQ(g_mvRuntime->depth, 0);
    EXPECT_EQ(Flush(), 0) << "held by its failures";
}

TEST_F(Messages, RefuseThoseThatWouldNest)
{
    std::vector<Err> codes;
    MVPlugin* plugin = Add("Grain", [&](const Call& call) {
        int32_t inner = 0;
        if (!call.Is("Nested"))
            codes.push_back(MVSendMessage(call.Data().self, "Test", "Nested", nullptr, &inner));
        return 0;
    });
    const auto outer = [&](const char* caller, const char* selector) {
        codes.clear();
        EXPECT_EQ(Send(plugin, selector, caller), 0);
        return codes;
    };
    EXPECT_EQ(outer(MV_Caller_INTERFACE, MV_Selector_STARTUP), std::vector<Err>(2, kAISC)) << "Reload too";
    EXPECT_EQ(outer(MV_Caller_PROPERTIES, MV_Selector_ACQUIRE), std::vector<Err>{kAISC});
    EXPECT_EQ(outer("Test", "Work"), std::vector<Err>{0}) << "other messages may nest";
    codes.clear();
    EXPECT_EQ(Flush(), 1);
    EXPECT_EQ(codes, std::vector<Err>{kAISC}) << "Unload";

    // The bit of somebody else's call is his to clear.
    ASSERT_EQ(Acquire(plugin), 0);
    EXPECT_EQ(plugin->state, 0);
    mvSet(plugin, kStateInMessage, true);
    EXPECT_EQ(Send(plugin, "Work"), kAISC);
    EXPECT_EQ(sendAccessMessage(mvFindAccess(plugin), kNameReload, &result), kAISC);
    EXPECT_TRUE(mvHas(plugin, kStateInMessage));
    mvSet(plugin, kStateInMessage, false);
}

// --- Codes -------------------------------------------------------------------------------------------------

TEST_F(Messages, AreClosedToV1PluginsButForAbout)
{
    MVPlugin* about = nullptr;
    const auto answer = [&](const Call& call) {
        about = call.As<MVAdapterMessage>().plugin;
        return 9;
    };
    MVAdapter* adapter = AddAdapter("Old", MV_Adapter_V1, On("About", answer));
    MVPlugin* plugin = AddServed(adapter, "Grain");
    const std::string interface = MV_Caller_INTERFACE, selector = MV_Selector_ABOUT;  // not pooled pointers
    EXPECT_EQ(Send(plugin, selector.c_str(), interface.c_str()), 0);
    EXPECT_EQ(result, 9);
    EXPECT_EQ(about, plugin);
    EXPECT_EQ(CountOf(adapter->host), 0);
    MVMessageData data = {};
    EXPECT_EQ(Send(plugin, MV_Selector_STARTUP, MV_Caller_INTERFACE), MV_Err_V1_PLUGIN);
    EXPECT_EQ(Send(plugin, MV_Selector_ABOUT, MV_Caller_PROPERTIES), MV_Err_V1_PLUGIN);
    EXPECT_EQ(Acquire(plugin), MV_Err_V1_PLUGIN);
    EXPECT_EQ(MVSetupMessageData(plugin, &data), MV_Err_V1_PLUGIN);
    EXPECT_EQ(MVEmptyMessageData(plugin, &data), MV_Err_V1_PLUGIN);

    // Without a plug-in behind the adapter nobody answers, not even that.
    adapter->host = nullptr;
    EXPECT_EQ(Send(plugin, MV_Selector_ABOUT, MV_Caller_INTERFACE), MV_Err_NOT_ACQUIRED);
    adapter->flags = 0;
    EXPECT_EQ(Send(plugin, "Work"), MV_Err_NOT_ACQUIRED);
    EXPECT_EQ(plugin->state, 0) << "not broken";
    EXPECT_EQ(mvFindAccess(plugin), nullptr);
}

TEST_F(Messages, CountAcquisitions)
{
    MVPlugin *first = Add("First"), *second = Add("Second");
    MVAccess *one = nullptr, *two = nullptr;
    ASSERT_EQ(MVAcquirePlugin(first, &one) | MVAcquirePlugin(second, &two) | MVAcquirePlugin(first, &one), 0);
    EXPECT_EQ(g_mvRuntime->accesses, one) << "the last used is at the head";
    EXPECT_EQ(g_mvRuntime->accessCount, 2);
    EXPECT_EQ(CountOf(first), 2);
    EXPECT_EQ(MVReleasePlugin(one) | MVReleasePlugin(one), 0);
    EXPECT_EQ(MVReleasePlugin(one), MV_Err_PLUGIN_RELEASED);
    EXPECT_EQ(mvFindAccess(first), one) << "a release never unloads";
    EXPECT_EQ(Flush(), 1);
    EXPECT_EQ(MVReleasePlugin(one), MV_Err_PLUGIN_RELEASED) << "it is gone";
    EXPECT_EQ(MVCallPlugin(one, "Test", "Work", nullptr, &result), MV_Err_PARAMETER);
    EXPECT_EQ(MVCallPlugin(two, "Test", "Work", nullptr, nullptr), MV_Err_PARAMETER);
    EXPECT_EQ(MVAcquirePlugin(nullptr, &one), MV_Err_PARAMETER);
}

// --- Through an adapter ------------------------------------------------------------------------------------

TEST_F(Messages, ReachServedPluginsThroughTheirAdapter)
{
    // An adapter that acquires what it is asked to load would go in circles.
    const auto circle = [](const Call& call) {
        EXPECT_EQ(Acquire(call.As<MVAdapterMessage>().plugin), kAISC);
        return 0;
    };
    int kept = 0;
    const auto work = [&](const Call& call) {
        call.Data().globals = &kept;
        return 5;
    };
    MVPlugin* plugin = AddServed(AddAdapter("Text", 0, On("Load plugin", circle)), "Poem", On("Work", work));
    EXPECT_EQ(Send(plugin, "Work"), 0);
    EXPECT_EQ(result, 5);
    EXPECT_EQ(plugin->globals, &kept);
    EXPECT_EQ(log, (Lines{"Text Reload 0", "Text Load plugin", "Text Send message", "Poem Reload 0",
                          "Text Send message", "Poem Work"}));
    EXPECT_EQ(Flush(), 2);
    EXPECT_EQ(Took("Unload 0"), (Lines{"Poem", "Text"}))
        << "the adapter was used last, but serves to the end";
    EXPECT_EQ(g_mvRuntime->accessCount, 0);
}

// Each way in which an adapter or its plug-in may refuse, and what is left behind.
TEST_F(Messages, PassOnWhatAnAdapterRefuses)
{
    std::string refused;
    bool throws = false;
    const auto refuse = [&](const Call& call) { return !call.Is(refused) ? 0 : throws ? throw 66 : 66; };
    MVPlugin* plugin = AddServed(AddAdapter("Text", 0, refuse), "Poem", refuse);
    for (const bool byException : {false, true})
        for (const char* selector : {"Load plugin", "Reload"}) {
            SCOPED_TRACE(selector);
            throws = byException;
            refused = selector;
            EXPECT_EQ(Send(plugin, "Work"), 66);
            EXPECT_EQ(mvFindAccess(plugin), nullptr);
            refused = "";
            EXPECT_EQ(Send(plugin, "Work"), 0);
            for (const char* keeper : {"Unload", "Release plugin"}) {
                refused = keeper;
                Flush();
                EXPECT_EQ(CountOf(plugin), 0) << keeper;
            }
            refused = "";
            Flush();
            EXPECT_EQ(mvFindAccess(plugin), nullptr);
        }
}

// --- Flushing ----------------------------------------------------------------------------------------------

TEST_F(Messages, FlushTheAccessesOfAType)
{
    MVAdapter* adapter = AddAdapter("Text");
    const struct {
        const char* name;
        bool served;
        int marks;
        int32_t count;
        bool goes[3];  // by dispose type
    } rows[] = {{"held host", false, kPlain, 1, {false, false, false}},
                {"idle host", false, kStays, 0, {true, false, false}},
                {"held", true, kPlain, 1, {false, true, false}},
                {"idle", true, kPlain, 0, {true, true, false}},
                {"held that stays", true, kStays, 2, {false, false, true}},
                {"idle that stays", true, kStays, 0, {true, false, true}}};
    for (const auto& row : rows) {
        MVPlugin* plugin =
            row.served ? AddServed(adapter, row.name, {}, row.marks) : Add(row.name, {}, row.marks);
        for (const int32_t type : {MV_Dispose_UNUSED, MV_Dispose_LEAVING, MV_Dispose_STAYING}) {
            Send(plugin, "Work");
            while (CountOf(plugin) < row.count) Acquire(plugin);
            Flush(type);
            EXPECT_EQ(mvFindAccess(plugin) == nullptr, row.goes[type]) << row.name << type;
        }
    }
    EXPECT_EQ(MVFlushAccesses(nullptr, nullptr, 3), MV_Err_PARAMETER);
}

TEST_F(Messages, KeepWhatAFlushMustNotTake)
{
    // One that refuses; one that the host keeps; one that is asked for by its own call, and inside a flush then.
    bool refuses = true;
    MVPlugin* refusing = Add("Refusing", On("Unload", [&] { return refuses ? 31 : 0; }));
    ASSERT_EQ(Send(refusing, "Work"), 0);
    EXPECT_EQ(Flush(), 0);
    EXPECT_EQ(thrown, std::vector<Err>{31});
    EXPECT_NE(mvFindAccess(refusing), nullptr);
    refuses = false;
    const MVFlushProc keep = [](const char* type, void* access, int32_t* should) -> Err {
        MVPlugin* plugin = nullptr;
        MVGetAccessPlugin(static_cast<MVAccess*>(access), &plugin);
        return *should = std::strcmp(type, "MV Flush Access") != 0 || !plugin;
    };
    EXPECT_EQ(Flush(MV_Dispose_UNUSED, keep), 0);
    EXPECT_EQ(MVFlushCaches([](const char*, void*, int32_t*) -> Err { return 8; }, nullptr), 8);
    EXPECT_EQ(Flush(), 1);

    MVPlugin* inside = AddServed(AddAdapter("Text"), "Inside", [&](const Call& call) {
        return call.Is("Work") ? Flush(MV_Dispose_LEAVING) : call.Is("Unload") ? Flush() : 0;
    });
    ASSERT_EQ(Send(inside, "Work"), 0);
    EXPECT_EQ(Flush(), 2);
}

TEST_F(Messages, EndAFlushInWhichPluginsWakeEachOther)
{
    MVPlugin *ping = nullptr, *pong = nullptr;
    ping = Add("Ping", On("Unload", [&] { return Send(pong, "Work"); }));
    pong = Add("Pong", On("Unload", [&] { return Send(ping, "Work"); }));
    ASSERT_EQ(Send(ping, "Work"), 0);
    EXPECT_EQ(Flush(), 1);
    EXPECT_EQ(CountOf(pong), 0) << "came during the flush: the next one's";
}

}  // namespace
