#include "effects/time_effects.h"

#include <gtest/gtest.h>

#include "effects/auto_trim.h"
#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

using testing::CutTankTest;
using testing::Ramp;
using testing::RecordingProgress;
using TimeTest = CutTankTest;

TEST_F(TimeTest, ReverseIsExactOverSeveralBlocksAndEntries) {
    for (uint8_t channels : {1, 2}) {
        // Two cuts so the reversed range crosses an entry boundary and several blocks.
        LCutListAudio list = Written(Ramp(12000, channels), channels);
        list.EfPaste(list.GetLength(), Written(Ramp(9000, channels, 20000), channels));
        const auto before = ReadAll(list);
        const int32_t start = 1000, end = 20500;
        RecordingProgress progress;
        LEffectRequest request{&list, end, start, {}};
        ASSERT_EQ(Reverse(progress, request), kJobDone);
        EXPECT_EQ(progress.lines[0], "Reversing Sound");
        ASSERT_EQ(list.GetLength(), 21000);
        const auto after = ReadAll(list);
        for (int32_t f = 0; f < 21000; ++f) {
            const int32_t from = (f >= start && f < end) ? end - 1 - (f - start) : f;
            for (int c = 0; c < channels; ++c)
                ASSERT_EQ(after[f * channels + c], before[from * channels + c]) << f;
        }
    }
}

TEST_F(TimeTest, ReverseSourceReadsZerosOutsideItsLength) {
    LCutListAudio list = Written(Ramp(10, 1), 1);
    LSRCReverse reverse(list.MakeSource());
    reverse.Seek(-2);
    std::vector<int32_t> out(14, -1);
    reverse.Read(out.data(), 14);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[2], 10 * 16);
    EXPECT_EQ(out[11], 1 * 16);
    EXPECT_EQ(out[12], 0);
    EXPECT_EQ(reverse.GetPositionSample(), 12);
}

TEST_F(TimeTest, SilenceInsertionAndRepeat) {
    LCutListAudio list = Written(Ramp(100, 1), 1);
    EXPECT_EQ(InsertSilence(list, LSilenceAt::kStart, 50, 10), 0);
    EXPECT_EQ(InsertSilence(list, LSilenceAt::kCurrent, 60, 5), 60);
    EXPECT_EQ(InsertSilence(list, LSilenceAt::kEnd, 0, 7), 115);
    EXPECT_EQ(list.GetLength(), 122);
    const auto out = ReadAll(list);
    EXPECT_EQ(out[9], 0);
    EXPECT_EQ(out[10], 16);
    EXPECT_EQ(out[60], 0);
    EXPECT_EQ(out[65], 51 * 16);

    RepeatLoop(list, 10, 20, 2);
    EXPECT_EQ(list.GetLength(), 142);
    RepeatLoop(list, 10, 20, 0);
    EXPECT_EQ(list.GetLength(), 142);
}

TEST_F(TimeTest, FadeOutAndTrimDropsWhatFollows) {
    LCutListAudio list = Written(std::vector<int32_t>(3000, 4096), 1);
    RecordingProgress progress;
    LEffectRequest request{&list, 2000, 1000, {}};
    ASSERT_EQ(FadeOutAndTrim(progress, request), kJobDone);
    ASSERT_EQ(list.GetLength(), 2000);
    const auto out = ReadAll(list);
    EXPECT_EQ(out[999], 4096);
    EXPECT_EQ(out[1000], 4096);
    EXPECT_LE(out[1999], 8);
}

TEST_F(TimeTest, AutoTrimCutsQuietEndsFromTheGraphs) {
    // 10 quiet blocks, 20 loud blocks, 10 quiet blocks, over two cuts, one with a gain.
    std::vector<int32_t> samples;
    for (int32_t i = 0; i < 40 * 256; ++i) {
        const bool loud = i >= 10 * 256 && i < 30 * 256;
        samples.push_back((i % 2 ? 1 : -1) * (loud ? 200000 : 3000));
    }
    LCutListAudio list = Written({samples.begin(), samples.begin() + 5000}, 1);
    list.EfPaste(5000, Written({samples.begin() + 5000, samples.end()}, 1));
    const auto map = BuildLevelMap(list);
    ASSERT_EQ(map.size(), 80u);
    EXPECT_EQ(map[2 * 20], 200000 >> 11);
    EXPECT_EQ(map[2 * 2], 3000 >> 11);

    RecordingProgress progress;
    ASSERT_EQ(AutoTrim(progress, list, -20), kJobDone);
    EXPECT_EQ(progress.lines[0], "AutoTrim");
    // Loud from block 10 to 29: one block of margin kept on each side.
    EXPECT_EQ(list.GetLength(), (31 - 9) * 256);
    const auto out = ReadAll(list);
    EXPECT_EQ(out[0], samples[9 * 256]);

    // Silence everywhere: nothing is louder than the level, nothing is trimmed.
    LCutListAudio flat = Written(std::vector<int32_t>(10 * 256, 0), 1);
    ASSERT_EQ(AutoTrim(progress, flat, -20), kJobDone);
    EXPECT_EQ(flat.GetLength(), 10 * 256);
}

}  // namespace
}  // namespace osmera
