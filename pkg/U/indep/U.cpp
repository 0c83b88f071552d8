// Birth and death of the library: the order in which its services come up and go down.
#include "U.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "ALOG.h"
#include "U_BigMutex.h"
#include "U_ErrState.h"
#include "U_Memory.h"
#include "U_String.h"
#include "U_ZString.h"
#include "Up_Err.h"
#include "Up_ErrText.h"
#include "Up_Globals.h"
#include "Up_Handlers.h"
#include "Up_Interact.h"
#include "Up_LStr.h"
#include "Up_Memory.h"
#include "Up_Posted.h"
#include "zvkcore/config/Config.h"
#include "zvkcore/utility/System.h"

namespace {

// What the last birth was told; from load to unload.
bool g_isRunningAsLibrary = false;

constexpr unsigned kBirthLocation = 0x170003;

// --- Services --------------------------------------------------------------------------------------------

// Date strings, the small utilities and the XML tables need nothing at birth.
Err Up_DateTime_Birth()
{
    return U_Err_NONE;
}
Err Up_Util_Birth()
{
    return U_Err_NONE;
}
Err Up_XML_Birth()
{
    return U_Err_NONE;
}

using SubBirth = Err (*)();

// In this order, as each may use the ones above: what comes later speaks in the words of the first.
constexpr SubBirth kSubBirths[] = {
    [] { return Err{Up_ZLStrBirth()}; }, [] { return Err{U_ZLocaleBirth()}; },
    [] { return Up_BirthHog(); },        [] { return Up_InstallReportingNewHandler(); },
    [] { return Up_DateTime_Birth(); },  [] { return Up_Util_Birth(); },
    [] { return Up_BirthErrors(); },     [] { return Up_XML_Birth(); },
};

// --- Record ----------------------------------------------------------------------------------------------

/// Makes the record and lets it stand for the library. A record of an earlier birth that never died is
/// lost. What stands is always whole: a report that says why the birth failed finds its table and its
/// mutex, or no record.
Err MakeRecord(const char* name)
{
    Up_G_id = nullptr;
    auto mutex = std::make_unique<zvkcore::threads::RecursiveMutex>();
    auto** handle = reinterpret_cast<U_GlobalsRecord**>(U_AllocateHandleClearQuiet(sizeof(U_GlobalsRecord)));
    if (!handle) return U_Err_OUT_OF_MEMORY;
    auto* record = new (*handle) U_GlobalsRecord{};
    record->headMagic = Up_kMagic;
    record->tailMagic = Up_kMagic;
    U_CopyString(name, sizeof record->name, record->name);
    record->mutex = mutex.release();
    Up_G_id = handle;
    return U_Err_NONE;
}

void DestroyRecord()
{
    if (!Up_G_id) return;
    U_GlobalsRecord* record = *Up_G_id;
    record->headMagic = 0;
    record->tailMagic = 0;
    delete std::exchange(record->mutex, nullptr);
    U_FreeHandle(reinterpret_cast<char**>(std::exchange(Up_G_id, nullptr)));
}

// --- Steps of a birth ------------------------------------------------------------------------------------

Err AnnounceBirth(bool runningAsLibrary)
{
    return U_TrySection([&] {
        U_RegisterMainThread(~0ul);
        g_isRunningAsLibrary = runningAsLibrary;
        ALOG_Log(10, "U", "Birth", "U Birth");
        const auto cpu = zvkcore::utility::GetCPUStatistics();
        ALOG_sprintf(
            10, "U", "CPU Data",
            "LogicalCores:%d, PhysicalCores:%d, MMX:%d, SSE:%d SSE2:%d, SSE3:%d, SSSE(MNI):%d, SSE4_1:%d, "
            "SSE4_2:%d",
            cpu.logicalCores, cpu.physicalCores, cpu.mmx, cpu.sse, cpu.sse2, cpu.sse3, cpu.ssse3, cpu.sse41,
            cpu.sse42);
    });
}

// The frameworks' crash handling steps aside meanwhile, so that it ends up in front of ours.
Err InstallProcessHandlers()
{
    zvkcore::config::UninstallUnhandledExceptionHandler();
    const Err code = SetupHardwareExceptionHandling(true);
    zvkcore::config::ReinstallUnhandledExceptionHandler();
    Up_InstallTerminateHandler();
    return code;
}

Err BirthRecordAndServices(const char* name)
{
    return U_TrySection([&]() -> Err {
        if (const Err code = MakeRecord(name); code != 0) return code;
        Up_SetInteract(Up_kBirthInteract);
        for (const SubBirth birth : kSubBirths) {
            if (const Err code = birth(); code != 0) return code;
        }
        U_RenderContext::RegisterState(U::BigMutexState::S_StateName, U::BigMutexState::Create);
        return U_Err_NONE;
    });
}

// One text for every cause. Services that have come up stay: the next birth takes them over.
void AbandonBirth(const char* name)
{
    char text[255];
    std::snprintf(text, sizeof text, "%s%s: %s", name, Up_String(3), Up_String(12));
    Up_ReportErrString(kBirthLocation, U_Sev_FATAL, text);
    DestroyRecord();
    Up_RemoveReportingNewHandler();
}

// --- Steps of a death ------------------------------------------------------------------------------------

void RemoveProcessHandlers()
{
    if (g_isRunningAsLibrary) return;
    Up_RemoveTerminateHandler();
    SetupHardwareExceptionHandling(false);
}

// The last chance of what is posted. A dialog that throws costs its own error only: each attempt takes at least
// one error off the list, and there are no more attempts than errors, as a failure may be posted in turn.
Err ShowAllPosted()
{
    Err first = U_Err_NONE;
    for (int attempts = U_GetNumPostedErrors(); attempts > 0; --attempts) {
        const Err code = U_TrySection(U_DisplayPostedErrors);
        if (code == U_Err_NONE) break;
        if (first == U_Err_NONE) first = code;
    }
    return first;
}

/// Runs every step, whatever another one throws (a dialog, say), so that no half of a library is left behind.
/// Gives the first code that is not 0.
template <class... Steps>
Err RunAll(Steps&&... steps)
{
    Err first = U_Err_NONE;
    const auto run = [&](auto&& step) {
        const Err code = U_TrySection(step);
        if (first == U_Err_NONE) first = code;
    };
    (run(steps), ...);
    return first;
}

}  // namespace

Err U_Birth(const char* name, unsigned char runningAsLibrary)
{
    if (!name) name = "";
    if (const Err code = AnnounceBirth(runningAsLibrary != 0); code != 0) return code;
    if (Up_InitializeMemorySubsystem() != 0) return U_Err_OUT_OF_MEMORY;
    if (!g_isRunningAsLibrary) {
        if (const Err code = InstallProcessHandlers(); code != 0) return code;
    }
    if (const Err code = U_TrySection(Up_BirthTranslators); code != 0) return code;
    const Err code = BirthRecordAndServices(name);
    if (code != 0) AbandonBirth(name);
    return code;
}

Err U_Death()
{
    ALOG_Log(10, "U", "Death", "U Death");
    const Err code = Up_CheckMagic(Up_Routine_Death, nullptr);
    U_SetSketchbotValuesForUErrors(nullptr, {});
    if (code != 0) return code;
    return RunAll([] { U_RenderContext::UnregisterState(U::BigMutexState::S_StateName); },
                  RemoveProcessHandlers, Up_TerminateHogs, ShowAllPosted, Up_ZLStrDeath, U_ZLocaleDeath,
                  DestroyRecord, Up_RemoveReportingNewHandler, Up_TerminateMemorySubsystem,
                  Up_DeathTranslators, Up_DeathErrors);
}

bool U_IsQLRunningAsLibrary()
{
    return g_isRunningAsLibrary;
}

Err Up_BirthErrors()
{
    return U_TrySection(Up_BirthErrorStorage);
}

void Up_DeathErrors()
{
    Up_DeathErrorStorage();
}
