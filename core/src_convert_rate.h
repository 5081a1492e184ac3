#pragma once
// Sample-rate conversion of a source: a polyphase windowed-sinc filter in integer
// arithmetic with block floating point, so that quiet and loud passages get the same
// precision out of 16-bit-sized samples and 16.16 coefficients.

#include <cstdint>
#include <vector>

#include "core/rate_filter.h"
#include "core/rate_kernel.h"
#include "core/sound_source_base.h"

namespace osmera {

// Reads its inner source (which it owns) and delivers it at `targetRate`, running at
// exactly S / P input frames per output frame (see LRateFilter). Handles mono and stereo
// only: with any other channel count Read leaves the buffer as it is.
//
// Error: 2 when the inner source has one; 3 when the target rate is below 1 (the rate
// then becomes 44100) or the rates are too far apart for a filter. Peak: twice the inner
// source's when that is at most 1048576 (the filter overshoots on steep edges), the inner
// peak otherwise. Used by one thread at a time; all buffers are made at construction.
//
// Input window: 63 frames of history and 8192 new ones. The output frame with
// accumulator value a and window start w is centred a / P of a frame after window frame
// w + 31. The window is refilled from the inner source when w passes 8191, and its
// samples are scaled down by the smallest shift that brings the block's largest
// magnitude within 32767.
class LSRCConvertRate : public LSRCWrapBase {
  public:
    static constexpr int32_t kBlockFrames = 8192;
    static constexpr int32_t kHistoryFrames = LRateFilter::kTaps;
    static constexpr int32_t kWindowFrames = kHistoryFrames + kBlockFrames;
    // The window start of a new converter: the first refill brings it to 32, which puts
    // the centre tap on the first frame read from the inner source.
    static constexpr int32_t kFirstStart = kBlockFrames + LRateFilter::kCentreTap + 1;

    // `narrowCutoff` is for the first stage of a two-stage reduction (see LRateFilter).
    LSRCConvertRate(LSourceRef inner, int32_t targetRate, bool narrowCutoff = false);

    void Read(int32_t* buffer, int32_t frames) override;
    // (inner position - frames of the window not yet passed) * P / S.
    int32_t GetPositionSample() override;
    // The inner length * P / S.
    int32_t GetLengthSample() override;
    // Positions the output at `position` (a negative one is taken as 0): the inner source
    // is sought 31 frames before the matching input frame and the window refilled from
    // there on the next Read.
    void Seek(int32_t position) override;

    const LRateFilter& Filter() const { return filter_; }
    // The shift s the current window's samples were scaled down by.
    int32_t GetBlockShift() const { return shift_; }

  private:
    void Advance();
    void Refill();
    void SetShift(int32_t shift);
    // value * P / S (or * S / P with the arguments swapped), through quotient and
    // remainder so that the product stays small, taken into 32 bits.
    static int32_t Scale(int64_t value, int64_t mul, int64_t div);

    LRateFilter filter_;
    bool supported_;     // mono or stereo
    int32_t shift_ = 0;  // s
    LRateKernelState kernel_;
    // kWindowFrames interleaved frames and one more that stays 0, so that the per-block
    // passes over the window run in whole groups of 16 samples.
    std::vector<int32_t> samples_;
    std::vector<double> window_;        // samples_ scaled, as doubles, for the kernel
    std::vector<double> coefficients_;  // the kernel's table (see LRateKernelState)
};

}  // namespace osmera
