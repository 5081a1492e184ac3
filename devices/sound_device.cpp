#include "devices/sound_device.h"

#include <algorithm>
#include <cstring>

#include "core/trace.h"

namespace osmera {

int16_t InternalTo16(int32_t x) {
    const int32_t v = static_cast<int32_t>(static_cast<uint32_t>(x) + 8u) >> 4;
    if (x > 0x7FFFFFF7)
        return 32767;
    return static_cast<int16_t>(std::clamp(v, -32768, 32767));
}

namespace {

// Preparing a buffer only marks it: both directions share these rules.
LWaveResult PrepareHeader(LWaveHeader* header) {
    if (header == nullptr || header->data == nullptr)
        return kWaveError;
    header->flags.fetch_or(kWavePrepared);
    return kWaveOk;
}

// A queued buffer cannot be unprepared until the device has finished with it.
LWaveResult UnprepareHeader(LWaveHeader* header) {
    if (header == nullptr)
        return kWaveError;
    if (header->flags.load() & kWaveInQueue)
        return kWaveStillPlaying;
    header->flags.fetch_and(~kWavePrepared);
    return kWaveOk;
}

}  // namespace

// ---- output ----

LSoundOutDevice::LSoundOutDevice(const LWaveFormat& format, std::shared_ptr<LEvent> event)
    : format_(format), event_(std::move(event)) {}

LSoundOutDevice::~LSoundOutDevice() = default;

LWaveResult LSoundOutDevice::Prepare(LWaveHeader* header) {
    return PrepareHeader(header);
}

LWaveResult LSoundOutDevice::Unprepare(LWaveHeader* header) {
    return UnprepareHeader(header);
}

LWaveResult LSoundOutDevice::Write(LWaveHeader* header) {
    if (header == nullptr)
        return kWaveError;
    const uint32_t f = header->flags.load();
    if (!(f & kWavePrepared) || (f & kWaveInQueue))
        return kWaveError;
    std::lock_guard<std::mutex> l(lock_);
    header->flags.store((f & ~kWaveDone) | kWaveInQueue);
    queue_.push_back(header);
    OnQueueChanged();
    return kWaveOk;
}

void LSoundOutDevice::Pause() {
    std::lock_guard<std::mutex> l(lock_);
    paused_ = true;
    OnQueueChanged();
}

void LSoundOutDevice::Restart() {
    std::lock_guard<std::mutex> l(lock_);
    paused_ = false;
    OnQueueChanged();
}

bool LSoundOutDevice::IsPaused() const {
    std::lock_guard<std::mutex> l(lock_);
    return paused_;
}

void LSoundOutDevice::Reset() {
    bool any;
    {
        std::lock_guard<std::mutex> l(lock_);
        any = !queue_.empty();
        for (LWaveHeader* h : queue_)
            h->flags.store((h->flags.load() & ~kWaveInQueue) | kWaveDone);
        queue_.clear();
        cursor_ = 0;
        offset_ = 0;
        loopStart_ = -1;
        loopsLeft_ = 0;
        paused_ = false;
        OnQueueChanged();
    }
    if (any && event_)
        event_->Set();
}

void LSoundOutDevice::FinishPlayedLocked() {
    while (cursor_ > 0 && (loopStart_ < 0 || loopStart_ > 0)) {
        LWaveHeader* h = queue_.front();
        queue_.pop_front();
        --cursor_;
        if (loopStart_ > 0)
            --loopStart_;
        h->flags.store((h->flags.load() & ~kWaveInQueue) | kWaveDone);
        if (event_)
            event_->Set();
    }
}

int32_t LSoundOutDevice::Consume(int16_t* out, int32_t frames) {
    const uint32_t align = static_cast<uint32_t>(format_.BlockAlign());
    auto* dst = reinterpret_cast<uint8_t*>(out);
    uint32_t want = static_cast<uint32_t>(frames) * align;
    uint32_t got = 0;
    std::lock_guard<std::mutex> l(lock_);
    // A loop made only of empty buffers would never end; bound the passes per call.
    int emptyPasses = 0;
    while (!paused_ && got < want && cursor_ < queue_.size() && emptyPasses < 4) {
        LWaveHeader* h = queue_[cursor_];
        const uint32_t f = h->flags.load();
        if (offset_ == 0 && (f & kWaveBeginLoop) && loopStart_ < 0) {
            loopStart_ = static_cast<int>(cursor_);
            loopsLeft_ = h->loops == 0 ? 1 : h->loops;
        }
        const uint32_t length = h->bufferLength - h->bufferLength % align;
        const uint32_t n = std::min(want - got, length - std::min(offset_, length));
        if (n > 0) {
            std::memcpy(dst + got, reinterpret_cast<const uint8_t*>(h->data) + offset_, n);
            got += n;
            offset_ += n;
        }
        if (offset_ < length)
            break;
        // This buffer is used up: leave it, going back to the loop's start when passes
        // remain.
        offset_ = 0;
        if ((f & kWaveEndLoop) && loopStart_ >= 0) {
            if (--loopsLeft_ > 0) {
                if (n == 0 && length == 0)
                    ++emptyPasses;
                cursor_ = static_cast<size_t>(loopStart_);
                continue;
            }
            loopStart_ = -1;
        }
        ++cursor_;
        FinishPlayedLocked();
    }
    if (got < want)
        std::memset(dst + got, 0, want - got);
    return static_cast<int32_t>(got / align);
}

// ---- input ----

LSoundInDevice::LSoundInDevice(const LWaveFormat& format, std::shared_ptr<LEvent> event)
    : format_(format), event_(std::move(event)) {}

LSoundInDevice::~LSoundInDevice() = default;

LWaveResult LSoundInDevice::Prepare(LWaveHeader* header) {
    return PrepareHeader(header);
}

LWaveResult LSoundInDevice::Unprepare(LWaveHeader* header) {
    return UnprepareHeader(header);
}

LWaveResult LSoundInDevice::AddBuffer(LWaveHeader* header) {
    if (header == nullptr)
        return kWaveError;
    const uint32_t f = header->flags.load();
    if (!(f & kWavePrepared) || (f & kWaveInQueue))
        return kWaveError;
    std::lock_guard<std::mutex> l(lock_);
    header->bytesRecorded = 0;
    header->flags.store((f & ~kWaveDone) | kWaveInQueue);
    finishedOut_.erase(header);
    queue_.push_back(header);
    OnQueueChanged();
    return kWaveOk;
}

void LSoundInDevice::Start() {
    std::lock_guard<std::mutex> l(lock_);
    started_ = true;
    OnQueueChanged();
}

void LSoundInDevice::FinishHeadLocked() {
    LWaveHeader* h = queue_.front();
    queue_.pop_front();
    h->flags.store((h->flags.load() & ~kWaveInQueue) | kWaveDone);
    finishedOut_.insert(h);
    if (event_)
        event_->Set();
}

void LSoundInDevice::Stop() {
    std::lock_guard<std::mutex> l(lock_);
    started_ = false;
    if (!queue_.empty() && queue_.front()->bytesRecorded > 0)
        FinishHeadLocked();
    OnQueueChanged();
}

void LSoundInDevice::Reset() {
    std::lock_guard<std::mutex> l(lock_);
    started_ = false;
    while (!queue_.empty())
        FinishHeadLocked();
    OnQueueChanged();
}

int32_t LSoundInDevice::Produce(const int16_t* in, int32_t frames) {
    const uint32_t align = static_cast<uint32_t>(format_.BlockAlign());
    const auto* src = reinterpret_cast<const uint8_t*>(in);
    const uint32_t want = static_cast<uint32_t>(frames) * align;
    uint32_t taken = 0;
    std::lock_guard<std::mutex> l(lock_);
    while (started_ && taken < want && !queue_.empty()) {
        LWaveHeader* h = queue_.front();
        const uint32_t length = h->bufferLength - h->bufferLength % align;
        const uint32_t n = std::min(want - taken, length - std::min(h->bytesRecorded, length));
        std::memcpy(reinterpret_cast<uint8_t*>(h->data) + h->bytesRecorded, src + taken, n);
        h->bytesRecorded += n;
        taken += n;
        if (h->bytesRecorded >= length)
            FinishHeadLocked();
    }
    return static_cast<int32_t>(taken / align);
}

}  // namespace osmera
