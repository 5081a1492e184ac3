#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <filesystem>

#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "core/trace.h"
#include "formats/pcm_sample_convert.h"
#include "formats/wave_file.h"
#include "tests/formats/wave_bytes.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::Bytes;
using testing::Get32;
using testing::ReadBytes;
using testing::ReadFrames;
using testing::TempDir;

TEST(PcmConvert, FileToInternalAtTheExtremes) {
    struct Case {
        Bytes in;
        int32_t (*convert)(const uint8_t*);
        int32_t expected;
    };
    const Case cases[] = {
        {{0x00}, Pcm8ToInternal, -524288},
        {{0x80}, Pcm8ToInternal, 0},
        {{0xFF}, Pcm8ToInternal, 520192},
        {{0x00, 0x80}, Pcm16ToInternal, -524288},
        {{0xFF, 0x7F}, Pcm16ToInternal, 524272},
        {{0xFF, 0xFF}, Pcm16ToInternal, -16},
        {{0x00, 0x00, 0x80}, Pcm24ToInternal, -524288},
        {{0xFF, 0xFF, 0x7F}, Pcm24ToInternal, 524287},
        {{0xFF, 0xFF, 0xFF}, Pcm24ToInternal, -1},
        {{0x00, 0x00, 0x00, 0x80}, Pcm32ToInternal, -524288},
        {{0xFF, 0xFF, 0xFF, 0x7F}, Pcm32ToInternal, 524288},  // top codes do not wrap
        {{0x00, 0xF8, 0xFF, 0x7F}, Pcm32ToInternal, 524288},  // lowest of the top 2048
        {{0xFF, 0xF7, 0xFF, 0x7F}, Pcm32ToInternal, 524287},
        {{0x00, 0xF8, 0xFF, 0xFF}, Pcm32ToInternal, 0},   // -2048 rounds up
        {{0xFF, 0xF7, 0xFF, 0xFF}, Pcm32ToInternal, -1},  // -2049
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.in));
        EXPECT_EQ(c.convert(c.in.data()), c.expected);
    }
}

TEST(PcmConvert, InternalToFileAtTheExtremes) {
    struct Case {
        int32_t x;
        void (*convert)(int32_t, uint8_t*);
        Bytes expected;
    };
    const Case cases[] = {
        {0, InternalToPcm8, {0x80}},
        {522239, InternalToPcm8, {0xFF}},
        {522240, InternalToPcm8, {0x00}},  // the 8-bit writer's wrap is kept on purpose
        {524272, InternalToPcm8, {0x00}},
        {-524288, InternalToPcm8, {0x00}},
        {524272, InternalToPcm16, {0xFF, 0x7F}},
        {524280, InternalToPcm16, {0x00, 0x80}},  // no clipping: wraps
        {-524288, InternalToPcm16, {0x00, 0x80}},
        {7, InternalToPcm16, {0x00, 0x00}},
        {8, InternalToPcm16, {0x01, 0x00}},
        {-9, InternalToPcm16, {0xFF, 0xFF}},
        {524287, InternalToPcm24, {0xF0, 0xFF, 0x7F}},
        {-524288, InternalToPcm24, {0x00, 0x00, 0x80}},
        {524287, InternalToPcm32, {0x00, 0xF0, 0xFF, 0x7F}},
        {-524288, InternalToPcm32, {0x00, 0x00, 0x00, 0x80}},
        {INT32_MAX, InternalToPcm32, {0x00, 0xF0, 0xFF, 0xFF}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.x);
        Bytes out(c.expected.size());
        c.convert(c.x, out.data());
        EXPECT_EQ(out, c.expected);
    }
}

// Every width, written through the sink and read back through the opener.
TEST(PcmFile, WriteThenReadEveryWidth) {
    const std::vector<int32_t> written = {-524288, -4096, 0, 4096, 520192, 17, 522240, -1};
    struct Case {
        int32_t bytes;
        std::vector<int32_t> read;
    };
    const Case cases[] = {
        {1, {-524288, -4096, 0, 4096, 520192, 0, -524288, 0}},  // 522240 wraps to byte 0
        {2, {-524288, -4096, 0, 4096, 520192, 16, 522240, 0}},
        {3, {-524288, -4096, 0, 4096, 520192, 17, 522240, -1}},
        {4, {-524288, -4096, 0, 4096, 520192, 17, 522240, -1}},
    };
    TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bytes);
        const std::string path = dir.File("w" + std::to_string(c.bytes) + ".wav");
        {
            auto sink = LWaveFile::CreateSink(path, 22050, 0, c.bytes, 2);
            ASSERT_FALSE(sink->IsError());
            sink->Write(written.data(), 4);
            EXPECT_TRUE(sink->Finish());
        }
        const Bytes file = ReadBytes(path);
        ASSERT_EQ(file.size(), 46u + 8u * c.bytes);
        EXPECT_EQ(file[34], 8 * c.bytes);                  // bits per sample
        EXPECT_EQ(file[32], 2 * c.bytes);                  // block align
        EXPECT_EQ(Get32(file, 28), 22050u * 2 * c.bytes);  // bytes per second

        auto source = LWaveFile::OpenSource(path);
        ASSERT_EQ(source->GetError(), kSourceOk);
        EXPECT_EQ(source->GetChannels(), 2);
        EXPECT_EQ(source->GetSampleRate(), 22050);
        EXPECT_EQ(source->GetPeak(), kPeak16Bit);
        ASSERT_EQ(source->GetLengthSample(), 4);
        EXPECT_EQ(ReadFrames(*source, 4), c.read);
    }
}

TEST(PcmFile, HeaderCarriesProvisionalThenFinalSizes) {
    TempDir dir;
    const std::string path = dir.File("ten.wav");
    auto sink = LWaveFile::CreateSink(path, 44100, 0, 2, 2);
    const std::vector<int32_t> frames(20, 160);
    sink->Write(frames.data(), 10);
    Bytes file = ReadBytes(path);
    EXPECT_EQ(Get32(file, 4), 0xFFFFFFFFu);
    EXPECT_EQ(Get32(file, 42), 0xFFFFFFFFu);

    sink.Reset();  // the last reference finishes the file
    file = ReadBytes(path);
    ASSERT_EQ(file.size(), 86u);
    EXPECT_EQ(Get32(file, 4), 78u);
    EXPECT_EQ(Get32(file, 42), 40u);
    EXPECT_EQ(
        Bytes(file.begin(), file.begin() + 46),
        (Bytes{'R', 'I', 'F', 'F', 78, 0, 0,   0,   'W',  'A',  'V', 'E', 'f',  'm',  't', ' ',
               18,  0,   0,   0,   1,  0, 2,   0,   0x44, 0xAC, 0,   0,   0x10, 0xB1, 2,   0,
               4,   0,   16,  0,   0,  0, 'd', 'a', 't',  'a',  40,  0,   0,    0}));
}

TEST(PcmFile, StartFrameKeepsEarlierFramesAndSeekCutsBack) {
    TempDir dir;
    const std::string path = dir.File("resume.wav");
    std::vector<int32_t> ramp(150);
    for (int32_t i = 0; i < 150; ++i)
        ramp[static_cast<size_t>(i)] = i * 16;
    LWaveFile::CreateSink(path, 8000, 0, 2, 1)->Write(ramp.data(), 150);

    const std::vector<int32_t> tail(10, -32);
    auto sink = LWaveFile::CreateSink(path, 8000, 100, 2, 1);
    EXPECT_EQ(sink->GetPosition(), 100);
    sink->Write(tail.data(), 10);
    EXPECT_TRUE(sink->Finish());
    auto source = LWaveFile::OpenSource(path);
    ASSERT_EQ(source->GetLengthSample(), 110);
    std::vector<int32_t> expected(ramp.begin(), ramp.begin() + 100);
    expected.insert(expected.end(), tail.begin(), tail.end());
    EXPECT_EQ(ReadFrames(*source, 110), expected);

    LTraceCapture trace;
    sink = LWaveFile::CreateSink(path, 8000, 0, 2, 1);
    sink->Write(ramp.data(), 50);
    sink->Seek(60);  // beyond the position: ignored
    EXPECT_TRUE(trace.Contains("LSNKPCMFileBase::Seek Position > sPosition"));
    EXPECT_EQ(sink->GetPosition(), 50);
    sink->Seek(20);
    sink->Write(tail.data(), 5);
    sink.Reset();
    EXPECT_EQ(ReadBytes(path).size(), 46u + 25 * 2);
    sink = LWaveFile::CreateSink(path, 8000, 5, 2, 1);
    sink->Seek(-3);
    EXPECT_TRUE(trace.Contains("LSNKPCMFileBase::Seek Position < 0"));
    EXPECT_EQ(sink->GetPosition(), 0);
}

TEST(PcmFile, SinkFailuresAreStates) {
    LTraceCapture trace;
    TempDir dir;
    const std::vector<int32_t> frames(4096, 1600);

    auto missingFolder = LWaveFile::CreateSink(dir.File("no/such.wav"), 44100, 0, 2, 2);
    EXPECT_TRUE(missingFolder->IsError());
    EXPECT_FALSE(missingFolder->Finish());
    EXPECT_TRUE(trace.Contains("LSNKPCMFileBase::LSNKPCMFileBase unable to open file:"));

    for (int32_t bytes : {0, 5}) {  // unsupported width: the file is not touched
        EXPECT_TRUE(LWaveFile::CreateSink(dir.File("w.wav"), 44100, 0, bytes, 2)->IsError());
        EXPECT_FALSE(std::filesystem::exists(dir.File("w.wav")));
    }
    EXPECT_TRUE(LWaveFile::CreateSink(dir.File("c.wav"), 44100, 0, 2, 0)->IsError());

    if (std::filesystem::exists("/dev/full")) {  // a full disk from the first byte
        auto full = LWaveFile::CreateSink("/dev/full", 44100, 0, 2, 1);
        EXPECT_TRUE(full->IsError());
        EXPECT_TRUE(full->WriteFailed());
        EXPECT_FALSE(full->Finish());
    }

    // A disk that fills up while writing: the file size limit makes writes fail.
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    auto* oldHandler = signal(SIGXFSZ, SIG_IGN);
    rlimit small = old;
    small.rlim_cur = 46 + 1000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    auto sink = LWaveFile::CreateSink(dir.File("full.wav"), 44100, 0, 2, 1);
    sink->Write(frames.data(), 400);
    EXPECT_FALSE(sink->WriteFailed());
    sink->Write(frames.data(), 400);
    EXPECT_TRUE(sink->WriteFailed());
    EXPECT_FALSE(sink->Finish());
    setrlimit(RLIMIT_FSIZE, &old);
    signal(SIGXFSZ, oldHandler);
}

TEST(PcmFile, PumpedSaveReadsBackIdentically) {
    TempDir dir;
    const std::string path = dir.File("tone.wav");
    auto tone = MakeRef<LSRCTone>(44100, 2, 20000, 441.0, 300000);
    auto sink = LWaveFile::CreateSink(path, 44100, 0, 3, 2);
    ASSERT_EQ(LPRSourceToSink(tone, sink).Process(), kJobDone);
    sink.Reset();
    auto source = LWaveFile::OpenSource(path);
    ASSERT_EQ(source->GetLengthSample(), 20000);
    auto original = MakeRef<LSRCTone>(44100, 2, 20000, 441.0, 300000);
    EXPECT_EQ(ReadFrames(*source, 20000), ReadFrames(*original, 20000));
}

}  // namespace
}  // namespace osmera
