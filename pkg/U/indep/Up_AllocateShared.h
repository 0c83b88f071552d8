// The one path of every request that is large enough to be worth a purge.
//
// `Up_AllocateShared` runs an allocator call: first the limit test, then the call, and while the call fails and
// purging frees something, a purge and the call again; at last the report. What does not depend on the type of the
// call stands in U_Memory_Shared.cpp.
#ifndef UP_ALLOCATESHARED_H
#define UP_ALLOCATESHARED_H

#include <cstdint>
#include <cstring>

#include "Up_Memory.h"
#include "zvkappsupport/feature/Feature.h"

inline void Up_ClearBlock(void* block, unsigned long long size)
{
    std::memset(block, 0, size);
}

/// A handle is cleared in what it points at.
inline void Up_ClearBlock(char** handle, unsigned long long size)
{
    if (*handle) std::memset(*handle, 0, size);
}

/// The passes of one request, under direct purging.
class Up_AllocationPasses {
  public:
    Up_AllocationPasses(unsigned failureCode, const char* callerName, unsigned long long size, bool recycled)
        : m_failureCode(failureCode), m_callerName(callerName), m_size(size), m_recycled(recycled)
    {
    }

    /// False ends the request without a block: it is too large, which is reported, or the limit test failed,
    /// which is not.
    bool PassesTests();

    /// Whether the allocator may be called at all.
    bool MayTry() const { return m_okay != 0; }

    /// Notes a pass. When it failed, purges, and tells whether another one is worth it: behind the first always,
    /// behind others while the last purge freed something.
    bool TryAgain(bool succeeded);

    /// Traces how it went, and reports a failure if the request has a caller.
    void Finish(bool succeeded) const;

    /// Wanted: a block that was made after a statistic had failed is not cleared, though the request asked for it.
    bool MayClear() const { return m_statError == 0; }

  private:
    void PurgeAfterFailure();

    unsigned m_failureCode;
    const char* m_callerName;
    unsigned long long m_size;
    bool m_recycled;
    unsigned char m_okay = 1;
    Err m_statError = 0;
    std::int16_t m_retries = 0;
    unsigned long long m_lastInUse = 0;
    unsigned long long m_inUse = 0;
};

/// Tells whether a request passes under purging by signal; signals the host if so, and reports if not.
bool Up_AsyncRequestPasses(unsigned failureCode, unsigned long long size);
void Up_ReportAsyncFailure(unsigned failureCode, const char* callerName, unsigned long long size);

/// Purging by signal: one attempt, and a failure is reported whether or not there is a caller.
template <class Call, class Result>
void Up_AllocateSharedWithAsyncPurging(Call& call, unsigned failureCode, const char* callerName,
                                       unsigned long long size, unsigned char clear, Result* result)
{
    *result = nullptr;
    if (!Up_AsyncRequestPasses(failureCode, size)) return;
    *result = call();
    if (!*result) {
        Up_ReportAsyncFailure(failureCode, callerName, size);
    } else if (clear) {
        Up_ClearBlock(*result, size);
    }
}

/// call        takes nothing and gives the block, or null on failure
/// callerName  null for a request that keeps quiet
/// result      receives the block, or null
/// recycled    the block comes from the recycler, so its pool counts as free
template <class Call, class Result>
void Up_AllocateShared(Call&& call, unsigned failureCode, const char* callerName, unsigned long long size,
                       unsigned char clear, Result* result, bool recycled)
{
    if (zvkappsupport::feature::IsFeatureEnabled(GetAsyncPurgingFeatureID())) {
        Up_AllocateSharedWithAsyncPurging(call, failureCode, callerName, size, clear, result);
        return;
    }
    *result = nullptr;
    Up_AllocationPasses passes(failureCode, callerName, size, recycled);
    if (!passes.PassesTests()) return;
    if (passes.MayTry()) {
        do {
            *result = call();
        } while (passes.TryAgain(*result != nullptr));
    }
    passes.Finish(*result != nullptr);
    if (passes.MayClear() && *result && clear) Up_ClearBlock(*result, size);
}

#endif
