#include "display/wave_renderer.h"

#include <QPainter>
#include <algorithm>

#include "edit/wave_lanes.h"

namespace osmera {

namespace {

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
    return WaveLaneY(value, lane, Lanes(layout), height, layout.scale);
}

void LWaveRenderer::DrawColumn(QImage& image, int x, const LPeakRange* peaks, bool hasData,
                               const LWaveLayout& layout, const LWaveColours& colours) {
    const LPeakRange* column = hasData ? peaks : nullptr;
    DrawColumns(image, x, 1, &column, layout, colours);
}

void LWaveRenderer::DrawColumns(QImage& image, int x0, int count, const LPeakRange* const* columns,
                                const LWaveLayout& layout, const LWaveColours& colours) {
    const int height = image.height();
    const int begin = std::max(x0, 0), end = std::min(x0 + count, image.width());
    if (begin >= end || height <= 0)
        return;
    const int lanes = Lanes(layout);
    const bool leftRight = lanes == 1 && layout.channels == 2;
    const size_t n = static_cast<size_t>(end - begin);
    columns += begin - x0;
    // The wave's rows [top, bottom] of each lane of each column (top > bottom: none).
    std::vector<int> top(n * lanes, 1), bottom(n * lanes, 0);
    for (size_t i = 0; i < n; ++i) {
        const LPeakRange* p = columns[i];
        if (p == nullptr)
            continue;
        for (int lane = 0; lane < lanes; ++lane) {
            const size_t k = i * lanes + lane;
            if (leftRight) {
                // Left channel upward, right channel downward, each as its largest magnitude.
                const int32_t left = std::max(p[0].max, -p[0].min);
                const int32_t right = std::max(p[1].max, -p[1].min);
                top[k] = ValueToY(left, 0, height, layout);
                bottom[k] = ValueToY(-right, 0, height, layout);
            } else {
                top[k] = ValueToY(p[lane].max, lane, height, layout);
                bottom[k] = ValueToY(p[lane].min, lane, height, layout);
            }
        }
    }
    for (int lane = 0; lane < lanes; ++lane) {
        const int laneTop = lane * height / lanes;
        const int laneBottom = (lane + 1) * height / lanes - 1;
        const int mid = ValueToY(0, lane, height, layout);
        for (int y = laneTop; y <= laneBottom; ++y) {
            // Under the wave: the line between lanes, the middle line, or the background.
            const QRgb under = (lane > 0 && y == laneTop) ? colours.laneEdge
                               : y == mid                 ? colours.centre
                                                          : colours.background;
            QRgb* row = reinterpret_cast<QRgb*>(image.scanLine(y)) + begin;
            for (size_t i = 0; i < n; ++i) {
                const size_t k = i * lanes + lane;
                row[i] = columns[i] == nullptr             ? colours.outside
                         : (y >= top[k] && y <= bottom[k]) ? colours.wave
                                                           : under;
            }
        }
    }
}

void LWaveRenderer::DrawFrames(QImage& image, const std::vector<int32_t>& samples,
                               int32_t firstFrame, LFramesPerColumn fpc, int64_t firstColumn,
                               int32_t length, const LWaveLayout& layout,
                               const LWaveColours& colours) {
    const int width = image.width(), height = image.height();
    const int channels = std::max(layout.channels, 1);
    const LPeakRange none[2] = {};
    std::vector<const LPeakRange*> columns(static_cast<size_t>(std::max(width, 0)));
    for (int x = 0; x < width; ++x) {
        const int64_t f = fpc.Boundary(firstColumn + x);
        columns[static_cast<size_t>(x)] = f >= 0 && f < length ? none : nullptr;
    }
    DrawColumns(image, 0, width, columns.data(), layout, colours);
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
