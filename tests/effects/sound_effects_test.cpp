// Noise reduction, speed and pitch, the mixes and loudness normalize, run through the
// effect driver and measured on what they leave in the document.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>

#include "effects/effect_driver.h"
#include "effects/loudness.h"
#include "formats/wave_file.h"
#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

using testing::RecordingProgress;

constexpr int32_t kRate = 44100;
constexpr double kFull = 524288.0;  // 0 dBFS in stream units

double FromDb(double db) {
    return std::pow(10.0, db / 20.0);
}

// A sine of `freq` Hz at `peakDb` dBFS on every channel, added to `s` from `from` on.
void AddTone(std::vector<int32_t>& s, uint8_t ch, int32_t from, int32_t frames, double freq,
             double peakDb) {
    const double a = FromDb(peakDb) * kFull;
    for (int32_t i = 0; i < frames; ++i) {
        const double v = a * std::sin(2 * std::numbers::pi * freq * i / kRate);
        for (uint8_t c = 0; c < ch; ++c)
            s[static_cast<size_t>(from + i) * ch + c] += static_cast<int32_t>(std::lrint(v));
    }
}

// Uniform white noise with an RMS of `rmsDb` dBFS (a fixed sequence).
void AddNoise(std::vector<int32_t>& s, double rmsDb) {
    const double a = FromDb(rmsDb) * kFull * std::sqrt(3.0);
    uint32_t x = 12345;
    for (int32_t& v : s) {
        x = x * 1664525u + 1013904223u;
        v += static_cast<int32_t>(std::lrint((x / 4294967296.0 * 2 - 1) * a));
    }
}

// RMS in dBFS of channel 0 over [from, to).
double RmsDb(const std::vector<int32_t>& s, uint8_t ch, int32_t from, int32_t to) {
    double sum = 0;
    for (int32_t i = from; i < to; ++i) {
        const double v = s[static_cast<size_t>(i) * ch] / kFull;
        sum += v * v;
    }
    return 10 * std::log10(sum / (to - from));
}

// The frequency of the tone on channel 0 over [from, to), from its rising zero crossings
// (placed between samples by linear interpolation).
double Frequency(const std::vector<int32_t>& s, uint8_t ch, int32_t from, int32_t to) {
    double first = -1, last = -1;
    int crossings = 0;
    for (int32_t i = from + 1; i < to; ++i) {
        const double a = s[static_cast<size_t>(i - 1) * ch], b = s[static_cast<size_t>(i) * ch];
        if (a < 0 && b >= 0) {
            const double t = (i - 1) + a / (a - b);
            if (first < 0)
                first = t;
            last = t;
            ++crossings;
        }
    }
    return crossings < 2 ? 0 : (crossings - 1) * kRate / (last - first);
}

class SoundEffectsTest : public testing::CutTankTest {
  protected:
    void TearDown() override {
        driver_.reset();
        controller_.reset();
        CutTankTest::TearDown();
    }
    LOMFile& Open(const std::vector<int32_t>& samples, uint8_t channels) {
        LOMFile& doc = controller_->NewDocument(kRate, channels);
        doc.audio = Written(samples, channels, kRate);
        return doc;
    }
    LEffectResult Run(LEffectId id, std::vector<int32_t> values = {}) {
        LPresetEffectDialog dialog(std::move(values));
        return driver_->Run(id, &dialog);
    }

    LMemorySettingsStore settings_;
    RecordingProgress progress_;
    std::unique_ptr<LDocumentController> controller_ =
        std::make_unique<LDocumentController>(settings_, nullptr);
    std::unique_ptr<LEffectDriver> driver_ =
        std::make_unique<LEffectDriver>(*controller_, settings_, progress_);
};

TEST_F(SoundEffectsTest, SpeedAndPitchChangeLengthAndFrequency) {
    struct Case {
        LEffectId id;
        int32_t percent;
        int32_t length;  // expected frames, within `lengthSlack`
        int32_t lengthSlack;
        double freq;
        double freqSlack;
    };
    constexpr int32_t n = 2 * kRate;
    const Case cases[] = {
        {LEffectId::kSimpleSpeedPitch, 200, n / 2, 1, 880, 2},
        {LEffectId::kConstantPitchSpeed, 200, n / 2, 0, 440, 2},
        {LEffectId::kConstantSpeedPitch, 150, n, kRate / 100, 660, 3},
    };
    for (const Case& c : cases) {
        std::vector<int32_t> s(static_cast<size_t>(n) * 2);
        AddTone(s, 2, 0, n, 440, -12);
        LOMFile& doc = Open(s, 2);
        ASSERT_EQ(Run(c.id, {c.percent}).status, LEffectStatus::kApplied) << c.percent;
        const int32_t len = doc.audio.GetLength();
        EXPECT_NEAR(len, c.length, c.lengthSlack) << c.percent;
        const auto out = ReadAll(doc.audio);
        EXPECT_NEAR(Frequency(out, 2, len / 5, len * 4 / 5), c.freq, c.freqSlack) << c.percent;
        // The level stays (within 1.5 dB) and both channels carry the tone.
        EXPECT_NEAR(RmsDb(out, 2, len / 5, len * 4 / 5), -15.0, 1.5) << c.percent;
        EXPECT_NEAR(out[len], out[len + 1], 2000) << c.percent;
        controller_->CloseDocument(&doc);
    }
}

TEST_F(SoundEffectsTest, NoiseReductionGatesNoiseAndKeepsATone) {
    // One second of noise at the gate level, then two with a tone 20 dB above it.
    for (const bool takeProfile : {false, true}) {
        std::vector<int32_t> s(3 * kRate);
        AddNoise(s, -30);
        AddTone(s, 1, kRate, 2 * kRate, 1000, -10 + 3.01);  // RMS -10 dBFS
        LOMFile& doc = Open(s, 1);
        const double noiseBefore = RmsDb(s, 1, kRate / 10, kRate * 9 / 10);
        if (takeProfile) {
            doc.SetSelection(0, kRate);
            ASSERT_TRUE(driver_->TakeNoiseProfile());
        }
        doc.SetSelection(0, 3 * kRate);
        ASSERT_EQ(Run(LEffectId::kNoiseReduction, {-30}).status, LEffectStatus::kApplied);
        const auto out = ReadAll(doc.audio);
        ASSERT_EQ(out.size(), s.size());
        EXPECT_LE(RmsDb(out, 1, kRate / 10, kRate * 9 / 10), noiseBefore - 15) << takeProfile;
        EXPECT_NEAR(RmsDb(out, 1, kRate * 12 / 10, kRate * 28 / 10), -10.0, 1.0) << takeProfile;
        controller_->CloseDocument(&doc);
        driver_->SetNoiseProfile({});
    }
}

TEST_F(SoundEffectsTest, PasteMixSumsWithinTheLimiterAndMixFileConverts) {
    std::vector<int32_t> base(20000), clip(20000);
    for (int32_t i = 0; i < 20000; ++i) {
        base[i] = 300000;
        clip[i] = (i % 200) * 3000 - 300000;
    }
    LOMFile& doc = Open(base, 1);
    controller_->GetClipboard() = Written(clip, 1);
    ASSERT_EQ(Run(LEffectId::kPasteMix, {100, 0, 250}).status, LEffectStatus::kApplied);
    auto out = ReadAll(doc.audio);
    ASSERT_EQ(out.size(), base.size());
    for (int32_t i = 0; i < 20000; ++i)
        ASSERT_EQ(out[i], std::min(base[i] + clip[i], kPeak16Bit)) << i;
    controller_->GetClipboard().Clear();

    // A mono 22050 Hz file mixed into the stereo document at half volume.
    const std::string path = dir_.File("mix.wav");
    {
        auto sink = LWaveFile::CreateSink(path, 22050, 0, 2, 1);
        const std::vector<int32_t> ones(11025, 160000);
        sink->Write(ones.data(), 11025);
        ASSERT_TRUE(sink->Finish());
    }
    LOMFile& stereo = Open(std::vector<int32_t>(2 * kRate * 2, 1000), 2);
    driver_->SetMixFile(path);
    ASSERT_EQ(Run(LEffectId::kMixFile, {50, 0, 250}).status, LEffectStatus::kApplied);
    out = ReadAll(stereo.audio);
    EXPECT_NEAR(out[2 * 20000], 81000, 400);
    EXPECT_NEAR(out[2 * 20000 + 1], 81000, 400);
    EXPECT_EQ(out[2 * 60000], 1000);

    driver_->SetMixFile(dir_.File("missing.wav"));
    const LEffectResult r = Run(LEffectId::kMixFile);
    EXPECT_EQ(r.status, LEffectStatus::kRefused);
    EXPECT_NE(r.message.find("missing.wav"), std::string::npos);
    EXPECT_EQ(Run(LEffectId::kPasteMix).message, kMixClipboardEmptyMessage);
}

TEST_F(SoundEffectsTest, CrossFadeOverlapsTheClipboardAfterTheSelection) {
    LOMFile& doc = Open(std::vector<int32_t>(kRate, 100000), 1);
    controller_->GetClipboard() = Written(std::vector<int32_t>(kRate, 200000), 1);
    doc.SetSelection(0, kRate);
    ASSERT_EQ(Run(LEffectId::kCrossFade, {300, 300, 300}).status, LEffectStatus::kApplied);
    const int32_t overlap = kRate * 3 / 10;
    ASSERT_EQ(doc.audio.GetLength(), 2 * kRate - overlap);
    const auto out = ReadAll(doc.audio);
    EXPECT_EQ(out[kRate / 2], 100000);
    EXPECT_NEAR(out[kRate - overlap / 2], 150000, 100);  // both at half way
    EXPECT_EQ(out[kRate + 1000], 200000);
    controller_->GetClipboard().Clear();
}

TEST_F(SoundEffectsTest, LoudnessNormalizeReachesItsTargetUnderTheCeiling) {
    struct Case {
        int32_t target;
        int32_t ceiling;
        double lufs;  // expected; NAN: held by the ceiling instead
    };
    const Case cases[] = {{-23, -1, -23}, {-16, -1, -16}, {-5, -6, NAN}};
    for (const Case& c : cases) {
        std::vector<int32_t> s(static_cast<size_t>(4 * kRate) * 2);
        AddTone(s, 2, 0, 4 * kRate, 997, -30);
        LOMFile& doc = Open(s, 2);
        ASSERT_EQ(Run(LEffectId::kLoudnessNormalize, {c.target, c.ceiling}).status,
                  LEffectStatus::kApplied);
        LLoudness after;
        ASSERT_EQ(MeasureLoudness(nullptr, LSourceRef(doc.audio.MakeSource()), 0,
                                  doc.audio.GetLength(), after),
                  kJobDone);
        if (std::isnan(c.lufs))
            EXPECT_NEAR(after.truePeak, c.ceiling, 0.2) << c.target;
        else
            EXPECT_NEAR(after.integrated, c.lufs, 0.2) << c.target;
        controller_->CloseDocument(&doc);
    }
}

// One table over every pumped effect: cancelled half way it leaves the document as it was;
// run to the end, undo gives back the same entries.
TEST_F(SoundEffectsTest, CancelledHalfWayLeavesTheDocumentAndDoneRunsUndo) {
    struct Case {
        LEffectId id;
        std::vector<int32_t> values;
    };
    const Case cases[] = {
        {LEffectId::kSimpleSpeedPitch, {150}},
        {LEffectId::kConstantPitchSpeed, {150}},
        {LEffectId::kConstantSpeedPitch, {120}},
        {LEffectId::kNoiseReduction, {-30}},
        {LEffectId::kPasteMix, {100, 1, 250}},
        {LEffectId::kCrossFade, {300, 300, 300}},
        {LEffectId::kMixFile, {100, 0, 250}},
        {LEffectId::kLoudnessNormalize, {-23, -1}},
        {LEffectId::kHighPassFilter, {}},
        {LEffectId::kEqualizer, {}},
        {LEffectId::kEcho, {}},
        {LEffectId::kReverb, {}},
        {LEffectId::kCompressor, {}},
        {LEffectId::kAutomaticGainControl, {}},
        {LEffectId::kStereoPan, {}},
        {LEffectId::kReverse, {}},
        {LEffectId::kFadeIn, {}},
        {LEffectId::kFadeOut, {}},
        {LEffectId::kNormalize, {}},
        {LEffectId::kDcOffset, {}},
        {LEffectId::kAutoClickPop, {}},
    };
    std::vector<int32_t> s(static_cast<size_t>(3 * kRate) * 2);
    AddNoise(s, -20);
    LOMFile& doc = Open(s, 2);
    controller_->GetClipboard() = Written(std::vector<int32_t>(2 * kRate, 5000), 2);
    const std::string path = dir_.File("mix.wav");
    {
        auto sink = LWaveFile::CreateSink(path, kRate, 0, 2, 2);
        sink->Write(s.data(), kRate);
        ASSERT_TRUE(sink->Finish());
    }
    driver_->SetMixFile(path);
    const auto entries = doc.audio.GetEntries();
    for (const Case& c : cases) {
        const LEffectInfo& info = GetEffectInfo(c.id);
        const std::string name = info.command;
        progress_ = RecordingProgress(4);        // the fourth poll, half way through 3 s
        if (c.id != LEffectId::kAutoClickPop) {  // its cancel keeps repairs: see its own test
            EXPECT_EQ(Run(c.id, c.values).status, LEffectStatus::kJobCancelled) << name;
            EXPECT_EQ(doc.audio.GetEntries(), entries) << name;
            if (*info.progressTitle) {
                EXPECT_EQ(progress_.lines[0], info.progressTitle) << name;
            }
        }
        progress_ = RecordingProgress();
        EXPECT_EQ(Run(c.id, c.values).status, LEffectStatus::kApplied) << name;
        controller_->CmUndo();
        EXPECT_EQ(doc.audio.GetEntries(), entries) << name;
        doc.SetSelection(0, 0);
    }
    EXPECT_EQ(ReadAll(doc.audio), s);
    controller_->GetClipboard().Clear();
}

}  // namespace
}  // namespace osmera
