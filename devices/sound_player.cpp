#include "devices/sound_player.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

#include "core/generator_sources.h"
#include "core/peak_limiter_source.h"
#include "core/sound_time.h"
#include "core/trace.h"

namespace osmera {
namespace {

// The source held while nothing plays.
LSourceRef DefaultSource() {
    return MakeRef<LSRCSilence>(11025, 1, 0);
}

constexpr uint32_t kStopTimeoutMs = 5000;
constexpr uint32_t kWaitMs = 1000;

}  // namespace

// Collects finished buffers in ring order (see LSoundPlayer::DoneHandlerLoop).
class LSoundPlayerDoneHandlerThread : public LThread {
  public:
    explicit LSoundPlayerDoneHandlerThread(LSoundPlayer& player) : player_(player) {}
    ~LSoundPlayerDoneHandlerThread() override { StopThreadTimed(kStopTimeoutMs); }

  protected:
    void ThreadFunction() override { player_.DoneHandlerLoop(*this); }

  private:
    LSoundPlayer& player_;
};

LSoundPlayer::LSoundPlayer(LDispatcher* dispatcher)
    : source_(DefaultSource()),
      opener_(OpenSystemOutDevice),
      deviceEvent_(std::make_shared<LEvent>()),
      deviceSignal_(deviceEvent_),
      doneHandler_(std::make_unique<LSoundPlayerDoneHandlerThread>(*this)),
      link_([this] { EvNotify(); }, dispatcher) {}

LSoundPlayer::~LSoundPlayer() {
    Stop();
    StopThreadTimed(kStopTimeoutMs);
    doneHandler_.reset();
}

void LSoundPlayer::SetDeviceOpener(LOutDeviceOpener opener) {
    opener_ = opener ? std::move(opener) : LOutDeviceOpener(OpenSystemOutDevice);
}

void LSoundPlayer::SetNotify(LSoundPlayerNotify* notify, void* cookie) {
    link_.Set(notify, cookie);
}

int32_t LSoundPlayer::FramesPerBufferFor(int32_t rate) {
    return std::clamp(rate / 10, 20, 8192);
}

int32_t LSoundPlayer::Milliseconds(int32_t frame) const {
    const int32_t rate = source_->GetSampleRate();
    return rate > 0 ? LSoundTime(frame, rate).GetMilliseconds() : 0;
}

bool LSoundPlayer::Start(LSourceRef source, uint32_t flags) {
    Stop();
    if (!source || !source->IsOk()) {
        LTrace("LSoundPlayer::Start Source Error");
        return false;
    }
    // The buffers hold 16 bits: a source that can go beyond that range is limited first.
    if (source->GetPeak() > kPeak16Bit)
        source = MakeRef<LSRCPeakLimiter>(std::move(source), kPeak16Bit);

    LWaveFormat format;
    format.rate = source->GetSampleRate();
    format.channels = source->GetChannels() ? source->GetChannels() : 1;
    deviceEvent_->Reset();
    out_ = opener_(deviceNumber_, false, format, deviceEvent_);
    if (!out_)
        out_ = opener_(deviceNumber_, true, format, deviceEvent_);
    if (!out_) {
        LTrace("LSoundPlayer::Start waveOutOpen Error");
        return false;
    }
    source_ = std::move(source);
    channels_ = format.channels;
    framesPerBuffer_ = FramesPerBufferFor(format.rate);
    const size_t sliceSamples = static_cast<size_t>(channels_) * framesPerBuffer_;
    memory_.assign(sliceSamples * kBuffers, 0);
    work_.assign(sliceSamples, 0);
    for (int i = 0; i < kBuffers; ++i) {
        WaveHeader& h = headers_[i];
        h.sliceBytes = static_cast<uint32_t>(sliceSamples * 2);
        h.hdr.data = memory_.data() + sliceSamples * i;
        h.hdr.bufferLength = h.sliceBytes;
        h.hdr.flags = 0;
        h.hdr.loops = 0;
        h.free = 1;
        if (out_->Prepare(&h.hdr) != kWaveOk)
            LTrace("LSoundPlayer::WaveHeader::Create waveOutPrepareHeader ERROR");
    }

    state_ = kStateOpen;
    if (flags & (kStartPaused | kStartPrefill)) {
        out_->Pause();
        state_.fetch_or((flags & kStartPaused) ? kStatePaused : kStateStartPending);
    }
    end_ = 0;
    positionChanged_ = 0;
    played_ = source_->GetPositionSample();
    LThread::Start(kThreadPriorityNormal);
    if (flags & kStartPaused)
        link_.Call(&LSoundPlayerNotify::OnPause);
    else
        link_.Call(&LSoundPlayerNotify::OnPlay);
    link_.Call(&LSoundPlayerNotify::OnPosition, Milliseconds(played_));
    return true;
}

void LSoundPlayer::Stop() {
    if (!IsOpen())
        return;
    StopThreadTimed(kStopTimeoutMs);
    out_->Reset();
    // Every header is unprepared; one shared budget covers buffers still playing.
    int budget = 1000;
    for (WaveHeader& h : headers_) {
        h.hdr.bufferLength = h.sliceBytes;
        LWaveResult r;
        while ((r = out_->Unprepare(&h.hdr)) == kWaveStillPlaying && budget > 0) {
            LTrace(
                "LSoundPlayer::WaveHeader::Destroy waveOutUnprepareHeader failed wait while "
                "WAVERR_STILLPLAYING");
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            budget -= 50;
        }
        if (r == kWaveStillPlaying)
            LTrace("LSoundPlayer::WaveHeader::Destroy waveOutUnprepareHeader TIMEOUT");
        else if (r != kWaveOk)
            LTrace("LSoundPlayer::WaveHeader::Destroy waveOutUnprepareHeader FAILED");
    }
    LTrace("LSoundPlayer::Stop Close lssSource");
    source_ = DefaultSource();
    out_.reset();
    for (WaveHeader& h : headers_)
        h.hdr.data = nullptr;
    memory_.clear();
    memory_.shrink_to_fit();
    work_.clear();
    played_ = 0;
    state_ = 0;
    end_ = 0;
    positionChanged_ = 0;
    link_.Call(&LSoundPlayerNotify::OnStop);
}

void LSoundPlayer::Pause() {
    if (!IsOpen() || (state_ & kStatePaused))
        return;
    out_->Pause();
    state_.fetch_or(kStatePaused);
    link_.Call(&LSoundPlayerNotify::OnPause);
}

void LSoundPlayer::Play() {
    if (!IsOpen())
        return;
    if (state_ & kStateCued) {
        out_->Reset();
        ClearStateBits(kStateCued);
        // The cue snippet was read ahead of the played position; play on from there.
        source_->Seek(played_);
        LThread::Start(kThreadPriorityNormal);
    }
    if (state_ & kStatePaused) {
        out_->Restart();
        ClearStateBits(kStatePaused);
    }
    link_.Call(&LSoundPlayerNotify::OnPlay);
}

void LSoundPlayer::Cue() {
    if (!IsOpen())
        return;
    if (state_ & kStateCued) {
        if (state_ & kStatePaused) {
            out_->Restart();
            ClearStateBits(kStatePaused);
        }
        return;
    }
    StopThreadTimed(kStopTimeoutMs);
    source_->Seek(played_);
    played_ = source_->GetPositionSample();
    WriteCueBuffer();
    state_ = kStateOpen | kStateCued;
    end_ = 0;
    positionChanged_ = 0;
    link_.Call(&LSoundPlayerNotify::OnCue);
    link_.Call(&LSoundPlayerNotify::OnPosition, Milliseconds(played_));
}

void LSoundPlayer::Seek(int32_t frame) {
    if (!IsOpen())
        return;
    StopThreadTimed(kStopTimeoutMs);
    out_->Reset();
    source_->Seek(frame);
    played_ = source_->GetPositionSample();
    end_ = 0;
    positionChanged_ = 0;
    if (state_ & kStatePaused)
        out_->Pause();
    if (state_ & kStateCued)
        WriteCueBuffer();
    else
        LThread::Start(kThreadPriorityNormal);
    link_.Call(&LSoundPlayerNotify::OnPosition, Milliseconds(played_));
}

void LSoundPlayer::EvNotify() {
    if (!end_ && positionChanged_) {
        positionChanged_ = 0;
        link_.Call(&LSoundPlayerNotify::OnPosition, Milliseconds(played_));
        link_.Call(&LSoundPlayerNotify::OnLevels, link_.Levels());
    }
    if (end_) {
        link_.Call(&LSoundPlayerNotify::OnPosition, Milliseconds(source_->GetLengthSample()));
        LTrace("LSoundPlayer::EvNotify() bNotifyStop");
        Stop();
    }
}

void LSoundPlayer::FillHeader(WaveHeader& h, int32_t position, int32_t frames) {
    const size_t samples = static_cast<size_t>(frames) * channels_;
    for (size_t i = 0; i < samples; ++i)
        h.hdr.data[i] = InternalTo16(work_[i]);
    ComputePlayerLevels(work_.data(), frames, channels_, &h.levels);
    h.hdr.bufferLength = static_cast<uint32_t>(samples * 2);
    h.hdr.user = static_cast<int64_t>(position) + frames;
    h.hdr.flags.fetch_and(kWavePrepared);
    h.free = 0;
}

void LSoundPlayer::WriteCueBuffer() {
    const int32_t q = (framesPerBuffer_ + 3) / 4;
    const int32_t left = source_->GetLengthSample() - source_->GetPositionSample();
    const int32_t n = std::clamp(left, 0, q);
    std::fill(work_.begin(), work_.end(), 0);
    if (n > 0)
        source_->Read(work_.data(), n);
    WaveHeader& h = headers_[0];
    const size_t snippet = static_cast<size_t>(q) * channels_;
    const size_t slice = static_cast<size_t>(framesPerBuffer_) * channels_;
    for (size_t i = 0; i < snippet; ++i)
        h.hdr.data[i] = InternalTo16(work_[i]);
    // The snippet four times over; the last copy is cut to the slice.
    for (size_t at = snippet; at < slice; at += snippet)
        std::memcpy(h.hdr.data + at, h.hdr.data, std::min(snippet, slice - at) * 2);
    h.hdr.flags.fetch_and(~(kWaveDone | kWaveBeginLoop | kWaveEndLoop));
    h.hdr.bufferLength = h.sliceBytes;
    h.free = 0;
    h.hdr.flags.fetch_or(kWaveBeginLoop | kWaveEndLoop);
    h.hdr.loops = 0x7FFFFFFF;
    h.hdr.user = source_->GetPositionSample();
    if (out_->Write(&h.hdr) != kWaveOk)
        LTrace("LSoundPlayer::WaveHeader::Write waveOutWrite ERROR");
    ComputePlayerLevels(work_.data(), q, channels_, &h.levels);
    link_.Call(&LSoundPlayerNotify::OnLevels, h.levels);
}

void LSoundPlayer::ThreadFunction() {
    for (WaveHeader& h : headers_) {
        h.free = 1;
        h.hdr.flags.fetch_and(~(kWaveDone | kWaveBeginLoop | kWaveEndLoop));
    }
    finishedCount_ = 0;
    starved_ = false;
    doneHandler_->Start(kThreadPriorityNormal);
    int k = 0;
    bool raisedDoneHandler = false;
    while (!ShouldStop()) {
        bufferFree_.Reset();
        WaveHeader& h = headers_[k];
        if (h.free) {
            const int32_t p = source_->GetPositionSample();
            const int32_t n = source_->GetLengthSample() - p;
            if (n < 1) {
                // The source is exhausted: wait for the last queued buffer to play.
                if (state_ & kStateStartPending) {
                    ClearStateBits(kStateStartPending);
                    out_->Restart();
                }
                while (!ShouldStop()) {
                    bufferFree_.Reset();
                    if (headers_[(k + kBuffers - 1) % kBuffers].free) {
                        end_ = 1;
                        link_.Notify();
                    }
                    bufferFree_.WaitSignalDual(StopEvent(), kWaitMs);
                }
                break;
            }
            const int32_t frames = std::min(n, framesPerBuffer_);
            source_->Read(work_.data(), frames);
            FillHeader(h, p, frames);
            if (out_->Write(&h.hdr) != kWaveOk)
                LTrace("LSoundPlayer::WaveHeader::Write waveOutWrite ERROR");
            k = (k + 1) % kBuffers;
            if (k == kPrefillBuffers && (state_ & kStateStartPending)) {
                ClearStateBits(kStateStartPending);
                out_->Restart();
            }
            continue;
        }
        // The ring is full. A done handler that keeps up gets time-critical priority; a
        // fill thread that was raised because it fell behind goes below normal again.
        finishedCount_ = 0;
        if (!raisedDoneHandler) {
            raisedDoneHandler = true;
            doneHandler_->SetPriority(kThreadPriorityTimeCritical);
        }
        if (starved_) {
            SetPriority(kThreadPriorityBelowNormal);
            starved_ = false;
        }
        bufferFree_.WaitSignalDual(StopEvent(), kWaitMs);
    }
    doneHandler_->StopThreadTimed(kStopTimeoutMs);
    out_->Reset();
}

void LSoundPlayer::DoneHandlerLoop(LThread& self) {
    int j = 0;
    while (!self.ShouldStop()) {
        deviceEvent_->Reset();
        WaveHeader& h = headers_[j];
        if (h.hdr.flags.load() & kWaveDone) {
            played_ = static_cast<int32_t>(h.hdr.user);
            link_.SetLevels(h.levels);
            h.hdr.flags.fetch_and(kWavePrepared);
            h.free = 1;
            bufferFree_.Set();
            // A fill thread that let 33 buffers finish without finding the ring full
            // again is falling behind: raise it.
            if (finishedCount_.fetch_add(1) > 32 && !starved_) {
                SetPriority(kThreadPriorityTimeCritical);
                starved_ = true;
            }
            positionChanged_ = 1;
            link_.Notify();
            j = (j + 1) % kBuffers;
        } else {
            deviceSignal_.WaitSignalDual(self.StopEvent(), kWaitMs);
        }
    }
}

}  // namespace osmera
