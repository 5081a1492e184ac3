#include "display/wave_renderer.h"

#include <QPainter>
#include <algorithm>

namespace osmera {

namespace {

constexpr int64_t kFullScale = 524288;

int Lanes(const LWaveLayout& layout) {
    return layout.mode == LWaveDisplayMode::kLeftRight && layout.channels == 2
               ? 1
               : std::max(layout.channels, 1);
}

}  // namespace

LWaveColours LWaveColours::FromPalette(const QPalette& palette) {
    const QColor base = palette.color(QPalette::Base);
    const QColor highlight = palette.color(QPalette::Highlight);
    // The wave in the highlight hue, dark enough to stand out on the base colour.
    const QColor wave = highlight.lightness() > 140 ? highlight.darker(160) : highlight;
    return {base.rgb(), wave.rgb(), palette.color(QPalette::Mid).rgb(),
            palette.color(QPalette::Window).darker(108).rgb(), palette.color(QPalette::Dark).rgb()};
}

int LWaveRenderer::ValueToY(int32_t value, int lane, int height, const LWaveLayout& layout) {
    const int lanes = Lanes(layout);
    const int top = lane * height / lanes;
    const int bottom = (lane + 1) * height / lanes - 1;
    const int mid = (top + bottom + 1) / 2;
    const int64_t half = std::max(1, (bottom - top) / 2);
    const int64_t dy = int64_t{value} * layout.scale * half / kFullScale;
    return static_cast<int>(std::clamp<int64_t>(mid - dy, top, bottom));
}

void LWaveRenderer::DrawColumn(QImage& image, int x, const LPeakRange* peaks, bool hasData,
                               const LWaveLayout& layout, const LWaveColours& colours) {
    const int height = image.height();
    if (x < 0 || x >= image.width() || height <= 0)
        return;
    QRgb* bits = reinterpret_cast<QRgb*>(image.bits()) + x;
    const qsizetype stride = image.bytesPerLine() / 4;
    auto fill = [&](int y0, int y1, QRgb c) {  // rows [y0, y1]
        y0 = std::max(y0, 0);
        y1 = std::min(y1, height - 1);
        for (int y = y0; y <= y1; ++y)
            bits[y * stride] = c;
    };
    if (!hasData) {
        fill(0, height - 1, colours.outside);
        return;
    }
    fill(0, height - 1, colours.background);
    const int lanes = Lanes(layout);
    for (int lane = 0; lane < lanes; ++lane) {
        const int mid = ValueToY(0, lane, height, layout);
        fill(mid, mid, colours.centre);
        if (lane > 0)
            fill(lane * height / lanes, lane * height / lanes, colours.laneEdge);
        if (lanes == 1 && layout.channels == 2) {
            // Left channel upward, right channel downward, each as its largest magnitude.
            const int32_t left = std::max(peaks[0].max, -peaks[0].min);
            const int32_t right = std::max(peaks[1].max, -peaks[1].min);
            fill(ValueToY(left, 0, height, layout), mid, colours.wave);
            fill(mid, ValueToY(-right, 0, height, layout), colours.wave);
            continue;
        }
        const LPeakRange& p = peaks[lane];
        fill(ValueToY(p.max, lane, height, layout), ValueToY(p.min, lane, height, layout),
             colours.wave);
    }
}

void LWaveRenderer::DrawFrames(QImage& image, const std::vector<int32_t>& samples,
                               int32_t firstFrame, LFramesPerColumn fpc, int64_t firstColumn,
                               int32_t length, const LWaveLayout& layout,
                               const LWaveColours& colours) {
    const int width = image.width(), height = image.height();
    const int channels = std::max(layout.channels, 1);
    const LPeakRange none[2] = {};
    for (int x = 0; x < width; ++x) {
        const int64_t f = fpc.Boundary(firstColumn + x);
        DrawColumn(image, x, none, f >= 0 && f < length, layout, colours);
    }
    const int64_t frames = static_cast<int64_t>(samples.size()) / channels;
    if (frames == 0)
        return;
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    const double columnsPerFrame = 1.0 / fpc.Value();
    const LWaveLayout lanes{layout.channels, LWaveDisplayMode::kPlusMinus, layout.scale};
    const bool leftRight = Lanes(layout) == 1 && channels == 2;
    for (int ch = 0; ch < channels; ++ch) {
        QPolygonF line;
        for (int64_t i = 0; i < frames; ++i) {
            const int64_t f = firstFrame + i;
            if (f < 0 || f >= length)
                continue;
            const double x =
                (static_cast<double>(f) + 0.5) * columnsPerFrame - static_cast<double>(firstColumn);
            int32_t v = samples[static_cast<size_t>(i * channels + ch)];
            int y;
            if (leftRight) {
                v = std::abs(v) * (ch == 0 ? 1 : -1);
                y = ValueToY(v, 0, height, layout);
            } else {
                y = ValueToY(v, ch, height, lanes);
            }
            line << QPointF(x, y);
        }
        p.setPen(QPen(QColor(colours.wave), 1.0));
        p.drawPolyline(line);
        if (columnsPerFrame >= 4) {  // frames far apart: mark each one
            p.setBrush(QColor(colours.wave));
            for (const QPointF& pt : line)
                p.drawEllipse(pt, 2.0, 2.0);
        }
    }
}

}  // namespace osmera
