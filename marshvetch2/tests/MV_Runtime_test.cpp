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
    for (int round = 0; round < 2; ++round)
        for (int text = 0; text < 1000; ++text) {
            const char* pooled = nullptr;
            ASSERT_EQ(MVMakeWString(pool, std::to_string(text).c_str(), &pooled), 0);
            EXPECT_EQ(std::to_string(text), pooled);
            EXPECT_EQ(pointers.insert(pooled).second, round == 0);
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
    const auto report = [] {
        Lines lines;
        MVReportBlocks(
            [](void* self, const char* words, uint64_t size) {
                static_cast<Lines*>(self)->push_back(words + (' ' + std::to_string(size)));
            },
            &lines);
        return lines;
    };
    EXPECT_EQ(report().front(), "a curve 100000");
    void* old = block;
    EXPECT_EQ(MVReallocateBlock(uint64_t{1} << 40, &block), U_Err_OUT_OF_MEMORY);
    EXPECT_EQ(block, old);
    EXPECT_EQ(MVFreeBlock(block), 0);
    EXPECT_NE(report().front(), "a curve 100000");
    EXPECT_EQ(MVAllocateBlock(~uint64_t{0}, "too much", &block), U_Err_OUT_OF_MEMORY);
    EXPECT_EQ(block, nullptr);
}

TEST_F(Runtime, TellsOfBlocksThatNobodyFreed)
{
    void* block = nullptr;
    ASSERT_EQ(MVAllocateBlock(24, "a curve", &block), 0);
    ASSERT_EQ(MVTerm(), 0);
    EXPECT_EQ(sentences, Lines{"a block of 24 bytes was never freed: a curve"});
    sentences.clear();
    EXPECT_EQ(MVFreeBlock(block), 0) << "it outlives the runtime";
    ASSERT_EQ(MVInit(&kProcs, this, nullptr), 0);
}

TEST_F(Runtime, KeepsPropertiesInTheirOrder)
{
    MVPropertyList* list = nullptr;
    ASSERT_EQ(MVAllocatePropertyList(&list), 0);
    EXPECT_EQ(MVAddProperty(list, 1, 2, 0, "abc", 4), 0);
    EXPECT_EQ(MVAddProperty(list, 1, 2, 1, nullptr, 0), 0);
    EXPECT_EQ(MVAddProperty(list, 1, 2, 0, "abc", 4), MV_Err_PARAMETER) << "it is there";
    EXPECT_EQ(MVAddProperty(list, 1, 3, 0, nullptr, 4), MV_Err_PARAMETER);
    const MVProperty* property = nullptr;
    ASSERT_EQ(MVFindProperty(list, 1, 2, 0, &property), 0);
    EXPECT_STREQ(static_cast<const char*>(property->data), "abc");
    ASSERT_EQ(MVNextProperty(list, property, &property), 0);
    EXPECT_EQ(property->id, 1);

    MVPlugin* plugin = nullptr;
    ASSERT_EQ(MVAddPlugin(nullptr, nullptr, list, "Grain", nullptr, nullptr, &plugin), 0);
    EXPECT_EQ(MVFindPluginProperty(plugin, 1, 2, 1, &property), 0);
    EXPECT_EQ(MVFindPluginProperty(plugin, 1, 9, 1, &property), MV_Err_NO_PROPERTY);
}

TEST_F(Runtime, ListsEachFileOnce)
{
    MVFileSpec *first = nullptr, *second = nullptr, *file = nullptr;
    ASSERT_EQ(MVAddFile(nullptr, "a/grain.so", &first), 0);
    ASSERT_EQ(MVAddFile(nullptr, "a/.hidden", &second), 0);
    ASSERT_EQ(MVAddFile(nullptr, "a/grain.so", &file), 0);
    EXPECT_EQ(file, first);
    EXPECT_EQ(MVSetFileReason(first, "too short"), 0);
    EXPECT_EQ(sentences, Lines{"a/grain.so: too short"});
    const char* reason = nullptr;
    EXPECT_EQ(MVGetFileReason(first, &reason), 0);
    EXPECT_STREQ(reason, "too short");
    ASSERT_EQ(MVNextFile(nullptr, first, &file), 0);
    EXPECT_EQ(file, second);

    for (const auto& [path, name] : {std::pair{first, "grain"}, {second, ".hidden"}}) {
        MVPlugin* plugin = nullptr;
        ASSERT_EQ(MVAddPlugin(nullptr, path, nullptr, nullptr, nullptr, nullptr, &plugin), 0);
        EXPECT_STREQ(plugin->name, name);
    }
}

TEST_F(Runtime, KeepsListsOfTheHosts)
{
    MVPluginList* list = nullptr;
    ASSERT_EQ(MVAllocatePluginList(nullptr, &list), 0);
    Err inside = 0;
    const auto free = [&](const Call& call) { return call.Is("Work") ? inside = MVFreePluginList(list) : 0; };
    MVPlugin* plugin = Add("Grain", free, kPlain, list);
    ASSERT_EQ(Send(plugin, "Work"), 0);
    EXPECT_EQ(inside, MV_Err_IN_ACCESS_CALL);
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
    MVAdapter* adapter = AddAdapter("Text");
    MVPlugin* served = AddServed(adapter, "Poem", [](const Call& call) { return call.Is("Unload") ? 1 : 0; });
    Err inside = 0;
    MVPlugin* plugin = Add("Grain", [&](const Call& call) {
        if (call.Is("Work")) inside = MVTerm();
        // Neither ends the walk, nor keeps it going for ever.
        return call.Is("Unload") ? MVFlushCaches(nullptr, nullptr) + Send(served, "Wake") : 0;
    });
    ASSERT_EQ(Send(served, "Work"), 0);
    ASSERT_EQ(Send(plugin, "Work"), 0);
    EXPECT_EQ(inside, MV_Err_IN_ACCESS_CALL);
    EXPECT_EQ(MVInit(nullptr, nullptr, nullptr), MV_Err_PARAMETER);
    log.clear();
    sentences.clear();
    ASSERT_EQ(MVTerm(), 0);
    EXPECT_EQ(Took("Unload 3"), (Lines{"Poem", "Text", "Grain"}));
    EXPECT_EQ(Took("Dispose info"), Lines{"Text"});
    EXPECT_EQ(sentences, Lines{"a flush is asked for inside a flush"});
    ASSERT_EQ(MVInit(&kProcs, this, nullptr), 0);
}

TEST_F(Runtime, TellsAnAdapterThatItHadToWakeForTheEnd)
{
    MVPlugin* served = AddServed(AddAdapter("Text"), "Poem");
    MVAccess* access = nullptr;
    ASSERT_EQ(MVAcquirePlugin(served, &access) | MVFlushCaches(nullptr, nullptr), 0);
    ASSERT_EQ(MVTerm(), 0);
    EXPECT_EQ(Took("Reload 3"), Lines{"Text"});
    EXPECT_EQ(Took("Unload 3"), (Lines{"Poem", "Text"}));
    ASSERT_EQ(MVInit(&kProcs, this, nullptr), 0);
}

// Every public function without a runtime, and with null: a code, and nothing else.
TEST_F(Runtime, AnswersWithoutARuntime)
{
    MVPlugin* plugin = Add("Grain");
    MVAccess* access = nullptr;
    ASSERT_EQ(MVTerm(), 0);
    EXPECT_EQ(MVTerm(), MV_Err_PARAMETER);
    const void* procs = &procs;
    MVAdapter* adapter = nullptr;
    MVPluginList* list = nullptr;
    int32_t answer = 0;
    EXPECT_EQ(MVAcquireSuite(nullptr, "Paint", 1, 0, &procs), MV_Err_SUITE_NOT_FOUND);
    EXPECT_EQ(procs, nullptr);
    EXPECT_EQ(MVReleaseSuite(nullptr, "Paint", 1, 0), MV_Err_SUITE_NOT_FOUND);
    EXPECT_EQ(MVAddSuite(nullptr, nullptr, "Paint", 1, 1, "", nullptr), MV_Err_SUITE_NOT_FOUND);
    const Err codes[] = {MVStartupPlugins(),
                         MVShutdownPlugins(),
                         MVFlushCaches(nullptr, nullptr),
                         MVAcquirePlugin(plugin, &access),
                         MVFindAdapter("a", &adapter),
                         MVAllocatePluginList(nullptr, &list),
                         MVGetPluginListCount(nullptr, &answer),
                         MVGetNamedPlugin(nullptr, "a", &plugin),
                         MVSetPluginBroken(nullptr, 1)};
    for (const Err code : codes) EXPECT_EQ(code, MV_Err_PARAMETER) << &code - codes;
    ASSERT_EQ(MVInit(&kProcs, this, nullptr), 0);
}

TEST_F(Runtime, MayPoolItsStringsWithTheHost)
{
    ASSERT_EQ(MVTerm(), 0);
    using Pool = std::set<std::string>;
    MVHostProcs procs = {};
    procs.size = offsetof(MVHostProcs, filterEvent);  // an older host: knows no procs behind these
    procs.allocateStringPool = [](void*) -> void* { return new Pool; };
    procs.freeStringPool = [](void* alive, void* pool) {
        delete static_cast<Pool*>(pool);
        --*static_cast<int*>(alive);
    };
    procs.makeWString = [](void*, void* pool, const char* text) {
        return text[0] == '!' ? nullptr : static_cast<Pool*>(pool)->insert(text).first->c_str();
    };
    procs.filterEvent = [](void*, int32_t, const void*) { return 0; };
    int alive = 1;
    ASSERT_EQ(MVInit(&procs, &alive, nullptr), 0);
    const char *first = nullptr, *second = nullptr;
    EXPECT_EQ(MVMakeWString(nullptr, "Paint", &first) | MVMakeWString(nullptr, "Paint", &second), 0);
    EXPECT_EQ(first, second);
    EXPECT_EQ(MVMakeWString(nullptr, "!", &first), U_Err_OUT_OF_MEMORY);
    EXPECT_EQ(MVStartupPlugins(), 0) << "the default of filterEvent";
    ASSERT_EQ(MVTerm(), 0);
    EXPECT_EQ(alive, 0);
    ASSERT_EQ(MVInit(&kProcs, this, nullptr), 0);
}

TEST_F(Runtime, SurvivesEveryFailedAllocation)
{
    ASSERT_EQ(MVTerm(), 0);
    qltest::EveryAllocationFails([this] {
        Forget();  // reports of failures are recorded, and that is no leak
        if (MVInit(nullptr, nullptr, "folder") != 0) return false;
        MVPropertyList* properties = nullptr;
        MVPlugin* plugin = nullptr;
        MVFileSpec* file = nullptr;
        int32_t result = 0;
        bool ok =
            MVAllocatePropertyList(&properties) == 0 && MVAddProperty(properties, 1, 2, 3, "data", 4) == 0;
        if (!ok || MVAddHostPlugin(
                       nullptr, [](const char*, const char*, void*) { return 0; }, nullptr, "Grain",
                       properties, &plugin) != 0) {
            if (properties) MVFreePropertyList(properties);
            ok = false;
        }
        ok = ok && MVAddFile(nullptr, "folder/grain.so", &file) == 0 &&
             MVSetFileReason(file, "a reason of some length") == 0;
        ok = ok && MVAddAdapter(plugin, "Text", 1, 0, nullptr, nullptr) == 0;
        ok = ok && MVAddPlugin(nullptr, file, nullptr, nullptr, nullptr, nullptr, nullptr) == 0;
        ok = ok && MVSendMessage(plugin, "Test", "Work", nullptr, &result) == 0;
        return MVTerm() == 0 && ok;
    });
    ASSERT_EQ(MVInit(&kProcs, this, nullptr), 0);
}

}  // namespace
