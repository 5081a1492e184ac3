#include "app/mdi_main_window.h"

#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QPainter>
#include <QStatusBar>
#include <QUrl>

#include "app/background_picture.h"

namespace osmera {

LMDIClientArea::LMDIClientArea(QWidget* parent) : QMdiArea(parent) {
    setBackground(palette().brush(QPalette::Dark));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
}

void LMDIClientArea::paintEvent(QPaintEvent* event) {
    QMdiArea::paintEvent(event);  // the background brush
    QPainter painter(viewport());
    const QSize size = viewport()->size();
    painter.drawPixmap(BackgroundOrigin(size.width(), size.height()), BackgroundPicture());
}

LMDIMainWindow::LMDIMainWindow(QWidget* parent)
    : QMainWindow(parent), client_(new LMDIClientArea(this)) {
    setWindowTitle(QStringLiteral("Osmera"));
    setObjectName(QStringLiteral("LMMWC"));
    setCentralWidget(client_);
    setAcceptDrops(true);
    statusBar()->setSizeGripEnabled(true);
    resize(1000, 680);
}

void LMDIMainWindow::CloseWithoutAsking() {
    closeWithoutAsking_ = true;
    close();
}

bool LMDIMainWindow::event(QEvent* event) {
    // Status-bar help is the controller's: it shows descriptions for a while and leaves the
    // text alone for items without one, which Qt's own status tips would clear.
    if (event->type() == QEvent::StatusTip)
        return true;
    return QMainWindow::event(event);
}

void LMDIMainWindow::closeEvent(QCloseEvent* event) {
    if (!closeWithoutAsking_ && closeHandler_ && !closeHandler_()) {
        event->ignore();
        return;
    }
    event->accept();
    emit frameClosed();
}

void LMDIMainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void LMDIMainWindow::dropEvent(QDropEvent* event) {
    QStringList paths;
    for (const QUrl& url : event->mimeData()->urls()) {
        if (url.isLocalFile())
            paths << url.toLocalFile();
    }
    if (paths.isEmpty())
        return;
    event->acceptProposedAction();
    emit filesDropped(paths);
}

}  // namespace osmera
