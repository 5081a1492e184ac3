// MainDialog: the Edit menu's commands that the engine's document controller carries out.
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "display/document_model.h"
#include "platform/qt_progress.h"

namespace osmera {

namespace {
constexpr int64_t kDesktopCopySeconds = 600;
}

void MainDialog::CmUndo() {
    controller_.CmUndo();
}

void MainDialog::CmCut() {
    CopySelectionToDesktop();
    ReportEditResult(controller_.CmCut());
}

void MainDialog::CmCopy() {
    CopySelectionToDesktop();
    ReportEditResult(controller_.CmCopy());
}

void MainDialog::CmPaste() {
    ReportEditResult(controller_.CmPaste());
}

void MainDialog::CmDelete() {
    ReportEditResult(controller_.CmDelete());
}

void MainDialog::CmTrim() {
    ReportEditResult(controller_.CmTrim());
}

void MainDialog::CmPasteFromClipboard() {
    LEditResult result;
    {
        ++busy_;
        LQtProgress progress(&frame_);
        result = controller_.CmPasteFromSystemClipboard(clipboard_, &progress);
        --busy_;
    }
    ReportEditResult(result);
}

// Cut and Copy also put the selection on the desktop clipboard as a WAV file, so other
// programs can paste it; a selection longer than ten minutes stays in the editor's own
// clipboard only, so a long cut never waits for a file of hundreds of megabytes.
void MainDialog::CopySelectionToDesktop() {
    const LOMFile* doc = controller_.GetCurrent();
    if (!doc || !(CurrentState() & kNeedsSelection))
        return;
    const int64_t frames = int64_t{doc->selEnd} - doc->selStart;
    if (frames > int64_t{doc->audio.GetSampleRate()} * kDesktopCopySeconds)
        return;
    ++busy_;
    LQtProgress progress(&frame_);
    controller_.CmCopyToSystemClipboard(clipboard_, &progress);
    --busy_;
}

void MainDialog::CmSelectAll() {
    if (LDocumentModel* model = CurrentModel())
        model->SetSelection(0, model->Document().audio.GetLength());
}

void MainDialog::CmSelectToStart() {
    if (LDocumentModel* model = CurrentModel())
        model->SetSelection(0, model->Document().cursor);
}

void MainDialog::CmSelectToEnd() {
    if (LDocumentModel* model = CurrentModel())
        model->SetSelection(model->Document().cursor, model->Document().audio.GetLength());
}

}  // namespace osmera
