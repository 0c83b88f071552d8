#include "MV.h"

#include <set>

#include "FailingAllocator.h"
#include "Stage.h"

namespace {

using Runtime = Stage;

TEST_F(Runtime, PoolsOnePointerForEachText)
{
    MVStringPool* pool = nullptr;
    ASSERT_EQ(MVAllocateStringPool(&pool), 0);
    std::set<const char*> pointers;
    for (int text = 0; text < 2000; ++text) {
        const char* pooled = nullptr;
        const std::string words = std::to_string(text % 1000);
        ASSERT_EQ(MVMakeWString(pool, words.c_str(), &pooled), 0);
        EXPECT_EQ(words, pooled);
        EXPECT_EQ(pointers.insert(pooled).second, text < 1000);
    }
    EXPECT_EQ(MVFreeStringPool(pool), 0);
}

TEST_F(Runtime, KeepsBlocksWithTheirDescriptions)
{
    void* block = nullptr;
    ASSERT_EQ(MVAllocateBlock(100, "a curve", &block), 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u);
    std::memset(block, 7, 100);
    ASSERT_EQ(MVReallocateBlock(100000, &block), 0);
    EXPECT_EQ(static_cast<char*>(block)[99], 7);
    EXPECT_EQ(static_cast<char*>(block)[100] | static_cast<char*>(block)[99999], 0);
    void* const old = block;
    EXPECT_EQ(MVReallocateBlock(uint64_t{1} << 40, &block), U_Err_OUT_OF_MEMORY);
    EXPECT_EQ(block, old);
    EXPECT_EQ(MVAllocateBlock(~uint64_t{0}, "too much", &block), U_Err_OUT_OF_MEMORY);
    EXPECT_EQ(block, nullptr);

    // Those that nobody freed are told of, and may be freed even then.
    Restart();
    EXPECT_EQ(std::exchange(sentences, {}), Lines{"a block of 100000 bytes was never freed: a curve"});
    EXPECT_EQ(MVFreeBlock(old), 0);
}

TEST_F(Runtime, KeepsListsOfTheHosts)
{
    MVPluginList* list = nullptr;
    ASSERT_EQ(MVAllocatePluginList(nullptr, &list), 0);
    MVPlugin* plugin = Add("Grain", On("Work", [&] { return MVFreePluginList(list); }), kPlain, list);
    ASSERT_EQ(Send(plugin, "Work"), 0);
    EXPECT_EQ(result, kAISC);
    MVAdapter* adapter = nullptr;
    MVAddAdapter(plugin, "Text", 1, 0, nullptr, &adapter);
    const void* procs = nullptr;
    ASSERT_EQ(MVAddSuite(nullptr, plugin, "Grain Suite", 1, 1, &kProcs, nullptr), 0);
    ASSERT_EQ(MVAcquireSuite(nullptr, "Grain Suite", 1, 1, &procs), 0);
    EXPECT_EQ(MVFreePluginList(list), 0);
    EXPECT_EQ(MVAcquireSuite(nullptr, "Grain Suite", 1, 1, &procs), MV_Err_SUITE_NOT_FOUND);
    EXPECT_EQ(MVReleaseSuite(nullptr, "Grain Suite", 1, 1), 0);
    EXPECT_EQ(log.back(), "Grain Unload 0");
    EXPECT_EQ(adapter->host, nullptr);
    EXPECT_EQ(MVFreePluginList(g_mvRuntime->plugins), MV_Err_PARAMETER);
}

// --- Begin and end -----------------------------------------------------------------------------------------

TEST_F(Runtime, EndsWithoutAWordOfRefusal)
{
    MVPlugin* served = AddServed(AddAdapter("Text"), "Poem", On("Unload", 1));
    MVPlugin* plugin = Add("Grain", [&](const Call& call) {
        if (call.Is("Work")) return MVTerm();
        // Neither ends the walk, nor keeps it going for ever.
        return call.Is("Unload") ? MVFlushCaches(nullptr, nullptr) + Send(served, "Wake") : 0;
    });
    ASSERT_EQ(Send(served, "Work") | Send(plugin, "Work"), 0);
    EXPECT_EQ(result, kAISC);
    EXPECT_EQ(MVInit(nullptr, nullptr, nullptr), MV_Err_PARAMETER);
    log.clear();
    sentences.clear();
    Restart();
    EXPECT_EQ(Took("Unload 3"), (Lines{"Poem", "Text", "Grain"}));
    EXPECT_EQ(Took("Dispose info"), Lines{"Text"});
    EXPECT_EQ(sentences, Lines{"a flush is asked for inside a flush"});
}

TEST_F(Runtime, TellsAnAdapterThatItHadToWakeForTheEnd)
{
    MVAccess* access = nullptr;
    ASSERT_EQ(MVAcquirePlugin(AddServed(AddAdapter("Text"), "Poem"), &access), 0);
    ASSERT_EQ(MVFlushCaches(nullptr, nullptr), 0);
    Restart();
    EXPECT_EQ(Took("Reload 3"), Lines{"Text"});
    EXPECT_EQ(Took("Unload 3"), (Lines{"Poem", "Text"}));
}

// Functions of each kind without a runtime: a code, and nothing else.
TEST_F(Runtime, AnswersWithoutARuntime)
{
    MVPlugin* plugin = Add("Grain");
    MVAccess* access = nullptr;
    ASSERT_EQ(MVTerm(), 0);
    const void* procs = &procs;
    MVAdapter* adapter = nullptr;
    MVPluginList* list = nullptr;
    int32_t answer = 0;
    EXPECT_EQ(MVAcquireSuite(nullptr, "Paint", 1, 0, &procs), MV_Err_SUITE_NOT_FOUND);
    EXPECT_EQ(procs, nullptr);
    EXPECT_EQ(MVReleaseSuite(nullptr, "Paint", 1, 0), MV_Err_SUITE_NOT_FOUND);
    EXPECT_EQ(MVAddSuite(nullptr, nullptr, "Paint", 1, 1, "", nullptr), MV_Err_SUITE_NOT_FOUND);
    for (const Err code : {MVTerm(), MVStartupPlugins(), MVShutdownPlugins(), MVFlushCaches(nullptr, nullptr),
                           MVAcquirePlugin(plugin, &access), MVFindAdapter("a", &adapter),
                           MVAllocatePluginList(nullptr, &list), MVGetPluginListCount(nullptr, &answer),
                           MVGetNamedPlugin(nullptr, "a", &plugin), MVSetPluginBroken(nullptr, 1)})
        EXPECT_EQ(code, MV_Err_PARAMETER);
    ASSERT_EQ(MVInit(&kProcs, this, nullptr), 0);
}

TEST_F(Runtime, MayPoolItsStringsWithTheHost)
{
    using Pool = std::set<std::string>;
    MVHostProcs procs = {};
    procs.size = offsetof(MVHostProcs, filterEvent);  // an older host: knows no procs behind these
    procs.allocateStringPool = [](void*) -> void* { return new Pool; };
    procs.freeStringPool = [](void* self, void* pool) {
        delete static_cast<Pool*>(pool);
        Of(self).log.push_back("freed");
    };
    procs.makeWString = [](void*, void* pool, const char* text) {
        return text[0] == '!' ? nullptr : static_cast<Pool*>(pool)->insert(text).first->c_str();
    };
    procs.filterEvent = [](void*, int32_t, const void*) { return 0; };
    Restart(&procs);
    const char *first = nullptr, *second = nullptr;
    EXPECT_EQ(MVMakeWString(nullptr, "Paint", &first) | MVMakeWString(nullptr, "Paint", &second), 0);
    EXPECT_EQ(first, second);
    EXPECT_EQ(MVMakeWString(nullptr, "!", &first), U_Err_OUT_OF_MEMORY);
    EXPECT_EQ(MVStartupPlugins(), 0) << "the default of filterEvent";
    Restart();
    EXPECT_EQ(log, Lines{"freed"});
}

TEST_F(Runtime, SurvivesEveryFailedAllocation)
{
    ASSERT_EQ(MVTerm(), 0);
    bool released = true;
    qltest::EveryAllocationFails([&] {
        Forget();  // reports of failures are recorded, and that is no leak
        if (MVInit(nullptr, nullptr, "folder") != 0) return false;
        MVPropertyList* properties = nullptr;
        MVPlugin* plugin = nullptr;
        MVFileSpec* file = nullptr;
        const auto entry = [](const char*, const char*, void*) { return 0; };
        bool ok = MVAllocatePropertyList(&properties) == 0 &&
                  MVAddProperty(properties, 1, 2, 3, "data", 4) == 0 &&
                  MVAddHostPlugin(nullptr, entry, nullptr, "Grain", properties, &plugin) == 0;
        if (!ok) MVFreePropertyList(properties);
        ok = ok && MVAddFile(nullptr, "folder/grain.so", &file) == 0 &&
             MVSetFileReason(file, "a reason of some length") == 0 &&
             MVAddAdapter(plugin, "Text", 1, 0, nullptr, nullptr) == 0 &&
             MVAddPlugin(nullptr, file, nullptr, nullptr, nullptr, nullptr, nullptr) == 0 &&
             MVSendMessage(plugin, "Test", "Work", nullptr, &result) == 0;
        MVSuiteList* list = nullptr;
        MVSuite* missing = nullptr;
        const void* procs = nullptr;
        ok = ok && MVAllocateSuiteList(nullptr, nullptr, &list) == 0 && list &&
             MVAddSuite(list, plugin, "Paint", 1, 1, &kProcs, nullptr) == 0 &&
             MVFindSuite(list, "Brush", 1, 1, &missing) == 0 && list->searches &&
             MVAcquireSuite(list, "Paint", 1, 0, &procs) == 0;
        MVFreeSuiteList(list);
        released &= !ok || CountOf(plugin) == 0;
        return MVTerm() == 0 && ok;
    });
    EXPECT_TRUE(released) << "what a suite list holds goes with it";
    ASSERT_EQ(MVInit(&kProcs, this, nullptr), 0);
}

}  // namespace
