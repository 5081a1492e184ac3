#pragma once
// The effects made of delay lines: echo and reverb. Both keep the dry signal and add
// their delayed sound, and both have a tail: their source is longer than their input by
// the time the delayed sound takes to die away (to -60 dB), so the tail continues past
// the selection.
//
// Echo: one feedback delay line per channel, y[n] = x[n] + g y[n - D]. An impulse comes
// back after D at gain g, then after 2D at g squared, and so on. The tail ends where the
// repeats are 60 dB down, at most two minutes after the input.
//
// Reverb: a Freeverb-style network per channel: eight parallel feedback combs with a
// one-pole low-pass in their loops (air and wall damping), then four series Schroeder
// all-passes. Each comb's feedback is set from its length so that the reverb decays by
// 60 dB in the time asked. The right channel's delay lines are 23 samples (at 44.1 kHz)
// longer than the left's, which decorrelates the two sides; both are fed with the mean of
// the input channels. Delay lengths scale with the sample rate; the all-passes' feedback
// (0.5) is lowered for short decay times so that each rings out within a third of it.
//
// Sources are used by one thread at a time.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "effects/block_effect_source.h"

namespace osmera {

class LSRCEcho : public LSRCBlockEffect {
  public:
    // `delayMs` clamped to 1 .. 10000 ms, `gainPercent` to 0 .. 99.
    LSRCEcho(LSourceRef inner, int32_t delayMs, int32_t gainPercent);

  protected:
    void Process(double* samples, int32_t frames) override;
    void Reset() override;

  private:
    size_t delay_;  // frames
    double gain_;
    std::vector<double> line_;  // delay_ frames, interleaved
    size_t at_ = 0;             // the frame of line_ read and written next
};

// Reverb decay time (to -60 dB) in milliseconds: "ReverbTime" is clamped to this range.
constexpr int32_t kReverbMinMs = 50;
constexpr int32_t kReverbMaxMs = 1000;

class LSRCReverb : public LSRCBlockEffect {
  public:
    // `levelPercent` (clamped to 0 .. 100) is the level of the reverberated sound next to
    // the dry one; `timeMs` the decay time to -60 dB.
    LSRCReverb(LSourceRef inner, int32_t levelPercent, int32_t timeMs);

  protected:
    void Process(double* samples, int32_t frames) override;
    void Reset() override;

  private:
    struct Line {
        std::vector<double> buffer;
        size_t at = 0;
        double feedback = 0;
        double store = 0;  // the comb's low-pass state
    };
    struct Side {
        std::vector<Line> combs;
        std::vector<Line> allpasses;
    };
    void RunSide(Side& side, const double* in, double* out, int32_t frames);

    double wet_;
    double damp_;
    std::vector<Side> sides_;  // one per output channel
    std::vector<double> input_, output_;
};

}  // namespace osmera
