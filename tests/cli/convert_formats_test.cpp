// convert, info and the save script command with formats beyond WAV.

#include <gtest/gtest.h>

#include <fstream>

#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "formats/audio_tags.h"
#include "formats/child_process.h"
#include "formats/open_audio_source.h"
#include "formats/wave_file.h"
#include "tests/cli/cli_runner.h"
#include "tests/formats/wave_bytes.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::Cli;
using testing::Q;

std::string Head(const std::string& path, size_t n) {
    const auto bytes = testing::ReadBytes(path);
    return std::string(bytes.begin(), bytes.begin() + std::min(n, bytes.size()));
}

class ConvertFormatsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        in = dir.File("in.wav");
        auto sink = LWaveFile::CreateSink(in, 44100, 0, 2, 2);
        LPRSourceToSink(MakeRef<LSRCTone>(44100, 2, 44100, 441.0, 300000), sink).Process();
    }
    testing::TempDir dir;
    std::string in;
};

TEST_F(ConvertFormatsTest, TheOutputsExtensionOrFormatPicksTheWriter) {
    const std::string flac = dir.File("out.flac");
    ASSERT_EQ(Cli("convert " + Q(in) + " " + Q(flac) + " --compression 8").code, 0);
    EXPECT_EQ(Head(flac, 4), "fLaC");
    if (!LChildProcess::FindProgram("flac").empty()) {
        EXPECT_EQ(testing::RunShell("flac -s -t " + Q(flac) + " 2>&1").code, 0);
    }
    // FLAC in, FLAC out: no longer a WAV file under a FLAC name.
    const std::string again = dir.File("again.flac");
    ASSERT_EQ(Cli("convert " + Q(flac) + " " + Q(again)).code, 0);
    EXPECT_EQ(Head(again, 4), "fLaC");

    ASSERT_EQ(Cli("convert " + Q(in) + " " + Q(dir.File("out.bin")) + " --format ogg").code, 0);
    EXPECT_EQ(Head(dir.File("out.bin"), 4), "OggS");
    ASSERT_EQ(Cli("convert " + Q(in) + " " + Q(dir.File("o.mp3")) + " --bitrate 128").code, 0);
    EXPECT_NE(Cli("info " + Q(dir.File("o.mp3"))).out.find("format=mp3-mp3"), std::string::npos);

    EXPECT_EQ(Cli("convert " + Q(in) + " " + Q(dir.File("x.wav")) + " --format nope").code, 2);
    EXPECT_EQ(Cli("convert " + Q(in) + " " + Q(dir.File("x.flac")) + " --compression 9").code, 2);
}

TEST_F(ConvertFormatsTest, RawInputTakesItsDescriptionFromTheCommandLine) {
    const std::string raw = dir.File("be.raw");
    ASSERT_EQ(Cli("convert " + Q(in) + " " + Q(raw) + " --encoding s24 --endian big").code, 0);
    EXPECT_EQ(testing::ReadBytes(raw).size(), 44100u * 2 * 3);
    const std::string back = dir.File("back.wav");
    ASSERT_EQ(Cli("convert " + Q(raw) + " " + Q(back) +
                  " --rate 44100 --channels 2 --encoding s24 --endian big --bits 16")
                  .code,
              0);
    EXPECT_EQ(testing::ReadBytes(back), testing::ReadBytes(in));
}

TEST_F(ConvertFormatsTest, TagsSurviveEditsAndSavesInOtherFormats) {
    const std::string tagged = dir.File("tagged.flac");
    ASSERT_EQ(Cli("convert " + Q(in) + " " + Q(tagged)).code, 0);
    LAudioTags tags;
    tags.title = "Take Five";
    tags.artist = "Quartet";
    tags.year = 1959;
    tags.track = 2;
    ASSERT_TRUE(WriteAudioTags(tagged, "flac", tags));
    std::ofstream(dir.File("s.txt")) << "open tagged.flac\nselect 0 0.5\ndelete\n"
                                        "save edited.mp3 --bitrate 96\nsave edited.wav\n"
                                        "save edited.ogg --quality 3\n";
    const auto r = Cli("run " + Q(dir.File("s.txt")));
    ASSERT_EQ(r.code, 0) << r.out;
    for (const char* name : {"edited.mp3", "edited.wav", "edited.ogg"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(ReadAudioTags(dir.File(name)), tags);
        const auto info = Cli("info " + Q(dir.File(name))).out;
        EXPECT_NE(info.find("title=\"Take Five\" artist=Quartet year=1959"), std::string::npos)
            << info;
    }
    EXPECT_EQ(Head(dir.File("edited.ogg"), 4), "OggS");
}

}  // namespace
}  // namespace osmera
