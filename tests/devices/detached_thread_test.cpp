#include "devices/detached_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "core/trace.h"

namespace osmera {
namespace {

using std::chrono::milliseconds;

// What the workers share with the test; each worker holds it, so it outlives them all.
struct Probe {
    std::atomic<int> started{0}, deleted{0};
    LEvent release;
};

bool WaitUntil(const std::function<bool()>& done, int ms = 2000) {
    auto until = std::chrono::steady_clock::now() + milliseconds(ms);
    while (!done()) {
        if (std::chrono::steady_clock::now() >= until)
            return false;
        std::this_thread::sleep_for(milliseconds(1));
    }
    return true;
}

enum class Body { kUntilStopped, kSleepThenEnd, kIgnoreStopUntilReleased, kNotOverridden };

class Worker : public LDetachedThread {
  public:
    Worker(std::shared_ptr<Probe> probe, Body body, int sleepMs = 0)
        : probe_(std::move(probe)), body_(body), sleepMs_(sleepMs) {}
    ~Worker() override { ++probe_->deleted; }

  protected:
    void ThreadFunction() override {
        ++probe_->started;
        switch (body_) {
            case Body::kUntilStopped:
                while (!ShouldStop())
                    std::this_thread::sleep_for(milliseconds(1));
                break;
            case Body::kSleepThenEnd:
                std::this_thread::sleep_for(milliseconds(sleepMs_));
                break;
            case Body::kIgnoreStopUntilReleased:
                probe_->release.Wait(kWaitInfinite);
                break;
            case Body::kNotOverridden:
                LDetachedThread::ThreadFunction();
                break;
        }
    }

  private:
    std::shared_ptr<Probe> probe_;
    Body body_;
    int sleepMs_;
};

TEST(DetachedThread, FinishedThreadsLeaveTheListAndDeleteThemselves) {
    LTraceCapture trace;
    auto probe = std::make_shared<Probe>();
    LDetachedThreadsOwner owner;
    for (int i = 0; i < 4; ++i)
        (new Worker(probe, Body::kSleepThenEnd, i))->Start(&owner);
    (new Worker(probe, Body::kNotOverridden))->Start(&owner);
    (new Worker(probe, Body::kSleepThenEnd))->Start(nullptr);  // nobody's: still cleans up
    EXPECT_TRUE(WaitUntil([&] { return probe->deleted == 6; }));
    EXPECT_TRUE(WaitUntil([&] { return owner.Count() == 0; }));
    EXPECT_TRUE(trace.Contains("LDetachedThread::ThreadFunction has not been overridden!"));
}

TEST(DetachedThread, StopThreadsNowStopsEveryThreadOnce) {
    LTraceCapture trace;
    auto probe = std::make_shared<Probe>();
    LDetachedThreadsOwner owner;
    // Pollers wait for the stop; the others end by themselves while the stop runs.
    for (int i = 0; i < 12; ++i) {
        auto* w = i % 2 ? new Worker(probe, Body::kUntilStopped)
                        : new Worker(probe, Body::kSleepThenEnd, i);
        w->Start(&owner, kThreadPriorityBelowNormal);
    }
    ASSERT_TRUE(WaitUntil([&] { return probe->started == 12; }));
    owner.StopThreadsNow(2000);
    EXPECT_EQ(owner.Count(), 0u);
    EXPECT_EQ(probe->deleted, 12);  // every thread that ended in time has deleted itself
    EXPECT_FALSE(trace.Contains("TimeOut"));

    // StopThreadsSoon only signals; the threads end on their own afterwards.
    for (int i = 0; i < 3; ++i)
        (new Worker(probe, Body::kUntilStopped))->Start(&owner);
    owner.StopThreadsSoon();
    EXPECT_TRUE(WaitUntil([&] { return probe->deleted == 15 && owner.Count() == 0; }));
}

TEST(DetachedThread, OverrunningThreadIsLetGoAndOutlivesItsOwner) {
    LTraceCapture trace;
    auto probe = std::make_shared<Probe>();
    auto owner = std::make_unique<LDetachedThreadsOwner>();
    (new Worker(probe, Body::kIgnoreStopUntilReleased))->Start(owner.get());
    (new Worker(probe, Body::kUntilStopped))->Start(owner.get());
    ASSERT_TRUE(WaitUntil([&] { return probe->started == 2; }));
    owner->StopThreadsNow(20);
    EXPECT_TRUE(trace.Contains("LThread::StopThreadTimed TimeOut ERROR"));
    EXPECT_EQ(owner->Count(), 0u);
    EXPECT_TRUE(WaitUntil([&] { return probe->deleted == 1; }));
    owner.reset();  // the let-go thread must not need it any more
    probe->release.Set();
    EXPECT_TRUE(WaitUntil([&] { return probe->deleted == 2; }));
    std::this_thread::sleep_for(milliseconds(20));  // let the thread run its entry point out
}

}  // namespace
}  // namespace osmera
