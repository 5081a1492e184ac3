#include "devices/virtual_sound_devices.h"

#include <algorithm>
#include <chrono>
#include <vector>

#include "core/format_match.h"
#include "core/trace.h"
#include "formats/wave_file.h"

namespace osmera {
namespace {

using Clock = std::chrono::steady_clock;

int32_t StepFrames(int32_t rate) {
    return std::max<int32_t>(1, rate / 100);
}

// When `frames` frames at `rate` and `speed` have passed since `start`.
Clock::time_point DueTime(Clock::time_point start, int64_t frames, int32_t rate, double speed) {
    const double seconds = static_cast<double>(frames) / (static_cast<double>(rate) * speed);
    return start +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

}  // namespace

// ---- output ----

LVirtualOutDevice::LVirtualOutDevice(const LWaveFormat& format, std::shared_ptr<LEvent> event,
                                     double speed, const std::string& wavPath)
    : LSoundOutDevice(format, std::move(event)), speed_(speed < 0 ? 0 : speed) {
    if (!wavPath.empty()) {
        sink_ = LWaveFile::CreateSink(wavPath, format.rate, 0, 2, format.channels);
        if (sink_->IsError()) {
            LTracef("LVirtualOutDevice::LVirtualOutDevice cannot create %s", wavPath.c_str());
            writeFailed_ = true;
        }
    }
    thread_ = std::thread([this] { Run(); });
}

LVirtualOutDevice::~LVirtualOutDevice() {
    {
        std::lock_guard<std::mutex> l(lock_);
        quit_ = true;
    }
    changed_.notify_all();
    thread_.join();
    if (sink_ && !sink_->IsError() && !sink_->Finish())
        writeFailed_ = true;
}

bool LVirtualOutDevice::FileOk() const {
    return !writeFailed_.load() && !(sink_ && sink_->WriteFailed());
}

void LVirtualOutDevice::Run() {
    const LWaveFormat format = Format();
    const int32_t step = StepFrames(format.rate);
    std::vector<int16_t> pcm(static_cast<size_t>(step) * format.channels);
    std::vector<int32_t> wide(pcm.size());
    Clock::time_point start = Clock::now();
    int64_t paced = 0;  // frames consumed since `start`
    bool wasIdle = true;
    for (;;) {
        {
            std::unique_lock<std::mutex> l(lock_);
            if (!quit_ && !HasSoundLocked())
                wasIdle = true;
            changed_.wait(l, [this] { return quit_.load() || HasSoundLocked(); });
            if (quit_)
                return;
        }
        if (wasIdle) {
            // The clock of a device that had nothing to play starts again with the sound.
            start = Clock::now();
            paced = 0;
            wasIdle = false;
        }
        const int32_t got = Consume(pcm.data(), step);
        if (got > 0) {
            played_ += got;
            if (sink_ && !sink_->IsError()) {
                for (size_t i = 0; i < static_cast<size_t>(got) * format.channels; ++i)
                    wide[i] = pcm[i] * 16;
                sink_->Write(wide.data(), got);
            }
        }
        if (speed_ > 0) {
            paced += step;
            std::unique_lock<std::mutex> l(lock_);
            changed_.wait_until(l, DueTime(start, paced, format.rate, speed_),
                                [this] { return quit_.load(); });
        }
    }
}

// ---- input ----

LVirtualInDevice::LVirtualInDevice(const LWaveFormat& format, std::shared_ptr<LEvent> event,
                                   double speed, LSourceRef source,
                                   std::shared_ptr<LEvent> sourceEnded)
    : LSoundInDevice(format, std::move(event)),
      speed_(speed < 0 ? 0 : speed),
      sourceEnded_(std::move(sourceEnded)) {
    if (source && source->IsOk())
        source_ = MatchFormat(std::move(source), format.rate, format.channels);
    else if (source)
        LTrace("LVirtualInDevice::LVirtualInDevice source error, delivering silence");
    finished_ = !source_;
    if (finished_ && sourceEnded_)
        sourceEnded_->Set();
    thread_ = std::thread([this] { Run(); });
}

LVirtualInDevice::~LVirtualInDevice() {
    {
        std::lock_guard<std::mutex> l(lock_);
        quit_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void LVirtualInDevice::Run() {
    const LWaveFormat format = Format();
    const int32_t step = StepFrames(format.rate);
    const size_t stepSamples = static_cast<size_t>(step) * format.channels;
    std::vector<int32_t> wide(stepSamples);
    std::vector<int16_t> pcm(stepSamples);
    Clock::time_point start = Clock::now();
    int64_t paced = 0;
    bool wasStopped = true;
    bool draining = false;  // the source has ended, its sound is not all taken yet
    for (;;) {
        {
            std::unique_lock<std::mutex> l(lock_);
            if (!IsStartedLocked())
                wasStopped = true;
            changed_.wait(l, [this] { return quit_.load() || IsStartedLocked(); });
            if (quit_)
                return;
        }
        if (wasStopped) {
            start = Clock::now();
            paced = 0;
            wasStopped = false;
        }
        // The next 10 ms of input.
        std::fill(pcm.begin(), pcm.end(), int16_t{0});
        if (source_ && !finished_ && !draining) {
            const int32_t left = source_->GetLengthSample() - source_->GetPositionSample();
            const int32_t n = std::clamp(left, 0, step);
            if (n > 0) {
                source_->Read(wide.data(), n);
                for (size_t i = 0; i < static_cast<size_t>(n) * format.channels; ++i)
                    pcm[i] = InternalTo16(wide[i]);
            }
            if (left <= step)
                draining = true;
        }
        if (speed_ > 0) {
            Produce(pcm.data(), step);
            paced += step;
            std::unique_lock<std::mutex> l(lock_);
            changed_.wait_until(l, DueTime(start, paced, format.rate, speed_),
                                [this] { return quit_.load(); });
        } else {
            // As fast as the reader takes it, losing nothing.
            int32_t done = 0;
            while (done < step) {
                done +=
                    Produce(pcm.data() + static_cast<size_t>(done) * format.channels, step - done);
                if (done >= step)
                    break;
                std::unique_lock<std::mutex> l(lock_);
                changed_.wait(l, [this] { return quit_.load() || HasRoomLocked(); });
                if (quit_)
                    return;
            }
        }
        if (draining) {
            // Complete the last buffer with silence and wait until the owner has taken
            // everything. As fast as possible nothing more comes; in real time silence
            // follows, as from a microphone.
            std::unique_lock<std::mutex> l(lock_);
            const int32_t room = PartialRoomLocked();
            l.unlock();
            if (room > 0) {
                std::vector<int16_t> silence(static_cast<size_t>(room) * format.channels);
                Produce(silence.data(), room);
            }
            l.lock();
            changed_.wait(l, [this] { return quit_.load() || AllTakenLocked(); });
            MarkEnd();
            draining = false;
            if (speed_ == 0) {
                changed_.wait(l, [this] { return quit_.load(); });
                return;
            }
        }
    }
}

void LVirtualInDevice::MarkEnd() {
    finished_ = true;
    if (sourceEnded_)
        sourceEnded_->Set();
}

}  // namespace osmera
