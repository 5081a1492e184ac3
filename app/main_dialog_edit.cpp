// MainDialog: the Edit menu's commands that the engine's document controller carries out.
#include "app/edit_dialogs.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "core/sound_time.h"
#include "display/document_model.h"
#include "platform/qt_progress.h"

namespace osmera {

namespace {

constexpr int64_t kDesktopCopySeconds = 600;

// A time text as frames at `rate`; false for text the time dialogs would refuse.
bool FramesOfTime(const QString& text, uint32_t rate, int32_t& frames) {
    int32_t ms = 0;
    if (!ParseTimeText(text, ms))
        return false;
    LSoundTime time;
    time.SetMilliseconds(ms, static_cast<int32_t>(rate));
    frames = time.GetSamples();
    return frames >= 0;
}

QString TimeTextOf(int32_t frames, uint32_t rate) {
    return TimeText(LSoundTime(frames, static_cast<int32_t>(rate)).GetMilliseconds());
}

}  // namespace

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

void MainDialog::CmTrimStart() {
    ReportEditResult(controller_.CmTrimStart());
}

void MainDialog::CmTrimEnd() {
    ReportEditResult(controller_.CmTrimEnd());
}

void MainDialog::CmSilence() {
    ReportEditResult(controller_.CmSilence());
}

void MainDialog::CmSelectRegion() {
    LDocumentModel* model = CurrentModel();
    if (!model)
        return;
    // A document with regions offers them first (main_dialog_markers.cpp).
    if (AskRegionToSelect())
        return;
    const LOMFile& doc = model->Document();
    const uint32_t rate = doc.audio.GetSampleRate();
    QStringList texts = {TimeTextOf(doc.selStart, rate), TimeTextOf(doc.selEnd, rate)};
    if (!prompts_.AskTimes(QStringLiteral("Select Region"),
                           {QStringLiteral("Start:"), QStringLiteral("End:")}, texts))
        return;
    int32_t start = 0;
    int32_t end = 0;
    if (texts.size() != 2 || !FramesOfTime(texts.at(0), rate, start) ||
        !FramesOfTime(texts.at(1), rate, end))
        return;
    model->SetSelection(start, end);
    model->SetCursor(std::min(start, end));
}

void MainDialog::CmMarkFirst() {
    SetMark(0);
}

void MainDialog::CmMarkSecond() {
    SetMark(1);
}

void MainDialog::SetMark(int which) {
    if (LOpenDocument* open = Find(controller_.GetCurrent()))
        open->marks[which] = open->doc->cursor;
}

void MainDialog::CmRecallMark() {
    LOpenDocument* open = Find(controller_.GetCurrent());
    if (open && open->model)
        open->model->SetSelection(open->marks[0], open->marks[1]);
}

void MainDialog::CmPasteFromClipboard() {
    LEditResult result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Paste From Clipboard"));
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
    LQtProgress progress(&frame_, QStringLiteral("Copy"));
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
