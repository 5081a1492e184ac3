#pragma once
// The speed and pitch effects:
// - simple speed and pitch change: the range resampled through the engine's rate
//   converter (relabelled at rate * percent / 100, converted back to the rate), so pitch
//   follows speed as on a tape machine;
// - constant pitch and speed change (tempo) and constant speed and pitch change (pitch):
//   a phase-vocoder time stretch and pitch shift by Rubber Band, run in its real-time
//   mode so that it streams block by block with bounded memory, with the options for
//   music: the faster (R2) engine with crisp transients (phases reset at onsets, so
//   drums stay sharp; about three times the speed of the finer R3 engine, which matters
//   on long recordings), channels processed together (stereo image kept), standard
//   window, shifted formants and the high-quality pitch method.
//
// The sources are used by one thread at a time and own their input.

#include <cstdint>
#include <memory>
#include <vector>

#include "core/progress.h"
#include "core/sound_source_base.h"
#include "effects/effect_job.h"
#include "effects/effect_table.h"

namespace RubberBand {
class RubberBandStretcher;
}

namespace osmera {

// The slowest speed and lowest pitch the effects make, in percent: below it the rate
// converter's ratio is too coarse and the stretcher's cost grows without bound.
constexpr int32_t kMinSpeedPercent = 10;

// `input` at `percent` % speed, keeping its rate: 200 lasts half as long and sounds an
// octave higher. Null for a percent below kMinSpeedPercent, an output longer than 2^31 - 1 frames
// or a ratio the converter cannot make.
LSourceRef MakeSpeedPitchSource(LSourceRef input, int32_t percent);

// Rubber Band over `input`: the output lasts `timeRatio` times the input (exactly the
// input length * timeRatio, rounded, padded with silence or cut at the end) and sounds
// `pitchScale` times higher. Samples go through floats and are saturated at 16-bit full
// scale on the way out. Seek restarts the stretcher at the matching input frame.
class LSRCTimeStretch : public LSRCWrapBase {
  public:
    LSRCTimeStretch(LSourceRef input, double timeRatio, double pitchScale);
    ~LSRCTimeStretch() override;

    void Read(int32_t* buffer, int32_t frames) override;
    int32_t GetPositionSample() override { return position_; }
    int32_t GetLengthSample() override { return length_; }
    void Seek(int32_t position) override;

  private:
    void Restart(int32_t inputFrame);
    // Feeds one block of input (or the final empty block) to the stretcher.
    void Feed();
    // Moves what the stretcher has into pending_; false when it has nothing more to give.
    bool Drain();

    double timeRatio_;
    int32_t length_ = 0;
    int32_t position_ = 0;
    int32_t inputAt_ = 0;     // next input frame to feed
    int64_t dropFrames_ = 0;  // the stretcher's start delay still to be dropped
    bool finished_ = false;   // the final block was fed
    std::unique_ptr<RubberBand::RubberBandStretcher> stretcher_;
    std::vector<int32_t> block_;              // interleaved input block
    std::vector<std::vector<float>> planes_;  // one plane per channel
    std::vector<float> pending_;              // interleaved output not yet read
    size_t pendingAt_ = 0;
};

// Tempo (percent of the speed, pitch kept) and pitch (percent of the pitch, length kept);
// null for a percent below kMinSpeedPercent or an output too long.
LSourceRef MakeTempoSource(LSourceRef input, int32_t percent);
LSourceRef MakePitchSource(LSourceRef input, int32_t percent);

// The source of speed effect `id` (kSimpleSpeedPitch, kConstantPitchSpeed or
// kConstantSpeedPitch) at `percent`; null for any other id or an unusable percent.
LSourceRef MakeSpeedEffectSource(LEffectId id, LSourceRef input, int32_t percent);

// Line 0 of the progress of speed effect `id`: "Changing Speed and Pitch", "Changing
// Speed" or "Changing Pitch".
const char* SpeedEffectTitle(LEffectId id);

// Speed effect `id` of the request's range (params[0] the percent), replacing it by its
// output, which is longer or shorter for a change of speed. kJobFailed for an unusable
// percent.
int SpeedEffect(LProgress& progress, const LEffectRequest& request, LEffectId id);

}  // namespace osmera
