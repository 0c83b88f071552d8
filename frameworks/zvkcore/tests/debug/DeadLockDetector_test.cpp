#include "zvkcore/debug/DeadLockDetector.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "Contend.h"
#include "zvkcore/threads/Gate.h"
#include "zvkcore/threads/RecursiveMutex.h"
#include "zvkcore/utility/ImmutableString.h"

using namespace zvkcore::debug::deadlocks;
using Name = zvkcore::utility::ImmutableString;
using zvkcore::threads::OpenOnceGate;
using zvkcore::threads::RecursiveMutex;

namespace {

// Calls one function for every notification: its kind, then the interned name and the text.
class Detector : public DeadLockDetector {
  public:
    using Heard = std::function<void(const char* kind, const Name& name, const char* text)>;
    explicit Detector(Heard heard) : m_heard(std::move(heard)) {}

    void OnMutexAboutToLock(const void*, const Name& n, const char* t) override { m_heard("about", n, t); }
    void OnMutexLocked(const void*, const Name& n, const char* t) override { m_heard("locked", n, t); }
    void OnMutexTryLockFailed(const void*, const Name& n, const char* t) override { m_heard("failed", n, t); }
    void OnMutexUnlocked(const void*) override { m_heard("unlocked", {}, nullptr); }
    void OnGateWaitStarted(const void*) override { m_heard("wait", {}, nullptr); }
    void OnGateWaitEnded(const void*) override { m_heard("go on", {}, nullptr); }

  private:
    const Heard m_heard;
};

class DeadLockDetectorTest : public testing::Test {
  protected:
    ~DeadLockDetectorTest() override { InstallDeadLockDetector(m_former); }

    void Record()
    {
        InstallDeadLockDetector(
            std::make_shared<Detector>([this](const char* kind, const Name& name, const char* text) {
                m_story.append(kind).append(text != nullptr ? std::string(" ") + text : "");
                m_story.append(name.IsNull() ? "; " : " interned; ");
            }));
    }

    std::string Story() { return std::exchange(m_story, {}); }

  private:
    std::string m_story;
    const std::shared_ptr<DeadLockDetector> m_former = InstallDeadLockDetector(nullptr);  // given back at the end
};

}  // namespace

TEST_F(DeadLockDetectorTest, HearsOfEveryLockAndGate)
{
    RecursiveMutex named("Own");
    RecursiveMutex unnamed;
    OpenOnceGate gate;
    named.Lock();
    Record();
    named.Unlock();
    EXPECT_EQ(Story(), "unlocked; ");
    named.Lock();
    EXPECT_EQ(Story(), "about Own; locked Own; ");
    named.Lock("Given", 5);
    EXPECT_EQ(Story(), "about Given; locked Given; ");
    named.Lock(Name::Create("Interned"));
    EXPECT_EQ(Story(), "about Interned interned; locked Interned interned; ");
    EXPECT_TRUE(named.TryLock());
    EXPECT_EQ(Story(), "about Own; locked Own; ");
    zvktest::OnAnotherThread([&] { EXPECT_FALSE(named.TryLock("Other")); });
    EXPECT_EQ(Story(), "about Other; failed Other; ");
    zvktest::OnAnotherThread([&] { EXPECT_THROW(named.Lock(nullptr, 1), std::system_error); });
    EXPECT_EQ(Story(), "about Own; failed Own; ");
    for (int i = 0; i < 4; ++i) named.Unlock();
    EXPECT_EQ(Story(), "unlocked; unlocked; unlocked; unlocked; ");
    {
        const RecursiveMutex::ScopedLock lock(unnamed);
    }
    EXPECT_EQ(Story(), "about; locked; unlocked; ");
    EXPECT_FALSE(gate.PassThroughUntil({}));
    EXPECT_EQ(Story(), "wait; go on; ");
    gate.Open();
    EXPECT_TRUE(gate.PassThroughUntil({}));
    EXPECT_EQ(Story(), "");
    EXPECT_NE(InstallDeadLockDetector(nullptr), nullptr);
    {
        const RecursiveMutex::ScopedLock lock(named);
    }
    EXPECT_EQ(Story(), "");
}

TEST_F(DeadLockDetectorTest, MayFailAndLockWithoutHarm)
{
    RecursiveMutex mutex("Watched");
    RecursiveMutex inner("Inside");
    thread_local bool busy = false;
    InstallDeadLockDetector(std::make_shared<Detector>([&](const char*, const Name&, const char*) {
        if (busy) return;
        busy = true;
        {
            const RecursiveMutex::ScopedLock lock(inner);
        }
        busy = false;
        throw std::runtime_error("the detector failed");
    }));
    {
        const RecursiveMutex::ScopedLock lock(mutex);
    }
    zvktest::OnAnotherThread([&] {
        EXPECT_TRUE(mutex.TryLock());
        mutex.Unlock();
    });
}

TEST_F(DeadLockDetectorTest, MayComeAndGoWhileOthersLock)
{
    RecursiveMutex mutex("Busy");
    long counter = 0;
    std::vector<std::weak_ptr<DeadLockDetector>> former;
    zvktest::Contend(4, [&](int index) {
        for (int round = 0; round < 500; ++round) {
            if (index == 0) {
                auto detector = std::make_shared<Detector>([](const char*, const Name&, const char*) {});
                former.push_back(detector);
                InstallDeadLockDetector(round % 3 == 0 ? nullptr : std::move(detector));
            } else {
                const RecursiveMutex::ScopedLock lock(mutex);
                ++counter;
            }
        }
    });
    InstallDeadLockDetector(nullptr);
    EXPECT_EQ(counter, 3 * 500);
    for (const auto& detector : former) EXPECT_TRUE(detector.expired());
}
