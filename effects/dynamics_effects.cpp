#include "effects/dynamics_effects.h"

#include <algorithm>
#include <cmath>

namespace osmera {

namespace {

constexpr double kRatios[] = {1.0, 1.5, 2.0, 3.0, 4.0, 5.0};
constexpr double kGateDepthDb = 80;
constexpr double kAgcTargetDb = -20;
constexpr double kAgcFloorDb = -50;
constexpr double kAgcMaxDb = 20;
constexpr double kAgcMinDb = -12;
constexpr double kAgcCeilingDb = -1;

// The factor per frame of a one-pole smoother with time constant `seconds`.
double Coef(double seconds, double rate) {
    return std::exp(-1.0 / (seconds * rate));
}

double Ceiling(double db) {
    // The largest whole sample at or under the ceiling, so rounding never passes it.
    return std::floor(kFullScaleLevel * DbToGain(db));
}

}  // namespace

int32_t LimiterLatency(int32_t sampleRate) {
    return std::max(1, sampleRate / 500);  // 2 ms
}

LPeakLimiterStage::LPeakLimiterStage(int32_t sampleRate, size_t channels, double ceiling)
    : channels_(channels),
      look_(static_cast<size_t>(LimiterLatency(sampleRate))),
      ceiling_(ceiling),
      release_(Coef(0.08, sampleRate)),
      delay_(look_ * channels, 0.0),
      queue_(look_ + 1),
      avg_(look_, 1.0) {
    Reset();
}

void LPeakLimiterStage::Reset() {
    std::fill(delay_.begin(), delay_.end(), 0.0);
    std::fill(avg_.begin(), avg_.end(), 1.0);
    avgSum_ = static_cast<double>(look_);
    qHead_ = qSize_ = 0;
    held_ = 1;
    n_ = 0;
    slot_ = 0;
}

void LPeakLimiterStage::Process(double* samples, int32_t frames) {
    const size_t window = look_ + 1;
    for (int32_t i = 0; i < frames; ++i, ++n_) {
        double* x = samples + static_cast<size_t>(i) * channels_;
        double peak = 0;
        for (size_t c = 0; c < channels_; ++c)
            peak = std::max(peak, std::abs(x[c]));
        const double need = peak > ceiling_ ? ceiling_ / peak : 1.0;
        // The minimum of the needs of frames n - look .. n: a queue of frames with rising
        // needs, oldest first; the front is the minimum.
        if (qSize_ > 0 && queue_[qHead_].frame + window <= n_) {
            qHead_ = qHead_ + 1 == window ? 0 : qHead_ + 1;
            --qSize_;
        }
        auto at = [&](size_t k) { return qHead_ + k < window ? qHead_ + k : qHead_ + k - window; };
        while (qSize_ > 0 && queue_[at(qSize_ - 1)].need >= need)
            --qSize_;
        queue_[at(qSize_)] = {n_, need};
        ++qSize_;
        const double windowMin = queue_[qHead_].need;
        held_ = std::min(windowMin, 1.0 - (1.0 - held_) * release_);
        // The mean of the last `look` held gains: each of them already covers the frame
        // leaving the delay now, so their mean does too.
        avgSum_ += held_ - avg_[slot_];
        avg_[slot_] = held_;
        const double gain = avgSum_ / static_cast<double>(look_);
        double* d = delay_.data() + slot_ * channels_;
        for (size_t c = 0; c < channels_; ++c) {
            const double out = std::clamp(d[c] * gain, -ceiling_, ceiling_);
            d[c] = x[c];
            x[c] = out;
        }
        slot_ = slot_ + 1 == look_ ? 0 : slot_ + 1;
    }
    // Against the running sum's rounding drift.
    avgSum_ = 0;
    for (double g : avg_)
        avgSum_ += g;
}

LSRCCompressor::LSRCCompressor(LSourceRef inner, int32_t thresholdDb, int32_t ratioIndex,
                               int32_t limitDb)
    : LSRCBlockEffect(inner, 0, LimiterLatency(inner->GetSampleRate())),
      limiter_(GetSampleRate(), GetChannels(), Ceiling(std::clamp(limitDb, -96, 0))),
      threshold_(std::clamp(thresholdDb, -96, 0)),
      gate_(ratioIndex == kRatioGate) {
    const double rate = GetSampleRate();
    const int32_t index = std::clamp(ratioIndex, 0, kRatioMaxIndex);
    slope_ = index == kRatioLimit ? 1.0 : index == kRatioGate ? 0.0 : 1.0 - 1.0 / kRatios[index];
    detectFall_ = Coef(0.1, rate);
    attack_ = Coef(gate_ ? 0.001 : 0.005, rate);
    release_ = Coef(0.1, rate);
    holdFrames_ = static_cast<int32_t>(0.05 * rate);
    gateClose_ = DbToGain(-kGateDepthDb / (0.1 * rate));
}

void LSRCCompressor::Reset() {
    limiter_.Reset();
    peak_ = 0;
    gain_ = 1;
    hold_ = 0;
}

void LSRCCompressor::Process(double* samples, int32_t frames) {
    const size_t channels = GetChannels();
    const double thresholdLinear = kFullScaleLevel * DbToGain(threshold_);
    const double gateFloor = DbToGain(-kGateDepthDb);
    if (slope_ > 0 || gate_) {
        for (int32_t first = 0; first < frames; first += kControlFrames) {
            const int32_t n = std::min(kControlFrames, frames - first);
            double* block = samples + static_cast<size_t>(first) * channels;
            // The detector runs on every frame; the gain computer once per control block,
            // on the block's highest detector value (so nothing in it is under-reduced).
            double highest = 0;
            for (int32_t i = 0; i < n; ++i) {
                const double* x = block + static_cast<size_t>(i) * channels;
                double level = 0;
                for (size_t c = 0; c < channels; ++c)
                    level = std::max(level, std::abs(x[c]));
                peak_ = std::max(level, peak_ * detectFall_);
                highest = std::max(highest, peak_);
            }
            double target = 1;
            double k = 0;
            if (gate_) {
                hold_ = highest >= thresholdLinear ? holdFrames_ : std::max(hold_ - n, 0);
                target = hold_ > 0 ? 1.0 : gateFloor;
                k = target > gain_ ? attack_ : release_;  // opening is the fast move
            } else {
                if (highest > thresholdLinear)
                    target = std::pow(highest / thresholdLinear, -slope_);
                k = target < gain_ ? attack_ : release_;
            }
            // A closing gate falls at a steady 80 dB per 100 ms, to its floor.
            const bool closing = gate_ && target < gain_;
            for (int32_t i = 0; i < n; ++i) {
                gain_ =
                    closing ? std::max(target, gain_ * gateClose_) : target + (gain_ - target) * k;
                double* x = block + static_cast<size_t>(i) * channels;
                for (size_t c = 0; c < channels; ++c)
                    x[c] *= gain_;
            }
        }
    }
    limiter_.Process(samples, frames);
}

LSRCAutoGain::LSRCAutoGain(LSourceRef inner)
    : LSRCBlockEffect(inner, 0, LimiterLatency(inner->GetSampleRate())),
      limiter_(GetSampleRate(), GetChannels(), Ceiling(kAgcCeilingDb)) {
    const double rate = GetSampleRate();
    rmsCoef_ = Coef(0.4, rate);
    riseCoef_ = Coef(1.5, rate);
    fallCoef_ = Coef(0.3, rate);
}

void LSRCAutoGain::Reset() {
    limiter_.Reset();
    meanSquare_ = 0;
    gain_ = 1;
}

void LSRCAutoGain::Process(double* samples, int32_t frames) {
    const size_t channels = GetChannels();
    const double target = kFullScaleLevel * DbToGain(kAgcTargetDb);
    const double floor = kFullScaleLevel * DbToGain(kAgcFloorDb);
    const double maxGain = DbToGain(kAgcMaxDb);
    const double minGain = DbToGain(kAgcMinDb);
    for (int32_t i = 0; i < frames; ++i) {
        double* x = samples + static_cast<size_t>(i) * channels;
        double square = 0;
        for (size_t c = 0; c < channels; ++c)
            square += x[c] * x[c];
        meanSquare_ = square / static_cast<double>(channels) +
                      (meanSquare_ - square / static_cast<double>(channels)) * rmsCoef_;
        if (meanSquare_ > floor * floor) {
            const double wanted = std::clamp(target / std::sqrt(meanSquare_), minGain, maxGain);
            const double k = wanted > gain_ ? riseCoef_ : fallCoef_;
            gain_ = wanted + (gain_ - wanted) * k;
        }
        for (size_t c = 0; c < channels; ++c)
            x[c] *= gain_;
    }
    limiter_.Process(samples, frames);
}

}  // namespace osmera
