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

}  // namespace
}  // namespace osmera
