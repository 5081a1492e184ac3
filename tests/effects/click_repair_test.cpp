#include "effects/click_repair.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <tuple>

#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

using testing::CutTankTest;
using testing::RecordingProgress;
using ClickTest = CutTankTest;

std::vector<int32_t> Tone(int32_t frames, uint8_t channels, int32_t rate) {
    std::vector<int32_t> s;
    for (int32_t i = 0; i < frames; ++i) {
        const double v = 100000.0 * std::sin(2.0 * std::numbers::pi * 440.0 * i / rate);
        for (int c = 0; c < channels; ++c)
            s.push_back(static_cast<int32_t>(v));
    }
    return s;
}

TEST(ClickParameters, HighSensitivityStillFindsEdgesAndNeverDividesByZero) {
    // A block of small noise with one sharp spike: sensitivity 100 (s = 1) and 95 (jump
    // threshold 0) both find it; a block of zeros finds nothing.
    std::vector<int32_t> block(444, 0);
    for (size_t i = 0; i < block.size(); ++i)
        block[i] = (i % 3) * 10;
    block[200] = 50000;
    for (int32_t sensitivity : {95, 100, 50}) {
        int found = 0;
        DetectClicks(block.data(), 1, 0, 444, 1000, 44100, {sensitivity, 150},
                     [&](int64_t a, int64_t b) {
                         EXPECT_EQ(a, 1000 + 200 - 2);
                         EXPECT_EQ(b, 1000 + 201 + 2);  // frame 201 is the first quiet one
                         ++found;
                     });
        EXPECT_EQ(found, 1) << sensitivity;
    }
    const std::vector<int32_t> zeros(444, 0);
    DetectClicks(zeros.data(), 1, 0, 444, 0, 44100, {100, 150},
                 [](int64_t, int64_t) { ADD_FAILURE() << "click in silence"; });
}

TEST_F(ClickTest, RepairDrawsAStraightLineOnOneChannel) {
    std::vector<int32_t> s(40, 0);
    for (int f = 0; f < 20; ++f) {
        s[2 * f] = 1000;
        s[2 * f + 1] = -7;
    }
    s[2 * 9] = 1600;  // left channel, frame 9: the line runs from frame 7 to frame 12
    s[2 * 12] = 1500;
    LCutListAudio list = Written(s, 2);
    RepairSpan(list, 0, 12, 8);
    const auto out = ReadAll(list);
    // first 1000 (frame 7), last 1500 (frame 12), n = 4: (5 - k) * 1000 + k * 1500) / 5.
    EXPECT_EQ(out[2 * 8], 1100);
    EXPECT_EQ(out[2 * 9], 1200);
    EXPECT_EQ(out[2 * 11], 1400);
    EXPECT_EQ(out[2 * 12], 1500);
    for (int f = 0; f < 20; ++f)
        EXPECT_EQ(out[2 * f + 1], -7);

    // At the start of the file the left neighbour is the silence before it.
    LCutListAudio head = Written(std::vector<int32_t>(10, 900), 1);
    RepairSpan(head, 0, 0, 2);
    EXPECT_EQ(ReadAll(head)[0], 300);
    EXPECT_EQ(ReadAll(head)[1], 600);
}

// A 440 Hz tone of 16-bit amplitude 8000 (128000 inside), faded in over 10 ms so that its
// start is no edge, with three clicks of three frames each (+30000, -30000, +30000 in 16-bit
// terms) on channel 0 only.
struct ClickedTone {
    std::vector<int32_t> clean, damaged;
    std::vector<int32_t> clicks;
};
ClickedTone MakeClickedTone(int32_t frames, uint8_t channels, int32_t rate) {
    ClickedTone t;
    for (int32_t i = 0; i < frames; ++i) {
        const double fade = std::min(1.0, i / (rate / 100.0));
        const double v = 128000.0 * fade * std::sin(2.0 * std::numbers::pi * 440.0 * i / rate);
        for (int c = 0; c < channels; ++c)
            t.clean.push_back(static_cast<int32_t>(v));
    }
    t.damaged = t.clean;
    // Only the clicks that fit: a shorter tone (the callers that want only the clean
    // signal) has fewer.
    const int32_t values[] = {480000, -480000, 480000};
    for (int32_t at : {20000, 45000, 70000}) {
        if (at + 3 <= frames)
            t.clicks.push_back(at);
    }
    for (size_t k = 0; k < t.clicks.size(); ++k) {
        for (int32_t f = 0; f < 3; ++f)
            t.damaged[static_cast<size_t>(t.clicks[k] + f) * channels] = values[k];
    }
    return t;
}

TEST_F(ClickTest, AutomaticRepairBridgesWholeClicksOnTheirChannelOnly) {
    constexpr int32_t kFrames = 90000;
    for (int32_t rate : {44100, 48000}) {
        for (uint8_t channels : {1, 2}) {
            SCOPED_TRACE(::testing::Message() << rate << " Hz, " << int{channels} << " ch");
            const ClickedTone tone = MakeClickedTone(kFrames, channels, rate);
            RecordingProgress progress;
            int32_t repairs = -1;

            LCutListAudio untouched = Written(tone.clean, channels, rate);
            const auto entries = untouched.GetEntries();
            LEffectRequest all{&untouched, kFrames, 0, {}};
            ASSERT_EQ(AutoClickRepair(progress, all, {50, 450}, &repairs), kJobDone);
            EXPECT_EQ(repairs, 0);
            EXPECT_EQ(untouched.GetEntries(), entries);
            EXPECT_EQ(progress.lines[0], "Click Detecting");

            LCutListAudio list = Written(tone.damaged, channels, rate);
            LEffectRequest request{&list, kFrames, 0, {}};
            ASSERT_EQ(AutoClickRepair(progress, request, {50, 450}, &repairs), kJobDone);
            EXPECT_GE(repairs, 3);
            ASSERT_EQ(list.GetLength(), kFrames);
            const auto out = ReadAll(list);
            for (int32_t f = 0; f < kFrames; ++f) {
                const size_t i = static_cast<size_t>(f) * channels;
                const bool nearClick =
                    std::any_of(tone.clicks.begin(), tone.clicks.end(),
                                [&](int32_t at) { return std::abs(f - at) < 32; });
                if (nearClick) {
                    // The line over a click's span (about 11 frames: the high-passed click
                    // rings past its trailing edge) stays within its chord's distance of
                    // the tone; a line drawn to a frame inside the click would be ~480000 off.
                    ASSERT_NEAR(out[i], tone.clean[i], 8000) << "frame " << f;
                } else {
                    ASSERT_EQ(out[i], tone.damaged[i]) << "frame " << f;
                }
                if (channels == 2) {
                    ASSERT_EQ(out[i + 1], tone.clean[i + 1]) << "frame " << f;
                }
            }
        }
    }
}

TEST_F(ClickTest, AutomaticRepairWritesOneCutThatSoundsLikeRepairingClickByClick) {
    // Clicks close enough for their spans to overlap, on one channel and across both, over
    // a list of several entries with gains, so that later repairs read earlier ones.
    constexpr int32_t kFrames = 60000;
    const int32_t rate = 48000;
    auto samples = MakeClickedTone(kFrames, 2, rate).clean;
    for (int32_t at = 3000; at + 20 < kFrames; at += 1499) {
        for (int32_t f = 0; f < 3; ++f) {
            samples[static_cast<size_t>(at + f) * 2] = 400000;
            samples[static_cast<size_t>(at + 9 + f) * 2] = -400000;
            samples[static_cast<size_t>(at + 4 + f) * 2 + 1] = 350000;
        }
    }
    LCutListAudio list = Written(samples, 2, rate);
    list.EfAmplify(20000, 35000, 70);
    list.EfAmplify(41000, 41500, 130);
    const LCutListAudio reference = list;
    const uint32_t cutsBefore = Tank().GetCutsInUse();

    RecordingProgress progress;
    int32_t repairs = 0;
    LEffectRequest request{&list, kFrames - 100, 100, {}};
    ASSERT_EQ(AutoClickRepair(progress, request, {50, 450}, &repairs), kJobDone);
    EXPECT_EQ(Tank().GetCutsInUse(), cutsBefore + 1);
    EXPECT_LT(list.GetEntries().size(), reference.GetEntries().size() + 3 * size_t(repairs));

    // Repairing click by click, each as a cut of its own, in the order the scan found them.
    LCutListAudio oneByOne = reference;
    std::vector<std::tuple<uint8_t, int64_t, int64_t>> spans;
    EXPECT_TRUE(
        ScanForClicks(progress, oneByOne, 100, kFrames - 100, {50, 450},
                      [&](uint8_t c, int64_t a, int64_t b) { spans.emplace_back(c, a, b); }));
    ASSERT_GE(spans.size(), 38u);
    int readsAnEarlierRepair = 0;
    for (size_t k = 1; k < spans.size(); ++k) {
        const auto [c, a, b] = spans[k];
        const auto [pc, pa, pb] = spans[k - 1];
        readsAnEarlierRepair +=
            std::min(a, b) - 1 < std::max(pa, pb) && std::max(a, b) + 1 > std::min(pa, pb);
    }
    EXPECT_GE(readsAnEarlierRepair, 38);
    EXPECT_EQ(repairs, static_cast<int32_t>(spans.size()));
    for (const auto& [c, a, b] : spans)
        RepairSpan(oneByOne, c, a, b);
    EXPECT_EQ(ReadAll(list), ReadAll(oneByOne));
}

TEST_F(ClickTest, AutomaticRepairRefusesAnEmptyRangeAndKeepsRepairsOnCancel) {
    LCutListAudio list = Written(Tone(1000, 1, 44100), 1);
    RecordingProgress progress;
    LEffectRequest empty{&list, 10, 10, {}};
    EXPECT_EQ(AutoClickRepair(progress, empty, {50, 150}), kJobFailed);
    RecordingProgress cancelling(1);
    LEffectRequest request{&list, 1000, 0, {}};
    EXPECT_EQ(AutoClickRepair(cancelling, request, {50, 150}), kJobDone);
}

TEST_F(ClickTest, ManualRepairIsLimitedToOneMillisecond) {
    struct Case {
        int32_t rate;
        int32_t frames;
        LManualRepairResult result;
    };
    const Case cases[] = {
        {44100, 44, LManualRepairResult::kRepaired}, {44100, 45, LManualRepairResult::kTooLong},
        {48000, 48, LManualRepairResult::kRepaired}, {48000, 49, LManualRepairResult::kTooLong},
        {48000, 0, LManualRepairResult::kEmpty},
    };
    for (const Case& c : cases) {
        LCutListAudio list = Written(std::vector<int32_t>(400, 5000), 2, c.rate);
        const auto entries = list.GetEntries();
        EXPECT_EQ(ManualClickRepair(list, 100, 100 + c.frames), c.result) << c.frames;
        if (c.result != LManualRepairResult::kRepaired) {
            EXPECT_EQ(list.GetEntries(), entries);
        }
        EXPECT_EQ(list.GetLength(), 200);
    }
}

}  // namespace
}  // namespace osmera
