#include "app/document_sub_window.h"

#include <QCloseEvent>

#include "app/background_picture.h"

namespace osmera {

LOMDocumentSubWindow::LOMDocumentSubWindow(std::function<bool()> queryClose,
                                           std::function<void()> closed, QWidget* parent)
    : QMdiSubWindow(parent), queryClose_(std::move(queryClose)), closed_(std::move(closed)) {
    setAttribute(Qt::WA_DeleteOnClose);
    // The program's own picture in the title bar (and in the menu bar when maximised).
    setWindowIcon(ProgramIcon());
}

void LOMDocumentSubWindow::closeEvent(QCloseEvent* event) {
    if (queryClose_ && !queryClose_()) {
        event->ignore();
        return;
    }
    if (closed_) {
        auto closed = std::move(closed_);
        closed_ = nullptr;
        closed();
    }
    QMdiSubWindow::closeEvent(event);
}

}  // namespace osmera
