#pragma once
// LSoundRecorder: records from an input device into a sink, with DC removal, level
// meters, a voice-activated start and stop, a maximum time and a retake.
//
// One worker thread (the recorder's LThread body) owns the device for the whole take: it
// queues 30 buffers of 100 ms (at rates up to 81,920 Hz), removes the DC offset of what
// arrives, measures the levels, writes to the sink and switches between "waiting" (armed,
// waiting for sound) and "recording". In waiting, each quiet buffer is kept as the
// pre-roll, so that a start can write 50 ms of lead-in before the sound. A recording
// falls back to waiting when the level stays below the stop threshold (4 dB under the
// start threshold) for longer than the hang time; the sink is then cut 450 ms after the
// last loud buffer. Stop cuts the sink 50 ms after the last loud buffer.
//
// Threads: every public operation, EvNotify and every listener call belong to the GUI
// thread (the dispatcher's thread). The sink is written only by the worker while it runs
// and touched by the GUI thread only after the worker has stopped.

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "core/sound_sink_base.h"
#include "devices/channel_levels.h"
#include "devices/event.h"
#include "devices/listener_link.h"
#include "devices/sound_devices.h"
#include "devices/thread.h"

namespace osmera {

// The recorder's listener; every call comes on the GUI thread with the cookie.
class LSoundRecorderNotify {
  public:
    virtual ~LSoundRecorderNotify() = default;
    virtual void OnRecord(void* cookie) = 0;   // writing to the sink
    virtual void OnWaiting(void* cookie) = 0;  // armed, waiting for sound
    virtual void OnStop(void* cookie) = 0;     // closed
    // The last loud time in milliseconds of sink time (while recording ordinary sound
    // this is the sink's current time).
    virtual void OnPosition(void* cookie, int32_t milliseconds) = 0;
    // Levels in the recorder's unit (channel_levels.h).
    virtual void OnLevels(void* cookie, const LChannelLevels& levels) = 0;
};

class LSoundRecorder : public LThread {
  public:
    enum : uint8_t { kStateIdle = 0, kStateWaiting = 1, kStateRecording = 2 };
    // Start flags.
    enum : uint32_t {
        kStartArmed = 1,      // prepare the device, start it only at Go()
        kStartRecordNow = 2,  // record at once instead of waiting for sound
    };
    static constexpr int kBuffers = 30;

    // `dispatcher` runs EvNotify; null means the GUI dispatcher.
    explicit LSoundRecorder(LDispatcher* dispatcher = nullptr);
    ~LSoundRecorder() override;

    // Device value for the next take: 0 the default input, n >= 1 device n - 1.
    void SetDevice(uint32_t device) { deviceNumber_ = device; }
    // How devices are opened (on the recorder's thread); the system's by default.
    void SetDeviceOpener(LInDeviceOpener opener);
    void SetNotify(LSoundRecorderNotify* notify, void* cookie);

    // Starts a take into `sink` (its rate and channels are the recording format) with the
    // start threshold in level units, the hang time and the maximum time (0: none) in
    // milliseconds. True when the thread runs with the device open.
    bool Start(LSinkRef sink, uint32_t flags, int8_t threshold, uint32_t hangMs, uint32_t maxMs);
    // Lets an armed take begin.
    void Go();
    // A retake into the same sink from its start, waiting for sound.
    void Restart();
    // Ends the take, trimming the sink 50 ms after the last loud buffer, and lets the sink
    // go (a file sink completes its file when its last holder lets it go).
    void Stop();

    uint8_t GetState() const { return state_.load(); }
    int32_t GetLastLoudTime() const { return lastLoud_.load(); }

    // The notify handler, on the GUI thread.
    void EvNotify();

    // The DC filter's multiplier: 192000 / rate + 1 (1 for a rate below 1).
    static int32_t DcMultiplier(int32_t rate);
    // Removes the DC offset of one channel of `frames` interleaved frames in place,
    // carrying the filter state in `accumulator`.
    static void RemoveDc(int32_t* samples, int32_t frames, int channels, int channel,
                         int32_t multiplier, int32_t* accumulator);

  protected:
    void ThreadFunction() override;

  private:
    int32_t SinkMs() const;
    // The thread's work between opening and closing the device.
    void RecordLoop(LSoundInDevice& in, const LWaveFormat& format, LEvent& event);

    LSinkRef sink_;
    LInDeviceOpener opener_;
    uint32_t deviceNumber_ = 0;
    std::atomic<uint8_t> state_{kStateIdle};
    int8_t startThreshold_ = 0;
    int8_t stopThreshold_ = 0;
    uint32_t hangMs_ = 0;
    uint32_t maxMs_ = 0;
    std::atomic<int32_t> lastLoud_{0};
    std::atomic<uint8_t> stopRequested_{0};
    std::atomic<uint8_t> levelsChanged_{0};
    std::atomic<uint8_t> stateChanged_{0};
    LEvent started_;
    LEvent go_;
    LListenerLink<LSoundRecorderNotify> link_;
};

}  // namespace osmera
