#pragma once
// Dispatchers run calls on one chosen thread, the GUI thread: workers hand a call over
// and the GUI thread runs it later, in order. The editor installs one that queues calls
// into its event loop; the command-line program and the tests use LQueueDispatcher, a
// plain queue that they pump themselves.

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>

namespace osmera {

class LDispatcher {
  public:
    virtual ~LDispatcher() = default;
    // Queues `call` to run later on the dispatcher's thread. Any thread; never waits for
    // the dispatcher's thread.
    virtual void Post(std::function<void()> call) = 0;
};

// A queue of calls, run by whoever pumps it.
class LQueueDispatcher : public LDispatcher {
  public:
    void Post(std::function<void()> call) override;

    // Runs, on the calling thread, the calls queued when it starts; calls they post run
    // at the next pump. Returns how many ran.
    int Pump();
    // Waits up to `timeoutMs` until a call is queued, then pumps. Returns how many ran.
    int WaitAndPump(uint32_t timeoutMs);
    size_t Pending() const;

  private:
    mutable std::mutex lock_;
    std::condition_variable posted_;
    std::deque<std::function<void()>> calls_;
};

// The program's GUI dispatcher, used by notifiers made without one. The program sets it
// once at start-up, before any worker runs, and clears it (null) after the last worker
// has ended. Null until set.
void SetGuiDispatcher(LDispatcher* dispatcher);
LDispatcher* GuiDispatcher();

}  // namespace osmera
