#pragma once
// LSoundPlayer: plays a source through an output device, with pause, resume, seek and
// the cue loop (while paused the device repeats a short snippet at the play position, so
// that dragging the position is heard).
//
// It keeps a ring of 64 buffers of 100 ms (at rates up to 81,920 Hz): a fill thread (the
// player's own LThread body) reads the source into free buffers and queues them, and a
// done-handler thread collects finished buffers, takes their end position and levels,
// and posts to the notify object, whose handler (EvNotify) calls the listener on the GUI
// thread.
//
// Threads: every public operation, EvNotify and every listener call belong to the GUI
// thread (the dispatcher's thread). Every operation that drives the device first stops
// the fill thread, so device and ring are driven by one thread at a time. The source is
// used by the fill thread while it runs and by the GUI thread otherwise.

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "core/sound_source_base.h"
#include "devices/channel_levels.h"
#include "devices/listener_link.h"
#include "devices/signal_object.h"
#include "devices/sound_device.h"
#include "devices/sound_devices.h"
#include "devices/thread.h"

namespace osmera {

// The player's listener. Every call comes on the GUI thread with the cookie given to
// SetNotify.
class LSoundPlayerNotify {
  public:
    virtual ~LSoundPlayerNotify() = default;
    virtual void OnPlay(void* cookie) = 0;   // playing began or resumed
    virtual void OnStop(void* cookie) = 0;   // the player closed
    virtual void OnCue(void* cookie) = 0;    // the cue loop runs
    virtual void OnPause(void* cookie) = 0;  // paused (also when Start opened paused)
    virtual void OnPosition(void* cookie, int32_t milliseconds) = 0;
    virtual void OnLevels(void* cookie, const LChannelLevels& levels) = 0;
};

class LSoundPlayerDoneHandlerThread;

class LSoundPlayer : public LThread {
  public:
    // State bits.
    enum : uint16_t {
        kStateOpen = 1,
        kStatePaused = 2,
        kStateCued = 4,
        kStateStartPending = 8,
    };
    // Start flags.
    enum : uint32_t {
        kStartPaused = 1,   // open paused
        kStartPrefill = 2,  // start the device only when 42 buffers are queued
    };
    static constexpr int kBuffers = 64;
    static constexpr int kPrefillBuffers = 42;

    // `dispatcher` runs EvNotify; null means the GUI dispatcher.
    explicit LSoundPlayer(LDispatcher* dispatcher = nullptr);
    ~LSoundPlayer() override;

    // The device value used by the next Start (0 the default device, n >= 1 device n - 1
    // of the list), as stored under "SoundOutDevice".
    void SetDevice(uint32_t device) { deviceNumber_ = device; }
    uint32_t GetDevice() const { return deviceNumber_; }
    // How devices are opened; the system's devices (OpenSystemOutDevice) by default.
    void SetDeviceOpener(LOutDeviceOpener opener);
    // A null listener stands for one that does nothing.
    void SetNotify(LSoundPlayerNotify* notify, void* cookie);

    // Plays `source` from its current position; true when playing or paused. False, and
    // nothing held, when the source has an error or no device opens.
    bool Start(LSourceRef source, uint32_t flags = 0);
    void Stop();
    void Pause();
    void Play();
    void Cue();
    void Seek(int32_t frame);

    // The end position of the most recently finished buffer, in frames.
    int32_t GetPosition() const { return played_.load(); }
    uint16_t GetState() const { return state_.load(); }
    bool IsOpen() const { return (state_.load() & kStateOpen) != 0; }
    int32_t GetFramesPerBuffer() const { return framesPerBuffer_; }

    // The notify handler, on the GUI thread.
    void EvNotify();

    // Frames per buffer for a rate: rate / 10 within 20..8192.
    static int32_t FramesPerBufferFor(int32_t rate);

  protected:
    void ThreadFunction() override;  // the fill loop

  private:
    friend class LSoundPlayerDoneHandlerThread;
    struct WaveHeader {
        uint32_t sliceBytes = 0;
        LWaveHeader hdr;
        LChannelLevels levels;
        std::atomic<uint8_t> free{1};
    };

    void DoneHandlerLoop(LThread& self);
    void WriteCueBuffer();
    void FillHeader(WaveHeader& h, int32_t position, int32_t frames);
    int32_t Milliseconds(int32_t frame) const;
    void ClearStateBits(uint16_t bits) { state_.fetch_and(static_cast<uint16_t>(~bits)); }

    LSourceRef source_;
    LOutDeviceOpener opener_;
    std::unique_ptr<LSoundOutDevice> out_;
    uint32_t deviceNumber_ = 0;
    std::atomic<uint16_t> state_{0};
    std::atomic<uint8_t> end_{0};
    std::atomic<uint8_t> positionChanged_{0};
    std::atomic<int32_t> played_{0};
    int32_t framesPerBuffer_ = 20;
    uint8_t channels_ = 1;
    std::vector<int16_t> memory_;  // all buffers, one slice each
    std::vector<int32_t> work_;
    WaveHeader headers_[kBuffers];
    std::shared_ptr<LEvent> deviceEvent_;
    LSignalObject deviceSignal_;
    LSignalObject bufferFree_;
    std::atomic<bool> starved_{false};
    std::atomic<int32_t> finishedCount_{0};
    std::unique_ptr<LSoundPlayerDoneHandlerThread> doneHandler_;
    LListenerLink<LSoundPlayerNotify> link_;
};

}  // namespace osmera
