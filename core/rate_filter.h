#pragma once
// The polyphase low-pass filter of the sample-rate converter: how many phases it has,
// how far the input moves per group of outputs, and its integer coefficient table.
//
// The converter runs at exactly step / phases input frames per output frame, which
// only approximates input rate / output rate (44100 to 48000 Hz runs at 34 / 37); the
// small speed difference is accepted in exchange for a short table.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace osmera {

class LRateFilter {
  public:
    static constexpr int32_t kTaps = 63;
    // The tap that falls on the frame an output is centred on.
    static constexpr int32_t kCentreTap = kTaps / 2;
    static constexpr int32_t kMaxPhases = 255;

    // Designs the filter for `inRate` to `outRate` (both at least 1). `narrowCutoff`
    // moves the cutoff further below the output's half rate; the first of two stages of
    // a large rate reduction uses it so that the second stage has nothing to alias.
    LRateFilter(int32_t inRate, int32_t outRate, bool narrowCutoff);

    // P, the number of phases (rows of the table), 1 to 255.
    int32_t Phases() const { return phases_; }
    // S, the input frames consumed per P output frames. 0 when the output rate is more
    // than about a thousand times the input rate: such a filter cannot run.
    int32_t Step() const { return step_; }
    // The cutoff as a fraction of the input's half rate.
    double Cutoff() const { return cutoff_; }
    // The Kaiser window's shape parameter.
    double Beta() const { return beta_; }
    // The 16.16 fixed-point coefficient of `tap` (0 to 62) in `phase` (0 to P - 1).
    int32_t Coefficient(int32_t phase, int32_t tap) const {
        return coefficients_[static_cast<size_t>(phase) * kTaps + static_cast<size_t>(tap)];
    }

    // The modified Bessel function of the first kind of order 0, as its power series
    // cut after seven terms (enough for the window's small arguments).
    static double BesselI0(double x);

  private:
    int32_t phases_ = 1;
    int32_t step_ = 1;
    double cutoff_ = 0.0;
    double beta_ = 0.0;
    std::vector<int32_t> coefficients_;  // phases_ rows of kTaps
};

}  // namespace osmera
