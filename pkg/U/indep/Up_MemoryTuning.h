// The debug keys of this subject. Each is asked once a process, at its first use, and a later change has no effect.
#ifndef UP_MEMORYTUNING_H
#define UP_MEMORYTUNING_H

#include <atomic>
#include <cstdint>
#include <mutex>

#include "zvkcore/debug/DebugDatabase.h"

template <class T>
class Up_DebugValue {
  public:
    constexpr Up_DebugValue(const char* key, T fallback) : m_key(key), m_value(fallback) {}

    T Get()
    {
        if (!m_read.load(std::memory_order_acquire)) Read();
        return m_value.load(std::memory_order_relaxed);
    }

    /// A test asks again; the host cannot.
    void ForgetForTests(T fallback)
    {
        std::lock_guard lock(m_mutex);
        m_value = fallback;
        m_read = false;
    }

  private:
    void Read()
    {
        std::lock_guard lock(m_mutex);
        if (m_read) return;
        m_value = zvkcore::debug::DebugDatabase::Instance().GetEntryAs<T>(m_key, m_value);
        m_read.store(true, std::memory_order_release);
    }

    const char* m_key;
    std::atomic<T> m_value;  // the default until the key was read
    std::atomic<bool> m_read{false};
    std::mutex m_mutex;  // one reader of the key
};

constexpr bool kMemoryAccountDirectDefault = false;
constexpr std::int32_t kPurgeFailedThresholdDefault = 10;
constexpr std::uint64_t kMaxPreviewOverageDefault = 1'073'741'824;
constexpr std::int32_t kSyncFrequencyDefault = 2000;

extern constinit Up_DebugValue<bool> Up_G_memoryAccountDirect;
extern constinit Up_DebugValue<std::int32_t> Up_G_purgeFailedThreshold;
extern constinit Up_DebugValue<std::uint64_t> Up_G_maxPreviewOverage;  // bytes
extern constinit Up_DebugValue<std::int32_t> Up_G_syncFrequency;       // milliseconds

#endif
