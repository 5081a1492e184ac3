// osmera-cli image and spectrum, checked on what they write.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <sstream>

#include "cli/png_image.h"
#include "cli/run_folder.h"
#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "edit/document_io.h"
#include "edit/peak_reader.h"
#include "edit/wave_lanes.h"
#include "formats/wave_file.h"
#include "tests/cli/cli_runner.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::Cli;
using testing::Q;

// A stereo WAV whose channels differ: a decaying 300 Hz tone left, a 1 kHz tone right.
void WriteTwoTones(const std::string& path, int32_t rate, int32_t frames) {
    std::vector<int32_t> s(static_cast<size_t>(frames) * 2);
    for (int32_t i = 0; i < frames; ++i) {
        const double t = static_cast<double>(i) / rate;
        s[static_cast<size_t>(i) * 2] = static_cast<int32_t>(
            500000 * std::exp(-2 * t) * std::sin(2 * std::numbers::pi * 300 * t));
        s[static_cast<size_t>(i) * 2 + 1] =
            static_cast<int32_t>(200000 * std::sin(2 * std::numbers::pi * 1000 * t));
    }
    auto sink = LWaveFile::CreateSink(path, rate, 0, 2, 2);
    LPRSourceToSink(MakeRef<LSRCSampleVector>(rate, 2, std::move(s)), sink).Process();
}

TEST(CliImage, WaveformColumnsAreTheViewsColumns) {
    testing::TempDir dir;
    const std::string wav = dir.File("in.wav"), png = dir.File("out.png");
    const int32_t frames = 44100 * 2;
    WriteTwoTones(wav, 44100, frames);
    const int width = 317, height = 214;
    ASSERT_EQ(Cli("image " + Q(wav) + " " + Q(png) + " --width 317 --height 214").code, 0);
    cli::LPngImage image;
    ASSERT_TRUE(cli::ReadPng(png, image));
    ASSERT_EQ(image.width, width);
    ASSERT_EQ(image.height, height);

    // The columns the editor's views read for the same file at the same zoom.
    cli::LRunFolder folder(dir.Path().string());
    ASSERT_TRUE(folder.IsReady());
    LCutListAudio list;
    ASSERT_EQ(LoadAudioFile(wav, list, nullptr), kJobDone);
    std::vector<LPeakRange> peaks;
    {
        LPeakReader reader(list);
        reader.ReadPeaks(LFramesPerColumn::Of(frames, width), 0, width, peaks);
    }
    const uint32_t wave = image.At(width / 2, WaveLaneY(0, 1, 2, height - 14, 1));
    const int plot = height - 14;  // above the time axis
    for (int x = 0; x < width; ++x) {
        for (int lane = 0; lane < 2; ++lane) {
            const LPeakRange& p = peaks[static_cast<size_t>(x) * 2 + lane];
            const int y0 = WaveLaneY(p.max, lane, 2, plot, 1);
            const int y1 = WaveLaneY(p.min, lane, 2, plot, 1);
            // The wave fills exactly [y0, y1] of the lane.
            const int top = lane * plot / 2 + (lane > 0 ? 1 : 0), bottom = (lane + 1) * plot / 2;
            for (int y = top; y < bottom; ++y)
                ASSERT_EQ(image.At(x, y) == wave, y >= y0 && y <= y1)
                    << "column " << x << " row " << y << " lane " << lane;
        }
    }
    // The axis line under the plot runs across, in ink.
    for (int x = 0; x < width; ++x)
        ASSERT_EQ(image.At(x, plot), 0x202020u);
}

TEST(CliImage, SpectrogramSizeRangeAndBadArguments) {
    testing::TempDir dir;
    const std::string wav = dir.File("in.wav"), png = dir.File("s.png");
    WriteTwoTones(wav, 44100, 44100);
    ASSERT_EQ(Cli("image " + Q(wav) + " " + Q(png) +
                  " --spectrogram --width 100 --height 120 --from 0.2 --to 0.8")
                  .code,
              0);
    cli::LPngImage image;
    ASSERT_TRUE(cli::ReadPng(png, image));
    EXPECT_EQ(image.width, 100);
    EXPECT_EQ(image.height, 120);
    // The louder 300 Hz tone makes the brightest row; the 1 kHz one stands above 10 kHz.
    const int plot = 120 - 14;
    int best = 0;
    auto lightness = [&](int y) {
        const uint32_t p = image.At(50, y);
        return ((p >> 16) & 0xff) + ((p >> 8) & 0xff) + (p & 0xff);
    };
    for (int y = 0; y < plot; ++y)
        if (lightness(y) > lightness(best))
            best = y;
    auto rowOf = [&](double hz) { return plot - 1 - static_cast<int>(plot * hz / 22050); };
    EXPECT_NEAR(best, rowOf(300.0), 1);
    EXPECT_GT(lightness(rowOf(1000.0)), lightness(rowOf(10000.0)) + 100);
    // Bad requests leave an existing picture alone.
    EXPECT_EQ(Cli("image " + Q(wav) + " " + Q(png) + " --from 5").code, 2);
    EXPECT_EQ(Cli("image " + Q(wav) + " " + Q(png) + " --spectrogram --fft 1000").code, 2);
    EXPECT_EQ(Cli("image " + Q(dir.File("none.wav")) + " " + Q(png)).code, 1);
    ASSERT_TRUE(cli::ReadPng(png, image));
    EXPECT_EQ(image.width, 100);
}

TEST(CliSpectrum, PeaksAndCsv) {
    testing::TempDir dir;
    const std::string wav = dir.File("in.wav");
    WriteTwoTones(wav, 44100, 44100);
    auto r = Cli("spectrum " + Q(wav) + " --peaks 1 --window flat-top --csv");
    ASSERT_EQ(r.code, 0);
    std::istringstream lines(r.out);
    std::string header, left, right;
    std::getline(lines, header);
    std::getline(lines, left);
    std::getline(lines, right);
    EXPECT_EQ(header, "channel,frequency_hz,level_db,note");
    double hz = 0, db = 0;
    ASSERT_EQ(std::sscanf(left.c_str(), "1,%lf,%lf", &hz, &db), 2) << left;
    EXPECT_NEAR(hz, 300.0, 3.0);
    // 200000 of 524288 is -8.37 dB.
    ASSERT_EQ(std::sscanf(right.c_str(), "2,%lf,%lf", &hz, &db), 2) << right;
    EXPECT_NEAR(hz, 1000.0, 3.0);
    EXPECT_NEAR(db, -8.37, 0.5);
    r = Cli("spectrum " + Q(wav) + " --fft 256 --combined --csv");
    ASSERT_EQ(r.code, 0);
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1 + 129);
    EXPECT_EQ(r.out.substr(0, 22), "frequency_hz,level_db\n");
    EXPECT_EQ(Cli("spectrum " + Q(wav) + " --window hamming").code, 2);
}

}  // namespace
}  // namespace osmera
