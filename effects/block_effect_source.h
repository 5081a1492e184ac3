#pragma once
// The base of the stream effects that process their input in whole blocks of floating-point
// frames: filters, delays, reverb, dynamics and pan. It reads the inner source block by
// block, hands each block to the effect as interleaved doubles (full scale 524288, no
// clipping inside), and rounds and saturates the result to the source's peak (that of
// processed audio, 2097152, or the input's when higher) only when it leaves. Nothing is called per
// sample through a virtual function.
//
// An effect may have a tail (output that goes on after its input ends: echo, reverb),
// which makes this source longer than its input, and a latency (a look-ahead limiter
// delays its input), which this base hides: output frame i always belongs to input frame i.
// Input past the inner source's end reads as silence.
//
// The effect keeps state from block to block, so it runs from where it was last seeked:
// a seek to any other frame than the next one clears the state (the effect starts again
// from silence there), which is what a preview that jumps wants.
//
// One thread at a time, like every source; owns its inner source.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/sound_source_base.h"

namespace osmera {

class LSRCBlockEffect : public LSRCWrapBase {
  public:
    // `tailFrames` frames of output after the input's end; `latencyFrames` frames of
    // delay that the effect puts between its input and its output (hidden here).
    LSRCBlockEffect(LSourceRef inner, int32_t tailFrames, int32_t latencyFrames = 0);

    void Read(int32_t* buffer, int32_t frames) final;
    int32_t GetPositionSample() final { return position_; }
    int32_t GetLengthSample() final { return length_; }
    void Seek(int32_t position) final;

  protected:
    // Processes `frames` interleaved frames of GetChannels() channels in place. Blocks are
    // at most kBlockFrames frames.
    virtual void Process(double* samples, int32_t frames) = 0;
    // Forgets all state: the effect continues as after silence.
    virtual void Reset() = 0;

    static constexpr int32_t kBlockFrames = 8192;

  private:
    // Feeds input frames from inputPos_ through the effect into `out` (null: dropped).
    void Feed(int32_t* out, int32_t frames);

    int32_t innerLength_;
    int32_t length_;
    int32_t latency_;
    int32_t position_ = 0;
    int32_t inputPos_ = 0;  // the next input frame the effect gets
    bool started_ = false;  // the latency has been filled since the last reset
    std::vector<double> work_;
    std::vector<int32_t> scratch_;
};

// Rounds `value` to the nearest integer within +-limit.
inline int32_t SaturateSample(double value, int32_t limit) {
    if (value >= limit)
        return limit;
    if (value <= -limit)
        return -limit;
    return static_cast<int32_t>(value < 0 ? value - 0.5 : value + 0.5);
}

// 0 dB: the internal scale's full level (a 16-bit full-scale sample times 16).
constexpr double kFullScaleLevel = 524288.0;

// `db` decibels as a factor.
double DbToGain(double db);

}  // namespace osmera
