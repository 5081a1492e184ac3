#pragma once
// Sound devices without sound hardware: an output that consumes its buffers (the null
// device) and can write what would have been heard to a WAV file, and an input that
// delivers silence or the sound of a source (a WAV file, a generated signal) as if it
// came from a microphone.
//
// Each runs one thread that moves sound in steps of 10 ms. `speed` sets its pace: 1 is
// real time, 2 twice as fast, 0 as fast as the other side allows (the output consumes
// what is queued at once; the input fills each queued buffer at once and, unlike a real
// device, waits for a buffer rather than losing sound, and after its source's end
// delivers nothing more, so that a take from a file ends with the file). The thread ends
// with the object.

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "core/sound_source_base.h"
#include "devices/sound_device.h"
#include "formats/snk_pcm_file_base.h"

namespace osmera {

class LVirtualOutDevice : public LSoundOutDevice {
  public:
    // With an empty `wavPath` the sound is dropped; otherwise it is written, as 16-bit PCM
    // in the device's format, to that file (created anew; completed when the device
    // closes). Sound is written as it is played: pauses and idle time add nothing, a
    // loop adds each pass.
    LVirtualOutDevice(const LWaveFormat& format, std::shared_ptr<LEvent> event, double speed,
                      const std::string& wavPath = {});
    ~LVirtualOutDevice() override;

    // False when the file could not be created or written.
    bool FileOk() const;
    // Frames that came from buffers so far.
    int64_t FramesPlayed() const { return played_.load(); }

  protected:
    void OnQueueChanged() override { changed_.notify_all(); }

  private:
    void Run();

    double speed_;
    LRef<LSNKPCMFileBase> sink_;
    std::atomic<bool> quit_{false};
    std::atomic<bool> writeFailed_{false};
    std::atomic<int64_t> played_{0};
    std::condition_variable changed_;
    std::thread thread_;
};

class LVirtualInDevice : public LSoundInDevice {
  public:
    // With a null `source` the input is silent; otherwise it plays the source (converted
    // to the device's rate and channels) from its current position, and silence after
    // its end. `sourceEnded`, when given, is set once the owner has taken the source's
    // last sound (the buffer it ended in completed with silence and queued again).
    LVirtualInDevice(const LWaveFormat& format, std::shared_ptr<LEvent> event, double speed,
                     LSourceRef source = {}, std::shared_ptr<LEvent> sourceEnded = {});
    ~LVirtualInDevice() override;

    // True once the source has been delivered to its end (always true without one).
    bool SourceFinished() const { return finished_.load(); }

  protected:
    void OnQueueChanged() override { changed_.notify_all(); }

  private:
    void Run();
    // Records that the source's last sound has been taken.
    void MarkEnd();

    double speed_;
    LSourceRef source_;  // used by the thread only
    std::shared_ptr<LEvent> sourceEnded_;
    std::atomic<bool> quit_{false};
    std::atomic<bool> finished_{false};
    std::condition_variable changed_;
    std::thread thread_;
};

}  // namespace osmera
