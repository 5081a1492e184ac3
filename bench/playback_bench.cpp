// How the editor behaves while it plays a ten-hour document, on the offscreen platform and
// the null output device running in real time. Prints:
//  - play positions per second handed to the file window (target: at least 20);
//  - the longest gap between the ticks of a 1 ms timer on the GUI thread while playing,
//    starting, jumping with Fast Forward and Rewind, pausing, resuming and stopping
//    (target: below 50 ms).
// The ten-hour document is one minute of 44.1 kHz stereo repeated six hundred times in
// its cut list, as pasting would make it. The machine's load is printed too.
//
//   build/bench/playback_bench

#include <stdlib.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "app/editor_transport.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "devices/sound_devices.h"
#include "edit/audio_cut_tank.h"
#include "formats/wave_file.h"
#include "platform/qt_clipboard_exchange.h"

namespace osmera {
namespace {

constexpr int32_t kRate = 44100;

bool WriteMinute(const std::string& path) {
    LRef<LSNKPCMFileBase> sink = LWaveFile::CreateSink(path, kRate, 0, 2, 2);
    if (sink->IsError())
        return false;
    std::vector<int32_t> block(2 * kRate);
    for (int s = 0; s < 60; ++s) {
        for (int32_t i = 0; i < kRate; ++i) {
            const double t = double(s * kRate + i) / kRate;
            block[2 * i] = static_cast<int32_t>(200000 * std::sin(2 * M_PI * 440 * t));
            block[2 * i + 1] = static_cast<int32_t>(100000 * std::sin(2 * M_PI * 660 * t));
        }
        sink->Write(block.data(), kRate);
    }
    return sink->Finish();
}

// Runs the event loop for `ms`, tracking the longest gap between 1 ms ticks.
class StallMeter {
  public:
    StallMeter() {
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.setInterval(1);
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            const qint64 now = clock_.nsecsElapsed();
            if (last_ >= 0)
                worst_ = std::max(worst_, now - last_);
            last_ = now;
        });
        clock_.start();
        timer_.start();
    }
    void Run(int ms) {
        QElapsedTimer t;
        t.start();
        while (t.elapsed() < ms)
            QApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    }
    // Counts the time the GUI thread spends in `work` as a gap too.
    template <class F>
    void Do(F&& work) {
        work();
        QApplication::processEvents();
    }
    double WorstMs() const { return worst_ / 1e6; }
    // The worst gap since the last call, for the phase breakdown.
    double TakePhaseMs() {
        const double ms = (worst_ - phaseBase_) > 0 ? worst_ / 1e6 : 0.0;
        phaseBase_ = worst_;
        return ms;
    }

  private:
    QTimer timer_;
    QElapsedTimer clock_;
    qint64 last_ = -1;
    qint64 worst_ = 0;
    qint64 phaseBase_ = 0;
};

int Run() {
    const std::filesystem::path dir =
        std::filesystem::temp_directory_path() / ("osmera_play_bench_" + std::to_string(getpid()));
    std::filesystem::create_directories(dir);
    LAudioCutTank::Instance().SetFolder(dir.string());
    const std::string minute = (dir / "minute.wav").string();
    if (!WriteMinute(minute)) {
        std::fprintf(stderr, "cannot write %s\n", minute.c_str());
        return 1;
    }
    int rc = 0;
    {
        LMemorySettingsStore settings;
        settings.SetText("Folders", "Current", dir.string());
        LMDIMainWindow frame;
        LQtUserPrompts prompts(&frame);
        LQtClipboardExchange clipboard;
        MainDialog main(frame, settings, prompts, clipboard);
        main.Transport().SetDeviceOpener(VirtualOutOpener(1.0));
        frame.resize(1600, 900);
        frame.show();
        if (!main.OpenFile(QString::fromStdString(minute))) {
            std::fprintf(stderr, "cannot open %s\n", minute.c_str());
            return 1;
        }
        LOMFile& doc = *main.Controller().GetCurrent();
        const std::vector<LAudioCut> one = doc.audio.GetEntries();
        for (int k = 1; k < 600; ++k) {
            for (const LAudioCut& cut : one)
                doc.audio.AppendEntry(cut);
        }
        doc.cursor = doc.audio.GetLength() / 2;  // five hours in
        doc.viewStart = doc.cursor - 10 * kRate;
        doc.viewEnd = doc.cursor + 10 * kRate;  // twenty seconds in view: pages turn
        main.DocumentChanged(doc);
        StallMeter warm;
        warm.Run(1500);  // the waveform computed and drawn first

        int64_t shown = 0;
        QObject::connect(&main.Transport(), &LEditorTransport::positionShown,
                         [&shown](int32_t) { ++shown; });
        StallMeter meter;
        QElapsedTimer playing;
        meter.Do([&] { main.Dispatch(kIdPlay); });
        playing.start();
        meter.Run(3000);
        std::printf("  new worst while starting and playing: %.1f ms\n", meter.TakePhaseMs());
        const double perSecond = shown * 1000.0 / std::max<qint64>(playing.elapsed(), 1);
        meter.Do([&] { main.Dispatch(kIdFastForward); });
        meter.Run(500);
        std::printf("  new worst after fast forward: %.1f ms\n", meter.TakePhaseMs());
        meter.Do([&] { main.Dispatch(kIdRewind); });
        meter.Run(500);
        std::printf("  new worst after rewind: %.1f ms\n", meter.TakePhaseMs());
        meter.Do([&] { main.PauseAction()->trigger(); });
        meter.Run(300);
        meter.Do([&] { main.PauseAction()->trigger(); });
        meter.Run(500);
        std::printf("  new worst around pause and resume: %.1f ms\n", meter.TakePhaseMs());
        meter.Do([&] { main.Dispatch(kIdStop); });
        meter.Run(200);
        std::printf("  new worst at stop: %.1f ms\n", meter.TakePhaseMs());

        double load = 0;
        std::ifstream("/proc/loadavg") >> load;
        std::printf("document: %.1f hours, %zu entries; machine load %.2f\n",
                    doc.audio.GetLength() / double(kRate) / 3600.0, doc.audio.GetEntries().size(),
                    load);
        std::printf("play positions to the window: %.1f per second (target >= 20)\n", perSecond);
        std::printf("longest GUI-thread stall while playing: %.1f ms (target < 50)\n",
                    meter.WorstMs());
        rc = perSecond >= 20 && meter.WorstMs() < 50 ? 0 : 2;
    }
    LAudioCutTank::Instance().Reset();
    std::filesystem::remove_all(dir);
    return rc;
}

}  // namespace
}  // namespace osmera

int main(int argc, char** argv) {
    if (!getenv("QT_QPA_PLATFORM"))
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QApplication app(argc, argv);
    return osmera::Run();
}
