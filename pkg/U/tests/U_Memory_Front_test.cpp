// What goes straight to the heap and what takes the shared path; each kind of block, and what misuse gets.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "FailingAllocator.h"
#include "MemoryFixture.h"
#include "Up_ErrText.h"

namespace {

using qltest::FailingAllocator;
using qltest::kGiB;
using qltest::kMiB;

constexpr unsigned kCode = 0x120007;

// Fails every allocation of that many bytes and more while it lives.
struct NoMemoryFrom : FailingAllocator {
    explicit NoMemoryFrom(uint64_t size) : FailingAllocator(1, kFromThereOn) { OnlyFrom(size); }
};

using Front = qltest::Memory;

// Every way to ask for memory: of a pointer, or of a handle.
struct Way {
    const char* name;
    bool reports, clears;
    std::function<void*(uint64_t)> makePtr;
    std::function<char**(uint64_t)> makeHandle = nullptr;

    // Gives back what it got; says whether it got it, and whether its ends were clear.
    bool Ask(uint64_t size, bool* cleared = nullptr) const
    {
        void* block = makePtr ? makePtr(size) : nullptr;
        char** handle = makeHandle ? makeHandle(size) : nullptr;
        const char* bytes = handle ? *handle : static_cast<char*>(block);
        if (bytes && cleared) *cleared = bytes[0] == 0 && bytes[size - 1] == 0;
        U_FreePtr(block);
        U_FreeHandle(handle);
        return bytes;
    }
};

const Way kWays[] = {
    {"Ptr", true, false, std::bind_front(U_AllocatePtr, kCode, "frame")},
    {"PtrQuiet", false, false, U_AllocatePtrQuiet},
    {"PtrClear", true, true, std::bind_front(U_AllocatePtrClear, kCode, "frame")},
    {"PtrClearQuiet", false, true, U_AllocatePtrClearQuiet},
    {"Handle", true, false, nullptr, std::bind_front(U_AllocateHandle, kCode, "frame")},
    {"HandleQuiet", false, false, nullptr, U_AllocateHandleQuiet},
    {"HandleClear", true, true, nullptr, std::bind_front(U_AllocateHandleClear, kCode, "frame")},
    {"HandleClearQuiet", false, true, nullptr, U_AllocateHandleClearQuiet},
};

TEST_F(Front, PurgesFrom32KiBUpAndFailsInItsWay)
{
    HostHas(0, 0);
    for (const Way& way : kWays) {
        SCOPED_TRACE(way.name);
        for (const uint64_t size : {32767ul, 32768ul}) {
            const bool large = size >= 32768;
            // Dirty memory of the size, so that a block which is not cleared shows it.
            void* dirty = U_AllocatePtrQuiet(size);
            std::memset(dirty, 0x5A, size);
            U_FreePtr(dirty);
            m_asked.clear();
            Forget();
            SetRoom(-1);
            bool cleared = false;
            EXPECT_TRUE(way.Ask(size, &cleared));
            EXPECT_TRUE(cleared || !way.clears);
            EXPECT_EQ(m_asked.size(), large ? 1u : 0u) << "a purge that frees nothing is asked for once";
            EXPECT_TRUE(Reports().empty());
            NoMemoryFrom failing(size);
            EXPECT_FALSE(way.Ask(size));
            EXPECT_EQ(failing.Failed(), large ? 2u : 1u) << "one more attempt behind the first";
            EXPECT_EQ(Reports().size(), large && way.reports ? 1u : 0u);
        }
        // From 2 GiB up nothing is tried; one byte less is.
        Forget();
        NoMemoryFrom failing(kGiB);
        for (const uint64_t size : {2 * kGiB, uint64_t{1} << 63, UINT64_MAX}) EXPECT_FALSE(way.Ask(size));
        EXPECT_EQ(failing.Count(), 0u);
        EXPECT_EQ(Reports().size(), way.reports ? 3u : 0u);
        EXPECT_FALSE(way.Ask(2 * kGiB - 1));
        EXPECT_EQ(failing.Count(), 2u);
    }
}

TEST_F(Front, TellsTheUser)
{
    {
        NoMemoryFrom failing(3 * kMiB);
        EXPECT_EQ(U_AllocatePtr(kCode, "decoding", 3 * kMiB + 512 * 1024), nullptr);
    }
    EXPECT_EQ(U_AllocatePtr(kCode, "decoding", 5 * kGiB), nullptr);
    const std::string help = "For more information, see https://example.com/help/memory";
    EXPECT_EQ(Reports(),
              (std::vector<qltest::Report>{
                  {kCode, U_Sev_PLAIN,
                   "QLTest: Unable to allocate 3.500 MB of memory. Either decrease the memory requirements "
                   "for the rendering of this frame, or install more RAM. (12803 / decoding). " +
                       help},
                  {kCode, U_Sev_PLAIN,
                   "QLTest: Memory allocation of 5.0 GB exceeds internal limits. Decrease the memory "
                   "requirements for the rendering of this frame. (12802). " +
                       help}}));
}

TEST_F(Front, DropsAReportFromInsideAReportAndLetsACallbacksCodeOut)
{
    int depth = 0;
    U_AddLoggingCallback(
        [](void* deep, unsigned, U_Severity, const char*) {
            if (++*static_cast<int*>(deep) < 5) U_AllocatePtr(1, "inner", kGiB * 2);
            return 77;
        },
        &depth);
    EXPECT_THROW(U_AllocatePtr(1, "outer", kGiB * 2), int);
    EXPECT_EQ(depth, 1);
    void* block = U_AllocatePtrQuiet(10);
    void* const kept = block;
    EXPECT_EQ(U_ResizePtr(1, 2 * kGiB, "outer", &block), 77);
    EXPECT_EQ(depth, 2) << "the guard is open again";
    EXPECT_EQ(block, nullptr);
    char** handle = U_AllocateHandleQuiet(10);
    EXPECT_EQ(U_ResizeHandle(1, 2 * kGiB, "outer", &handle), 77);
    U_FreePtr(kept);
    U_FreeHandle(handle);
}

TEST_F(Front, ResizesAndDuplicates)
{
    for (const uint64_t size : {0ul, 32767ul, 32768ul}) {
        SCOPED_TRACE(size);
        void* block = U_AllocatePtrQuiet(10);
        EXPECT_EQ(U_ResizePtr(kCode, size, "x", &block), 0);
        uint32_t seen = 1;
        EXPECT_EQ(U_GetPtrSize(block, &seen), 0);
        EXPECT_EQ(seen, size);
        char** handle = U_AllocateHandleQuiet(10);
        char** const kept = handle;
        std::memcpy(*handle, "123456789", 10);
        EXPECT_EQ(U_ResizeHandle(kCode, size, "x", &handle), 0);
        EXPECT_EQ(handle, kept);
        EXPECT_EQ(U_GetHandleSize(handle, &seen), 0);
        EXPECT_EQ(seen, size);
        for (auto duplicate : {U_DuplicateHandle, U_DuplicateHandleToPlatform}) {
            char** copy = nullptr;
            EXPECT_EQ(duplicate(handle, "x", &copy), 0);
            ASSERT_NE(copy, nullptr);
            EXPECT_NE(copy, handle);
            EXPECT_STREQ(*copy, size == 0 ? nullptr : "123456789");
            U_FreeHandle(copy);
            NoMemoryFrom failing(size == 0 ? 8 : size);
            EXPECT_EQ(duplicate(handle, nullptr, &copy), 4);
            EXPECT_EQ(copy, nullptr);
        }
        void* const old = block;
        {
            NoMemoryFrom failing(size + 100);
            EXPECT_EQ(U_ResizePtrQuiet(size + 100, &block), 4);
            EXPECT_EQ(U_ResizeHandle(kCode, size + 100, nullptr, &handle), 4);
        }
        EXPECT_EQ(block, nullptr) << "nulled, while the old block stands";
        EXPECT_EQ(handle, kept);
        U_FreePtr(old);
        U_FreeHandle(handle);
    }
}

TEST_F(Front, RefusesOrToleratesWhatCannotBe)
{
    uint32_t size = 7;
    EXPECT_EQ(U_GetHandleSize(nullptr, &size), 3);
    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0].location, 0x170017u);
    EXPECT_EQ(Reports()[0].severity, U_Sev_PROBLEM);
    EXPECT_NE(Reports()[0].text.find(Up_String(93)), std::string::npos);
    char** copy = reinterpret_cast<char**>(&size);
    EXPECT_EQ(U_DuplicateHandle(nullptr, "x", &copy), 3);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(U_DuplicateHandleToPlatform(nullptr, "x", &copy), 0);
    EXPECT_EQ(U_FreeHandle(copy), 0);
    EXPECT_EQ(U_FreeHandle(nullptr), 0);
    EXPECT_EQ(U_CheckHandleFromHeap(nullptr), 0);
    EXPECT_EQ(U_FreePtr(nullptr) + U_GetPtrSize(nullptr, nullptr), 0);
    EXPECT_EQ(U_ResizePtr(kCode, 10, "x", nullptr), 3);
    EXPECT_EQ(U_ResizeHandle(0, 10, "x", nullptr), 3);
    EXPECT_EQ(U_DuplicateHandle(nullptr, "x", nullptr), 3);
    EXPECT_EQ(U_PurgeHandlesAndCompact() + U_CompactMem(), 0);
}

TEST_F(Front, RecyclesBlocksWithTheirCountAndWithinTheLimitOfThePool)
{
    using zvkcore::allocator::MemoryRecycler;
    const uint64_t former = MemoryRecycler::SetPoolLimit(9 * kMiB);
    const long long atStart = U_GetMemUsage();
    for (const uint64_t size : {uint64_t{1}, uint64_t{32767}, uint64_t{32768}, kMiB, 8 * kMiB}) {
        SCOPED_TRACE(size);
        void* block = U_AllocateRecycledPtr(kCode, "frame", size);
        ASSERT_NE(block, nullptr);
        std::memset(block, 0xEE, size);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u);
        EXPECT_EQ(U_GetRecycledPtrBaseAddress(block), block);
        EXPECT_GE(U_GetMemUsage() - atStart, static_cast<long long>(size) + 512);
        EXPECT_EQ(Up_GetAccountFrameSize(), U_GetMemUsage() - atStart);
        EXPECT_EQ(U_FreeRecycledPtr(block), 0);
        EXPECT_EQ(U_GetMemUsage(), atStart);
        EXPECT_EQ(Up_GetAccountFrameSize(), 0);
    }
    EXPECT_GE(U_GetRecycledMemorySize(), 8 * kMiB);
    EXPECT_LE(U_GetRecycledMemorySize(), 9 * kMiB);
    MemoryRecycler::SetPoolLimit(former);
    EXPECT_EQ(U_FreeRecycledPtr(nullptr), 0);
    EXPECT_EQ(U_AllocateRecycledPtr(kCode, "frame", 2 * kGiB), nullptr);
    std::vector<char> foreign(1024);
    EXPECT_EQ(U_FreeRecycledPtr(foreign.data() + 512), 0);
    ASSERT_EQ(Reports().size(), 2u);
    EXPECT_NE(Reports()[1].text.find("not a recycled pointer"), std::string::npos);
}

struct Work {
    int runs = 0;
    int failures = 0;  // how often it lacks memory
    int error = 0;     // what it gives then
};

int RunWork(void* refcon, unsigned char* ok)
{
    Work& work = *static_cast<Work*>(refcon);
    *ok = ++work.runs > work.failures;
    return *ok ? 0 : work.error;
}

TEST_F(Front, RunsWorkAgainWhilePurgingHelps)
{
    // The host frees a megabyte a purge, five times; only failures ask for it, as there is room below the limit.
    HostHas(5 * kMiB, kMiB, 1);
    SetRoom(64 * kMiB);
    struct Row {
        const char* name;
        uint64_t size;
        Work work;
        int runs;
        int result;
    };
    for (Row row :
         {Row{"SmallRunsOnce", 32767, {.failures = 1, .error = 4}, 1, 4}, Row{"Works", 32768, {}, 1, 0},
          Row{"WorksAfterPurges", 32768, {.failures = 3, .error = 4}, 4, 0},
          Row{"SaysNotOkWithoutError", 32768, {.failures = 9}, 3, 0},
          Row{"NothingMoreToPurge", 32768, {.failures = 9, .error = 5}, 2, 5},
          Row{"TooLargeToRun", 2 * kGiB, {}, 0, 4}}) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(U_PurgeLoop(row.size, RunWork, &row.work, false), row.result);
        EXPECT_EQ(row.work.runs, row.runs);
    }
    EXPECT_EQ(U_PurgeLoop(100000, nullptr, nullptr, false), 3);
    EXPECT_TRUE(Reports().empty());
}

}  // namespace
