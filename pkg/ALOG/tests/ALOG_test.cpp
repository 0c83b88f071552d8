#include "ALOG.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "ALOGp_Format.h"
#include "FailingAllocator.h"
#include "zvkcore/console/ConsoleLogFile.h"
#include "zvkcore/debug/Trace.h"

namespace {

using zvkcore::console::ConsoleLogFile;

struct Line {
    int level;
    std::string channel;
    std::string text;
    bool operator==(const Line&) const = default;
};

std::vector<Line> g_lines;

void RecordLines()
{
    g_lines.clear();
    zvkcore::debug::SetTraceSink([](int level, std::string_view channel, std::string_view text) {
        g_lines.push_back({level, std::string(channel), std::string(text)});
    });
}

bool OpenLogFile()
{
    return ConsoleLogFile::GetInstance()->Open((testing::TempDir() + "ALOG_test.log").c_str(), false);
}

// The log asks for its file once a process, so the tests with a file and those without never share one.
class WithLogFile : public testing::Test {
  protected:
    static void SetUpTestSuite() { ASSERT_TRUE(OpenLogFile()); }
    static void TearDownTestSuite() { ConsoleLogFile::GetInstance()->Close(); }
    void SetUp() override { RecordLines(); }
    void TearDown() override
    {
        zvkcore::debug::SetTraceSink({});
        zvkcore::debug::ResetTraceLevels();
    }
};

int VSprintf(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = ALOG_vsprintf(0, "U", "Frame", format, arguments);
    va_end(arguments);
    return result;
}

TEST_F(WithLogFile, WritesModuleLevelAndText)
{
    EXPECT_EQ(ALOG_sprintf(0, "RENDER", "Frame", "%d of %s took %.3f ms", 12, "Layer 7", 12.5), 0);
    EXPECT_EQ(VSprintf("%d%%", 40), 0);
    EXPECT_EQ(ALOG_Log(10, "U", "Birth", "100%s"), 0);
    ALOG_Log(0, nullptr, nullptr, nullptr);
    EXPECT_EQ(g_lines, (std::vector<Line>{{5, "ALOG", "RENDER Frame 12 of Layer 7 took 12.500 ms\n"},
                                          {5, "ALOG", "U Frame 40%\n"},
                                          {5, "ALOG", "U Birth 100%s\n"},
                                          {5, "ALOG", "  \n"}}));
}

TEST_F(WithLogFile, CutsTheLineAtItsBound)
{
    const std::string longText(3000, 'x');
    const std::string cut = std::string("U Level ") + std::string(ALOG_kLineSize - 8, 'x') + "\n";
    ALOG_Log(0, "U", "Level", longText.c_str());
    ALOG_sprintf(0, "U", "Level", "%s", longText.c_str());
    ALOG_Log(0, longText.c_str(), "Level", "text");
    ASSERT_EQ(g_lines.size(), 3u);
    EXPECT_EQ(g_lines[0].text, cut);
    EXPECT_EQ(g_lines[1].text, cut);
    EXPECT_EQ(g_lines[2].text, std::string(ALOG_kLineSize, 'x') + "\n");
}

TEST_F(WithLogFile, FollowsTheTraceSettingsAtTheNextLine)
{
    for (const int level : {0, 5, 4, 10}) {
        zvkcore::debug::SetTraceLevel("ALOG", level);
        ALOG_Log(0, "U", "At", std::to_string(level).c_str());
    }
    ASSERT_EQ(g_lines.size(), 2u);
    EXPECT_EQ(g_lines[0].text, "U At 5\n");
    EXPECT_EQ(g_lines[1].text, "U At 10\n");
}

TEST_F(WithLogFile, LogsFromSeveralThreads)
{
    static std::atomic<int> s_count;
    s_count = 0;
    zvkcore::debug::SetTraceSink(
        [](int, std::string_view, std::string_view text) { s_count += text == "U T 7\n"; });
    // Lines of the moment in which one thread asks about new settings go by the former answer: settle it first.
    ALOG_Log(0, "U", "T", "settled");
    std::vector<std::thread> threads;
    for (int at = 0; at < 8; ++at) {
        threads.emplace_back([] {
            for (int line = 0; line < 500; ++line) ALOG_sprintf(0, "U", "T", "%d", 7);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(s_count, 8 * 500);
}

size_t Format(char* out, size_t size, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const size_t written = ALOGp_Format(out, size, format, arguments);
    va_end(arguments);
    return written;
}

template <class... Arguments>
void ExpectPrintf(const char* format, Arguments... arguments)
{
    for (const size_t size : {1, 2, 9, 600}) {
        char ours[600], theirs[600];
        std::snprintf(theirs, size, format, arguments...);
        EXPECT_EQ(Format(ours, size, format, arguments...), std::strlen(theirs)) << format;
        EXPECT_STREQ(ours, theirs) << format;
    }
}

TEST(ALOGp_Format, WritesWhatPrintfWrites)
{
    ExpectPrintf("plain %% text %d", 1);
    ExpectPrintf("%d %i %u|%c|%s", INT_MIN, 7, UINT_MAX, 'x', "text");
    ExpectPrintf("%ld %lld %lu %llu %zu", LONG_MIN, LLONG_MAX, ULONG_MAX, 0ull, sizeof(int));
    ExpectPrintf("%5d|%-8s|%x|%p|%s", 42, "left", 255u, static_cast<void*>(nullptr), "behind the others");
    ExpectPrintf("%d %.2s %d %.*f %g %d", 1, "cut", 2, 3, 2.5, 1e20, 3);
    for (const double value : {0.0, -0.0, 12.5, 0.125, 2.5, -1e300, 1e-300, 1.0 / 3, HUGE_VAL, -HUGE_VAL}) {
        ExpectPrintf("%f %.0f %.3f %.15f", value, value, value, value);
    }
    char text[600];
    EXPECT_EQ(Format(text, sizeof text, "%s", static_cast<const char*>(nullptr)), 6u);
}

TEST(ALOG_convertMesg, PutsThePrefixInFrontAndStopsAtTheBound)
{
    const auto text = [](const zvkcore::string::UTF8String& bytes) {
        return std::string(zvkcore::string::View(bytes));
    };
    EXPECT_EQ(text(ALOG_convertMesg("MEM", "size=%d", 7)), "MEM size=7");
    EXPECT_EQ(text(ALOG_convertMesg(nullptr, "size=%d", 7)), "size=7");
    const std::string longText(3000, 'x');
    EXPECT_EQ(text(ALOG_convertMesg("MEM", "%s", longText.c_str())), "MEM " + std::string(2064, 'x'));
    EXPECT_EQ(text(ALOG_convertMesg(longText.c_str(), "%d", 7)).size(), 2068u);
}

// In a process of its own, where no file was open at the first call.
TEST(WithoutLogFile, StaysSilentEvenWhenAFileAppearsLater)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            ALOG_Log(0, "U", "Birth", "before");
            const bool opened = OpenLogFile();
            RecordLines();
            ALOG_sprintf(0, "U", "Birth", "%s", "after");
            std::exit(opened && g_lines.empty() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

// Each in a process of its own, as both questions are asked anew there.
TEST(WithoutMemory, TheFirstLineIsLostAndNothingElse)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto logWithoutMemory = [] {
        const qltest::FailingAllocator fail(1, qltest::FailingAllocator::kFromThereOn);
        ALOG_Log(0, "U", "Birth", "lost");
    };
    EXPECT_EXIT((logWithoutMemory(), std::exit(0)), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(
        {
            OpenLogFile();
            RecordLines();
            logWithoutMemory();
            ALOG_Log(0, "U", "Birth", "kept");
            std::exit(g_lines.size() == 1 && g_lines[0].text == "U Birth kept\n" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
