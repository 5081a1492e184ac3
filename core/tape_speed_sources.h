#pragma once
// Sources for listening at another speed and in a loop: the transport's slow and fast play
// (the sound resampled through the rate converter so that pitch follows speed, as on a
// tape machine) and its repeat play (one range read over and over).
//
// Each takes over the reference it is given and owns the chain it builds. Used by one
// thread at a time, like every source.

#include <cstdint>

#include "core/sound_source_base.h"

namespace osmera {

enum class LTapeSpeed : uint8_t { kNormal, kHalf, kDouble };

// The source itself, relabelled with another sample rate: the same frames, played at
// `rate` they run faster or slower. Error 3 (and 44100) for a rate below 1.
class LSRCRateLabel : public LSRCWrapBase {
  public:
    LSRCRateLabel(LSourceRef inner, int32_t rate);
};

// `source` at `speed`, keeping its sample rate: half speed lasts twice as long and sounds
// an octave lower, double speed half as long and an octave higher. Half speed converts
// to twice the rate and relabels; double speed relabels as twice the rate and converts
// back down, so the filter removes what would alias. Frame f of the result is frame
// f / 2 (half) or f * 2 (double) of `source`; normal speed returns `source` itself.
LSourceRef ChangeTapeSpeed(LSourceRef source, LTapeSpeed speed);

// Frames of the source behind ChangeTapeSpeed for `frames` frames of its result, and back.
int64_t TapeToSourceFrames(int64_t frames, LTapeSpeed speed);
int64_t SourceToTapeFrames(int64_t frames, LTapeSpeed speed);

// Reads its inner source's frames [0, inner length) again and again. The length is the
// largest whole number of passes within 2^31 - 1 frames (one pass when the inner source
// is longer than half of that); frame f is inner frame f mod inner length. An empty inner
// source gives an empty loop (error 1).
class LSRCLoop : public LSRCWrapBase {
  public:
    explicit LSRCLoop(LSourceRef inner);

    void Read(int32_t* buffer, int32_t frames) override;
    int32_t GetPositionSample() override { return position_; }
    int32_t GetLengthSample() override { return length_; }
    void Seek(int32_t position) override;

    int32_t PassLength() const { return pass_; }

  private:
    int32_t pass_ = 0;
    int32_t length_ = 0;
    int32_t position_ = 0;
};

}  // namespace osmera
