// MainDialog: Text To Speech. The dialog takes the text, voice and format; the speech is
// made on a worker thread behind the progress window and becomes a new untitled document,
// or goes in at the cursor of the current document as one undo step. Each sentence's start
// becomes a bookmark named by its first words.
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "app/speech_dialog.h"
#include "display/document_model.h"

namespace osmera {

void MainDialog::CmTextToSpeech() {
    StopPlayback();
    LOMFile* doc = controller_.GetCurrent();
    LSpeechDialog dialog(&frame_, settings_, prompts_, transport_.get(),
                         doc ? &doc->audio : nullptr);
    const int answer = speechDialogRunner_ ? speechDialogRunner_(dialog) : dialog.exec();
    if (answer != QDialog::Accepted)
        return;
    if (controller_.CheckFreeCuts(2) != LEditResult::kDone) {
        ReportEditResult(LEditResult::kTankFull);
        return;
    }
    const bool insert = dialog.InsertAtCursor();
    LCutListAudio speech;
    LMarkerList marks;
    std::string message;
    ++busy_;
    const int result =
        RunSpeechJob(&frame_, QStringLiteral("Text To Speech"), dialog.Text().toStdString(),
                     dialog.Params(), speech, marks, message);
    --busy_;
    if (result == kJobFailed)
        prompts_.Warn(QStringLiteral("Text To Speech"), QString::fromStdString(message));
    if (result != kJobDone)
        return;

    if (!insert) {
        OpenAsNewDocument(speech, "Text To Speech");
        doc = controller_.GetCurrent();
        if (doc)
            doc->markers = std::move(marks);
    } else {
        // The document may have been closed while the speech was made.
        if (controller_.GetCurrent() != doc)
            return;
        const int32_t at = doc->cursor;
        const LEditResult pasted = controller_.CmPasteList(speech, at, "Text To Speech");
        ReportEditResult(pasted);
        if (pasted != LEditResult::kDone)
            return;
        // The paste's undo step holds the markers as they were, so Undo takes these back too.
        for (const LBookmark& mark : marks.Bookmarks())
            doc->markers.AddBookmark(mark.name, at + mark.position);
    }
    if (LDocumentModel* model = ModelOf(doc))
        model->NotifyStateChanged();
    RefreshMarkerDocks();
}

}  // namespace osmera
