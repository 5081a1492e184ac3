#include "display/time_ruler.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

#include "core/sound_time.h"

namespace osmera {

LTimeRuler::LTimeRuler(LDocumentModel& model, LWaveView& view, QWidget* parent)
    : QWidget(parent), model_(model), view_(view) {
    // A band for the markers' names above the ticks.
    setFixedHeight(2 * fontMetrics().height() + 10);
    connect(&view_, &LWaveView::gridChanged, this, [this] { update(); });
    // Markers move with edits and undo, and change with the marker commands (which signal
    // a state change).
    connect(&model_, &LDocumentModel::audioChanged, this, [this] { update(); });
    connect(&model_, &LDocumentModel::selectionChanged, this, [this] { update(); });
    connect(&model_, &LDocumentModel::viewChanged, this, [this] { update(); });
}

void LTimeRuler::PaintMarkers(QPainter& p, int64_t firstFrame, double framesPerPixel) {
    const LMarkerList& markers = model_.Document().markers;
    const int band = fontMetrics().height() + 2;
    auto xOf = [&](int32_t frame) { return (frame - firstFrame) / framesPerPixel; };
    QColor span = palette().color(QPalette::Highlight);
    span.setAlpha(70);
    for (const LRegion& region : markers.Regions()) {
        const double x0 = std::max(xOf(region.start), -1.0);
        const double x1 = std::min(xOf(region.end), width() + 1.0);
        if (x1 < 0 || x0 > width())
            continue;
        const QRect r(static_cast<int>(x0), 1, std::max(1, static_cast<int>(x1 - x0)), band);
        p.fillRect(r, span);
        p.setPen(palette().color(QPalette::Highlight));
        p.drawRect(r.adjusted(0, 0, -1, -1));
        p.setPen(palette().color(QPalette::WindowText));
        p.drawText(r.adjusted(3, 0, -2, 0), Qt::AlignVCenter | Qt::AlignLeft,
                   QString::fromStdString(region.name));
    }
    const QColor flag(200, 40, 40);
    for (const LBookmark& mark : markers.Bookmarks()) {
        const double x = xOf(mark.position);
        if (x < -200 || x > width())
            continue;
        const int xi = static_cast<int>(x);
        p.setPen(flag);
        p.drawLine(xi, 1, xi, height() - 1);
        p.fillRect(QRect(xi, 1, 6, 5), flag);
        p.setPen(palette().color(QPalette::WindowText));
        p.drawText(xi + 8, band - 2, QString::fromStdString(mark.name));
    }
}

int32_t LTimeRuler::TickStepMs(double msPerPixel, int minPixels) {
    static constexpr int32_t kSteps[] = {
        1,    2,     5,     10,    20,    50,     100,    200,    500,    1000,    2000,
        5000, 10000, 15000, 30000, 60000, 120000, 300000, 600000, 900000, 1800000, 3600000};
    for (int32_t step : kSteps) {
        if (step / msPerPixel >= minPixels)
            return step;
    }
    return 7200000;
}

void LTimeRuler::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), palette().color(QPalette::Window));
    p.setPen(palette().color(QPalette::Dark));
    p.drawLine(0, height() - 1, width(), height() - 1);
    const LFramesPerColumn fpc = view_.FramesPerColumn();
    const int32_t rate = static_cast<int32_t>(model_.Document().audio.GetSampleRate());
    if (rate <= 0 || model_.Document().viewEnd <= model_.Document().viewStart)
        return;
    const double msPerPixel = fpc.Value() * 1000.0 / rate;
    const QString widest = QString::fromStdString(LSoundTime::FormatHundredths(3599990));
    const int32_t step = TickStepMs(msPerPixel, fontMetrics().horizontalAdvance(widest) + 16);
    const int32_t minor = step / 5 > 0 ? step / 5 : step;
    const int64_t firstFrame = fpc.Boundary(view_.FirstColumn());
    const double firstMs = firstFrame * 1000.0 / rate;
    PaintMarkers(p, firstFrame, fpc.Value());
    p.setPen(palette().color(QPalette::WindowText));
    for (int64_t t = static_cast<int64_t>(std::floor(firstMs / minor)) * minor;; t += minor) {
        const double x = (t - firstMs) / msPerPixel;
        if (x > width())
            break;
        if (x < 0)
            continue;
        const int xi = static_cast<int>(x);
        const bool major = t % step == 0;
        p.drawLine(xi, height() - (major ? 8 : 4), xi, height() - 1);
        if (major) {
            const auto text = LSoundTime::FormatHundredths(static_cast<int32_t>(t));
            p.drawText(xi + 3, height() - 9, QString::fromStdString(text));
        }
    }
}

}  // namespace osmera
