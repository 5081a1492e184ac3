#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "core/pr_source_to_sink.h"
#include "devices/cd_disc.h"
#include "devices/cd_disc_id.h"
#include "devices/cd_ripper.h"
#include "devices/cd_track_source.h"
#include "formats/open_audio_source.h"
#include "tests/support/cd_image.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::CdImage;
using testing::TempDir;

std::vector<int32_t> Expected(const CdImage& img, int track) {
    std::vector<int32_t> v;
    for (int16_t s : img.samples[track - 1])
        v.push_back(s * 16);
    return v;
}

TEST(CdReader, TableOfContentsAndCdTextOfACueSheet) {
    TempDir dir;
    const CdImage img = testing::WriteCdImage(dir.Path().string(), {80, 50, 37});
    LCdDisc disc;
    ASSERT_TRUE(disc.Open(img.cue)) << disc.Error();
    const LCdToc& toc = disc.Toc();
    EXPECT_EQ(toc.firstTrack, 1);
    EXPECT_EQ(toc.lastTrack, 3);
    ASSERT_EQ(toc.tracks.size(), 3u);
    EXPECT_EQ(toc.tracks[1].startSector, 80);
    EXPECT_EQ(toc.tracks[1].sectors, 50);
    EXPECT_EQ(toc.tracks[2].sectors, 37);
    EXPECT_EQ(toc.leadOutSector, 167);
    EXPECT_EQ(toc.title, "Test Disc");
    EXPECT_EQ(toc.performer, "Test Band");
    EXPECT_EQ(toc.tracks[2].title, "Song 3");
}

TEST(CdReader, RipsEachTrackBitForBitInBothModes) {
    TempDir dir;
    const CdImage img = testing::WriteCdImage(dir.Path().string(), {80, 50, 37});
    LCdDisc disc;
    ASSERT_TRUE(disc.Open(img.cue)) << disc.Error();
    for (LCdRipMode mode : {LCdRipMode::kFull, LCdRipMode::kFast}) {
        for (int track = 1; track <= 3; ++track) {
            LRef<LSRCCdTrack> src(new LSRCCdTrack(disc, track, mode));
            ASSERT_TRUE(src->IsOk());
            LRef<testing::CollectSink> sink(new testing::CollectSink(44100, 2));
            LPRSourceToSink pump(LSourceRef(src.Get()), LSinkRef(sink.Get()));
            ASSERT_EQ(pump.Process(), kJobDone);
            EXPECT_EQ(sink->samples, Expected(img, track)) << "track " << track;
            EXPECT_TRUE(src->Report().Clean()) << src->Report().Summary();
        }
    }
    // Straight into a file through the writers, named after the track.
    const std::string path = dir.File(CdTrackFileName(2, "Song 2") + ".wav");
    LSaveRequest request;
    const LCdRipResult r = RipCdTrack(disc, 2, LCdRipMode::kFull, path, request, nullptr);
    ASSERT_EQ(r.job, kJobDone) << r.message;
    LSourceRef file = OpenAudioSource(path);
    std::vector<int32_t> got(static_cast<size_t>(file->GetLengthSample()) * 2);
    file->Read(got.data(), file->GetLengthSample());
    EXPECT_EQ(got, Expected(img, 2));
    EXPECT_EQ(r.report.Summary(), "Track 2: 50 sectors, no errors.");
}

TEST(CdReader, CancelLeavesNoFileAndBadInputGivesAMessage) {
    TempDir dir;
    const CdImage img = testing::WriteCdImage(dir.Path().string(), {80, 50});
    LCdDisc disc;
    ASSERT_TRUE(disc.Open(img.cue));
    testing::RecordingProgress cancel(1);
    const std::string path = dir.File("t1.wav");
    LSaveRequest request;
    EXPECT_EQ(RipCdTrack(disc, 1, LCdRipMode::kFull, path, request, &cancel).job, kJobCancelled);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(RipCdTrack(disc, 7, LCdRipMode::kFull, path, request, nullptr).job, kJobFailed);

    LCdDisc none;
    EXPECT_FALSE(none.Open(dir.File("missing.cue")));
    EXPECT_NE(none.Error().find("does not exist"), std::string::npos);
    std::ofstream(dir.File("junk.cue")) << "this is not a cue sheet\n";
    EXPECT_FALSE(none.Open(dir.File("junk.cue")));
    EXPECT_FALSE(none.Error().empty());
}

TEST(CdReader, DamagedImageGivesAReportNotACrash) {
    TempDir dir;
    const CdImage img = testing::WriteCdImage(dir.Path().string(), {80, 50, 37});
    // The cue sheet promises a third track that the truncated data file does not hold.
    std::filesystem::resize_file(img.bin, static_cast<uintmax_t>(100) * kCdSectorBytes);
    LCdDisc disc;
    if (!disc.Open(img.cue)) {
        EXPECT_FALSE(disc.Error().empty());
        return;
    }
    const LCdTrack* t2 = disc.Toc().Track(2);
    ASSERT_NE(t2, nullptr);
    LRef<LSRCCdTrack> src(new LSRCCdTrack(disc, 2, LCdRipMode::kFull));
    LRef<testing::CollectSink> sink(new testing::CollectSink(44100, 2));
    LPRSourceToSink pump(LSourceRef(src.Get()), LSinkRef(sink.Get()));
    pump.Process();
    // What could be read is exact; the report says what happened to the rest.
    const std::vector<int32_t> want = Expected(img, 2);
    const size_t readable = static_cast<size_t>(20) * 588 * 2;
    ASSERT_GE(sink->samples.size(), readable);
    EXPECT_TRUE(std::equal(want.begin(), want.begin() + readable, sink->samples.begin()));
    EXPECT_EQ(src->Report().silencedSectors, 30);
    EXPECT_EQ(src->Report().Summary(),
              "Track 2: 50 sectors, 30 read errors, 0 sectors given up after retries, 30 "
              "unreadable sectors replaced by silence.");
    EXPECT_TRUE(std::all_of(sink->samples.begin() + readable, sink->samples.end(),
                            [](int32_t v) { return v == 0; }));
}

// Published examples: a 16-track disc whose CDDB id is f00d0c10 and a 10-track disc whose
// CDDB id is 6808d20a (start offsets and disc length in seconds as the CDDB entries list
// them), and the 6-track disc of the MusicBrainz disc id documentation.
TEST(CdDiscId, MatchesPublishedExamples) {
    LCdOffsets a;
    a.tracks = {150,    20972,  36331,  50117,  69524,  86255,  101371, 112896,
                131608, 138844, 157390, 174137, 193697, 208667, 224774, 238280};
    a.leadOut = 3342 * 75;
    EXPECT_EQ(ComputeDiscIds(a).CddbHex(), "f00d0c10");
    EXPECT_EQ(ComputeDiscIds(a).cddbQuery.substr(0, 10), "16 150 209");
    LCdOffsets b;
    b.tracks = {150, 15095, 28530, 40556, 60479, 81952, 100762, 112675, 128656, 145954};
    b.leadOut = 2260 * 75 + 30;
    EXPECT_EQ(ComputeDiscIds(b).CddbHex(), "6808d20a");
    LCdOffsets c;
    c.tracks = {150, 15363, 32314, 46592, 63414, 80489};
    c.leadOut = 95462;
    EXPECT_EQ(ComputeDiscIds(c).musicBrainz, "49HHV7Eb8UKF3aQiNmu1GR8vKTY-");

    // From an image's table of contents: offsets count the two-second pregap.
    TempDir dir;
    const CdImage img = testing::WriteCdImage(dir.Path().string(), {80, 50, 37});
    LCdDisc disc;
    ASSERT_TRUE(disc.Open(img.cue));
    const LCdOffsets o = CdOffsets(disc.Toc());
    EXPECT_EQ(o.tracks, (std::vector<int32_t>{150, 230, 280}));
    EXPECT_EQ(o.leadOut, 317);
    EXPECT_EQ(ComputeDiscIds(o).musicBrainz.size(), 28u);
}

}  // namespace
}  // namespace osmera
