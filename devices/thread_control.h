#pragma once
// LThreadControl: the state of one run of a worker thread (its stop event, running flag,
// priority and end), shared between the thread and whoever stops it.
//
// Ownership is the point of this class. A thread cannot be killed safely, so a thread
// that misses its stop time-out is let go and finishes on its own, maybe long after its
// owner object is gone. The running thread therefore holds its own reference to its
// control, and from the end of its body on it touches nothing else: clearing the running
// flag and reporting its end go to the control, never to the owner object.
//
// Every operation may be called from any thread unless its comment says otherwise.

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "devices/event.h"

namespace osmera {

// The time-out a stop waits for a worker to finish unless told otherwise.
constexpr uint32_t kThreadStopTimeoutMs = 5000;

class LThreadControl {
  public:
    // `owner` only identifies the object whose run this is; it is compared, never used.
    explicit LThreadControl(const void* owner) : owner_(owner) {}
    LThreadControl(const LThreadControl&) = delete;
    LThreadControl& operator=(const LThreadControl&) = delete;

    // The worker's only request to finish: manual-reset, so it stays set once set.
    LEvent stopEvent;

    const void* Owner() const { return owner_; }
    bool IsRunning() const { return running_.load(); }
    void SetRunning(bool running) { running_.store(running); }
    bool ShouldStop() const { return stopEvent.IsSet(); }

    // Before a thread is created for this run: the run is not finished yet, and the
    // thread takes `priority` as it starts.
    void Prepare(int priority);
    // First thing on the new thread: applies the priority and makes this the calling
    // thread's current run (see Current()).
    void Attach();
    // Last thing on the thread: reports the end to WaitDone and clears the current run.
    void Finish();

    // True once the run has reached Finish, waiting at most `timeoutMs` for it.
    bool WaitDone(uint32_t timeoutMs);
    // Sets the stop event, gives the thread the caller's priority (so that a time-critical
    // worker cannot starve the caller while it finishes) and waits up to `timeoutMs` for
    // its end. On a time-out the running flag is cleared, the thread is let go with
    // "LThread::StopThreadTimed TimeOut ERROR", and the result is false.
    bool StopTimed(uint32_t timeoutMs);

    // Changes the thread's priority now, or as it starts when it has not yet.
    void SetPriority(int priority);
    int Priority() const;

    // The run the calling thread is the worker of, or null on other threads.
    static LThreadControl* Current();

  private:
    const void* owner_;
    std::atomic<bool> running_{false};
    mutable std::mutex mutex_;
    std::condition_variable doneChanged_;
    bool done_ = true;
    int priority_ = 0;
    long tid_ = 0;  // the kernel id between Attach and Finish, else 0
};

// The priority the calling thread runs at: its run's priority on a worker thread, normal
// on every other thread.
int CurrentThreadPriority();

}  // namespace osmera
