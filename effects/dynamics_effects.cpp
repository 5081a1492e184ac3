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
}

void LSRCCompressor::Reset() {
    limiter_.Reset();
    peak_ = 0;
    reduction_ = 0;
    hold_ = 0;
}

void LSRCCompressor::Process(double* samples, int32_t frames) {
    const size_t channels = GetChannels();
    const double thresholdLinear = kFullScaleLevel * DbToGain(threshold_);
    if (slope_ > 0 || gate_) {
        for (int32_t i = 0; i < frames; ++i) {
            double* x = samples + static_cast<size_t>(i) * channels;
            double level = 0;
            for (size_t c = 0; c < channels; ++c)
                level = std::max(level, std::abs(x[c]));
            peak_ = std::max(level, peak_ * detectFall_);
            double target = 0;
            if (gate_) {
                if (peak_ >= thresholdLinear)
                    hold_ = holdFrames_;
                else if (hold_ > 0)
                    --hold_;
                target = hold_ > 0 ? 0.0 : kGateDepthDb;
                // Opening is the fast move for a gate.
                const double k = target < reduction_ ? attack_ : release_;
                reduction_ = target + (reduction_ - target) * k;
            } else {
                if (peak_ > thresholdLinear)
                    target = slope_ * 20 * std::log10(peak_ / thresholdLinear);
                const double k = target > reduction_ ? attack_ : release_;
                reduction_ = target + (reduction_ - target) * k;
            }
            if (reduction_ > 1e-9) {
                const double gain = DbToGain(-reduction_);
                for (size_t c = 0; c < channels; ++c)
                    x[c] *= gain;
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
