#pragma once
// The child window of one open file: the waveform of the whole document drawn from the cut
// tank's graph files, an overview strip, a time ruler, a horizontal scroll bar and the
// position / selection / length read-outs. The mouse places the cursor, selects, scrolls
// and zooms through the document's model.
//
// Ownership: borrows the model, which must outlive the window. Threads: GUI thread only.

#include <QWidget>

#include "display/document_model.h"

namespace osmera {

class LOMFileWindow : public QWidget {
    Q_OBJECT
  public:
    explicit LOMFileWindow(LDocumentModel& model, QWidget* parent = nullptr);

    LDocumentModel& Model() { return model_; }

  private:
    LDocumentModel& model_;
};

}  // namespace osmera
