/// A born library on a machine that the test makes up: its memory figures, its clock, its limits, its host.
#ifndef MEMORYFIXTURE_H
#define MEMORYFIXTURE_H

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

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
        zvkcore::debug::SetTraceLevel("U", 10);
        zvkcore::debug::SetTraceLevel("U_Memory", 10);
        zvkcore::debug::SetTraceSink([this](int, std::string_view channel, std::string_view text) {
            const size_t head = channel.empty() ? text.find("> <U> <") : 0;
            if (head == std::string_view::npos) return;
            if (channel.empty()) text.remove_prefix(text.find("> ", head + 7) + 2);
            std::lock_guard lock(m_mutex);
            m_lines.emplace_back(text);
        });
    }
    ~TraceLines()
    {
        zvkcore::debug::SetTraceSink({});
        zvkcore::debug::ResetTraceLevels();
    }

    /// Those that contain `part`, in their order.
    std::vector<std::string> With(std::string_view part) const
    {
        std::lock_guard lock(m_mutex);
        std::vector<std::string> found;
        for (const std::string& line : m_lines) {
            if (line.find(part) != std::string::npos) found.push_back(line);
        }
        return found;
    }

  private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_lines;
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

    static inline PurgeFunction s_purge;
    long long m_beforeBirth = 0;
    int m_births = 1;
};

}  // namespace qltest

#endif
