#pragma once
// The overview strip of a file window: the whole document's waveform in one narrow band,
// with the selection and the range the main view shows marked. Clicking or dragging in it
// centres the main view there.
//
// Ownership: borrows the model (which must outlive it); owns its worker. GUI thread only.

#include <QImage>
#include <QWidget>
#include <memory>

#include "display/document_model.h"
#include "display/peak_worker.h"
#include "display/wave_renderer.h"

namespace osmera {

class LOverviewStrip : public QWidget {
    Q_OBJECT
  public:
    explicit LOverviewStrip(LDocumentModel& model, QWidget* parent = nullptr);
    ~LOverviewStrip() override;

    // True when the whole strip is computed and drawn.
    bool IsComplete() const { return complete_ && !model_.HasPending(); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

  private:
    void Recompute();
    void OnResults();
    void CentreAt(int x);
    LFramesPerColumn Fpc() const;

    LDocumentModel& model_;
    LPeakWorker worker_;
    // The latest snapshot, kept until the next one is made so that the cuts both show keep
    // their coarse peaks across an edit.
    std::shared_ptr<LPeakReader> reader_;
    uint64_t generation_ = 0;
    int32_t length_ = 0;
    QImage image_;
    bool complete_ = false;
};

}  // namespace osmera
