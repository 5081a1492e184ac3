#pragma once
// Manual-reset events and the wait for either of two events, the signalling primitives
// that every worker thread of the program waits on.
//
// An event, once set, stays set until someone resets it, so every wait and every poll
// after the Set sees it. Any thread may set, reset, poll or wait on an event; the event
// must outlive every wait on it.

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

namespace osmera {

// A time-out that never runs out.
constexpr uint32_t kWaitInfinite = 0xFFFFFFFF;

// What a wait on two events ended with. When both are set, the first one is reported.
enum LWaitResult : uint8_t {
    kWaitFirst = 0,    // the first event was set
    kWaitSecond = 1,   // the second event was set
    kWaitTimeout = 2,  // neither was set within the time-out
    kWaitFailed = 3,   // the wait was refused
};

class LEvent {
  public:
    explicit LEvent(bool signalled = false) : signalled_(signalled) {}
    LEvent(const LEvent&) = delete;
    LEvent& operator=(const LEvent&) = delete;

    void Set();
    void Reset();
    bool IsSet() const;
    // Waits until the event is set or `timeoutMs` have passed; true when it is set.
    // A time-out of 0 only polls.
    bool Wait(uint32_t timeoutMs) const;

  private:
    friend LWaitResult WaitEitherEvent(const LEvent&, const LEvent&, uint32_t);
    struct Waiter;
    struct Registration {
        Waiter* waiter;
        uint8_t bit;
    };
    void AddWaiter(Waiter* waiter, uint8_t bit) const;
    void RemoveWaiter(Waiter* waiter) const;

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    bool signalled_;
    // Dual waits in progress on this event; Set wakes each of them.
    mutable std::vector<Registration> waiters_;
};

// Waits until either event is set or `timeoutMs` have passed. When an event was set
// during the wait but reset again before the waiter woke, it is still reported, so a
// short pulse is never lost.
LWaitResult WaitEitherEvent(const LEvent& first, const LEvent& second, uint32_t timeoutMs);

}  // namespace osmera
