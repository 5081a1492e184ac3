#pragma once
// Fire-and-forget workers and the list that can stop them.
//
// LDetachedThread: a worker that owns itself. It is created with new, handed to Start,
// and from then on belongs to its thread: when the body returns, the thread takes it off
// its owner's list and deletes it. Nobody else may delete it or keep a pointer to it
// after Start; the owner reaches it only through its list, under the list's lock.
//
// LDetachedThreadsOwner: the list of an owner's running detached threads. The list lives
// in shared state that every listed thread also holds, so a thread that was let go after
// a stop time-out can still take itself off the list after the owner object is gone.
//
// Threads: Start is called by whoever creates the thread; the owner's operations may be
// called from any thread, but only one thread at a time should run StopThreadsNow.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "devices/event.h"
#include "devices/thread_control.h"
#include "devices/thread_priority.h"

namespace osmera {

class LDetachedThreadsOwner;
struct LDetachedThreadList;

class LDetachedThread {
  public:
    LDetachedThread();
    // Called by the thread itself, with the deletion, when the body ends. A thread that
    // was never started is deleted by its creator.
    virtual ~LDetachedThread();
    LDetachedThread(const LDetachedThread&) = delete;
    LDetachedThread& operator=(const LDetachedThread&) = delete;

    // Lists the thread with `owner` (may be null: then nobody can stop it) and starts the
    // body at `priority`. Call it once; the object belongs to its thread from here on. If
    // no thread can be created the object is deleted at once
    // ("LDetachedThread::Start Unable to CreateThread FAILED").
    void Start(LDetachedThreadsOwner* owner, int priority = kThreadPriorityNormal);

  protected:
    // The body, run on the new thread. It polls ShouldStop() between units of work.
    virtual void ThreadFunction();

    bool IsRunning() const { return control_->IsRunning(); }
    bool ShouldStop() const { return control_->ShouldStop(); }
    const LEvent& StopEvent() const { return control_->stopEvent; }

  private:
    friend class LDetachedThreadsOwner;
    static void ThreadFunc(LDetachedThread* bgp, std::shared_ptr<LThreadControl> control,
                           std::shared_ptr<LDetachedThreadList> list);

    std::shared_ptr<LThreadControl> control_;
};

class LDetachedThreadsOwner {
  public:
    LDetachedThreadsOwner();
    // Stops every listed thread (StopThreadsNow with kThreadStopTimeoutMs).
    ~LDetachedThreadsOwner();
    LDetachedThreadsOwner(const LDetachedThreadsOwner&) = delete;
    LDetachedThreadsOwner& operator=(const LDetachedThreadsOwner&) = delete;

    // Sets the stop event of every listed thread; does not wait.
    void StopThreadsSoon();
    // Sets every stop event, then takes the threads off the list one by one and waits up
    // to `timeoutMsEach` for each to end; a thread that misses it is let go (traced) and
    // finishes on its own. When this returns the list is empty, and every thread that
    // ended in time has deleted its object.
    void StopThreadsNow(uint32_t timeoutMsEach = kThreadStopTimeoutMs);
    // How many threads are listed now.
    size_t Count() const;

  private:
    friend class LDetachedThread;
    // Appends a starting thread's run to the list.
    void Add(const std::shared_ptr<LThreadControl>& thread);

    std::shared_ptr<LDetachedThreadList> list_;
};

}  // namespace osmera
