// The global record: its integrity, the dead flag, the name, the counts and the table of logging callbacks.
#include "Up_Globals.h"

#include <cstring>

#include "U.h"
#include "Up_Err.h"
#include "Up_ErrText.h"

// From birth to death; without a guard, as birth and death have the library to themselves.
U_GlobalsRecord** Up_G_id = nullptr;

namespace {

constexpr unsigned kModule = 0x170000;
constexpr unsigned kAddCallbackLocation = kModule | 21;
constexpr unsigned kRemoveCallbackLocation = kModule | 22;

// The host's number; from load to unload, across births.
std::atomic<int> S_RunMode{0};

bool IsIntact(const U_GlobalsRecord& record)
{
    return record.headMagic == Up_kMagic && record.tailMagic == Up_kMagic;
}

void ReportBrokenRecord(short routineCode, const char* text)
{
    Up_ReportErrString(kModule | static_cast<uint16_t>(routineCode), U_Sev_FATAL, text);
}

/// Runs `body` on the record under the mutex of its table.
template <class Body>
Err WithLoggingTable(short routineCode, Body&& body)
{
    return U_TrySection([&]() -> Err {
        if (const Err code = Up_CheckMagic(routineCode, nullptr); code != 0) return code;
        U_GlobalsRecord& record = *Up_Globals();
        const zvkcore::threads::RecursiveMutex::ScopedLock lock(*record.mutex, nullptr,
                                                                Up_kLockTimeoutMilliseconds);
        return body(record);
    });
}

}  // namespace

short Up_CheckMagic(short routineCode, char* name)
{
    const U_GlobalsRecord* record = Up_Globals();
    if (!record) {
        if (name) {
            char text[Up_kLoggingBufferSize];
            Up_FormatRow(text, sizeof text, Up_String(10), {name});
            ReportBrokenRecord(routineCode, text);
        } else {
            ReportBrokenRecord(routineCode, Up_String(9));
        }
        return U_Err_UNBORN;
    }
    if (!IsIntact(*record)) {
        ReportBrokenRecord(routineCode, Up_String(11));
        Up_SetDeadWithFatalError();
        return U_Err_DAMAGED;
    }
    return U_Err_NONE;
}

// Without a record there is nothing to mark: a missing record is itself reported as fatal, and comes by here.
void Up_SetDeadWithFatalError()
{
    U_GlobalsRecord* record = Up_Globals();
    if (!record) return;
    int32_t dead = record->deadWithFatalError.load(std::memory_order_acquire);
    while (!record->deadWithFatalError.compare_exchange_weak(dead, 1, std::memory_order_acq_rel)) {
    }
}

unsigned char U_IsDeadWithFatalError()
{
    const U_GlobalsRecord* record = Up_Globals();
    if (record && IsIntact(*record)) {
        return static_cast<unsigned char>(record->deadWithFatalError.load(std::memory_order_acquire));
    }
    Up_Beep();
    Up_Beep();
    return 1;
}

void U_Beep()
{
    Up_Beep();
}

int U_GetRunMode()
{
    return S_RunMode.load();
}

int U_SetRunMode(int mode)
{
    S_RunMode.store(mode);
    return mode;
}

Err U_GetName(char* out)
{
    if (!out) return U_Err_BAD_PARAMETER;
    return U_TrySection([&]() -> Err {
        if (const Err code = Up_CheckMagic(Up_Routine_GetName, nullptr); code != 0) return code;
        std::memcpy(out, Up_Globals()->name, Up_kNameSize);
        return U_Err_NONE;
    });
}

Err U_GetHowManyErrors(int* out)
{
    return U_TrySection([&]() -> Err {
        if (const Err code = Up_CheckMagic(Up_Routine_GetHowManyErrors, nullptr); code != 0) return code;
        if (out) *out = Up_Globals()->howManyErrors.load();
        return U_Err_NONE;
    });
}

void Up_SetHowManyErrors(int count)
{
    if (Up_CheckMagic(Up_Routine_SetHowManyErrors, nullptr) == 0) Up_Globals()->howManyErrors.store(count);
}

void U_IncrementPostErrors()
{
    if (U_GlobalsRecord* record = Up_Globals()) record->postErrorsDepth.fetch_add(1);
}

void U_DecrementPostErrors()
{
    if (U_GlobalsRecord* record = Up_Globals()) record->postErrorsDepth.fetch_sub(1);
}

// --- Logging callbacks -----------------------------------------------------------------------------------

Err U_AddLoggingCallback(U_LoggingFunc func, void* refcon)
{
    if (!func) {
        U_ReportFailedVerification(kAddCallbackLocation, __LINE__, nullptr, nullptr);
        return U_Err_BAD_PARAMETER;
    }
    bool full = false;
    const Err code = WithLoggingTable(Up_Routine_AddLoggingCallback, [&](U_GlobalsRecord& record) -> Err {
        for (int slot = 0; slot < Up_kLoggingSlots; ++slot) {
            if (record.loggingFuncs[slot]) continue;
            record.loggingFuncs[slot] = func;
            record.loggingRefCons[slot] = refcon;
            return U_Err_NONE;
        }
        full = true;
        return U_Err_BAD_PARAMETER;
    });
    if (full) {
        U_ReportFailedVerification(kAddCallbackLocation, __LINE__, nullptr,
                                   "can not add any more logging_funcs");
    }
    return code;
}

Err U_RemoveLoggingCallback(U_LoggingFunc func, void* refcon)
{
    if (!func) {
        U_ReportFailedVerification(kRemoveCallbackLocation, __LINE__, nullptr,
                                   "logging_func can not be NULL");
        return U_Err_BAD_PARAMETER;
    }
    return WithLoggingTable(Up_Routine_RemoveLoggingCallback, [&](U_GlobalsRecord& record) -> Err {
        for (int slot = 0; slot < Up_kLoggingSlots; ++slot) {
            if (record.loggingFuncs[slot] != func || record.loggingRefCons[slot] != refcon) continue;
            record.loggingFuncs[slot] = nullptr;
            record.loggingRefCons[slot] = nullptr;
            break;
        }
        return U_Err_NONE;
    });
}
