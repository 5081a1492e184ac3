#include "display/time_ruler.h"

#include <QPainter>
#include <cmath>

#include "core/sound_time.h"

namespace osmera {

LTimeRuler::LTimeRuler(LDocumentModel& model, LWaveView& view, QWidget* parent)
    : QWidget(parent), model_(model), view_(view) {
    setFixedHeight(fontMetrics().height() + 8);
    connect(&view_, &LWaveView::gridChanged, this, [this] { update(); });
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
