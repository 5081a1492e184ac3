#pragma once
// The time ruler above a file window's main view: ticks at a round step of time chosen so
// that labels do not crowd, labelled in the hundredths time form.
//
// Ownership: borrows the main view whose grid it follows. GUI thread only.

#include <QWidget>

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
    LDocumentModel& model_;
    LWaveView& view_;
};

}  // namespace osmera
