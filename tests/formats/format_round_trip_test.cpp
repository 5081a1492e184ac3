// Every writable format and width, written through the registry and read back through
// the opener; damaged files of every reader; multichannel files.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>

#include "core/generator_sources.h"
#include "formats/audio_file_writer.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"
#include "formats/src_downmix.h"
#include "formats/src_failed.h"
#include "tests/formats/wave_bytes.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::Bytes;
using testing::ReadBytes;
using testing::TempDir;
using testing::WriteBytes;

// Two sines of different pitch and level, `frames` long, rounded to multiples of `step`
// so that a file of the width under test holds them exactly.
std::vector<int32_t> Signal(int32_t rate, int32_t nChans, int32_t frames, int32_t step) {
    std::vector<int32_t> s(static_cast<size_t>(frames) * nChans);
    for (int32_t i = 0; i < frames; ++i) {
        for (int32_t c = 0; c < nChans; ++c) {
            const double v = (c == 0 ? 300000.0 : -200000.0) *
                             std::sin(2 * M_PI * (c == 0 ? 440.0 : 1234.5) * i / rate);
            s[static_cast<size_t>(i) * nChans + c] =
                static_cast<int32_t>(std::lround(v / step)) * step;
        }
    }
    return s;
}

LSourceRef SignalSource(int32_t rate, int32_t nChans, const std::vector<int32_t>& samples) {
    return MakeRef<LSRCSampleVector>(rate, static_cast<uint8_t>(nChans), samples, kPeak16Bit);
}

std::vector<int32_t> ReadAll(LSoundSourceBase& source) {
    return testing::ReadFrames(source, source.GetLengthSample());
}

// Signal-to-noise ratio of `got` against `want` over the frames both hold, in dB.
double Snr(const std::vector<int32_t>& want, const std::vector<int32_t>& got) {
    double signal = 0;
    double noise = 0;
    for (size_t i = 0; i < std::min(want.size(), got.size()); ++i) {
        signal += double(want[i]) * want[i];
        noise += (double(got[i]) - want[i]) * (double(got[i]) - want[i]);
    }
    return noise == 0 ? 200 : 10 * std::log10(signal / noise);
}

struct Case {
    const char* file;
    const char* format;  // "" chooses by extension
    int32_t bits;
    int32_t rate;
    int32_t channels;
    double minSnr;    // 0: lossless, bit for bit
    int32_t padding;  // frames the decoded length may differ by
};

// Lossy bounds lie some 5 to 10 dB below what each codec gives on this signal at its
// default setting (measured: Vorbis q5 39.6 dB, MP3 192 kbit/s 26.0 dB, Opus 64 kbit/s per
// channel 19.2 dB, VOX 28.7 dB, GSM 23.7 dB; sample by sample, so phase changes count).
const Case kCases[] = {
    {"w8.wav", "", 8, 44100, 2, 0, 0},         {"w16.wav", "", 16, 44100, 2, 0, 0},
    {"w24.wav", "", 24, 44100, 2, 0, 0},       {"w32.wav", "", 32, 44100, 2, 0, 0},
    {"f.wav", "wav-float", 0, 44100, 2, 0, 0}, {"f8.flac", "", 8, 44100, 2, 0, 0},
    {"f16.flac", "", 16, 44100, 2, 0, 0},      {"f24.flac", "", 24, 44100, 2, 0, 0},
    {"a8.aiff", "", 8, 22050, 1, 0, 0},        {"a16.aif", "", 16, 22050, 2, 0, 0},
    {"a24.aiff", "", 24, 22050, 2, 0, 0},      {"a32.aiff", "", 32, 22050, 2, 0, 0},
    {"x.aifc", "", 0, 22050, 2, 0, 0},         {"u16.au", "", 16, 8000, 1, 0, 0},
    {"u24.au", "", 24, 8000, 2, 0, 0},         {"c16.caf", "", 16, 48000, 2, 0, 0},
    {"c24.caf", "", 24, 48000, 2, 0, 0},       {"w16.w64", "", 16, 44100, 2, 0, 0},
    {"w24.w64", "", 24, 44100, 2, 0, 0},       {"r16.rf64", "", 16, 44100, 2, 0, 0},
    {"r24.rf64", "", 24, 44100, 2, 0, 0},      {"p.raw", "", 16, 8000, 1, 0, 0},
    {"v.ogg", "", 0, 44100, 2, 30, 0},         {"m.mp3", "", 0, 44100, 2, 20, 1152},
    {"o.opus", "", 0, 48000, 2, 15, 960},      {"d.vox", "", 0, 8000, 1, 20, 1},
    {"g.gsm", "", 0, 8000, 1, 15, 160},
};

TEST(FormatRoundTrip, EveryWritableFormatAndWidth) {
    TempDir dir;
    LAudioTags tags;
    tags.title = "Über Title";
    tags.artist = "Artist";
    tags.album = "Album";
    tags.genre = "Jazz";
    tags.comment = "round trip";
    tags.year = 2024;
    tags.track = 3;
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.file);
        const int32_t step = c.bits == 8 ? 4096 : c.bits == 16 ? 16 : 1;
        const int32_t frames = c.rate / 2 + 77;
        const auto want = Signal(c.rate, c.channels, frames, c.minSnr > 0 ? 16 : step);
        LSaveRequest request;
        request.options.format = c.format;
        request.options.bits = c.bits;
        request.tags = &tags;
        std::string message;
        const std::string path = dir.File(c.file);
        ASSERT_EQ(
            SaveSourceAs(SignalSource(c.rate, c.channels, want), path, request, nullptr, &message),
            kJobDone)
            << message;
        LOpenOptions options;
        options.raw.sampleRate = c.rate;
        options.raw.channels = c.channels;
        LSourceRef back = OpenAudioSource(path, options);
        ASSERT_EQ(back->GetError(), kSourceOk) << OpenErrorMessage(*back, path);
        EXPECT_EQ(back->GetSampleRate(), c.rate);
        EXPECT_EQ(back->GetChannels(), c.channels);
        EXPECT_LE(std::abs(back->GetLengthSample() - frames), c.padding);
        const auto got = ReadAll(*back);
        if (c.minSnr == 0) {
            EXPECT_EQ(got, want);
        } else {
            EXPECT_GE(Snr(want, got), c.minSnr);
        }
        const std::string name = c.format[0] ? c.format : WriteFormatForPath(path).name;
        if (FormatCarriesTags(name)) {
            EXPECT_EQ(ReadAudioTags(path), tags);
        }
    }
}

TEST(FormatRoundTrip, OpusTakesOtherRatesThroughTheRateConverter) {
    TempDir dir;
    const auto want = Signal(44100, 1, 44100, 16);
    std::string message;
    ASSERT_EQ(SaveSourceAs(SignalSource(44100, 1, want), dir.File("o.opus"), {}, nullptr, &message),
              kJobDone)
        << message;
    LSourceRef back = OpenAudioSource(dir.File("o.opus"));
    ASSERT_TRUE(back->IsOk());
    EXPECT_EQ(back->GetSampleRate(), 48000);
    EXPECT_LE(std::abs(back->GetLengthSample() - 48000), 960);
}

TEST(FormatRoundTrip, FailedSavesLeaveTheTargetAlone) {
    TempDir dir;
    const std::string path = dir.File("keep.flac");
    WriteBytes(path, Bytes(10, 'k'));
    LSaveRequest request;
    request.options.format = "nonsense";
    std::string message;
    const auto s = Signal(8000, 1, 100, 1);
    EXPECT_EQ(SaveSourceAs(SignalSource(8000, 1, s), path, request, nullptr, &message), kJobFailed);
    EXPECT_NE(message.find("unknown format \"nonsense\""), std::string::npos);
    testing::RecordingProgress cancel(1);
    EXPECT_EQ(
        SaveSourceAs(SignalSource(8000, 1, Signal(8000, 1, 40000, 1)), path, {}, &cancel, &message),
        kJobCancelled);
    EXPECT_EQ(ReadBytes(path), Bytes(10, 'k'));
}

// Damaged files of every reader: each gives code 3 with the corrupt-file message (or, for
// a file cut short after a whole header, opens), and none crashes or hangs.
TEST(FormatReaders, DamagedFilesGiveTheCorruptCode) {
    TempDir dir;
    std::mt19937 random(7);
    Bytes garbage(3000);
    for (auto& b : garbage)
        b = static_cast<uint8_t>(random());
    const auto signal = Signal(44100, 2, 30000, 16);
    // The program's WAV reader, libsndfile's containers and ffmpeg's formats.
    for (const char* ext : {"wav", "flac", "ogg", "mp3", "m4a"}) {
        SCOPED_TRACE(ext);
        const std::string e = ext;
        const auto check = [&](const std::string& name, const Bytes& bytes, bool mayOpen) {
            const std::string path = dir.File(name + "." + e);
            WriteBytes(path, bytes);
            LSourceRef s = OpenAudioSource(path);
            if (mayOpen && s->IsOk()) {
                ReadAll(*s);  // reads what is there, zeros for the rest
                return;
            }
            EXPECT_EQ(s->GetError(), kSourceBadParams) << name;
            EXPECT_EQ(OpenErrorMessage(*s, name).rfind(
                          "Cannot open the file \"" + name + "\" because it is corrupt.", 0),
                      0u);
        };
        check("empty", {}, false);
        check("text",
              Bytes(reinterpret_cast<const uint8_t*>("just some words\n"),
                    reinterpret_cast<const uint8_t*>("just some words\n") + 16),
              false);
        check("garbage", garbage, false);
        // A whole file of the format, cut after a third and cut inside its header.
        const std::string whole = dir.File("whole." + e);
        if (e != "m4a") {
            ASSERT_EQ(SaveSourceAs(SignalSource(44100, 2, signal), whole, {}, nullptr), kJobDone);
        } else {
            const std::string cmd =
                "ffmpeg -v quiet -y -f s16le -ar 8000 -ac 1 -i /dev/zero "
                "-t 2 '" +
                whole + "' 2>/dev/null";
            if (std::system(cmd.c_str()) != 0)
                continue;
        }
        const Bytes bytes = ReadBytes(whole);
        check("third", Bytes(bytes.begin(), bytes.begin() + bytes.size() / 3), true);
        check("header", Bytes(bytes.begin(), bytes.begin() + std::min<size_t>(bytes.size(), 20)),
              true);
    }
}

TEST(FormatReaders, EmptyHeaderlessFilesAreRefused) {
    TempDir dir;
    for (const char* name : {"e.raw", "e.vox", "e.gsm"}) {
        WriteBytes(dir.File(name), {});
        EXPECT_EQ(OpenAudioSource(dir.File(name))->GetError(), kSourceBadParams) << name;
    }
}

TEST(FormatReaders, MissingFfmpegNamesThePackage) {
    TempDir dir;
    const std::string path = dir.File("a.m4a");
    WriteBytes(path, Bytes(100, 0));
    const std::string saved = std::getenv("PATH") ? std::getenv("PATH") : "";
    ::setenv("PATH", dir.File("nothing").c_str(), 1);
    LSourceRef s = OpenAudioSource(path);
    ::setenv("PATH", saved.c_str(), 1);
    EXPECT_EQ(s->GetError(), kSourceCodecFailed);
    EXPECT_NE(OpenErrorMessage(*s, "a.m4a").find("Debian package \"ffmpeg\""), std::string::npos);
}

TEST(FormatReaders, ContentWinsOverTheExtension) {
    TempDir dir;
    const auto s = Signal(8000, 1, 800, 16);
    ASSERT_EQ(SaveSourceAs(SignalSource(8000, 1, s), dir.File("real.flac"), {}, nullptr), kJobDone);
    std::rename(dir.File("real.flac").c_str(), dir.File("named.mp3").c_str());
    LOpenReport report;
    LSourceRef back = OpenAudioSource(dir.File("named.mp3"), {}, &report);
    ASSERT_TRUE(back->IsOk());
    EXPECT_EQ(report.reader, LReaderKind::kSndFile);
    EXPECT_EQ(ReadAll(*back), s);
}

TEST(FormatReaders, MultichannelFilesOpenAsStereoAndSaySo) {
    TempDir dir;
    // 5.1 with only the centre sounding: both sides get 0.7071 / 2.4142 of it.
    std::vector<int32_t> six(6 * 100, 0);
    for (size_t f = 0; f < 100; ++f)
        six[f * 6 + 2] = 240000;
    LSaveRequest request;
    request.options.bits = 24;
    ASSERT_EQ(SaveSourceAs(SignalSource(48000, 6, six), dir.File("six.wav"), request, nullptr),
              kJobDone);
    LOpenOptions options;
    options.multichannel = LOpenOptions::Channels::kDownmix;
    LOpenReport report;
    LSourceRef mixed = OpenAudioSource(dir.File("six.wav"), options, &report);
    ASSERT_TRUE(mixed->IsOk());
    EXPECT_EQ(mixed->GetChannels(), 2);
    EXPECT_EQ(report.fileChannels, 6);
    EXPECT_EQ(report.note, "5.1 channels mixed down to stereo (ITU-R BS.775)");
    const auto got = ReadAll(*mixed);
    const int32_t expected = static_cast<int32_t>(std::lround(240000 * 0.70710678 / 2.41421356));
    EXPECT_EQ(got[0], expected);
    EXPECT_EQ(got[1], expected);

    options.multichannel = LOpenOptions::Channels::kPair;
    options.pair = 1;
    LSourceRef pair = OpenAudioSource(dir.File("six.wav"), options, &report);
    ASSERT_TRUE(pair->IsOk());
    EXPECT_EQ(report.note, "channels 3 and 4 of 6 opened as stereo");
    EXPECT_EQ(ReadAll(*pair)[0], 240000);
    options.pair = 3;
    EXPECT_EQ(OpenAudioSource(dir.File("six.wav"), options)->GetError(), kSourceBadParams);

    // 255 channels still open as they are unless asked to mix.
    std::vector<int32_t> many(255 * 10, 16);
    ASSERT_EQ(SaveSourceAs(SignalSource(8000, 255, many), dir.File("many.wav"), {}, nullptr),
              kJobDone);
    EXPECT_EQ(OpenAudioSource(dir.File("many.wav"))->GetChannels(), 255);
}

}  // namespace
}  // namespace osmera
