#include "effects/filter_effects.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "core/file.h"
#include "core/trace.h"

namespace osmera {

namespace {

constexpr double kBandHz[kEqualizerBands] = {31, 63, 125, 250, 500, 1000, 2000, 4000, 8000, 16000};
constexpr double kOctaveQ = 1.41;  // one octave between the -3 dB points of the boost
constexpr size_t kMaxFileBands = 31;

LBiquad Normalized(double b0, double b1, double b2, double a0, double a1, double a2) {
    return {b0 / a0, b1 / a0, b2 / a0, a1 / a0, a2 / a0};
}

}  // namespace

LBiquad HighPassSection(double hz, double rate, double q) {
    const double w = 2 * std::numbers::pi * hz / rate;
    const double c = std::cos(w);
    const double alpha = std::sin(w) / (2 * q);
    return Normalized((1 + c) / 2, -(1 + c), (1 + c) / 2, 1 + alpha, -2 * c, 1 - alpha);
}

LBiquad PeakingSection(double hz, double rate, double q, double db) {
    const double a = std::pow(10.0, db / 40);
    const double w = 2 * std::numbers::pi * hz / rate;
    const double c = std::cos(w);
    const double alpha = std::sin(w) / (2 * q);
    return Normalized(1 + alpha * a, -2 * c, 1 - alpha * a, 1 + alpha / a, -2 * c, 1 - alpha / a);
}

LSRCBiquadCascade::LSRCBiquadCascade(LSourceRef inner, std::vector<LBiquad> sections)
    : LSRCBlockEffect(std::move(inner), 0),
      sections_(std::move(sections)),
      state_(sections_.size() * GetChannels() * 2, 0.0) {}

void LSRCBiquadCascade::Reset() {
    std::fill(state_.begin(), state_.end(), 0.0);
}

namespace {

// One section over every channel of the block. The channels' recurrences are independent,
// so running them side by side in one loop lets the processor overlap them.
template <size_t Channels>
void RunSection(const LBiquad& f, double* state, double* samples, int32_t frames) {
    double s1[Channels], s2[Channels];
    for (size_t c = 0; c < Channels; ++c) {
        s1[c] = state[2 * c];
        s2[c] = state[2 * c + 1];
    }
    for (int32_t i = 0; i < frames; ++i) {
        double* x = samples + static_cast<size_t>(i) * Channels;
        for (size_t c = 0; c < Channels; ++c) {
            const double in = x[c];
            const double out = f.b0 * in + s1[c];
            s1[c] = f.b1 * in - f.a1 * out + s2[c];
            s2[c] = f.b2 * in - f.a2 * out;
            x[c] = out;
        }
    }
    for (size_t c = 0; c < Channels; ++c) {
        state[2 * c] = s1[c];
        state[2 * c + 1] = s2[c];
    }
}

// Two sections one after the other in one pass: the second section's recurrence does not
// wait on the first's, so the two overlap as well.
template <size_t Channels>
void RunSectionPair(const LBiquad& f, const LBiquad& g, double* stateF, double* stateG,
                    double* samples, int32_t frames) {
    double f1[Channels], f2[Channels], g1[Channels], g2[Channels];
    for (size_t c = 0; c < Channels; ++c) {
        f1[c] = stateF[2 * c];
        f2[c] = stateF[2 * c + 1];
        g1[c] = stateG[2 * c];
        g2[c] = stateG[2 * c + 1];
    }
    for (int32_t i = 0; i < frames; ++i) {
        double* x = samples + static_cast<size_t>(i) * Channels;
        for (size_t c = 0; c < Channels; ++c) {
            const double in = x[c];
            const double mid = f.b0 * in + f1[c];
            f1[c] = f.b1 * in - f.a1 * mid + f2[c];
            f2[c] = f.b2 * in - f.a2 * mid;
            const double out = g.b0 * mid + g1[c];
            g1[c] = g.b1 * mid - g.a1 * out + g2[c];
            g2[c] = g.b2 * mid - g.a2 * out;
            x[c] = out;
        }
    }
    for (size_t c = 0; c < Channels; ++c) {
        stateF[2 * c] = f1[c];
        stateF[2 * c + 1] = f2[c];
        stateG[2 * c] = g1[c];
        stateG[2 * c + 1] = g2[c];
    }
}

// The same for any number of channels, one channel after the other.
void RunSection(const LBiquad& f, double* state, double* samples, int32_t frames, size_t channels) {
    for (size_t c = 0; c < channels; ++c) {
        double s1 = state[2 * c], s2 = state[2 * c + 1];
        for (int32_t i = 0; i < frames; ++i) {
            double& x = samples[static_cast<size_t>(i) * channels + c];
            const double out = f.b0 * x + s1;
            s1 = f.b1 * x - f.a1 * out + s2;
            s2 = f.b2 * x - f.a2 * out;
            x = out;
        }
        state[2 * c] = s1;
        state[2 * c + 1] = s2;
    }
}

}  // namespace

void LSRCBiquadCascade::Process(double* samples, int32_t frames) {
    const size_t channels = GetChannels();
    size_t s = 0;
    if (channels <= 2) {
        for (; s + 1 < sections_.size(); s += 2) {
            double* stateF = &state_[s * channels * 2];
            double* stateG = &state_[(s + 1) * channels * 2];
            if (channels == 2)
                RunSectionPair<2>(sections_[s], sections_[s + 1], stateF, stateG, samples, frames);
            else
                RunSectionPair<1>(sections_[s], sections_[s + 1], stateF, stateG, samples, frames);
        }
    }
    for (; s < sections_.size(); ++s) {
        double* state = &state_[s * channels * 2];
        if (channels == 2)
            RunSection<2>(sections_[s], state, samples, frames);
        else if (channels == 1)
            RunSection<1>(sections_[s], state, samples, frames);
        else
            RunSection(sections_[s], state, samples, frames, channels);
    }
}

LSourceRef MakeHighPassSource(LSourceRef input, int32_t hz) {
    const double rate = input->GetSampleRate();
    const double cut = std::clamp<double>(hz, 1.0, 0.45 * rate);
    // The poles of an order-n Butterworth filter pair up into sections of quality
    // 1 / (2 cos(pi (2k + 1) / (2n))).
    std::vector<LBiquad> sections;
    for (int k = 0; k < kHighPassOrder / 2; ++k) {
        const double q = 1 / (2 * std::cos(std::numbers::pi * (2 * k + 1) / (2 * kHighPassOrder)));
        sections.push_back(HighPassSection(cut, rate, q));
    }
    return LSourceRef(new LSRCBiquadCascade(std::move(input), std::move(sections)));
}

double EqualizerBandHz(size_t band) {
    return band < kEqualizerBands ? kBandHz[band] : 0.0;
}

LSourceRef MakeEqualizerSource(LSourceRef input, const std::vector<int32_t>& gainTenths) {
    const double rate = input->GetSampleRate();
    std::vector<LBiquad> sections;
    for (size_t b = 0; b < kEqualizerBands && b < gainTenths.size(); ++b) {
        const int32_t tenths = std::clamp(gainTenths[b], -kEqualizerMaxTenths, kEqualizerMaxTenths);
        if (tenths == 0 || kBandHz[b] >= 0.45 * rate)
            continue;
        sections.push_back(PeakingSection(kBandHz[b], rate, kOctaveQ, tenths / 10.0));
    }
    return LSourceRef(new LSRCBiquadCascade(std::move(input), std::move(sections)));
}

std::vector<int32_t> EqualizerPreset(const std::string& name) {
    if (name == "flat")
        return std::vector<int32_t>(kEqualizerBands, 0);
    // Low shelf made of the lowest bands, tapering off by 250 Hz.
    if (name == "bass-boost")
        return {60, 60, 40, 20, 0, 0, 0, 0, 0, 0};
    // Speech: rumble and boom down, presence (2 to 4 kHz) up, hiss slightly down.
    if (name == "voice")
        return {-120, -80, -30, 0, 0, 20, 40, 30, 0, -30};
    return {};
}

bool LoadEqualizerGains(const std::string& path, std::vector<int32_t>& gainTenths) {
    LFile file;
    if (!file.Open(path, LFile::Mode::kRead)) {
        LTracef("LoadEqualizerGains cannot open %s", path.c_str());
        return false;
    }
    uint8_t n = 0;
    if (file.Read(&n, 1) != 1 || n < 1 || n > kMaxFileBands) {
        LTracef("LoadEqualizerGains bad band count in %s", path.c_str());
        return false;
    }
    std::vector<int8_t> bytes(n);
    if (file.Read(bytes.data(), n) != n) {
        LTracef("LoadEqualizerGains file cut short %s", path.c_str());
        return false;
    }
    std::vector<int32_t> gains;
    for (int8_t b : bytes) {
        if (b < -kEqualizerMaxTenths || b > kEqualizerMaxTenths) {
            LTracef("LoadEqualizerGains gain out of range in %s", path.c_str());
            return false;
        }
        gains.push_back(b);
    }
    gainTenths = std::move(gains);
    return true;
}

bool SaveEqualizerGains(const std::string& path, const std::vector<int32_t>& gainTenths) {
    if (gainTenths.empty() || gainTenths.size() > kMaxFileBands) {
        LTrace("SaveEqualizerGains needs 1 to 31 bands");
        return false;
    }
    std::vector<int8_t> bytes{static_cast<int8_t>(gainTenths.size())};
    for (int32_t g : gainTenths)
        bytes.push_back(
            static_cast<int8_t>(std::clamp(g, -kEqualizerMaxTenths, kEqualizerMaxTenths)));
    LFile file;
    if (!file.Open(path, LFile::Mode::kCreate) ||
        !file.Write(bytes.data(), static_cast<int64_t>(bytes.size()))) {
        LTracef("SaveEqualizerGains cannot write %s", path.c_str());
        return false;
    }
    return true;
}

}  // namespace osmera
