#pragma once
// Spectral noise reduction: a short-time Fourier transform (FFTW, single precision) with
// a periodic Hann window on analysis and on synthesis, frames of 2048 frames (4096 above
// 48 kHz, 8192 above 96 kHz) at a hop of a quarter frame, overlap-added with the gain
// 2/3 that makes the squared window sum to one.
//
// Each bin's power is smoothed over five neighbouring bins and the previous frame (about
// ten values, so the random spread of a noise bin's power shrinks enough to be told apart
// from a tone). A bin whose smoothed power stands 6 dB or more above the noise profile at
// that bin passes unchanged; one at the profile or below is lowered by the gate level
// ("NoiseGateLevel", dB: -30 lowers the noise by 30 dB); between the two the gain moves
// linearly in dB. The gate works on each channel by itself.
//
// The noise profile is the mean windowed power per bin of some noise: taken from a
// selection the user marks, or estimated from the quietest tenth of the frames of the
// range being processed (at most 64 frames, digital silence left out), each bin then
// taken as the median of the 33 bins around it so that held notes are not counted.
//
// Everything here is used by one thread at a time; FFTW's planner is serialised inside.

#include <cstdint>
#include <vector>

#include "core/progress.h"
#include "core/sound_source_base.h"
#include "effects/effect_job.h"

namespace osmera {

class LRealFft;

struct LNoiseProfile {
    int32_t frameSize = 0;     // the frame length it was measured with
    std::vector<float> power;  // frameSize / 2 + 1 bins; empty: no profile
    bool Empty() const { return power.empty(); }
};

// The frame length used at `sampleRate`.
int32_t NoiseFrameSize(int32_t sampleRate);

// The mean power spectrum of [0, frames) of `source` (every whole frame of it, channels
// averaged); empty when the source is shorter than one frame or has an error. With
// `quietestOnly` only the quietest tenth of the frames count (see above). Polls `progress`
// (may be null) once per 8192 frames; kJobCancelled leaves `profile` alone.
int MeasureNoiseProfile(LProgress* progress, LSourceRef source, int32_t frames, bool quietestOnly,
                        LNoiseProfile& profile);

class LSRCNoiseReduction : public LSRCWrapBase {
  public:
    // `profile` must come from a source of the same rate (its frame size must match);
    // otherwise, or when empty, every bin passes. `gateDb` above 0 counts as 0.
    LSRCNoiseReduction(LSourceRef inner, const LNoiseProfile& profile, int32_t gateDb);
    ~LSRCNoiseReduction() override;
    LSRCNoiseReduction(const LSRCNoiseReduction&) = delete;
    LSRCNoiseReduction& operator=(const LSRCNoiseReduction&) = delete;

    void Read(int32_t* buffer, int32_t frames) override;
    int32_t GetPositionSample() override { return position_; }
    int32_t GetLengthSample() override { return inner_->GetLengthSample(); }
    void Seek(int32_t position) override;

  private:
    void Step();
    void ReadInput(float* dst, int32_t from, int32_t count);

    int32_t size_;
    int32_t hop_;
    float floor_;                   // the gain of a gated bin
    std::vector<float> threshold_;  // per bin: the power above which a bin passes
    std::vector<float> window_;
    LRealFft* plan_ = nullptr;                // owned
    std::vector<std::vector<float>> in_;      // per channel: the last `size_` input frames
    std::vector<std::vector<float>> out_;     // per channel: the overlap-add accumulator
    std::vector<std::vector<float>> smooth_;  // per channel: last frame's smoothed power
    std::vector<float> power_;                // the frame's power per bin
    std::vector<int32_t> raw_;                // interleaved input block
    std::vector<float> queue_;                // interleaved finished output
    size_t queueAt_ = 0;
    int64_t skip_ = 0;      // finished frames still to drop after a restart
    int32_t inputAt_ = 0;   // next input frame to read (may be negative: silence)
    int32_t innerAt_ = -1;  // where the inner source stands; -1: unknown
    int32_t position_ = 0;
};

// Noise reduction of the request's range (params[0] is the gate level in dB), replacing
// it. With an empty `profile` the profile is first estimated from the range itself (that
// pass can be cancelled too).
int NoiseReduction(LProgress& progress, const LEffectRequest& request,
                   const LNoiseProfile& profile);

// The effect source with a profile estimated from at most the first 30 seconds of
// `input` (for the preview and the generic factory); null when `input` is unusable.
LSourceRef MakeNoiseReductionSource(LSourceRef input, int32_t gateDb,
                                    const LNoiseProfile& profile = {});

}  // namespace osmera
