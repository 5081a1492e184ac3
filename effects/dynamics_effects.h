#pragma once
// The dynamics effects: the Dynamic Range Compressor (with its limit and noise-gate modes)
// and Automatic Gain Control, both ending in a look-ahead peak limiter.
//
// Levels are in dB of the internal full scale (524288 is 0 dB); channels are linked (one
// gain for all, from the loudest channel) so the stereo image stays put.
//
// Compressor: a peak detector (instant rise, 100 ms fall) feeds a hard-knee gain
// computer, run once per 16 frames on their highest detector value: above the threshold
// the level rises by 1/ratio dB per input dB. The gain then moves toward the computed one
// with an attack of 5 ms (gain falling) and a release of 100 ms (rising). Ratio index 0 to 5 are
// "1:1", "3:2", "2:1", "3:1", "4:1" and "5:1"; 6 ("Limit") holds the level at the threshold; 7 is
// the noise gate: below the threshold the sound is lowered by 80 dB, opening in 1 ms and closing at
// 80 dB per 100 ms after 50 ms of hold. The output then passes the peak limiter at
// "CompressorLimit" dB.
//
// Peak limiter: 2 ms of look-ahead; the gain for each frame is at most the one that keeps
// every frame of the next 2 ms under the ceiling, ramped in over those 2 ms (a moving
// average of the window minimum, which stays under it) and released over 80 ms. No
// sample ever leaves above the ceiling.
//
// Automatic Gain Control: rides the level slowly toward -20 dB RMS: an RMS detector of
// 400 ms sets a wanted gain (from -12 to +20 dB) that the gain follows over 1.5 s when
// rising and 0.3 s when falling; below -50 dB RMS (pauses, noise floor) the gain is held.
// A peak limiter at -1 dB is the ceiling.
//
// Sources are used by one thread at a time.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "effects/block_effect_source.h"

namespace osmera {

// The look-ahead limiter as a processing stage of a block effect (not a source): frames
// go in and come out `Latency()` frames later.
class LPeakLimiterStage {
  public:
    LPeakLimiterStage(int32_t sampleRate, size_t channels, double ceiling);
    int32_t Latency() const { return static_cast<int32_t>(look_); }
    void Process(double* samples, int32_t frames);
    void Reset();

  private:
    size_t channels_;
    size_t look_;
    double ceiling_;
    double release_;
    std::vector<double> delay_;  // look_ frames, interleaved
    struct Need {
        size_t frame;
        double need;  // the gain that frame needs
    };
    std::vector<Need> queue_;  // ring of look_ + 1
    size_t qHead_ = 0, qSize_ = 0;
    std::vector<double> avg_;  // ring of the last look_ released gains
    double avgSum_ = 0;
    double held_ = 1;
    size_t n_ = 0;     // frames seen since the reset
    size_t slot_ = 0;  // n_ % look_
};

// The limiter's look-ahead in frames at `sampleRate`.
int32_t LimiterLatency(int32_t sampleRate);

// Compressor ratio presets, by index.
constexpr int32_t kRatioLimit = 6;
constexpr int32_t kRatioGate = 7;
constexpr int32_t kRatioMaxIndex = 7;

class LSRCCompressor : public LSRCBlockEffect {
  public:
    // `thresholdDb` and `limitDb` clamped to -96 .. 0 dB; `ratioIndex` to 0 .. 7.
    LSRCCompressor(LSourceRef inner, int32_t thresholdDb, int32_t ratioIndex, int32_t limitDb);

  protected:
    void Process(double* samples, int32_t frames) override;
    void Reset() override;

  private:
    LPeakLimiterStage limiter_;
    double threshold_;  // dB
    double slope_;      // 1 - 1/ratio
    bool gate_;
    double detectFall_, attack_, release_;
    double gateClose_;  // the closing gate's factor per frame
    int32_t holdFrames_;
    static constexpr int32_t kControlFrames = 16;  // frames per gain computation
    double peak_ = 0, gain_ = 1;
    int32_t hold_ = 0;
};

class LSRCAutoGain : public LSRCBlockEffect {
  public:
    explicit LSRCAutoGain(LSourceRef inner);

  protected:
    void Process(double* samples, int32_t frames) override;
    void Reset() override;

  private:
    LPeakLimiterStage limiter_;
    double rmsCoef_, riseCoef_, fallCoef_;
    double meanSquare_ = 0, gain_ = 1;
};

}  // namespace osmera
