#include "zvkcore/console/ConsoleLogFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <barrier>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <thread>

#include "zvkcore/config/Config.h"
#include "zvkcore/debug/Trace.h"
#include "zvkcore/logging/LogException.h"
#include "zvkcore/string/Convert.h"
#include "zvkcore/utility/Dictionary.h"
#include "zvkcore/utility/Guid.h"
#include "zvkcore/utility/HashValueMixer.h"
#include "zvkcore/utility/ImmutableString.h"
#include "zvkcore/utility/ScAutoreleasePool.h"
#include "zvkcore/utility/System.h"
#include "zvkcore/utility/Timer.h"

namespace zvkcore {
namespace {

using console::ConsoleLogFile;
using namespace string::literals;

class LogFile : public testing::Test {
  protected:
    void SetUp() override
    {
        m_folder = std::filesystem::path{testing::TempDir()} / ("qlservices" + std::to_string(getpid()));
        m_path = m_folder / "new" / "console.log";
        debug::SetTraceSink({});
    }
    void TearDown() override
    {
        m_log.Close();
        debug::SetTraceSink({});
        std::filesystem::remove_all(m_folder);
    }
    std::string Content()
    {
        m_log.Flush();
        std::ostringstream text;
        text << std::ifstream{m_path}.rdbuf();
        return text.str();
    }
    bool Open(bool append = false) { return m_log.Open(m_path.c_str(), append); }

    std::filesystem::path m_folder;
    std::filesystem::path m_path;
    ConsoleLogFile& m_log = *ConsoleLogFile::GetInstance();
};

TEST_F(LogFile, ReceivesTheTraceWhileItIsOpen)
{
    EXPECT_FALSE(m_log.Exists());
    m_log.Write("lost\n");
    ASSERT_TRUE(Open());
    EXPECT_TRUE(m_log.Exists());
    debug::Trace(5, "ALOG", "one\n");
    m_log.Write({});
    m_log.Write("t{}wo");
    EXPECT_EQ(Content(), "one\nt{}wo");

    ASSERT_TRUE(Open(true));
    debug::Trace(5, "ALOG", "three\n");
    EXPECT_EQ(Content(), "one\nt{}wothree\n");

    m_log.Close();
    EXPECT_FALSE(m_log.Exists());
    debug::Trace(5, "ALOG", "lost\n");
    EXPECT_FALSE(m_log.Open(m_folder.c_str(), false)) << "a folder is no file";
    EXPECT_FALSE(m_log.Open(nullptr, false));
    EXPECT_FALSE(m_log.Exists());
    EXPECT_EQ(Content(), "one\nt{}wothree\n");
}

TEST_F(LogFile, TakesNothingFromTheSinksOfTheHost)
{
    std::string before;
    std::string behind;
    debug::SetTraceSink([&](int, std::string_view, std::string_view text) { before += text; });
    ASSERT_TRUE(Open());
    debug::Trace(5, "ALOG", "one ");
    m_log.Close();
    debug::Trace(5, "ALOG", "two ");
    ASSERT_TRUE(Open());
    debug::SetTraceSink([&](int, std::string_view, std::string_view text) { behind += text; });
    m_log.Close();
    debug::Trace(5, "ALOG", "three ");
    EXPECT_EQ(before, "one two ");
    EXPECT_EQ(behind, "three ");
}

TEST_F(LogFile, KeepsTheLinesOfSeveralThreadsWhole)
{
    constexpr int kThreads = 4;
    constexpr int kLines = 500;
    ASSERT_TRUE(Open());
    std::barrier start{kThreads};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            const std::string line =
                std::string(static_cast<std::size_t>(30 + t), static_cast<char>('a' + t)) + "\n";
            start.arrive_and_wait();
            for (int i = 0; i < kLines; ++i) debug::Trace(5, "ALOG", line);
        });
    }
    for (auto& thread : threads) thread.join();
    std::map<std::string, int> lines;
    std::istringstream content{Content()};
    for (std::string line; std::getline(content, line);) ++lines[line];
    ASSERT_EQ(lines.size(), std::size_t{kThreads});
    for (const auto& [line, count] : lines) EXPECT_EQ(count, kLines) << line;
}

TEST_F(LogFile, HearsOfExceptions)
{
    struct Odd {};
    ASSERT_TRUE(Open());
    logging::LogException(std::make_exception_ptr(std::out_of_range{"too far"}), "Err Somewhere()");
    logging::LogException(std::make_exception_ptr(14), nullptr);
    logging::LogException(std::make_exception_ptr(Odd{}), "");
    logging::LogException(nullptr, "nothing");
    EXPECT_EQ(Content(),
              "Err Somewhere(): std::out_of_range: too far\nerror code 14\nan exception of unknown type\n"
              "nothing: no exception\n");
}

void OurTerminate()
{
    _exit(3);
}

TEST_F(LogFile, IsWrittenBeforeAnUnhandledExceptionEndsTheProcess)
{
    EXPECT_EXIT(
        {
            std::set_terminate(OurTerminate);
            config::InstallUnhandledExceptionHandler();
            Open();
            std::thread{[] { throw std::runtime_error{"last words"}; }}.join();
        },
        testing::ExitedWithCode(3), "");
    EXPECT_EQ(Content(), "unhandled exception: std::runtime_error: last words\n");
}

TEST(CrashHandling, GoesAndComesBackOnlyIfItWasThere)
{
    const std::terminate_handler former = std::set_terminate(OurTerminate);
    config::UninstallUnhandledExceptionHandler();
    config::ReinstallUnhandledExceptionHandler();
    EXPECT_EQ(std::get_terminate(), OurTerminate) << "nobody asked for it";
    config::InstallUnhandledExceptionHandler();
    config::InstallUnhandledExceptionHandler();
    const std::terminate_handler framework = std::get_terminate();
    EXPECT_NE(framework, OurTerminate);
    for (int birth = 0; birth < 2; ++birth) {
        config::UninstallUnhandledExceptionHandler();
        EXPECT_EQ(std::get_terminate(), OurTerminate);
        config::ReinstallUnhandledExceptionHandler();
        EXPECT_EQ(std::get_terminate(), framework);
    }
    config::UninstallUnhandledExceptionHandler();
    std::set_terminate(former);
}

TEST(Config, TellsWhatTheHostHasSet)
{
    EXPECT_EQ(string::View(config::GetClientName()),
              string::View(string::UTF8to16(std::string_view{program_invocation_short_name})));
    config::SetClientName(u"Host"_u16);
    EXPECT_EQ(config::GetClientName(), u"Host"_u16);
    config::SetClientName({});
    EXPECT_FALSE(config::GetClientName().empty());
    EXPECT_FALSE(config::SetIsBetaPrime(true));
    EXPECT_TRUE(config::SetIsBetaPrime(false));
}

TEST(Config, RaisesErrorsThroughTheThrowerOfTheHost)
{
    const auto textOf = [](const char* text) {
        try {
            config::ThrowError(2, text);
        } catch (const config::Error& error) {
            EXPECT_EQ(error.GetLevel(), 2);
            return std::string{error.what()};
        }
    };
    EXPECT_EQ(textOf("$$$/App/Missing=The plug-in = missing."), "The plug-in = missing.");
    EXPECT_EQ(textOf("a=b"), "a=b");
    EXPECT_EQ(textOf(nullptr), "");
    EXPECT_EQ(config::SetErrorThrower([](int level, const char*) { throw level; }), nullptr);
    EXPECT_THROW(config::ThrowError(7, "x"), int);
    config::SetErrorThrower([](int, const char*) {});
    EXPECT_EQ(textOf("x"), "x") << "a thrower that returns";
    config::SetErrorThrower(nullptr);
}

using utility::ImmutableString;

TEST(Names, AreOneForEachTextWhoeverAsks)
{
    constexpr int kThreads = 4;
    constexpr int kNames = 300;
    std::vector<std::vector<ImmutableString>> names(kThreads);
    std::barrier start{kThreads};
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            for (int i = 0; i < kNames; ++i)
                names[t].push_back(ImmutableString::Create("name " + std::to_string(i)));
        });
    }
    for (auto& thread : threads) thread.join();
    for (int t = 1; t < kThreads; ++t) EXPECT_EQ(names[static_cast<std::size_t>(t)], names[0]);
    EXPECT_STREQ(names[0][42].GetText(), "name 42");
}

TEST(Names, HaveTheOrderOfTheirTexts)
{
    const auto a = ImmutableString::Create("a");
    const auto ab = ImmutableString::Create(std::string_view{"abc", 2});
    const auto high = ImmutableString::Create("\xC3\xA9");
    EXPECT_TRUE(ImmutableString{} < a && a < ab && ab < high);
    EXPECT_EQ(ImmutableString::Compare(ab, ImmutableString::Create("ab")), 0);
    EXPECT_TRUE(ImmutableString::Create("").IsNull() &&
                ImmutableString::Create(static_cast<const char*>(nullptr)).IsNull());
    EXPECT_STREQ(ImmutableString{}.GetText(), "");
    EXPECT_NE(ImmutableString::Create(std::string_view{"a\0b", 3}), a);
}

TEST(Identity, OfBytesIsTheSameOnEveryMachineAndInAnyRuns)
{
    using utility::Guid;
    const std::string_view text =
        "The quick brown fox renders frame 0042 of the layer, and then it renders the next one. ";
    std::string bytes;
    while (bytes.size() < 2000) bytes += text;
    EXPECT_EQ(string::View(Guid::CreateFromBytes("seg.backwards", 13).AsUTF8String()),
              "66b6c133-fcc7-2ad6-256f-a9820eba1a13");
    utility::HashValueMixerState state;
    for (std::size_t at = 0, run = 1; at < bytes.size(); at += run, run = run * 3 % 257) {
        Guid soFar;
        utility::GetHashResult(state, soFar);
        EXPECT_EQ(soFar, Guid::CreateFromBytes(bytes.data(), at));
        const utility::HashValueMixerState copy = state;
        utility::UpdateHashState(state, bytes.data() + at, std::min(run, bytes.size() - at));
        state = copy;
        utility::UpdateHashState(state, nullptr, 0);
        utility::UpdateHashState(state, bytes.data() + at, std::min(run, bytes.size() - at));
    }
    Guid all;
    utility::GetHashResult(state, all);
    EXPECT_EQ(all, Guid::CreateFromBytes(bytes.data(), bytes.size()));
}

TEST(Identity, IsAnOrderedValue)
{
    using utility::Guid;
    std::uint8_t bytes[Guid::kSize] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
    const Guid low{bytes};
    bytes[0] = 0x80;
    const Guid high{bytes};
    EXPECT_TRUE(Guid{}.IsZero() && !low.IsZero() && Guid{} < low && low < high && low == Guid{low});
    EXPECT_EQ(std::memcmp(high.GuidToBytes(), bytes, sizeof bytes), 0);
    EXPECT_EQ(string::View(low.AsUTF8String()), "01234567-89ab-cdef-0000-000000000000");
    EXPECT_NE(Guid::CreateRandom(), Guid::CreateRandom());
}

std::uint64_t g_now = 0;

TEST(Clock, IsWhatTheTestSays)
{
    const std::uint64_t real = utility::HighPrecisionTime::GetCurrentTimeStamp();
    EXPECT_GE(utility::HighPrecisionTime::GetCurrentTimeStamp(), real);
    const auto former = utility::HighPrecisionTime::SetSource([]() noexcept { return g_now; });
    g_now = 100;
    utility::Timer timer;
    g_now = 150;
    EXPECT_EQ(timer.Lap(), 50u);
    g_now = 170;
    EXPECT_EQ(timer.Lap(), 20u);
    EXPECT_EQ(timer.Elapsed(), 70u);
    timer.Reset();
    EXPECT_EQ(timer.Elapsed(), 0u);
    utility::HighPrecisionTime::SetSource(former);
}

TEST(Machine, CanBeReplaced)
{
    EXPECT_GE(utility::CPUCount(), 1);
    EXPECT_GT(utility::TotalPhysicalMemory(), 64u << 20);
    EXPECT_EQ(utility::SetCPUCount(64), 0);
    EXPECT_EQ(utility::SetTotalPhysicalMemory(1000), 0u);
    EXPECT_EQ(utility::CPUCount(), 64);
    EXPECT_EQ(utility::TotalPhysicalMemory(), 1000u);
    EXPECT_EQ(utility::GetCPUStatistics().logicalCores, 64);
    EXPECT_EQ(utility::SetCPUCount(-5), 64);
    EXPECT_EQ(utility::SetTotalPhysicalMemory(0), 1000u);
    EXPECT_GE(utility::CPUCount(), 1);
    EXPECT_GE(utility::GetCPUStatistics().physicalCores, 1);
}

TEST(SmallRecords, KeepTheirOrder)
{
    utility::Dictionary dictionary;
    dictionary.Set("b", "1"_utf8);
    dictionary.Set("a", "2"_utf8);
    dictionary.Set("b", "3"_utf8);
    ASSERT_EQ(dictionary.GetEntries().size(), 2u);
    EXPECT_EQ(dictionary.GetEntries()[0].first, "b");
    EXPECT_EQ(*dictionary.Find("b"), "3"_utf8);
    EXPECT_EQ(dictionary.Find("c"), nullptr);
}

TEST(ReleasePool, GivesBackTheNewestFirstAndNestsByThread)
{
    using utility::ScAutoreleasePool;
    std::string order;
    const auto give = [&](char name) { return [&order, name] { order += name; }; };
    EXPECT_FALSE(ScAutoreleasePool::Autorelease(give('x'))) << "nobody to take it";
    {
        const ScAutoreleasePool outer;
        EXPECT_TRUE(ScAutoreleasePool::Autorelease(give('1')));
        EXPECT_TRUE(ScAutoreleasePool::Autorelease({}));
        try {
            const ScAutoreleasePool inner;
            ScAutoreleasePool::Autorelease([&] { ScAutoreleasePool::Autorelease(give('4')); });
            ScAutoreleasePool::Autorelease(give('3'));
            std::thread{[&] { EXPECT_FALSE(ScAutoreleasePool::Autorelease(give('x'))); }}.join();
            throw 1;
        } catch (int) {
            EXPECT_EQ(order, "34");
        }
        ScAutoreleasePool::Autorelease(give('2'));
    }
    EXPECT_EQ(order, "3421");
    EXPECT_FALSE(ScAutoreleasePool::Autorelease(give('x')));
}

}  // namespace
}  // namespace zvkcore
