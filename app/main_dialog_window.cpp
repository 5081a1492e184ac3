// MainDialog: the Window menu (arranging child windows, zoom, display modes) and Help.
#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QMdiSubWindow>
#include <QUrl>

#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "display/document_model.h"

namespace osmera {

void MainDialog::CmCascade() {
    frame_.ClientArea()->cascadeSubWindows();
}

// Stacked: each window takes the full width, one above the other; otherwise side by side
// at full height. Minimised windows stay where they are.
void MainDialog::TileWindows(bool stacked) {
    QList<QMdiSubWindow*> windows;
    for (QMdiSubWindow* window : frame_.ClientArea()->subWindowList()) {
        if (!window->isMinimized() && window->isVisible())
            windows << window;
    }
    if (windows.isEmpty())
        return;
    const QRect area = frame_.ClientArea()->viewport()->rect();
    const int n = static_cast<int>(windows.size());
    for (int k = 0; k < n; ++k) {
        QMdiSubWindow* window = windows.at(k);
        if (window->isMaximized())
            window->showNormal();
        if (stacked) {
            const int top = area.height() * k / n, bottom = area.height() * (k + 1) / n;
            window->setGeometry(0, top, area.width(), bottom - top);
        } else {
            const int left = area.width() * k / n, right = area.width() * (k + 1) / n;
            window->setGeometry(left, 0, right - left, area.height());
        }
    }
}

void MainDialog::CmTileHorizontal() {
    TileWindows(true);
}

void MainDialog::CmTileVertical() {
    TileWindows(false);
}

// Lines the minimised windows up along the bottom of the client area, left to right.
void MainDialog::CmArrangeIcons() {
    const QRect area = frame_.ClientArea()->viewport()->rect();
    int x = 0;
    int y = area.bottom();
    for (QMdiSubWindow* window : frame_.ClientArea()->subWindowList()) {
        if (!window->isMinimized())
            continue;
        const QSize size = window->size();
        if (x > 0 && x + size.width() > area.width()) {
            x = 0;
            y -= size.height();
        }
        window->move(x, y - size.height() + 1);
        x += size.width();
    }
}

void MainDialog::CmZoomIn() {
    if (LDocumentModel* model = CurrentModel())
        model->ZoomIn();
}

void MainDialog::CmZoomOut() {
    if (LDocumentModel* model = CurrentModel())
        model->ZoomOut();
}

void MainDialog::CmZoomToSelection() {
    if (LDocumentModel* model = CurrentModel())
        model->ZoomToSelection();
}

void MainDialog::CmZoomFull() {
    if (LDocumentModel* model = CurrentModel())
        model->ZoomFull();
}

void MainDialog::CmVerticalZoom() {
    if (LDocumentModel* model = CurrentModel())
        model->VerticalZoom();
}

void MainDialog::CmDisplayPlusMinus() {
    if (LDocumentModel* model = CurrentModel())
        model->SetDisplayMode(LWaveDisplayMode::kPlusMinus);
}

void MainDialog::CmDisplayLeftRight() {
    if (LDocumentModel* model = CurrentModel())
        model->SetDisplayMode(LWaveDisplayMode::kLeftRight);
}

QStringList MainDialog::ManualCandidates() {
    const QDir programDir(QCoreApplication::applicationDirPath());
    QStringList candidates{programDir.filePath(QStringLiteral("manual.html")),
                           programDir.filePath(QStringLiteral("../share/doc/osmera/manual.html"))};
#ifdef OSMERA_SOURCE_DIR
    candidates << QStringLiteral(OSMERA_SOURCE_DIR "/docs/manual.html");
#endif
    return candidates;
}

void MainDialog::CmHelpContents() {
    for (const QString& candidate : ManualCandidates()) {
        if (QFileInfo::exists(candidate)) {
            if (!prompts_.OpenInBrowser(QFileInfo(candidate).absoluteFilePath()))
                prompts_.Warn(QStringLiteral("Osmera"),
                              QStringLiteral("No web browser could show the manual %1.")
                                  .arg(QFileInfo(candidate).absoluteFilePath()));
            return;
        }
    }
    prompts_.Warn(QStringLiteral("Osmera"),
                  QStringLiteral("The manual (manual.html) was not found beside the program."));
}

void MainDialog::CmAbout() {
    prompts_.About(QStringLiteral("About Osmera"),
                   QStringLiteral("<b>Osmera</b> %1<br>A desktop audio editor.<br><br>"
                                  "Licence: GPL-3.0-or-later. This program comes with "
                                  "ABSOLUTELY NO WARRANTY.")
                       .arg(QCoreApplication::applicationVersion()));
}

}  // namespace osmera
