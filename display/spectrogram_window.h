#pragma once
// The Temporal Frequency Analysis window: the spectrogram of a document's visible range as
// a coloured picture (the perceptual map of effects/colour_map.h), frequency rising on a
// linear, logarithmic or mel axis, with the FFT size, overlap, window and dB range to
// choose. It shows what the file window shows: zooming (wheel with Ctrl) and scrolling
// (wheel) here move the document's view, which the file window follows, and the other way
// round; dragging selects in the document, whose selection is drawn over the picture.
//
// Columns are computed on a worker (spectrogram_worker.h) and appear as they come; they are
// kept in a cache keyed by column on the current grid, so scrolling back and forth, or
// repainting, computes nothing again. Edits, new settings and a new zoom empty the cache.
//
// Ownership: borrows the model (which must outlive it). Threads: GUI thread only.

#include <QWidget>
#include <memory>
#include <unordered_map>
#include <vector>

#include "display/document_model.h"
#include "effects/spectrogram.h"

class QComboBox;

namespace osmera {

class LSpectrogramWorker;

enum class LFrequencyAxis { kLinear, kLogarithmic, kMel };

class LSpectrogramView : public QWidget {
    Q_OBJECT
  public:
    explicit LSpectrogramView(LDocumentModel& model, QWidget* parent = nullptr);
    ~LSpectrogramView() override;

    void SetSettings(const LSpectrogramSettings& settings);
    const LSpectrogramSettings& Settings() const { return settings_; }
    void SetAxis(LFrequencyAxis axis);
    // True when every visible column has been computed.
    bool IsComplete() const;
    // The frequency at row `y` (the middle of the row).
    double FrequencyAtRow(int y) const;
    // The level of the cached column at `x` at `frequency`; the floor when not computed.
    float LevelAt(int x, double frequency) const;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    void Restart();  // new analyser: the audio or the settings changed
    void TakeResults();
    void RequestMissing();
    LFramesPerColumn Grid() const;
    int64_t FirstColumn() const;
    int32_t FrameAt(int x) const;
    // Row edge `y` (0 top .. height) as a frequency.
    double EdgeFrequency(double y) const;

    LDocumentModel& model_;
    LSpectrogramSettings settings_;
    LFrequencyAxis axis_ = LFrequencyAxis::kLogarithmic;
    std::unique_ptr<LSpectrogramWorker> worker_;
    std::shared_ptr<LSpectrogramAnalyser> analyser_;
    uint64_t generation_ = 0;
    LFramesPerColumn cachedGrid_;
    std::unordered_map<int64_t, std::vector<float>> cache_;
    std::vector<std::pair<int64_t, int64_t>> asked_;  // column runs queued and not yet back
    int32_t anchor_ = 0;                              // where a selecting drag started
};

class LOMSpectrogramWindow : public QWidget {
    Q_OBJECT
  public:
    explicit LOMSpectrogramWindow(LDocumentModel& model, QWidget* parent = nullptr);

    LSpectrogramView& View() { return *view_; }

  private:
    void Apply();

    LSpectrogramView* view_;
    QComboBox* fft_;
    QComboBox* overlap_;
    QComboBox* window_;
    QComboBox* axis_;
    QComboBox* range_;
};

}  // namespace osmera
