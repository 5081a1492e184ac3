#pragma once
// LEnvelopeEditor: the envelope's points drawn as a line over the waveform of the range the
// envelope will change, edited with the mouse and keyboard.
//
// The widget spans x 0..255 (the position x / 255 in the range) from left to right and
// y 0..255 (the gain y / 128) from bottom to top; a dashed line marks unity (128).
// - A left click away from every point adds one there and grabs it; a left press on a
//   point grabs it. Dragging moves the grabbed point, kept between its neighbours' x; the
//   first and last points keep their x and move only up and down.
// - A right click on a point, or Delete / Backspace with a point selected (the one last
//   grabbed), removes it; the first and last points stay, so there are always at least two.
// - At most 255 points (the point file's count is one byte).
//
// The waveform is read once per size (and per SetRange) from the cuts' peaks, on the GUI
// thread, and kept as an image.
//
// Ownership: an ordinary child widget; its peak reader keeps a private copy of the list.
// Threads: GUI thread only.

#include <QImage>
#include <QWidget>
#include <memory>
#include <optional>

#include "edit/cut_list_audio.h"
#include "edit/peak_reader.h"
#include "effects/level_effects.h"

namespace osmera {

class LEnvelopeEditor : public QWidget {
    Q_OBJECT
  public:
    explicit LEnvelopeEditor(QWidget* parent = nullptr);

    // The waveform drawn behind the points: frames [start, end) of `audio`.
    void SetRange(const LCutListAudio& audio, int32_t start, int32_t end);

    // The points (at least two, in rising x); a list of fewer than two is taken as flat.
    void SetPoints(const LPointList& points);
    const LPointList& Points() const { return points_; }
    // The index of the selected point, if any.
    std::optional<size_t> Selected() const { return selected_; }

    // Widget coordinates of a point's x and y, and back (clamped to 0..255).
    QPoint ToWidget(const LEnvelopePoint& point) const;
    LEnvelopePoint FromWidget(const QPoint& pos) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  signals:
    void pointsChanged();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    // The plot area inside the margins.
    QRect Plot() const;
    // The point within grabbing distance of `pos`, the nearest one.
    std::optional<size_t> PointAt(const QPoint& pos) const;
    // Moves point `i` towards `wanted`, keeping the order and the ends' x.
    void MovePoint(size_t i, LEnvelopePoint wanted);
    void RemovePoint(size_t i);
    void RenderWave();

    std::unique_ptr<LPeakReader> reader_;  // over a private copy of the list
    int32_t start_ = 0;
    int32_t end_ = 0;
    LPointList points_;
    std::optional<size_t> selected_;
    bool dragging_ = false;
    QImage wave_;
};

}  // namespace osmera
