// What a host wants to run before the process ends: one handler for all threads, and one a thread, which
// wins.
#include <array>
#include <cstdlib>
#include <utility>

#include "ALOG.h"
#include "U_Telemetry.h"
#include "Up_Globals.h"
#include "Up_Handlers.h"
#include "Up_Signals.h"

namespace {

struct HardwareExceptionHandler {
    U_UnhandledExceptionHandler function = nullptr;
    void* refcon = nullptr;

    void Get(U_UnhandledExceptionHandler* function_out, void** refcon_out) const
    {
        if (function_out) *function_out = function;
        if (refcon_out) *refcon_out = refcon;
    }
};

// 16-bit text without an allocation, as the signal handler hands it on.
constexpr auto kInvokingCrashHandler = [] {
    constexpr char kText[] = "InvokingCrashHandler";
    std::array<unsigned short, sizeof kText> units{};
    for (size_t at = 0; at < sizeof kText; ++at) units[at] = static_cast<unsigned short>(kText[at]);
    return units;
}();
constexpr unsigned short kNoStage[] = {0};

// Process-wide, from load to unload. The mutex guards the global handler; the local one belongs to its
// thread.
zvkcore::threads::RecursiveMutex g_handlerMutex{"U.UnhandledExceptionHandler"};
HardwareExceptionHandler g_global;
thread_local constinit HardwareExceptionHandler t_local;

// How far a crash has come, for telemetry; set before the first fault can be caught, read in the signal
// handler.
const unsigned short* g_crashStage = kNoStage;

// The terminate handler that stood before ours; from birth to death.
std::terminate_handler g_formerTerminate = nullptr;

using HandlerLock = zvkcore::threads::RecursiveMutex::ScopedLock;

void RunHandlerThatCounts()
{
    HardwareExceptionHandler handler;
    U_GetUnhandledExceptionOrHardwareErrorHandler(&handler.function, &handler.refcon);
    if (handler.function) handler.function(handler.refcon);
    ALOG_Log(0, "U", "HANDLER", "Returned from app registered handler");
}

}  // namespace

void U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(U_UnhandledExceptionHandler handler, void* refcon)
{
    const HandlerLock lock(g_handlerMutex, nullptr, Up_kLockTimeoutMilliseconds);
    g_global = {handler, refcon};
}

void U_GetGlobalUnhandledExceptionOrHardwareErrorHandler(U_UnhandledExceptionHandler* handler, void** refcon)
{
    const HandlerLock lock(g_handlerMutex, nullptr, Up_kLockTimeoutMilliseconds);
    g_global.Get(handler, refcon);
}

void U_SetLocalUnhandledExceptionOrHardwareErrorHandler(U_UnhandledExceptionHandler handler, void* refcon)
{
    t_local = {handler, refcon};
}

void U_GetLocalUnhandledExceptionOrHardwareErrorHandler(U_UnhandledExceptionHandler* handler, void** refcon)
{
    t_local.Get(handler, refcon);
}

void U_GetUnhandledExceptionOrHardwareErrorHandler(U_UnhandledExceptionHandler* handler, void** refcon)
{
    HardwareExceptionHandler().Get(handler, refcon);
    if (t_local.function) {
        t_local.Get(handler, refcon);
    } else {
        U_GetGlobalUnhandledExceptionOrHardwareErrorHandler(handler, refcon);
    }
}

U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler::
    U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler(U_UnhandledExceptionHandler handler,
                                                              void* refcon)
{
    t_local.Get(&m_handler, &m_refcon);
    t_local = {handler, refcon};
}

U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler::
    ~U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler()
{
    t_local = {m_handler, m_refcon};
}

void Up_InvokeUnhandledExceptionOrHardwareErrorHandler()
{
    RunHandlerThatCounts();
}

// --- Signals ---------------------------------------------------------------------------------------------

Err SetupHardwareExceptionHandling(bool install)
{
    if (install) g_crashStage = kInvokingCrashHandler.data();
    Up_SetSignalAction(install ? Up_ExceptionHandler : nullptr);
    return U_Err_NONE;
}

void Up_ExceptionHandler(int signal)
{
    // First of all, so that a fault in here ends the process instead of coming back.
    Up_SetSignalAction(nullptr);
    U::telemetry::LogEvent("Stage", "CrashHandler", g_crashStage, {});
    Up_InvokeUnhandledExceptionOrHardwareErrorHandler();
    if (Up_IsAbortSignal(signal)) std::abort();
}

// --- Terminate -------------------------------------------------------------------------------------------

void Up_terminate_handler()
{
    RunHandlerThatCounts();
    if (g_formerTerminate) g_formerTerminate();
    // A terminate handler must not return.
    std::abort();
}

void Up_InstallTerminateHandler()
{
    const std::terminate_handler former = std::set_terminate(Up_terminate_handler);
    if (former != Up_terminate_handler) g_formerTerminate = former;
}

void Up_RemoveTerminateHandler()
{
    std::set_terminate(std::exchange(g_formerTerminate, nullptr));
}
