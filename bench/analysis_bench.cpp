// The analysers' speed on documents as the editor holds them (cut lists over ".aud" files):
// the spectrogram of a one-hour stereo document at 1920 columns (the whole hour across a
// wide window; target under 2 s) and the spectrum of a one-minute selection at FFT size
// 8192 (target under 100 ms). The hour is one minute of noisy tones pasted sixty times, so
// reads go through the cut list and its files as a user's do. Prints milliseconds.
//
//   build-bench/bench/analysis_bench

#include <stdlib.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <numbers>
#include <random>
#include <vector>

#include "edit/audio_cut_tank.h"
#include "edit/cut_list_audio.h"
#include "edit/snk_cut_list_audio.h"
#include "edit/src_cut_list_audio.h"
#include "effects/spectrogram.h"
#include "effects/spectrum_analysis.h"

namespace osmera {
namespace {

constexpr int32_t kRate = 44100;

double Millis(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - since)
        .count();
}

LCutListAudio OneMinute() {
    std::mt19937 random(1);
    std::normal_distribution<double> noise(0.0, 3000.0);
    std::vector<int32_t> samples(static_cast<size_t>(kRate) * 2 * 60);
    for (size_t i = 0; i < samples.size() / 2; ++i) {
        const double t = static_cast<double>(i) / kRate;
        const double v = 150000 * std::sin(2 * std::numbers::pi * (440 + 20 * t) * t);
        samples[i * 2] = static_cast<int32_t>(v + noise(random)) & ~15;
        samples[i * 2 + 1] = static_cast<int32_t>(0.5 * v + noise(random)) & ~15;
    }
    LCutListAudio list;
    auto sink = list.MakeSink(kRate, 2);
    sink->Write(samples.data(), static_cast<int32_t>(samples.size() / 2));
    return list;
}

int Run() {
    std::string pattern = (std::filesystem::temp_directory_path() / "osmera-bench-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) {
        std::fprintf(stderr, "no temporary folder\n");
        return 1;
    }
    LAudioCutTank::Instance().SetFolder(pattern);
    {
        LCutListAudio minute = OneMinute();
        LCutListAudio hour;
        for (int i = 0; i < 60; ++i)
            hour.EfPaste(hour.GetLength(), minute);

        for (int pass = 0; pass < 2; ++pass) {  // the first pass also fills the page cache
            auto start = std::chrono::steady_clock::now();
            LSpectrogramAnalyser analyser(hour.MakeSource(), {});
            std::vector<float> out;
            const int32_t columns = 1920;
            analyser.ComputeColumns(LFramesPerColumn::Of(hour.GetLength(), columns), 0, columns,
                                    out);
            std::printf("spectrogram, 1 hour stereo, 1920 columns, FFT 2048: %8.1f ms%s\n",
                        Millis(start), pass == 0 ? " (cold)" : "");

            start = std::chrono::steady_clock::now();
            LSpectrum spectrum;
            AnalyseSpectrum(hour.MakeSource(), kRate * 600, kRate * 660,
                            {8192, LFftWindow::kHann, false}, spectrum);
            std::printf("spectrum, 1 minute stereo selection, FFT 8192:       %8.1f ms%s\n",
                        Millis(start), pass == 0 ? " (cold)" : "");
        }
    }
    LAudioCutTank::Instance().Reset();
    std::error_code ec;
    std::filesystem::remove_all(pattern, ec);
    return 0;
}

}  // namespace
}  // namespace osmera

int main() {
    return osmera::Run();
}
