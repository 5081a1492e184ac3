// End-to-end checks of osmera-cli: the program is run as a user would run it.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "formats/open_audio_source.h"
#include "formats/wave_file.h"
#include "tests/cli/cli_runner.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::Cli;
using testing::Q;

std::string Slurp(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(f), {}};
}

// A stereo 16-bit WAV of `frames` frames of a tone, written by our own writer.
void WriteTone(const std::string& path, int32_t rate, int32_t frames) {
    auto sink = LWaveFile::CreateSink(path, rate, 0, 2, 2);
    LPRSourceToSink(MakeRef<LSRCTone>(rate, 2, frames, 441.0, 300000), sink).Process();
}

std::vector<int32_t> ReadAll(const std::string& path) {
    LSourceRef s = OpenAudioSource(path);
    std::vector<int32_t> v(static_cast<size_t>(s->GetLengthSample()) * s->GetChannels());
    s->Read(v.data(), s->GetLengthSample());
    return v;
}

class CliTest : public ::testing::Test {
  protected:
    testing::TempDir dir;
};

TEST_F(CliTest, InfoPrintsKeyValueLinesAndFailsOnUnreadableFiles) {
    const std::string wav = dir.File("tone one.wav");
    WriteTone(wav, 44100, 44100 * 2 + 441);
    testing::CliResult r = Cli("info " + Q(wav));
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.out, "file=\"" + wav +
                         "\" format=wav-pcm channels=2 rate=44100 bits=16 frames=88641 "
                         "time=0:00:02.01\n");

    r = Cli("info " + Q(dir.File("missing.wav")) + " " + Q(wav));
    EXPECT_NE(r.code, 0);
    EXPECT_NE(r.out.find("error=4 message=\"Cannot open the file \\\""), std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("\nfile="), std::string::npos);  // the good file is still described

    std::ofstream(dir.File("junk.wav")) << "RIFF....WAVEjunkjunkjunk";
    r = Cli("info " + Q(dir.File("junk.wav")));
    EXPECT_NE(r.out.find("error=3 "), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("because it is corrupt."), std::string::npos);
}

TEST_F(CliTest, ConvertSameFormatIsBitExactAndOtherFormatsHaveTheirHeader) {
    const std::string in = dir.File("in.wav");
    WriteTone(in, 44100, 30000);
    ASSERT_EQ(Cli("convert " + Q(in) + " " + Q(dir.File("same.wav"))).code, 0);
    EXPECT_EQ(ReadAll(dir.File("same.wav")), ReadAll(in));
    EXPECT_EQ(Slurp(dir.File("same.wav")), Slurp(in));

    ASSERT_EQ(Cli("convert " + Q(in) + " " + Q(dir.File("o.wav")) +
                  " --rate 48000 --channels 1 --bits 24")
                  .code,
              0);
    testing::CliResult r = Cli("info " + Q(dir.File("o.wav")));
    EXPECT_NE(r.out.find("format=wav-pcm channels=1 rate=48000 bits=24 "), std::string::npos)
        << r.out;

    // The header must satisfy an independent reader too.
    const std::string sox = "sox --i " + Q(dir.File("o.wav")) + " 2>/dev/null";
    if (FILE* p = popen(sox.c_str(), "r")) {
        std::string text;
        char buf[512];
        while (fgets(buf, sizeof buf, p))
            text += buf;
        if (pclose(p) == 0) {
            EXPECT_NE(text.find("Channels       : 1"), std::string::npos) << text;
            EXPECT_NE(text.find("Sample Rate    : 48000"), std::string::npos) << text;
            EXPECT_NE(text.find("24-bit Signed Integer PCM"), std::string::npos) << text;
        }
    }
}

TEST_F(CliTest, FailuresNeverReplaceTheOutputAndReportUsage) {
    const std::string out = dir.File("keep.wav");
    std::ofstream(out) << "precious";
    EXPECT_EQ(Cli("convert " + Q(dir.File("missing.wav")) + " " + Q(out)).code, 1);
    EXPECT_EQ(Slurp(out), "precious");

    const std::string in = dir.File("in.wav");
    WriteTone(in, 8000, 100);
    EXPECT_EQ(Cli("convert " + Q(in) + " " + Q(dir.File("no/such/dir/o.wav"))).code, 1);
    EXPECT_EQ(Cli("convert " + Q(in) + " " + Q(out) + " --bits 12").code, 2);
    EXPECT_EQ(Cli("convert " + Q(in) + " " + Q(out) + " --rate fast").code, 2);
    EXPECT_EQ(Cli("convert " + Q(in)).code, 2);
    EXPECT_EQ(Cli("frobnicate").code, 2);
    EXPECT_EQ(Slurp(out), "precious");
    // No temporaries are left beside the output.
    size_t files = 0;
    for (auto& e : std::filesystem::directory_iterator(dir.Path()))
        files += e.is_regular_file();
    EXPECT_EQ(files, 2u);

    EXPECT_EQ(Cli("--version").code, 0);
    EXPECT_NE(Cli("--help").out.find("convert IN OUT"), std::string::npos);
}

}  // namespace
}  // namespace osmera
