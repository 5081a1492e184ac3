// Markers in files: bookmarks and regions saved as WAV cue points and read back on open (with
// the audio still readable by other programs), damaged cue chunks, and label text files.

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cstdio>
#include <fstream>
#include <iterator>

#include "core/settings_store.h"
#include "edit/document_controller.h"
#include "edit/marker_label_file.h"
#include "formats/child_process.h"
#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

using testing::ReadText;

using testing::CutTankTest;
using testing::Ramp;

using MarkerFileTest = CutTankTest;

LMarkerList FiveMarkers() {
    LMarkerList m;
    m.AddRegion("Intro!", 0, 1000);
    m.AddRegion("Verse \xc3\xa9t\xc3\xa9", 2000, 5000);  // UTF-8, odd and even label lengths
    m.AddRegion("Out", 4000, 8000);                      // overlaps the verse
    m.AddBookmark("Cue", 1500);
    m.AddBookmark("End", 8000);
    return m;
}

TEST_F(MarkerFileTest, WavSavedWithMarkersReadsThemBackAndOthersStillReadTheAudio) {
    LMemorySettingsStore settings;
    LDocumentController controller(settings);
    LOMFile& doc = controller.NewDocument(22050, 2);
    std::vector<int32_t> samples16 = Ramp(8000, 2);
    for (int32_t& v : samples16)
        v &= ~15;  // what 16 bits keep
    doc.audio = Written(samples16, 2, 22050);
    doc.markers = FiveMarkers();
    const std::string path = dir_.File("marked.wav");
    ASSERT_EQ(controller.SaveCurrentFile(path, 2, nullptr), kJobDone);

    LDocumentController fresh(settings);
    ASSERT_EQ(fresh.OpenDocument(path, nullptr), kJobDone);
    EXPECT_EQ(fresh.GetCurrent()->markers, FiveMarkers());
    EXPECT_EQ(ReadAll(fresh.GetCurrent()->audio), ReadAll(doc.audio));

    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    std::vector<short> samples(16000 + 2);
    EXPECT_EQ(sf_readf_short(file, samples.data(), 8001), 8000);
    EXPECT_EQ(samples[2 * 7999 + 1], 8000);
    sf_close(file);

    if (LChildProcess::FindProgram("soxi").empty())
        GTEST_SKIP() << "soxi is not installed";
    FILE* pipe = popen(("soxi -s '" + path + "' 2>&1").c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    char line[64] = {};
    ASSERT_NE(fgets(line, sizeof line, pipe), nullptr);
    EXPECT_EQ(pclose(pipe), 0) << line;
    EXPECT_EQ(std::string(line), "8000\n");
}

TEST_F(MarkerFileTest, DamagedOrForeignCueChunksGiveWhatCanBeRead) {
    LMemorySettingsStore settings;
    LDocumentController controller(settings);
    LOMFile& doc = controller.NewDocument(8000, 1);
    doc.audio = Written(Ramp(100, 1), 1, 8000);
    doc.markers.AddBookmark("a", 10);
    doc.markers.AddBookmark("b", 20);
    doc.markers.AddRegion("", 30, 300);  // no label; runs past the end when read back
    const std::string path = dir_.File("d.wav");
    ASSERT_EQ(controller.SaveCurrentFile(path, 2, nullptr), kJobDone);

    std::string bytes = ReadText(path);
    const size_t cue = bytes.find("cue ");
    ASSERT_NE(cue, std::string::npos);
    bytes[cue + 8] = 9;  // nine points claimed, three present
    const size_t label = bytes.find("labl");
    bytes[label + 4] = 'x';  // a label whose size runs past its list: the names are lost
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;

    const std::vector<LWaveCue> cues = ReadWaveCues(path);
    ASSERT_EQ(cues.size(), 3u);
    EXPECT_EQ(cues[2].position, 30u);
    EXPECT_EQ(cues[2].length, 0u);  // the ltxt came after the broken label
    ASSERT_EQ(controller.OpenDocument(path, nullptr), kJobDone);
    const LMarkerList& read = controller.GetCurrent()->markers;
    ASSERT_EQ(read.Bookmarks().size(), 3u);
    EXPECT_EQ(read.Bookmarks()[0].name, "Bookmark 1");

    // A file without cue points, and no file at all, give none.
    EXPECT_TRUE(ReadWaveCues(dir_.File("none.wav")).empty());
    std::ofstream(dir_.File("text.wav")) << "RIFF";
    EXPECT_TRUE(ReadWaveCues(dir_.File("text.wav")).empty());
}

TEST_F(MarkerFileTest, LabelFilesRoundTripAndRefuseBadLinesWhole) {
    const std::string path = dir_.File("labels.txt");
    ASSERT_TRUE(WriteLabelFile(path, FiveMarkers(), 8000));
    EXPECT_TRUE(
        ReadText(path).starts_with("0.000000\t0.125000\tIntro!\n"
                                   "0.187500\t0.187500\tCue\n"));
    LMarkerList read;
    ASSERT_TRUE(ReadLabelFile(path, 8000, 8000, read));
    EXPECT_EQ(read, FiveMarkers());

    // Beyond the audio: left out or shortened; no name: a default one; CRLF line ends.
    std::ofstream(dir_.File("more.txt"), std::ios::binary) << "0.5\t2\r\n\r\n1.5\t1.5\tlate\n"
                                                              "0.1\t0.1\n";
    int skipped = -1;
    LMarkerList more;
    ASSERT_TRUE(ReadLabelFile(dir_.File("more.txt"), 8000, 8000, more, nullptr, &skipped));
    EXPECT_EQ(skipped, 1);
    EXPECT_EQ(more.Regions(), (std::vector<LRegion>{{"Region 1", 4000, 8000}}));
    EXPECT_EQ(more.Bookmarks(), (std::vector<LBookmark>{{"Bookmark 1", 800}}));

    for (const char* bad : {"1\t0.5\tbackwards\n", "x\t1\tname\n", "1 2 spaces\n", "-1\t1\n"}) {
        std::ofstream(dir_.File("bad.txt"), std::ios::binary | std::ios::trunc) << "0\t0\tfine\n"
                                                                                << bad;
        std::string message;
        LMarkerList untouched = more;
        EXPECT_FALSE(ReadLabelFile(dir_.File("bad.txt"), 8000, 8000, untouched, &message)) << bad;
        EXPECT_EQ(untouched, more) << bad;
        EXPECT_NE(message.find("line 2"), std::string::npos) << message;
    }
}

}  // namespace
}  // namespace osmera
