// The peak reader against peaks computed directly from the samples of the same list:
// exact below 256 frames per column (samples), and within one graph step above (records).

#include "edit/peak_reader.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

using testing::CutTankTest;

// A loud, irregular stereo signal: every frame differs, both signs, both channels.
std::vector<int32_t> Noise(int32_t frames, uint32_t seed) {
    std::vector<int32_t> s(static_cast<size_t>(frames) * 2);
    for (auto& v : s) {
        seed = seed * 1664525u + 1013904223u;
        v = static_cast<int32_t>(seed >> 8) % 500000;
    }
    return s;
}

// Per column and channel, min and max of the list's samples in the column's frames.
std::vector<LPeakRange> Direct(const std::vector<int32_t>& samples, int32_t length,
                               LFramesPerColumn fpc, int64_t first, int32_t count) {
    std::vector<LPeakRange> out(static_cast<size_t>(count) * 2);
    for (int32_t c = 0; c < count; ++c) {
        const int64_t a = std::max<int64_t>(0, fpc.Boundary(first + c));
        const int64_t b = std::min<int64_t>(length, fpc.Boundary(first + c + 1));
        for (int ch = 0; ch < 2 && a < b; ++ch) {
            LPeakRange& r = out[static_cast<size_t>(c) * 2 + ch];
            r = {INT32_MAX, INT32_MIN};
            for (int64_t f = a; f < b; ++f) {
                r.min = std::min(r.min, samples[static_cast<size_t>(f) * 2 + ch]);
                r.max = std::max(r.max, samples[static_cast<size_t>(f) * 2 + ch]);
            }
        }
    }
    return out;
}

class PeakReaderTest : public CutTankTest {
  protected:
    // Two cuts interleaved by edits, a silent stretch and an amplified stretch.
    static LCutListAudio EditedList() {
        LCutListAudio list = Written(Noise(20000, 1), 2);
        const LCutListAudio other = Written(Noise(5000, 2), 2);
        list.EfPaste(7001, other);
        list.EfSilence(3000, 3900);
        list.EfAmplify(12000, 16001, 45);
        list.EfDelete(100, 357);
        return list;
    }
};

TEST_F(PeakReaderTest, ColumnGridIsExact) {
    const auto fpc = LFramesPerColumn::Of(1000, 6);  // 500/3
    EXPECT_EQ(fpc.num, 500);
    EXPECT_EQ(fpc.den, 3);
    for (int64_t k : {-7, 0, 1, 2, 3, 1000, 123457}) {
        EXPECT_EQ(fpc.Boundary(k), (k * 500 - (k < 0 ? 2 : 0)) / 3) << k;
        EXPECT_EQ(fpc.ColumnOf(fpc.Boundary(k)), k);
        EXPECT_EQ(fpc.ColumnOf(fpc.Boundary(k + 1) - 1), k);
        EXPECT_EQ(fpc.FirstColumnFrom(fpc.Boundary(k)), k);
    }
    const auto quarter = LFramesPerColumn::Of(1, 4);  // a frame is four columns wide
    EXPECT_EQ(quarter.ColumnOf(10), 43);
    EXPECT_EQ(quarter.FirstColumnFrom(10), 40);
}

TEST_F(PeakReaderTest, SamplesBelowAGraphBlock) {
    const LCutListAudio list = EditedList();
    const auto samples = ReadAll(list);
    LPeakReader reader(list);
    std::vector<LPeakRange> got;
    struct Case {
        LFramesPerColumn fpc;
        int64_t first;
        int32_t count;
    };
    for (const Case& c :
         {Case{LFramesPerColumn::Of(255, 1), 0, 200}, Case{LFramesPerColumn::Of(37, 3), 500, 900},
          Case{LFramesPerColumn::Of(1, 1), 24500, 400},  // runs past the end
          Case{LFramesPerColumn::Of(1, 4), 11990, 100},  // sub-frame columns
          Case{LFramesPerColumn::Of(7, 2), -20, 60}}) {  // starts before 0
        reader.ReadPeaks(c.fpc, c.first, c.count, got);
        EXPECT_EQ(got, Direct(samples, list.GetLength(), c.fpc, c.first, c.count))
            << c.fpc.num << "/" << c.fpc.den << " from " << c.first;
    }
    std::vector<int32_t> frames;
    reader.ReadFrames(12000, 50, frames);
    EXPECT_TRUE(std::equal(frames.begin(), frames.end(), samples.begin() + 24000));
}

TEST_F(PeakReaderTest, GraphRecordsAboveAGraphBlock) {
    // Aligned blocks: each column is exactly two blocks, so the result is the records' peaks.
    LCutListAudio list = Written(Noise(256 * 40, 3), 2);
    list.EfAmplifyAll(70);
    const int32_t gain = list.GetEntries()[0].gain;
    const auto samples = ReadAll(Written(Noise(256 * 40, 3), 2));
    LPeakReader reader(list);
    std::vector<LPeakRange> got;
    reader.ReadPeaks(LFramesPerColumn::Of(512, 1), 0, 21, got);
    const auto raw = Direct(samples, 256 * 40, LFramesPerColumn::Of(512, 1), 0, 21);
    for (size_t i = 0; i < 40; ++i) {
        const int32_t hi = GraphPeakByte(std::max(raw[i].max, 0)) << 11;
        const int32_t lo = -(GraphPeakByte(-int64_t{std::min(raw[i].min, 0)}) << 11);
        EXPECT_EQ(got[i].max, MultiplyByGain(hi, gain)) << i;
        EXPECT_EQ(got[i].min, MultiplyByGain(lo, gain)) << i;
    }
    EXPECT_EQ(got[40], LPeakRange{});  // past the end

    // An edited list at a fractional width: every true peak is within one graph step, and
    // silence is silence.
    const LCutListAudio edited = EditedList();
    const auto all = ReadAll(edited);
    LPeakReader editedReader(edited);
    const auto fpc = LFramesPerColumn::Of(2000, 7);
    editedReader.ReadPeaks(fpc, 0, 90, got);
    const auto direct = Direct(all, edited.GetLength(), fpc, 0, 90);
    for (size_t i = 0; i < got.size(); ++i) {
        EXPECT_GT(got[i].max + 2048, direct[i].max) << i;
        EXPECT_LT(got[i].min - 2048, direct[i].min) << i;
        EXPECT_LE(got[i].max, 500000) << i;
    }
    const int64_t silent = fpc.FirstColumnFrom(3000 - 257);  // inside the silence
    EXPECT_EQ(got[static_cast<size_t>(silent) * 2], LPeakRange{});
}

}  // namespace
}  // namespace osmera
