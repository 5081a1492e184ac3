#include "edit/journal_write_queue.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <map>
#include <mutex>
#include <thread>

#include "core/trace.h"
#include "edit/audio_cut_tank.h"
#include "edit/document_journal.h"

namespace osmera {

void ReleaseCuts(const std::vector<uint16_t>& pins) {
    LAudioCutTank& tank = LAudioCutTank::Instance();
    for (uint16_t n : pins)
        tank.DecRef(n);
}

namespace {
struct LSlot {
    bool waiting = false;  // `bytes` and `pins` hold a state not yet taken
    std::string bytes;
    std::vector<uint16_t> pins;
    std::string label;
    bool writing = false;          // the writer has taken a state and not yet finished it
    bool removed = false;          // the owner removed the journal while it was being written
    std::vector<uint16_t> onDisk;  // cuts of the journal on the disk
};
}  // namespace

struct LJournalWriteQueue::State {
    FailureFn onFailure;
    std::mutex mutex;
    std::condition_variable work;  // the writer waits for states or the end
    std::condition_variable done;  // the owner waits for writes to end
    std::map<std::string, LSlot> slots;
    std::deque<std::string> order;  // paths with a waiting state, oldest first
    bool stop = false;
    std::thread thread;

    bool Idle() const {
        if (!order.empty())
            return false;
        for (const auto& [path, slot] : slots) {
            if (slot.writing)
                return false;
        }
        return true;
    }
};

LJournalWriteQueue::LJournalWriteQueue(FailureFn onFailure) : state_(std::make_shared<State>()) {
    state_->onFailure = std::move(onFailure);
    state_->thread = std::thread(&LJournalWriteQueue::Run, state_);
}

LJournalWriteQueue::~LJournalWriteQueue() {
    Drain();
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        state_->stop = true;
    }
    state_->work.notify_all();
    std::unique_lock<std::mutex> lock(state_->mutex);
    if (state_->done.wait_for(lock, std::chrono::milliseconds(kWaitMs),
                              [this] { return state_->Idle(); })) {
        lock.unlock();
        state_->thread.join();
    } else {
        // The body holds the shared state; it ends on its own after its last write.
        LTracef("LJournalWriteQueue: the writer did not end within %u ms, let go", kWaitMs);
        state_->onFailure = nullptr;  // its owner goes now
        state_->thread.detach();
    }
}

void LJournalWriteQueue::Post(const std::string& path, std::string bytes,
                              std::vector<uint16_t> pins, std::string label) {
    std::vector<uint16_t> dropped;
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        LSlot& slot = state_->slots[path];
        slot.removed = false;
        if (slot.waiting)
            dropped = std::move(slot.pins);
        else
            state_->order.push_back(path);
        slot.waiting = true;
        slot.bytes = std::move(bytes);
        slot.pins = std::move(pins);
        slot.label = std::move(label);
    }
    ReleaseCuts(dropped);
    state_->work.notify_one();
}

bool LJournalWriteQueue::Remove(const std::string& path, uint32_t timeoutMs) {
    std::vector<uint16_t> release;
    std::unique_lock<std::mutex> lock(state_->mutex);
    auto it = state_->slots.find(path);
    if (it == state_->slots.end())
        return true;
    LSlot& slot = it->second;
    if (slot.waiting) {
        release = std::move(slot.pins);
        slot.waiting = false;
        std::erase(state_->order, path);
    }
    slot.removed = true;
    const bool ended = state_->done.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
        auto found = state_->slots.find(path);
        return found == state_->slots.end() || !found->second.writing;
    });
    if (!ended) {
        LTracef("LJournalWriteQueue::Remove %s: the writer did not end within %u ms", path.c_str(),
                timeoutMs);
        lock.unlock();
        ReleaseCuts(release);
        return false;
    }
    it = state_->slots.find(path);
    if (it != state_->slots.end() && it->second.removed && !it->second.waiting) {
        std::remove(path.c_str());
        release.insert(release.end(), it->second.onDisk.begin(), it->second.onDisk.end());
        state_->slots.erase(it);
    }
    lock.unlock();
    ReleaseCuts(release);
    return true;
}

bool LJournalWriteQueue::Drain(uint32_t timeoutMs) {
    std::unique_lock<std::mutex> lock(state_->mutex);
    if (state_->done.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                              [this] { return state_->Idle(); }))
        return true;
    LTracef("LJournalWriteQueue::Drain: the writer did not end within %u ms", timeoutMs);
    return false;
}

void LJournalWriteQueue::Run(std::shared_ptr<State> state) {
    std::unique_lock<std::mutex> lock(state->mutex);
    for (;;) {
        state->work.wait(lock, [&] { return state->stop || !state->order.empty(); });
        if (state->order.empty())
            return;  // stop, and nothing left
        const std::string path = state->order.front();
        state->order.pop_front();
        LSlot& taken = state->slots[path];
        taken.waiting = false;
        taken.writing = true;
        const std::string bytes = std::move(taken.bytes);
        std::vector<uint16_t> pins = std::move(taken.pins);
        const std::string label = std::move(taken.label);
        lock.unlock();

        std::string message;
        const bool ok = WriteFileAtomically(path, bytes, &message);

        std::vector<uint16_t> release;
        lock.lock();
        if (!ok && state->onFailure)
            state->onFailure(label, message);
        LSlot& slot = state->slots[path];  // map nodes are stable; the owner erases no busy slot
        slot.writing = false;
        if (ok) {
            release = std::move(slot.onDisk);
            slot.onDisk = std::move(pins);
        } else {
            release = std::move(pins);
        }
        if (slot.removed && !slot.waiting) {
            // Removed while it was written (a Remove that timed out, or one still waiting).
            std::remove(path.c_str());
            release.insert(release.end(), slot.onDisk.begin(), slot.onDisk.end());
            state->slots.erase(path);
        }
        lock.unlock();
        ReleaseCuts(release);
        state->done.notify_all();
        lock.lock();
    }
}

}  // namespace osmera
