#pragma once
// The sound device layer: output and input devices that take queued buffers of 16-bit
// PCM, the way the player and the recorder drive them.
//
// A buffer is described by an LWaveHeader that its owner keeps alive from Prepare to
// Unprepare. Queued buffers finish in the order they were queued; when one finishes the
// device sets its kWaveDone flag (and, for input, its byte count) and then sets the
// device event it was opened with. The owner polls the flags of its headers.
//
// Output: Write queues a buffer. A buffer flagged kWaveBeginLoop starts a loop that ends
// with the buffer flagged kWaveEndLoop (often the same one); the loop plays `loops` times
// (0 counts as 1) and its buffers finish when it is over. Pause holds the output (the
// device plays silence), Restart resumes it, Reset finishes every queued buffer at once
// and leaves the device running (not paused).
//
// Input: AddBuffer queues an empty buffer; once Start has been called the device fills
// the queued buffers in order and finishes each when it is full. Stop stops filling and
// finishes the partly filled buffer; Reset stops and finishes every queued buffer
// (bytesRecorded says how much each holds). Sound that comes while no buffer is queued
// is lost.
//
// Threads: every operation may be called from any thread; the device's own thread (or
// the sound system's callback) finishes buffers. The flags are atomic; the data of a
// buffer belongs to the device from Write/AddBuffer until kWaveDone is seen.

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <set>

#include "devices/event.h"

namespace osmera {

// Header flags.
enum : uint32_t {
    kWaveDone = 0x01,
    kWavePrepared = 0x02,
    kWaveBeginLoop = 0x04,
    kWaveEndLoop = 0x08,
    kWaveInQueue = 0x10,
};

// Results of device calls.
enum LWaveResult : uint8_t {
    kWaveOk = 0,
    kWaveError = 1,         // refused: not prepared, already queued, device closed
    kWaveStillPlaying = 2,  // Unprepare of a buffer that is still queued
};

struct LWaveHeader {
    int16_t* data = nullptr;
    uint32_t bufferLength = 0;   // bytes
    uint32_t bytesRecorded = 0;  // input: bytes filled
    int64_t user = 0;            // the owner's value, untouched by the device
    std::atomic<uint32_t> flags{0};
    uint32_t loops = 0;
};

// 16-bit PCM, interleaved.
struct LWaveFormat {
    int32_t rate = 44100;
    uint8_t channels = 1;
    int32_t BlockAlign() const { return channels * 2; }
};

// Queue and loop handling shared by every output backend. A backend pulls sound with
// Consume from its own thread or callback.
class LSoundOutDevice {
  public:
    LSoundOutDevice(const LWaveFormat& format, std::shared_ptr<LEvent> event);
    virtual ~LSoundOutDevice();
    LSoundOutDevice(const LSoundOutDevice&) = delete;
    LSoundOutDevice& operator=(const LSoundOutDevice&) = delete;

    LWaveResult Prepare(LWaveHeader* header);
    LWaveResult Unprepare(LWaveHeader* header);
    LWaveResult Write(LWaveHeader* header);
    void Pause();
    void Restart();
    void Reset();

    const LWaveFormat& Format() const { return format_; }
    bool IsPaused() const;

  protected:
    // Fills `frames` frames of `out` with the queued sound (silence where there is none or
    // while paused) and finishes the buffers that were used up. Returns the frames that
    // came from buffers.
    int32_t Consume(int16_t* out, int32_t frames);
    // True when there is queued sound and the device is not paused.
    bool HasSoundLocked() const { return !paused_ && !queue_.empty(); }
    // Called under the lock after every change of queue or pause; backends that sleep
    // while idle wake on it.
    virtual void OnQueueChanged() {}

    mutable std::mutex lock_;

  private:
    // Pops and finishes the buffers before the play cursor that no active loop needs.
    void FinishPlayedLocked();

    LWaveFormat format_;
    std::shared_ptr<LEvent> event_;
    std::deque<LWaveHeader*> queue_;
    size_t cursor_ = 0;       // index in queue_ of the buffer playing
    uint32_t offset_ = 0;     // bytes of it already played
    int loopStart_ = -1;      // index in queue_ of the loop's first buffer, -1 when none
    uint32_t loopsLeft_ = 0;  // passes of the loop still to play, this one included
    bool paused_ = false;
};

// Queue handling shared by every input backend. A backend pushes sound with Produce.
class LSoundInDevice {
  public:
    LSoundInDevice(const LWaveFormat& format, std::shared_ptr<LEvent> event);
    virtual ~LSoundInDevice();
    LSoundInDevice(const LSoundInDevice&) = delete;
    LSoundInDevice& operator=(const LSoundInDevice&) = delete;

    LWaveResult Prepare(LWaveHeader* header);
    LWaveResult Unprepare(LWaveHeader* header);
    LWaveResult AddBuffer(LWaveHeader* header);
    void Start();
    void Stop();
    void Reset();

    const LWaveFormat& Format() const { return format_; }

  protected:
    // Copies `frames` frames into the queued buffers, finishing each that fills up.
    // Returns the frames taken; the rest is lost (no buffer queued or not started).
    int32_t Produce(const int16_t* in, int32_t frames);
    bool IsStartedLocked() const { return started_; }
    bool HasRoomLocked() const { return started_ && !queue_.empty(); }
    // True when no buffer is partly filled and every finished buffer has been queued
    // again, that is the owner has taken everything delivered so far.
    // Frames still missing in a partly filled buffer; 0 when none is partly filled.
    int32_t PartialRoomLocked() const {
        if (queue_.empty() || queue_.front()->bytesRecorded == 0)
            return 0;
        const LWaveHeader* h = queue_.front();
        const uint32_t align = static_cast<uint32_t>(format_.BlockAlign());
        const uint32_t length = h->bufferLength - h->bufferLength % align;
        return length > h->bytesRecorded ? static_cast<int32_t>((length - h->bytesRecorded) / align)
                                         : 0;
    }
    bool AllTakenLocked() const {
        return finishedOut_.empty() && (queue_.empty() || queue_.front()->bytesRecorded == 0);
    }
    virtual void OnQueueChanged() {}

    mutable std::mutex lock_;

  private:
    void FinishHeadLocked();

    LWaveFormat format_;
    std::shared_ptr<LEvent> event_;
    std::deque<LWaveHeader*> queue_;
    std::set<LWaveHeader*> finishedOut_;  // finished and not queued again
    bool started_ = false;
};

// Converts internal samples (16-bit values times 16) to 16 bits: (x + 8) >> 4, clipped
// to the 16-bit range.
int16_t InternalTo16(int32_t x);

}  // namespace osmera
