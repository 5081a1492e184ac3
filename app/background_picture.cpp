#include "app/background_picture.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "app/desktop_integration.h"

namespace osmera {

namespace {

QPixmap DrawPicture() {
    QPixmap picture(kBackgroundWidth, kBackgroundHeight);
    picture.fill(Qt::transparent);
    QPainter p(&picture);
    p.setRenderHint(QPainter::Antialiasing);

    // A rounded panel with a soft vertical gradient.
    const QRectF panel(4, 4, kBackgroundWidth - 8, kBackgroundHeight - 8);
    QLinearGradient fill(panel.topLeft(), panel.bottomLeft());
    fill.setColorAt(0.0, QColor(58, 74, 98));
    fill.setColorAt(1.0, QColor(28, 36, 50));
    p.setPen(QPen(QColor(20, 26, 36), 2));
    p.setBrush(fill);
    p.drawRoundedRect(panel, 14, 14);

    // A waveform: a decaying tone burst drawn as mirrored min/max columns.
    const double middle = 92;
    QLinearGradient wave(0, middle - 56, 0, middle + 56);
    wave.setColorAt(0.0, QColor(120, 220, 170));
    wave.setColorAt(0.5, QColor(60, 170, 230));
    wave.setColorAt(1.0, QColor(120, 220, 170));
    p.setPen(QPen(QBrush(wave), 2));
    for (int x = 24; x < kBackgroundWidth - 24; x += 3) {
        const double t = (x - 24) / double(kBackgroundWidth - 48);
        const double envelope = std::sin(t * M_PI) * (0.55 + 0.45 * std::sin(t * 23.0));
        const double height = 6 + 50 * std::fabs(envelope * std::cos(t * 61.0));
        p.drawLine(QPointF(x, middle - height), QPointF(x, middle + height));
    }
    p.setPen(QPen(QColor(255, 255, 255, 60), 1));
    p.drawLine(QPointF(20, middle), QPointF(kBackgroundWidth - 20, middle));

    // The product's name under the waveform.
    QFont font;
    font.setPixelSize(34);
    font.setBold(true);
    p.setFont(font);
    p.setPen(QColor(236, 240, 246));
    p.drawText(QRectF(0, 150, kBackgroundWidth, 40), Qt::AlignCenter, QStringLiteral("Osmera"));
    font.setPixelSize(12);
    font.setBold(false);
    p.setFont(font);
    p.setPen(QColor(170, 184, 204));
    p.drawText(QRectF(0, 186, kBackgroundWidth, 18), Qt::AlignCenter,
               QStringLiteral("audio editor"));
    return picture;
}

}  // namespace

const QPixmap& BackgroundPicture() {
    static const QPixmap picture = DrawPicture();
    return picture;
}

QIcon ProgramIcon() {
    return DesktopIcon();
}

QPoint BackgroundOrigin(int width, int height) {
    return QPoint((width - kBackgroundWidth) >> 1, (height - kBackgroundHeight) >> 1);
}

}  // namespace osmera
