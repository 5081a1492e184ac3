// How fast the file window draws: a one-hour 44.1 kHz stereo 16-bit WAV opened through the
// document controller and shown in a window whose waveform is 1920 pixels wide, on the
// offscreen platform. Prints milliseconds:
//  - from the end of the load to the whole-file waveform drawn;
//  - each repaint while scrolling, at several zoom levels (worst and mean of the steps);
//  - on a ten-hour document, a cut, an undo and a paste with the repaint that follows.
//
//   build/bench/wave_view_bench

#include <stdlib.h>

#include <QApplication>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

#include "display/om_file_window.h"
#include "display/wave_view.h"
#include "edit/audio_cut_tank.h"
#include "edit/document_controller.h"
#include "edit/document_io.h"

namespace osmera {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int32_t kRate = 44100;
constexpr int kWaveWidth = 1920;

double Ms(Clock::time_point a, Clock::time_point b) {
    return std::chrono::duration<double, std::milli>(b - a).count();
}

// A 16-bit stereo WAV of `seconds` seconds: two tones whose loudness changes every second.
bool WriteWav(const std::string& path, int32_t seconds) {
    std::ofstream out(path, std::ios::binary);
    const uint32_t dataBytes = static_cast<uint32_t>(seconds) * kRate * 4;
    auto u32 = [&](uint32_t v) { out.write(reinterpret_cast<const char*>(&v), 4); };
    auto u16 = [&](uint16_t v) { out.write(reinterpret_cast<const char*>(&v), 2); };
    out.write("RIFF", 4);
    u32(36 + dataBytes);
    out.write("WAVEfmt ", 8);
    u32(16);
    u16(1);
    u16(2);
    u32(kRate);
    u32(kRate * 4);
    u16(4);
    u16(16);
    out.write("data", 4);
    u32(dataBytes);
    std::vector<int16_t> second(static_cast<size_t>(kRate) * 2);
    for (int32_t s = 0; s < seconds; ++s) {
        const double level = 3000 + 25000 * std::abs(std::sin(s * 0.37));
        for (int32_t i = 0; i < kRate; ++i) {
            second[2 * i] = static_cast<int16_t>(level * std::sin(i * 2 * M_PI * 440 / kRate));
            second[2 * i + 1] =
                static_cast<int16_t>(level * 0.6 * std::sin(i * 2 * M_PI * 661 / kRate));
        }
        out.write(reinterpret_cast<const char*>(second.data()),
                  static_cast<std::streamsize>(second.size() * 2));
    }
    return static_cast<bool>(out);
}

// Runs the event loop until the main view has every visible column, then paints it.
double DrawnAfter(LOMFileWindow& window, Clock::time_point start) {
    while (!window.WaveView().IsComplete())
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    window.WaveView().repaint();
    return Ms(start, Clock::now());
}

struct Window {
    explicit Window(LOMFile& doc) : model(doc), window(model) {
        window.resize(kWaveWidth + 200, 500);
        window.show();
        QApplication::processEvents();
        window.resize(window.width() + kWaveWidth - window.WaveView().width(), 500);
        QApplication::processEvents();
    }
    LDocumentModel model;
    LOMFileWindow window;
};

void ScrollAt(Window& w, const char* name, int32_t span) {
    LOMFile& doc = w.model.Document();
    w.model.SetView(doc.audio.GetLength() / 3, doc.audio.GetLength() / 3 + span);
    DrawnAfter(w.window, Clock::now());
    double worst = 0, total = 0;
    const int steps = 30;
    for (int i = 0; i < steps; ++i) {
        const auto t = Clock::now();
        w.model.ScrollTo(doc.viewStart + span / 10);
        const double ms = DrawnAfter(w.window, t);
        worst = std::max(worst, ms);
        total += ms;
    }
    const auto t = Clock::now();
    w.model.ZoomIn();
    const double zoom = DrawnAfter(w.window, t);
    std::printf("  %-28s scroll worst %6.2f ms, mean %6.2f ms; zoom in %6.2f ms\n", name, worst,
                total / steps, zoom);
}

int Run(const std::string& folder) {
    LAudioCutTank::Instance().SetFolder(folder);
    const std::string wav = folder + "/hour.wav";
    std::printf("writing a one-hour stereo WAV...\n");
    if (!WriteWav(wav, 3600)) {
        std::printf("cannot write %s\n", wav.c_str());
        return 1;
    }
    LMemorySettingsStore settings;
    settings.SetInt("Settings", "AutoPlaybackAfterEffects", 0);
    LDocumentController controller(settings);
    {
        // The editor has shown windows before a file loads: warm Qt's fonts and styles up.
        LOMFile empty(kRate, 2);
        Window warm(empty);
    }
    auto t = Clock::now();
    std::string message;
    if (controller.OpenDocument(wav, nullptr, &message) != kJobDone) {
        std::printf("open failed: %s\n", message.c_str());
        return 1;
    }
    std::filesystem::remove(wav);
    std::printf("load (engine, not the view): %.0f ms\n", Ms(t, Clock::now()));

    LOMFile& hour = *controller.GetCurrent();
    {
        const auto r0 = Clock::now();
        LPeakReader reader(hour.audio);
        std::vector<LPeakRange> peaks;
        reader.ReadPeaks(LFramesPerColumn::Of(hour.audio.GetLength(), kWaveWidth), 0, kWaveWidth,
                         peaks);
        std::printf("peak reader alone, whole hour: %.2f ms\n", Ms(r0, Clock::now()));
    }
    t = Clock::now();
    {
        Window w(hour);
        const double shown = Ms(t, Clock::now());
        std::printf(
            "one hour, 1920 columns: whole file drawn %.2f ms after the load (target 50;"
            " %.2f ms of it making and showing the window)\n",
            DrawnAfter(w.window, t), shown);
        std::printf("repaints while scrolling (target 16 ms):\n");
        ScrollAt(w, "whole file / 8", hour.audio.GetLength() / 8);
        ScrollAt(w, "one minute", 60 * kRate);
        ScrollAt(w, "five seconds", 5 * kRate);
        ScrollAt(w, "256 frames/column (graph)", 256 * kWaveWidth);
        ScrollAt(w, "40 frames/column (samples)", 40 * kWaveWidth);
        ScrollAt(w, "single frames", kWaveWidth / 8);
    }

    // Ten hours: the hour ten times over (the same cut, so no more disk).
    LOMFile& ten = controller.NewDocument(kRate, 2);
    for (int i = 0; i < 10; ++i)
        ten.audio.EfPaste(ten.audio.GetLength(), hour.audio);
    ten.ZoomAll();
    Window w(ten);
    DrawnAfter(w.window, Clock::now());
    const int32_t middle = ten.audio.GetLength() / 2;
    auto edit = [&](const char* name, auto command) {
        const auto start = Clock::now();
        command();
        w.model.NotifyAudioChanged(std::min(ten.selStart, ten.cursor), -1);
        std::printf("  %-6s and repaint: %6.2f ms\n", name, DrawnAfter(w.window, start));
    };
    std::printf("ten hours, whole file in view (target 20 ms):\n");
    ten.SetSelection(middle, middle + kRate);
    edit("cut", [&] { controller.CmCut(); });
    edit("undo", [&] { controller.CmUndo(); });
    ten.cursor = middle / 2;
    ten.SetSelection(middle / 2, middle / 2);
    edit("paste", [&] { controller.CmPaste(); });
    return 0;
}

}  // namespace
}  // namespace osmera

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    std::string pattern = (std::filesystem::temp_directory_path() / "osmera-wave-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        return 1;
    const int result = osmera::Run(pattern);
    osmera::LAudioCutTank::Instance().Reset();
    std::filesystem::remove_all(pattern);
    return result;
}
