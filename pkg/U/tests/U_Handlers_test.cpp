// Crashes happen in child processes: each row starts one that births the library and really faults.
#include <sys/mman.h>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <stdexcept>

#include "QLTest.h"
#include "Up_Err.h"
#include "Up_Handlers.h"

namespace {

void Say(void* text)
{
    std::fprintf(stderr, "[%s]", static_cast<const char*>(text));
}

char g_global[] = "global";
char g_local[] = "local";

void RaiseSegv()
{
    void* page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    *static_cast<volatile char*>(page) = 1;
}

void RaiseIllegal()
{
    __builtin_trap();
}

// A page of a file that has no bytes there.
void RaiseBus()
{
    std::FILE* file = std::tmpfile();
    auto* page = static_cast<volatile char*>(mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fileno(file), 0));
    static_cast<void>(*page);
}

void SayFormer()
{
    std::fprintf(stderr, "[former]");
    std::abort();
}

struct CrashRow {
    const char* name;
    void (*crash)();
    int signal;
    const char* said;
    bool asLibrary = false;
    bool local = false;
};

void PrintTo(const CrashRow& row, std::ostream* out)
{
    *out << row.name;
}

class Crash : public testing::TestWithParam<CrashRow> {};

TEST_P(Crash, RunsTheHandlerThatCountsAndEndsAsItWould)
{
    const CrashRow& row = GetParam();
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    if (row.asLibrary && row.signal == SIGSEGV) GTEST_SKIP() << "the sanitizer owns the signal";
#endif
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            std::set_terminate(SayFormer);
            if (U_Birth("Sample", row.asLibrary) != 0) std::exit(1);
            U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(Say, g_global);
            if (row.local) U_SetLocalUnhandledExceptionOrHardwareErrorHandler(Say, g_local);
            std::fprintf(stderr, "<");
            row.crash();
            std::exit(2);
        },
        testing::KilledBySignal(row.signal), row.said);
}

void RaiseUser1()
{
    std::raise(SIGUSR1);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, Crash,
    testing::Values(CrashRow{"Segv", RaiseSegv, SIGSEGV, "<\\[global\\]$"},
                    CrashRow{"Illegal", RaiseIllegal, SIGILL, "<\\[global\\]$"},
                    CrashRow{"Bus", RaiseBus, SIGBUS, "<\\[global\\]$"},
                    CrashRow{"User1Aborts", RaiseUser1, SIGABRT, "<\\[global\\]$"},
                    CrashRow{"LocalWins", RaiseSegv, SIGSEGV, "<\\[local\\]$", false, true},
                    CrashRow{"Terminate", std::terminate, SIGABRT, "<\\[global\\]\\[former\\]$"},
                    CrashRow{"TerminateAsLibrary", std::terminate, SIGABRT, "<\\[former\\]$", true},
                    CrashRow{"SegvAsLibrary", RaiseSegv, SIGSEGV, "<$", true},
                    CrashRow{"User1AsLibrary", RaiseUser1, SIGUSR1, "<$", true}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(UnhandledExceptionHandler, LocalOneCountsAndScopesRestore)
{
    U_UnhandledExceptionHandler handler = nullptr;
    void* refcon = nullptr;
    const auto counts = [&](void* expected) {
        U_GetUnhandledExceptionOrHardwareErrorHandler(&handler, &refcon);
        return refcon == expected && handler == (expected ? Say : nullptr);
    };
    EXPECT_TRUE(counts(nullptr));
    U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(Say, g_global);
    EXPECT_TRUE(counts(g_global));
    {
        U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler outer(Say, g_local);
        {
            U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler inner(nullptr, nullptr);
            EXPECT_TRUE(counts(g_global));
        }
        EXPECT_TRUE(counts(g_local));
    }
    U_GetLocalUnhandledExceptionOrHardwareErrorHandler(&handler, &refcon);
    EXPECT_EQ(handler, nullptr);
    U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(nullptr, nullptr);
}

// --- Translators -----------------------------------------------------------------------------------------

using Translators = qltest::Library;

auto Claim(const char* what, int code, std::string* asked = nullptr)
{
    return [=](std::exception* exception, int* out) {
        if (asked) *asked += what;
        if (std::string(exception->what()) != what) return false;
        *out = code;
        return true;
    };
}

TEST_F(Translators, GiveEveryExceptionItsCode)
{
    struct Row {
        const char* name;
        std::function<void()> body;
        Err code;
        const char* report;
    };
    U_RegisterExceptionTranslatorImpl(Claim("known", 4711));
    const Row rows[] = {
        {"nothing", [] {}, 0, ""},
        {"int", [] { throw 17; }, 17, ""},
        {"bad_alloc", [] { throw std::bad_alloc(); }, 4, ""},
        {"bad_cast", [] { throw std::bad_cast(); }, 3, "QLTest error: Unexpected data type"},
        {"claimed", [] { throw std::runtime_error("known"); }, 4711, ""},
        {"damaged project", [] { U_Throw_Damaged_Project(0x120007); }, 2,
         "QLTest error: This project appears to be damaged, and poses a possible security risk."},
        {"unknown", [] { throw std::runtime_error("unknown"); }, 14, "QLTest warning: Unknown Exception."},
    };
    for (const Row& row : rows) {
        Forget();
        EXPECT_EQ(U_TrySection(row.body), row.code) << row.name;
        EXPECT_EQ(Reports().empty() ? "" : Reports()[0].text, row.report) << row.name;
        EXPECT_TRUE(row.code != 2 || Reports().at(0).location == 0x120007);
    }
}

TEST_F(Translators, AreAskedFromTheLastAndMayLeaveAndFailMeanwhile)
{
    std::string asked;
    const unsigned first = U_RegisterExceptionTranslatorImpl(Claim("1", 1, &asked));
    static unsigned s_second = 0;
    s_second = U_RegisterExceptionTranslatorImpl([&](std::exception*, int*) {
        asked += "2";
        U_UnregisterExceptionTranslator(s_second);
        U_RegisterExceptionTranslatorImpl(Claim("4", 4, &asked));
        return false;
    });
    U_RegisterExceptionTranslatorImpl([&](std::exception*, int*) -> bool {
        asked += "3";
        throw std::runtime_error("from a translator");
    });
    EXPECT_GE(first, 100u);
    EXPECT_EQ(s_second, first + 1);
    EXPECT_EQ(U_TrySection([] { throw std::runtime_error("1"); }), 1);
    EXPECT_EQ(U_TrySection([] { throw std::runtime_error("4"); }), 4);
    EXPECT_EQ(asked, "3214");
    U_UnregisterExceptionTranslator(first);
    U_UnregisterExceptionTranslator(first);
    EXPECT_EQ(U_TrySection([] { throw std::runtime_error("1"); }), 14);
}

TEST_F(Translators, EndForACallbackThatThrowsAtEveryReport)
{
    U_AddLoggingCallback(
        [](void*, unsigned, U_Severity, const char*) -> Err { throw std::runtime_error(""); }, nullptr);
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_WARNING, "text"), 14);
    EXPECT_EQ(U_TrySection([] { throw std::bad_cast(); }), 3);
}

TEST_F(Translators, TheNewHandlerReportsOnAMainThreadAndThrowsEverywhere)
{
    EXPECT_THROW(Up_ReportingThrowingNewHandler(), std::bad_alloc);
    EXPECT_EQ(Reports(), (std::vector<qltest::Report>{{0x170028, U_Sev_PLAIN, "QLTest: Out of memory."}}));
    U_DeregisterMainThread();
    EXPECT_THROW(Up_ReportingThrowingNewHandler(), std::bad_alloc);
    EXPECT_EQ(Reports().size(), 1u);
    U_RegisterMainThread(~0ul);
}

}  // namespace
