// The peak reader against peaks computed directly from the samples of the same list:
// exact below 256 frames per column (samples), and within one graph step above (records);
// the coarse peaks of wide columns against reading every graph record.

#include "edit/peak_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <random>
#include <thread>

#include "edit/coarse_peaks.h"

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

// Graph records held in memory, handed out 16 at a time as the reader does from the file.
class MemoryBlocks : public LGraphBlockSource {
  public:
    MemoryBlocks(const std::vector<uint8_t>& records, size_t bytes)
        : records_(records), bytes_(bytes), block_(16 * bytes) {}
    const uint8_t* GraphBlock(int64_t block) override {
        for (size_t i = 0; i < block_.size(); ++i) {
            const size_t at = static_cast<size_t>(block) * block_.size() + i;
            block_[i] = at < records_.size() ? records_[at] : 0;
        }
        ++reads;
        return block_.data();
    }
    int reads = 0;

  private:
    const std::vector<uint8_t>& records_;
    size_t bytes_;
    std::vector<uint8_t> block_;
};

TEST(CoarsePeaksTest, RangeMaxEqualsTheMaximumOfTheRecords) {
    // 3 channels, 70001 records (four levels, every one with a partial last record) whose
    // bytes are mostly small with rare large ones, so that a wrong range shows.
    constexpr int64_t kRecords = 70001;
    constexpr size_t kBytes = 6;
    std::mt19937 random(7);
    std::vector<uint8_t> records(static_cast<size_t>(kRecords) * kBytes);
    for (auto& b : records)
        b = static_cast<uint8_t>(random() % 1000 == 0 ? random() % 256 : random() % 8);
    // The run ends read through the block source, and from records kept in memory.
    const LCoarsePeaks peaks(records.data(), kRecords, 3, false);
    const LCoarsePeaks keeping(records.data(), kRecords, 3, true);
    EXPECT_EQ(peaks.GetRecords(), kRecords);
    EXPECT_FALSE(peaks.KeepsRecords());
    EXPECT_TRUE(keeping.KeepsRecords());
    MemoryBlocks blocks(records, kBytes);
    auto check = [&](int64_t lo, int64_t hi) {
        uint8_t want[kBytes] = {}, got[kBytes] = {};
        for (int64_t i = std::max<int64_t>(lo, 0); i <= std::min(hi, kRecords - 1); ++i)
            for (size_t k = 0; k < kBytes; ++k)
                want[k] = std::max(want[k], records[static_cast<size_t>(i) * kBytes + k]);
        peaks.RangeMax(lo, hi, blocks, got);
        EXPECT_TRUE(std::equal(want, want + kBytes, got)) << lo << ".." << hi;
        const int reads = blocks.reads;
        std::fill_n(got, kBytes, uint8_t{0});
        keeping.RangeMax(lo, hi, blocks, got);
        EXPECT_TRUE(std::equal(want, want + kBytes, got)) << lo << ".." << hi << " kept";
        EXPECT_EQ(blocks.reads, reads);
    };
    for (auto [lo, hi] : std::vector<std::pair<int64_t, int64_t>>{{0, 0},
                                                                  {0, kRecords - 1},
                                                                  {5, 4},
                                                                  {15, 16},
                                                                  {16, 31},
                                                                  {17, 4112},
                                                                  {4095, 65537},
                                                                  {65535, 69999},
                                                                  {69990, kRecords + 40},
                                                                  {-3, 20}}) {
        check(lo, hi);
    }
    for (int i = 0; i < 400; ++i) {
        const int64_t lo = random() % kRecords;
        check(lo, lo + random() % (kRecords - lo));
    }
    // A wide run reads at most two blocks of graph records: its two ends.
    blocks.reads = 0;
    uint8_t acc[kBytes] = {};
    peaks.RangeMax(3, 69000, blocks, acc);
    EXPECT_LE(blocks.reads, 2);
}

TEST_F(PeakReaderTest, CoarsePeaksGiveWhatEveryRecordGives) {
    // 1.2 million frames of noise whose loudness rises steadily for 100000 frames and
    // starts again, so that one record too many or too few at a column's ends shows; pasted
    // around with unaligned boundaries, silences and gains of both signs.
    constexpr int32_t kFrames = 1200000;
    std::vector<int32_t> s(static_cast<size_t>(kFrames) * 2);
    uint32_t seed = 11;
    for (int32_t f = 0; f < kFrames; ++f) {
        seed = seed * 1664525u + 1013904223u;
        const int32_t level = (f % 100000) * 5 + static_cast<int32_t>(seed >> 27);
        s[2 * f] = level - static_cast<int32_t>(seed >> 20) % 4096;
        s[2 * f + 1] = -(static_cast<int32_t>(seed >> 9) % (level / 3 + 1));
    }
    const LCutListAudio whole = Written(s, 2);
    LCutListAudio list = whole;
    const LCutListAudio other = Written(std::vector<int32_t>(s.begin(), s.begin() + 400002), 2);
    list.EfPaste(700001, other);
    list.EfPaste(123457, list);
    list.EfSilence(90001, 400003);
    list.EfAmplify(1500007, 2100011, 37);
    list.EfAmplify(2300001, 2400001, 250);
    list.EfAmplify(600000, 650003, -80);
    ASSERT_GT(list.GetLength(), 2600000);

    struct Case {
        LFramesPerColumn fpc;
        int64_t first;
        int32_t count;
    };
    // Graph records kept in memory, then read from the files at the ends of each column.
    for (const int64_t budget : {LCoarsePeaks::kKeptRecordsBudget, int64_t{0}}) {
        LCoarsePeaks::SetKeptRecordsBudget(budget);
        for (const LCutListAudio* l : std::vector<const LCutListAudio*>{&whole, &list}) {
            LPeakReader coarse(*l), plain(*l);
            plain.UseCoarsePeaks(false);
            std::vector<LPeakRange> a, b;
            for (const Case& c : {Case{LFramesPerColumn::Of(l->GetLength(), 1920), 0, 1920},
                                  Case{LFramesPerColumn::Of(65536, 1), 3, 37},
                                  Case{LFramesPerColumn::Of(1000003, 7), -2, 30},
                                  Case{LFramesPerColumn::Of(300000, 1), 5, 20},  // past the end
                                  Case{LFramesPerColumn::Of(l->GetLength(), 3), 0, 3}}) {
                coarse.ReadPeaks(c.fpc, c.first, c.count, a);
                plain.ReadPeaks(c.fpc, c.first, c.count, b);
                EXPECT_EQ(a, b) << c.fpc.num << "/" << c.fpc.den << " from " << c.first << ", "
                                << budget;
            }
        }
    }
    LCoarsePeaks::SetKeptRecordsBudget(LCoarsePeaks::kKeptRecordsBudget);
    EXPECT_EQ(LCoarsePeakCache::Instance().GetEntries(), 0u);  // no reader holds a cut
}

TEST_F(PeakReaderTest, CoarsePeaksFollowAReusedCutNumber) {
    const auto fpc = LFramesPerColumn::Of(70000, 1);
    std::vector<LPeakRange> got;
    for (int32_t level : {400000, 100000}) {
        // Each round's cut takes the number the previous round's cut gave back.
        const LCutListAudio list = Written(std::vector<int32_t>(2 * 140000, level), 2);
        EXPECT_EQ(list.GetEntries()[0].ref, 0);
        LPeakReader reader(list);
        reader.ReadPeaks(fpc, 0, 2, got);
        EXPECT_EQ(got[0].max, GraphPeakByte(level) << 11) << level;
    }
}

TEST_F(PeakReaderTest, ReadersOnTwoThreadsShareTheCoarsePeaks) {
    // Snapshots made and dropped on this thread while two workers read theirs: every result
    // is the same, and the cache ends empty.
    const LCutListAudio list = Written(std::vector<int32_t>(2 * 300000, 300000), 2);
    const auto fpc = LFramesPerColumn::Of(300000, 4);
    std::vector<LPeakRange> want;
    {
        LPeakReader plain(list);
        plain.UseCoarsePeaks(false);
        plain.ReadPeaks(fpc, 0, 4, want);
    }
    std::atomic<int> mismatches{0};
    auto work = [&] {
        for (int i = 0; i < 20; ++i) {
            auto reader = std::make_unique<LPeakReader>(list);
            std::vector<LPeakRange> got;
            reader->ReadPeaks(fpc, 0, 4, got);
            mismatches += got != want;
        }
    };
    std::thread a(work), b(work);
    for (int i = 0; i < 20; ++i)
        LPeakReader snapshot(list);
    a.join();
    b.join();
    EXPECT_EQ(mismatches.load(), 0);
    EXPECT_EQ(LCoarsePeakCache::Instance().GetEntries(), 0u);
}

}  // namespace
}  // namespace osmera
