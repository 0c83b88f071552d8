/// Start and stop of the library, what runs when something goes badly wrong, and the roles of threads.
///
///     int main()
///     {
///         if (U_Birth("Sample", 0) != 0) return 1;
///         U_AllowPurging();
///         ...
///         return U_Death();
///     }
///
/// `U_Birth` comes first and `U_Death` last; only thread registration, the handlers and the run mode work
/// before a birth. Birth and death take no lock: they belong to one thread, at a time when no other uses the
/// library. Memory limits and purge callbacks are set after the birth (U_Memory.h), the console log file is
/// opened before it (ALOG.h).
///
/// Functions return 0 or an error code (U_Types.h) where they return `Err`. Any thread may call what does not
/// say otherwise.
#ifndef U_H
#define U_H

#include "U_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

// --- Start and stop --------------------------------------------------------------------------------------

/// Starts the library and registers the calling thread as a main thread.
///
/// name              the program's name, in front of every report. Cut at 30 bytes, on a character boundary
/// runningAsLibrary  0: the library takes SIGBUS, SIGILL, SIGSEGV and SIGUSR1 and the terminate handler, so
///                   that a crash reaches the host's unhandled-exception handler. 1: the process belongs to
///                   somebody else and nothing of the kind is touched
/// returns           0, or the code of the first step that failed: 4 when memory ran out. After a failure the
///                   library is unborn; services that had started stay up, for the next birth to take over
///
/// A second birth without a death between is not refused: it builds everything anew and loses the first
/// record.
U_EXPORT Err U_Birth(const char* name, unsigned char runningAsLibrary);

/// Stops the library: shows what is still posted, then undoes the birth. What is reported later is lost.
///
/// returns  0; 0x1701 when the library is not born and 2 when its record is damaged, where only the references
///          for dialogs have been dropped. Any other code is that of an exception on the way, such as one that
///          a dialog presenter threw; the library is unborn all the same
U_EXPORT Err U_Death(void);

/// Whether the last birth was told that the host runs the library as a library.
U_EXPORT bool U_IsQLRunningAsLibrary(void);

/// A number that the library keeps for the host and gives no meaning; 0 until set. Works without a birth.
U_EXPORT int U_GetRunMode(void);

/// Sets the number, and returns it.
U_EXPORT int U_SetRunMode(int mode);

/// Whether a fatal report, or damage, has ended the library's life: 1 when it has. 1, with two beeps, also
/// when there is no record or a damaged one.
U_EXPORT unsigned char U_IsDeadWithFatalError(void);

/// Copies the program's name.
///
/// out      room for at least 31 bytes
/// returns  0; 0x1701 unborn; 2 damaged (both reported)
U_EXPORT Err U_GetName(char* out);

/// A beep: the terminal's bell when standard error is a terminal, nothing elsewhere.
U_EXPORT void U_Beep(void);

// --- Unhandled exceptions and hardware faults ------------------------------------------------------------

/// What a host wants to run when the process is about to end, by a fault or by `std::terminate`.
///
/// when     on the faulting thread, with the default disposition of the four signals back in force
/// must     return; then the process ends the way it would have ended. May run inside a signal handler
/// default  nothing
typedef void (*U_UnhandledExceptionHandler)(void* refcon);

/// The handler of all threads that have none of their own. Null for none.
U_EXPORT void U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(U_UnhandledExceptionHandler handler,
                                                                  void* refcon);
U_EXPORT void U_GetGlobalUnhandledExceptionOrHardwareErrorHandler(U_UnhandledExceptionHandler* handler,
                                                                  void** refcon);

/// The handler of the calling thread. Null for none. It always wins over the global one.
U_EXPORT void U_SetLocalUnhandledExceptionOrHardwareErrorHandler(U_UnhandledExceptionHandler handler,
                                                                 void* refcon);
U_EXPORT void U_GetLocalUnhandledExceptionOrHardwareErrorHandler(U_UnhandledExceptionHandler* handler,
                                                                 void** refcon);

/// The handler that counts on the calling thread; both outputs are null without one.
U_EXPORT void U_GetUnhandledExceptionOrHardwareErrorHandler(U_UnhandledExceptionHandler* handler,
                                                            void** refcon);

/// Takes (or gives back to the default disposition) SIGBUS, SIGILL, SIGSEGV and SIGUSR1. Birth and death call
/// it for a host that does not run the library as a library. Returns 0.
U_EXPORT Err SetupHardwareExceptionHandling(bool install);

// --- Thread roles ----------------------------------------------------------------------------------------
// A thread is known by its id. The host says which threads have which role, and the library asks: a dialog
// appears on the UI thread only, rendering code checks that it runs where it should. Registration works
// before a birth. Main, render and inter-frame render roles may have any number of threads. A thread that
// registers twice stands there twice and leaves with its second deregistration. PSL and PR have one thread
// each: a later registration replaces the former.

/// The calling thread's id: never 0, never one of the two highest numbers.
U_EXPORT unsigned long U_GetCurrentThreadID(void);

/// Whether the caller is the UI thread: the process's initial thread, unless the host named another to
/// `zvkcore::threads`. It need not stand in the list of main threads.
U_EXPORT bool U_IsOnUIThread(void);

/// Registers a thread; `id` -1 (or -2) stands for the caller.
U_EXPORT void U_RegisterMainThread(unsigned long id);
/// Takes one entry of the caller out; an absent caller is no error.
U_EXPORT void U_DeregisterMainThread(void);
U_EXPORT bool U_IsMainThreadID(unsigned long id);
U_EXPORT bool U_IsOnMainThread(void);

U_EXPORT void U_RegisterRenderThread(void);
/// Takes one entry of the caller out. An absent caller trips a debug assertion, and nothing else happens.
U_EXPORT void U_DeregisterRenderThread(void);
U_EXPORT bool U_IsRenderThreadID(unsigned long id);
U_EXPORT bool U_IsOnRenderThread(void);

U_EXPORT void U_RegisterInterFrameRenderThread(void);
/// Takes one entry of the caller out; an absent caller is no error.
U_EXPORT void U_DeregisterInterFrameRenderThread(void);
U_EXPORT bool U_IsInterFrameRenderThreadID(unsigned long id);
U_EXPORT bool U_IsOnInterFrameRenderThread(void);

/// The PSL thread's id, all ones without one. Registered before the role's thread does its work.
U_EXPORT unsigned long U_PSLThreadID(void);
U_EXPORT bool U_IsOnPSLThread(void);
U_EXPORT void U_RegisterPSLThread(void);
U_EXPORT void U_DeregisterPSLThread(void);

/// The PR thread's id, all ones without one. Registered before the role's thread does its work.
U_EXPORT unsigned long U_PRThreadID(void);
U_EXPORT bool U_IsOnPRThread(void);
U_EXPORT void U_RegisterPRThread(void);
U_EXPORT void U_DeregisterPRThread(void);

/// How many threads a piece of work should use at most: the CPU count times the debug key
/// "QL.MultiplierForMaxIntraThreadsR" (160 by default) over 100, truncated. Both are read once a process.
U_EXPORT int U_GetMaxNumThreads(void);

/// The CPU count, 32 at most, for work whose tables have 32 places.
U_EXPORT int U_GetMaxNumThreadsLegacy(void);

#ifdef __cplusplus
}

#include <exception>
#include <functional>

#include "U_TrySection.h"

/// Installs a handler for the calling thread and puts the former one back at its end. Belongs on the stack.
class U_EXPORT U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler {
  public:
    U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler(U_UnhandledExceptionHandler handler,
                                                              void* refcon);
    ~U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler();
    U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler(
        const U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler&) = delete;
    U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler& operator=(
        const U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler&) = delete;

  private:
    U_UnhandledExceptionHandler m_handler;
    void* m_refcon;
};

/// Registers the calling thread as a render thread for its lifetime. Belongs on the stack of the thread's
/// main function.
class U_EXPORT U_RenderThreadRegistration {
  public:
    U_RenderThreadRegistration();
    ~U_RenderThreadRegistration();
    U_RenderThreadRegistration(const U_RenderThreadRegistration&) = delete;
    U_RenderThreadRegistration& operator=(const U_RenderThreadRegistration&) = delete;
};

/// The same for the inter-frame render role.
class U_EXPORT U_InterFrameRenderThreadRegistration {
  public:
    U_InterFrameRenderThreadRegistration();
    ~U_InterFrameRenderThreadRegistration();
    U_InterFrameRenderThreadRegistration(const U_InterFrameRenderThreadRegistration&) = delete;
    U_InterFrameRenderThreadRegistration& operator=(const U_InterFrameRenderThreadRegistration&) = delete;
};

// --- Exceptions ------------------------------------------------------------------------------------------

/// Registers a translator: something that knows an exception type and gives it an error code.
///
/// when     `U_TrySection` met a `std::exception` that is neither `std::bad_alloc` nor `std::bad_cast`.
///          Translators are asked one thread at a time, the latest registered first, until one returns true
/// must     return true and write the code, or return false. May register and unregister; must not throw
///          (then it counts as one that does not know the exception)
/// default  a line in the log, the warning "Unknown Exception.", and the code 14
/// returns  the key to unregister it with, from 100 up; 0 when the library is not born. A birth starts
///          without translators
U_EXPORT unsigned U_RegisterExceptionTranslatorImpl(std::function<bool(std::exception*, int*)> translator);

/// Takes a translator out. An unknown key is ignored.
U_EXPORT void U_UnregisterExceptionTranslator(unsigned key);

/// Reports that the project at hand looks damaged, under `errorCode` as location, and throws the `int` 2.
[[noreturn]] U_EXPORT void U_Throw_Damaged_Project(unsigned errorCode);

#endif
#endif
