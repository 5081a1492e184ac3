#pragma once
// The Frequency Analysis window: the averaged spectrum (effects/spectrum_analysis.h) of a
// document's selection, or of one window around the cursor when nothing is selected, or
// around the play position while the document plays (refreshed a few times a second). A
// plot with a dB grid on a linear or logarithmic frequency axis, the FFT size, window and
// channel choice, the frequency, level and nearest note under the pointer, a list of the
// highest peaks, and the values exported as CSV.
//
// A selection longer than kMaxAnalysedSeconds is analysed over its first
// kMaxAnalysedSeconds, so the GUI never waits long; the window says so.
//
// Ownership: borrows the model (which must outlive it). Threads: GUI thread only.

#include <QTimer>
#include <QWidget>

#include "display/document_model.h"
#include "effects/spectrum_analysis.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QListWidget;

namespace osmera {

class LSpectrumPlot : public QWidget {
    Q_OBJECT
  public:
    explicit LSpectrumPlot(QWidget* parent = nullptr);

    void SetSpectrum(const LSpectrum* spectrum, bool logAxis);
    // The frequency at x, and the x of a frequency, on the current axis.
    double FrequencyAt(int x) const;
    int XOf(double frequency) const;
    // The y of a level (top 0 dB, bottom kBottomDb).
    int YOf(float db) const;
    static constexpr float kBottomDb = -120.0f;

  signals:
    void pointerMoved(double frequency);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

  private:
    const LSpectrum* spectrum_ = nullptr;
    bool log_ = true;
};

class LOMSpectrumWindow : public QWidget {
    Q_OBJECT
  public:
    static constexpr int kMaxAnalysedSeconds = 120;

    explicit LOMSpectrumWindow(LDocumentModel& model, QWidget* parent = nullptr);

    // Analyses the current range again (done on every change; public for tests).
    void Recompute();
    const LSpectrum& Spectrum() const { return spectrum_; }
    const std::vector<LSpectrumPeak>& Peaks() const { return peaks_; }
    LSpectrumPlot& Plot() { return *plot_; }
    // The pointer's readout at `frequency`: "1000.0 Hz  -6.0 dB  B5 +21 ct".
    QString ReadoutAt(double frequency) const;
    QString Readout() const;
    // Writes "frequency_hz,<curve>_db..." rows; false with a sentence in `error`.
    bool ExportCsv(const QString& path, QString* error) const;
    void SetFftSize(int n);
    void SetWindow(LFftWindow window);

  private:
    void AskExport();

    LDocumentModel& model_;
    LSpectrumPlot* plot_;
    QComboBox* fft_;
    QComboBox* window_;
    QComboBox* axis_;
    QCheckBox* combined_;
    QLabel* readout_;
    QLabel* range_;
    QListWidget* peakList_;
    QTimer playTimer_;
    LSpectrum spectrum_;
    std::vector<LSpectrumPeak> peaks_;
};

}  // namespace osmera
