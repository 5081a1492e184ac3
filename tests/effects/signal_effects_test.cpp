// What the filter, delay, dynamics and pan effects do to a signal, measured on their output.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numbers>
#include <random>
#include <vector>

#include "core/generator_sources.h"
#include "effects/delay_effects.h"
#include "effects/dynamics_effects.h"
#include "effects/effect_sources.h"
#include "effects/filter_effects.h"
#include "effects/stereo_pan.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

constexpr int32_t kRate = 44100;

std::vector<int32_t> Render(LSourceRef source) {
    const int32_t frames = source->GetLengthSample();
    std::vector<int32_t> out(static_cast<size_t>(frames) * source->GetChannels());
    // Odd block sizes: the effects must not depend on how they are read.
    for (int32_t done = 0; done < frames;) {
        const int32_t n = std::min(frames - done, 3001);
        source->Read(out.data() + static_cast<size_t>(done) * source->GetChannels(), n);
        done += n;
    }
    return out;
}

LSourceRef Tone(double hz, double db, double seconds, uint8_t channels = 1) {
    return LSourceRef(new LSRCTone(kRate, channels, static_cast<int32_t>(seconds * kRate), hz,
                                   static_cast<int32_t>(kFullScaleLevel * DbToGain(db))));
}

LSourceRef Samples(std::vector<int32_t> s, uint8_t channels = 1) {
    return LSourceRef(new LSRCSampleVector(kRate, channels, std::move(s)));
}

// RMS level in dB of channel `c` over frames [from, to).
double LevelDb(const std::vector<int32_t>& s, int channels, int c, size_t from, size_t to) {
    double sum = 0;
    for (size_t i = from; i < to; ++i) {
        const double v = s[i * channels + c];
        sum += v * v;
    }
    return 10 * std::log10(std::max(sum / static_cast<double>(to - from), 1e-12));
}

// Gain in dB of `effect` made over a tone of `hz`, measured after the first half second.
template <typename Make>
double ToneGainDb(double hz, Make make) {
    const auto dry = Render(Tone(hz, -12, 1.5));
    const auto wet = Render(make(Tone(hz, -12, 1.5)));
    const size_t from = kRate / 2, to = dry.size();
    return LevelDb(wet, 1, 0, from, to) - LevelDb(dry, 1, 0, from, to);
}

TEST(FilterEffects, HighPassSlopeAndPassBand) {
    for (int32_t cut : {100, 250, 1000, 2500}) {
        auto hp = [cut](LSourceRef in) { return MakeHighPassSource(in, cut); };
        // Two octaves below the cut-off: at least the order's slope over two octaves.
        EXPECT_LE(ToneGainDb(cut / 4.0, hp), -6.0 * kHighPassOrder * 2) << cut;
        EXPECT_NEAR(ToneGainDb(cut * 4.0, hp), 0.0, 0.5) << cut;
        EXPECT_NEAR(ToneGainDb(cut, hp), -3.0, 0.2) << cut;
    }
}

TEST(FilterEffects, EqualizerFlatIsTransparentAndABandRaisesItsCentre) {
    const std::vector<int32_t> flat = EqualizerPreset("flat");
    for (double hz : {50.0, 440.0, 3000.0, 12000.0})
        EXPECT_NEAR(ToneGainDb(hz, [&](LSourceRef in) { return MakeEqualizerSource(in, flat); }),
                    0.0, 0.1);
    for (size_t band : {1u, 5u, 8u}) {
        std::vector<int32_t> gains(kEqualizerBands, 0);
        gains[band] = 60;
        const double hz = EqualizerBandHz(band);
        auto eq = [&](LSourceRef in) { return MakeEqualizerSource(in, gains); };
        EXPECT_NEAR(ToneGainDb(hz, eq), 6.0, 0.5) << hz;
        EXPECT_NEAR(ToneGainDb(hz * 8, eq), 0.0, 0.5) << hz;  // three octaves away
        gains[band] = -120;
        EXPECT_NEAR(ToneGainDb(hz, eq), -12.0, 0.5) << hz;
    }
}

TEST(FilterEffects, EqualizerFileKeepsGainsAndRefusesBadFiles) {
    testing::TempDir dir;
    const std::string path = dir.File("equalizer.dat");
    std::vector<int32_t> gains = EqualizerPreset("voice");
    ASSERT_TRUE(SaveEqualizerGains(path, gains));
    std::vector<int32_t> read;
    ASSERT_TRUE(LoadEqualizerGains(path, read));
    EXPECT_EQ(read, gains);
    const std::vector<std::vector<char>> bad = {{}, {0}, {3, 10, 20}, {2, 10, 121}};
    for (const auto& bytes : bad) {
        std::ofstream(path, std::ios::binary | std::ios::trunc)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        std::vector<int32_t> kept{1};
        EXPECT_FALSE(LoadEqualizerGains(path, kept));
        EXPECT_EQ(kept, std::vector<int32_t>{1});
    }
}

TEST(DelayEffects, EchoReturnsAnImpulseAfterItsTimeAtItsGain) {
    struct Case {
        int32_t ms, percent;
    };
    for (Case c : {Case{10, 50}, Case{250, 80}, Case{800, 30}}) {
        std::vector<int32_t> impulse(kRate / 2, 0);
        impulse[100] = 400000;
        LSourceRef echo(new LSRCEcho(Samples(impulse), c.ms, c.percent));
        const auto out = Render(echo);
        const size_t d = static_cast<size_t>(c.ms) * kRate / 1000;
        const double g = c.percent / 100.0;
        ASSERT_GT(out.size(), 100 + 2 * d);
        EXPECT_EQ(out[100], 400000);
        EXPECT_NEAR(out[100 + d], 400000 * g, 1) << c.ms;
        EXPECT_NEAR(out[100 + 2 * d], 400000 * g * g, 1) << c.ms;
        EXPECT_EQ(out[100 + d - 1], 0);
        EXPECT_EQ(out[100 + d + 1], 0);
        // The tail goes on past the input until the repeats are 60 dB down.
        const double repeats = std::ceil(std::log(1e-3) / std::log(g));
        EXPECT_GE(out.size(), impulse.size() + static_cast<size_t>(repeats - 1) * d);
    }
}

TEST(DelayEffects, ReverbDecaysInTheTimeAskedAndDecorrelatesTheSides) {
    for (int32_t ms : {50, 100, 200, 500, 1000}) {
        std::vector<int32_t> impulse(2 * 2000, 0);
        impulse[0] = impulse[1] = 400000;
        LSourceRef reverb(new LSRCReverb(Samples(impulse, 2), 100, ms));
        const auto out = Render(reverb);
        ASSERT_GE(out.size() / 2, static_cast<size_t>(int64_t{kRate} * ms / 1000));
        // The decay time from the energy decay curve (the energy still to come at each
        // frame, integrated backwards from the end) of the left channel's reverberated
        // part, by a line through its -5 to -35 dB stretch, as room acoustics measure it.
        std::vector<double> edc(out.size() / 2, 0.0);
        double rest = 0;
        for (size_t f = edc.size(); f-- > 1;) {
            rest += double{1} * out[2 * f] * out[2 * f];
            edc[f] = rest;
        }
        std::vector<double> xs, ys;
        for (size_t f = 1; f < edc.size(); f += 16) {
            const double db = 10 * std::log10(edc[f] / edc[1] + 1e-30);
            if (db < -5 && db > -35) {
                xs.push_back(static_cast<double>(f) / kRate);
                ys.push_back(db);
            }
        }
        ASSERT_GT(xs.size(), 5u);
        double mx = 0, my = 0;
        for (size_t i = 0; i < xs.size(); ++i) {
            mx += xs[i] / static_cast<double>(xs.size());
            my += ys[i] / static_cast<double>(xs.size());
        }
        double sxy = 0, sxx = 0;
        for (size_t i = 0; i < xs.size(); ++i) {
            sxy += (xs[i] - mx) * (ys[i] - my);
            sxx += (xs[i] - mx) * (xs[i] - mx);
        }
        const double rt60 = -60.0 / (sxy / sxx);
        EXPECT_NEAR(rt60, ms / 1000.0, 0.25 * ms / 1000.0) << ms;
        // Left and right tails are not the same signal.
        double lr = 0, ll = 0, rr = 0;
        for (size_t f = 2000; f < out.size() / 2; ++f) {
            const double l = out[2 * f], r = out[2 * f + 1];
            lr += l * r;
            ll += l * l;
            rr += r * r;
        }
        EXPECT_LT(std::abs(lr) / std::sqrt(ll * rr), 0.5) << ms;
    }
}

// A 1 kHz tone at `quietDb` for half a second, then at `loudDb` for a second.
std::vector<int32_t> Step(double quietDb, double loudDb) {
    std::vector<int32_t> s;
    for (int32_t i = 0; i < kRate * 3 / 2; ++i) {
        const double db = i < kRate / 2 ? quietDb : loudDb;
        s.push_back(static_cast<int32_t>(kFullScaleLevel * DbToGain(db) *
                                         std::sin(2 * std::numbers::pi * 1000 * i / kRate)));
    }
    return s;
}

double PeakDb(const std::vector<int32_t>& s, size_t from, size_t to) {
    int32_t peak = 0;
    for (size_t i = from; i < to; ++i)
        peak = std::max(peak, std::abs(s[i]));
    return 20 * std::log10(peak / kFullScaleLevel);
}

TEST(DynamicsEffects, CompressorRatiosOnceSettled) {
    struct Case {
        int32_t ratioIndex;
        double outAboveThreshold;  // for 10 dB above it
    };
    for (Case c : {Case{0, 10}, Case{1, 10 / 1.5}, Case{2, 5}, Case{4, 2.5}, Case{6, 0}}) {
        LSourceRef comp(new LSRCCompressor(Samples(Step(-30, -10)), -20, c.ratioIndex, 0));
        const auto out = Render(comp);
        ASSERT_EQ(out.size(), size_t{kRate} * 3 / 2);
        EXPECT_NEAR(PeakDb(out, out.size() - kRate / 4, out.size()), -20 + c.outAboveThreshold, 0.5)
            << c.ratioIndex;
        // Below the threshold nothing changes.
        EXPECT_NEAR(PeakDb(out, kRate / 4, kRate / 2), -30, 0.1) << c.ratioIndex;
    }
    // The gate lowers what stays under the threshold and passes what is over it.
    LSourceRef gate(new LSRCCompressor(Samples(Step(-50, -10)), -30, kRatioGate, 0));
    const auto out = Render(gate);
    EXPECT_LT(PeakDb(out, kRate / 4, kRate / 2 - 64), -120);  // it may open a little early
    EXPECT_NEAR(PeakDb(out, out.size() - kRate / 4, out.size()), -10, 0.1);
}

TEST(DynamicsEffects, LimiterNeverPassesItsCeiling) {
    std::mt19937 random(7);
    std::normal_distribution<double> noise(0, 300000);
    std::vector<int32_t> s(size_t{kRate} * 2);
    for (size_t i = 0; i < s.size(); ++i)
        s[i] = std::clamp(static_cast<int32_t>(noise(random)), -2000000, 2000000);
    s[5000] = 2000000;  // single-sample spikes, one at each sign
    s[5001] = -2000000;
    for (int32_t limitDb : {0, -6, -20}) {
        for (int32_t ratio : {0, 2, kRatioLimit}) {
            LSourceRef comp(new LSRCCompressor(Samples(s, 2), -10, ratio, limitDb));
            const auto out = Render(comp);
            const double ceiling = kFullScaleLevel * DbToGain(limitDb);
            int32_t peak = 0;
            for (int32_t v : out)
                peak = std::max(peak, std::abs(v));
            EXPECT_LE(peak, ceiling) << limitDb << " " << ratio;
            EXPECT_GT(peak, ceiling * 0.9) << limitDb << " " << ratio;
        }
    }
}

TEST(DynamicsEffects, AutomaticGainControlRidesTowardItsTarget) {
    // A quiet passage and a loud one both end near -20 dB RMS (-17 dB peak for a tone).
    for (double db : {-35.0, -8.0}) {
        const auto out = Render(LSourceRef(new LSRCAutoGain(Tone(440, db, 10))));
        EXPECT_NEAR(PeakDb(out, out.size() - kRate, out.size()), -17, 1.0) << db;
    }
}

TEST(PanEffect, EndsSilenceOneSideAndTheCentreKeepsTheSignal) {
    std::vector<int32_t> s;
    for (int32_t i = 0; i < 20000; ++i) {
        s.push_back((i * 37) % 4000 - 2000);
        s.push_back((i * 53) % 6000 - 3000);
    }
    struct Case {
        int32_t position;
        bool leftSilent, rightSilent;
    };
    for (Case c : {Case{0, false, true}, Case{100, true, false}, Case{50, false, false}}) {
        const auto out = Render(LSourceRef(new LSRCStereoPan(Samples(s, 2), c.position)));
        bool left = false, right = false;
        for (size_t i = 0; i < out.size(); i += 2) {
            left |= out[i] != 0;
            right |= out[i + 1] != 0;
        }
        EXPECT_EQ(!left, c.leftSilent) << c.position;
        EXPECT_EQ(!right, c.rightSilent) << c.position;
        if (c.position == 50) {
            EXPECT_EQ(out, s);
        }
    }
    // Constant power: the sum of the sides' powers is the same wherever the pan is.
    std::vector<int32_t> mono(4000, 100000);
    std::vector<int32_t> both;
    for (int32_t v : mono) {
        both.push_back(v);
        both.push_back(v);
    }
    for (int32_t p : {0, 20, 50, 80, 100}) {
        const auto out = Render(LSourceRef(new LSRCStereoPan(Samples(both, 2), p)));
        const double l = out[0], r = out[1];
        const double power = l * l + r * r;
        EXPECT_NEAR(power / (2.0 * 100000 * 100000), 1.0, 1e-3) << p;
    }
}

}  // namespace
}  // namespace osmera
