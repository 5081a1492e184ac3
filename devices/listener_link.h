#pragma once
// LListenerLink: how a device (the sound player, the sound recorder) keeps its listener
// and reaches it from its worker threads. It holds the listener and its cookie, the latest
// channel levels a worker measured, and the queued notify that runs the owner's handler on
// the dispatcher's (GUI) thread, where the handler reads the levels and calls the
// listener.
//
// Ownership: the listener is borrowed; whoever sets it keeps it alive until it is replaced
// or the link is destroyed. The link belongs to its device and dies with it; the device
// stops every worker that may call Notify or SetLevels before that.
//
// Threads: Set, Call and the handler belong to the dispatcher's thread. Notify, SetLevels,
// EditLevels and Levels may be called from any thread.

#include <functional>
#include <mutex>
#include <utility>

#include "devices/channel_levels.h"
#include "devices/dispatcher.h"
#include "devices/thread_queued_notify.h"

namespace osmera {

template <class Listener>
class LListenerLink {
  public:
    // `handler` runs on the dispatcher's thread for each delivered Notify; a null
    // `dispatcher` means the GUI dispatcher.
    LListenerLink(std::function<void()> handler, LDispatcher* dispatcher)
        : notifier_(std::move(handler), dispatcher) {}
    LListenerLink(const LListenerLink&) = delete;
    LListenerLink& operator=(const LListenerLink&) = delete;

    // A null listener stands for one that does nothing.
    void Set(Listener* listener, void* cookie) {
        listener_ = listener;
        cookie_ = cookie;
    }

    // Calls `fn` of the listener with the cookie and `args`; nothing without a listener.
    template <class... Params, class... Args>
    void Call(void (Listener::*fn)(void*, Params...), Args&&... args) {
        if (listener_)
            (listener_->*fn)(cookie_, std::forward<Args>(args)...);
    }

    // Queues one call of the handler (coalesced, see LThreadQueuedNotify).
    void Notify() { notifier_.Notify(); }

    void SetLevels(const LChannelLevels& levels) {
        std::lock_guard<std::mutex> l(levelsLock_);
        levels_ = levels;
    }
    // Changes the stored levels in place under the lock.
    template <class F>
    void EditLevels(F&& edit) {
        std::lock_guard<std::mutex> l(levelsLock_);
        edit(levels_);
    }
    LChannelLevels Levels() const {
        std::lock_guard<std::mutex> l(levelsLock_);
        return levels_;
    }

  private:
    Listener* listener_ = nullptr;
    void* cookie_ = nullptr;
    mutable std::mutex levelsLock_;
    LChannelLevels levels_;
    LThreadQueuedNotify notifier_;
};

}  // namespace osmera
