#include "devices/thread.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "core/trace.h"
#include "devices/signal_object.h"

namespace osmera {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Runs `body` as the thread body; the body keeps what it needs in state it captured.
class FunctionThread : public LThread {
  public:
    explicit FunctionThread(std::function<void(LThread&)> body) : body_(std::move(body)) {}
    ~FunctionThread() override { StopThreadTimed(); }

  protected:
    void ThreadFunction() override {
        auto body = body_;
        body(*this);
    }

  private:
    std::function<void(LThread&)> body_;
};

void PollUntilStopped(LThread& self) {
    while (!self.ShouldStop())
        std::this_thread::sleep_for(milliseconds(1));
}

TEST(Thread, StartStopAndRestartLifecycle) {
    LTraceCapture trace;
    std::atomic<int> runs{0};
    LEvent started;
    FunctionThread t([&](LThread& self) {
        ++runs;
        started.Set();
        PollUntilStopped(self);
    });
    t.StopThreadTimed(10);  // never started: nothing to do
    EXPECT_FALSE(t.IsRunning());

    t.Start();
    t.Start();
    ASSERT_TRUE(started.Wait(2000));
    EXPECT_TRUE(t.IsRunning());
    EXPECT_TRUE(trace.Contains("LThread::Start Thread is already running!"));
    t.StopThreadTimed(2000);
    EXPECT_FALSE(t.IsRunning());
    EXPECT_EQ(runs, 1);

    // The stop event is reset by the next Start, so the new body runs until stopped again.
    started.Reset();
    t.Start();
    ASSERT_TRUE(started.Wait(2000));
    std::this_thread::sleep_for(milliseconds(10));
    EXPECT_TRUE(t.IsRunning());
    t.StopThreadTimed(2000);
    EXPECT_EQ(runs, 2);
    EXPECT_FALSE(trace.Contains("TimeOut"));
}

TEST(Thread, StartAfterTheBodyReturnedRunsItAgain) {
    LTraceCapture trace;
    std::atomic<int> runs{0};
    FunctionThread t([&](LThread&) { ++runs; });
    for (int i = 1; i <= 3; ++i) {
        t.Start();
        auto until = Clock::now() + milliseconds(2000);
        while (t.IsRunning() && Clock::now() < until)
            std::this_thread::sleep_for(milliseconds(1));
        EXPECT_EQ(runs, i);
    }
    EXPECT_FALSE(trace.Contains("already running"));
}

// What a body that ignores its stop shares with the test; it outlives the thread object.
struct Stubborn {
    LEvent started, release, finished;
    std::atomic<bool> sawStop{false};
};

void StubbornBody(const std::shared_ptr<Stubborn>& s, LThread* self) {
    s->started.Set();
    s->release.Wait(kWaitInfinite);
    if (self)
        s->sawStop = self->ShouldStop();
    s->finished.Set();
}

TEST(Thread, BodyIgnoringStopIsLetGoAndKeepsItsOwnStop) {
    LTraceCapture trace;
    auto s = std::make_shared<Stubborn>();
    std::atomic<int> runs{0};
    LEvent secondStarted;
    FunctionThread t([&runs, &secondStarted, s](LThread& self) {
        if (runs++ == 0) {
            StubbornBody(s, &self);
        } else {
            secondStarted.Set();
            PollUntilStopped(self);
        }
    });
    t.Start();
    ASSERT_TRUE(s->started.Wait(2000));
    auto before = Clock::now();
    t.StopThreadTimed(30);
    EXPECT_GE(Clock::now() - before, milliseconds(30));
    EXPECT_TRUE(trace.Contains("LThread::StopThreadTimed TimeOut ERROR"));
    EXPECT_FALSE(t.IsRunning());

    // The object is usable at once; the new run's stop event is not the old body's.
    t.Start();
    ASSERT_TRUE(secondStarted.Wait(2000));
    s->release.Set();
    ASSERT_TRUE(s->finished.Wait(2000));
    EXPECT_TRUE(s->sawStop);
    EXPECT_TRUE(t.IsRunning());
    trace.Clear();
    t.StopThreadTimed(2000);
    EXPECT_FALSE(trace.Contains("TimeOut"));
}

TEST(Thread, LetGoBodyMayOutliveItsObject) {
    auto s = std::make_shared<Stubborn>();
    auto t = std::make_unique<FunctionThread>([s](LThread&) { StubbornBody(s, nullptr); });
    t->Start(kThreadPriorityBelowNormal);
    ASSERT_TRUE(s->started.Wait(2000));
    t->StopThreadTimed(20);
    t.reset();  // the address sanitizer reports any later touch of the object
    s->release.Set();
    ASSERT_TRUE(s->finished.Wait(2000));
    std::this_thread::sleep_for(milliseconds(20));  // let the thread run its entry point out
}

TEST(Thread, PriorityIsAppliedAndTheStopperLendsItsOwn) {
    std::atomic<int> atStart{99}, afterStop{99}, niceAtStart{99};
    LEvent started;
    FunctionThread t([&](LThread& self) {
        atStart = CurrentThreadPriority();
        niceAtStart = getpriority(PRIO_PROCESS, static_cast<id_t>(CurrentThreadId()));
        started.Set();
        PollUntilStopped(self);
        afterStop = CurrentThreadPriority();
    });
    // Lowering is always allowed, so this holds without any privileges.
    t.Start(kThreadPriorityLowest);
    ASSERT_TRUE(started.Wait(2000));
    EXPECT_EQ(atStart, kThreadPriorityLowest);
    EXPECT_EQ(niceAtStart, NiceForThreadPriority(kThreadPriorityLowest));
    t.StopThreadTimed(2000);
    EXPECT_EQ(afterStop, kThreadPriorityNormal);
}

TEST(Signal, WaitSignalDualReportsEitherStopFirst) {
    struct Case {
        bool stop, signal;
        LWaitResult expected;
    };
    const Case cases[] = {
        {false, false, kWaitTimeout},
        {false, true, kWaitSignal},
        {true, false, kWaitStop},
        {true, true, kWaitStop},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.stop << c.signal);
        LEvent stop;
        LSignalObject work;
        if (c.stop)
            stop.Set();
        if (c.signal)
            work.Set();
        auto before = Clock::now();
        EXPECT_EQ(work.WaitSignalDual(stop, 20), c.expected);
        if (c.expected == kWaitTimeout) {
            EXPECT_GE(Clock::now() - before, milliseconds(20));
        }
        EXPECT_EQ(work.IsSet(), c.signal);  // manual reset: a set event stays set
    }
}

TEST(Signal, WaitSignalDualWakesFromAnotherThread) {
    for (bool viaStop : {false, true}) {
        LEvent stop;
        LSignalObject work;
        std::thread setter([&] {
            std::this_thread::sleep_for(milliseconds(15));
            viaStop ? stop.Set() : work.Set();
        });
        EXPECT_EQ(work.WaitSignalDual(stop, kWaitInfinite), viaStop ? kWaitStop : kWaitSignal);
        setter.join();
    }
    LTraceCapture trace;
    LEvent stop;
    EXPECT_EQ(LSignalObject(nullptr).WaitSignalDual(stop, 0), kWaitFailed);
    EXPECT_TRUE(trace.Contains("LSignalObject::WaitSignalDual hSignalObject is NULL"));
}

}  // namespace
}  // namespace osmera
