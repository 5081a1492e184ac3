#include "display/envelope_editor.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>

#include "display/wave_renderer.h"

namespace osmera {

namespace {

constexpr int kMargin = 6;  // around the plot, so the end points can be grabbed
constexpr int kGrab = 6;    // pixels within which a click takes a point
constexpr int kHandle = 3;  // half the size of a point's square
constexpr size_t kMaxPoints = 255;
constexpr int kUnity = 128;

}  // namespace

LEnvelopeEditor::LEnvelopeEditor(QWidget* parent) : QWidget(parent), points_(FlatPoints()) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(false);
}

QSize LEnvelopeEditor::sizeHint() const {
    return {520, 240};
}

QSize LEnvelopeEditor::minimumSizeHint() const {
    return {160, 80};
}

void LEnvelopeEditor::SetRange(const LCutListAudio& audio, int32_t start, int32_t end) {
    reader_ = std::make_unique<LPeakReader>(audio);
    start_ = std::max(start, 0);
    end_ = std::max(end, start_);
    RenderWave();
    update();
}

void LEnvelopeEditor::SetPoints(const LPointList& points) {
    points_ = points.size() >= 2 ? points : FlatPoints();
    if (points_.size() > kMaxPoints)
        points_.resize(kMaxPoints);
    selected_.reset();
    dragging_ = false;
    update();
    emit pointsChanged();
}

QRect LEnvelopeEditor::Plot() const {
    return rect().adjusted(kMargin, kMargin, -kMargin, -kMargin);
}

QPoint LEnvelopeEditor::ToWidget(const LEnvelopePoint& point) const {
    const QRect plot = Plot();
    const int w = std::max(plot.width() - 1, 1);
    const int h = std::max(plot.height() - 1, 1);
    return {plot.left() + (point.x * w + 127) / 255,
            plot.top() + ((255 - point.y) * h + 127) / 255};
}

LEnvelopePoint LEnvelopeEditor::FromWidget(const QPoint& pos) const {
    const QRect plot = Plot();
    const int w = std::max(plot.width() - 1, 1);
    const int h = std::max(plot.height() - 1, 1);
    const int x = std::clamp(((pos.x() - plot.left()) * 255 + w / 2) / w, 0, 255);
    const int y = std::clamp(255 - ((pos.y() - plot.top()) * 255 + h / 2) / h, 0, 255);
    return {static_cast<uint8_t>(x), static_cast<uint8_t>(y)};
}

std::optional<size_t> LEnvelopeEditor::PointAt(const QPoint& pos) const {
    std::optional<size_t> best;
    int bestDistance = kGrab * kGrab + 1;
    for (size_t i = 0; i < points_.size(); ++i) {
        const QPoint d = ToWidget(points_[i]) - pos;
        const int distance = d.x() * d.x() + d.y() * d.y();
        if (distance < bestDistance) {
            bestDistance = distance;
            best = i;
        }
    }
    return best;
}

void LEnvelopeEditor::MovePoint(size_t i, LEnvelopePoint wanted) {
    LEnvelopePoint& p = points_[i];
    if (i == 0 || i + 1 == points_.size())
        wanted.x = p.x;  // the ends keep their place in the range
    else
        wanted.x = std::clamp(wanted.x, points_[i - 1].x, points_[i + 1].x);
    if (wanted == p)
        return;
    p = wanted;
    update();
    emit pointsChanged();
}

void LEnvelopeEditor::RemovePoint(size_t i) {
    if (i == 0 || i + 1 >= points_.size())
        return;
    points_.erase(points_.begin() + static_cast<std::ptrdiff_t>(i));
    selected_.reset();
    dragging_ = false;
    update();
    emit pointsChanged();
}

void LEnvelopeEditor::mousePressEvent(QMouseEvent* event) {
    const QPoint pos = event->position().toPoint();
    const std::optional<size_t> hit = PointAt(pos);
    if (event->button() == Qt::RightButton) {
        if (hit)
            RemovePoint(*hit);
        return;
    }
    if (event->button() != Qt::LeftButton)
        return;
    if (hit) {
        selected_ = hit;
    } else {
        if (points_.size() >= kMaxPoints)
            return;
        LEnvelopePoint p = FromWidget(pos);
        // Between the first and last points, which hold the range's ends, and after every
        // point at or before its x, so that the list stays in rising x.
        p.x = std::clamp(p.x, points_.front().x, points_.back().x);
        auto at = std::upper_bound(points_.begin() + 1, points_.end() - 1, p.x,
                                   [](uint8_t x, const LEnvelopePoint& q) { return x < q.x; });
        selected_ = static_cast<size_t>(points_.insert(at, p) - points_.begin());
        emit pointsChanged();
    }
    dragging_ = true;
    update();
}

void LEnvelopeEditor::mouseMoveEvent(QMouseEvent* event) {
    if (dragging_ && selected_ && (event->buttons() & Qt::LeftButton))
        MovePoint(*selected_, FromWidget(event->position().toPoint()));
}

void LEnvelopeEditor::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        dragging_ = false;
}

void LEnvelopeEditor::keyPressEvent(QKeyEvent* event) {
    if ((event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) && selected_) {
        RemovePoint(*selected_);
        return;
    }
    QWidget::keyPressEvent(event);
}

void LEnvelopeEditor::resizeEvent(QResizeEvent*) {
    RenderWave();
}

void LEnvelopeEditor::RenderWave() {
    const QRect plot = Plot();
    if (plot.width() < 1 || plot.height() < 1) {
        wave_ = QImage();
        return;
    }
    const LWaveColours colours = LWaveColours::FromPalette(palette());
    wave_ = QImage(plot.size(), QImage::Format_RGB32);
    wave_.fill(colours.background);
    if (!reader_ || end_ <= start_)
        return;
    const int channels = reader_->GetChannels();
    const LWaveLayout layout{channels, LWaveDisplayMode::kPlusMinus, 1};
    const int columns = wave_.width();
    const LFramesPerColumn fpc = LFramesPerColumn::Of(int64_t{end_} - start_, columns);
    std::vector<LPeakRange> peaks;
    reader_->ReadPeaks(fpc, fpc.ColumnOf(start_), columns, peaks);
    std::vector<const LPeakRange*> pointers(static_cast<size_t>(columns));
    for (int x = 0; x < columns; ++x)
        pointers[static_cast<size_t>(x)] = &peaks[static_cast<size_t>(x) * channels];
    LWaveRenderer::DrawColumns(wave_, 0, columns, pointers.data(), layout, colours);
}

void LEnvelopeEditor::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().window());
    const QRect plot = Plot();
    if (!wave_.isNull())
        painter.drawImage(plot.topLeft(), wave_);
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(plot.adjusted(0, 0, -1, -1));

    // Unity gain.
    QPen unity(palette().color(QPalette::Mid), 1, Qt::DashLine);
    painter.setPen(unity);
    const int unityY = ToWidget({0, kUnity}).y();
    painter.drawLine(plot.left(), unityY, plot.right(), unityY);

    // The envelope: from the range start (the first point's x is not used) through every
    // point, then held at the last point's gain to the range end.
    painter.setRenderHint(QPainter::Antialiasing, true);
    const QColor line = palette().color(QPalette::Highlight);
    painter.setPen(QPen(line, 2));
    QPolygon polyline;
    polyline << QPoint(plot.left(), ToWidget(points_.front()).y());
    for (const LEnvelopePoint& p : points_)
        polyline << ToWidget(p);
    polyline << QPoint(plot.right(), ToWidget(points_.back()).y());
    painter.drawPolyline(polyline);

    painter.setRenderHint(QPainter::Antialiasing, false);
    for (size_t i = 0; i < points_.size(); ++i) {
        const QPoint c = ToWidget(points_[i]);
        const QRect handle(c.x() - kHandle, c.y() - kHandle, 2 * kHandle + 1, 2 * kHandle + 1);
        painter.fillRect(handle,
                         selected_ == i ? palette().color(QPalette::HighlightedText) : line);
        painter.setPen(line);
        painter.drawRect(handle.adjusted(0, 0, -1, -1));
    }
}

}  // namespace osmera
