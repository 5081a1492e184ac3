#include "devices/detached_thread.h"

#include <list>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "core/trace.h"

namespace osmera {

// The owner's list, shared with every listed thread.
struct LDetachedThreadList {
    std::mutex lock;
    std::list<std::shared_ptr<LThreadControl>> threads;

    void Remove(const std::shared_ptr<LThreadControl>& thread) {
        std::lock_guard<std::mutex> l(lock);
        threads.remove(thread);
    }
};

LDetachedThread::LDetachedThread() : control_(std::make_shared<LThreadControl>(this)) {}

LDetachedThread::~LDetachedThread() = default;

void LDetachedThread::ThreadFunction() {
    LTrace("LDetachedThread::ThreadFunction has not been overridden!");
}

void LDetachedThread::Start(LDetachedThreadsOwner* owner, int priority) {
    std::shared_ptr<LDetachedThreadList> list = owner ? owner->list_ : nullptr;
    std::shared_ptr<LThreadControl> control = control_;
    control->Prepare(priority);
    control->SetRunning(true);
    if (owner)
        owner->Add(control);
    try {
        // Once the thread exists it may end and delete this object at any moment.
        std::thread(&LDetachedThread::ThreadFunc, this, control, list).detach();
    } catch (const std::system_error&) {
        LTrace("LDetachedThread::Start Unable to CreateThread FAILED");
        control->SetRunning(false);
        if (list)
            list->Remove(control);
        delete this;
        control->Finish();
    }
}

void LDetachedThread::ThreadFunc(LDetachedThread* bgp, std::shared_ptr<LThreadControl> control,
                                 std::shared_ptr<LDetachedThreadList> list) {
    control->Attach();
    if (bgp == nullptr) {
        LTrace("LDetachedThread::ThreadFunc bgp == NULL");
    } else {
        bgp->ThreadFunction();
    }
    control->SetRunning(false);
    // Off the list first, so that the owner never waits for a thread that is gone; an
    // owner that already took it off is stopping it and waits for Finish below.
    if (list)
        list->Remove(control);
    delete bgp;
    control->Finish();
}

LDetachedThreadsOwner::LDetachedThreadsOwner() : list_(std::make_shared<LDetachedThreadList>()) {}

LDetachedThreadsOwner::~LDetachedThreadsOwner() {
    StopThreadsNow(kThreadStopTimeoutMs);
}

void LDetachedThreadsOwner::Add(const std::shared_ptr<LThreadControl>& thread) {
    std::lock_guard<std::mutex> l(list_->lock);
    list_->threads.push_back(thread);
}

void LDetachedThreadsOwner::StopThreadsSoon() {
    std::lock_guard<std::mutex> l(list_->lock);
    for (const auto& thread : list_->threads)
        thread->stopEvent.Set();
}

void LDetachedThreadsOwner::StopThreadsNow(uint32_t timeoutMsEach) {
    StopThreadsSoon();
    for (;;) {
        std::shared_ptr<LThreadControl> next;
        {
            std::lock_guard<std::mutex> l(list_->lock);
            if (list_->threads.empty())
                break;
            next = std::move(list_->threads.front());
            list_->threads.pop_front();
        }
        // Outside the lock: the thread takes the lock itself on its way out.
        next->StopTimed(timeoutMsEach);
    }
}

size_t LDetachedThreadsOwner::Count() const {
    std::lock_guard<std::mutex> l(list_->lock);
    return list_->threads.size();
}

}  // namespace osmera
