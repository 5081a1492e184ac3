#pragma once
// The read-outs under a file window's waveform: cursor position, selection start, end and
// length, and the file's length, each in the hundredths time form.
//
// Ownership: borrows the model (which must outlive it). GUI thread only.

#include <QLabel>
#include <QWidget>

#include "display/document_model.h"

namespace osmera {

class LPositionReadouts : public QWidget {
    Q_OBJECT
  public:
    explicit LPositionReadouts(LDocumentModel& model, QWidget* parent = nullptr);

    // Reads the model again.
    void Refresh();
    // The text of a read-out: 0 position, 1 start, 2 end, 3 length, 4 file length.
    QString Text(int field) const { return fields_[field]->text(); }

  private:
    LDocumentModel& model_;
    QLabel* fields_[5];
};

}  // namespace osmera
