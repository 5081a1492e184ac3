// Files made by other programs (sox, flac, lame, oggenc, opusenc, ffmpeg) open with the
// right rate, channels, length and tags; the ffmpeg reader seeks and cleans up after
// itself. A case whose program is not installed is skipped.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdlib>

#include "formats/audio_tags.h"
#include "formats/child_process.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"
#include "tests/formats/wave_bytes.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::TempDir;

bool Have(const char* program) {
    return !LChildProcess::FindProgram(program).empty();
}

// Runs `command` in `dir` through the shell (test set-up only).
bool RunIn(const TempDir& dir, const std::string& command) {
    const std::string line = "cd '" + dir.Path().string() + "' && " + command + " >/dev/null 2>&1";
    return std::system(line.c_str()) == 0;
}

struct ToolCase {
    const char* tool;
    const char* command;  // makes `file` in the folder from in.wav (22050 Hz stereo, 1.5 s)
    const char* file;
    int32_t rate;
    int32_t channels;
    int32_t padding;  // frames the length may differ by
    bool tagged;      // the command wrote title T, artist A, album L, year 2020, track 4
};

const ToolCase kToolCases[] = {
    {"sox", "sox in.wav f.aiff", "f.aiff", 22050, 2, 0, false},
    {"sox", "sox in.wav f.au", "f.au", 22050, 2, 0, false},
    {"sox", "sox in.wav -b 24 f.flac", "f.flac", 22050, 2, 0, false},
    {"sox", "sox in.wav -c 1 -r 8000 f.gsm", "f.gsm", 8000, 1, 160, false},
    {"flac",
     "flac -s --tag=TITLE=T --tag=ARTIST=A --tag=ALBUM=L --tag=DATE=2020 --tag=TRACKNUMBER=4 "
     "-o t.flac in.wav",
     "t.flac", 22050, 2, 0, true},
    {"lame", "lame --quiet --tt T --ta A --tl L --ty 2020 --tn 4 in.wav t.mp3", "t.mp3", 22050, 2,
     1152, true},
    {"oggenc", "oggenc -Q -t T -a A -l L -d 2020 -N 4 -o t.ogg in.wav", "t.ogg", 22050, 2, 0, true},
    {"opusenc",
     "opusenc --quiet --title T --artist A --album L --date 2020 --tracknumber 4 in.wav t.opus",
     // Opus decodes at its own rate nearest the original one: 24000 Hz for 22050.
     "t.opus", 24000, 2, 960, true},
    {"ffmpeg",
     "ffmpeg -v quiet -i in.wav -metadata title=T -metadata artist=A -metadata album=L "
     "-metadata date=2020 -metadata track=4 -c:a aac t.m4a",
     "t.m4a", 22050, 2, 2048, true},
    {"ffmpeg", "ffmpeg -v quiet -i in.wav -c:a wmav2 f.wma", "f.wma", 22050, 2, 2048, false},
    {"ffmpeg", "ffmpeg -v quiet -i in.wav -c:a ac3 -ar 48000 f.ac3", "f.ac3", 48000, 2, 2048,
     false},
    {"ffmpeg",
     "ffmpeg -v quiet -i in.wav -c:a libmp3lame -metadata title=T -metadata artist=A "
     "-metadata album=L -metadata date=2020 -metadata track=4 f.mp3",
     "f.mp3", 22050, 2, 1152, true},
};

TEST(ToolMadeFiles, OpenWithTheirRateChannelsLengthAndTags) {
    if (!Have("sox"))
        GTEST_SKIP() << "sox is not installed";
    TempDir dir;
    ASSERT_TRUE(RunIn(dir, "sox -n -r 22050 -c 2 -b 16 in.wav synth 1.5 sine 440 sine 660"));
    constexpr int32_t kInputFrames = 33075;
    for (const ToolCase& c : kToolCases) {
        SCOPED_TRACE(c.file);
        if (!Have(c.tool) || !RunIn(dir, c.command)) {
            std::printf("skipped %s: %s is not installed or cannot write it\n", c.file, c.tool);
            continue;
        }
        const std::string path = dir.File(c.file);
        LSourceRef s = OpenAudioSource(path);
        ASSERT_EQ(s->GetError(), kSourceOk) << OpenErrorMessage(*s, path);
        EXPECT_EQ(s->GetSampleRate(), c.rate);
        EXPECT_EQ(s->GetChannels(), c.channels);
        const int64_t expected = int64_t{kInputFrames} * c.rate / 22050;
        EXPECT_LE(std::llabs(s->GetLengthSample() - expected), c.padding);
        if (c.tagged) {
            const LAudioTags tags = ReadAudioTags(path);
            EXPECT_EQ(tags.title, "T");
            EXPECT_EQ(tags.artist, "A");
            EXPECT_EQ(tags.album, "L");
            EXPECT_EQ(tags.year, 2020u);
            EXPECT_EQ(tags.track, 4u);
        }
    }
}

// No child of this process is left, running or unreaped.
bool NoChildren() {
    return ::waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD;
}

TEST(FfmpegReader, SeeksExactlyAndLeavesNoProcessBehind) {
    if (!Have("ffmpeg") || !Have("ffprobe") || !Have("sox"))
        GTEST_SKIP() << "ffmpeg or sox is not installed";
    TempDir dir;
    // PCM in Matroska: only ffmpeg reads it, and its samples are exact.
    ASSERT_TRUE(RunIn(dir,
                      "sox -n -r 8000 -c 2 -b 16 in.wav synth 20 sine 300 sine 500 && "
                      "ffmpeg -v quiet -i in.wav -c:a pcm_s16le x.mka"));
    LSourceRef wav = OpenAudioSource(dir.File("in.wav"));
    LSourceRef piped = OpenAudioSource(dir.File("x.mka"));
    ASSERT_EQ(piped->GetError(), kSourceOk);
    ASSERT_EQ(piped->GetLengthSample(), 160000);
    const auto all = testing::ReadFrames(*wav, 160000);
    const auto slice = [&](int32_t from, int32_t n) {
        return std::vector<int32_t>(all.begin() + 2 * from, all.begin() + 2 * (from + n));
    };
    EXPECT_EQ(testing::ReadFrames(*piped, 5000), slice(0, 5000));
    piped->Seek(20000);  // ahead: read on
    EXPECT_EQ(testing::ReadFrames(*piped, 5000), slice(20000, 5000));
    piped->Seek(150000);  // far ahead: a new decoder
    EXPECT_EQ(testing::ReadFrames(*piped, 10000)[0], slice(150000, 1)[0]);
    piped->Seek(1000);  // back: a new decoder
    EXPECT_EQ(testing::ReadFrames(*piped, 4000), slice(1000, 4000));
    piped.Reset();  // mid-stream: the decoder is killed and reaped
    EXPECT_TRUE(NoChildren());
}

}  // namespace
}  // namespace osmera
