/// The one record that proves that the library is alive and undamaged.
#ifndef UP_GLOBALS_H
#define UP_GLOBALS_H

#include <atomic>
#include <cstdint>

#include "U_Err.h"
#include "zvkcore/threads/RecursiveMutex.h"

constexpr uint32_t Up_kMagic = 71784;  // 0x11868
constexpr size_t Up_kNameSize = 31;    // 30 bytes and the terminator
constexpr int Up_kLoggingSlots = 10;

/// How long the library waits for one of its mutexes before it gives up with an exception.
constexpr int Up_kLockTimeoutMilliseconds = 60000;

struct U_GlobalsRecord {
    uint32_t headMagic;
    std::atomic<int32_t> deadWithFatalError;  // 0 alive, 1 dead; read with acquire order
    char name[Up_kNameSize];
    zvkcore::threads::RecursiveMutex* mutex;  // owned; guards the two tables below and nothing else
    U_LoggingFunc loggingFuncs[Up_kLoggingSlots];
    void* loggingRefCons[Up_kLoggingSlots];
    std::atomic<int32_t> howManyErrors;
    std::atomic<int32_t> postErrorsDepth;
    uint32_t tailMagic;
};

/// The handle of the record: null while the library is not born. Written by birth and death only.
extern U_GlobalsRecord** Up_G_id;

/// The record, or null while the library is not born. Whether it is damaged is not asked.
inline U_GlobalsRecord* Up_Globals()
{
    return Up_G_id ? *Up_G_id : nullptr;
}

/// The callers of `Up_CheckMagic`, as they stand in the low half of the reported location.
enum Up_Routine : short {
    Up_Routine_Death = 4,
    Up_Routine_GetName = 9,
    Up_Routine_GetHowManyErrors = 12,
    Up_Routine_AddLoggingCallback = 21,
    Up_Routine_RemoveLoggingCallback = 22,
    Up_Routine_SetHowManyErrors = 29
};

/// The integrity check of those functions: reports what is wrong as U_Sev_FATAL.
///
/// name     what could not be reported, for the message about a missing record; null for none
/// returns  0; 0x1701 without a record; 2 for a damaged one, which also marks the library dead
short Up_CheckMagic(short routineCode, char* name);

/// Marks the library dead; nothing happens without a record.
void Up_SetDeadWithFatalError();

/// Sets the error count (`U_GetHowManyErrors`), after the check.
void Up_SetHowManyErrors(int count);

/// The platform's beep.
void Up_Beep();

#endif
