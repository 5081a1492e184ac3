// MainDialog: Record (F5). The record window runs the take; this side opens it, puts a
// finished take into its document through the engine's controller, and keeps documents
// from being edited while a take runs.
#include <QStatusBar>

#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "app/record_window.h"

namespace osmera {

LOMRecordWindow& MainDialog::RecordWindow() {
    if (!recordWindow_) {
        recordWindow_ = new LOMRecordWindow(
            &frame_, settings_, prompts_, controller_,
            [this](LOMFile* target, const LCutListAudio& take) { DeliverTake(target, take); });
        connect(recordWindow_, &LOMRecordWindow::takeRunningChanged, this,
                &MainDialog::UpdateCommandStates);
        connect(recordWindow_, &LOMRecordWindow::statusMessage, this,
                [this](const QString& text) { frame_.statusBar()->showMessage(text); });
    }
    return *recordWindow_;
}

bool MainDialog::IsTakeRunning() const {
    return recordWindow_ && recordWindow_->IsTakeRunning();
}

void MainDialog::CmRecord() {
    // The take goes in where the cursor stands; what was playing stops, as on a tape deck.
    StopPlayback();
    RecordWindow().Present();
}

bool MainDialog::RefusedWhileRecording(uint16_t id) {
    if (!IsTakeRunning() || id == kIdRecord || id == kIdExit)
        return false;
    // Views, windows and help leave the documents alone.
    const LCommandRow* row = FindCommand(id);
    if (!row || row->menu == LMenu::kWindow || row->menu == LMenu::kHelp)
        return false;
    frame_.statusBar()->showMessage(
        QStringLiteral("Stop the recording first (Control > Record shows it)."));
    return true;
}

void MainDialog::DeliverTake(LOMFile* target, const LCutListAudio& take) {
    if (!target) {
        OpenAsNewDocument(take, "Record");
        return;
    }
    if (QMdiSubWindow* window = WindowOf(target))
        frame_.ClientArea()->setActiveSubWindow(window);
    controller_.SetCurrent(target);
    ReportEditResult(controller_.CmPasteRecording(take));
}

}  // namespace osmera
