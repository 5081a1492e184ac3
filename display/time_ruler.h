#pragma once
// The time ruler above a file window's main view: ticks at a round step of time chosen so
// that labels do not crowd, labelled in the hundredths time form, and above them the
// document's markers: regions as shaded spans with their names, bookmarks as small flags
// with a line down to the ticks and their names.
//
// Ownership: borrows the main view whose grid it follows. GUI thread only.

#include <QWidget>

class QPainter;

#include "display/wave_view.h"

namespace osmera {

class LTimeRuler : public QWidget {
    Q_OBJECT
  public:
    LTimeRuler(LDocumentModel& model, LWaveView& view, QWidget* parent = nullptr);

    // The tick step in milliseconds for a view of `msPerPixel` (labels at least
    // `minPixels` apart).
    static int32_t TickStepMs(double msPerPixel, int minPixels);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void PaintMarkers(QPainter& p, int64_t firstFrame, double framesPerPixel);

    LDocumentModel& model_;
    LWaveView& view_;
};

}  // namespace osmera
