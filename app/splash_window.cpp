#include "app/splash_window.h"

#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QTimer>

#include "app/background_picture.h"

namespace osmera {

LOMSplashWindow::LOMSplashWindow(QWidget* parent)
    : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint) {
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("SplashWindow"));
    setFixedSize(kBackgroundWidth + 40, kBackgroundHeight + 70);
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        move(screen->availableGeometry().center() - rect().center());
    QTimer::singleShot(kShowMs, this, &QWidget::close);
}

bool LOMSplashWindow::IsWanted(LSettingsStore& settings) {
    return settings.GetInt("Settings", "ShowSplash", 1) != 0;
}

void LOMSplashWindow::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), QColor(236, 239, 244));
    p.setPen(QColor(120, 130, 145));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
    p.drawPixmap(20, 20, BackgroundPicture());
    QFont font = p.font();
    font.setPixelSize(13);
    p.setFont(font);
    p.setPen(QColor(40, 48, 60));
    const QString text = QStringLiteral("%1 %2").arg(QGuiApplication::applicationDisplayName(),
                                                     QGuiApplication::applicationVersion());
    p.drawText(QRect(0, kBackgroundHeight + 28, width(), 22), Qt::AlignCenter, text);
}

void LOMSplashWindow::mousePressEvent(QMouseEvent*) {
    close();
}

}  // namespace osmera
