// End-to-end checks of osmera-cli: the program is run as a user would run it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "formats/open_audio_source.h"
#include "formats/wave_file.h"
#include "tests/cli/cli_runner.h"
#include "tests/formats/wave_bytes.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::ReadText;

using testing::Cli;
using testing::Q;
using testing::ReadAll;

// A stereo 16-bit WAV of `frames` frames of a tone, written by our own writer.
void WriteTone(const std::string& path, int32_t rate, int32_t frames) {
    auto sink = LWaveFile::CreateSink(path, rate, 0, 2, 2);
    LPRSourceToSink(MakeRef<LSRCTone>(rate, 2, frames, 441.0, 300000), sink).Process();
}

// A WAV header stating `dataSize` data bytes, in a file holding `fileData` of them (sparse
// beyond the header, so long files cost no disk).
void WriteClaimingWav(const std::string& path, uint16_t channels, uint32_t rate, uint16_t bits,
                      uint32_t dataSize, uint64_t fileData) {
    using namespace testing;
    const Bytes header =
        Riff(Chunk("fmt ", FormatBody(channels, rate, bits)) + Chunk("data", {}, dataSize));
    WriteBytes(path, header);
    std::filesystem::resize_file(path, header.size() + fileData);
}

// osmera-cli with `args`, stdout and stderr together.
testing::CliResult CliBoth(const std::string& args) {
    return testing::RunShell(std::string(OSMERA_CLI) + " " + args + " 2>&1");
}

bool Has(const testing::CliResult& r, const std::string& text) {
    return r.out.find(text) != std::string::npos;
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
                         "time=0:00:02.01 duration=2.010 reader=wav\n");

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
    EXPECT_EQ(ReadText(dir.File("same.wav")), ReadText(in));

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
    EXPECT_EQ(ReadText(out), "precious");

    const std::string in = dir.File("in.wav");
    WriteTone(in, 8000, 100);
    EXPECT_EQ(Cli("convert " + Q(in) + " " + Q(dir.File("no/such/dir/o.wav"))).code, 1);
    EXPECT_EQ(Cli("convert " + Q(in) + " " + Q(out) + " --bits 12").code, 2);
    EXPECT_EQ(Cli("convert " + Q(in) + " " + Q(out) + " --rate fast").code, 2);
    EXPECT_EQ(Cli("convert " + Q(in)).code, 2);
    EXPECT_EQ(Cli("frobnicate").code, 2);
    EXPECT_EQ(ReadText(out), "precious");
    // No temporaries are left beside the output.
    size_t files = 0;
    for (auto& e : std::filesystem::directory_iterator(dir.Path()))
        files += e.is_regular_file();
    EXPECT_EQ(files, 2u);

    EXPECT_EQ(Cli("--version").code, 0);
    EXPECT_NE(Cli("--help").out.find("convert IN OUT"), std::string::npos);
}

// Nothing is cut, padded or refused without a word: a file longer than a source can count,
// one that ends before its header says, one of six channels, an output beyond 4 GB.
TEST_F(CliTest, LongShortAndManyChannelFilesAreToldNeverCutSilently) {
    const std::string out = dir.File("keep.wav");
    std::ofstream(out) << "precious";

    const std::string longWav = dir.File("long.wav");
    WriteClaimingWav(longWav, 1, 8000, 8, 3000000000u, 3000000000u);
    testing::CliResult r = CliBoth("info " + Q(longWav));
    ASSERT_TRUE(Has(r, " frames=3000000000 time=104:10:00.00 opened-frames=2147483647 warning="))
        << r.out;
    EXPECT_TRUE(Has(r, "(852516353 frames) are left out.")) << r.out;
    r = CliBoth("convert " + Q(longWav) + " " + Q(out));
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(Has(r, "more than the 2147483647 frames this program can convert")) << r.out;

    // Two billion 8-bit frames are fine to read but 16 GB as 32-bit stereo.
    const std::string big = dir.File("big.wav");
    WriteClaimingWav(big, 1, 8000, 8, 2000000000u, 2000000000u);
    r = CliBoth("convert " + Q(big) + " " + Q(out) + " --bits 32 --channels 2");
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(Has(r, "would hold 16000000000 bytes of audio, more than the 4 GB")) << r.out;
    EXPECT_EQ(ReadText(out), "precious");

    // One second of audio whose header claims a hundred.
    const std::string shortWav = dir.File("short.wav");
    WriteClaimingWav(shortWav, 1, 8000, 16, 1600000, 16000);
    r = CliBoth("info " + Q(shortWav));
    EXPECT_TRUE(Has(r,
                    " frames=800000 time=0:01:40.00 present-frames=8000 "
                    "present-time=0:00:01.00 warning="))
        << r.out;
    const std::string missing =
        "the file ends 99 seconds before its header says; the rest opens as silence.";
    r = CliBoth("convert " + Q(shortWav) + " " + Q(dir.File("o.wav")));
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(Has(r, missing)) << r.out;
    std::ofstream(dir.File("open.txt")) << "open short.wav\n";
    r = CliBoth("run " + Q(dir.File("open.txt")));
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(Has(r, "warning: \"" + shortWav + "\": " + missing)) << r.out;

    const std::string six = dir.File("six.wav");
    WriteClaimingWav(six, 6, 44100, 16, 1200, 1200);
    // More than two channels open mixed down to stereo, and every program says so.
    EXPECT_TRUE(Has(CliBoth("info " + Q(six)), "has 6 channels: it opens mixed down to stereo"));
    const std::string mixed = "5.1 channels mixed down to stereo (ITU-R BS.775)";
    r = CliBoth("convert " + Q(six) + " " + Q(dir.File("six2.wav")));
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(Has(r, mixed)) << r.out;
    r = CliBoth("convert " + Q(six) + " " + Q(dir.File("six2.wav")) + " --pair 2");
    EXPECT_TRUE(Has(r, "channels 3 and 4 of 6 opened as stereo")) << r.out;
    EXPECT_EQ(CliBoth("convert " + Q(six) + " " + Q(out) + " --pair 4").code, 1);
    EXPECT_EQ(ReadText(out), "precious");
}

TEST_F(CliTest, SaveKeepsTheWidthTheDocumentWasOpenedWith) {
    auto sink = LWaveFile::CreateSink(dir.File("in24.wav"), 48000, 0, 3, 2);
    LPRSourceToSink(MakeRef<LSRCTone>(48000, 2, 4800, 441.0, 300000), sink).Process();
    sink.Reset();
    std::ofstream(dir.File("s.txt")) << "open in24.wav\nsave a.wav\nsave --bits 8 b.wav\n"
                                        "save c.wav\nnew 8000 1\nsave d.wav\n";
    ASSERT_EQ(Cli("run " + Q(dir.File("s.txt"))).code, 0);
    const char* expected[][2] = {
        {"a.wav", "bits=24"}, {"b.wav", "bits=8"}, {"c.wav", "bits=8"}, {"d.wav", "bits=16"}};
    for (const auto& [file, bits] : expected) {
        const testing::CliResult r = Cli("info " + Q(dir.File(file)));
        EXPECT_TRUE(Has(r, bits)) << r.out;
    }
}

// osmera-cli with `args`; what it printed on stderr (stdout is dropped).
std::string CliStderr(const std::string& args) {
    return testing::RunShell(std::string(OSMERA_CLI) + " " + args + " 2>&1 >/dev/null").out;
}

// Starts osmera-cli with `args` in the background, its output dropped.
pid_t StartCli(std::vector<std::string> args) {
    args.insert(args.begin(), OSMERA_CLI);
    const pid_t pid = ::fork();
    if (pid == 0) {
        const int null = ::open("/dev/null", O_RDWR);
        for (int fd = 0; fd < 3; ++fd)
            ::dup2(null, fd);
        std::vector<char*> argv;
        for (auto& a : args)
            argv.push_back(a.data());
        argv.push_back(nullptr);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    return pid;
}

// The temporaries (".NAME.osmera-PID-N.tmp") in `folder`.
std::vector<std::string> Temporaries(const std::filesystem::path& folder) {
    std::vector<std::string> found;
    for (auto& e : std::filesystem::directory_iterator(folder))
        if (e.path().filename().string().find(".osmera-") != std::string::npos)
            found.push_back(e.path().filename().string());
    return found;
}

// Waits (up to ten seconds) until a temporary appears in `folder`.
bool WaitForTemporary(const std::filesystem::path& folder) {
    for (int i = 0; i < 10000 && Temporaries(folder).empty(); ++i)
        ::usleep(1000);
    return !Temporaries(folder).empty();
}

TEST_F(CliTest, EndedRunsLeaveNoTemporaries) {
    const std::string in = dir.File("in.wav");
    WriteTone(in, 8000, 100);
    // A long conversion: a hang-up stops it like Ctrl+C, and it cleans up.
    const std::string longIn = dir.File("long.wav");
    WriteTone(longIn, 8000, 8000 * 120);
    const std::filesystem::path outDir = dir.Path() / "out";
    std::filesystem::create_directory(outDir);
    const std::vector<std::string> longConvert = {
        "convert", longIn, (outDir / "o.wav").string(), "--rate", "192000", "--bits", "32"};
    pid_t pid = StartCli(longConvert);
    ASSERT_TRUE(WaitForTemporary(outDir));
    ::kill(pid, SIGHUP);
    int status = 0;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 130) << status;
    EXPECT_TRUE(Temporaries(outDir).empty());

    // A killed one leaves its temporary; the next writer into the folder removes it.
    pid = StartCli(longConvert);
    ASSERT_TRUE(WaitForTemporary(outDir));
    ::kill(pid, SIGKILL);
    ::waitpid(pid, &status, 0);
    ASSERT_EQ(Temporaries(outDir).size(), 1u);
    ASSERT_EQ(Cli("convert " + Q(in) + " " + Q((outDir / "small.wav").string())).code, 0);
    EXPECT_TRUE(Temporaries(outDir).empty());
    EXPECT_FALSE(std::filesystem::exists(outDir / "o.wav"));
}

TEST_F(CliTest, FailuresSayWhy) {
    const std::string in = dir.File("in.wav");
    WriteTone(in, 100, 100);
    std::filesystem::create_directory(dir.Path() / "folder");
    std::string err = CliStderr("convert " + Q(in) + " " + Q(dir.File("folder")));
    EXPECT_NE(err.find("It is a folder"), std::string::npos) << err;
    EXPECT_EQ(err.find("disk full"), std::string::npos) << err;
    err = CliStderr("convert " + Q(in) + " " + Q(dir.File("o.wav")) + " --rate 196000");
    EXPECT_NE(err.find("from 100 Hz to 196000 Hz: the rates are too far apart"), std::string::npos)
        << err;

    // A pipe is refused at once (the timeout ends the run should it wait for a writer).
    ASSERT_EQ(::mkfifo(dir.File("pipe.wav").c_str(), 0600), 0);
    testing::CliResult r = testing::RunShell("timeout -s KILL 10 " + std::string(OSMERA_CLI) +
                                             " info " + Q(dir.File("pipe.wav")) + " 2>&1");
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.out.find("It is a pipe (FIFO), not a regular file."), std::string::npos) << r.out;
}

TEST_F(CliTest, LoudnessScriptAndInfoAgree) {
    WriteTone(dir.File("in.wav"), 44100, 44100 * 3);
    std::ofstream(dir.File("s.txt")) << "open in.wav\nloudness -23 -1\nsave out.wav\n";
    ASSERT_EQ(Cli("run " + Q(dir.File("s.txt"))).code, 0);
    testing::CliResult r = Cli("info " + Q(dir.File("out.wav")) + " --loudness");
    const size_t at = r.out.find(" loudness=");
    ASSERT_NE(at, std::string::npos) << r.out;
    EXPECT_NEAR(std::stod(r.out.substr(at + 10)), -23.0, 0.2) << r.out;
    EXPECT_TRUE(Has(r, " loudness-range=0.0 true-peak=")) << r.out;

    // The other new words, end to end: a profile from the first second, the reduction,
    // a file mixed in (relative to the script) and the speed doubled.
    std::ofstream(dir.File("fx.txt"))
        << "open in.wav\nselect 0 1\nnoise-profile\nselect-all\nnoise-reduction -30\n"
           "mix-file in.wav 50\nspeed-pitch 200\nsave fx.wav\n";
    ASSERT_EQ(Cli("run " + Q(dir.File("fx.txt"))).code, 0);
    EXPECT_TRUE(Has(Cli("info " + Q(dir.File("fx.wav"))), " frames=66150 ")) << r.out;

    std::ofstream(dir.File("bad.txt")) << "open in.wav\ntempo 301\n";
    r = CliBoth("run " + Q(dir.File("bad.txt")));
    EXPECT_NE(r.code, 0);
    EXPECT_TRUE(Has(r, "Speed Change Percent must be less than 300.")) << r.out;
}

}  // namespace
}  // namespace osmera
