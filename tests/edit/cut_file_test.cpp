// The cut files on disk, the sink that writes them and the source that reads lists back.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "core/trace.h"
#include "edit/audio_cut_file.h"
#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

namespace fs = std::filesystem;
using testing::CutTankTest;
using testing::Ramp;

std::vector<uint8_t> Bytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The graph records of `samples`, computed independently of the writer.
std::vector<uint8_t> ExpectedGraph(const std::vector<int32_t>& samples, int channels) {
    std::vector<uint8_t> out;
    const size_t frames = samples.size() / channels;
    for (size_t b = 0; b < frames; b += 256) {
        for (int c = 0; c < channels; ++c) {
            int64_t hi = 0, lo = 0;
            for (size_t f = b; f < std::min(frames, b + 256); ++f) {
                hi = std::max<int64_t>(hi, samples[f * channels + c]);
                lo = std::min<int64_t>(lo, samples[f * channels + c]);
            }
            out.push_back(static_cast<uint8_t>(std::min<int64_t>(hi / 2048, 255)));
            out.push_back(static_cast<uint8_t>(std::min<int64_t>(-lo / 2048, 255)));
        }
    }
    return out;
}

using CutFileTest = CutTankTest;

TEST_F(CutFileTest, FileLayout) {
    // 300 stereo frames: 2400 bytes of little-endian samples and two graph records, the
    // second for the last 44 frames. Channel 0 holds full-scale-or-more positives in the
    // first block, channel 1 negatives only; the second block is small on both.
    std::vector<int32_t> s(600);
    for (int f = 0; f < 300; ++f) {
        s[f * 2] = f < 256 ? 524288 + f : 4096 + f;
        s[f * 2 + 1] = f < 256 ? -(f + 1) * 2048 : -2047;
    }
    s[2 * 10] = INT32_MAX;
    s[2 * 20 + 1] = INT32_MIN;
    const LCutListAudio list = Written(s, 2);
    const uint16_t cut = list.GetEntries().at(0).ref;

    const auto aud = Bytes(Tank().GetAudFilePath(cut));
    ASSERT_EQ(aud.size(), 2400u);
    EXPECT_EQ((std::vector<uint8_t>(aud.begin() + 4, aud.begin() + 8)),
              (std::vector<uint8_t>{0x00, 0xf8, 0xff, 0xff}));  // -2048, frame 0 channel 1
    const auto grf = Bytes(Tank().GetGrfFilePath(cut));
    EXPECT_EQ(grf, (std::vector<uint8_t>{255, 0, 0, 255, 2, 0, 0, 0}));
    EXPECT_EQ(grf, ExpectedGraph(s, 2));
}

TEST_F(CutFileTest, GraphOfRandomWritesInRandomPieces) {
    std::mt19937 rng(7);
    for (uint8_t channels : {1, 2}) {
        std::vector<int32_t> s(static_cast<size_t>(3001) * channels);
        for (auto& v : s)
            v = static_cast<int32_t>(rng());
        LCutListAudio list;
        {
            auto sink = list.MakeSink(44100, channels);
            for (size_t f = 0; f < 3001;) {
                const size_t n = std::min<size_t>(3001 - f, rng() % 700 + 1);
                sink->Write(s.data() + f * channels, static_cast<int32_t>(n));
                f += n;
            }
        }
        EXPECT_EQ(Bytes(Tank().GetGrfFilePath(list.GetEntries().at(0).ref)),
                  ExpectedGraph(s, channels));
        EXPECT_EQ(ReadAll(list), s);
    }
}

TEST_F(CutFileTest, SinkSeekCutsBothFilesAndRestartsTheBlock) {
    LCutListAudio list;
    uint16_t cut;
    {
        auto sink = list.MakeSink(44100, 1);
        cut = sink->GetCutNumber();
        const auto loud = std::vector<int32_t>(600, 524288);
        sink->Write(loud.data(), 600);
        sink->Seek(900);  // later than the position: ignored
        EXPECT_EQ(sink->GetPosition(), 600);
        sink->Seek(300);
        const auto quiet = std::vector<int32_t>(100, 2048 * 3);
        sink->Write(quiet.data(), 100);
        EXPECT_FALSE(sink->IsError());
    }
    EXPECT_EQ(list.GetLength(), 400);
    EXPECT_EQ(Bytes(Tank().GetAudFilePath(cut)).size(), 1600u);
    // Block 0 was complete before the seek; the record after it covers frames 300-399 only.
    EXPECT_EQ(Bytes(Tank().GetGrfFilePath(cut)), (std::vector<uint8_t>{255, 0, 3, 0}));
    std::vector<int32_t> expected(300, 524288);
    expected.resize(400, 2048 * 3);
    EXPECT_EQ(ReadAll(list), expected);
}

TEST_F(CutFileTest, ReleasedSinkReplacesTheTarget) {
    LCutListAudio target = Written(Ramp(50, 1), 1);
    target.EfInsertSilence(10, 5);
    const uint16_t old = target.GetEntries()[0].ref;
    {
        auto sink = target.MakeSink(48000, 2);
        const auto s = Ramp(1000, 2, 7);
        sink->Write(s.data(), 1000);
        EXPECT_EQ(target.GetLength(), 55);  // nothing reaches the target before the release
    }
    ASSERT_EQ(target.GetEntries().size(), 1u);
    const LAudioCut& e = target.GetEntries()[0];
    EXPECT_EQ(e.length, 1000);
    EXPECT_EQ(e.start, 0);
    EXPECT_EQ(e.gain, kUnityGain);
    EXPECT_EQ(Tank().GetRefCount(e.ref), 1);
    EXPECT_EQ(Tank().GetRefCount(old), 0);
    EXPECT_EQ(target.GetSampleRate(), 48000u);
    EXPECT_EQ(target.GetChannels(), 2);
    EXPECT_EQ(ReadAll(target), Ramp(1000, 2, 7));

    { auto nothing = target.MakeSink(44100, 1); }  // nothing written: the target is emptied
    EXPECT_TRUE(target.GetEntries().empty());
}

TEST_F(CutFileTest, FailedWritesAreReported) {
    // Creation fails: the sink is unusable from the start and the pump refuses it.
    LTraceCapture trace;
    Tank().SetFolder(dir_.File("missing"));
    LCutListAudio list;
    {
        auto sink = list.MakeSink(44100, 1);
        EXPECT_TRUE(sink->IsError());
        EXPECT_TRUE(trace.Contains("LSNKCutListAudio::LSNKCutListAudio cannot create cut files"));
        auto tone = MakeRef<LSRCSampleVector>(44100, 1, Ramp(100, 1), kPeak16Bit);
        EXPECT_EQ(LPRSourceToSink(tone, sink).Process(), kJobFailed);
    }
    Tank().SetFolder(dir_.Path().string());

    // A full disk: the cut's audio file is the device that is always full.
    if (!fs::exists("/dev/full"))
        GTEST_SKIP() << "no /dev/full";
    ASSERT_EQ(::symlink("/dev/full", dir_.File("0.aud").c_str()), 0);
    {
        auto sink = list.MakeSink(44100, 1);
        ASSERT_EQ(sink->GetCutNumber(), 0);
        EXPECT_FALSE(sink->IsError());
        auto tone = MakeRef<LSRCSampleVector>(44100, 1, Ramp(100, 1), kPeak16Bit);
        EXPECT_EQ(LPRSourceToSink(tone, sink).Process(), kJobDone);
        EXPECT_TRUE(sink->IsError());
        EXPECT_TRUE(sink->HasWriteFailed());
        EXPECT_TRUE(trace.Contains("LSNKCutListAudio::Write write failed"));
    }
    list.Clear();
    EXPECT_FALSE(fs::exists(fs::symlink_status(dir_.File("0.aud"))));
}

TEST_F(CutFileTest, SourceReadsZerosOutsideTheListAndForMissingFiles) {
    const LCutListAudio empty;
    auto none = empty.MakeSource();
    std::vector<int32_t> buf(64, 99);
    none->Read(buf.data(), 64);
    EXPECT_EQ(buf, std::vector<int32_t>(64, 0));
    EXPECT_EQ(none->GetPositionSample(), 64);
    EXPECT_EQ(none->GetLengthSample(), 0);

    LCutListAudio list = Written(Ramp(20, 2), 2);
    std::vector<int32_t> expected(10, 0);
    const auto ramp = Ramp(20, 2);
    expected.insert(expected.end(), ramp.begin(), ramp.end());
    expected.resize(60, 0);
    EXPECT_EQ(ReadList(list, -5, 30), expected);  // 5 frames of zeros before frame 0

    // A cut whose file has gone reads as silence, with a trace.
    LTraceCapture trace;
    fs::remove(Tank().GetAudFilePath(list.GetEntries()[0].ref));
    EXPECT_EQ(ReadAll(list), std::vector<int32_t>(40, 0));
    EXPECT_TRUE(trace.Contains("LSRCCutListAudio::StartEntry cannot open"));
}

TEST_F(CutFileTest, SourceKeepsReadingTheAudioItWasMadeFrom) {
    LCutListAudio list = Written(Ramp(100, 1), 1);
    auto source = list.MakeSource();
    const LCutListAudio snapshot(list);
    list.EfDelete(0, 60);
    list.EfAmplifyAll(0);
    list.EfPaste(10, Written(Ramp(30, 1, 500), 1));
    std::vector<int32_t> buf(100);
    source->Read(buf.data(), 100);
    EXPECT_EQ(buf, Ramp(100, 1));
    EXPECT_EQ(source->GetLengthSample(), 100);
    EXPECT_EQ(ReadAll(snapshot), Ramp(100, 1));
}

TEST(CutGain, MultiplyKeepsThreeOfFourPartialProducts) {
    struct Case {
        int32_t s, g, expected;
    };
    const Case cases[] = {
        {524288, kUnityGain, 524288},
        {-524288, kUnityGain, -524288},
        {1000, kUnityGain * 2, 2000},
        {1000, kUnityGain / 2, 500},
        {4095, kUnityGain / 2, 2047},  // low parts: (4095 * 2048) >> 12
        {-1, kUnityGain / 2, -1},      // arithmetic shifts round toward minus infinity
        {4095, 4095, 0},               // only the dropped low-by-low product remains
        {1 << 20, 0, 0},
        {524288, kMaxGain, 67108863},  // just under 128 times
        {INT32_MAX, kMaxGain, -257},   // wraps
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.s << " * " << c.g);
        EXPECT_EQ(MultiplyByGain(c.s, c.g), c.expected);
    }
}

TEST(CutGain, ScalingDividesFirstAndNeverLeavesSaturation) {
    struct Case {
        int32_t gain, percent, expected;
    };
    const Case cases[] = {
        {kUnityGain, 200, 33554400},  // the last two digits lost by the division
        {kMaxGain, 50, kMaxGain},     // a saturated gain never comes down
        {500000000, 1000, kMaxGain},
        {kUnityGain, 100, kUnityGain},
        {kUnityGain, 0, 0},
        {kUnityGain, 50, 8388600},
        {1073741800, 200, kMaxGain},  // exactly at the limit
                                      // saturates
        {1073741799, 200, 2147483400},
        {kUnityGain, -50, -8388600},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.gain << " at " << c.percent << "%");
        EXPECT_EQ(ScaleGain(c.gain, c.percent), c.expected);
    }
}

}  // namespace
}  // namespace osmera
