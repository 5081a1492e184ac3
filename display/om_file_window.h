#pragma once
// The child window of one open file: the waveform of the whole document drawn from the cut
// tank's graph files, an overview strip, a time ruler, a horizontal scroll bar and the
// position / selection / length read-outs. The mouse places the cursor, selects, scrolls
// and zooms through the document's model.
//
// Ownership: borrows the model, which must outlive the window; owns its views. Threads:
// GUI thread only (the views' workers hand their results over to it).

#include <QWidget>

#include "display/document_model.h"

class QScrollBar;

namespace osmera {

class LWaveView;
class LOverviewStrip;
class LTimeRuler;
class LPositionReadouts;

class LOMFileWindow : public QWidget {
    Q_OBJECT
  public:
    explicit LOMFileWindow(LDocumentModel& model, QWidget* parent = nullptr);

    LDocumentModel& Model() { return model_; }

    // The pieces, for the frame's status and for tests.
    LWaveView& WaveView() { return *wave_; }
    LOverviewStrip& Overview() { return *overview_; }
    LPositionReadouts& Readouts() { return *readouts_; }
    QScrollBar& ScrollBar() { return *scroll_; }

  private:
    void SyncScrollBar();

    LDocumentModel& model_;
    LOverviewStrip* overview_;
    LTimeRuler* ruler_;
    LWaveView* wave_;
    QScrollBar* scroll_;
    LPositionReadouts* readouts_;
};

}  // namespace osmera
