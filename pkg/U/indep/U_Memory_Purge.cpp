// Direct purging: the allocating thread asks the host to purge until enough is free.
//
// State: the host's two callbacks and the count that suspends purging, atomic words from load time; and a mark a
// thread that it is inside a purge callback, so that a callback which allocates does not purge in turn.
#include <atomic>

#include "ALOG.h"
#include "U_TrySection.h"
#include "Up_Memory.h"
#include "Up_PurgeGuard.h"
#include "Up_Saturate.h"
#include "Up_TraceLine.h"

namespace {

constinit std::atomic<U_PurgeRequestCallback> g_purgeRequest{nullptr};
constinit std::atomic<U_PurgeStatusCallback> g_purgeStatus{nullptr};
constinit std::atomic<std::int32_t> g_disableCount{0};

// Once a purge starts it aims this much of the threshold past the request, so that the next allocations do not
// purge again at once.
constexpr double kBeyondRequest = 0.02;

// A block of the recycler may push the sum with the pool over the limit though it fits below it without.
void MakeRoomBesidePool(unsigned long long size, Up_Amounts& amounts)
{
    amounts = Up_AmountsFor(true, 0);
    if (amounts.amount == 0) return;
    static constinit U_TraceLine s_line("U", 5);
    s_line([&] {
        return ALOG_convertMesg("MEM",
                                "Amount Requested above tracked usage thresh (including recycled). "
                                "used:\t%llu\trequest:\t%llu\tthresh:%llu, amoutToPurge=%lld",
                                amounts.used, size, amounts.threshold,
                                static_cast<long long>(amounts.amount));
    });
    Up_MakeRoomForBlock(Up_Sum(amounts.amount, size), true);
    if (U_GetRecycledMemorySize() > amounts.amount) {
        U_PurgeRecycledMemory(amounts.amount);
    } else {
        Up_MakeRoomForBlock(1, false);
    }
}

void MakeRoomBelowLimit(unsigned long long size, bool recycled, Up_Amounts& amounts)
{
    amounts = Up_AmountsFor(!recycled, size);
    if (amounts.amount == 0) {
        if (recycled) MakeRoomBesidePool(size, amounts);
        return;
    }
    const std::uint64_t target =
        Up_FromDouble(static_cast<double>(size) + kBeyondRequest * static_cast<double>(amounts.threshold));
    static constinit U_TraceLine s_line("U", 6);
    s_line([&] {
        return ALOG_convertMesg(
            "MEM", "Amount Requested above tracked usage thresh. used:\t%llu\trequest:\t%llu\tthresh:%llu",
            amounts.used, size, amounts.threshold);
    });
    Up_MakeRoomForBlock(target, recycled);
}

// One purge: rounds of the host's callback until there is room or nothing more comes free. The conditions are
// tested in this order.
class Purge {
  public:
    Purge(U_PurgeRequestCallback callback, unsigned long long request, bool recycled)
        : m_callback(callback), m_request(request), m_recycled(recycled)
    {
    }

    void Run()
    {
        for (;;) {
            const Up_Amounts amounts = Up_AmountsFor(!m_recycled, m_request);
            if (amounts.amount == 0) return TraceUnderThreshold(amounts);
            if (!m_isFirstRound && amounts.used >= m_lastUsed) {
                if (!TakeFromPool(amounts.amount)) return;
            } else if (!AskHost(amounts.amount)) {
                return;
            }
            m_lastUsed = amounts.used;
            m_isFirstRound = false;  // a flag of its own: in use may be 0, when the probe says so
        }
    }

  private:
    void TraceUnderThreshold(const Up_Amounts& amounts) const
    {
        static constinit U_TraceLine s_line("U", 5);
        s_line([&] {
            return ALOG_convertMesg(
                kTag, "DONE. Under threshold with inUse=%lld, prepurgelimit=%lld, request=%lld, recycled=%d",
                static_cast<long long>(amounts.used), static_cast<long long>(amounts.threshold),
                static_cast<long long>(m_request), m_recycled ? 1 : 0);
        });
    }

    // The last round freed nothing. The pool is a last resort, if the host has given it up and the request is not
    // one that counts it as free anyway.
    bool TakeFromPool(unsigned long long amount)
    {
        if (!m_purgeRecycled || m_recycled) {
            static constinit U_TraceLine s_line("U", 5);
            s_line([&] {
                return ALOG_convertMesg(
                    kTag, "DONE. Purge not freeing anything (but maybe recycled memory), recycled=%d",
                    m_recycled ? 1 : 0);
            });
            return false;
        }
        if (U_PurgeRecycledMemory(amount) >= amount) return true;
        static constinit U_TraceLine s_line("U", 5);
        s_line([] { return ALOG_convertMesg(kTag, "DONE. Purge recycled not freeing anything"); });
        return false;
    }

    bool AskHost(unsigned long long amount)
    {
        static constinit U_TraceLine s_line("U", 5);
        s_line([&] {
            return ALOG_convertMesg(kTag, "Issuing Purge Request\tblock_request:\t%llu\tamt_to_purge:\t%lld",
                                    m_request, static_cast<long long>(amount));
        });
        Up_PurgeGuard guard;
        return m_callback(m_request, amount, &m_purgeRecycled) == 0;
    }

    static constexpr const char* kTag = "MAKE_ROOM_FOR_BLOCK";

    U_PurgeRequestCallback m_callback;
    unsigned long long m_request;
    bool m_recycled;
    unsigned long long m_lastUsed = 0;
    bool m_isFirstRound = true;
    bool m_purgeRecycled = false;  // the host's answer, which persists over the rounds
};

}  // namespace

Err U_SetPurgeRequestCallback(U_PurgeRequestCallback callback)
{
    g_purgeRequest = callback;
    return U_Err_NONE;
}

Err U_GetPurgeRequestCallback(U_PurgeRequestCallback* callback)
{
    if (callback) *callback = g_purgeRequest;
    return U_Err_NONE;
}

void U_SetPurgeStatusCallback(U_PurgeStatusCallback callback)
{
    g_purgeStatus = callback;
}

void U_GetPurgeStatusCallback(U_PurgeStatusCallback* callback)
{
    if (callback) *callback = g_purgeStatus;
}

U_ScDisableProactivePrePurging::U_ScDisableProactivePrePurging()
{
    ++g_disableCount;
}

U_ScDisableProactivePrePurging::~U_ScDisableProactivePrePurging()
{
    --g_disableCount;
}

bool Up_IsProactivePurgeDisabled()
{
    return g_disableCount.load() > 0;
}

Err Up_OkayToAllocBlock(unsigned long long size, unsigned char* ok, bool recycled)
{
    *ok = 0;
    Up_Amounts amounts;
    Err error = U_Err_NONE;
    if (!Up_IsProactivePurgeDisabled()) {
        error = U_TrySection([&] { MakeRoomBelowLimit(size, recycled, amounts); });
    }
    // Whatever was purged, the block is allowed: this test never refuses on the ground of size.
    if (error == U_Err_NONE) *ok = 1;
    Up_TraceMemoryUsage(amounts.threshold);
    return error;
}

void Up_MakeRoomForBlock(unsigned long long request, bool recycled)
{
    const U_PurgeRequestCallback callback = g_purgeRequest;
    if (!callback || Up_PurgeGuard::IsInside()) return;
    // An error ends the purge and is nobody's failure: the allocation goes on with what is free.
    U_TrySection([&] { Purge(callback, request, recycled).Run(); });
}

void Up_TraceMemoryUsage(unsigned long long threshold)
{
    static constinit U_TraceLine s_line("U_Memory", 10);
    s_line([&] {
        U_MemoryUsageAsPerOS& system = U_MemoryUsageAsPerOS::GetInstance();
        return ALOG_convertMesg(nullptr,
                                "Memory Usage Stats: %llu, %llu, %llu, %llu, %lld, %llu, %llu, %llu\n",
                                static_cast<unsigned long long>(system.GetCurrentResident()),
                                static_cast<unsigned long long>(system.GetCurrentTotal()),
                                static_cast<unsigned long long>(system.GetApproximateResident()),
                                static_cast<unsigned long long>(system.GetApproximateTotal()),
                                static_cast<long long>(MEM_GetMemUsage()), U_GetRecycledMemorySize(),
                                U_GetSizeOfExternalMemoryManagers(), threshold);
    });
}
