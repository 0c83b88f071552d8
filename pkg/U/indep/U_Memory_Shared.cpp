// The shared allocation path, but for the call itself: tests, purging between passes, traces and the report.
#include "ALOG.h"
#include "Up_AllocateShared.h"
#include "Up_Saturate.h"
#include "Up_TraceLine.h"

namespace {

constexpr const char* kUnnamedCaller = "Unidentified caller.";

bool IsBeyondRequestLimit(unsigned long long size)
{
    return (size >> kRequestLimitShift) != 0;
}

}  // namespace

bool Up_AllocationPasses::PassesTests()
{
    if (IsBeyondRequestLimit(m_size)) {
        if (m_callerName) Up_ReportAllocFailure(m_failureCode, m_size, nullptr, false);
        return false;
    }
    if (Up_OkayToAllocBlock(m_size, &m_okay, m_recycled) != 0) return false;
    if (m_okay == 0) {
        static constinit U_TraceLine s_line("U", 5);
        s_line([&] {
            return ALOG_convertMesg("Up_AllocateShared", "Up_OkayToAllocBlock did not say ok, size=%lld",
                                    static_cast<long long>(m_size));
        });
    }
    return true;
}

bool Up_AllocationPasses::TryAgain(bool succeeded)
{
    const bool first = m_retries == 0;
    ++m_retries;
    if (succeeded) return false;
    PurgeAfterFailure();
    return first || m_inUse < m_lastInUse;
}

void Up_AllocationPasses::PurgeAfterFailure()
{
    static constinit U_TraceLine s_failed("U", 5);
    s_failed([&] {
        return ALOG_convertMesg("ALLOC_OP_FAILED",
                                "Fragmentation or other resource constraint\treqsize Kb:%d",
                                static_cast<int>(m_size >> 10));
    });
    if (m_callerName) {
        static constinit U_TraceLine s_named("U", 5);
        s_named([&] { return ALOG_convertMesg("ALLOC_OP_FAILED", "OpName:%s", m_callerName); });
    }
    // The purge aims well past the request: at all the room below the limit and the request besides.
    unsigned long long amount = 0;
    const U_MemStat freeBytes = m_recycled ? U_MemStat_FREE_WITH_RECYCLED : U_MemStat_FREE_BELOW_FIRST;
    if (m_statError == 0) m_statError = U_GetMemoryStat(freeBytes, &amount);
    Up_MakeRoomForBlock(Up_Sum(amount, m_size), m_recycled);
    m_lastInUse = m_inUse;
    if (m_statError == 0) m_statError = Up_GetMemoryStat(U_MemStat_IN_USE_TOO, &m_inUse, !m_recycled);
}

void Up_AllocationPasses::Finish(bool succeeded) const
{
    if (m_retries > 1) {
        static constinit U_TraceLine s_recovery("U", 5);
        s_recovery([&] {
            return ALOG_convertMesg("ALLOC_OP_FAILED_RECOVERY_STAT", "success:%s, retries:%d",
                                    succeeded ? "t" : "f", m_retries - 1);
        });
    }
    if (succeeded) return;
    const char* name = m_callerName ? m_callerName : kUnnamedCaller;
    static constinit U_TraceLine s_lost("U", 5);
    s_lost([&] { return ALOG_convertMesg("ALLOC_FAILED_UNABLE_TO_RECOVER", "what:%s", name); });
    if (m_callerName) Up_ReportAllocFailure(m_failureCode, m_size, name, m_okay != 0);
}

bool Up_AsyncRequestPasses(unsigned failureCode, unsigned long long size)
{
    if (IsBeyondRequestLimit(size)) {
        Up_ReportAllocFailure(failureCode, size, nullptr, false);
        return false;
    }
    Up_MakeRoomForBlockWithAsyncPurging(size);
    return true;
}

void Up_ReportAsyncFailure(unsigned failureCode, const char* callerName, unsigned long long size)
{
    Up_ReportAllocFailure(failureCode, size, callerName ? callerName : kUnnamedCaller, true);
}
