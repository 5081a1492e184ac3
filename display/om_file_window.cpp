#include "display/om_file_window.h"

#include <QFrame>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>

#include "display/overview_strip.h"
#include "display/position_readouts.h"
#include "display/time_ruler.h"
#include "display/wave_view.h"

namespace osmera {

LOMFileWindow::LOMFileWindow(LDocumentModel& model, QWidget* parent)
    : QWidget(parent), model_(model) {
    setMinimumSize(320, 160);
    LOMFile& doc = model_.Document();
    if (doc.viewEnd <= doc.viewStart || doc.viewEnd > doc.audio.GetLength())
        model_.ZoomFull();

    overview_ = new LOverviewStrip(model_, this);
    wave_ = new LWaveView(model_, this);
    ruler_ = new LTimeRuler(model_, *wave_, this);
    scroll_ = new QScrollBar(Qt::Horizontal, this);
    readouts_ = new LPositionReadouts(model_, this);

    // The waveform and its ruler sit in one sunken panel, as a native editor's document does.
    auto* panel = new QFrame(this);
    panel->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    auto* inner = new QVBoxLayout(panel);
    inner->setContentsMargins(1, 1, 1, 1);
    inner->setSpacing(0);
    inner->addWidget(ruler_);
    inner->addWidget(wave_, 1);
    inner->addWidget(scroll_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(2);
    layout->addWidget(overview_);
    layout->addWidget(panel, 1);
    layout->addWidget(readouts_);

    connect(scroll_, &QScrollBar::valueChanged, this, [this](int v) { model_.ScrollTo(v); });
    connect(&model_, &LDocumentModel::viewChanged, this, &LOMFileWindow::SyncScrollBar);
    connect(&model_, &LDocumentModel::audioChanged, this, &LOMFileWindow::SyncScrollBar);
    SyncScrollBar();
}

void LOMFileWindow::SyncScrollBar() {
    const LOMFile& doc = model_.Document();
    const int32_t span = std::max(doc.viewEnd - doc.viewStart, 1);
    const QSignalBlocker block(scroll_);
    scroll_->setRange(0, std::max(0, doc.audio.GetLength() - span));
    scroll_->setPageStep(span);
    scroll_->setSingleStep(std::max(1, span / 16));
    scroll_->setValue(doc.viewStart);
}

}  // namespace osmera
