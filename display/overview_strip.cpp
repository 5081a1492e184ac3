#include "display/overview_strip.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>

namespace osmera {

LOverviewStrip::LOverviewStrip(LDocumentModel& model, QWidget* parent)
    : QWidget(parent), model_(model), worker_([this] { OnResults(); }) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFixedHeight(44);
    setCursor(Qt::PointingHandCursor);
    connect(&model_, &LDocumentModel::audioChanged, this, [this] { Recompute(); });
    connect(&model_, &LDocumentModel::displayChanged, this, [this] { Recompute(); });
    connect(&model_, &LDocumentModel::viewChanged, this, [this] { update(); });
    connect(&model_, &LDocumentModel::selectionChanged, this, [this] { update(); });
}

LOverviewStrip::~LOverviewStrip() {
    worker_.StopThreadTimed();
}

LFramesPerColumn LOverviewStrip::Fpc() const {
    return LFramesPerColumn::Of(std::max(length_, 1), std::max(width(), 1));
}

void LOverviewStrip::Recompute() {
    reader_ = std::make_shared<LPeakReader>(model_.Document().audio);
    length_ = reader_->GetLength();
    image_ = QImage(std::max(width(), 1), std::max(height(), 1), QImage::Format_RGB32);
    image_.fill(LWaveColours::FromPalette(palette()).background);
    complete_ = false;
    worker_.Cancel();
    LPeakRequest r;
    r.reader = reader_;
    r.generation = ++generation_;
    r.fpc = Fpc();
    r.count = width();
    worker_.Request(std::move(r));
    update();
}

void LOverviewStrip::OnResults() {
    const LWaveColours colours = LWaveColours::FromPalette(palette());
    const LCutListAudio& audio = model_.Document().audio;
    // The strip is small: the modes apply, the vertical zoom does not.
    const LWaveLayout layout{audio.GetChannels(), model_.DisplayMode(), 1};
    for (const LPeakResult& result : worker_.TakeResults()) {
        if (result.request.generation != generation_)
            continue;
        const int n = std::min(result.request.count, image_.width());
        std::vector<const LPeakRange*> columns(static_cast<size_t>(std::max(n, 0)));
        for (int x = 0; x < n; ++x) {
            columns[static_cast<size_t>(x)] =
                length_ > 0 ? &result.peaks[static_cast<size_t>(x) * layout.channels] : nullptr;
        }
        LWaveRenderer::DrawColumns(image_, 0, n, columns.data(), layout, colours);
        complete_ = true;
    }
    update();
}

void LOverviewStrip::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.drawImage(0, 0, image_);
    const LOMFile& doc = model_.Document();
    if (length_ <= 0)
        return;
    const LFramesPerColumn fpc = Fpc();
    auto x = [&](int32_t f) { return static_cast<int>(fpc.FirstColumnFrom(f)); };
    QColor band = palette().color(QPalette::Highlight);
    if (doc.selEnd > doc.selStart) {
        band.setAlpha(80);
        p.fillRect(
            QRect(x(doc.selStart), 0, std::max(1, x(doc.selEnd) - x(doc.selStart)), height()),
            band);
    }
    // The main view's range as a frame.
    QColor frame = palette().color(QPalette::Highlight).darker(130);
    p.setPen(QPen(frame, 1));
    p.setBrush(Qt::NoBrush);
    const int x0 = x(doc.viewStart), x1 = std::max(x0 + 2, x(doc.viewEnd));
    p.drawRect(QRect(x0, 0, x1 - x0 - 1, height() - 1));
    p.setPen(palette().color(QPalette::Dark));
    p.drawLine(0, height() - 1, width() - 1, height() - 1);
}

void LOverviewStrip::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    Recompute();
}

void LOverviewStrip::CentreAt(int x) {
    if (length_ <= 0)
        return;
    const LOMFile& doc = model_.Document();
    const int32_t f = static_cast<int32_t>(Fpc().Boundary(std::clamp(x, 0, width())));
    model_.ScrollTo(f - (doc.viewEnd - doc.viewStart) / 2);
}

void LOverviewStrip::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        CentreAt(static_cast<int>(event->position().x()));
}

void LOverviewStrip::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & Qt::LeftButton)
        CentreAt(static_cast<int>(event->position().x()));
}

}  // namespace osmera
