#pragma once
// Stereo Pan: moves a stereo signal between the sides with a constant-power law. The
// position p runs from 0 (all left) through 50 (centre: the signal untouched) to 100 (all
// right); the left channel is scaled by sqrt(2) cos(theta) and the right by
// sqrt(2) sin(theta), theta = p / 100 * 90 degrees, so the sum of the two sides' powers
// stays that of the centre and the far positions silence one side. The side that is
// raised (by up to 3 dB) saturates at the source's peak rather than wrapping.
//
// Made for two channels; on any other count the source passes its input on unchanged.
// One thread at a time.

#include <cstdint>

#include "effects/block_effect_source.h"

namespace osmera {

class LSRCStereoPan : public LSRCBlockEffect {
  public:
    // `position` clamped to 0 .. 100.
    LSRCStereoPan(LSourceRef inner, int32_t position);

  protected:
    void Process(double* samples, int32_t frames) override;
    void Reset() override {}

  private:
    double left_, right_;
};

}  // namespace osmera
