#pragma once
// LSignalObject: the "there is work" event of a worker thread. Producers set it; the
// worker sleeps on it together with its stop event through WaitSignalDual.
//
// The event is held by a shared pointer so that a producer that may outlive the owner
// (a sound device's callback, say) can keep its own reference through Event().
// Any thread may call every operation.

#include <cstdint>
#include <memory>

#include "devices/event.h"

namespace osmera {

// What WaitSignalDual ended with, besides kWaitTimeout and kWaitFailed.
constexpr LWaitResult kWaitStop = kWaitFirst;     // the stop event is set
constexpr LWaitResult kWaitSignal = kWaitSecond;  // the signal is set

class LSignalObject {
  public:
    // A new manual-reset event, not set.
    LSignalObject();
    // Uses `event`, which another party may also hold. A null event makes every wait
    // fail and every Set or Reset do nothing.
    explicit LSignalObject(std::shared_ptr<LEvent> event);

    void Set();
    void Reset();
    bool IsSet() const;

    // Waits until `stopEvent` or the signal is set, or `timeoutMs` have passed
    // (kWaitInfinite for a worker that sleeps until there is work). Returns kWaitStop,
    // kWaitSignal, kWaitTimeout, or kWaitFailed when there is no signal event. When both
    // are set the stop wins; a caller that got kWaitSignal still re-tests its stop event
    // before it works, since the stop may have come meanwhile.
    LWaitResult WaitSignalDual(const LEvent& stopEvent, uint32_t timeoutMs) const;

    const std::shared_ptr<LEvent>& Event() const { return hSignalObject; }

  private:
    std::shared_ptr<LEvent> hSignalObject;
};

}  // namespace osmera
