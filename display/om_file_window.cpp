#include "display/om_file_window.h"

namespace osmera {

LOMFileWindow::LOMFileWindow(LDocumentModel& model, QWidget* parent)
    : QWidget(parent), model_(model) {
    setMinimumSize(320, 160);
}

}  // namespace osmera
