// The records of the detector, for tests and for whoever looks with a debugger.
#ifndef UP_DEADLOCK_H
#define UP_DEADLOCK_H

#include <boost/thread/tss.hpp>

#include <map>
#include <string>
#include <vector>

#include "U_DeadLock.h"
#include "zvkcore/utility/ImmutableString.h"

namespace U {

class DeadLockDreadNot final : public zvkcore::debug::deadlocks::DeadLockDetector {
  public:
    using Name = zvkcore::utility::ImmutableString;

    struct MutexLockInfo {
        Name name;
        int32_t lock_count = 0;
        std::string callstack;  // one function a line; read by nothing here
    };

    struct ThreadMutexInfo {
        std::map<const void*, MutexLockInfo> held;
        bool busy = false;  // a notification runs on this thread: what it locks itself is not seen
    };

    DeadLockDreadNot();
    ~DeadLockDreadNot() override;

    void OnMutexAboutToLock(const void* mutex, const Name& name, const char* name_text) override;
    void OnMutexLocked(const void* mutex, const Name& name, const char* name_text) override;
    void OnMutexTryLockFailed(const void* mutex, const Name& name, const char* name_text) override;
    void OnMutexUnlocked(const void* mutex) override;
    void OnGateWaitStarted(const void* gate) override;
    void OnGateWaitEnded(const void* gate) override;

    /// The calling thread's record; null before its first notification.
    const ThreadMutexInfo* ThisThread() const { return m_threads.get(); }

  private:
    std::size_t Position(const Name& name) const;
    bool CountAgain(ThreadMutexInfo& thread, const void* mutex, const Name& name, std::size_t position) const;

    const std::vector<Name> m_order;
    boost::thread_specific_ptr<ThreadMutexInfo> m_threads;  // frees a thread's record at its end
};

}  // namespace U

#endif
