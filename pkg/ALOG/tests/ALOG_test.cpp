#include "ALOG.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ALOGp_Format.h"
#include "Contend.h"
#include "FailingAllocator.h"
#include "zvkcore/console/ConsoleLogFile.h"

namespace {

using zvkcore::console::ConsoleLogFile;
using Texts = std::vector<std::string>;

Texts g_lines;  // level, channel and text of each

void RecordLines()
{
    g_lines.clear();
    zvkcore::debug::SetTraceSink([](int level, std::string_view channel, std::string_view text) {
        g_lines.push_back(std::to_string(level) + std::string(channel) + ":" + std::string(text));
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

TEST_F(WithLogFile, WritesModuleLevelAndTextUpToItsBound)
{
    const std::string longText(3000, 'x');
    EXPECT_EQ(ALOG_sprintf(0, "RENDER", "Frame", "%d of %s took %.3f ms", 12, "Layer 7", 12.5), 0);
    EXPECT_EQ(VSprintf("%d%%", 40), 0);
    EXPECT_EQ(ALOG_Log(10, "U", "Birth", "100%s"), 0);
    ALOG_Log(0, nullptr, nullptr, nullptr);
    ALOG_Log(0, "U", "Level", longText.c_str());
    ALOG_sprintf(0, "U", "Level", "%s", longText.c_str());
    ALOG_Log(0, longText.c_str(), "Level", "text");
    const std::string cut = "5ALOG:U Level " + std::string(ALOG_kLineSize - 8, 'x') + "\n";
    EXPECT_EQ(g_lines, (Texts{"5ALOG:RENDER Frame 12 of Layer 7 took 12.500 ms\n", "5ALOG:U Frame 40%\n",
                              "5ALOG:U Birth 100%s\n", "5ALOG:  \n", cut, cut,
                              "5ALOG:" + std::string(ALOG_kLineSize, 'x') + "\n"}));
}

TEST_F(WithLogFile, FollowsTheTraceSettingsAtTheNextLine)
{
    for (const int level : {0, 5, 4, 10}) {
        zvkcore::debug::SetTraceLevel("ALOG", level);
        ALOG_Log(0, "U", "At", std::to_string(level).c_str());
    }
    EXPECT_EQ(g_lines, (Texts{"5ALOG:U At 5\n", "5ALOG:U At 10\n"}));
}

TEST_F(WithLogFile, LogsFromSeveralThreads)
{
    std::atomic<int> count{0};
    zvkcore::debug::SetTraceSink(
        [&](int, std::string_view, std::string_view text) { count += text == "U T 7\n"; });
    // Lines of the moment in which one thread asks about new settings go by the former answer: settle it.
    ALOG_Log(0, "U", "T", "settled");
    zvktest::Contend(8, [](int) {
        for (int line = 0; line < 500; ++line) ALOG_sprintf(0, "U", "T", "%d", 7);
    });
    EXPECT_EQ(count, 8 * 500);
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
    char text[9];
    EXPECT_EQ(Format(text, sizeof text, "%s", static_cast<const char*>(nullptr)), 6u);
}

TEST(ALOG_convertMesg, PutsThePrefixInFrontAndStopsAtTheBound)
{
    const auto text = [](const zvkcore::string::UTF8String& bytes) {
        return std::string(zvkcore::string::View(bytes));
    };
    const std::string longText(3000, 'x');
    EXPECT_EQ(text(ALOG_convertMesg(nullptr, "size=%d", 7)), "size=7");
    EXPECT_EQ(text(ALOG_convertMesg("MEM", "%s", longText.c_str())), "MEM " + std::string(2064, 'x'));
    EXPECT_EQ(text(ALOG_convertMesg(longText.c_str(), "%d", 7)).size(), 2068u);
}

// In a process of its own, where both questions, of the file and of the trace, are asked anew.
template <class Body>
void ExpectAlone(Body body)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::exit(body() ? 0 : 1), testing::ExitedWithCode(0), "");
}

void LogWithoutMemory()
{
    const qltest::FailingAllocator fail(1, qltest::FailingAllocator::kFromThereOn);
    ALOG_Log(0, "U", "Birth", "lost");
}

TEST(WithoutLogFile, StaysSilentEvenWhenAFileAppearsLater)
{
    ExpectAlone([] {
        LogWithoutMemory();
        const bool opened = OpenLogFile();
        RecordLines();
        ALOG_sprintf(0, "U", "Birth", "%s", "after");
        return opened && g_lines.empty();
    });
}

TEST(WithoutMemory, TheFirstLineIsLostAndNothingElse)
{
    ExpectAlone([] {
        OpenLogFile();
        RecordLines();
        LogWithoutMemory();
        ALOG_Log(0, "U", "Birth", "kept");
        return g_lines == Texts{"5ALOG:U Birth kept\n"};
    });
}

}  // namespace
