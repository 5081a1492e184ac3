#include "formats/wave_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "core/trace.h"
#include "formats/open_error_message.h"
#include "tests/formats/wave_bytes.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::Append16;
using testing::Append32;
using testing::Bytes;
using testing::Chunk;
using testing::operator+;
using testing::FormatBody;
using testing::ReadFrames;
using testing::Riff;
using testing::TempDir;
using testing::WriteBytes;

// `frames` mono 16-bit frames holding 1, 2, 3...
Bytes Samples16(int frames, int channels = 1) {
    Bytes b;
    for (int i = 1; i <= frames * channels; ++i)
        Append16(b, static_cast<uint32_t>(i));
    return b;
}

Bytes Mono16(uint32_t rate = 8000) {
    return Chunk("fmt ", FormatBody(1, rate, 16));
}

struct Layout {
    const char* name;
    Bytes file;
    uint8_t error;
    int32_t length;
    const char* trace;
};

TEST(WaveFile, ChunkWalkAndFormatChecks) {
    const Bytes data4 = Chunk("data", Samples16(4));
    Bytes unfinished = Riff(Mono16() + Chunk("data", Samples16(7), 0xFFFFFFFF));
    Bytes junkBefore = Chunk("JUNK", Bytes(10, 0xAA)) + Riff(Mono16() + data4);
    const Layout cases[] = {
        {"plain", Riff(Mono16() + data4), kSourceOk, 4, nullptr},
        {"junk before RIFF", junkBefore, kSourceOk, 4, nullptr},
        {"LIST and fact between",
         Riff(Mono16() + Chunk("LIST", Bytes(6, 1)) + Chunk("fact", Bytes(4, 2)) + data4),
         kSourceOk, 4, nullptr},
        {"odd chunk with pad", Riff(Mono16() + Chunk("odd ", Bytes(3, 0x64)) + data4), kSourceOk, 4,
         nullptr},
        {"fmt of 18 bytes", Riff(Chunk("fmt ", FormatBody(1, 8000, 16, 1, 18)) + data4), kSourceOk,
         4, nullptr},
        {"fmt of 8192 bytes", Riff(Chunk("fmt ", FormatBody(1, 8000, 16, 1, 8192)) + data4),
         kSourceOk, 4, nullptr},
        {"196000 Hz", Riff(Mono16(196000) + data4), kSourceOk, 4, nullptr},
        {"unfinished writer", unfinished, kSourceOk, 7, nullptr},
        {"fmt of 14 bytes", Riff(Chunk("fmt ", FormatBody(1, 8000, 16, 1, 14)) + data4),
         kSourceBadParams, 0, "LWaveFile::OpenSource fmt too short or too long!"},
        {"fmt of 8193 bytes", Riff(Chunk("fmt ", FormatBody(1, 8000, 16, 1, 8193)) + data4),
         kSourceBadParams, 0, "LWaveFile::OpenSource fmt too short or too long!"},
        {"fmt cut short", Riff(Chunk("fmt ", FormatBody(1, 8000, 16), 40)), kSourceBadParams, 0,
         "LWaveFile::OpenSource fmt too short or too long!"},
        {"0 channels", Riff(Chunk("fmt ", FormatBody(0, 8000, 16)) + data4), kSourceBadParams, 0,
         "LWaveFile::OpenSource nChannels or nSamplesPerSec is invalid"},
        {"256 channels", Riff(Chunk("fmt ", FormatBody(256, 8000, 16)) + data4), kSourceBadParams,
         0, "LWaveFile::OpenSource nChannels or nSamplesPerSec is invalid"},
        {"196001 Hz", Riff(Mono16(196001) + data4), kSourceBadParams, 0,
         "LWaveFile::OpenSource nChannels or nSamplesPerSec is invalid"},
        {"no data", Riff(Mono16()), kSourceBadParams, 0,
         "LWaveFile::OpenSource 'data' subchunk not found!"},
        {"no fmt", Riff(data4), kSourceBadParams, 0,
         "LWaveFile::OpenSource 'fmt ' subchunk not found!"},
        {"negative chunk size", Riff(Chunk("bad ", {}, 0x80000000u) + Mono16() + data4),
         kSourceBadParams, 0, "LWaveFile::OpenSource 'fmt ' subchunk not found!"},
        {"empty file", {}, kSourceBadParams, 0, "LWaveFile::OpenSource No RIFF WAVE chunk found"},
        {"tiny leading chunk", Chunk("JUNK", Bytes(4, 0)) + Riff(Mono16() + data4),
         kSourceBadParams, 0, "LWaveFile::OpenSource No RIFF WAVE chunk found"},
        {"text", Bytes(100, 'x'), kSourceBadParams, 0,
         "LWaveFile::OpenSource No RIFF WAVE chunk found"},
    };
    TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LTraceCapture trace;
        const std::string path = dir.File("f.wav");
        WriteBytes(path, c.file);
        auto source = LWaveFile::OpenSource(path);
        ASSERT_TRUE(source);
        EXPECT_EQ(source->GetError(), c.error);
        EXPECT_EQ(source->GetLengthSample(), c.length);
        if (c.trace) {
            EXPECT_TRUE(trace.Contains(c.trace));
        } else {
            EXPECT_EQ(ReadFrames(*source, 2), (std::vector<int32_t>{16, 32}));
        }
    }
}

TEST(WaveFile, TwelveBitStereoReadsAsSixteen) {
    TempDir dir;
    Bytes format = FormatBody(2, 8000, 12);
    format[12] = 4;  // block align of the 16-bit container
    WriteBytes(dir.File("12.wav"), Riff(Chunk("fmt ", format) + Chunk("data", Samples16(3, 2))));
    auto source = LWaveFile::OpenSource(dir.File("12.wav"));
    ASSERT_EQ(source->GetError(), kSourceOk);
    EXPECT_EQ(source->GetLengthSample(), 3);
    EXPECT_EQ(ReadFrames(*source, 3), (std::vector<int32_t>{16, 32, 48, 64, 80, 96}));
}

// Frames outside [0, length) and frames the file does not hold read as zeros; the
// position always moves by exactly the frames asked.
TEST(WaveFile, ReadAndSeekAroundTheData) {
    TempDir dir;
    const std::string path = dir.File("short.wav");
    Bytes data = Chunk("data", Samples16(6), 20);  // the header claims 10 frames
    WriteBytes(path, Riff(Mono16() + data));
    auto source = LWaveFile::OpenSource(path);
    ASSERT_EQ(source->GetError(), kSourceOk);
    ASSERT_EQ(source->GetLengthSample(), 10);
    using V = std::vector<int32_t>;
    EXPECT_EQ(ReadFrames(*source, 8), (V{16, 32, 48, 64, 80, 96, 0, 0}));
    EXPECT_EQ(source->GetPositionSample(), 8);
    source->Seek(-3);
    EXPECT_EQ(ReadFrames(*source, 5), (V{0, 0, 0, 16, 32}));
    EXPECT_EQ(source->GetPositionSample(), 2);
    source->Seek(4);
    EXPECT_EQ(ReadFrames(*source, 3), (V{80, 96, 0}));
    source->Seek(25);
    EXPECT_EQ(ReadFrames(*source, 2), (V{0, 0}));
    EXPECT_EQ(source->GetPositionSample(), 27);
    source->Seek(0);
    EXPECT_EQ(ReadFrames(*source, 20000).size(), 20000u);  // more than one buffer
    EXPECT_EQ(source->GetPositionSample(), 20000);
}

TEST(WaveFile, MissingFileAndMessages) {
    LTraceCapture trace;
    TempDir dir;
    auto source = LWaveFile::OpenSource(dir.File("missing.wav"));
    EXPECT_EQ(source->GetError(), kSourceNotOpened);
    EXPECT_EQ(source->GetLengthSample(), 0);
    EXPECT_TRUE(trace.Contains("LWaveFile::OpenSource Unable to Open File:"));
    EXPECT_EQ(LWaveFile::OpenSource(dir.Path().string())->GetError(), kSourceNotOpened);

    EXPECT_EQ(OpenErrorMessage(3, "a.wav"),
              "Cannot open the file \"a.wav\" because it is corrupt.");
    EXPECT_EQ(OpenErrorMessage(4, "a.wav"),
              "Cannot open the file \"a.wav\". Check it exists and you have read access.");
    // The decoders come through libsndfile (or ffmpeg): the message names what to install.
    const std::string noCodec = OpenErrorMessage(5, "a.wav");
    EXPECT_EQ(noCodec.find("Windows"), std::string::npos) << noCodec;
    EXPECT_NE(noCodec.find("required codec is not installed on this computer.\n\nInstall "
                           "libsndfile"),
              std::string::npos)
        << noCodec;
    EXPECT_EQ(OpenErrorMessage(2, "a.wav"), "Cannot open the file \"a.wav\".");
}

// The user's message keeps its first line and adds why on a second one.
TEST(WaveFile, RefusalsSayWhyOnASecondLine) {
    TempDir dir;
    ASSERT_EQ(::mkfifo(dir.File("pipe.wav").c_str(), 0600), 0);
    const Bytes data = Chunk("data", Samples16(4));
    const struct {
        const char* name;
        Bytes file;  // empty: the path as it is
        std::string message;
    } cases[] = {
        {"fast.wav", Riff(Mono16(384000) + data),
         "Cannot open the file \"x\" because it is corrupt.\nIt claims a sample rate of 384000 "
         "Hz; 1 to 196000 Hz can be opened."},
        {"wide.wav", Riff(Chunk("fmt ", FormatBody(300, 8000, 16)) + data),
         "Cannot open the file \"x\" because it is corrupt.\nIt claims 300 channels; 1 to 255 "
         "can be opened."},
        {"nodata.wav", Riff(Mono16()),
         "Cannot open the file \"x\" because it is corrupt.\nIt "
         "has no 'data' chunk."},
        {"missing.wav",
         {},
         "Cannot open the file \"x\". Check it exists and you have read "
         "access.\nNo such file or directory."},
        // A pipe is refused at once instead of waiting for a writer.
        {"pipe.wav",
         {},
         "Cannot open the file \"x\". Check it exists and you have read "
         "access.\nIt is a pipe (FIFO), not a regular file."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        if (!c.file.empty())
            WriteBytes(dir.File(c.name), c.file);
        EXPECT_EQ(OpenErrorMessage(*LWaveFile::OpenSource(dir.File(c.name)), "x"), c.message);
    }
    EXPECT_EQ(OpenErrorMessage(*MakeEmptySource(), "x"), "Cannot open the file \"x\".");
}

}  // namespace
}  // namespace osmera
