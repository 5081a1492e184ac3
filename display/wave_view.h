#pragma once
// The main waveform view of a file window: min/max per pixel column of the document's audio,
// per channel lanes, the selection as a highlighted band and the cursor as a line.
//
// Columns lie on the peak reader's fixed grid for the current frames per column (the view's
// span over its width); the view keeps an image of its columns keyed by (frames per column,
// first column) with each column's state, so that painting only blits: scrolling moves the
// image and asks for the columns that came into view, an edit asks for the columns it
// changed, and a zoom asks for all. A worker thread computes the columns from a snapshot of
// the audio; below one frame per column it reads single frames, drawn as points and lines.
//
// Mouse: click places the cursor, drag selects (scrolling when dragged past an edge),
// shift+click extends the selection, double-click selects all, the wheel scrolls and
// ctrl+wheel zooms around the pointer. While the model allows scrubbing (playback paused)
// a plain drag scrubs instead: the play line follows the pointer and the model asks the
// transport for the sound there.
//
// The play position is drawn as a second line in the highlight colour; moving it repaints
// only the strips of the old and the new line.
//
// Ownership: borrows the model (which must outlive it); owns its worker. GUI thread only.

#include <QImage>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <vector>

#include "display/document_model.h"
#include "display/peak_worker.h"
#include "display/wave_renderer.h"

namespace osmera {

class LWaveView : public QWidget {
    Q_OBJECT
  public:
    explicit LWaveView(LDocumentModel& model, QWidget* parent = nullptr);
    ~LWaveView() override;

    LFramesPerColumn FramesPerColumn() const { return fpc_; }
    int64_t FirstColumn() const { return first_; }
    // The frame under column x (clamped to the audio), and the column where frame f starts.
    int32_t FrameAt(int x) const;
    int64_t XOfFrame(int64_t frame) const;
    // True when every visible column is computed and drawn.
    bool IsComplete() const;
    // The peaks of column x (one per channel), or null while it is not computed.
    const LPeakRange* ColumnPeaks(int x) const;

  signals:
    // The frames per column or the first column changed.
    void gridChanged();
    // Computed columns were drawn.
    void drawn();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    enum State : uint8_t { kMissing, kRequested, kDone };

    void OnAudioChanged(int32_t from, int32_t to);
    // Brings the grid, the image and the column states in line with the model's view.
    void SyncGrid(bool force = false);
    void RequestMissing();
    void OnResults();
    // Draws columns [x0, x1) from their peaks (flat while not computed).
    void RenderColumns(int x0, int x1);
    void RenderAll();
    bool ColumnHasData(int x) const;
    LWaveLayout Layout() const;
    void DragTo(int x);
    void AutoScroll();
    void OnPlayPositionChanged();
    // The column of the play line, or -1 when none is in view.
    int PlayLineX() const;

    LDocumentModel& model_;
    LPeakWorker worker_;
    std::shared_ptr<LPeakReader> reader_;
    uint64_t generation_ = 1;
    int channels_ = 1;
    int32_t length_ = 0;

    LFramesPerColumn fpc_;
    int64_t first_ = 0;
    bool valid_ = false;       // the view holds at least one frame and one column
    bool framesMode_ = false;  // less than one frame per column
    std::vector<LPeakRange> peaks_;
    std::vector<State> state_;
    std::vector<int32_t> samples_;
    int32_t samplesFrom_ = 0;
    State samplesState_ = kMissing;
    QImage image_;
    LWaveColours colours_;
    LWaveLayout drawnLayout_;

    bool dragging_ = false;
    bool scrubbing_ = false;
    int playX_ = -1;  // where the play line was last drawn
    int32_t anchor_ = 0;
    int lastX_ = 0;
    QTimer autoScroll_;
};

}  // namespace osmera
