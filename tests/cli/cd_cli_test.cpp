#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/cli/cli_runner.h"
#include "tests/support/cd_image.h"
#include "tests/support/test_support.h"

namespace osmera::testing {
namespace {

std::vector<int32_t> Times16(const std::vector<int16_t>& s) {
    std::vector<int32_t> v;
    for (int16_t x : s)
        v.push_back(x * 16);
    return v;
}

TEST(CdCli, RipsChosenTracksIntoTaggedFilesAndReportsDamage) {
    TempDir dir;
    const CdImage img = WriteCdImage(dir.Path().string(), {40, 30, 20});
    const std::string out = dir.File("rips");
    CliResult r = Cli("cd-rip " + Q(img.cue) + " --tracks 2-3 --out " + Q(out) + " --format flac");
    ASSERT_EQ(r.code, 0) << r.out;
    EXPECT_NE(r.out.find("Track 3: 20 sectors, no errors."), std::string::npos) << r.out;
    EXPECT_FALSE(std::filesystem::exists(out + "/01 Song 1.flac"));
    EXPECT_EQ(ReadAll(out + "/02 Song 2.flac"), Times16(img.samples[1]));
    EXPECT_EQ(ReadAll(out + "/03 Song 3.flac"), Times16(img.samples[2]));
    EXPECT_NE(Cli("info " + Q(out + "/03 Song 3.flac")).out.find("album=\"Test Disc\""),
              std::string::npos);

    r = Cli("cd-info " + Q(img.cue));
    EXPECT_NE(r.out.find("track=2 type=audio start=40 sectors=30 time=0:00 title=\"Song 2\""),
              std::string::npos)
        << r.out;

    EXPECT_EQ(Cli("cd-rip " + Q(img.cue) + " --tracks 4").code, 2);
    EXPECT_EQ(Cli("cd-rip " + Q(img.cue) + " --tracks 2-x").code, 2);
    EXPECT_EQ(Cli("cd-rip " + Q(dir.File("none.cue"))).code, 1);

    // A truncated data file: the track is still written, the report says what is missing.
    std::filesystem::resize_file(img.bin, static_cast<uintmax_t>(50) * 2352);
    r = Cli("cd-rip " + Q(img.cue) + " --tracks 2 --out " + Q(out));
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.out.find("20 unreadable sectors replaced by silence"), std::string::npos) << r.out;
    EXPECT_TRUE(std::filesystem::exists(out + "/02 Song 2.wav"));
}

// Burning to a disc image, then reading that image back as a CD.
TEST(CdCli, BurnsFilesToACueImageThatRipsBackToTheSameAudio) {
    TempDir dir;
    const CdImage img = WriteCdImage(dir.Path().string(), {300, 310});
    ASSERT_EQ(Cli("cd-rip " + Q(img.cue) + " --out " + Q(dir.File("in"))).code, 0);
    const std::string first = dir.File("in/01 Song 1.wav");
    const std::string mono = dir.File("in/mono48.wav");
    ASSERT_EQ(Cli("convert " + Q(dir.File("in/02 Song 2.wav")) + " " + Q(mono) +
                  " --rate 48000 --channels 1")
                  .code,
              0);
    const std::string cue = dir.File("burned/mix.cue");
    std::filesystem::create_directories(dir.File("burned"));
    const CliResult r = RunShell(std::string(OSMERA_CLI) + " cd-burn --dev " + Q(cue) +
                                 " --gap 1 --title Mix " + Q(first) + " " + Q(mono) + " 2>&1");
    ASSERT_EQ(r.code, 0) << r.out;
    EXPECT_NE(r.out.find("note: Track 2 (mono48.wav) was converted from 48000 Hz mono to 44100 "
                         "Hz stereo 16-bit for the CD."),
              std::string::npos)
        << r.out;
    const CliResult info = Cli("cd-info " + Q(cue));
    EXPECT_NE(info.out.find("title=Mix"), std::string::npos) << info.out;
    // Track 1 holds the first file and then the one-second gap before track 2.
    EXPECT_NE(info.out.find("track=1 type=audio start=0 sectors=375 time=0:05 title=\"Song 1\""),
              std::string::npos)
        << info.out;
    ASSERT_EQ(Cli("cd-rip " + Q(cue) + " --out " + Q(dir.File("back"))).code, 0);
    std::vector<int32_t> back = ReadAll(dir.File("back/01 Song 1.wav"));
    const std::vector<int32_t> want = Times16(img.samples[0]);
    ASSERT_EQ(back.size(), want.size() + 75 * 588 * 2);
    EXPECT_TRUE(std::equal(want.begin(), want.end(), back.begin()));
    EXPECT_TRUE(
        std::all_of(back.begin() + want.size(), back.end(), [](int32_t v) { return v == 0; }));
    // Converted there and back, the second track may end up one sector longer.
    EXPECT_NEAR(static_cast<double>(ReadAll(dir.File("back/02 Song 2.wav")).size()),
                310.0 * 588 * 2, 588 * 2);

    // libburn's stdio: pseudo drives take data discs only.
    const CliResult stdio =
        RunShell(std::string(OSMERA_CLI) + " cd-burn --dev stdio:" + Q(dir.File("x.img")) + " " +
                 Q(first) + " 2>&1");
    EXPECT_EQ(stdio.code, 1);
    EXPECT_NE(stdio.out.find("cannot write this audio CD"), std::string::npos) << stdio.out;
}

TEST(CdCli, IsoImageHoldsTheFilesAndFoldersUnderTheirLongNames) {
    TempDir dir;
    std::filesystem::create_directories(dir.File("songs/live"));
    std::ofstream(dir.File("A long name, with spaces.txt")) << "notes\n";
    std::ofstream(dir.File("songs/live/encore.wav")) << std::string(5000, 'x');
    const std::string iso = dir.File("mix.iso");
    ASSERT_EQ(Cli("iso " + Q(iso) + " " + Q(dir.File("A long name, with spaces.txt")) + " " +
                  Q(dir.File("songs")) + " --volume MIX")
                  .code,
              0);
    const CliResult list = RunShell("xorriso -indev " + Q(iso) + " -find / 2>/dev/null");
    EXPECT_NE(list.out.find("'/A long name, with spaces.txt'"), std::string::npos) << list.out;
    EXPECT_NE(list.out.find("'/songs/live/encore.wav'"), std::string::npos) << list.out;
    RunShell("xorriso -osirrox on -indev " + Q(iso) + " -extract /songs/live/encore.wav " +
             Q(dir.File("out.wav")) + " >/dev/null 2>&1");
    EXPECT_EQ(ReadText(dir.File("out.wav")), std::string(5000, 'x'));

    // A clash of names or a missing file leaves the image that was there.
    const std::string before = ReadText(iso);
    EXPECT_EQ(Cli("iso " + Q(iso) + " " + Q(dir.File("songs")) + " " + Q(dir.File("songs"))).code,
              1);
    EXPECT_EQ(Cli("iso " + Q(iso) + " " + Q(dir.File("none.wav"))).code, 1);
    EXPECT_EQ(ReadText(iso), before);
}

}  // namespace
}  // namespace osmera::testing
