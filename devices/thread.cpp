#include "devices/thread.h"

#include <system_error>
#include <utility>

#include "core/trace.h"

namespace osmera {

LThread::LThread() : control_(std::make_shared<LThreadControl>(this)) {}

LThread::~LThread() {
    StopThreadTimed(kThreadStopTimeoutMs);
}

void LThread::Start(int priority) {
    std::lock_guard<std::mutex> lock(startLock_);
    std::shared_ptr<LThreadControl> control;
    {
        std::lock_guard<std::mutex> cl(controlLock_);
        control = control_;
    }
    if (thread_.joinable()) {
        if (control->IsRunning()) {
            LTrace("LThread::Start Thread is already running!");
            return;
        }
        // The body has returned; the thread is at most finishing its entry point.
        Collect(control->WaitDone(1000));
        std::lock_guard<std::mutex> cl(controlLock_);
        control = control_;
    }
    control->stopEvent.Reset();
    control->Prepare(priority);
    control->SetRunning(true);
    try {
        thread_ = std::thread(&LThread::ThreadFunc, this, control);
    } catch (const std::system_error&) {
        // Out of threads or memory: the object stays idle and may be started again.
        control->SetRunning(false);
        control->Finish();
        LTrace("LThread::Start Unable to CreateThread FAILED");
    }
}

void LThread::ThreadFunc(LThread* bgp, std::shared_ptr<LThreadControl> control) {
    control->Attach();
    if (bgp == nullptr) {
        LTrace("LThread::ThreadFunc bgp == NULL");
    } else {
        bgp->ThreadFunction();
    }
    // From here on only the control is touched: the object may be gone already when this
    // thread was let go after a stop time-out.
    control->SetRunning(false);
    control->Finish();
}

void LThread::StopThreadTimed(uint32_t timeoutMs) {
    std::lock_guard<std::mutex> lock(startLock_);
    if (!thread_.joinable())
        return;
    std::shared_ptr<LThreadControl> control;
    {
        std::lock_guard<std::mutex> cl(controlLock_);
        control = control_;
    }
    Collect(control->StopTimed(timeoutMs));
}

void LThread::Collect(bool ended) {
    if (ended) {
        thread_.join();
        return;
    }
    // Let the thread go: it keeps its control, which stays stopped for it, and the object
    // takes a fresh one so that a new Start cannot revive the old body.
    thread_.detach();
    auto fresh = std::make_shared<LThreadControl>(this);
    std::lock_guard<std::mutex> cl(controlLock_);
    control_->SetRunning(false);
    control_ = std::move(fresh);
}

const LThreadControl& LThread::ControlForCaller(std::shared_ptr<LThreadControl>& keep) const {
    // The worker's own run is found without touching the object, which a let-go body may
    // have outlived.
    LThreadControl* run = LThreadControl::Current();
    if (run != nullptr && run->Owner() == this)
        return *run;
    std::lock_guard<std::mutex> cl(controlLock_);
    keep = control_;
    return *keep;
}

bool LThread::IsRunning() const {
    std::lock_guard<std::mutex> cl(controlLock_);
    return control_->IsRunning();
}

bool LThread::ShouldStop() const {
    std::shared_ptr<LThreadControl> keep;
    return ControlForCaller(keep).ShouldStop();
}

const LEvent& LThread::StopEvent() const {
    std::shared_ptr<LThreadControl> keep;
    return ControlForCaller(keep).stopEvent;
}

void LThread::SetPriority(int priority) {
    std::shared_ptr<LThreadControl> control;
    {
        std::lock_guard<std::mutex> cl(controlLock_);
        control = control_;
    }
    control->SetPriority(priority);
}

}  // namespace osmera
