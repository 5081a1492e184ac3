#include "effects/level_effects.h"

#include <gtest/gtest.h>

#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

using testing::CutTankTest;
using testing::RecordingProgress;
using LevelTest = CutTankTest;

std::vector<int32_t> Constant(int32_t frames, uint8_t channels, int32_t value) {
    return std::vector<int32_t>(static_cast<size_t>(frames) * channels, value);
}

TEST_F(LevelTest, AmplifyScalesGainsWithTheirTruncationAndSaturation) {
    struct Case {
        int32_t before;
        int32_t percent;
        int32_t after;
    };
    const Case cases[] = {
        {kUnityGain, 200, 33554400},  // last two digits lost by the division
        {kUnityGain, 400, 67108800},  // 400 % is accepted
        {536870901, 400, kMaxGain},   // above (2147483647 / 400) * 100: saturates
        {kMaxGain, 50, kMaxGain},     // a saturated gain never comes down
        {500000000, 1000, kMaxGain}, {kUnityGain, 100, kUnityGain},  // no-op
    };
    for (const Case& c : cases) {
        LCutListAudio list = Written(Constant(10, 1, 1000), 1);
        LAudioCut entry = list.GetEntries()[0];
        entry.gain = c.before;
        list.Clear();
        list.AppendEntry(entry);
        Amplify(list, 0, 10, c.percent);
        EXPECT_EQ(list.GetEntries()[0].gain, c.after) << c.before << " x " << c.percent << "%";
    }
}

TEST_F(LevelTest, NormalizeGainIsCappedAndFullScaleIsANoOp) {
    EXPECT_EQ(NormalizeGain(100, 0), 100);  // silence: no division by zero

    LCutListAudio quiet = Written(Constant(20000, 2, -1000), 2);
    RecordingProgress progress;
    LEffectRequest request{&quiet, 20000, 0, {100}};
    EXPECT_EQ(Normalize(progress, request), kJobDone);
    EXPECT_EQ(quiet.GetEntries()[0].gain, 67108800);  // raised by at most 400 %
    EXPECT_EQ(progress.lines[0], "Normalizing");
    EXPECT_DOUBLE_EQ(progress.fractions.back(), 1.0);

    LCutListAudio full = Written(Constant(100, 1, 524272), 1);
    LEffectRequest fullRequest{&full, 100, 0, {100}};
    EXPECT_EQ(Normalize(progress, fullRequest), kJobDone);
    EXPECT_EQ(full.GetEntries().size(), 1u);
    EXPECT_EQ(full.GetEntries()[0].gain, kUnityGain);
}

TEST_F(LevelTest, FadeInReachesUnityAtTheRangeEndOnMono) {
    const int32_t frames = 20000;  // three blocks
    const int32_t value = 16000;
    LCutListAudio list = Written(Constant(frames + 100, 1, value), 1);
    RecordingProgress progress;
    LEffectRequest request{&list, frames, 0, {}};
    ASSERT_EQ(Envelope(progress, request, FadeInPoints(), "Fade In"), kJobDone);
    ASSERT_EQ(list.GetLength(), frames + 100);
    const auto out = ReadAll(list);
    EXPECT_EQ(out[0], 0);
    for (int32_t i = 1; i < frames; ++i)
        ASSERT_GE(out[i], out[i - 1]) << i;
    EXPECT_NEAR(out[frames - 1], value, 4);
    EXPECT_EQ(out[frames], value);  // after the range: untouched

    // One block whose steps divide evenly: the gain before sample i is exactly i steps, so
    // it reaches unity exactly at the range end.
    LCutListAudio block = Written(Constant(8192, 1, value), 1);
    LEffectRequest one{&block, 8192, 0, {}};
    ASSERT_EQ(Envelope(progress, one, FadeInPoints(), "Fade In"), kJobDone);
    const auto ramp = ReadAll(block);
    for (int32_t i = 0; i < 8192; ++i)
        ASSERT_EQ(ramp[i], MultiplyByGain(value, i * 2048)) << i;
}

TEST_F(LevelTest, FadeInOnStereoStepsPerSample) {
    // Two frames of a short range: the gain moves after every sample, so the right
    // channel of frame 0 already has one step.
    const int32_t value = 1 << 20;
    LCutListAudio list = Written(Constant(4, 2, value), 2);
    RecordingProgress progress;
    LEffectRequest request{&list, 4, 0, {}};
    ASSERT_EQ(Envelope(progress, request, FadeInPoints(), "Fade In"), kJobDone);
    const auto out = ReadAll(list);
    // One block of four frames: step = (128 << 17) / 4, added after each of the eight
    // samples, so sample i is scaled by i steps (the ramp overshoots unity on stereo).
    const int32_t step = (128 << 17) / 4;
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(out[i], MultiplyByGain(value, step * i)) << i;
}

TEST_F(LevelTest, EnvelopeHoldsItsLastTargetToTheRangeEnd) {
    const int32_t frames = 2550;
    LCutListAudio list = Written(Constant(frames, 1, 8192), 1);
    RecordingProgress progress;
    LEffectRequest request{&list, frames, 0, {}};
    // From unity down to half at x = 127, then nothing more until the end.
    const LPointList points = {{0, 128}, {127, 64}};
    ASSERT_EQ(Envelope(progress, request, points, "Envelope"), kJobDone);
    const auto out = ReadAll(list);
    EXPECT_EQ(out[0], 8192);
    for (int32_t i = 1280; i < frames; ++i)
        ASSERT_EQ(out[i], 4096) << i;

    LEffectRequest bad{&list, frames, 0, {}};
    EXPECT_EQ(Envelope(progress, bad, {{0, 128}}, "Envelope"), kJobFailed);
}

TEST_F(LevelTest, DcOffsetOnOneChannelLeavesTheOtherAlone) {
    std::vector<int32_t> samples;
    for (int32_t i = 0; i < 10000; ++i) {
        const int32_t wave = (i % 50 < 25) ? 3000 : -3000;
        samples.push_back(wave + 100);
        samples.push_back(wave + (i % 7));
    }
    LCutListAudio list = Written(samples, 2);
    RecordingProgress progress;
    LEffectRequest request{&list, 10000, 0, {}};
    ASSERT_EQ(DcOffset(progress, request), kJobDone);
    const auto out = ReadAll(list);
    for (size_t i = 0; i < out.size(); i += 2) {
        ASSERT_EQ(out[i], samples[i] - 100) << i;
        ASSERT_EQ(out[i + 1], samples[i + 1] - 2) << i;  // mean of i % 7 over 10000: 2.99 -> 2
    }
}

TEST_F(LevelTest, DcOffsetRefusesUnlikeFormats) {
    LCutListAudio list = Written(Constant(100, 2, 5), 2);
    auto source = list.MakeSource();
    LRef<testing::CollectSink> mono(new testing::CollectSink(44100, 1));
    RecordingProgress progress;
    EXPECT_EQ(DcOffsetCorrect(progress, source, mono), kJobFailed);
    EXPECT_TRUE(mono->samples.empty());
}

TEST_F(LevelTest, PointListFileRoundTripsAndRefusesShortFiles) {
    const std::string path = dir_.File("envelope.dat");
    const LPointList points = {{0, 10}, {100, 200}, {255, 128}};
    ASSERT_TRUE(SavePointList(path, points));
    LPointList loaded;
    ASSERT_TRUE(LoadPointList(path, loaded));
    EXPECT_EQ(loaded, points);
    std::filesystem::resize_file(path, 4);
    EXPECT_FALSE(LoadPointList(path, loaded));
    EXPECT_FALSE(LoadPointList(dir_.File("missing.dat"), loaded));
}

}  // namespace
}  // namespace osmera
