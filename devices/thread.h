#pragma once
// LThread: an owned worker thread with a stop event. A class derives from it and puts its
// work in ThreadFunction, which polls ShouldStop() between units of work (or sleeps on
// an LSignalObject together with StopEvent()).
//
// Life of a thread: idle -> running (Start) -> finished (the body returned) -> idle
// (the next Start or StopThreadTimed). A second Start while running changes nothing.
// StopThreadTimed always ends idle.
//
// Threads: Start and StopThreadTimed are called by the thread's owner (normally the GUI
// thread); Start is also safe against concurrent Starts. IsRunning, ShouldStop and
// SetPriority may be called from any thread.
//
// Stop time-out: a body that does not finish within the time-out cannot be killed; it is
// let go, traced, and the object is idle and usable again at once. The let-go body keeps
// its own run state (its stop event stays set for it, also after a new Start), and the
// thread's end touches only that state. What the body itself uses after it stopped
// polling must be kept alive by the body (for instance a shared_ptr it copied at its
// start), since the object may be destroyed meanwhile.
//
// A class whose body uses its own members must stop the thread in its own destructor:
// by the time ~LThread runs, the derived part is gone.

#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include "devices/event.h"
#include "devices/thread_control.h"
#include "devices/thread_priority.h"

namespace osmera {

class LThread {
  public:
    LThread();
    // Stops a thread that still runs (kThreadStopTimeoutMs).
    virtual ~LThread();
    // A thread object stands for one thread and cannot be copied.
    LThread(const LThread&) = delete;
    LThread& operator=(const LThread&) = delete;

    // Starts ThreadFunction on a new thread at `priority` (kThreadPriority...). Does
    // nothing while a thread runs ("LThread::Start Thread is already running!"); a
    // finished thread is collected first (waiting at most 1000 ms for it to end).
    void Start(int priority = kThreadPriorityNormal);
    // Sets the stop event, gives the thread the caller's priority and waits at most
    // `timeoutMs` for it to end; a thread that misses it is let go (see above). Does
    // nothing when no thread was started.
    void StopThreadTimed(uint32_t timeoutMs = kThreadStopTimeoutMs);

    // True from Start until the body returns or the thread is let go.
    bool IsRunning() const;
    // True when the stop event is set. On the worker it reads the worker's own run.
    bool ShouldStop() const;
    // The stop event to wait on (LSignalObject::WaitSignalDual). Call it from the body:
    // there it is the body's own run's event, valid for as long as the body runs.
    const LEvent& StopEvent() const;
    // Changes the running thread's priority (or the next thread's, when none runs).
    void SetPriority(int priority);

  protected:
    // The body, run on the new thread.
    virtual void ThreadFunction() = 0;

  private:
    static void ThreadFunc(LThread* bgp, std::shared_ptr<LThreadControl> control);
    // The control of the calling worker when it runs this object's body, else the
    // object's current one (held through `keep` so that a let-go cannot free it).
    const LThreadControl& ControlForCaller(std::shared_ptr<LThreadControl>& keep) const;
    // Joins a thread that has ended, or lets it go with a fresh control for the object.
    void Collect(bool ended);

    std::mutex startLock_;            // serialises Start and StopThreadTimed
    mutable std::mutex controlLock_;  // guards the control_ pointer, replaced on a let-go
    std::shared_ptr<LThreadControl> control_;
    std::thread thread_;  // joinable from Start until the thread is collected
};

}  // namespace osmera
