// The spectrum and spectrogram analysers, judged on what they measure from known signals.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "core/generator_sources.h"
#include "effects/spectrogram.h"
#include "effects/spectrum_analysis.h"

namespace osmera {
namespace {

constexpr int32_t kRate = 44100;
constexpr int32_t kFull = 524288;

LSourceRef Tone(double hz, int32_t amplitude, int32_t frames = kRate * 2, uint8_t ch = 1) {
    return LSourceRef(new LSRCTone(kRate, ch, frames, hz, amplitude));
}

// Sum of sines (frequency, amplitude) in a mono source.
LSourceRef Tones(std::initializer_list<std::pair<double, double>> parts, int32_t frames) {
    std::vector<int32_t> s(static_cast<size_t>(frames));
    for (int32_t i = 0; i < frames; ++i) {
        double v = 0;
        for (auto [hz, a] : parts)
            v += a * std::sin(2 * std::numbers::pi * hz * i / kRate);
        s[static_cast<size_t>(i)] = static_cast<int32_t>(std::lround(v));
    }
    return LSourceRef(new LSRCSampleVector(kRate, 1, std::move(s)));
}

TEST(SpectrumAnalysis, FullScaleSineReadsZeroDbAtItsBinWithTheFlatTopWindow) {
    for (int32_t fft : {1024, 8192, 65536}) {
        LSpectrum s;
        LSpectrumSettings settings{fft, LFftWindow::kFlatTop, false};
        ASSERT_EQ(AnalyseSpectrum(Tone(1000.0, kFull - 16, kRate * 3), 0, kRate * 3, settings, s),
                  kJobDone);
        ASSERT_EQ(s.levels.size(), 1u);
        const auto peaks = FindSpectrumPeaks(s, 0, 1);
        ASSERT_EQ(peaks.size(), 1u) << fft;
        EXPECT_EQ(peaks[0].bin, std::lround(1000.0 * fft / kRate)) << fft;
        EXPECT_NEAR(peaks[0].level, 0.0, 0.5) << fft;
        EXPECT_NEAR(peaks[0].frequency, 1000.0, 0.6 * kRate / fft) << fft;
        // Half amplitude is 6 dB down.
        ASSERT_EQ(AnalyseSpectrum(Tone(1000.0, kFull / 2, kRate), 0, kRate, settings, s), kJobDone);
        EXPECT_NEAR(s.LevelAt(0, 1000.0), -6.02, 0.5) << fft;
    }
    EXPECT_EQ(NearestNoteName(1000.0), "B5 +21 ct");
    EXPECT_EQ(NearestNoteName(440.0), "A4 +0 ct");
    EXPECT_EQ(NearestNoteName(3.0), "");
}

TEST(SpectrumAnalysis, WhiteNoiseIsFlat) {
    // Ten seconds of uniform noise, FFT 1024 with Hann: about 860 windows averaged, so each
    // bin's level spreads by about 0.15 dB; across the band it must stay within 0.5 dB
    // (standard deviation) and 2 dB (any bin) of the mean.
    std::mt19937 random(7);
    std::uniform_int_distribution<int32_t> value(-kFull / 2, kFull / 2);
    std::vector<int32_t> samples(static_cast<size_t>(kRate) * 10);
    for (int32_t& v : samples)
        v = value(random);
    LSpectrum s;
    ASSERT_EQ(AnalyseSpectrum(LSourceRef(new LSRCSampleVector(kRate, 1, samples)), 0, kRate * 10,
                              {1024, LFftWindow::kHann, false}, s),
              kJobDone);
    const auto& v = s.levels[0];
    double sum = 0, sq = 0;
    const size_t n = v.size() - 2;
    for (size_t k = 1; k + 1 < v.size(); ++k)
        sum += v[k];
    const double mean = sum / static_cast<double>(n);
    double worst = 0;
    for (size_t k = 1; k + 1 < v.size(); ++k) {
        sq += (v[k] - mean) * (v[k] - mean);
        worst = std::max(worst, std::abs(v[k] - mean));
    }
    EXPECT_LT(std::sqrt(sq / static_cast<double>(n)), 0.5);
    EXPECT_LT(worst, 2.0);
}

TEST(SpectrumAnalysis, TonesTwentyHertzApartSeparateAtFft8192) {
    LSpectrum s;
    ASSERT_EQ(AnalyseSpectrum(Tones({{1000.0, 200000}, {1020.0, 200000}}, kRate * 2), 0, kRate * 2,
                              {8192, LFftWindow::kHann, false}, s),
              kJobDone);
    const auto peaks = FindSpectrumPeaks(s, 0, 2);
    ASSERT_EQ(peaks.size(), 2u);
    const double lo = std::min(peaks[0].frequency, peaks[1].frequency);
    const double hi = std::max(peaks[0].frequency, peaks[1].frequency);
    EXPECT_NEAR(lo, 1000.0, 3.0);
    EXPECT_NEAR(hi, 1020.0, 3.0);
    // A real dip between them, not a shoulder.
    EXPECT_LT(s.LevelAt(0, 1010.0), std::min(peaks[0].level, peaks[1].level) - 6.0f);
}

TEST(SpectrumAnalysis, ChannelsSeparateOrCombinedAndBadInputFails) {
    // Left a tone, right silence: per channel the right curve is empty, combined the tone
    // is 3 dB down (its power averaged with silence).
    std::vector<int32_t> st(static_cast<size_t>(kRate) * 2);
    for (int32_t i = 0; i < kRate; ++i)
        st[static_cast<size_t>(i) * 2] =
            static_cast<int32_t>(kFull / 2 * std::sin(2 * std::numbers::pi * 2000.0 * i / kRate));
    LSourceRef stereo(new LSRCSampleVector(kRate, 2, st));
    LSpectrum s;
    ASSERT_EQ(AnalyseSpectrum(stereo, 0, kRate, {4096, LFftWindow::kFlatTop, false}, s), kJobDone);
    ASSERT_EQ(s.levels.size(), 2u);
    EXPECT_NEAR(s.LevelAt(0, 2000.0), -6.02, 0.5);
    EXPECT_EQ(s.LevelAt(1, 2000.0), kSpectrumFloorDb);
    ASSERT_EQ(AnalyseSpectrum(stereo, 0, kRate, {4096, LFftWindow::kFlatTop, true}, s), kJobDone);
    ASSERT_EQ(s.levels.size(), 1u);
    EXPECT_NEAR(s.LevelAt(0, 2000.0), -9.03, 0.5);
    // A range shorter than a window, and a source shorter than one, still give a spectrum.
    ASSERT_EQ(
        AnalyseSpectrum(Tone(3000.0, kFull / 2, 1000), 10, 20, {8192, LFftWindow::kHann, false}, s),
        kJobDone);
    EXPECT_EQ(s.windows, 1);
    EXPECT_NEAR(FindSpectrumPeaks(s, 0, 1).at(0).frequency, 3000.0, 10.0);
    EXPECT_EQ(AnalyseSpectrum(Tone(1000.0, 1000), 0, 100, {1000, LFftWindow::kHann, false}, s),
              kJobFailed);
    EXPECT_EQ(AnalyseSpectrum(MakeEmptySource(), 0, 100, {}, s), kJobFailed);
}

TEST(Spectrogram, SweepPeakRisesColumnByColumn) {
    // A linear sweep from 200 Hz to 15 kHz over four seconds, 200 columns.
    const int32_t frames = kRate * 4;
    std::vector<int32_t> s(static_cast<size_t>(frames));
    double phase = 0;
    for (int32_t i = 0; i < frames; ++i) {
        const double hz = 200.0 + (15000.0 - 200.0) * i / frames;
        phase += 2 * std::numbers::pi * hz / kRate;
        s[static_cast<size_t>(i)] = static_cast<int32_t>(200000 * std::sin(phase));
    }
    LSpectrogramAnalyser analyser(LSourceRef(new LSRCSampleVector(kRate, 1, s)),
                                  {1024, 50, LFftWindow::kHann, -120.0f, 0.0f});
    ASSERT_TRUE(analyser.IsOk());
    const int32_t columns = 200;
    std::vector<float> out;
    ASSERT_EQ(analyser.ComputeColumns(LFramesPerColumn::Of(frames, columns), 0, columns, out),
              columns);
    const size_t bins = static_cast<size_t>(analyser.Bins());
    int32_t previous = -1;
    for (int32_t c = 2; c < columns - 2; ++c) {
        const float* col = out.data() + static_cast<size_t>(c) * bins;
        const int32_t top = static_cast<int32_t>(std::max_element(col, col + bins) - col);
        EXPECT_GE(top, previous) << "column " << c;
        previous = top;
        EXPECT_GT(col[top], -20.0f);
    }
    EXPECT_GT(previous, static_cast<int32_t>(bins) / 2);
    // A stop flag that is already set computes nothing; past the end reads the floor.
    std::atomic<bool> stop{true};
    EXPECT_EQ(analyser.ComputeColumns(LFramesPerColumn::Of(frames, columns), 0, 5, out, &stop), 0);
    ASSERT_EQ(analyser.ComputeColumns(LFramesPerColumn::Of(frames, columns), columns + 10, 1, out),
              1);
    EXPECT_EQ(*std::max_element(out.begin(), out.end()), -120.0f);
}

}  // namespace
}  // namespace osmera
