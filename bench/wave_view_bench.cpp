// How fast the file window draws, on the offscreen platform, with a waveform 1920 pixels
// wide. Qt's fonts and styles are warmed up first with a throwaway window on a short
// document, so that the figures are this program's own work. Prints milliseconds, each
// with its target:
//  - a one-hour 44.1 kHz stereo 16-bit WAV opened through the document controller: from
//    the end of the load to the whole-file waveform drawn (window made, shown, every column
//    of the main view and of the overview computed and painted);
//  - each repaint while scrolling (30 steps of a tenth of the view) and zooming in and out,
//    at several zoom levels from the whole file down to single frames (worst and mean);
//  - a ten-hour document (the hour ten times over): a cut, an undo and a paste with the
//    repaint that follows, with the whole file in view and at closer zoom levels.
// The machine's load (from /proc/loadavg) is printed too: on a busy machine the figures
// grow.
//
//   build/bench/wave_view_bench

#include <stdlib.h>

#include <QApplication>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

#include "display/om_file_window.h"
#include "display/overview_strip.h"
#include "display/wave_view.h"
#include "edit/audio_cut_tank.h"
#include "edit/document_controller.h"
#include "edit/document_io.h"
#include "edit/snk_cut_list_audio.h"

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

// Runs the event loop (sleeping while nothing happens) until the main view and the overview
// have every column, then paints the window. The time since `start`, or -1 after 10 s.
double DrawnAfter(LOMFileWindow& window, Clock::time_point start) {
    QTimer tick;  // wakes the loop now and then, so that a lost result cannot hang the bench
    tick.start(50);
    while (!(window.WaveView().IsComplete() && window.Overview().IsComplete())) {
        if (Ms(start, Clock::now()) > 10000)
            return -1;
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    window.repaint();
    return Ms(start, Clock::now());
}

// The frame the file windows live in, as the editor's frame holds its document windows:
// made and shown once, during the warm-up.
QWidget& Frame() {
    static QWidget* frame = [] {
        auto* f = new QWidget;
        auto* layout = new QVBoxLayout(f);
        layout->setContentsMargins(0, 0, 0, 0);
        f->resize(kWaveWidth + 200, 500);
        f->show();
        QApplication::processEvents();
        return f;
    }();
    return *frame;
}

struct Window {
    explicit Window(LOMFile& doc) : model(doc), window(model, &Frame()) {
        QWidget& frame = Frame();
        frame.layout()->addWidget(&window);
        window.show();
        QApplication::processEvents();
        // The waveform exactly 1920 pixels wide, whatever the frame and margins take.
        frame.resize(frame.width() + kWaveWidth - window.WaveView().width(), 500);
        QApplication::processEvents();
    }
    LDocumentModel model;
    LOMFileWindow window;
};

std::string Load() {
    std::ifstream in("/proc/loadavg");
    std::string a, b, c;
    in >> a >> b >> c;
    return a + " " + b + " " + c;
}

// Worst, mean and median of a series of milliseconds (a step that timed out counts -1).
struct Figures {
    std::vector<double> ms;
    void Add(double v) { ms.push_back(v); }
    double Worst() const {
        double w = 0;
        for (double v : ms)
            w = (v < 0 || w < 0) ? -1 : std::max(w, v);
        return w;
    }
    double Mean() const {
        double total = 0;
        for (double v : ms)
            total += v;
        return ms.empty() ? 0 : total / static_cast<double>(ms.size());
    }
    double Median() const {
        std::vector<double> sorted = ms;
        std::sort(sorted.begin(), sorted.end());
        return sorted.empty() ? 0 : sorted[sorted.size() / 2];
    }
};

void ScrollAndZoomAt(Window& w, const char* name, int32_t span) {
    LOMFile& doc = w.model.Document();
    w.model.SetView(doc.audio.GetLength() / 3, doc.audio.GetLength() / 3 + span);
    DrawnAfter(w.window, Clock::now());
    Figures scroll, zoom;
    for (int i = 0; i < 30; ++i) {
        const auto t = Clock::now();
        w.model.ScrollTo(doc.viewStart + (i < 20 ? span / 10 : -span / 10));
        scroll.Add(DrawnAfter(w.window, t));
    }
    for (int i = 0; i < 4; ++i) {
        const auto t = Clock::now();
        if (i % 2 == 0)
            w.model.ZoomIn();
        else
            w.model.ZoomOut();
        zoom.Add(DrawnAfter(w.window, t));
    }
    std::printf("  %-27s scroll worst %6.2f mean %6.2f; zoom in/out worst %6.2f ms (target 16)\n",
                name, scroll.Worst(), scroll.Mean(), zoom.Worst());
}

// A few seconds of a tone in a throwaway document, drawn in a throwaway window.
void WarmUp() {
    LOMFile doc(kRate, 2);
    {
        std::vector<int32_t> s(static_cast<size_t>(kRate) * 2 * 3);
        for (size_t i = 0; i < s.size(); ++i)
            s[i] = static_cast<int32_t>(200000 * std::sin(static_cast<double>(i) * 0.01));
        auto sink = doc.audio.MakeSink(kRate, 2);
        sink->Write(s.data(), static_cast<int32_t>(s.size() / 2));
    }
    doc.ZoomAll();
    Window warm(doc);
    DrawnAfter(warm.window, Clock::now());
    warm.model.ZoomIn();
    DrawnAfter(warm.window, Clock::now());
}

int Run(const std::string& folder) {
    LAudioCutTank::Instance().SetFolder(folder);
    const std::string wav = folder + "/hour.wav";
    std::printf("machine load before: %s (2 cores shared)\n", Load().c_str());
    std::printf("writing a one-hour stereo WAV...\n");
    if (!WriteWav(wav, 3600)) {
        std::printf("cannot write %s\n", wav.c_str());
        return 1;
    }
    LMemorySettingsStore settings;
    settings.SetInt("Settings", "AutoPlaybackAfterEffects", 0);
    LDocumentController controller(settings);
    WarmUp();
    auto t = Clock::now();
    std::string message;
    if (controller.OpenDocument(wav, nullptr, &message) != kJobDone) {
        std::printf("open failed: %s\n", message.c_str());
        return 1;
    }
    std::filesystem::remove(wav);
    std::printf("load (engine, not measured against a target): %.0f ms\n", Ms(t, Clock::now()));

    LOMFile& hour = *controller.GetCurrent();
    t = Clock::now();
    {
        Window w(hour);
        const double shown = Ms(t, Clock::now());
        const double drawn = DrawnAfter(w.window, t);
        std::printf(
            "one hour: whole file drawn %.2f ms after the load (target 50; %.2f ms of it"
            " making and showing the window)\n",
            drawn, shown);
        std::printf("repaints on a one-hour file, %d columns:\n", kWaveWidth);
        ScrollAndZoomAt(w, "whole file / 8", hour.audio.GetLength() / 8);
        ScrollAndZoomAt(w, "one minute", 60 * kRate);
        ScrollAndZoomAt(w, "five seconds", 5 * kRate);
        ScrollAndZoomAt(w, "256 frames/column (graph)", 256 * kWaveWidth);
        ScrollAndZoomAt(w, "40 frames/column (samples)", 40 * kWaveWidth);
        ScrollAndZoomAt(w, "single frames", kWaveWidth / 8);
    }

    // Ten hours: the hour ten times over (the same cut, so no more disk).
    LOMFile& ten = controller.NewDocument(kRate, 2);
    for (int i = 0; i < 10; ++i)
        ten.audio.EfPaste(ten.audio.GetLength(), hour.audio);
    ten.ZoomAll();
    Window w(ten);
    DrawnAfter(w.window, Clock::now());
    auto edit = [&](auto command) {
        const auto start = Clock::now();
        command();
        w.model.NotifyAudioChanged(std::min(ten.selStart, ten.cursor), -1);
        return DrawnAfter(w.window, start);
    };
    std::printf("ten hours, edit and repaint, median and worst of 5 (target 20 ms):\n");
    struct Level {
        const char* name;
        int32_t span;  // 0: the whole file
    };
    for (const Level& level : {Level{"whole file", 0}, Level{"one hour", 3600 * kRate},
                               Level{"one minute", 60 * kRate}, Level{"five seconds", 5 * kRate}}) {
        Figures cut, undo, paste;
        for (int i = 0; i < 5; ++i) {
            const int32_t middle = ten.audio.GetLength() / 2;
            const int32_t span = level.span > 0 ? level.span : ten.audio.GetLength();
            if (level.span > 0)
                w.model.SetView(middle - span / 2, middle + span / 2);
            else
                w.model.ZoomFull();
            DrawnAfter(w.window, Clock::now());
            ten.SetSelection(middle, middle + span / 20);
            cut.Add(edit([&] { controller.CmCut(); }));
            undo.Add(edit([&] { controller.CmUndo(); }));
            ten.cursor = middle - span / 4;
            ten.SetSelection(ten.cursor, ten.cursor);
            paste.Add(edit([&] { controller.CmPaste(); }));
            edit([&] { controller.CmUndo(); });  // the document keeps its length
        }
        std::printf("  %-13s cut %6.2f (%6.2f), undo %6.2f (%6.2f), paste %6.2f (%6.2f) ms\n",
                    level.name, cut.Median(), cut.Worst(), undo.Median(), undo.Worst(),
                    paste.Median(), paste.Worst());
    }
    std::printf("machine load after: %s\n", Load().c_str());
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
