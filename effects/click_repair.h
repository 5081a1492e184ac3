#pragma once
// Click and pop repair. The automatic command scans a range for short impulsive noises
// with a statistical detector that looks at a high-passed copy of the audio, and repairs
// each click it finds; the manual command repairs a selection of at most one millisecond.
// A repair replaces the samples of one channel across the span by a straight line between
// the good samples on either side, written as a small new cut over the span.
//
// Everything runs on the thread that owns the list.

#include <cstdint>
#include <functional>
#include <vector>

#include "core/progress.h"
#include "core/settings_store.h"
#include "core/sound_source_base.h"
#include "effects/effect_job.h"

namespace osmera {

// The detection high-pass at 1500 Hz: biquad coefficients in 2^24 fixed point.
struct LBiquadCoefficients {
    int32_t b0, b1, b2, a1, a2;
};
LBiquadCoefficients ClickHighPassCoefficients(int32_t sampleRate);

// The detection signal: the inner source through the 1500 Hz high-pass, direct form I with
// a 64-bit accumulator, four state values per channel (cleared by Seek). Output is
// saturated to 32 bits. Owns its inner source.
class LSRCClickHighPass : public LSRCWrapBase {
  public:
    explicit LSRCClickHighPass(LSourceRef inner);
    void Read(int32_t* buffer, int32_t frames) override;
    void Seek(int32_t position) override;

  private:
    LBiquadCoefficients k_;
    std::vector<int64_t> state_;  // per channel: x1, x2, y1, y2
};

// The detector's settings: "Settings"/"ClickSensitivity" and "MaxClickLength" as the
// detector itself reads them (defaults 50 and 150 microseconds; the dialog's default for
// the length is 450, kept in the effect table).
struct LClickSettings {
    int32_t sensitivity = 50;
    int32_t maxClickUs = 150;
};
LClickSettings ReadClickSettings(LSettingsStore& settings);

// The analysis block: (rate / 100 + 4) rounded down to a multiple of 4.
int32_t ClickBlockFrames(int32_t sampleRate);
// The detector's lag: rate / 44100 + 1.
int32_t ClickLag(int32_t sampleRate);

// Runs the detector on channel `channel` of the `n` interleaved frames at `frames` (the
// detection signal), whose first frame is at `position` in the file. Calls `repair(a, b)`
// for every click found, a and b the span's ends in the file.
void DetectClicks(const int32_t* frames, uint8_t channels, uint8_t channel, int32_t n,
                  int64_t position, int32_t sampleRate, const LClickSettings& settings,
                  const std::function<void(int64_t, int64_t)>& repair);

// The span between `a` and `b` (either order) clipped to [0, length) as [lo, hi); false when
// nothing of it is left.
bool ClipRepairSpan(int64_t a, int64_t b, int64_t length, int64_t& lo, int64_t& hi);
// The repair rule on `n` + 2 interleaved frames: frames 1 to n of channel `channel` become
// the straight line from frame 0 to frame n + 1 (integer division); other channels stay.
void DrawRepairLine(int32_t* frames, uint8_t channels, uint8_t channel, int32_t n);

// Replaces channel `channel` of the span between `a` and `b` (either order; clipped to the
// list) by the straight line between the frame before it and the frame after it, as a new
// cut over the span.
void RepairSpan(LCutListAudio& list, uint8_t channel, int64_t a, int64_t b);

// The automatic command's scan of [start, end) of `list` (a snapshot taken at the start,
// read through the detection high-pass): calls `found(channel, a, b)` for every click in the
// order a repair must follow. Polls `progress` before each hop; returns false when cancelled
// (the clicks found before stay reported).
bool ScanForClicks(LProgress& progress, const LCutListAudio& list, int32_t start, int32_t end,
                   const LClickSettings& settings,
                   const std::function<void(uint8_t, int64_t, int64_t)>& found);

// The automatic command over the request's range with the detector's `settings`: every
// click of the run is repaired into one new cut (see click_repair_batch.h), laid over the
// list when the scan ends. kJobFailed for an empty range or a list without channels, or
// when the repaired audio could not be written (the list is then unchanged); otherwise
// kJobDone, also when cancelled (repairs found before the cancel are made). `repairs`,
// when given, counts the repairs made.
int AutoClickRepair(LProgress& progress, const LEffectRequest& request,
                    const LClickSettings& settings, int32_t* repairs = nullptr);

enum class LManualRepairResult { kRepaired, kEmpty, kTooLong };
// The manual command: each channel of [start, end) repaired. kTooLong (nothing changed;
// the caller shows kManualRepairTooLongMessage titled "Osmera") when the range is longer
// than one millisecond of frames.
LManualRepairResult ManualClickRepair(LCutListAudio& list, int32_t start, int32_t end);
// True when a selection of `frames` frames is short enough for the manual command.
bool ManualRepairFits(int64_t frames, int32_t sampleRate);

}  // namespace osmera
