// How far a preview may go: whether more memory would leave the range that purging can keep free.
//
// State: the count of purges in a row that found nothing, one object for the process, under its own mutex.
#include <limits>

#include "ALOG.h"
#include "U_TrySection.h"
#include "Up_Memory.h"
#include "Up_MemoryTuning.h"
#include "Up_Saturate.h"
#include "Up_TraceLine.h"
#include "zvkappsupport/feature/Feature.h"
#include "zvkcore/string/Format.h"

namespace {

constexpr int kRounds = 3;

U_UTF8String Text(const char* words)
{
    return ALOG_convertMesg(nullptr, "%s", words);
}

U_UTF8String Size(std::uint64_t bytes)
{
    return zvkcore::string::NumberToMemoryString(bytes, 2, false);
}

U_UTF8String CurrentUsage()
{
    return Text("Current memory usage is ") + Size(U_MemoryUsageAsPerOS::GetInstance().GetApproximateTotal());
}

// "overage(1.50 GB) is above maximum(1.00 GB)."
U_UTF8String Overage(std::uint64_t amount, const char* relation, std::uint64_t maximum)
{
    return Text("overage(") + Size(amount) + Text(") is ") + Text(relation) + Text(" maximum(") +
           Size(maximum) + Text(").");
}

void TraceAvailable(int level)
{
    static constinit U_TraceLine s_line5("U", 5);
    static constinit U_TraceLine s_line6("U", 6);
    (level == 5 ? s_line5 : s_line6)(
        [] { return Text("Preview range is available because purgeable memory is available."); });
}

// Asks the host, whose word overrules the limit where it may still purge. Wanted: an overage equal to the maximum
// is exhausted here, while Up_IsMemoryUsageAbovePurgeLimit takes it as within.
bool IsExhaustedByHost(U_PurgeStatusCallback callback, std::uint64_t amount)
{
    const U_PurgeableMemStatus status = callback();
    if (status == U_PurgeableMem_AVAILABLE) {
        TraceAvailable(5);
        return false;
    }
    if (status != U_PurgeableMem_UNKNOWN) {
        static constinit U_TraceLine s_line("U", 5);
        s_line([] { return Text("Preview range is exhausted because purgeable memory has exhausted."); });
        return true;
    }
    const std::uint64_t maximum = Up_G_maxPreviewOverage.Get();
    const bool exhausted = amount >= maximum;
    static constinit U_TraceLine s_line("U", 5);
    s_line([&] {
        return Text("Preview range is ") + Text(exhausted ? "exhausted" : "available") +
               Text(" because purgeable memory status is unknown and ") +
               Overage(amount, exhausted ? "above" : "below", maximum);
    });
    return exhausted;
}

void TraceHit(const Up_Amounts& amounts, unsigned long long bytes)
{
    static constinit U_TraceLine s_line("U", 6);
    s_line([&] {
        return ALOG_convertMesg("U_CheckRAMPurgeLimit",
                                "hit limit with inUse=%lld, needed=%lld, purgeLimit=%lld",
                                static_cast<long long>(amounts.used), static_cast<long long>(bytes),
                                static_cast<long long>(amounts.threshold));
    });
}

// Purges in a few rounds until `bytes` fit. A round that fails leaves the amount as it was, and its error is the
// result. Each purge asks for one byte more than the check does.
Err PurgeToFit(unsigned long long bytes, unsigned long long* amount)
{
    Err result = U_Err_NONE;
    for (int round = 0; round < kRounds && *amount != 0; ++round) {
        const Err error = U_TrySection([&] {
            Up_MakeRoomForBlock(Up_Sum(bytes, 1), true);
            *amount = Up_AmountsFor(false, bytes).amount;
        });
        if (error != U_Err_NONE) result = error;
    }
    return result;
}

Err CheckDirectly(bool* limitExceeded, unsigned long long bytes, bool* limitHit, bool askHost)
{
    *limitExceeded = true;
    if (limitHit) *limitHit = true;
    U_PurgeStatusCallback callback = nullptr;
    U_GetPurgeStatusCallback(&callback);

    const Up_Amounts amounts = Up_AmountsFor(false, bytes);
    if (amounts.amount == 0) {
        *limitExceeded = false;
        if (limitHit) *limitHit = false;
        return U_Err_NONE;
    }
    TraceHit(amounts, bytes);
    // Wanted: the hit stays noted when the purge makes room, as it tells that there was one.
    unsigned long long amount = amounts.amount;
    const Err result = PurgeToFit(bytes, &amount);
    *limitExceeded = amount != 0;
    if (askHost && *limitExceeded && callback) *limitExceeded = IsExhaustedByHost(callback, amount);
    return result;
}

}  // namespace

U_PurgeStatus& U_PurgeStatus::GetInstance()
{
    static U_PurgeStatus instance;
    return instance;
}

void U_PurgeStatus::Update(U_PurgeableMemStatus status)
{
    std::lock_guard lock(m_mutex);
    if (status == U_PurgeableMem_AVAILABLE) {
        m_failCount = 0;
    } else if (m_failCount < std::numeric_limits<int32_t>::max()) {
        ++m_failCount;
    }
}

U_PurgeableMemStatus U_PurgeStatus::Get()
{
    std::lock_guard lock(m_mutex);
    return m_failCount > Up_G_purgeFailedThreshold.Get() ? U_PurgeableMem_EXHAUSTED
                                                         : U_PurgeableMem_AVAILABLE;
}

bool Up_IsMemoryUsageAbovePurgeLimit(unsigned long long bytes)
{
    const unsigned long long amount = Up_AmountsFor(true, bytes).amount;
    if (amount == 0) return false;
    const std::uint64_t maximum = Up_G_maxPreviewOverage.Get();
    if (amount > maximum) {
        static constinit U_TraceLine s_line("U", 5);
        s_line([&] {
            return Text("Preview range is exhausted because ") + Overage(amount, "above", maximum) +
                   Text(" ") + CurrentUsage();
        });
        return true;
    }
    if (U_PurgeStatus::GetInstance().Get() == U_PurgeableMem_AVAILABLE) {
        TraceAvailable(6);
        return false;
    }
    static constinit U_TraceLine s_line("U", 5);
    s_line([] {
        return Text("Preview range is exhausted because purgeable memory has exhausted. ") + CurrentUsage();
    });
    return true;
}

Err U_CheckRAMPurgeLimit(bool* limitExceeded, unsigned long long bytes, bool* limitHit, bool askHost)
{
    if (!limitExceeded) return U_Err_BAD_PARAMETER;
    return U_TrySection([&]() -> Err {
        if (!zvkappsupport::feature::IsFeatureEnabled(GetAsyncPurgingFeatureID())) {
            return CheckDirectly(limitExceeded, bytes, limitHit, askHost);
        }
        *limitExceeded = Up_IsMemoryUsageAbovePurgeLimit(bytes);
        return U_Err_NONE;
    });
}
