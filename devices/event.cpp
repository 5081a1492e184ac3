#include "devices/event.h"

#include <algorithm>
#include <chrono>

namespace osmera {
namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point Deadline(uint32_t timeoutMs) {
    return Clock::now() + std::chrono::milliseconds(timeoutMs);
}

}  // namespace

// One dual wait in progress: the events it waits on mark their bit in `fired` when set.
struct LEvent::Waiter {
    std::mutex mutex;
    std::condition_variable woken;
    uint8_t fired = 0;
};

void LEvent::Set() {
    std::lock_guard<std::mutex> lock(mutex_);
    signalled_ = true;
    changed_.notify_all();
    // The event's mutex is held while the waiters are touched: a waiter can only go away
    // after removing itself, which needs that mutex.
    for (const Registration& r : waiters_) {
        std::lock_guard<std::mutex> wl(r.waiter->mutex);
        r.waiter->fired |= r.bit;
        r.waiter->woken.notify_one();
    }
}

void LEvent::Reset() {
    std::lock_guard<std::mutex> lock(mutex_);
    signalled_ = false;
}

bool LEvent::IsSet() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return signalled_;
}

bool LEvent::Wait(uint32_t timeoutMs) const {
    std::unique_lock<std::mutex> lock(mutex_);
    auto isSet = [this] { return signalled_; };
    if (timeoutMs == kWaitInfinite) {
        changed_.wait(lock, isSet);
        return true;
    }
    return changed_.wait_until(lock, Deadline(timeoutMs), isSet);
}

void LEvent::AddWaiter(Waiter* waiter, uint8_t bit) const {
    std::lock_guard<std::mutex> lock(mutex_);
    waiters_.push_back({waiter, bit});
    if (signalled_) {
        std::lock_guard<std::mutex> wl(waiter->mutex);
        waiter->fired |= bit;
    }
}

void LEvent::RemoveWaiter(Waiter* waiter) const {
    std::lock_guard<std::mutex> lock(mutex_);
    waiters_.erase(std::remove_if(waiters_.begin(), waiters_.end(),
                                  [waiter](const Registration& r) { return r.waiter == waiter; }),
                   waiters_.end());
}

LWaitResult WaitEitherEvent(const LEvent& first, const LEvent& second, uint32_t timeoutMs) {
    LEvent::Waiter waiter;
    first.AddWaiter(&waiter, 1);
    second.AddWaiter(&waiter, 2);
    uint8_t fired;
    {
        std::unique_lock<std::mutex> lock(waiter.mutex);
        auto anyFired = [&waiter] { return waiter.fired != 0; };
        if (timeoutMs == kWaitInfinite) {
            waiter.woken.wait(lock, anyFired);
        } else {
            waiter.woken.wait_until(lock, Deadline(timeoutMs), anyFired);
        }
        fired = waiter.fired;
    }
    first.RemoveWaiter(&waiter);
    second.RemoveWaiter(&waiter);
    // The state now wins over the order of the wake-ups, so a set stop event is reported
    // before work even when the work signal woke the wait.
    if (first.IsSet())
        return kWaitFirst;
    if (second.IsSet())
        return kWaitSecond;
    if (fired & 1)
        return kWaitFirst;
    if (fired & 2)
        return kWaitSecond;
    return kWaitTimeout;
}

}  // namespace osmera
