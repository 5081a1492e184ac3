#pragma once
// What a recording take is started with, and the sink a take is written through.
//
// LRecordOptions turns the user's recorder settings into the arguments of
// LSoundRecorder::Start and finishes the take afterwards; the editor's record window and
// `osmera-cli record` both use it, so a take behaves the same in either:
//
// - threshold: the level (recorder level units, -127..127, full scale +12) the sound must
//   reach before recording begins. -127 (kThresholdOff) records at once: every buffer is
//   then loud, so nothing is ever cut.
// - autotrim: with a threshold, silence is trimmed: a pause longer than kAutotrimHangMs
//   drops the take back to waiting for sound (keeping 450 ms of the pause), and a stop
//   keeps only 50 ms after the last sound. Without autotrim the take, once started, runs
//   unbroken to the stop and keeps its tail (the hang time is unlimited and the sink
//   ignores the stop's trim, see LSNKRecordTake).
// - maxMs: the longest take in milliseconds (0: no limit). The recorder checks it once
//   per buffer; FinishTake cuts what went beyond it.
//
// The settings live in section "Recorder": "Threshold" (level units, default off),
// "Autotrim" (0 or 1, default 1), "MaxTime" (seconds, default 0) and "Device" (low byte,
// signed: the input device value, 0 the default input).
//
// Threads: LRecordOptions is plain data. LSNKRecordTake is written by the recorder's
// thread while a take runs; SetKeepTail and the rest belong to the thread that starts
// and stops the take, and only while the recorder does not run or is being told to stop.

#include <atomic>
#include <cstdint>

#include "core/settings_store.h"
#include "core/sound_sink_base.h"

namespace osmera {

class LSoundRecorder;

struct LRecordOptions {
    static constexpr int8_t kThresholdOff = -127;
    static constexpr uint32_t kAutotrimHangMs = 2000;

    int8_t threshold = kThresholdOff;
    bool autotrim = true;
    uint32_t maxMs = 0;
    uint32_t device = 0;

    static LRecordOptions Load(LSettingsStore& settings);
    void Save(LSettingsStore& settings) const;

    bool WaitsForSound() const { return threshold != kThresholdOff; }
    // LSoundRecorder::Start's flags and hang time for these options.
    uint32_t StartFlags() const;
    uint32_t HangMs() const;
    // Starts `recorder` on `sink` with these options; false as Start gives it.
    bool Start(LSoundRecorder& recorder, LSinkRef sink) const;
    // After the recorder stopped: cuts `sink` at the maximum time, if there is one.
    void FinishTake(LSoundSinkBase& sink) const;
};

// A sink that passes a take on to another sink and can keep the take's tail: while
// SetKeepTail(true) holds, moves of the write position other than back to the start (a
// retake) are ignored, so the recorder's stop cannot trim the end of the take. Finish a
// take on Inner(), which trims as told.
class LSNKRecordTake : public LSoundSinkBase {
  public:
    explicit LSNKRecordTake(LSinkRef inner);

    void Write(const int32_t* buffer, int32_t frames) override;
    void Seek(int32_t position) override;
    void SetKeepTail(bool keep) { keepTail_ = keep; }
    LSoundSinkBase& Inner() { return *inner_; }

  private:
    LSinkRef inner_;
    std::atomic<bool> keepTail_{false};
};

}  // namespace osmera
