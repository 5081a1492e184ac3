#include "devices/thread_control.h"

#include <chrono>

#include "core/trace.h"
#include "devices/thread_priority.h"

namespace osmera {
namespace {

thread_local LThreadControl* tlsCurrentRun = nullptr;

}  // namespace

void LThreadControl::Prepare(int priority) {
    std::lock_guard<std::mutex> lock(mutex_);
    done_ = false;
    priority_ = priority;
    tid_ = 0;
}

void LThreadControl::Attach() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        tid_ = CurrentThreadId();
        ApplyThreadPriority(tid_, priority_);
    }
    tlsCurrentRun = this;
}

void LThreadControl::Finish() {
    tlsCurrentRun = nullptr;
    std::lock_guard<std::mutex> lock(mutex_);
    done_ = true;
    tid_ = 0;
    doneChanged_.notify_all();
}

bool LThreadControl::WaitDone(uint32_t timeoutMs) {
    std::unique_lock<std::mutex> lock(mutex_);
    auto isDone = [this] { return done_; };
    if (timeoutMs == kWaitInfinite) {
        doneChanged_.wait(lock, isDone);
        return true;
    }
    return doneChanged_.wait_for(lock, std::chrono::milliseconds(timeoutMs), isDone);
}

bool LThreadControl::StopTimed(uint32_t timeoutMs) {
    stopEvent.Set();
    SetPriority(CurrentThreadPriority());
    if (WaitDone(timeoutMs))
        return true;
    // There is no safe way to end a thread from outside: it is left to finish on its own,
    // and it sees its stop event set at every later poll.
    LTrace("LThread::StopThreadTimed TimeOut ERROR");
    running_.store(false);
    return false;
}

void LThreadControl::SetPriority(int priority) {
    std::lock_guard<std::mutex> lock(mutex_);
    priority_ = priority;
    // The mutex keeps the thread from passing Finish meanwhile, so tid_ names it still.
    if (tid_ != 0)
        ApplyThreadPriority(tid_, priority);
}

int LThreadControl::Priority() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return priority_;
}

LThreadControl* LThreadControl::Current() {
    return tlsCurrentRun;
}

int CurrentThreadPriority() {
    LThreadControl* run = LThreadControl::Current();
    return run ? run->Priority() : kThreadPriorityNormal;
}

}  // namespace osmera
