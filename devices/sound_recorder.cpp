#include "devices/sound_recorder.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/sound_time.h"
#include "core/trace.h"
#include "devices/signal_object.h"

namespace osmera {
namespace {

constexpr uint32_t kStopTimeoutMs = 5000;
constexpr int32_t kKeepAfterVoiceStopMs = 450;
constexpr int32_t kKeepAfterStopMs = 50;

int32_t FramesOfMs(int32_t ms, int32_t rate) {
    LSoundTime t;
    t.SetMilliseconds(ms, rate);
    return t.GetSamples();
}

}  // namespace

LSoundRecorder::LSoundRecorder(LDispatcher* dispatcher)
    : opener_(OpenSystemInDevice), link_([this] { EvNotify(); }, dispatcher) {}

LSoundRecorder::~LSoundRecorder() {
    StopThreadTimed(kStopTimeoutMs);
}

void LSoundRecorder::SetDeviceOpener(LInDeviceOpener opener) {
    opener_ = opener ? std::move(opener) : LInDeviceOpener(OpenSystemInDevice);
}

void LSoundRecorder::SetNotify(LSoundRecorderNotify* notify, void* cookie) {
    link_.Set(notify, cookie);
}

int32_t LSoundRecorder::SinkMs() const {
    if (!sink_ || sink_->GetSampleRate() <= 0)
        return 0;
    return LSoundTime(sink_->GetPosition(), sink_->GetSampleRate()).GetMilliseconds();
}

int32_t LSoundRecorder::DcMultiplier(int32_t rate) {
    return rate > 0 ? 192000 / rate + 1 : 1;
}

void LSoundRecorder::RemoveDc(int32_t* samples, int32_t frames, int channels, int channel,
                              int32_t multiplier, int32_t* accumulator) {
    // A one-pole high-pass: the accumulator follows 4096 times the mean; the products
    // wrap as 32-bit values.
    uint32_t a = static_cast<uint32_t>(*accumulator);
    for (int32_t i = 0; i < frames; ++i) {
        int32_t& s = samples[static_cast<size_t>(i) * channels + channel];
        const int32_t y = static_cast<int32_t>(
            static_cast<uint32_t>(s) - static_cast<uint32_t>(static_cast<int32_t>(a) >> 12));
        s = y;
        a += static_cast<uint32_t>(y) * static_cast<uint32_t>(multiplier);
    }
    *accumulator = static_cast<int32_t>(a);
}

bool LSoundRecorder::Start(LSinkRef sink, uint32_t flags, int8_t threshold, uint32_t hangMs,
                           uint32_t maxMs) {
    if (state_ != kStateIdle)
        Stop();
    if (!sink || sink->IsError()) {
        LTrace("LSoundRecorder::Start Sink Error");
        return false;
    }
    sink_ = std::move(sink);
    link_.EditLevels([&](LChannelLevels& l) { l.channels = sink_->GetChannels(); });
    maxMs_ = maxMs;
    startThreshold_ = threshold;
    stopThreshold_ = static_cast<int8_t>(std::clamp(threshold - 4, -127, 127));
    hangMs_ = hangMs;
    lastLoud_ = SinkMs();
    state_ = (flags & kStartRecordNow) ? kStateRecording : kStateWaiting;
    started_.Reset();
    if (flags & kStartArmed)
        go_.Reset();
    else
        go_.Set();
    LThread::Start(kThreadPriorityNormal);
    if (!started_.Wait(1500))
        LTrace("LSoundRecorder::Start Wait for Start FAILED");
    if (state_ == kStateIdle) {
        LTrace("LSoundRecorder::Start ThreadStart must have failed so return false");
        StopThreadTimed(kStopTimeoutMs);
        sink_.Reset();
        return false;
    }
    if (flags & kStartRecordNow)
        link_.Call(&LSoundRecorderNotify::OnRecord);
    else
        link_.Call(&LSoundRecorderNotify::OnWaiting);
    link_.Call(&LSoundRecorderNotify::OnPosition, lastLoud_);
    return true;
}

void LSoundRecorder::Go() {
    go_.Set();
}

void LSoundRecorder::Restart() {
    if (state_ == kStateIdle)
        return;
    StopThreadTimed(kStopTimeoutMs);
    sink_->Seek(0);
    lastLoud_ = 0;
    state_ = kStateWaiting;
    started_.Reset();
    go_.Set();
    LThread::Start(kThreadPriorityNormal);
    if (!started_.Wait(700))
        LTrace("LSoundRecorder::Restart Wait for Start FAILED");
    if (state_ == kStateIdle) {
        LTrace("LSoundRecorder::Restart ThreadStart must have failed");
        StopThreadTimed(kStopTimeoutMs);
        sink_.Reset();
        link_.Call(&LSoundRecorderNotify::OnStop);
        return;
    }
    link_.Call(&LSoundRecorderNotify::OnWaiting);
    link_.Call(&LSoundRecorderNotify::OnPosition, 0);
}

void LSoundRecorder::Stop() {
    if (state_ == kStateIdle)
        return;
    StopThreadTimed(kStopTimeoutMs);
    const int32_t keep = lastLoud_ + kKeepAfterStopMs;
    if (sink_ && SinkMs() > keep)
        sink_->Seek(FramesOfMs(keep, sink_->GetSampleRate()));
    sink_.Reset();
    lastLoud_ = 0;
    state_ = kStateIdle;
    link_.Call(&LSoundRecorderNotify::OnStop);
}

void LSoundRecorder::EvNotify() {
    if (stopRequested_) {
        LTrace("LSoundRecorder::EvNotify() bNotifyStop");
        Stop();
        return;
    }
    if (levelsChanged_) {
        levelsChanged_ = 0;
        link_.Call(&LSoundRecorderNotify::OnPosition, lastLoud_);
        link_.Call(&LSoundRecorderNotify::OnLevels, link_.Levels());
    }
    if (stateChanged_) {
        stateChanged_ = 0;
        if (state_ == kStateWaiting)
            link_.Call(&LSoundRecorderNotify::OnWaiting);
        else
            link_.Call(&LSoundRecorderNotify::OnRecord);
    }
}

void LSoundRecorder::ThreadFunction() {
    LWaveFormat format;
    format.channels = sink_ ? sink_->GetChannels() : 1;
    format.rate = sink_ ? sink_->GetSampleRate() : 44100;
    auto deviceEvent = std::make_shared<LEvent>();
    std::unique_ptr<LSoundInDevice> in = opener_(deviceNumber_, false, format, deviceEvent);
    if (!in)
        in = opener_(deviceNumber_, true, format, deviceEvent);
    if (!in) {
        LTrace("LSoundRecorder::ThreadFunction waveInOpen Error");
        state_ = kStateIdle;
        started_.Set();
        return;
    }
    in->Stop();
    RecordLoop(*in, format, *deviceEvent);
    stopRequested_ = 0;
    levelsChanged_ = 0;
    stateChanged_ = 0;
}

void LSoundRecorder::RecordLoop(LSoundInDevice& in, const LWaveFormat& format, LEvent& event) {
    const int channels = format.channels;
    const int32_t rate = format.rate;
    const int32_t frames = std::clamp(rate / 10, 20, 8192);
    const size_t samples = static_cast<size_t>(channels) * frames;
    std::vector<int32_t> acc(static_cast<size_t>(channels), 0);
    const int32_t m = DcMultiplier(rate);
    std::vector<int32_t> work(samples);
    std::vector<int32_t> preroll(samples, 0);
    bool prerollValid = false;
    std::vector<int16_t> block(samples * kBuffers);
    auto headers = std::make_unique<LWaveHeader[]>(kBuffers);
    for (int i = 0; i < kBuffers; ++i) {
        headers[i].data = block.data() + samples * i;
        headers[i].bufferLength = static_cast<uint32_t>(samples * 2);
        if (in.Prepare(&headers[i]) != kWaveOk)
            LTrace("LSoundRecorder::ThreadFunction() waveInPrepareHeader FAILED");
        else if (in.AddBuffer(&headers[i]) != kWaveOk)
            LTrace("LSoundRecorder::ThreadFunction() waveInAddBuffer FAILED");
    }
    std::vector<int8_t> levels(static_cast<size_t>(channels));
    LSoundSinkBase* sink = sink_.Get();

    started_.Set();
    WaitEitherEvent(StopEvent(), go_, kWaitInfinite);
    SetPriority(kThreadPriorityHighest);
    in.Start();

    int r = 0;
    while (!ShouldStop()) {
        event.Reset();
        LWaveHeader& h = headers[r];
        if (!(h.flags.load() & kWaveDone)) {
            WaitEitherEvent(StopEvent(), event, 200);
            continue;
        }
        const int32_t got = std::min<int32_t>(
            frames, static_cast<int32_t>(h.bytesRecorded / 2 / static_cast<uint32_t>(channels)));
        for (size_t i = 0; i < static_cast<size_t>(got) * channels; ++i)
            work[i] = h.data[i] * 16;
        h.flags.fetch_and(~kWaveDone);
        if (in.AddBuffer(&h) != kWaveOk)
            LTrace("LSoundRecorder::ThreadFunction() waveInAddBuffer FAILED");
        r = (r + 1) % kBuffers;
        if (got < 1)
            continue;
        for (int c = 0; c < channels; ++c)
            RemoveDc(work.data(), got, channels, c, m, &acc[static_cast<size_t>(c)]);
        int8_t display =
            ComputeRecorderLevels(work.data(), got, static_cast<uint8_t>(channels), levels.data());
        if (state_ == kStateRecording) {
            if (sink)
                sink->Write(work.data(), got);
            const int32_t t = SinkMs();
            if (display < stopThreshold_) {
                if (t - lastLoud_ > static_cast<int32_t>(hangMs_)) {
                    // Quiet for longer than the hang time: keep 450 ms of the quiet and
                    // wait for sound again.
                    if (sink)
                        sink->Seek(FramesOfMs(lastLoud_ + kKeepAfterVoiceStopMs, rate));
                    std::copy(work.begin(), work.end(), preroll.begin());
                    state_ = kStateWaiting;
                    stateChanged_ = 1;
                    LTrace("LSoundRecorder::ThreadFunction VoiceActivatedStop RECORDING->WAITING");
                }
            } else {
                lastLoud_ = t;
            }
            if (maxMs_ > 0 && static_cast<int64_t>(maxMs_) < t) {
                stopRequested_ = 1;
                LTrace("LSoundRecorder::ThreadFunction Stop because MaxTime reached");
            }
        } else if (state_ == kStateWaiting) {
            if (display < startThreshold_) {
                std::copy(work.begin(), work.end(), preroll.begin());
                prerollValid = true;
            } else {
                // Sound: recording starts with this buffer. When the sound is already in
                // its first half, the end of the quiet buffer before it leads in.
                const int32_t half = got / 2;
                display = ComputeRecorderLevels(work.data(), half, static_cast<uint8_t>(channels),
                                                levels.data());
                if (sink && display >= startThreshold_ && prerollValid)
                    sink->Write(preroll.data() + static_cast<size_t>(half) * channels, got - half);
                if (sink)
                    sink->Write(work.data(), got);
                state_ = kStateRecording;
                stateChanged_ = 1;
                LTrace("LSoundRecorder::WindowProcWIMData VoiceActivatedStart WAITING->RECORDING");
            }
        }
        link_.EditLevels([&](LChannelLevels& l) {
            l.channels = static_cast<uint8_t>(channels);
            std::copy(levels.begin(), levels.end(), l.level);
        });
        levelsChanged_ = 1;
        link_.Notify();
    }

    in.Reset();
    if (state_ == kStateRecording && sink) {
        // What the device held when it was reset goes in as it is.
        for (int n = 0; n < kBuffers && (headers[r].flags.load() & kWaveDone); ++n) {
            LWaveHeader& h = headers[r];
            h.flags.fetch_and(~kWaveDone);
            const uint32_t got = h.bytesRecorded / 2 / static_cast<uint32_t>(channels);
            if (got >= 1 && got <= static_cast<uint32_t>(frames)) {
                for (size_t i = 0; i < static_cast<size_t>(got) * channels; ++i)
                    work[i] = h.data[i] * 16;
                sink->Write(work.data(), static_cast<int32_t>(got));
            }
            r = (r + 1) % kBuffers;
        }
    }
    for (int i = 0; i < kBuffers; ++i)
        if (in.Unprepare(&headers[i]) != kWaveOk)
            LTrace("LSoundRecorder::ThreadFunction() waveInUnprepareHeader FAILED");
}

}  // namespace osmera
