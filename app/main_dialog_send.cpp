// MainDialog: Send... (1009), the current file or its selection by email or upload through
// the Send dialog, which is made once and kept for the session.
#include <QFileInfo>

#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "app/send_dialog.h"

namespace osmera {

void MainDialog::CmSend() {
    const LOMFile* doc = controller_.GetCurrent();
    if (doc == nullptr)
        return;
    auto* dialog = frame_.findChild<LOMSendDialog*>(QStringLiteral("SendDialog"));
    if (dialog == nullptr)
        dialog = new LOMSendDialog(settings_, &frame_);
    const QString stem =
        QFileInfo(QString::fromStdString(doc->GetDisplayName())).completeBaseName();
    dialog->Open(doc->audio, doc->selStart, doc->selEnd, stem.toStdString());
}

}  // namespace osmera
