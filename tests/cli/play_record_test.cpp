// End-to-end checks of osmera-cli devices, play and record, on the virtual devices (no
// sound hardware is needed).

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

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

std::vector<int32_t> ReadAll(const std::string& path, int32_t* rate = nullptr) {
    LSourceRef s = OpenAudioSource(path);
    if (rate)
        *rate = s->GetSampleRate();
    std::vector<int32_t> v(static_cast<size_t>(s->GetLengthSample()) * s->GetChannels());
    s->Read(v.data(), s->GetLengthSample());
    return v;
}

TEST(PlayRecordCli, PlaysToAFileDeviceAndRecordsFromAFileInput) {
    testing::TempDir dir;
    const std::string in = dir.File("in.wav");
    {
        auto sink = LWaveFile::CreateSink(in, 8000, 0, 2, 1);
        LPRSourceToSink(MakeRef<LSRCTone>(8000, 1, 12345, 440.0, 300000), sink).Process();
    }
    const auto original = ReadAll(in);

    // Playing reproduces the file, from --from on.
    EXPECT_EQ(Cli("play " + Q(in) + " --device file:" + Q(dir.File("out.wav")) + " --fast").code,
              0);
    EXPECT_EQ(ReadAll(dir.File("out.wav")), original);
    EXPECT_EQ(
        Cli("play " + Q(in) + " --from 1 --device file:" + Q(dir.File("from.wav")) + " --fast")
            .code,
        0);
    EXPECT_EQ(ReadAll(dir.File("from.wav")),
              std::vector<int32_t>(original.begin() + 8000, original.end()));

    // Recording from the file at once keeps its length and rate (the tone has no DC, so
    // the recorder's DC filter keeps its energy).
    const std::string rec = dir.File("rec.wav");
    ASSERT_EQ(Cli("record " + Q(rec) + " --input-file " + Q(in) + " --fast").code, 0);
    int32_t rate = 0;
    const auto recorded = ReadAll(rec, &rate);
    EXPECT_EQ(rate, 8000);
    ASSERT_EQ(recorded.size(), original.size());
    double a = 0, b = 0;
    for (size_t i = 0; i < original.size(); ++i) {
        a += static_cast<double>(original[i]) * original[i];
        b += static_cast<double>(recorded[i]) * recorded[i];
    }
    EXPECT_NEAR(b / a, 1.0, 0.05);

    // --seconds limits the take; --rate and --channels set its format.
    ASSERT_EQ(Cli("record " + Q(rec) + " --input-file " + Q(in) +
                  " --fast --seconds 1 --rate 16000 --channels 2")
                  .code,
              0);
    EXPECT_EQ(ReadAll(rec, &rate).size(), 16000u * 2);
    EXPECT_EQ(rate, 16000);
}

TEST(PlayRecordCli, ListsDevicesAndRejectsBadArguments) {
    testing::TempDir dir;
    const testing::CliResult devices = Cli("devices");
    EXPECT_EQ(devices.code, 0);
    EXPECT_NE(devices.out.find("  0  [Default Sound Out]"), std::string::npos);
    EXPECT_NE(devices.out.find("  0  [Default Sound In]"), std::string::npos);

    EXPECT_EQ(Cli("play").code, 2);
    EXPECT_EQ(Cli("play x.wav --device nine").code, 2);
    EXPECT_EQ(Cli("play " + Q(dir.File("missing.wav"))).code, 1);
    EXPECT_EQ(Cli("record " + Q(dir.File("r.wav")) + " --threshold 300").code, 2);
    EXPECT_EQ(Cli("record " + Q(dir.File("r.wav")) + " --device file:x.wav").code, 2);
    EXPECT_EQ(Cli("record " + Q(dir.File("no/such/dir/r.wav")) + " --input-file " +
                  Q(dir.File("missing.wav")))
                  .code,
              1);
}

}  // namespace
}  // namespace osmera
