#pragma once
// LThreadQueuedNotify: how a worker asks the GUI thread to run a handler. The worker
// changes shared data under the data's own lock and calls Notify(); the handler runs
// later on the dispatcher's thread and reads the data there. Workers never call into
// windows themselves.
//
// Posts are coalesced: while one call is queued and has not started, further Notify()
// calls add nothing, and the handler finds the newest data of all of them. A Notify()
// that comes while the handler runs queues one more call.
//
// Threads: Notify, SetText and SetPosition may be called from any thread. Construction,
// destruction and the handler belong to the dispatcher's thread. A call still queued when
// the object is destroyed does nothing when it runs. The owner stops every worker that
// may call Notify before destroying the object.

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "devices/dispatcher.h"

namespace osmera {

class LThreadQueuedNotify {
  public:
    // `handler` runs on each delivered call (through EvNotify). A null `dispatcher` means
    // the GUI dispatcher set at this moment; with none at all, Notify does nothing
    // ("LThreadQueuedNotify::LThreadQueuedNotify no dispatcher").
    explicit LThreadQueuedNotify(std::function<void()> handler = {},
                                 LDispatcher* dispatcher = nullptr);
    virtual ~LThreadQueuedNotify();
    LThreadQueuedNotify(const LThreadQueuedNotify&) = delete;
    LThreadQueuedNotify& operator=(const LThreadQueuedNotify&) = delete;

    // Queues a call of the handler unless one is queued already. Never blocks for long.
    void Notify();

  protected:
    // The handler, on the dispatcher's thread. Calls the function given at construction.
    virtual void EvNotify();

  private:
    struct Link;
    static void Deliver(const std::shared_ptr<Link>& link);

    std::shared_ptr<Link> link_;  // also held by every queued call
    LDispatcher* dispatcher_;
    std::function<void()> handler_;
};

// Carries texts from a worker: two slots of 260 characters (259 and the end mark) and one
// slot allocated on first use that keeps its first text for the object's life.
class LThreadQueuedNotifyText : public LThreadQueuedNotify {
  public:
    static constexpr int kSlotChars = 260;
    static constexpr int kAllocatedSlot = 2;
    // Bits of the news flags: which slot got a text since the last TakeNews.
    enum : uint8_t { kNewsSlot0 = 1, kNewsSlot1 = 2, kNewsAllocated = 4 };

    using LThreadQueuedNotify::LThreadQueuedNotify;

    // Stores `text` in slot 0 or 1 (cut to 259 bytes, never inside a UTF-8 character) or
    // fills the allocated slot (kAllocatedSlot) if it is still empty, sets that slot's news
    // bit and notifies. Another slot number is traced and ignored. Any thread.
    void SetText(int slot, std::string_view text);
    // The news flags, cleared by the call. Normally called by the handler.
    uint8_t TakeNews();
    // The text of a slot; empty for an unknown slot or one not yet set.
    std::string Text(int slot) const;

  private:
    mutable std::mutex lock_;
    std::string slots_[2];
    std::unique_ptr<char[]> allocated_;
    uint8_t news_ = 0;
};

// Carries a position (in whatever unit its owner uses) from a worker, posting only changes
// of more than 0.04 either way from the last posted value (0 at first); smaller changes,
// and a change of exactly 0.04, are dropped.
class LThreadQueuedNotifyPosition : public LThreadQueuedNotify {
  public:
    using LThreadQueuedNotify::LThreadQueuedNotify;

    // Any thread.
    void SetPosition(double position);
    // The last posted position.
    double Position() const;

  private:
    mutable std::mutex lock_;
    double position_ = 0.0;
};

}  // namespace osmera
