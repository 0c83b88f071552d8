/// A born library on a machine that the test makes up: its memory figures, its clock, its limits, its host.
#ifndef MEMORYFIXTURE_H
#define MEMORYFIXTURE_H

#include <algorithm>
#include <atomic>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "Contend.h"
#include "QLTest.h"
#include "Up_Memory.h"
#include "zvkappsupport/feature/Feature.h"
#include "zvkcore/allocator/MemoryRecycler.h"
#include "zvkcore/debug/Trace.h"
#include "zvkcore/utility/Clock.h"

namespace qltest {

constexpr uint64_t kMiB = 1u << 20;
constexpr uint64_t kGiB = 1u << 30;

/// What the probe tells; figures in bytes.
struct Machine {
    static inline std::atomic<uint64_t> virtualBytes, resident, footprint;
    static inline std::atomic<bool> tellsProcess, tellsFootprint;
    static inline std::atomic<int> asked;  ///< how often for the process's resident size
    static inline std::atomic<uint64_t> nanos;

    static void Install()
    {
        virtualBytes = resident = footprint = 0;
        tellsProcess = tellsFootprint = true;
        asked = 0;
        const U_MemoryProbe probe = {sizeof probe, nullptr,
                                     [](void*, uint64_t* v, uint64_t* r) {
                                         ++asked;
                                         *v = virtualBytes;
                                         *r = resident;
                                         return tellsProcess.load();
                                     },
                                     [](void*, uint64_t* bytes) {
                                         *bytes = footprint;
                                         return tellsFootprint.load();
                                     },
                                     nullptr};
        U_SetMemoryProbe(&probe, nullptr);
        zvkcore::utility::HighPrecisionTime::SetSource([]() noexcept -> uint64_t { return nanos; });
    }

    static void Remove()
    {
        U_SetMemoryProbe(nullptr, nullptr);
        zvkcore::utility::HighPrecisionTime::SetSource(nullptr);
    }

    static void Pass(uint64_t milliseconds) { nanos += milliseconds * 1'000'000; }
};

/// Collects trace lines, without the thread and level in front of those that carry them.
class TraceLines {
  public:
    TraceLines()
    {
        for (const char* channel : {"U", "U_Memory"}) zvkcore::debug::SetTraceLevel(channel, 10);
    }
    ~TraceLines() { zvkcore::debug::ResetTraceLevels(); }

    /// Those that begin with `head`, in their order.
    std::vector<std::string> With(std::string_view head)
    {
        const std::string thread = "<" + std::to_string(U_GetCurrentThreadID()) + "> <U> <";
        std::istringstream text(m_recorder.Text());
        std::vector<std::string> found;
        for (std::string line; std::getline(text, line);) {
            if (line.starts_with(thread)) line.erase(0, line.find("> ", thread.size()) + 2);
            if (line.starts_with(head)) found.push_back(line);
        }
        return found;
    }

  private:
    zvktest::TraceRecorder m_recorder;
};

class Memory : public Library {
  protected:
    void SetUp() override
    {
        Up_ResetMemoryForTests();
        Machine::Install();
        zvkcore::allocator::MemoryRecycler::PurgeBytes(UINT64_MAX);
        m_beforeBirth = U_GetMemUsage();
        Library::SetUp();
        U_MemoryUsageAsPerOS::GetInstance().SyncToOS();
    }

    void TearDown() override
    {
        U_AccountAllocation(-m_cache);
        s_purge = nullptr;
        SetAsync(false);
        MEM_SetMemUsageLimits(0, 0);
        MEM_SetMemUsageLimitsOverride(0, 0);
        Library::TearDown();
        Machine::Remove();
        // The heap object of each birth stays, and nothing else.
        EXPECT_EQ(U_GetMemUsage() - m_beforeBirth, 8 * m_births);
    }

    static void SetAsync(bool on)
    {
        zvkappsupport::feature::SetFeatureEnabled(GetAsyncPurgingFeatureID(), on);
    }

    /// Sets the limit so that `room` bytes are free below it, as the count stands.
    static void SetRoom(int64_t room)
    {
        const auto limit = static_cast<uint64_t>(U_GetMemUsage() + room);
        MEM_SetMemUsageLimits(limit, limit + kMiB);
    }

    /// Leaves `bytes` or a little more in the recycler's pool; gives the size of the pool.
    static uint64_t FillPool(uint64_t bytes)
    {
        U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, bytes));
        return U_GetRecycledMemorySize();
    }

    using PurgeFunction = std::function<int(uint64_t request, uint64_t amount, bool* purgeRecycled)>;

    /// Makes the host purge by `function`.
    static void OnPurge(PurgeFunction function)
    {
        s_purge = std::move(function);
        U_SetPurgeRequestCallback(
            [](unsigned long long request, unsigned long long amount, bool* purgeRecycled) {
                return s_purge(request, amount, purgeRecycled);
            });
    }

    struct Asked {
        uint64_t request, amount;
        bool operator==(const Asked&) const = default;
    };

    /// Gives the host a cache of `cache` bytes, of which it frees `step` a purge while it lasts, and its answer. An
    /// empty one gives up the recycler's pool too, if it is told so.
    void HostHas(int64_t cache, int64_t step, int answer = 0, bool givesUpPool = false)
    {
        U_AccountAllocation(cache - m_cache);
        m_cache = cache;
        m_asked.clear();
        OnPurge([=, this](uint64_t request, uint64_t amount, bool* purgeRecycled) {
            m_asked.push_back({request, amount});
            const int64_t freed = std::min(step, m_cache);
            m_cache -= freed;
            U_AccountAllocation(-freed);
            if (m_cache == 0 && givesUpPool) *purgeRecycled = true;
            return answer;
        });
    }

    std::vector<Asked> m_asked;  ///< what the host was asked for since
    int64_t m_cache = 0;
    static inline PurgeFunction s_purge;
    long long m_beforeBirth = 0;
    int m_births = 1;
};

}  // namespace qltest

#endif
