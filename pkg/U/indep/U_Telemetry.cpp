// The front to the host's telemetry provider, and the removal of quoted user data.
#include "U_Telemetry.h"

#include <atomic>
#include <utility>
#include <vector>

#include "U_ZString.h"
#include "zvkcore/config/UsageLogger.h"

namespace U::telemetry {
namespace {

// The host's, not owned; null for none. Set once by the host, read by any thread without a lock.
std::atomic<U_TelemetryProvider*> S_providerP{nullptr};

U_TelemetryProvider* Provider()
{
    return S_providerP.load(std::memory_order_acquire);
}

struct QuotePair {
    U_UTF16String left;
    U_UTF16String right;
};

using QuotePairs = std::vector<QuotePair>;

QuotePairs MakeQuotePairs()
{
    constexpr const char* kKeys[][2] = {
        {"$$$/U/StripQuotedContents/Entry1Left=#{quot}", "$$$/U/StripQuotedContents/Entry1Right=#{quot}"},
        {"$$$/U/StripQuotedContents/Entry2Left='", "$$$/U/StripQuotedContents/Entry2Right='"},
        {"$$$/U/StripQuotedContents/Entry3Left=#{ldquo}", "$$$/U/StripQuotedContents/Entry3Right=#{rdquo}"},
        {"$$$/U/StripQuotedContents/Entry4Left=#{lsquo}", "$$$/U/StripQuotedContents/Entry4Right=#{rsquo}"},
    };
    QuotePairs pairs;
    for (const auto& [left, right] : kKeys) {
        pairs.push_back({U_ZStringToUTF16String(left), U_ZStringToUTF16String(right)});
    }
    return pairs;
}

// Made at first use in the language of that moment, and kept for the life of the process.
const QuotePairs& GetQuotePairs()
{
    static std::atomic<bool> s_made{false};
    QuotePairs made;
    // Made before the guard of the static is taken: memory that runs out in there is reported, and a report
    // may come here again on the same thread. A thread that comes second throws its own away.
    if (!s_made.load(std::memory_order_acquire)) made = MakeQuotePairs();
    static const QuotePairs s_pairs = std::move(made);
    s_made.store(true, std::memory_order_release);
    return s_pairs;
}

}  // namespace

U_TelemetryProvider::~U_TelemetryProvider() = default;

void RegisterTelemetryProvider(U_TelemetryProvider* provider)
{
    S_providerP.store(provider, std::memory_order_release);
}

bool IsLogging()
{
    U_TelemetryProvider* provider = Provider();
    return provider && provider->IsLogging();
}

// --- Events -------------------------------------------------------------------------------------------

void LogEvent(const char* category, const char* name, const unsigned short* detail,
              zvkcore::utility::Guid group)
{
    if (auto* provider = Provider()) provider->LogEvent(category, name, detail, group);
}

void LogEventWithCount(const char* category, const char* name, const unsigned short* detail,
                       zvkcore::utility::Guid group)
{
    if (auto* provider = Provider()) provider->LogEventWithCount(category, name, detail, group);
}

void IncrementEventCount(const char* category, const char* name, const unsigned short* detail,
                         zvkcore::utility::Guid group)
{
    if (auto* provider = Provider()) provider->IncrementEventCount(category, name, detail, group);
}

void ClearEventCount(const char* category, const char* name, const unsigned short* detail,
                     zvkcore::utility::Guid group)
{
    if (auto* provider = Provider()) provider->ClearEventCount(category, name, detail, group);
}

void LogEventsWithCount()
{
    if (auto* provider = Provider()) provider->LogEventsWithCount();
}

// --- Data groups --------------------------------------------------------------------------------------

DataGroup NewDataGroup(const char* owner, const char* category, const char* subcategory,
                       zvkcore::utility::Guid guid, bool use_usage_logger)
{
    if (auto* provider = Provider()) {
        return provider->NewDataGroup(owner, category, subcategory, guid, use_usage_logger);
    }
    return use_usage_logger ? NewDataGroupImpl(owner, category, subcategory, guid) : nullptr;
}

void AddToGroup(const DataGroup& group, const char* key, const U_UTF8String& value, bool use_usage_logger)
{
    if (auto* provider = Provider()) {
        provider->AddToGroup(group, key, value, use_usage_logger);
    } else if (use_usage_logger && group) {
        AddToGroupImpl(group, key, value);
    }
}

DataGroup NewDataGroupImpl(const char* owner, const char* category, const char* subcategory,
                           zvkcore::utility::Guid guid)
{
    const auto logger = zvkcore::config::UsageLogger::Get();
    if (!logger) return nullptr;
    return guid.IsZero() ? logger->NewGroup(owner, category, subcategory)
                         : logger->NewGroup(owner, category, subcategory, guid.AsUTF8String());
}

void AddToGroupImpl(const DataGroup& group, const char* key, const U_UTF8String& value)
{
    if (group) group->Add(key, value);
}

// --- User data in messages ----------------------------------------------------------------------------

U_UTF16String EncloseInQuotesForTelemetryRemoval(const U_UTF16String& text)
{
    const QuotePair& marks = GetQuotePairs().front();
    return marks.left + text + marks.right;
}

U_UTF16String StripQuotedContents(const U_UTF16String& text)
{
    U_UTF16String result = text;
    for (const auto& [left, right] : GetQuotePairs()) {
        const size_t first = result.find(left);
        if (first == U_UTF16String::npos) continue;
        const size_t last = result.rfind(right);
        if (last == U_UTF16String::npos) continue;
        // The two places are not compared. When the right mark does not lie behind the left one, what stands
        // from the right mark to the end of the left one comes out twice: wanted, receivers know a lone mark
        // by it.
        result = result.substr(0, first + left.size()) + result.substr(last);
    }
    return result;
}

}  // namespace U::telemetry
