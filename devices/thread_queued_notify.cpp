#include "devices/thread_queued_notify.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/trace.h"

namespace osmera {

// What a queued call reaches the notifier through. The destructor clears `target`, so a
// call that runs after it finds nothing to call.
struct LThreadQueuedNotify::Link {
    std::mutex lock;
    LThreadQueuedNotify* target = nullptr;
    bool pending = false;  // a call is queued and has not started
};

LThreadQueuedNotify::LThreadQueuedNotify(std::function<void()> handler, LDispatcher* dispatcher)
    : link_(std::make_shared<Link>()),
      dispatcher_(dispatcher ? dispatcher : GuiDispatcher()),
      handler_(std::move(handler)) {
    link_->target = this;
    if (dispatcher_ == nullptr)
        LTrace("LThreadQueuedNotify::LThreadQueuedNotify no dispatcher");
}

LThreadQueuedNotify::~LThreadQueuedNotify() {
    std::lock_guard<std::mutex> l(link_->lock);
    link_->target = nullptr;
}

void LThreadQueuedNotify::Notify() {
    if (dispatcher_ == nullptr)
        return;
    {
        std::lock_guard<std::mutex> l(link_->lock);
        if (link_->pending)
            return;
        link_->pending = true;
    }
    dispatcher_->Post([link = link_] { Deliver(link); });
}

void LThreadQueuedNotify::Deliver(const std::shared_ptr<Link>& link) {
    LThreadQueuedNotify* target;
    {
        std::lock_guard<std::mutex> l(link->lock);
        target = link->target;
        // Cleared before the handler runs: news that comes during the handler posts again.
        link->pending = false;
    }
    if (target)
        target->EvNotify();
}

void LThreadQueuedNotify::EvNotify() {
    if (handler_)
        handler_();
}

void LThreadQueuedNotifyText::SetText(int slot, std::string_view text) {
    {
        std::lock_guard<std::mutex> l(lock_);
        if (slot == 0 || slot == 1) {
            size_t n = std::min(text.size(), static_cast<size_t>(kSlotChars - 1));
            // Step back over UTF-8 continuation bytes so a cut text stays valid.
            if (n < text.size()) {
                while (n > 0 && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80)
                    --n;
            }
            slots_[slot].assign(text.data(), n);
            news_ |= static_cast<uint8_t>(1 << slot);
        } else if (slot == kAllocatedSlot) {
            if (!allocated_) {
                allocated_ = std::make_unique<char[]>(text.size() + 1);
                std::memcpy(allocated_.get(), text.data(), text.size());
                allocated_[text.size()] = '\0';
                news_ |= kNewsAllocated;
            }
        } else {
            LTracef("LThreadQueuedNotifyText::SetText bad slot %d", slot);
            return;
        }
    }
    Notify();
}

uint8_t LThreadQueuedNotifyText::TakeNews() {
    std::lock_guard<std::mutex> l(lock_);
    return std::exchange(news_, uint8_t{0});
}

std::string LThreadQueuedNotifyText::Text(int slot) const {
    std::lock_guard<std::mutex> l(lock_);
    if (slot == 0 || slot == 1)
        return slots_[slot];
    if (slot == kAllocatedSlot && allocated_)
        return allocated_.get();
    return {};
}

void LThreadQueuedNotifyPosition::SetPosition(double position) {
    {
        std::lock_guard<std::mutex> l(lock_);
        const double change = position - position_;
        if (!(change > 0.04 || change < -0.04))
            return;
        position_ = position;
    }
    Notify();
}

double LThreadQueuedNotifyPosition::Position() const {
    std::lock_guard<std::mutex> l(lock_);
    return position_;
}

}  // namespace osmera
