#include "formats/src_snd_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <unistd.h>

#include <cmath>

#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"
#include "formats/src_pcm_file_base.h"
#include "formats/wave_file.h"
#include "tests/formats/wave_bytes.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::Bytes;
using testing::Chunk;
using testing::operator+;
using testing::FormatBody;
using testing::ReadBytes;
using testing::ReadFrames;
using testing::Riff;
using testing::TempDir;
using testing::WriteBytes;

constexpr int kFrames = 4000;
constexpr int kRate = 8000;

// A stereo 16-bit test signal: two sines of different pitch and level.
std::vector<short> Signal() {
    std::vector<short> s(2 * kFrames);
    for (int i = 0; i < kFrames; ++i) {
        s[2 * i] = static_cast<short>(std::lround(12000 * std::sin(i * 0.0785)));
        s[2 * i + 1] = static_cast<short>(std::lround(-9000 * std::sin(i * 0.031)));
    }
    return s;
}

// Writes the test signal with libsndfile; false when this libsndfile lacks the format.
bool WriteWithSndfile(const std::string& path, int format) {
    SF_INFO info{};
    info.samplerate = kRate;
    info.channels = 2;
    info.format = format;
    if (!sf_format_check(&info))
        return false;
    SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
    if (!f)
        return false;
    // Float files hold full scale as 1.0.
    sf_command(f, SFC_SET_SCALE_INT_FLOAT_WRITE, nullptr, SF_TRUE);
    const auto s = Signal();
    sf_writef_short(f, s.data(), kFrames);
    sf_close(f);
    return true;
}

// Root-mean-square error of the source's first kFrames frames against the signal, as a
// fraction of the signal's own level.
double RelativeError(LSoundSourceBase& source) {
    const auto s = Signal();
    const auto got = ReadFrames(source, kFrames);
    double err = 0, level = 0;
    for (size_t i = 0; i < s.size(); ++i) {
        err += std::pow(got[i] / 16.0 - s[i], 2);
        level += std::pow(static_cast<double>(s[i]), 2);
    }
    return std::sqrt(err / level);
}

TEST(SndFile, CodedWavDataDecodes) {
    struct Case {
        const char* name;
        int format;
        double tolerance;
    };
    const Case cases[] = {
        {"float", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1e-4},
        {"mu-law", SF_FORMAT_WAV | SF_FORMAT_ULAW, 0.03},
        {"A-law", SF_FORMAT_WAV | SF_FORMAT_ALAW, 0.03},
        {"IMA ADPCM", SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM, 0.03},
        {"MS ADPCM", SF_FORMAT_WAV | SF_FORMAT_MS_ADPCM, 0.02},
        {"extensible float", SF_FORMAT_WAVEX | SF_FORMAT_FLOAT, 1e-4},
        {"extensible PCM", SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, 0.0},
    };
    TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = dir.File("coded.wav");
        ASSERT_TRUE(WriteWithSndfile(path, c.format));
        // The same data behind a leading chunk that libsndfile alone would not accept.
        WriteBytes(dir.File("junk.wav"), Chunk("JUNK", Bytes(30, 0)) + ReadBytes(path));
        for (const auto& file : {path, dir.File("junk.wav")}) {
            auto source = LWaveFile::OpenSource(file);
            ASSERT_EQ(source->GetError(), kSourceOk);
            EXPECT_EQ(source->GetSampleRate(), kRate);
            EXPECT_EQ(source->GetChannels(), 2);
            EXPECT_EQ(source->GetPeak(), kPeak16Bit);
            EXPECT_GE(source->GetLengthSample(), kFrames);
            EXPECT_LE(source->GetLengthSample(), kFrames + 2048);  // ADPCM fills its last block
            EXPECT_LE(RelativeError(*source), c.tolerance);
            if (auto* coded = dynamic_cast<LSRCSndFile*>(source.Get())) {
                EXPECT_EQ(coded->GetSndFileFormat() & SF_FORMAT_SUBMASK,
                          c.format & SF_FORMAT_SUBMASK);
            }
        }
    }
}

TEST(SndFile, SeeksAndReadsZerosOutsideTheStream) {
    TempDir dir;
    const std::string path = dir.File("f.wav");
    ASSERT_TRUE(WriteWithSndfile(path, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    auto source = LWaveFile::OpenSource(path);
    ASSERT_EQ(source->GetError(), kSourceOk);
    const auto s = Signal();
    source->Seek(kFrames - 2);
    const auto tail = ReadFrames(*source, 4);
    EXPECT_NEAR(tail[0], s[2 * kFrames - 4] * 16, 16);
    EXPECT_NEAR(tail[3], s[2 * kFrames - 1] * 16, 16);
    EXPECT_EQ(std::vector<int32_t>(tail.begin() + 4, tail.end()), std::vector<int32_t>(4, 0));
    EXPECT_EQ(source->GetPositionSample(), kFrames + 2);
    source->Seek(-2);
    const auto head = ReadFrames(*source, 3);
    EXPECT_EQ(head[0], 0);
    EXPECT_EQ(head[3], 0);
    EXPECT_NEAR(head[4], s[0] * 16, 16);
    EXPECT_EQ(source->GetPositionSample(), 1);
}

TEST(SndFile, UndecodableWavDataIsCodeFive) {
    TempDir dir;
    // Format tag 0x1234 is nothing libsndfile knows.
    WriteBytes(dir.File("x.wav"),
               Riff(Chunk("fmt ", FormatBody(1, 8000, 4, 0x1234)) + Chunk("data", Bytes(64, 1))));
    EXPECT_EQ(LWaveFile::OpenSource(dir.File("x.wav"))->GetError(), kSourceCodecFailed);
    auto source = OpenAudioSource(dir.File("x.wav"));
    EXPECT_EQ(source->GetError(), kSourceCodecFailed);
    EXPECT_NE(OpenErrorMessage(*source, "x.wav").find("\nIts audio is coded in format 0x1234,"),
              std::string::npos);
}

// Decoding libraries print notes on stderr while they probe a file (mpg123 does for any
// file it is offered); none of it may reach the program's own output.
TEST(SndFile, ProbingStaysQuiet) {
    TempDir dir;
    WriteBytes(dir.File("notes.mp3"), Bytes(300, 'x'));
    std::fflush(stderr);
    const int saved = ::dup(STDERR_FILENO);
    const int caught = ::open(dir.File("stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_GE(caught, 0);
    ::dup2(caught, STDERR_FILENO);
    const uint8_t error = OpenAudioSource(dir.File("notes.mp3"))->GetError();
    std::fflush(stderr);
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    ::close(caught);
    EXPECT_EQ(error, kSourceBadParams);
    EXPECT_EQ(ReadBytes(dir.File("stderr")).size(), 0u);
}

TEST(SndFile, OtherFormatsOpenThroughTheGeneralOpener) {
    struct Case {
        const char* name;
        int format;
    };
    const Case cases[] = {
        {"f.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16},
        {"f.au", SF_FORMAT_AU | SF_FORMAT_PCM_16},
        {"f.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
    };
    TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        if (!WriteWithSndfile(dir.File(c.name), c.format))
            continue;  // not in this build
        auto source = OpenAudioSource(dir.File(c.name));
        ASSERT_EQ(source->GetError(), kSourceOk);
        EXPECT_EQ(source->GetLengthSample(), kFrames);
        EXPECT_EQ(RelativeError(*source), 0.0);
    }

    // Our own reader serves plain WAV; refused WAV files and unknown files stay refused.
    ASSERT_TRUE(WriteWithSndfile(dir.File("pcm.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    EXPECT_NE(dynamic_cast<LSRCPCMFileBase*>(OpenAudioSource(dir.File("pcm.wav")).Get()), nullptr);
    WriteBytes(dir.File("fast.wav"),
               Riff(Chunk("fmt ", FormatBody(1, 196001, 16)) + Chunk("data", Bytes(8, 0))));
    EXPECT_EQ(OpenAudioSource(dir.File("fast.wav"))->GetError(), kSourceBadParams);
    WriteBytes(dir.File("notes.txt"), Bytes(300, 'x'));
    EXPECT_EQ(OpenAudioSource(dir.File("notes.txt"))->GetError(), kSourceBadParams);
    EXPECT_EQ(OpenAudioSource(dir.File("missing.wav"))->GetError(), kSourceNotOpened);
}

}  // namespace
}  // namespace osmera
