#include "effects/delay_effects.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace osmera {

namespace {

constexpr double kEchoMaxTailSeconds = 120;

int32_t EchoTail(size_t delay, double gain) {
    if (gain <= 0)
        return 0;
    // Repeats until gain^k falls below -60 dB.
    const double repeats = std::ceil(std::log(1e-3) / std::log(gain));
    return static_cast<int32_t>(std::min(repeats * static_cast<double>(delay), 1e9));
}

size_t EchoDelay(LSoundSourceBase& s, int32_t ms) {
    const int64_t frames = int64_t{std::clamp(ms, 1, 10000)} * s.GetSampleRate() / 1000;
    return static_cast<size_t>(std::max<int64_t>(frames, 1));
}

// Freeverb's tuning at 44.1 kHz.
constexpr int kCombLengths[] = {1116, 1188, 1277, 1356, 1422, 1491, 1557, 1617};
static_assert(std::size(kCombLengths) % 4 == 0, "combs run in groups of four");
constexpr int kAllPassLengths[] = {556, 441, 341, 225};
constexpr int kStereoSpread = 23;
constexpr double kAllPassFeedback = 0.5;
constexpr double kInputGain = 0.015;  // keeps eight combs in range
constexpr double kWetScale = 2.0;
constexpr double kDamping = 0.2;

int32_t ReverbTail(int32_t rate, int32_t timeMs) {
    // The decay time plus the longest path through the network.
    return static_cast<int32_t>(int64_t{rate} * (timeMs + 60) / 1000);
}

}  // namespace

LSRCEcho::LSRCEcho(LSourceRef inner, int32_t delayMs, int32_t gainPercent)
    : LSRCBlockEffect(
          inner,
          std::min(EchoTail(EchoDelay(*inner, delayMs), std::clamp(gainPercent, 0, 99) / 100.0),
                   static_cast<int32_t>(kEchoMaxTailSeconds * inner->GetSampleRate()))),
      delay_(EchoDelay(*inner_, delayMs)),
      gain_(std::clamp(gainPercent, 0, 99) / 100.0),
      line_(delay_ * GetChannels(), 0.0) {}

void LSRCEcho::Reset() {
    std::fill(line_.begin(), line_.end(), 0.0);
    at_ = 0;
}

void LSRCEcho::Process(double* samples, int32_t frames) {
    const size_t channels = GetChannels();
    // Runs of frames up to the line's wrap, so the inner loop has no index checks.
    for (int32_t done = 0; done < frames;) {
        const size_t n = std::min<size_t>(static_cast<size_t>(frames - done), delay_ - at_);
        double* x = samples + static_cast<size_t>(done) * channels;
        double* d = line_.data() + at_ * channels;
        const size_t count = n * channels;
        for (size_t i = 0; i < count; ++i) {
            const double y = x[i] + gain_ * d[i];
            d[i] = y;
            x[i] = y;
        }
        at_ += n;
        if (at_ == delay_)
            at_ = 0;
        done += static_cast<int32_t>(n);
    }
}

LSRCReverb::LSRCReverb(LSourceRef inner, int32_t levelPercent, int32_t timeMs)
    : LSRCBlockEffect(inner, ReverbTail(inner->GetSampleRate(),
                                        std::clamp(timeMs, kReverbMinMs, kReverbMaxMs))),
      wet_(std::clamp(levelPercent, 0, 100) / 100.0 * kWetScale),
      damp_(kDamping) {
    const double rate = GetSampleRate();
    const double scale = rate / 44100.0;
    const double seconds = std::clamp(timeMs, kReverbMinMs, kReverbMaxMs) / 1000.0;
    for (size_t c = 0; c < GetChannels(); ++c) {
        Side side;
        const int spread = c == 0 ? 0 : kStereoSpread;
        for (int length : kCombLengths) {
            Line line;
            const auto frames = static_cast<size_t>(std::max(1.0, (length + spread) * scale));
            line.buffer.assign(frames, 0.0);
            // g^(T / length) = 10^-3: the comb falls 60 dB in T.
            line.feedback = std::pow(10.0, -3.0 * static_cast<double>(frames) / (seconds * rate));
            side.combs.push_back(std::move(line));
        }
        for (int length : kAllPassLengths) {
            Line line;
            line.buffer.assign(static_cast<size_t>(std::max(1.0, (length + spread) * scale)), 0.0);
            // Each all-pass rings out within a third of the decay time, so that short
            // reverbs are not lengthened by the diffusion stage.
            line.feedback = std::min(
                kAllPassFeedback,
                std::pow(10.0, -9.0 * static_cast<double>(line.buffer.size()) / (seconds * rate)));
            side.allpasses.push_back(std::move(line));
        }
        sides_.push_back(std::move(side));
    }
    input_.resize(kBlockFrames);
    output_.resize(kBlockFrames);
}

void LSRCReverb::Reset() {
    for (Side& side : sides_) {
        for (Line& l : side.combs) {
            std::fill(l.buffer.begin(), l.buffer.end(), 0.0);
            l.at = 0;
            l.store = 0;
        }
        for (Line& l : side.allpasses) {
            std::fill(l.buffer.begin(), l.buffer.end(), 0.0);
            l.at = 0;
        }
    }
}

void LSRCReverb::RunSide(Side& side, const double* in, double* out, int32_t frames) {
    std::fill(out, out + frames, 0.0);
    // Four combs at a time: their low-pass recurrences are independent, so the processor
    // overlaps them instead of waiting on one chain.
    constexpr size_t kGroup = 4;
    for (size_t first = 0; first + kGroup <= side.combs.size(); first += kGroup) {
        double* buf[kGroup];
        size_t size[kGroup], at[kGroup];
        double store[kGroup], feedback[kGroup];
        for (size_t j = 0; j < kGroup; ++j) {
            Line& comb = side.combs[first + j];
            buf[j] = comb.buffer.data();
            size[j] = comb.buffer.size();
            at[j] = comb.at;
            store[j] = comb.store;
            feedback[j] = comb.feedback;
        }
        const double damp = damp_;
        for (int32_t i = 0; i < frames; ++i) {
            double sum = 0;
#pragma GCC unroll 4
            for (size_t j = 0; j < kGroup; ++j) {
                const double y = buf[j][at[j]];
                store[j] = y + (store[j] - y) * damp;
                buf[j][at[j]] = in[i] + store[j] * feedback[j];
                sum += y;
                if (++at[j] == size[j])
                    at[j] = 0;
            }
            out[i] += sum;
        }
        for (size_t j = 0; j < kGroup; ++j) {
            side.combs[first + j].at = at[j];
            side.combs[first + j].store = store[j];
        }
    }
    for (Line& ap : side.allpasses) {
        double* buf = ap.buffer.data();
        const size_t size = ap.buffer.size();
        size_t at = ap.at;
        for (int32_t i = 0; i < frames; ++i) {
            const double delayed = buf[at];
            const double x = out[i];
            buf[at] = x + delayed * ap.feedback;
            out[i] = delayed - x;
            if (++at == size)
                at = 0;
        }
        ap.at = at;
    }
}

void LSRCReverb::Process(double* samples, int32_t frames) {
    const size_t channels = GetChannels();
    // The mean of the channels feeds both sides, so mono and stereo sound alike.
    const double gain = kInputGain / static_cast<double>(channels);
    for (int32_t i = 0; i < frames; ++i) {
        double sum = 0;
        for (size_t c = 0; c < channels; ++c)
            sum += samples[static_cast<size_t>(i) * channels + c];
        input_[static_cast<size_t>(i)] = sum * gain;
    }
    for (size_t c = 0; c < channels; ++c) {
        RunSide(sides_[c], input_.data(), output_.data(), frames);
        for (int32_t i = 0; i < frames; ++i)
            samples[static_cast<size_t>(i) * channels + c] +=
                wet_ * output_[static_cast<size_t>(i)];
    }
}

}  // namespace osmera
