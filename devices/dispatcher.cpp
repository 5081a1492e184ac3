#include "devices/dispatcher.h"

#include <atomic>
#include <chrono>
#include <utility>

namespace osmera {
namespace {

std::atomic<LDispatcher*> gGuiDispatcher{nullptr};

}  // namespace

void LQueueDispatcher::Post(std::function<void()> call) {
    {
        std::lock_guard<std::mutex> l(lock_);
        calls_.push_back(std::move(call));
    }
    posted_.notify_all();
}

int LQueueDispatcher::Pump() {
    std::deque<std::function<void()>> batch;
    {
        std::lock_guard<std::mutex> l(lock_);
        batch.swap(calls_);
    }
    for (auto& call : batch)
        call();
    return static_cast<int>(batch.size());
}

int LQueueDispatcher::WaitAndPump(uint32_t timeoutMs) {
    {
        std::unique_lock<std::mutex> l(lock_);
        posted_.wait_for(l, std::chrono::milliseconds(timeoutMs),
                         [this] { return !calls_.empty(); });
    }
    return Pump();
}

size_t LQueueDispatcher::Pending() const {
    std::lock_guard<std::mutex> l(lock_);
    return calls_.size();
}

void SetGuiDispatcher(LDispatcher* dispatcher) {
    gGuiDispatcher.store(dispatcher);
}

LDispatcher* GuiDispatcher() {
    return gGuiDispatcher.load();
}

}  // namespace osmera
